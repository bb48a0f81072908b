// The definition as a version of the integer conversions, and the choice of the version for this processor.
#include "numeric/integer/integers.h"

#include "core/termination.h"
#include "support/cpu.h"

namespace zvrt {

namespace {

struct BaselineKernel {
  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    return write_decimal(magnitude, negative, dst, capacity);
  }
  template <class Accumulator>
  static Digits read(const void* text) {
    return read_digits(text);
  }
  static Digits read_within(const void* text, std::size_t limit) { return read_digits(text, limit); }

  static std::int32_t write_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity) {
    return write_decimal_bytes(magnitude, negative, dst, capacity);
  }
  template <class Accumulator>
  static Digits read_bytes(const char* text) {
    return read_digit_bytes(text);
  }
  static Digits read_bytes_within(const char* text, std::size_t limit) { return read_digit_bytes(text, limit); }
};

}  // namespace

const IntegerConversions integers_baseline = conversions_by<BaselineKernel>;

const IntegerConversions integers = *choose_version(Versions<const IntegerConversions>{
    .portable = &integers_portable ZVRT_X86(, .sse41 = &integers_sse41, .avx512 = &integers_avx512)});

Status terminate_full(void* dst, std::int32_t length, std::int32_t capacity) {
  return terminate<Wide>(TerminatorRule::wide, dst, length, capacity);
}

}  // namespace zvrt
