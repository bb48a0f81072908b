// The 21 string conversions against the plain model of what a call leaves in every byte.
#include "input.h"
#include "strings/conversion_model.h"

void zvrt_fuzz::check(Input input) {
  using namespace zvrt_test;
  static Arena arena;
  const Member& member = input.of(members);
  const std::int32_t size = input.between(-5, 5000);
  const bool null_src_len = input.flag();
  const auto units = is_wide(member.from) ? input.characters() : bytes_as_units(input.bytes());
  ASSERT_TRUE(arena.agrees(member, source_of(member.from, units), size, null_src_len));
}
