#include "records/copybook/picture.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace zvrt::records {
namespace {

constexpr std::size_t most_characters = 134'217'727;
constexpr int most_digits = 38;

struct PlacedRun {
  PictureRun run;
  std::size_t at = 0;
};
using Runs = std::vector<PlacedRun>;

[[noreturn]] void fail(std::size_t at, const std::string& message, const std::string& hint = {}) {
  throw PictureFault{at, message, hint};
}

// `9(7)`, `999` and `9(3)9(4)` are one run each; CR and DB one symbol each.
Runs runs_of(const std::string& text) {
  Runs runs;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const char symbol = text[at++];
    if (symbol == 'C' || symbol == 'D') {
      const char second = symbol == 'C' ? 'R' : 'B';
      if (at == text.size() || text[at] != second)
        fail(start, std::string("'") + symbol + "' is not a symbol of a picture",
             "a usage stands after a blank, CR and DB are signs");
      ++at;
    }
    std::size_t count = 1;
    if (at < text.size() && text[at] == '(') {
      const char* const end = text.data() + text.size();
      const auto [stop, error] = std::from_chars(text.data() + at + 1, end, count);
      if (error != std::errc{} || stop == end || *stop != ')' || count == 0 || count > most_characters)
        fail(at, "a count from 1 to 134217727 and ')' are missing");
      at = static_cast<std::size_t>(stop - text.data()) + 1;
    }
    if (!runs.empty() && runs.back().run.symbol == symbol)
      runs.back().run.count += count;
    else
      runs.push_back({{symbol, count}, start});
  }
  return runs;
}

bool one_of(char symbol, std::string_view symbols) { return symbols.find(symbol) != std::string_view::npos; }

std::size_t count_of(const Runs& runs, std::string_view symbols) {
  std::size_t count = 0;
  for (const PlacedRun& placed : runs)
    if (one_of(placed.run.symbol, symbols)) count += placed.run.count;
  return count;
}

void allow(const Runs& runs, std::string_view symbols, const std::string& where) {
  for (const PlacedRun& placed : runs)
    if (!one_of(placed.run.symbol, symbols))
      fail(placed.at, std::string("'") + placed.run.symbol + "' has no place in " + where);
}

Category text_category(const Runs& runs) {
  if (count_of(runs, "N") != 0) {
    allow(runs, "NB0/", "a national picture");
    return count_of(runs, "B0/") != 0 ? Category::national_edited : Category::national;
  }
  if (count_of(runs, "G") != 0) {
    allow(runs, "GB", "a picture of double-byte characters");
    return Category::dbcs;
  }
  allow(runs, "XA9B0/", "a picture of text");
  if (count_of(runs, "X9B0/") == 0) return Category::alphabetic;
  return count_of(runs, "B0/") != 0 ? Category::alphanumeric_edited : Category::alphanumeric;
}

// Sign, digits with at most one point, E, sign, digits.
void check_external_float(const Runs& runs) {
  std::string shape;
  for (const PlacedRun& placed : runs) shape += placed.run.symbol;
  static constexpr std::array mantissas{"9", "9.", ".9", "9.9", "9V", "V9", "9V9"};
  const std::size_t e = shape.find('E');
  const bool fits = one_of(shape.front(), "+-") && e + 3 == shape.size() && one_of(shape[e + 1], "+-") &&
                    shape[e + 2] == '9' &&
                    std::find(mantissas.begin(), mantissas.end(), shape.substr(1, e - 1)) != mantissas.end();
  if (!fits) fail(0, "the picture of a floating-point number is not understood", "it looks like +9.9(6)E+99");
}

bool is_edited(const Runs& runs) { return count_of(runs, "Z*+-,.B0/$CD") != 0; }

// A sign, a currency sign or a scaling is one of its kind and has its own places.
void check_order(const Runs& runs) {
  std::size_t point = runs.size();
  std::size_t first_digit = runs.size();
  for (std::size_t k = 0; k < runs.size(); ++k) {
    const auto& [run, at] = runs[k];
    if (run.symbol == 'S' && (k != 0 || run.count != 1)) fail(at, "S stands once, at the beginning");
    if (one_of(run.symbol, "V.")) {
      if (point != runs.size() || run.count != 1) fail(at, "the picture has two decimal points");
      point = k;
    }
    if (one_of(run.symbol, "CD") && (k + 1 != runs.size() || run.count != 1))
      fail(at, "CR and DB stand once, at the end");
    if (run.symbol == '9' && first_digit == runs.size()) first_digit = k;
    if (one_of(run.symbol, "Z*") && first_digit < k) fail(at, std::string("'") + run.symbol + "' stands after a 9");
  }
  if (count_of(runs, "Z") != 0 && count_of(runs, "*") != 0) fail(0, "the picture has both Z and *");
  const std::size_t plus = count_of(runs, "+") != 0 ? 1 : 0;
  const std::size_t minus = count_of(runs, "-") != 0 ? 1 : 0;
  const std::size_t signs = plus + minus + count_of(runs, "SCD");
  if (signs > 1) fail(0, "the picture has two signs");
}

