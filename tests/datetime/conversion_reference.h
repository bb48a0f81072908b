// The conversions of records to text and back, by what they consist of: the validation, the formatter or the parser, and
// the conversion of the text, each called as a caller would.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "datetime/models.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

constexpr std::uint32_t unset = 4711;

struct Reported {
  std::uint32_t status;
  std::uint32_t length;
  std::string bytes;  // of the whole destination
  bool operator==(const Reported&) const = default;
};
inline void PrintTo(const Reported& reported, std::ostream* out) {
  *out << reported.status << ", length " << reported.length << ", " << testing::PrintToString(reported.bytes);
}

inline Reported run(ZVRTConversion* conversion, const void* src, std::int32_t* src_len, std::size_t size,
                    const FldDef* field) {
  GuardedBuffer dst(size);
  std::uint32_t length = unset;
  const std::uint32_t status = conversion(src, src_len, dst.as<>(), static_cast<std::int32_t>(size), &length, field);
  EXPECT_TRUE(dst.untouched_from(size));
  return {status, length, dst.bytes()};
}

inline Reported untouched(std::uint32_t status, std::size_t size) {
  return {status, unset, std::string(size, static_cast<char>(GuardedBuffer::mark))};
}

// ---- Records to text

struct Writer {
  const char* name;
  ZVRTConversion* write;
  ZVRTConversion* from_wide;  // null: the formatter's own text
  std::uint32_t no_memory;
};
inline const Writer writers[] = {
    {"WVarcharSz", ZVRTCnvZVRTTSToWVarcharSz, nullptr, 0},
    {"Wchar", ZVRTCnvZVRTTSToWchar, ZVRTCnvWVarcharSzToWChar, ZVRT_RC_NO_MEMORY},
    {"WVarchar", ZVRTCnvZVRTTSToWVarchar, ZVRTCnvWVarcharSzToWVarchar, ZVRT_RC_NO_MEMORY},
    {"Char", ZVRTCnvZVRTTSToChar, ZVRTCnvWVarcharSzToChar, ZVRT_RC_ERROR},
    {"Varchar", ZVRTCnvZVRTTSToVarchar, ZVRTCnvWVarcharSzToVarchar, ZVRT_RC_ERROR},
    {"VarcharSz", ZVRTCnvZVRTTSToVarcharSz, ZVRTCnvWVarcharSzToVarcharSz, ZVRT_RC_ERROR},
};

inline Reported expected_text(const Writer& writer, const ZVRTTS& ts, std::size_t size, const Model& model,
                              const FldDef* field) {
  if (writer.write == ZVRTCnvZVRTTSToWVarchar && size < 2) return untouched(ZVRT_RC_TRUNCATED, size);
  std::uint32_t status = ZVRTValidateDateTime(&ts, ZVRT_DT_TIMESTAMP);
  if (status != ZVRT_RC_OK) return untouched(status, size);
  const auto format = [&](void* text, std::size_t capacity, std::uint32_t& length) {
    return ZVRTTSToWVarcharSz(static_cast<wchar_t*>(text), static_cast<std::int32_t>(capacity), model.codes.data(), &ts,
                              ZVRT_DT_TIMESTAMP, &length);
  };
  if (writer.from_wide == nullptr) {
    GuardedBuffer dst(size);
    std::uint32_t length = unset;
    status = format(dst.as<>(), size / 4, length);
    return {status, length, dst.bytes()};
  }
  std::vector<wchar_t> wide(model.text.size() * 16 + 1);
  std::uint32_t length = 0;
  status = format(wide.data(), wide.size(), length);
  return status == ZVRT_RC_OK ? run(writer.from_wide, wide.data(), nullptr, size, field) : untouched(status, size);
}

// ---- Text to records

enum class Kind { chars, varchar, sz, wchars, wvarchar, wsz };
enum class Stores { nothing, bytes, bytes_on_success };  // the measured length, where the caller gave 0

struct Reader {
  const char* name;
  ZVRTConversion* read;
  Kind kind;
  DtKind record;
  Stores stores;

