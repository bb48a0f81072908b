// A decimal number's digits and where its point stands. A record's number has no point: its picture implies one, and
// this is the arithmetic of placing digits around it. What the digits are, and how they are stored, is the library's.
#ifndef RECORD_EXCHANGE_DECIMAL_H
#define RECORD_EXCHANGE_DECIMAL_H

#include <cstddef>
#include <string>
#include <string_view>

namespace record_exchange {

class Decimal {
 public:
  // Reads [+|-] digits [. digits] [E exponent]; at least one digit. False for anything else.
  bool parse(std::wstring_view text);

  // Digits of a picture with an implied point.
  void from_picture(std::wstring_view digits, std::size_t scale);

  // The digits for a picture of `scale` places, without point or leading zeros, "0" for zero, '-' in front of a
  // negative. False when a digit other than 0 lies behind the last place.
  bool to_picture(std::size_t scale, std::wstring& digits) const;

  // The one plain form of the value: no leading zeros but one before the point, no trailing zeros behind it.
  std::wstring plain() const;

  bool negative() const { return negative_; }
  bool operator==(const Decimal& other) const = default;

 private:
  void normalise();

  bool negative_ = false;
  std::wstring digits_;  // without leading and trailing zeros; empty for zero
  long exponent_ = 0;    // of ten, for the digits taken as an integer
};

}  // namespace record_exchange

#endif
