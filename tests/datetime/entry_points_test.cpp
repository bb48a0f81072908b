// The 19 conversions against what they are made of: the formatter, the parser, the validation and the conversions of
// text, each called as a caller would, and the order in which arguments are refused.
#include "datetime/conversion_reference.h"

namespace zvrt_test {
namespace {

const ZVRTTS good = timestamp(2024, 3, 5, 7, 8, 9, 1234);

std::string wide(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.c_str()), text.size() * sizeof(wchar_t)};
}

// ---- Records to text

Reported call(ZVRTConversion* conversion, const void* src, std::size_t size, const FldDef* field) {
  std::int32_t source_length = 0;
  const Reported reported = run(conversion, src, &source_length, size, field);
  EXPECT_EQ(source_length, 0) << "a record has no length";
  return reported;
}

TEST(RecordsToText, AreTheFormattersTextInEveryKindAtEveryCapacity) {
  const Model models[] = {Model(L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF"),
                          Model(L"%D\u20AC%MONTH\u00E9%YY"),
                          Model(L""),
                          Model(L"x"),
                          Model(std::wstring(70, L'\u00E9') + L"%DD"),
                          Model(L"%PM%HH24%PM")};
  const ZVRTTS records[] = {good, timestamp(2024, 2, 30), timestamp(1, 1, 1, 0, 0, 0, 0xFFFFFFFF)};
  for (const Writer& writer : writers) {
    for (const Model& model : models) {
      Field field(model);
      for (const ZVRTTS& ts : records) {
        for (std::size_t size = 0; size <= 4 * model.text.size() + 12; ++size) {
          const Reported expected = expected_text(writer, ts, size, model, &field);
          ASSERT_EQ(expected, call(writer.write, &ts, size, &field)) << writer.name << ' ' << size;
        }
      }
    }
  }
}

TEST(RecordsToText, DatesAndTimesAreTimestampsOfTheirKind) {
  const Model model(L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFF %PM");
  Field field(model);
  const ZVRTDate date{2024, 3, 5}, no_date{2024, 13, 5};
  const ZVRTTime time{7, 8, 9}, no_time{7, 60, 9};
  const struct {
    const char* name;
    ZVRTConversion* write;
    ZVRTConversion* write_out;
    const void* src;
    std::uint32_t status;
    const wchar_t* text;
  } rows[] = {
      {"date", ZVRTCnvZVRTDateToWVarcharSz, ZVRTCnvZVRTDateToWVarcharSzOut, &date, 0, L"2024-03-05"},
      {"time", ZVRTCnvZVRTTimeToWVarcharSz, ZVRTCnvZVRTTimeToWVarcharSzOut, &time, 0, L"-- 07:08:09.   "},
      {"timestamp", ZVRTCnvZVRTTSToWVarcharSz, ZVRTCnvZVRTTSToWVarcharSzOut, &good, 0, L"2024-03-05 07:08:09.1234   "},
      {"no date", ZVRTCnvZVRTDateToWVarcharSz, ZVRTCnvZVRTDateToWVarcharSzOut, &no_date, ZVRT_RC_INVALID_MONTH, L""},
      {"no time", ZVRTCnvZVRTTimeToWVarcharSz, ZVRTCnvZVRTTimeToWVarcharSzOut, &no_time, ZVRT_RC_INVALID_MINUTE, L""},
  };
  for (const auto& row : rows) {
    const bool ok = row.status == ZVRT_RC_OK;
    const auto length = static_cast<std::uint32_t>(std::wcslen(row.text));
    const Reported text = call(row.write, row.src, 127, &field), out = call(row.write_out, row.src, 127, &field);
    EXPECT_EQ(row.status, text.status) << row.name;
    EXPECT_EQ(row.status, out.status) << row.name;
    EXPECT_EQ(ok ? length : unset, text.length) << row.name;
    EXPECT_EQ(ok ? length * 4 : 0, out.length) << row.name;
    EXPECT_EQ(text.bytes, out.bytes) << row.name;
    EXPECT_EQ(ok ? wide(row.text) + std::string(4, '\0') : "", text.bytes.substr(0, ok ? length * 4 + 4 : 0));
  }
  EXPECT_EQ(ZVRT_RC_ERROR, call(ZVRTCnvZVRTTSToWVarcharSzOut, nullptr, 40, &field).status);
  EXPECT_EQ(0U, call(ZVRTCnvZVRTTSToWVarcharSzOut, nullptr, 40, &field).length);
}

TEST(RecordsToText, ModelLengthsWithoutATemporary) {
  const Model model(L"%YYYY");
  const ZVRTTS invalid = timestamp(0, 0, 0);
  for (const Writer& writer : writers) {
    if (writer.from_wide == nullptr) continue;
    for (const std::int32_t length : {-1, INT32_MIN, 1 << 27, INT32_MAX}) {
      Field field(model.codes.data(), length);
      EXPECT_EQ(writer.no_memory, call(writer.write, &invalid, 40, &field).status) << writer.name << ' ' << length;
    }
    Field field(model.codes.data(), 0);  // capacity for the terminator alone
    EXPECT_EQ(ZVRT_RC_TRUNCATED, call(writer.write, &good, 40, &field).status) << writer.name;
  }
}

// ---- Text to records

TEST(TextToRecords, IsParsedValidatedAndWrittenOnlyThen) {
  const std::wstring long_text = L"2024-03-05" + std::wstring(1100, L'x');
  const struct {
    const wchar_t* model;
    std::wstring text;
  } rows[] = {
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS", L"2024-03-05 10:20:30"},
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS", L"2024-03-05 10:20:61"},
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS", L"2024-13-05 10:20:30"},
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS", L"0000-01-01 24:00:00"},
      {L"%YYYY-%MM-%DD", L"2024-02-29"},
      {L"%YYYY-%MM-%DD", L"          "},
      {L"%YYYY-%MM-%DD", L"   2024-02-29"},
      {L"%YYYY-%MM-%DD", long_text},
      {L"%YY-%MM-%DD", L"00-01-01"},
      {L"%YYYY %YY-%MM-%DD", L"2024 00-01-01"},
      {L"%YY %YYYY-%MM-%DD", L"24 0000-01-01"},
      {L"", L"          "},
      {L"", L"x"},
      {L"%HH %PM", L"11 pm"},
  };
  for (const Reader& reader : readers) {
    for (const auto& row : rows) {
      const Model model(row.model);
      Field field(model);
      SCOPED_TRACE(std::string(reader.name) + " " + testing::PrintToString(row.model) + " " +
                   testing::PrintToString(row.text));
      const Reported expected = expected_record(reader, model, row.text);
      const std::string bytes = reader.source(row.text);
      GuardedBuffer src(bytes.data(), bytes.size());
      const std::int32_t given = reader.is_given() ? static_cast<std::int32_t>(row.text.size()) : 0;
      std::int32_t length = given;
      EXPECT_EQ(expected, run(reader.read, src.as<>(), &length, reader.record_size(), &field));
      EXPECT_EQ(given != 0 ? given : reader.stored(row.text.size(), expected.status), length);
      if (reader.is_given()) continue;
      length = 17;
      EXPECT_EQ(expected, run(reader.read, src.as<>(), &length, reader.record_size(), &field));
      EXPECT_EQ(17, length);
    }
  }
}

TEST(TextToRecords, RefusesEmptySourcesAndSmallDestinations) {
  const Model model(L"%YYYY-%MM-%DD");
  Field field(model);
  for (const Reader& reader : readers) {
    const auto size = static_cast<std::int32_t>(reader.record_size());
    const std::string empty = reader.source(L"") + std::string(4, '\0');
    GuardedBuffer dst(reader.record_size());
    for (const std::int32_t given : {0, -1, INT32_MIN}) {
      std::int32_t length = given;
      std::uint32_t out_length = unset;
      EXPECT_EQ(ZVRT_RC_INVALID_PARAM, reader.read(empty.data(), &length, dst.as<>(), size, &out_length, &field));
      EXPECT_EQ(given, length) << reader.name;
      EXPECT_EQ(unset, out_length) << reader.name;
    }
    std::uint32_t out_length = unset;
    EXPECT_EQ(ZVRT_RC_INVALID_PARAM, reader.read(empty.data(), nullptr, dst.as<>(), size, &out_length, &field));
    for (const std::int32_t small : {size - 1, 0, -1, INT32_MIN}) {
      out_length = unset;
      EXPECT_EQ(ZVRT_RC_TRUNCATED, reader.read(empty.data(), nullptr, dst.as<>(), small, &out_length, &field));
      EXPECT_EQ(reader.record_size(), out_length) << reader.name;
    }
    EXPECT_TRUE(dst.untouched_from(0)) << reader.name;
  }
}

TEST(TextToRecords, ModelsWithoutALength) {
  const Model model(L"%YYYY-%MM-%DD");
  for (const Reader& reader : readers) {
    for (const std::int32_t model_length : {0, -1, INT32_MIN}) {
      Field field(model.codes.data(), model_length);
      const std::string source = reader.source(L"2024-03-05");
      std::int32_t length = reader.is_given() ? 10 : 0;
      const Reported reported = run(reader.read, source.data(), &length, reader.record_size(), &field);
      EXPECT_EQ(reported.status, ZVRT_RC_ERROR) << reader.name << ' ' << model_length;
      EXPECT_EQ(reported.bytes, untouched(0, reader.record_size()).bytes) << reader.name;
    }
  }
}

TEST(TextToRecords, PrefixesAreReadAsEachKindReadsThem) {
  const Model model(L"%YYYY-%MM-%DD");
  Field field(model);
  ZVRTTS ts;
  std::int32_t length = 0;
  std::uint32_t out_length = unset;
  std::string text(2 + 65536, '\0');
  const auto read_varchar = [&](std::uint16_t prefix, ZVRTConversion* read) {
    std::memcpy(text.data(), &prefix, 2);
    out_length = unset;
    return read(text.data(), &length, &ts, 24, &out_length, &field);
  };
  // Its length is counted unsigned, but the conversion of the text takes it as signed.
  EXPECT_EQ(ZVRT_RC_INVALID_PARAM, read_varchar(0x8000, ZVRTCnvDateTimeVarcharToZVRTTS));
  EXPECT_EQ(24U, out_length);
  EXPECT_EQ(ZVRT_RC_INVALID_PARAM, read_varchar(0x8000, ZVRTCnvDateTimeWVarcharToZVRTTS));
  EXPECT_EQ(unset, out_length);
  EXPECT_EQ(ZVRT_RC_INVALID_PARAM, read_varchar(3, ZVRTCnvDateTimeWVarcharToZVRTTS));
  EXPECT_EQ(0, length);
}

TEST(TextToRecords, ReportsWhatTheConversionOfTheTextReports) {
  const Model model(L"%YYYY-%MM-%DD");
  Field field(model);
  ZVRTTS ts;
  std::int32_t length = 0;
  std::uint32_t out_length = unset;
  EXPECT_EQ(ZVRT_RC_TRUNCATED, ZVRTCnvDateTimeSzToZVRTTS("2024-03-05\xC3", &length, &ts, 24, &out_length, &field));
  EXPECT_EQ(24U, out_length);
  EXPECT_EQ(0, length);
  // A zero byte ends the text: nothing is read, and the record of nothing is no date.
  std::int32_t fields_length = 3;
  EXPECT_EQ(ZVRT_RC_INVALID_YEAR, ZVRTCnvDateTimeCharToZVRTTS("\0xx", &fields_length, &ts, 24, &out_length, &field));
}

TEST(DateConversions, BuffersNeedNoAlignment) {
  const Model model(L"%DD-%MONTH-%YYYY %HH24:%MI:%SS.%FFFFFF");
  Field field(model);
  for (std::size_t shift = 0; shift < 4; ++shift) {
    char record[32], text[256], read[32];
    std::memcpy(record + shift, &good, sizeof good);
    std::uint32_t length = unset;
    EXPECT_EQ(ZVRT_RC_OK, ZVRTCnvZVRTTSToWVarcharSz(record + shift, nullptr, text + shift, 240, &length, &field));
    const std::wstring expected = L"05-March-2024 07:08:09.001234";
    EXPECT_EQ(wide(expected), std::string(text + shift, length * 4));
    EXPECT_EQ(ZVRT_RC_OK, ZVRTCnvDateTimeWSzToZVRTTS(text + shift, nullptr, read + shift, 24, &length, &field));
    EXPECT_EQ(0, std::memcmp(record + shift, read + shift, 24)) << shift;
  }
}

TEST(DateConversions, NeedAllOfTheirArguments) {
  const Model model(L"%YYYY-%MM-%DD");
  Field whole(model), no_model(nullptr, 13);
  FldDef no_format{};
  std::vector<ZVRTConversion*> conversions = {ZVRTCnvZVRTDateToWVarcharSz, ZVRTCnvZVRTDateToWVarcharSzOut,
                                              ZVRTCnvZVRTTimeToWVarcharSz, ZVRTCnvZVRTTimeToWVarcharSzOut,
                                              ZVRTCnvZVRTTSToWVarcharSzOut};
  for (const Writer& writer : writers) conversions.push_back(writer.write);
  for (const Reader& reader : readers) conversions.push_back(reader.read);
  ASSERT_EQ(19U, conversions.size());
  GuardedBuffer dst(64);
  const std::string src(64, '\0');
  std::int32_t length = 10;
  std::uint32_t out_length = 0;
  for (ZVRTConversion* convert : conversions) {
    // Each is refused before a destination of no size is.
    EXPECT_EQ(ZVRT_RC_ERROR, convert(nullptr, &length, dst.as<>(), 0, &out_length, &whole));
    EXPECT_EQ(ZVRT_RC_ERROR, convert(src.data(), &length, nullptr, 0, &out_length, &whole));
    EXPECT_EQ(ZVRT_RC_ERROR, convert(src.data(), &length, dst.as<>(), 0, &out_length, nullptr));
    EXPECT_EQ(ZVRT_RC_ERROR, convert(src.data(), &length, dst.as<>(), 0, &out_length, &no_format));
    EXPECT_EQ(ZVRT_RC_ERROR, convert(src.data(), &length, dst.as<>(), 0, &out_length, &no_model));
    EXPECT_EQ(0U, out_length);
  }
  EXPECT_TRUE(dst.untouched_from(0));
}

}  // namespace
}  // namespace zvrt_test
