// The drivers of the string family: measure, transcode, terminate, report. All other families reach the narrow and the
// counted kinds through these.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/call.h"
#include "core/kinds.h"
#include "core/termination.h"
#include "encoding/narrow_text.h"

namespace zvrt {

enum class Empty : std::uint8_t {
  rejected,
  accepted,
  rejected_after_report,  // a field too short for one character is rejected after outLen is set to 0
};
enum class Reports : std::uint8_t { needed, written };

// The options of a conversion: how it differs from the rest of its family.
struct Options {
  Empty empty = Empty::rejected;
  Reports reports = Reports::needed;
  bool strict = false;      // a full narrow destination without its terminator is a truncation
  bool zero_fills = false;  // a zero character ends the text, the rest of its length is filled with zeros
};

constexpr Options accepts_empty{.empty = Empty::accepted};
constexpr Options reports_empty{.empty = Empty::rejected_after_report};
constexpr Options strict_written{.reports = Reports::written, .strict = true};
constexpr Options stops_at_zero{.zero_fills = true};

template <class Unit>
TranscodeResult copy(Text<Unit> text, Destination<Unit> destination) {
  const std::int32_t written = std::min(text.count, destination.capacity);
  copy_units<Unit>(destination.at, text.at, written);
  return {text.count, written, ZVRT_RC_OK};
}

// Terminated text, measured while it is copied; a text longer than 2^31 - 1 has that length.
template <class Unit>
TerminatedResult copy_terminated(const std::byte* text, Destination<Unit> destination) {
  const auto kernel = sizeof(Unit) == 1 ? text_kernels.copy : text_kernels.copy_wide;
  const auto written =
      static_cast<std::int32_t>(kernel(text, destination.at, static_cast<std::size_t>(destination.capacity)).written);
  std::int32_t length = written;
  if (load<Unit>(text, static_cast<std::size_t>(written)) != 0) [[unlikely]] {
    using Start = std::conditional_t<sizeof(Unit) == 1, const char*, const void*>;
    const auto* rest = text + static_cast<std::size_t>(written) * sizeof(Unit);
    length += std::min(length_of(reinterpret_cast<Start>(rest)), INT32_MAX - written);
  }
  return {{length, written, ZVRT_RC_OK}, length};
}

// A zero character within counted text ends it; the rest of its length is filled with zeros.
inline TranscodeResult copy_to_zero(Text<Wide> text, Destination<Wide> destination) {
  const std::int32_t written = std::min(text.count, destination.capacity);
  if (written > 0) text_kernels.copy_counted(text.at, destination.at, static_cast<std::size_t>(written));
  return {text.count, written, ZVRT_RC_OK};
}

template <class From>
bool is_empty(const Call& call) {
  if constexpr (From::is_terminated) {
    return load<typename From::Unit>(call.src) == 0;
  } else {
    return From::measure(call).count == 0;
  }
}

// Same unit: a copy. Narrow to wide and wide to narrow: transcoding, which finds the end of terminated text itself.
template <class From, class Into, Options options>
TerminatedResult transcode(const Call& call, Destination<typename Into::Unit> destination) {
  constexpr bool decodes = sizeof(typename From::Unit) < sizeof(typename Into::Unit);
  constexpr bool encodes = sizeof(typename From::Unit) > sizeof(typename Into::Unit);
  constexpr Written written = Into::header > 0 ? Written::exact : Written::unimportant;
  const auto* src = static_cast<const std::byte*>(call.src);
  if constexpr (decodes && From::is_terminated) {
    return decode_terminated(call.fldDef, src, destination);
  } else if constexpr (encodes && From::is_terminated) {
    return encode_terminated(call.fldDef, src, destination, written);
  } else if constexpr (From::is_terminated) {
    return copy_terminated(src, destination);
  } else {
    const auto text = From::measure(call);
    if constexpr (options.zero_fills) {
      return {copy_to_zero(text, destination), text.count};
    } else if constexpr (decodes) {
      return {decode(call.fldDef, text, destination), text.count};
    } else if constexpr (encodes) {
      return {encode(call.fldDef, text, destination, written), text.count};
    } else {
      return {copy(text, destination), text.count};
    }
  }
}

// Completes the destination: a prefix always holds the bytes written; a terminator is written only after a complete
// text.
template <class Into, Options options>
Status terminate_destination(const Call& call, Destination<typename Into::Unit> destination,
                             const TranscodeResult& result) {
  if constexpr (Into::header > 0) {
    store(call.dst, 0,
          static_cast<std::uint16_t>(result.written * static_cast<std::int32_t>(sizeof(typename Into::Unit))));
  }
  if (result.status != ZVRT_RC_OK) return result.status;
  constexpr TerminatorRule rule = options.strict ? TerminatorRule::narrow_strict : Into::terminator_rule;
  return terminate<typename Into::Unit>(rule, destination.at, result.needed, destination.capacity);
}

template <class From, class Into, Options options = Options{}>
Status convert(const Call& call) {
  if (options.empty != Empty::accepted && is_empty<From>(call)) {
    if (options.empty == Empty::rejected_after_report && call.srcLen != nullptr && *call.srcLen > 0) *call.outLen = 0;
    return ZVRT_RC_INVALID_PARAM;
  }
  if (Into::header > 0 && call.dstSize < Into::header) return ZVRT_RC_TRUNCATED;
  const auto destination = Into::destination(call);
  const auto [result, length] = transcode<From, Into, options>(call, destination);
  const Status status = terminate_destination<Into, options>(call, destination, result);
  *call.outLen = Into::reported(options.reports == Reports::written ? result.written : result.needed);
  if constexpr (From::carries_length) store_if_zero(call.srcLen, bytes_of<From>(length));
  return status;
}

// Copies that read the source only as far as they copy it, and report the bytes copied as both lengths. A terminated
// destination must hold the terminator too, a fixed one only the text.
template <class Into>
Status copy_until_full(const Call& call) {
  const auto destination = Into::destination(call);
  const auto* text = static_cast<const char*>(call.src);
  const Progress progress = text_kernels.copy(text, destination.at, static_cast<std::size_t>(destination.capacity));
  const auto copied = static_cast<std::int32_t>(progress.written);
  *call.outLen = Into::reported(copied);
  store_if_zero(call.srcLen, copied);
  if (Into::terminator_rule == TerminatorRule::fixed) return text[copied] == 0 ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
  return terminate<char>(TerminatorRule::narrow_strict, destination.at, copied, destination.capacity);
}

}  // namespace zvrt
