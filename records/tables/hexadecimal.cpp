#include "records/tables/hexadecimal.h"

namespace zvrt::records {
namespace {

int digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

}  // namespace

std::string hexadecimal(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char byte : bytes) {
    text += digits[static_cast<unsigned char>(byte) >> 4];
    text += digits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

bool from_hexadecimal(std::string_view text, std::string& bytes) {
  if (text.size() % 2 != 0) return false;
  bytes.resize(text.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = digit_value(text[2 * i]);
    const int low = digit_value(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    bytes[i] = static_cast<char>(high << 4 | low);
  }
  return true;
}

}  // namespace zvrt::records
