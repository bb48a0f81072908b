#include "icu_reference.h"

#include <unicode/ustring.h>

#include <stdexcept>
#include <vector>

namespace zvrt_test {

namespace {

void leave_bytes(const void*, UConverterToUnicodeArgs*, const char*, int32_t, UConverterCallbackReason, UErrorCode*) {}
void leave_text(const void*, UConverterFromUnicodeArgs*, const UChar*, int32_t, UChar32, UConverterCallbackReason,
                UErrorCode*) {}

}  // namespace

IcuReference::IcuReference(const std::string& name) {
  UErrorCode error = U_ZERO_ERROR;
  converter_ = ucnv_open(name.c_str(), &error);
  ucnv_setToUCallBack(converter_, leave_bytes, nullptr, nullptr, nullptr, &error);
  ucnv_setFromUCallBack(converter_, leave_text, nullptr, nullptr, nullptr, &error);
  if (U_FAILURE(error)) throw std::runtime_error(name + ": " + u_errorName(error));
}

std::optional<std::u32string> IcuReference::decode(const std::string& bytes) const {
  std::vector<UChar> units(bytes.size() * 2 + 8);
  UErrorCode error = U_ZERO_ERROR;
  const int32_t count = ucnv_toUChars(converter_, units.data(), static_cast<int32_t>(units.size()), bytes.data(),
                                      static_cast<int32_t>(bytes.size()), &error);
  if (U_FAILURE(error)) return std::nullopt;
  std::vector<UChar32> characters(units.size());
  int32_t length = 0;
  u_strToUTF32(characters.data(), static_cast<int32_t>(characters.size()), &length, units.data(), count, &error);
  if (U_FAILURE(error)) return std::nullopt;
  return std::u32string(characters.data(), characters.data() + length);
}

std::optional<std::string> IcuReference::encode(const std::u32string& text) const {
  const std::vector<UChar32> characters(text.begin(), text.end());
  std::vector<UChar> units(text.size() * 2 + 1);
  int32_t count = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF32(units.data(), static_cast<int32_t>(units.size()), &count, characters.data(),
                 static_cast<int32_t>(characters.size()), &error);
  std::vector<char> bytes(text.size() * 12 + 16);
  const int32_t size =
      ucnv_fromUChars(converter_, bytes.data(), static_cast<int32_t>(bytes.size()), units.data(), count, &error);
  if (U_FAILURE(error)) return std::nullopt;
  return std::string(bytes.data(), static_cast<std::size_t>(size));
}

}  // namespace zvrt_test
