// The functions of dates and times that no other family times, each beside a sibling of its own: the same record by the
// same model, to and from the other kinds of text.
#include <array>
#include <cstring>
#include <cwchar>

#include "dates.h"
#include "harness.h"
#include "inputs.h"
#include "peers.h"

namespace zvrt_bench {
namespace {

const ModelField& iso() {
  static const ModelField field(L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF");
  return field;
}
const ModelField& day() {
  static const ModelField field(L"%DD-%MMM-%YYYY");
  return field;
}
const ModelField& hour() {
  static const ModelField field(L"%HH24:%MI:%SS");
  return field;
}

template <auto conversion, std::size_t unit, const ModelField& field()>
constexpr auto by =
    [](const auto* source, std::byte* out) { return call<conversion, unit>(source, out, field().get()); };
template <auto conversion, std::size_t unit, const ModelField& field()>
constexpr auto of_record =
    [](const auto& record, std::byte* out) { return call<conversion, unit>(&record, out, field().get()); };
template <auto conversion>
constexpr auto from_prefixed =
    [](const std::string& value, std::byte* out) { return call<conversion, 1>(value.data(), out, iso().get()); };
template <auto conversion>
constexpr auto from_counted = [](const std::string& value, std::byte* out) {
  auto bytes = static_cast<std::int32_t>(value.size());
  std::uint32_t length = 0;
  conversion(value.data(), &bytes, out, static_cast<std::int32_t>(output_size), &length, iso().get());
  return static_cast<std::size_t>(length);
};

// A counted destination's text without the length that precedes it.
std::string without_prefix(const std::byte* written, std::size_t bytes) {
  return {reinterpret_cast<const char*>(written) + 2, bytes - 2};
}

template <class Values, class Ours, class Others, class Theirs, class Canonical = AsWritten,
          class Rendering = AsWritten>
void beside(const char* variant, const Values& values, Ours ours, const char* name, const Others& others, Theirs theirs,
            Canonical canonical = {}, Rendering rendering = {}) {
  compete({"dates beside a sibling", 0}, variant,
          {contender("ours", values, ours, canonical), contender(name, others, theirs, rendering)});
}

// ---- to text -------------------------------------------------------------------------------------------------------

void register_to_text(const Set<ZVRTTS>& moments) {
  const auto* const to_wide = "ours, TS to WVarcharSz";
  const auto* const to_narrow = "ours, TS to VarcharSz";
  constexpr auto wide_text = of_record<ZVRTCnvZVRTTSToWVarcharSz, 4, iso>;
  constexpr auto narrow_text = of_record<ZVRTCnvZVRTTSToVarcharSz, 1, iso>;
  beside("TS to WChar", moments, of_record<ZVRTCnvZVRTTSToWchar, 1, iso>, to_wide, moments, wide_text);
  beside("TS to WVarchar", moments, of_record<ZVRTCnvZVRTTSToWVarchar, 1, iso>, to_wide, moments, wide_text,
         without_prefix);
  beside("TS to Char", moments, of_record<ZVRTCnvZVRTTSToChar, 1, iso>, to_narrow, moments, narrow_text);
  beside("TS to Varchar", moments, of_record<ZVRTCnvZVRTTSToVarchar, 1, iso>, to_narrow, moments, narrow_text,
         without_prefix);
  beside(
      "ZVRTTSToWVarcharSz", moments,
      [](const ZVRTTS& ts, std::byte* out) {
        std::uint32_t length = 0;
        ZVRTTSToWVarcharSz(wide(out), 64, iso().codes(), &ts, ZVRT_DT_TIMESTAMP, &length);
        return length * sizeof(wchar_t);
      },
      to_wide, moments, wide_text);
  const auto dates = rendered(moments, [](const ZVRTTS& ts) { return ZVRTDate{ts.year, ts.month, ts.day}; });
  const auto times = rendered(moments, [](const ZVRTTS& ts) { return ZVRTTime{ts.hour, ts.minute, ts.second}; });
  beside("Date to WVarcharSz", dates, of_record<ZVRTCnvZVRTDateToWVarcharSz, 4, day>, to_wide, moments,
         of_record<ZVRTCnvZVRTTSToWVarcharSz, 4, day>);
  beside("Time to WVarcharSz", times, of_record<ZVRTCnvZVRTTimeToWVarcharSz, 4, hour>, to_wide, moments,
         of_record<ZVRTCnvZVRTTSToWVarcharSz, 4, hour>);
  beside(
      "ZVRTGetStringAFromTS", moments,
      [](const ZVRTTS& ts, std::byte* out) {
        std::uint32_t length = 0;
        ZVRTGetStringAFromTS(&ts, narrow(out), 64, &length);
        return static_cast<std::size_t>(length);
      },
      "ours, ZVRTGetStringFromTS", moments,
      [](const ZVRTTS& ts, std::byte* out) {
        std::uint32_t length = 0;
        ZVRTGetStringFromTS(&ts, wide(out), 64, &length);
        return static_cast<std::size_t>(length);
      },
      AsWritten{},
      [](const std::byte* written, std::size_t characters) {
        const auto* text = reinterpret_cast<const wchar_t*>(written);
        return std::string(text, text + characters);
      });
}

// ---- from text -----------------------------------------------------------------------------------------------------

std::string bytes_of(const wchar_t* text) {
  return {reinterpret_cast<const char*>(text), std::wcslen(text) * sizeof(wchar_t)};
}
std::string prefixed(const std::string& text) {
  const auto bytes = static_cast<std::uint16_t>(text.size());
  return std::string(reinterpret_cast<const char*>(&bytes), sizeof bytes) + text;
}

// Three fields of a record: its date or, where it is a time of day, that; and the time of a timestamp.
std::string first_three_fields(const std::byte* written, std::size_t /*bytes*/) {
  return {reinterpret_cast<const char*>(written), sizeof(ZVRTDate)};
}
std::string next_three_fields(const std::byte* written, std::size_t /*bytes*/) {
  return {reinterpret_cast<const char*>(written) + sizeof(ZVRTDate), sizeof(ZVRTTime)};
}

void register_kinds_of_text(const Set<ZVRTTS>& moments) {
  const auto* const from_wide = "ours, WVarcharSz to TS";
  const auto* const from_narrow = "ours, VarcharSz to TS";
  const WideTexts wides = wide_texts(moments, iso());
  const auto texts = rendered(wides, narrowed);
  const NarrowTexts narrows = packed(*texts);
  const auto wide_fields = rendered(wides, bytes_of);
  constexpr auto read_wide = by<ZVRTCnvDateTimeWSzToZVRTTS, 1, iso>;
  constexpr auto read_narrow = by<ZVRTCnvDateTimeSzToZVRTTS, 1, iso>;
  beside("Char to TS", texts, from_counted<ZVRTCnvDateTimeCharToZVRTTS>, from_narrow, narrows, read_narrow);
  beside("Varchar to TS", rendered(texts, prefixed), from_prefixed<ZVRTCnvDateTimeVarcharToZVRTTS>, from_narrow,
         narrows, read_narrow);
  beside("WChar to TS", wide_fields, from_counted<ZVRTCnvDateTimeWcharToZVRTTS>, from_wide, wides, read_wide);
  beside("WVarchar to TS", rendered(wide_fields, prefixed), from_prefixed<ZVRTCnvDateTimeWVarcharToZVRTTS>, from_wide,
         wides, read_wide);
  beside(
      "ZVRTWVarcharSzToTS", wides,
      [](const wchar_t* text, std::byte* out) {
        ZVRTTS ts;
        ZVRTWVarcharSzToTS(text, static_cast<std::int32_t>(std::wcslen(text)), iso().codes(), iso().length(), &ts,
                           ZVRT_DT_TIMESTAMP);
        return stored(ts, out);
      },
      from_wide, wides, read_wide);
}

// What a caller does whose model is a text: it makes the tokens anew for each value.
template <auto conversion, class Char>
std::size_t by_new_tokens(const Char* text, std::byte* out) {
  const wchar_t* const model = day().text();
  std::array<FmtCode, 32> codes;
  DtKind kind = ZVRT_DT_DATE;
  ZVRTGetFormatCodes(model, codes.data(), &kind);
  DtFormatDesc format{};
  format.model = codes.data();
  format.modelLen = static_cast<std::int32_t>(std::wcslen(model));
  FldDef field{};
  field.dtFormat = &format;
  return call<conversion, 1>(text, out, &field);
}

void register_dates_and_times(const Set<ZVRTTS>& moments) {
  const auto* const from_wide = "ours, WVarcharSz to TS";
  const WideTexts days = wide_texts(moments, day());
  const WideTexts hours = wide_texts(moments, hour());
  constexpr auto read_day = by<ZVRTCnvDateTimeWSzToZVRTTS, 1, day>;
  beside("WVarcharSz to Date", days, by<ZVRTCnvDateTimeWSzToZVRTDate, 1, day>, from_wide, days, read_day,
         first_three_fields, first_three_fields);
  // A timestamp without a date is none, so its sibling is the one that checks hours only.
  beside(
      "WVarcharSz to Time", hours, by<ZVRTCnvDateTimeWSzToZVRTTime, 1, hour>, "ours, ZVRTWVarcharSzToTS", hours,
      [](const wchar_t* text, std::byte* out) {
        ZVRTTS ts;
        ZVRTWVarcharSzToTS(text, 64, hour().codes(), hour().length(), &ts, ZVRT_DT_TIME);
        return stored(ts, out);
      },
      first_three_fields, next_three_fields);
  const NarrowTexts narrows = packed(*rendered(days, narrowed));
  beside(
      "ZVRTDateCharToDate", narrows,
      [](const char* text, std::byte* out) {
        DateWithModel date{{}, day().text()};
        ZVRTDateCharToDate(text, &date);
        return stored(date.date, out);
      },
      "ours, tokens, then VarcharSz to TS", narrows,
      [](const char* text, std::byte* out) { return by_new_tokens<ZVRTCnvDateTimeSzToZVRTTS>(text, out); }, AsWritten{},
      first_three_fields);
  const auto utf16 = rendered(days, [](const wchar_t* text) { return std::u16string(text, text + std::wcslen(text)); });
  beside(
      "ZVRTUTF16DateCharToDate", utf16,
      [](const std::u16string& text, std::byte* out) {
        DateWithModel date{{}, day().text()};
        ZVRTUTF16DateCharToDate(reinterpret_cast<const std::uint16_t*>(text.data()),
                                static_cast<std::int32_t>(text.size()), &date);
        return stored(date.date, out);
      },
      "ours, tokens, Convert16To32, then WVarcharSz to TS", utf16,
      [](const std::u16string& text, std::byte* out) {
        std::array<wchar_t, 32> characters;
        std::uint32_t count = 0;
        Convert16To32(reinterpret_cast<const std::uint16_t*>(text.data()), static_cast<std::int32_t>(text.size()),
                      characters.data(), static_cast<std::int32_t>(characters.size()) - 1, &count);
        characters[count] = L'\0';
        return by_new_tokens<ZVRTCnvDateTimeWSzToZVRTTS>(characters.data(), out);
      },
      AsWritten{}, first_three_fields);
}

}  // namespace

void register_date_siblings() {
  const auto moments = drawn(moment);
  register_to_text(moments);
  register_kinds_of_text(moments);
  register_dates_and_times(moments);
}

}  // namespace zvrt_bench
