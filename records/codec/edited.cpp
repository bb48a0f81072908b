// Editing goes from left to right. Leading zeros are suppressed while only Z, * or floating symbols were met; a floating
// symbol takes the place before the first digit that is shown:
//
//   picture  $ $ $ , $ $ 9 . 9 9
//   digits     0 0   1 2 3   4 5      (the first $ holds no digit)
//   shown          $ 1 2 3 . 4 5
//
// Reading takes the digits back; whatever is read has to be shown by the same characters again.
#include "records/codec/edited.h"

#include <algorithm>

namespace zvrt::records {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_insertion(char c) { return c == ',' || c == 'B' || c == '0' || c == '/'; }

}  // namespace

EditedPicture::EditedPicture(const Picture& picture, bool blank_when_zero)
    : digits_(static_cast<std::size_t>(picture.digits)),
      scale_(static_cast<std::size_t>(std::max(picture.scale, 0))),
      signed_(picture.is_signed),
      blank_when_zero_(blank_when_zero) {
  for (const PictureRun& run : picture.runs) symbols_.append(run.count, run.symbol);
  for (const char symbol : {'$', '+', '-'})
    if (std::count(symbols_.begin(), symbols_.end(), symbol) > 1) floating_ = symbol;
}

std::optional<std::string> EditedPicture::digits_of(std::string_view number, bool& negative) const {
  negative = number.starts_with('-');
  if (negative || number.starts_with('+')) number.remove_prefix(1);
  const std::size_t point = number.find('.');
  std::string whole(number.substr(0, point));
  std::string fraction(point == std::string_view::npos ? "" : number.substr(point + 1));
  if ((whole + fraction).empty() || !std::all_of(whole.begin(), whole.end(), is_digit) ||
      !std::all_of(fraction.begin(), fraction.end(), is_digit))
    return std::nullopt;
  while (fraction.size() > scale_ && fraction.back() == '0') fraction.pop_back();
  whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
  if (fraction.size() > scale_ || whole.size() + scale_ > digits_) return std::nullopt;
  fraction.append(scale_ - fraction.size(), '0');
  return std::string(digits_ - scale_ - whole.size(), '0') + whole + fraction;
}

std::string EditedPicture::edit(const std::string& digits, bool negative) const {
  const bool zero = digits.find_first_not_of('0') == std::string::npos;
  const bool suppresses_all = symbols_.find('9') == std::string::npos && digits_ != 0;
  const bool stars = symbols_.find('*') != std::string::npos;
  std::size_t length = 0;
  for (const char symbol : symbols_) length += symbol == 'C' || symbol == 'D' ? 2 : symbol == 'V' ? 0 : 1;
  if (zero && (blank_when_zero_ || suppresses_all) && !stars)
    return std::string(length, ' ');  // NOLINT(modernize-return-braced-init-list): braces would make two characters
  const char float_shown = floating_ == '-'   ? (negative ? '-' : ' ')
                           : floating_ == '+' ? (negative ? '-' : '+')
                                              : floating_;
  std::string shown;
  std::size_t next = 0;
  bool suppress = true;
  bool float_begun = false;
  const auto stop_suppressing = [&] {
    if (suppress && float_begun && !shown.empty()) shown.back() = float_shown;
    suppress = false;
  };
  const char fill = stars ? '*' : ' ';
  for (const char symbol : symbols_) {
    if (symbol == floating_ && !float_begun) {
      float_begun = true;
      shown += ' ';
    } else if (symbol == '9' || symbol == 'Z' || symbol == '*' || symbol == floating_) {
      const char digit = digits[next++];
      if (symbol == '9' || digit != '0') stop_suppressing();
      shown += suppress ? fill : digit;
    } else if (symbol == '.' || symbol == 'V') {
      if (!(zero && suppresses_all)) stop_suppressing();
      if (symbol == '.') shown += '.';
    } else if (is_insertion(symbol)) {
      const bool leading = suppress && (next != 0 || float_begun);
      shown += leading ? fill : symbol == 'B' ? ' ' : symbol;
    } else if (symbol == '+' || symbol == '-') {
      shown += negative ? '-' : symbol == '+' ? '+' : ' ';
    } else if (symbol == 'C' || symbol == 'D') {
      shown += !negative ? ' ' : symbol;
      shown += !negative ? ' ' : symbol == 'C' ? 'R' : 'B';
    } else {
      shown += symbol;  // a currency sign that stands once
    }
  }
  return shown;
}

std::optional<std::string> EditedPicture::shown(std::string_view number) const {
  bool negative = false;
  const auto digits = digits_of(number, negative);
  if (!digits || (negative && !signed_)) return std::nullopt;
  return edit(*digits, negative && digits->find_first_not_of('0') != std::string::npos);
}

std::optional<std::string> EditedPicture::number(std::string_view shown) const {
  std::string digits;
  bool negative = false;
  std::size_t place = 0;
  bool after_point = false;
  std::size_t fraction = 0;
  for (const char symbol : symbols_) {
    if (symbol == 'V') {
      after_point = true;
      continue;
    }
    if (place >= shown.size()) return std::nullopt;
    const char c = shown[place++];
    if (symbol == 'C' || symbol == 'D') {
      negative |= c != ' ';
      ++place;
    } else if (symbol == '.') {
      after_point = true;
    } else if (!is_insertion(symbol)) {
      if (c == '-') negative = true;
      if (is_digit(c)) {
        digits += c;
        fraction += after_point ? 1U : 0U;
      }
    } else if (c == '-') {
      negative = true;  // a floating sign that took the place of a comma
    }
  }
  if (place != shown.size() || fraction > scale_) return std::nullopt;
  digits.append(scale_ - fraction, '0');
  if (digits.size() <= scale_) digits.insert(0, scale_ + 1 - digits.size(), '0');
  const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size() - scale_ - 1);
  std::string number(negative ? 1 : 0, '-');
  number.append(digits, first, digits.size() - scale_ - first);
  if (scale_ != 0) number.append(1, '.').append(digits, digits.size() - scale_);
  const auto again = this->shown(number);
  if (!again || *again != shown) return std::nullopt;
  return number;
}

}  // namespace zvrt::records
