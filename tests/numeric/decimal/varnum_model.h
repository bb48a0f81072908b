// VARNUM by the book, from and to decimal text.
#pragma once

#include <algorithm>
#include <string>

namespace zvrt_test {

// A decimal number kept as text: its digits without zeros at either end, and the power of ten just above the first.
struct Decimal {
  std::string digits{};
  int power = 0;

  explicit Decimal(const std::string& text) {
    const std::size_t point = std::min(text.find('.'), text.size());
    for (const char character : text) {
      if (character != '.') digits += character;
    }
    const std::size_t zeros = std::min(digits.find_first_not_of('0'), digits.size());
    power = static_cast<int>(point) - static_cast<int>(zeros);
    digits.erase(0, zeros);
    digits.erase(digits.find_last_not_of('0') + 1);
  }
};

// The byte form by the book: exponent and digits in base 100, cut to twenty.
inline std::string varnum(Decimal number, char sign) {
  const int exponent = number.power > 0 ? (number.power - 1) / 2 : number.power / 2 - 1;
  if (number.digits.empty() || exponent < -65) return "\x01\x80";
  if (number.power % 2 != 0) number.digits.insert(0, "0");
  if (number.digits.size() % 2 != 0) number.digits += '0';
  std::string value;
  for (std::size_t i = 0; i < std::min<std::size_t>(number.digits.size(), 40); i += 2) {
    const int digit = std::stoi(number.digits.substr(i, 2));
    value += static_cast<char>(sign == '+' ? digit + 1 : 101 - digit);
  }
  if (sign == '-' && value.size() < 20) value += '\x66';
  value.insert(0, 1, static_cast<char>(sign == '+' ? 193 + exponent : 62 - exponent));
  value.insert(0, 1, static_cast<char>(value.size()));
  return value;
}

// Sets the digits around the point, every pair in full, then takes the zeros off the front.
inline std::string plain_text(const std::string& value) {
  if (value == "\x01\x80") return "0";
  std::string digits;
  for (const char byte : value.substr(2)) {
    const int digit = byte - 1;
    digits += static_cast<char>('0' + digit / 10);
    digits += static_cast<char>('0' + digit % 10);
  }
  const int whole = 2 * (static_cast<unsigned char>(value[1]) - 192);
  if (whole <= 0) return "." + std::string(static_cast<std::size_t>(-whole), '0') + digits;
  const auto point = static_cast<std::size_t>(whole);
  if (digits.size() < point) digits.append(point - digits.size(), '0');
  if (digits.size() > point) digits.insert(point, ".");
  return digits[0] == '0' ? digits.substr(1) : digits;
}

}  // namespace zvrt_test
