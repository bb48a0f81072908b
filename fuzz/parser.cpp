// The parser by its laws, on text that its model wrote, changed, and on any text.
#include "datetime/parser_law.h"
#include "input.h"

namespace {

using namespace zvrt_test;

std::wstring written(const Model& model, const ZVRTTS& ts) {
  wchar_t text[600];
  std::uint32_t length = 0;
  const std::uint32_t status = ZVRTTSToWVarcharSz(text, 600, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length);
  return status == ZVRT_RC_OK ? std::wstring(text, length) : L"";
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const std::uint32_t way = input.below(4);
  const std::int32_t fewer = input.between(0, 255);
  Model model(any_model(input, 12));
  std::wstring text;
  if (way < 3) text = written(model, valid_timestamp(input));
  for (std::uint32_t changes = input.below(4); changes > 0 && !text.empty(); --changes) {
    constexpr wchar_t letters[] = {
        L'-', L'0', L'7', L' ', L'a', L'M', L':', L'/', L'é', L'\u0660', wchar_t(0x80000030)};
    text[input.below(250) % text.size()] = input.of(letters);
  }
  if (way > 0) disturb(input, model.codes);
  for (const char character : input.text_over("0123456789-/: aApPmMJarn.").substr(0, 200)) {
    text += static_cast<wchar_t>(character);
  }
  const std::int32_t chars = fewer == 255 ? INT32_MAX : static_cast<std::int32_t>(text.size()) - fewer % 20;
  expect_laws_of_parsing(text, chars, model.codes);
}