// P stands before all digits or after them: its place decides whether it makes the number smaller or greater.
int scaling(const Runs& runs) {
  const std::size_t count = count_of(runs, "P");
  if (count == 0) return 0;
  const auto is = [&](std::string_view symbols) {
    return [symbols](const PlacedRun& placed) { return one_of(placed.run.symbol, symbols); };
  };
  const auto p = std::find_if(runs.begin(), runs.end(), is("P"));
  if (std::find_if(std::next(p), runs.end(), is("P")) != runs.end()) fail(p->at, "P stands in two places");
  if (count > static_cast<std::size_t>(most_digits)) fail(p->at, "P stands for at most 38 digits");
  const bool digit_before = std::find_if(runs.begin(), p, is("9Z*")) != p;
  const bool digit_after = std::find_if(p, runs.end(), is("9Z*")) != runs.end();
  if (digit_before == digit_after) fail(p->at, "P stands before all digits or after them");
  const bool v_inside =
      digit_before ? std::find_if(runs.begin(), p, is("V.")) != p : std::find_if(p, runs.end(), is("V.")) != runs.end();
  if (v_inside) fail(p->at, "the decimal point stands between P and the digits");
  return digit_before ? -static_cast<int>(count) : static_cast<int>(count);
}

// Digits and scale. A + - or $ that stands more than once floats: all but the first may hold a digit.
void count_digits(const Runs& runs, Picture& picture) {
  const std::array floating{count_of(runs, "+"), count_of(runs, "-"), count_of(runs, "$")};
  std::array<bool, 3> seen{};
  bool after_point = false;
  std::size_t digits = 0;
  std::size_t decimals = 0;
  for (const PlacedRun& placed : runs) {
    const auto& [symbol, count] = placed.run;
    if (symbol == 'E') break;
    std::size_t here = one_of(symbol, "9Z*") ? count : 0;
    if (const std::size_t kind = std::string_view("+-$").find(symbol);
        kind != std::string_view::npos && floating[kind] > 1) {
      here = seen[kind] ? count : count - 1;
      seen[kind] = true;
    }
    if (one_of(symbol, "V.")) after_point = true;
    digits += here;
    if (after_point) decimals += here;
  }
  if (digits == 0) fail(0, "the picture has no digit");
  if (digits > static_cast<std::size_t>(most_digits)) fail(0, "a number has at most 38 digits");
  const int scaled = scaling(runs);
  picture.digits = static_cast<int>(digits);
  picture.scale = scaled > 0 ? scaled + picture.digits : scaled < 0 ? scaled : static_cast<int>(decimals);
}

}  // namespace

Picture parse_picture(const std::string& text) {
  const Runs runs = runs_of(text);
  for (const PlacedRun& placed : runs)
    if (!one_of(placed.run.symbol, "AX9SVPZ*+-,.B0/$CDENG"))
      fail(placed.at, std::string("'") + placed.run.symbol + "' is not a symbol of a picture");
  Picture picture;
  picture.text = text;
  for (const PlacedRun& placed : runs) picture.runs.push_back(placed.run);
  picture.length = count_of(runs, "AX9Z*+-,.B0/$ENG") + 2 * count_of(runs, "CD");
  if (picture.length > most_characters) fail(0, "the item is longer than 134217727 bytes");
  if (count_of(runs, "AXNG") != 0) {
    picture.category = text_category(runs);
    return picture;
  }
  if (count_of(runs, "E") != 0) {
    check_external_float(runs);
    picture.category = Category::external_float;
  } else {
    check_order(runs);
    picture.category = is_edited(runs) ? Category::numeric_edited : Category::numeric;
  }
  picture.is_signed = count_of(runs, "S+-CD") != 0;
  count_digits(runs, picture);
  return picture;
}

}  // namespace zvrt::records
