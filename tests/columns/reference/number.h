// Numbers of any size: digits * 10^-scale, and the binary and hexadecimal floats nearest to them.
#pragma once

#include <gmpxx.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace zvrt_reference {

struct Number {
  mpz_class digits;  // signed
  int scale = 0;     // digits after the point; may be negative

  friend bool operator==(const Number& a, const Number& b) { return cmp(a.fraction(), b.fraction()) == 0; }
  mpq_class fraction() const;
};

inline mpz_class power(int base, int exponent) {
  mpz_class result;
  mpz_ui_pow_ui(result.get_mpz_t(), static_cast<unsigned long>(base), static_cast<unsigned long>(exponent));
  return result;
}

inline mpq_class ten_to(int exponent) {
  return exponent >= 0 ? mpq_class(power(10, exponent)) : mpq_class(1, power(10, -exponent));
}

inline mpq_class Number::fraction() const { return digits * ten_to(-scale); }

enum class Rule { exact, half_even, half_away, cut };

// The integer nearest to a fraction by the rule; nothing under `exact` when the fraction is none.
inline std::optional<mpz_class> to_integer(const mpq_class& value, Rule rule) {
  const mpz_class &over = value.get_num(), &under = value.get_den();
  mpz_class whole = abs(over) / under;
  const mpz_class rest = abs(over) % under;
  if (rest != 0 && rule == Rule::exact) return std::nullopt;
  const int beside_half = cmp(mpz_class(rest * 2), under);
  const bool up = rule == Rule::half_away   ? beside_half >= 0
                  : rule == Rule::half_even ? beside_half > 0 || (beside_half == 0 && whole % 2 != 0)
                                            : false;
  if (up) whole += 1;
  return over < 0 ? mpz_class(-whole) : whole;
}

// With exactly `scale` digits after the point.
inline std::optional<Number> rescaled(const Number& number, int scale, Rule rule) {
  const std::optional<mpz_class> digits = to_integer(number.fraction() * ten_to(scale), rule);
  if (!digits) return std::nullopt;
  return Number{*digits, scale};
}

inline int count_digits(const mpz_class& value) {
  return value == 0 ? 0 : static_cast<int>(mpz_class(abs(value)).get_str().size());
}

// Digits, with a point before the last `scale` of them.
inline std::string plain_text(const Number& number) {
  std::string text = mpz_class(abs(number.digits)).get_str();
  if (number.scale < 0 && number.digits != 0) text += std::string(static_cast<std::size_t>(-number.scale), '0');
  if (number.scale > 0) {
    const auto scale = static_cast<std::size_t>(number.scale);
    if (text.size() <= scale) text.insert(0, scale + 1 - text.size(), '0');
    text.insert(text.size() - scale, ".");
  }
  return number.digits < 0 ? "-" + text : text;
}

// "digits E exponent", which the C library rounds correctly.
inline std::string exponent_text(const Number& number) {
  return number.digits.get_str() + "e" + std::to_string(-number.scale);
}
inline double nearest_double(const Number& number) { return std::strtod(exponent_text(number).c_str(), nullptr); }
inline float nearest_float(const Number& number) { return std::strtof(exponent_text(number).c_str(), nullptr); }

// The number that a text in digits, point and exponent stands for.
inline Number parse_decimal(std::string text) {
  int exponent = 0;
  if (const std::size_t e = text.find('e'); e != std::string::npos) {
    // Nothing holds a number with so many digits before or after its point.
    const double written = std::strtod(text.c_str() + e + 1, nullptr);
    exponent = static_cast<int>(std::clamp(written, -20'000.0, 20'000.0));
    text.erase(e);
  }
  int scale = 0;
  if (const std::size_t point = text.find('.'); point != std::string::npos) {
    scale = static_cast<int>(text.size() - point) - 1;
    text.erase(point, 1);
  }
  return {mpz_class(text.starts_with('+') ? text.substr(1) : text, 10), scale - exponent};
}

// The shortest decimal that reads back as the float.
template <class Float>
Number shortest(Float value) {
  char text[64];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
  return parse_decimal(std::string(text, end));
}

// A float's own value: digits after the point as they are, none left out.
template <class Float>
Number exactly(Float value) {
  int exponent = 0;
  const Float fraction = std::frexp(value, &exponent);
  mpz_class digits(static_cast<double>(std::ldexp(fraction, 53)));
  exponent -= 53;
  return exponent >= 0 ? Number{digits * power(2, exponent), 0} : Number{digits * power(5, -exponent), -exponent};
}
inline Number exactly(const mpq_class& value) {  // of a power of two below the line
  mpq_class result = value;
  int scale = 0;
  for (; result.get_den() != 1; ++scale) result *= 10;
  return {result.get_num(), scale};
}

// A hexadecimal float: sign, a fraction of `digits` hexadecimal digits, times 16 to the power of `exponent`.
struct HexFloat {
  bool negative = false;
  int exponent = 0;  // -64 to 63
  mpz_class fraction;

  mpq_class value(int digits) const {
    const mpz_class factor = power(16, std::abs(exponent - digits));
    const mpq_class magnitude =
        exponent >= digits ? mpq_class(fraction * factor) : mpq_class(mpq_class(fraction) / factor);
    return negative ? mpq_class(-magnitude) : magnitude;
  }
};

// The nearest one, ties to even. Its exponent may be out of range above; below, it is the least, and digits go.
inline HexFloat nearest_hex(const mpq_class& value, int digits) {
  HexFloat result;
  result.negative = value < 0;
  const mpq_class magnitude = abs(value);
  if (magnitude == 0) return {};
  int exponent = -64;
  while (magnitude >= mpq_class(power(16, exponent + 64), power(16, 64))) ++exponent;
  for (;; ++exponent) {
    const int shift = digits - exponent;
    const mpq_class scaled =
        shift >= 0 ? mpq_class(magnitude * power(16, shift)) : mpq_class(magnitude / power(16, -shift));
    result.fraction = *to_integer(scaled, Rule::half_even);
    result.exponent = exponent;
    if (result.fraction < power(16, digits)) return result;
  }
}

// As few digits as read back, and of those the nearest.
inline Number shortest_hex(const HexFloat& value, int digits) {
  const mpq_class exact = value.value(digits);
  if (exact == 0) return {};
  int scale = 120;
  while (count_digits(*to_integer(exact * ten_to(scale), Rule::cut)) > 1) --scale;
  for (;; ++scale) {
    const Number number{*to_integer(exact * ten_to(scale), Rule::half_even), scale};
    if (nearest_hex(number.fraction(), digits).value(digits) == exact) return number;
  }
}

}  // namespace zvrt_reference
