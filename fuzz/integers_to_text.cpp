// Integers of every type by every version against std::to_string, into any room, and back.
#include "frame/cpu.h"
#include "input.h"
#include "numeric/integer_cases.h"
#include "numeric/integers.h"

namespace {

using namespace zvrt_test;

template <class Int>
void check_value(Int value, std::int32_t size, std::int32_t src_len) {
  const OffsetSource<Int> src(value);
  const std::string text = decimal(value);
  const Rendered expected = rendered_wide(text, size);
  for (const auto& [level, versions] : {std::pair{zvrt::CpuLevel::baseline, &zvrt::plain_integers},
                                        std::pair{zvrt::CpuLevel::sse41, &zvrt::sse41_integers},
                                        std::pair{zvrt::CpuLevel::avx512, &zvrt::avx512_integers}}) {
    if (zvrt::cpu_level() < level) continue;
    GuardedBuffer dst(static_cast<std::size_t>(std::max(size, 0)));
    std::int32_t length = src_len;
    std::uint32_t out_len = 99;
    ASSERT_EQ(versions->render[zvrt::place_of<Int>](src.get(), &length, dst.as<>(), size, &out_len, nullptr),
              expected.status);
    ASSERT_EQ(dst.bytes(), expected.image);
    ASSERT_TRUE(dst.untouched_from(dst.size()));
    ASSERT_EQ(out_len, text.size());
    ASSERT_EQ(length, src_len == 0 ? std::int32_t{sizeof(Int)} : src_len);
    if (expected.status == ZVRT_RC_OK) check_parsed<Int>(versions->parse[zvrt::place_of<Int>], dst.as<>(), text);
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
