#include "decimal.h"

#include <algorithm>

namespace record_exchange {
namespace {

// Beyond this no picture and no number format of a table reaches; it keeps plain() short.
constexpr long most_exponent = 9999;

bool is_digit(wchar_t c) { return c >= L'0' && c <= L'9'; }

std::size_t digits_at(std::wstring_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && is_digit(text[end])) ++end;
  return end - at;
}

}  // namespace

bool Decimal::parse(std::wstring_view text) {
  std::size_t at = 0;
  negative_ = !text.empty() && text[0] == L'-';
  if (negative_ || (!text.empty() && text[0] == L'+')) ++at;
  const std::size_t whole = digits_at(text, at);
  digits_.assign(text.substr(at, whole));
  at += whole;
  std::size_t places = 0;
  if (at < text.size() && text[at] == L'.') {
    places = digits_at(text, ++at);
    digits_.append(text.substr(at, places));
    at += places;
  }
  if (digits_.empty()) return false;
  exponent_ = -static_cast<long>(places);
  if (at < text.size() && (text[at] == L'E' || text[at] == L'e')) {
    const bool down = ++at < text.size() && text[at] == L'-';
    if (down || (at < text.size() && text[at] == L'+')) ++at;
    const std::size_t count = digits_at(text, at);
    if (count == 0 || count > 4) return false;
    long exponent = 0;
    for (const wchar_t digit : text.substr(at, count)) exponent = exponent * 10 + (digit - L'0');
    exponent_ += down ? -exponent : exponent;
    at += count;
  }
  normalise();
  return at == text.size() && exponent_ <= most_exponent;
}

void Decimal::from_picture(std::wstring_view digits, std::size_t scale) {
  negative_ = !digits.empty() && digits[0] == L'-';
  digits_.assign(digits.substr(negative_ ? 1 : 0));
  exponent_ = -static_cast<long>(scale);
  normalise();
}

void Decimal::normalise() {
  digits_.erase(0, std::min(digits_.find_first_not_of(L'0'), digits_.size()));
  const std::size_t kept = digits_.find_last_not_of(L'0') + 1;  // 0 where nothing is found
  exponent_ += static_cast<long>(digits_.size() - kept);
  digits_.resize(kept);
  if (digits_.empty()) {
    exponent_ = 0;
    negative_ = false;
  }
}

bool Decimal::to_picture(std::size_t scale, std::wstring& digits) const {
  digits.assign(negative_ ? L"-" : L"");
  if (digits_.empty()) digits.assign(L"0");
  const long zeros = digits_.empty() ? 0 : exponent_ + static_cast<long>(scale);
  if (zeros < 0) return false;
  digits.append(digits_).append(static_cast<std::size_t>(zeros), L'0');
  return true;
}

std::wstring Decimal::plain() const {
  if (digits_.empty()) return L"0";
  std::wstring text = negative_ ? L"-" : L"";
  const auto count = static_cast<long>(digits_.size());
  if (exponent_ >= 0) return text.append(digits_).append(static_cast<std::size_t>(exponent_), L'0');
  const long whole = count + exponent_;  // digits before the point
  if (whole <= 0) return text.append(L"0.").append(static_cast<std::size_t>(-whole), L'0').append(digits_);
  return text.append(digits_, 0, static_cast<std::size_t>(whole))
      .append(L".")
      .append(digits_, static_cast<std::size_t>(whole));
}

}  // namespace record_exchange
