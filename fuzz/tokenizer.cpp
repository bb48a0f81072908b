// The tokenizer: an element is the longest that the letters begin, and the entries give the text back.
#include <cwctype>

#include "datetime/models.h"
#include "input.h"

namespace {

using namespace zvrt_test;

bool begins(const std::wstring& text, std::size_t at, const std::wstring& letters) {
  if (text.size() - at < letters.size()) return false;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const wchar_t character = text[at + i];
    const bool lower = character >= L'a' && character <= L'z';
    if ((lower ? character - L'a' + L'A' : character) != letters[i]) return false;
  }
  return true;
}

std::wstring longest_element(const std::wstring& text, std::size_t at) {
  std::wstring longest;
  for (const std::wstring letters : element_letters) {
    if (letters.size() > longest.size() && begins(text, at, letters)) longest = letters;
  }
  return longest;
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  std::wstring text;
  if (input.flag()) {
    text = any_model(input, 30);
  } else {
    for (const char character : input.text_over("%%%%YMDHSFPmondthiyI24-: \xFF")) {
      text += character == '\xFF' ? L'\u017F' : static_cast<wchar_t>(character);
    }
  }
  const std::string bytes(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t));
  static Source source;
  std::vector<FmtCode> codes(text.size() + 1);
  DtKind kind = 0;
  const std::uint32_t status = ZVRTGetFormatCodes(source.put_as<wchar_t>(bytes), codes.data(), &kind);

  const FmtCode* entry = codes.data();
  for (std::size_t at = 0; at < text.size(); ++entry) {
    if (text[at] != L'%') {
      ASSERT_EQ(entry->code, FMT_LITERAL);
      ASSERT_EQ(entry->literal, static_cast<std::uint32_t>(text[at]));
      ++at;
      continue;
    }
    const std::wstring element = longest_element(text, at + 1);
    if (element.empty()) {
      ASSERT_EQ(status, ZVRT_RC_INVALID_FORMAT);
      ASSERT_EQ(entry->code, 0U);
      return;
    }
    ASSERT_EQ(entry->pos, at);
    ASSERT_EQ(entry->len, element.size());
    ASSERT_EQ(entry->code, Model(L'%' + element).codes[0].code);
    at += element.size() + 1;
  }
  ASSERT_EQ(status, ZVRT_RC_OK);
  ASSERT_EQ(entry->code, FMT_END);
}
