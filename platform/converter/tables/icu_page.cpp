#include "icu_page.h"

#include <unicode/utf16.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace zvrt {

namespace {

// ICU's own "stop" callbacks are not strict: outward they drop characters that are ignorable by default. Leaving the
// error as it stands is what stops.
void refuse_bytes(const void*, UConverterToUnicodeArgs*, const char*, std::int32_t, UConverterCallbackReason,
                  UErrorCode*) {}
void refuse_characters(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32,
                       UConverterCallbackReason, UErrorCode*) {}

}  // namespace

IcuPage::IcuPage(const std::string& name) {
  UErrorCode error = U_ZERO_ERROR;
  converter_.reset(ucnv_open(name.c_str(), &error));
  if (converter_ == nullptr) return;
  ucnv_setToUCallBack(converter_.get(), refuse_bytes, nullptr, nullptr, nullptr, &error);
  ucnv_setFromUCallBack(converter_.get(), refuse_characters, nullptr, nullptr, nullptr, &error);
  ucnv_setFallback(converter_.get(), false);
  if (U_FAILURE(error)) converter_.reset();
}

std::string IcuPage::canonical_name() const {
  UErrorCode error = U_ZERO_ERROR;
  return ucnv_getName(converter_.get(), &error);
}

IcuPage::Meaning IcuPage::meaning(const std::string& bytes) const {
  std::array<UChar, 16> units{};
  const char* from = bytes.data();
  UChar* to = units.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_resetToUnicode(converter_.get());
  ucnv_toUnicode(converter_.get(), &to, units.data() + units.size(), &from, from + bytes.size(), nullptr, true, &error);
  if (error == U_TRUNCATED_CHAR_FOUND) return {Answer::incomplete, {}};
  if (U_FAILURE(error)) return {Answer::undefined, {}};
  std::u32string text;
  for (const UChar* unit = units.data(); unit != to; ++unit) {
    if (U16_IS_LEAD(unit[0]) && unit + 1 != to && U16_IS_TRAIL(unit[1])) {
      text += static_cast<char32_t>(U16_GET_SUPPLEMENTARY(unit[0], unit[1]));
      ++unit;
    } else if (U16_IS_SURROGATE(*unit)) {
      return {Answer::undefined, {}};
    } else {
      text += *unit;
    }
  }
  return {Answer::text, text};
}

bool IcuPage::writes(const std::u32string& text, const std::string& bytes) const {
  std::array<UChar, 16> source{};
  std::size_t count = 0;
  for (const char32_t character : text) U16_APPEND_UNSAFE(source, count, static_cast<UChar32>(character));
  std::array<char, 32> target{};
  const UChar* from = source.data();
  char* to = target.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_resetFromUnicode(converter_.get());
  ucnv_fromUnicode(converter_.get(), &to, target.data() + target.size(), &from, from + count, nullptr, true, &error);
  return U_SUCCESS(error) && std::string(target.data(), to) == bytes;
}

}  // namespace zvrt
