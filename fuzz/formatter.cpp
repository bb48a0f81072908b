// The formatter by its law at any capacity; where a model has every field, the parser gives the record back.
#include "datetime/formatter_law.h"
#include "input.h"

namespace {

using namespace zvrt_test;

// Every field once, in an order and with literals that the input chooses.
void check_round_trip(zvrt_fuzz::Input& input) {
  static const wchar_t* const fields[][3] = {
      {L"%YYYY", L"%YYYY", L"%YYYY"},      {L"%MM", L"%MONTH", L"%MMM"}, {L"%DD", L"%DD", L"%DD"},
      {L"%HH24", L"%HH%PM", L"%PM%HH"},    {L"%MI", L"%MI", L"%MI"},     {L"%SS", L"%SS", L"%SS"},
      {L"%FFFFFF", L"%FFFFFF", L"%FFFFFF"}};
  const std::uint32_t first = input.below(7), step = input.below(6) + 1;
  std::wstring text;
  for (std::uint32_t i = 0; i < 7; ++i) {
    text += input.of(fields[(first + i * step) % 7]);
    text += L"/|,_"[input.below(4)];
  }
  const Model model(text);
  const ZVRTTS ts = valid_timestamp(input);
  wchar_t written[256];
  std::uint32_t length = 0;
  ASSERT_EQ(ZVRTTSToWVarcharSz(written, 256, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length), ZVRT_RC_OK);
  ZVRTTS read;
  ASSERT_EQ(ZVRTWVarcharSzToTS(written, static_cast<std::int32_t>(length), model.codes.data(), model.length(), &read,
                               ZVRT_DT_TIMESTAMP),
            ZVRT_RC_OK);
  ASSERT_EQ(read, ts);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const std::uint32_t way = input.below(4);
  if (way == 3) return check_round_trip(input);
  const DtKind kind = input.between(ZVRT_DT_DATE, ZVRT_DT_TIMESTAMP);
  const std::size_t capacity = input.below(200);
  const ZVRTTS ts = way == 0 ? valid_timestamp(input) : any_timestamp(input);
  Model model(any_model(input, 20));
  if (way == 2) disturb(input, model.codes);
  expect_law_of_capacity(model.codes.data(), ts, kind, capacity);
}
