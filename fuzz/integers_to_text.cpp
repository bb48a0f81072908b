// Integers of every type by every version against std::to_string, into any capacity, and back.
#include "input.h"
#include "numeric/integer/integer_versions.h"

namespace {

using namespace zvrt_test;

template <class Int>
void check_value(Int value, std::int32_t size, std::int32_t given) {
  const std::string text = decimal(value);
  for (const Version& version : versions()) {
    GuardedBuffer dst(static_cast<std::size_t>(std::max(size, 0)));
    check_rendered(version.conversions->render[zvrt::type_index<Int>], value, dst, size, given);
    ASSERT_TRUE(dst.untouched_from(dst.size()));
    if (rendered_wide(text, size).status == ZVRT_RC_OK) check_text<Int>(dst.as<>(), widened(text));
  }
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const std::uint32_t type = input.below(8);
  const std::int32_t size = input.between(-9, 110);
  const std::int32_t src_len = input.between(0, 1);
  const auto bits = input.take<std::uint64_t>() >> input.below(64);
  switch (type) {
    case 0: return check_value(static_cast<std::uint8_t>(bits), size, src_len);
    case 1: return check_value(static_cast<std::int8_t>(bits), size, src_len);
    case 2: return check_value(static_cast<std::uint16_t>(bits), size, src_len);
    case 3: return check_value(static_cast<std::int16_t>(bits), size, src_len);
    case 4: return check_value(static_cast<std::uint32_t>(bits), size, src_len);
    case 5: return check_value(static_cast<std::int32_t>(bits), size, src_len);
    case 6: return check_value(bits, size, src_len);
    default: return check_value(static_cast<std::int64_t>(bits), size, src_len);
  }
}
