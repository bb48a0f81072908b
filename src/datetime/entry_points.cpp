// The 19 date and time conversions: one line each, over drivers to text and from text.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "ZVRTDataCnvLib.h"
#include "datetime/formatter.h"
#include "datetime/parser.h"
#include "datetime/records.h"
#include "strings/through_wide.h"
#include "support/scratch.h"

namespace zvrt {

namespace {

constexpr std::size_t usual_length = 1024;  // of a temporary, in characters

bool is_complete(const Call& call) {
  return call.src != nullptr && call.dst != nullptr && call.fldDef != nullptr && call.fldDef->dtFormat != nullptr &&
         call.fldDef->dtFormat->model != nullptr;
}

// A record to wide terminated text, straight into the destination.
template <class Record>
Status write(const Call& call) {
  using Traits = RecordTraits<Record>;
  if (!is_complete(call)) return ZVRT_RC_ERROR;
  const auto record = Traits::to_timestamp(call.src);
  const TimestampView ts(record);
  if (const Status status = validate(ts, Traits::kind); status != ZVRT_RC_OK) return status;
  return format(WVarcharSz::destination(call), call.fldDef->dtFormat->model, ts, Traits::kind, *call.outLen);
}

// A timestamp to the other kinds, through wide terminated text.
template <class Into, Options options, Status no_memory>
Status write_through_wide(const Call& call) {
  if (!is_complete(call)) return ZVRT_RC_ERROR;
  if (std::is_same_v<Into, WVarchar> && call.dstSize < Into::header) return ZVRT_RC_TRUNCATED;
  const DtFormatDesc& format_of_field = *call.fldDef->dtFormat;
  const std::int64_t capacity = std::int64_t{format_of_field.modelLen} * 16 + 1;
  if (capacity < 1 || capacity > INT32_MAX) return no_memory;
  Scratch<Wide, usual_length> wide(static_cast<std::uint64_t>(capacity));
  if (wide.get() == nullptr) return no_memory;

  const TimestampView ts(call.src);
  if (const Status status = validate(ts, ZVRT_DT_TIMESTAMP); status != ZVRT_RC_OK) return status;
  const Destination<Wide> destination{reinterpret_cast<std::byte*>(wide.get()), static_cast<std::int32_t>(capacity)};
  std::uint32_t length = 0;
  const Status status = format(destination, format_of_field.model, ts, ZVRT_DT_TIMESTAMP, length);
  if (status != ZVRT_RC_OK) return status;
  // Not by its length: the text ends at its first zero, which may be a literal of the model.
  return wide_to_destination<Into, options>(call, wide.get(), call.outLen);
}

// Kinds that are measured differently here than by the string conversions.
struct CharacterCountedWChar : WChar {
  static Text<Wide> measure(const Call& call) {
    return {static_cast<const std::byte*>(call.src), call.srcLen == nullptr ? 0 : std::max(*call.srcLen, 0)};
  }
};
struct UnsignedVarchar : Varchar {
  static Text<char> measure(const Call& call) {
    return {static_cast<const std::byte*>(call.src) + header, load<std::uint16_t>(call.src)};
  }
};

// When the measured source length, without its prefix, is stored if the caller asks for it.
enum class Stores : std::uint8_t { never, once_converted, once_read, on_success };

struct Source {
  Stores stores;
  Status no_memory;
};

[[gnu::noinline]] bool is_blank(const void* text) {
  std::size_t i = 0;
  while (load<Wide>(text, i) == ' ') ++i;
  return load<Wide>(text, i) == 0;
}

// Year 0 is valid if the first year element of the model is %YY.
[[gnu::noinline]] DtKind kind_of_timestamp(const FmtCode* model) {
  for (; model->code != FMT_END && model->code != FMT_YYYY; ++model) {
    if (model->code == FMT_YY) return ZVRT_DT_TIMESTAMP_YY;
  }
  return ZVRT_DT_TIMESTAMP;
}

// Parses and validates; the destination is written only when both succeed.
template <class Record>
[[gnu::always_inline]] inline Status read_wide(const DtFormatDesc& format, const void* text, std::int32_t chars,
                                               void* dst) {
  using Traits = RecordTraits<Record>;
  constexpr bool is_timestamp = std::is_same_v<Record, ZVRTTS>;
  ZVRTTS ts;
  if (const Status status = parse(text, chars, format.model, format.modelLen, ts); status != ZVRT_RC_OK) {
    return is_timestamp && is_blank(text) ? ZVRT_RC_BLANK_TEXT : status;
  }
  const DtKind kind = is_timestamp && ts.year == 0 ? kind_of_timestamp(format.model) : Traits::kind;
  if (const Status status = validate(TimestampView(ts), kind); status != ZVRT_RC_OK) return status;
  const Record& record = Traits::from_timestamp(ts);
  std::memcpy(dst, &record, sizeof record);
  std::memset(static_cast<std::byte*>(dst) + sizeof record, 0, Traits::destination_size - sizeof record);
  return ZVRT_RC_OK;
}

// Converts a counted or narrow source to terminated wide text and parses that.
template <class From, Source source>
Status read_by_way_of_wide(const Call& call, Text<typename From::Unit> text, Wide* wide) {
  auto chars = static_cast<std::uint32_t>(text.count);
  if constexpr (std::is_same_v<typename From::Unit, Wide>) {
    copy_units<Wide>(wide, text.at, text.count);
    wide[chars] = 0;
  } else {
    // The string conversion takes the prefix as signed, and so rejects text that only an unsigned prefix can count.
    using Converted = std::conditional_t<std::is_same_v<From, UnsignedVarchar>, Varchar, From>;
    std::int32_t bytes = text.count;
    const Status status = source_to_wide<Converted>(call, &bytes, wide, text.count * 4 + 4, &chars);
    if (status != ZVRT_RC_OK) return status;
  }
  if (source.stores == Stores::once_converted) store_if_zero(call.srcLen, text.count);
  return read_wide<ZVRTTS>(*call.fldDef->dtFormat, wide, static_cast<std::int32_t>(chars), call.dst);
}

// Arguments that are rejected before the source is read.
template <class Record>
Status check_arguments(const Call& call) {
  constexpr std::int32_t destination_size = RecordTraits<Record>::destination_size;
  if (!is_complete(call)) return ZVRT_RC_ERROR;
  if (call.dstSize >= destination_size) return ZVRT_RC_OK;
  *call.outLen = destination_size;
  return ZVRT_RC_TRUNCATED;
}

template <class From, Source source>
Status read(const Call& call) {
  if (const Status status = check_arguments<ZVRTTS>(call); status != ZVRT_RC_OK) return status;
  const auto text = From::measure(call);
  if (text.count == 0) return ZVRT_RC_INVALID_PARAM;
  constexpr std::int32_t max_chars = INT32_MAX / 4 - 1;  // whose size in bytes still fits
  if (text.count > max_chars) return source.no_memory;
  Scratch<Wide, usual_length> wide(static_cast<std::uint64_t>(text.count) + 1);
  if (wide.get() == nullptr) return source.no_memory;

  const Status status = read_by_way_of_wide<From, source>(call, text, wide.get());
  *call.outLen = RecordTraits<ZVRTTS>::destination_size;
  if (source.stores == Stores::once_read || (source.stores == Stores::on_success && status == ZVRT_RC_OK)) {
    store_if_zero(call.srcLen, text.count * std::int64_t{sizeof(typename From::Unit)});
  }
  return status;
}

// Wide terminated text is parsed in place, up to its terminator; its length is measured only if the caller asks for it.
template <class Record, Stores stores>
Status read_in_place(const Call& call) {
  if (const Status status = check_arguments<Record>(call); status != ZVRT_RC_OK) return status;
  if (load<Wide>(call.src) == 0) return ZVRT_RC_INVALID_PARAM;
  const Status status = read_wide<Record>(*call.fldDef->dtFormat, call.src, INT32_MAX, call.dst);
  *call.outLen = RecordTraits<Record>::destination_size;
  if (stores == Stores::once_read && call.srcLen != nullptr && *call.srcLen == 0) {
    *call.srcLen = static_cast<std::int32_t>(bytes_of<WVarcharSz>(WVarcharSz::measure(call).count));
  }
  return status;
}

// The two statuses of a failed allocation.
constexpr Status error = ZVRT_RC_ERROR, no_memory = ZVRT_RC_NO_MEMORY;

}  // namespace

}  // namespace zvrt

