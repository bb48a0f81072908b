#include "numeric/decimal/packed_decimal.h"

#include <algorithm>
#include <cstring>

#include "ZVRTDataCnvLib.h"
#include "core/termination.h"
#include "encoding/code_page.h"
#include "numeric/decimal/decimal_kernels.h"
#include "strings/through_wide.h"
#include "support/scratch.h"

namespace zvrt {

namespace {

constexpr unsigned positive_sign = 0xC;
constexpr unsigned negative_sign = 0xD;
constexpr unsigned unsigned_sign = 0xF;

// Limits of the search for a value whose length is not given.
constexpr std::int64_t max_skip = 44;    // leading zero bytes
constexpr std::int64_t max_search = 43;  // bytes examined for a sign; without one the next byte ends the value

constexpr std::size_t usual_text = 1024;

struct Field {
  const std::uint8_t* at;
  std::int64_t bytes;
};

bool ends_value(std::uint8_t byte) {
  const unsigned low = byte & 0xFU;
  return low == positive_sign || low == negative_sign || low == unsigned_sign;
}

// A value of unknown length starts at its first non-zero byte; without one it is empty.
Field find_field(const std::uint8_t* src) {
  std::int64_t skipped = 0;
  while (src[skipped] == 0) {
    if (++skipped == max_skip) return {src, 0};
  }
  const std::uint8_t* at = src + skipped;
  std::int64_t bytes = 0;
  while (bytes < max_search) {
    if (ends_value(at[bytes++])) return {at, bytes};
  }
  return {at, max_search + 1};
}

unsigned half_byte(const std::uint8_t* field, std::int64_t index) {
  const unsigned byte = field[index / 2];
  return index % 2 == 0 ? byte >> 4 : byte & 0xF;
}

bool has_length(const Call& call) { return call.srcLen != nullptr && *call.srcLen != 0; }

Field given_field(const Call& call) { return {static_cast<const std::uint8_t*>(call.src), std::max(*call.srcLen, 0)}; }

Field field_of(const Call& call) {
  return has_length(call) ? given_field(call) : find_field(static_cast<const std::uint8_t*>(call.src));
}

Rendered render(const Field& field, void* dst, std::int32_t capacity) {
  return decimal_kernels.render_packed(field.at, field.bytes, dst, capacity);
}

void report_length(std::int32_t* srcLen, const Field& field, Status status) {
  if (status != ZVRT_RC_EMPTY_RESULT) store_if_zero(srcLen, field.bytes);
}

// Out of line, and without a Call, so that the usual conversion keeps its arguments in registers.
[[gnu::noinline]] Status unpack_found(const void* src, std::int32_t* srcLen, void* dst, std::int32_t capacity,
                                      std::uint32_t* outLen) {
  const Field field = find_field(static_cast<const std::uint8_t*>(src));
  const Rendered text = render(field, dst, capacity);
  *outLen = static_cast<std::uint32_t>(text.length);
  report_length(srcLen, field, text.status);
  return text.status;
}

Status unpack(const Call& call) {
  const std::int32_t capacity = units_in<Wide>(call.dstSize);
  if (!has_length(call)) return unpack_found(call.src, call.srcLen, call.dst, capacity, call.outLen);
  const Rendered text = render(given_field(call), call.dst, capacity);
  *call.outLen = static_cast<std::uint32_t>(text.length);
  return text.status;
}

Status unpack_narrow(const Call& call) {
  const Field field = field_of(call);
  if (is_utf8(call.fldDef)) [[likely]] {
    const Rendered text = decimal_kernels.render_packed_bytes(field.at, field.bytes, call.dst, call.dstSize);
    if (text.length > 0) [[likely]] {
      *call.outLen = static_cast<std::uint32_t>(text.length);
      report_length(call.srcLen, field, ZVRT_RC_OK);
      return ZVRT_RC_OK;
    }
  }
  const std::uint64_t units = packed_text_units(field.bytes);
  Scratch<Wide, usual_text> text(units);
  if (text.get() == nullptr) return ZVRT_RC_NO_MEMORY;
  const auto capacity = static_cast<std::int32_t>(std::min<std::uint64_t>(units, INT32_MAX));
  const Rendered rendered = render(field, text.get(), capacity);
  report_length(call.srcLen, field, rendered.status);
  return rendered.status == ZVRT_RC_OK ? complete_wide_to_destination<VarcharSz>(call, text.get()) : rendered.status;
}

// A field too small is left alone, and so is srcLen; outLen is the size needed.
Status pack(const Call& call, const void* text, std::int32_t* srcLen) {
  const Packed packed = decimal_kernels.pack_text(text, static_cast<std::uint8_t*>(call.dst), call.dstSize);
  *call.outLen = packed.size;
  if (static_cast<std::int64_t>(packed.size) > call.dstSize) return ZVRT_RC_TRUNCATED;
  store_if_zero(srcLen, packed.digits * 4);
  return ZVRT_RC_OK;
}

Status pack_narrow(const Call& call) {
  if (is_utf8(call.fldDef)) [[likely]] {
    const Packed packed = decimal_kernels.pack_bytes(call.src, static_cast<std::uint8_t*>(call.dst), call.dstSize);
    if (packed.size > 0) [[likely]] {
      *call.outLen = packed.size;
      store_if_zero(call.srcLen, packed.digits + (*static_cast<const char*>(call.src) == '-' ? 1 : 0));
      return ZVRT_RC_OK;
    }
  }
  // No encoding has more characters than bytes.
  const std::int64_t units = std::int64_t{length_of(static_cast<const char*>(call.src))} + 1;
  Scratch<Wide, usual_text> text(static_cast<std::uint64_t>(units));
  if (text.get() == nullptr) return ZVRT_RC_NO_MEMORY;
  std::uint32_t characters = 0;
  const auto size = static_cast<std::int32_t>(std::min<std::int64_t>(units * 4, INT32_MAX));
  const Status status = source_to_wide<VarcharSz>(call, call.srcLen, text.get(), size, &characters);
  return status == ZVRT_RC_OK ? pack(call, text.get(), nullptr) : status;
}

}  // namespace

Rendered render_packed(const std::uint8_t* field, std::int64_t bytes, void* dst, std::int32_t capacity) {
  const std::int64_t digits = 2 * bytes - 1;
  if (digits < 1) return {0, ZVRT_RC_EMPTY_RESULT};
  std::int64_t length = 0;
  const auto put = [&](Wide character) {
    if (length < capacity) store(dst, static_cast<std::size_t>(length), character);
    ++length;
  };
  if (half_byte(field, digits) == negative_sign) put('-');
  std::int64_t at = 0;
  while (at < digits && half_byte(field, at) == 0) ++at;
  for (; at < digits && half_byte(field, at) <= 9; ++at) put('0' + half_byte(field, at));
  if (length == 0) return {0, ZVRT_RC_EMPTY_RESULT};
  // No character gives way to the terminator: text that fills the capacity is complete, and a truncation.
  const Status status = terminate<Wide>(TerminatorRule::narrow_strict, dst, length, capacity);
  return {length, at < digits ? ZVRT_RC_ERROR : status};
}

Packed pack_text(const void* text, std::uint8_t* field, std::int32_t size) {
  const bool negative = load<Wide>(text) == '-';
  const std::byte* characters = static_cast<const std::byte*>(text) + (negative ? sizeof(Wide) : 0);
  const std::int64_t count = length_of(static_cast<const void*>(characters));
  // The low four bits of any character are its digit.
  const auto digit = [characters](std::int64_t index) {
    return load<Wide>(characters, static_cast<std::size_t>(index)) & 0xF;
  };
  std::int64_t first = 0;
  while (first < count && digit(first) == 0) ++first;
  const std::int64_t needed = (count - first) / 2 + 1;
  if (needed > size) return {count, static_cast<std::uint32_t>(needed)};
  std::memset(field, 0, static_cast<std::size_t>(size));
  std::uint8_t* byte = field + size - 1;
  *byte = negative ? negative_sign : positive_sign;
  for (std::int64_t at = count, high = 1; at > first; high ^= 1) {
    const unsigned value = digit(--at);
    if (high != 0) {
      *byte = static_cast<std::uint8_t>(*byte | value << 4);
    } else {
      *--byte = static_cast<std::uint8_t>(value);
    }
  }
  return {count, static_cast<std::uint32_t>(size)};
}

}  // namespace zvrt

using namespace zvrt;

// clang-format off
uint32_t ZVRTCnvDecPackedToWVarcharSz(CNV_PARAMS)    { return unpack(CNV_CALL); }
uint32_t ZVRTCnvDecPackedToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvDecPackedToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvDecPackedToVarcharSz(CNV_PARAMS)     { return unpack_narrow(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToDecPacked(CNV_PARAMS)    { return pack(CNV_CALL, src, srcLen); }
uint32_t ZVRTCnvVarcharSzToDecPacked(CNV_PARAMS)     { return pack_narrow(CNV_CALL); }
// clang-format on
