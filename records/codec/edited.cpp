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
  for (const PictureRun& run : picture.runs)
    if (run.symbol == 'S')
      signed_ = false;  // the sign is no part of what is edited
    else
      symbols_.append(run.count, run.symbol);
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
  return again && shows_the_same(*again, shown) ? number : loose_number(shown);
}

// Compilers differ in whether insertion characters among suppressed zeros are shown: "  1" or " /1" by Z/Z. A fixed sign
// of what is not negative may be + or blank.
bool EditedPicture::shows_the_same(std::string_view one, std::string_view other) const {
  if (one.size() != other.size()) return false;
  std::size_t place = 0;
  for (const char symbol : symbols_) {
    if (symbol == 'V') continue;
    const std::size_t count = symbol == 'C' || symbol == 'D' ? 2 : 1;
    const bool inserted = is_insertion(symbol) && other[place] == symbol && one[place] == ' ';
    const bool positive =
        (symbol == '+' || symbol == '-') && one[place] != '-' && other[place] != '-' && symbol != floating_;
    if (!inserted && !positive && one.substr(place, count) != other.substr(place, count)) return false;
    place += count;
  }
  return true;
}

// A number that stands in its place as other programs write it: blanks around it, digits and at most one point, commas
// between digits, one sign. It has to fit the picture.
std::optional<std::string> EditedPicture::loose_number(std::string_view shown) const {
  const auto trim = [&] {
    while (shown.starts_with(' ')) shown.remove_prefix(1);
    while (shown.ends_with(' ')) shown.remove_suffix(1);
  };
  trim();
  const bool before = shown.starts_with('+') || shown.starts_with('-');
  bool negative = shown.starts_with('-');
  if (before) shown.remove_prefix(1);
  for (const std::string_view sign : {"+", "-", "CR", "DB"})
    if (!before && shown.ends_with(sign)) {
      negative = sign != "+";
      shown.remove_suffix(sign.size());
      break;
    }
  trim();
  std::string number(negative ? 1 : 0, '-');
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const bool between = i > 0 && i + 1 < shown.size() && is_digit(shown[i - 1]) && is_digit(shown[i + 1]);
    if (shown[i] == ',' && between && number.find('.') == std::string::npos) continue;
    number += shown[i];
  }
  const bool has_point = symbols_.find('.') != std::string::npos;
  if (scale_ != 0 && !has_point) return std::nullopt;  // nothing shows where the fraction begins
  bool below_zero = false;
  const auto digits = digits_of(number, below_zero);
  if (!digits || (negative && !signed_) || number.find_first_of("+-", 1) != std::string::npos) return std::nullopt;
  std::string plain = *digits;
  if (scale_ != 0) plain.insert(plain.size() - scale_, 1, '.');
  plain.erase(0, std::min(plain.find_first_not_of('0'), plain.size() - (scale_ != 0 ? scale_ + 1 : 1)));
  if (plain.starts_with('.')) plain.insert(0, 1, '0');
  return (negative ? "-" : "") + plain;
}

}  // namespace zvrt::records
