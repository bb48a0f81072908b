// The date conversions are compositions: a record written to any kind is what the formatter wrote and the string
// conversion moved; a text of any kind is read as the parser and the validation read it.
#include <gtest/gtest.h>

#include "models.h"

namespace {

using namespace zvrt_test;

struct Outcome {
  std::uint32_t status;
  std::uint32_t out_len;
  std::string bytes;
  bool operator==(const Outcome&) const = default;
};

constexpr std::uint32_t not_reported = 0xDEADBEEF;

Outcome run(ZVRTConversion* convert, const void* src, std::int32_t* src_len, std::size_t size, const FldDef* field) {
  GuardedBuffer dst(size);
  Outcome outcome{0, not_reported, ""};
  outcome.status = convert(src, src_len, dst.as<>(), static_cast<std::int32_t>(size), &outcome.out_len, field);
  outcome.bytes = dst.bytes();
  EXPECT_TRUE(dst.untouched_from(size));
  return outcome;
}

void check_writing(const Model& model, const ZVRTTS& ts, std::size_t size) {
  Field field(model);
  static const struct {
    ZVRTConversion *from_record, *from_text;
  } pairs[] = {{ZVRTCnvZVRTTSToWchar, ZVRTCnvWVarcharSzToWChar},
               {ZVRTCnvZVRTTSToWVarchar, ZVRTCnvWVarcharSzToWVarchar},
               {ZVRTCnvZVRTTSToChar, ZVRTCnvWVarcharSzToChar},
               {ZVRTCnvZVRTTSToVarchar, ZVRTCnvWVarcharSzToVarchar},
               {ZVRTCnvZVRTTSToVarcharSz, ZVRTCnvWVarcharSzToVarcharSz}};
  std::vector<wchar_t> text(static_cast<std::size_t>(model.length()) * 16 + 1);
  std::uint32_t length = 0;
  std::uint32_t status = ZVRTValidateDateTime(&ts, ZVRT_DT_TIMESTAMP);
  if (status == ZVRT_RC_OK) {
    status = ZVRTTSToWVarcharSz(text.data(), static_cast<std::int32_t>(text.size()), model.codes.data(), &ts,
                                ZVRT_DT_TIMESTAMP, &length);
  }
  for (const auto& [from_record, from_text] : pairs) {
    const Outcome outcome = run(from_record, &ts, nullptr, size, &field);
    if (from_record == ZVRTCnvZVRTTSToWVarchar && size < 2) {
      ASSERT_EQ(outcome.status, ZVRT_RC_TRUNCATED);
    } else if (status == ZVRT_RC_OK) {
      ASSERT_EQ(outcome, run(from_text, text.data(), nullptr, size, &field));
    } else {
      ASSERT_EQ(outcome, (Outcome{status, not_reported, std::string(size, static_cast<char>(GuardedBuffer::mark))}));
    }
  }
}

// The same text in the six kinds gives the same record.
void check_reading(const Model& model, const std::u32string& text) {
  if (text.empty()) return;
  Field field(model);
  std::string narrow(text.begin(), text.end());
  const std::string wide = wide_bytes(text);
  const auto bytes = static_cast<std::int32_t>(narrow.size());
  const Outcome expected = run(ZVRTCnvDateTimeWSzToZVRTTS, wide.data(), nullptr, 24, &field);

  ZVRTTS ts;
  std::uint32_t status = ZVRTWVarcharSzToTS(reinterpret_cast<const wchar_t*>(text.c_str()), bytes, model.codes.data(),
                                            model.length(), &ts, ZVRT_DT_TIMESTAMP);
  if (status != ZVRT_RC_OK && text.find_first_not_of(U' ') == std::u32string::npos) status = ZVRT_RC_BLANK_TEXT;
  if (status == ZVRT_RC_OK) {
    const std::size_t year = model.text.find(L"%YY"), full_year = model.text.find(L"%YYYY");
    status = ZVRTValidateDateTime(&ts, year < full_year ? ZVRT_DT_TIMESTAMP_YY : ZVRT_DT_TIMESTAMP);
  }
  ASSERT_EQ(expected.status, status);
  if (status == ZVRT_RC_OK) ASSERT_EQ(std::memcmp(expected.bytes.data(), &ts, sizeof ts), 0);

  const auto prefixed = [](std::int32_t length, const std::string& data) {
    return std::string{static_cast<char>(length), static_cast<char>(length >> 8)} + data;
  };
  std::int32_t length = bytes;
  EXPECT_EQ(expected, run(ZVRTCnvDateTimeCharToZVRTTS, narrow.data(), &length, 24, &field));
  EXPECT_EQ(expected, run(ZVRTCnvDateTimeWcharToZVRTTS, wide.data(), &length, 24, &field));
  EXPECT_EQ(expected, run(ZVRTCnvDateTimeSzToZVRTTS, narrow.c_str(), nullptr, 24, &field));
  EXPECT_EQ(expected, run(ZVRTCnvDateTimeVarcharToZVRTTS, prefixed(bytes, narrow).data(), nullptr, 24, &field));
  EXPECT_EQ(expected, run(ZVRTCnvDateTimeWVarcharToZVRTTS, prefixed(bytes * 4, wide).data(), nullptr, 24, &field));
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const bool writes = input.flag();
  const Model model(model_text(input, 12));
  if (model.status != ZVRT_RC_OK) return;
  const std::size_t size = input.below(300);
  if (writes) return check_writing(model, input.flag() ? valid_timestamp(input) : any_timestamp(input), size);
  const std::string text = input.text_over("0123456789-/: aApPmMJarn.").substr(0, 200);
  check_reading(model, std::u32string(text.begin(), text.end()));
}