  bool is_wide() const { return kind >= Kind::wchars; }
  bool is_given() const { return kind == Kind::chars || kind == Kind::wchars; }  // its length, in characters
  std::size_t record_size() const { return record == ZVRT_DT_TIMESTAMP ? 24 : 16; }

  std::string source(const std::wstring& text) const {
    const std::size_t unit = is_wide() ? 4 : 1;
    const std::string bytes = is_wide() ? std::string(reinterpret_cast<const char*>(text.data()), text.size() * 4)
                                        : std::string(text.begin(), text.end());
    const bool is_prefixed = kind == Kind::varchar || kind == Kind::wvarchar;
    return (is_prefixed ? prefix_of(bytes.size()) : "") + bytes +
           std::string(is_given() || is_prefixed ? 0 : unit, '\0');
  }
  std::int32_t stored(std::size_t characters, std::uint32_t status) const {
    const bool stored = stores == Stores::bytes || (stores == Stores::bytes_on_success && status == ZVRT_RC_OK);
    return stored ? static_cast<std::int32_t>(characters * (is_wide() ? 4 : 1)) : 0;
  }
};
inline const Reader readers[] = {
    {"Char", ZVRTCnvDateTimeCharToZVRTTS, Kind::chars, ZVRT_DT_TIMESTAMP, Stores::nothing},
    {"Varchar", ZVRTCnvDateTimeVarcharToZVRTTS, Kind::varchar, ZVRT_DT_TIMESTAMP, Stores::bytes},
    {"VarcharSz", ZVRTCnvDateTimeSzToZVRTTS, Kind::sz, ZVRT_DT_TIMESTAMP, Stores::bytes_on_success},
    {"WChar", ZVRTCnvDateTimeWcharToZVRTTS, Kind::wchars, ZVRT_DT_TIMESTAMP, Stores::nothing},
    {"WVarchar", ZVRTCnvDateTimeWVarcharToZVRTTS, Kind::wvarchar, ZVRT_DT_TIMESTAMP, Stores::bytes},
    {"WVarcharSz", ZVRTCnvDateTimeWSzToZVRTTS, Kind::wsz, ZVRT_DT_TIMESTAMP, Stores::bytes},
    {"date", ZVRTCnvDateTimeWSzToZVRTDate, Kind::wsz, ZVRT_DT_DATE, Stores::bytes},
    {"time", ZVRTCnvDateTimeWSzToZVRTTime, Kind::wsz, ZVRT_DT_TIME, Stores::nothing},
};

// What a reader makes of a text of ASCII that is not empty.
inline Reported expected_record(const Reader& reader, const Model& model, const std::wstring& text) {
  const bool is_timestamp = reader.record == ZVRT_DT_TIMESTAMP;
  const auto size = static_cast<std::uint32_t>(reader.record_size());
  Reported expected = untouched(ZVRT_RC_OK, size);
  expected.length = size;
  ZVRTTS ts;
  expected.status = ZVRTWVarcharSzToTS(text.c_str(), static_cast<std::int32_t>(text.size()), model.codes.data(),
                                       model.length(), &ts, ZVRT_DT_TIMESTAMP);
  if (expected.status != ZVRT_RC_OK) {
    const bool blank = text.find_first_not_of(L' ') == std::wstring::npos;
    if (is_timestamp && blank) expected.status = ZVRT_RC_BLANK_TEXT;
    return expected;
  }
  // Year 0 is a year of a century where the model names one first.
  const bool of_century = model.text.find(L"%YY") < model.text.find(L"%YYYY");
  expected.status = ZVRTValidateDateTime(&ts, is_timestamp && of_century ? ZVRT_DT_TIMESTAMP_YY : reader.record);
  if (expected.status != ZVRT_RC_OK) return expected;
  const auto* bytes = reinterpret_cast<const char*>(&ts);
  expected.bytes = is_timestamp
                       ? std::string(bytes, 24)
                       : std::string(bytes + (reader.record == ZVRT_DT_DATE ? 0 : 6), 6) + std::string(10, '\0');
  return expected;
}

}  // namespace zvrt_test
