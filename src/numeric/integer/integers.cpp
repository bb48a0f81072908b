// The version of the integer conversions that runs everywhere, and the choice of the one for this processor.
#include "numeric/integer/integers.h"

#include "core/termination.h"
#include "support/cpu.h"

namespace zvrt {

namespace {

struct PlainKernel {
  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    return write_decimal(magnitude, negative, dst, capacity);
  }
  template <class Accumulator>
  static Digits read(const void* text) {
    return read_digits(text);
  }
};

}  // namespace

const IntegerConversions plain_integers = conversions_by<PlainKernel>;

const IntegerConversions integers = *choose_version(Versions<const IntegerConversions>{
    .baseline = &plain_integers, .sse41 = &sse41_integers, .avx512 = &avx512_integers});

Status terminate_full(void* dst, std::int32_t length, std::int32_t capacity) {
  return terminate<Wide>(TerminatorRule::wide, dst, length, capacity);
}

}  // namespace zvrt
