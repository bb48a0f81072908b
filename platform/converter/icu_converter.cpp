#include "icu_converter.h"

#include <unicode/utf16.h>

#include <algorithm>
#include <array>

namespace zvrt {

namespace {

// ICU's own "stop" callbacks are not strict: from Unicode they drop characters that are ignorable by default. Leaving
// the error as it stands is what stops.
void refuse_bytes(const void*, UConverterToUnicodeArgs*, const char*, std::int32_t, UConverterCallbackReason,
                  UErrorCode*) {}
void refuse_characters(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32,
                       UConverterCallbackReason, UErrorCode*) {}

}  // namespace

IcuConverter::IcuConverter(const char* name) {
  converter_ = ucnv_open(name, &error_);
  if (converter_ == nullptr) return;
  ucnv_setToUCallBack(converter_, refuse_bytes, nullptr, nullptr, nullptr, &error_);
  ucnv_setFromUCallBack(converter_, refuse_characters, nullptr, nullptr, nullptr, &error_);
  ucnv_setFallback(converter_, false);
  if (U_SUCCESS(error_)) return;
  ucnv_close(converter_);
  converter_ = nullptr;
}

const char* IcuConverter::canonical_name() const {
  UErrorCode error = U_ZERO_ERROR;
  return ucnv_getName(converter_, &error);
}

IcuConverter::DecodedSequence IcuConverter::decode(std::initializer_list<unsigned char> bytes) const {
  std::array<char, 8> source{};
  std::copy(bytes.begin(), bytes.end(), source.begin());
  std::array<UChar, 8> units{};
  const char* from = source.data();
  UChar* to = units.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_resetToUnicode(converter_);
  ucnv_toUnicode(converter_, &to, units.data() + units.size(), &from, source.data() + bytes.size(), nullptr, true,
                 &error);
  if (error == U_TRUNCATED_CHAR_FOUND) return {Answer::incomplete, 0};
  if (U_FAILURE(error)) return {Answer::undefined, 0};
  const auto count = to - units.data();
  if (count == 1 && U16_IS_SINGLE(units[0])) return {Answer::character, units[0]};
  if (count == 2 && U16_IS_LEAD(units[0]) && U16_IS_TRAIL(units[1]))
    return {Answer::character, static_cast<char32_t>(U16_GET_SUPPLEMENTARY(units[0], units[1]))};
  return {Answer::multi_character, 0};
}

bool IcuConverter::encodes_to(char32_t character, std::initializer_list<unsigned char> bytes) const {
  std::array<UChar, 2> source{};
  std::size_t count = 0;
  U16_APPEND_UNSAFE(source, count, static_cast<UChar32>(character));
  std::array<char, 16> target{};
  const UChar* from = source.data();
  char* to = target.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_resetFromUnicode(converter_);
  ucnv_fromUnicode(converter_, &to, target.data() + target.size(), &from, source.data() + count, nullptr, true, &error);
  return U_SUCCESS(error) &&
         std::equal(target.data(), to, bytes.begin(), bytes.end(),
                    [](char wrote, unsigned char byte) { return static_cast<unsigned char>(wrote) == byte; });
}

}  // namespace zvrt
