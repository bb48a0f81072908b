// Plans of any pair against the slow reference: the input chooses types, options, bindings and most bytes of the values.
#include <gtest/gtest.h>

#include "columns/differential.h"
#include "input.h"

namespace {

using namespace zvrt_test;

// Bytes of the value are the input's own, in the shape that the type's values have.
Given value_of(const ZVRTType& type, zvrt_fuzz::Input& input, Random& random) {
  Given value = any_value(type, random);
  for (std::uint32_t changes = input.below(8); changes > 0 && !value.slot.empty(); --changes) {
    value.slot[input.below(static_cast<std::uint32_t>(value.slot.size()))] = input.take<char>();
  }
  return value;
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  static const std::uint32_t initialised = ZVRTInitDataConversion();
  ASSERT_EQ(initialised, ZVRT_RC_OK);
  Random random(input.take<std::uint32_t>());
  const ZVRTType from = any_type_of(1 + input.below(ZVRT_KIND_MICROS), random);
  const ZVRTType to = any_type_of(1 + input.below(ZVRT_KIND_MICROS), random);
  // Text that ends at its terminator alone must keep it; counted values need the lengths that are not given here.
  if (from.length == 0 && (from.kind <= ZVRT_KIND_UTF16_SZ || from.kind == ZVRT_KIND_BYTES)) return;
  const std::uint32_t options = any_options(random);
  std::vector<Given> values;
  do values.push_back(value_of(from, input, random));
  while (!input.is_used_up() && values.size() < 40);
  ASSERT_EQ(find_difference(from, to, options, values, random), "");
  ASSERT_EQ(find_array_difference(from, options, values, random), "");
}