using namespace zvrt;

// clang-format off
uint32_t ZVRTCnvZVRTDateToWVarcharSz(CNV_PARAMS)    { return write<ZVRTDate>(CNV_CALL); }
uint32_t ZVRTCnvZVRTDateToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvZVRTDateToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTimeToWVarcharSz(CNV_PARAMS)    { return write<ZVRTTime>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTimeToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvZVRTTimeToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToWVarcharSz(CNV_PARAMS)      { return write<ZVRTTS>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToWVarcharSzOut(CNV_PARAMS)   { return in_bytes<ZVRTCnvZVRTTSToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToWchar(CNV_PARAMS)           { return write_through_wide<WChar,     Options{},         no_memory>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToWVarchar(CNV_PARAMS)        { return write_through_wide<WVarchar,  Options{},         no_memory>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToChar(CNV_PARAMS)            { return write_through_wide<Char,      accepts_empty, error>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToVarchar(CNV_PARAMS)         { return write_through_wide<Varchar,   accepts_empty, error>(CNV_CALL); }
uint32_t ZVRTCnvZVRTTSToVarcharSz(CNV_PARAMS)       { return write_through_wide<VarcharSz, accepts_empty, error>(CNV_CALL); }

uint32_t ZVRTCnvDateTimeCharToZVRTTS(CNV_PARAMS)     { return read<Char,                  Source{Stores::never,          no_memory}>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeVarcharToZVRTTS(CNV_PARAMS)  { return read<UnsignedVarchar,       Source{Stores::once_converted, no_memory}>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeSzToZVRTTS(CNV_PARAMS)       { return read<VarcharSz,             Source{Stores::on_success,     error}>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeWcharToZVRTTS(CNV_PARAMS)    { return read<CharacterCountedWChar, Source{Stores::never,          error}>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeWVarcharToZVRTTS(CNV_PARAMS) { return read<WVarchar,              Source{Stores::once_read,      no_memory}>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeWSzToZVRTTS(CNV_PARAMS)      { return read_in_place<ZVRTTS,   Stores::once_read>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeWSzToZVRTDate(CNV_PARAMS)    { return read_in_place<ZVRTDate, Stores::once_read>(CNV_CALL); }
uint32_t ZVRTCnvDateTimeWSzToZVRTTime(CNV_PARAMS)    { return read_in_place<ZVRTTime, Stores::never>(CNV_CALL); }
// clang-format on
