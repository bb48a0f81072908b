#include "numeric/integer/integer_format.h"

#include <algorithm>
#include <iterator>

#include "support/wraps.h"

namespace zvrt {

namespace {

constexpr std::int32_t max_length = FormattedInteger::max_length;
constexpr std::int32_t not_given = -1;

// A printf directive: flags, width, precision, length modifier and conversion letter.
struct Directive {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  std::int32_t width = 0;
  std::int32_t precision = not_given;
  std::int32_t bits = 32;
  char conversion = 0;

  bool is_signed() const { return conversion == 'd' || conversion == 'i'; }
  std::uint32_t base() const { return conversion == 'o' ? 8 : conversion == 'x' || conversion == 'X' ? 16 : 10; }
};

bool take_flag(char character, Directive& directive) {
  switch (character) {
    case '-': return directive.left = true;
    case '+': return directive.plus = true;
    case ' ': return directive.blank = true;
    case '#': return directive.alternate = true;
    case '0': return directive.zero = true;
    default: return false;
  }
}

// A number of any length, saturated just above the longest text.
std::int32_t take_number(const char*& at) {
  std::int32_t number = 0;
  for (; *at >= '0' && *at <= '9'; ++at) number = std::min(number * 10 + (*at - '0'), max_length + 1);
  return number;
}

// Advances `at` past the conversion letter; false for one that is not allowed.
bool take_directive(const char*& at, Directive& directive) {
  while (take_flag(*at, directive)) ++at;
  directive.width = take_number(at);
  if (*at == '.') {
    ++at;
    directive.precision = take_number(at);
  }
  for (; *at == 'h' && directive.bits > 8; ++at) directive.bits /= 2;
  switch (*at) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X': directive.conversion = *at++; return true;
    default: return false;
  }
}

// Text that grows at its end; its length goes on to one above the longest when it is full.
class Line {
 public:
  void add(char character, std::int32_t times = 1) {
    for (; times > 0 && length_ <= max_length; --times, ++length_) {
      if (length_ < max_length) formatted_.text[length_] = character;
    }
  }
  void add(const char* from, const char* to) {
    for (; from != to; ++from) add(*from);
  }
  bool is_overfull() const { return length_ > max_length; }
  FormattedInteger result() {
    formatted_.length = length_;
    formatted_.valid = !is_overfull();
    return formatted_;
  }

 private:
  FormattedInteger formatted_{};
  std::int32_t length_ = 0;
};

// The value narrowed to the directive's bits, as magnitude and sign.
struct Magnitude {
  std::uint32_t value;
  bool negative;
};

ZVRT_WRAPS Magnitude magnitude_of(const Directive& directive, std::int32_t value) {
  const std::int32_t unused = 32 - directive.bits;
  const std::uint32_t high = static_cast<std::uint32_t>(value) << unused;
  if (!directive.is_signed()) return {high >> unused, false};
  const std::int32_t narrowed = static_cast<std::int32_t>(high) >> unused;
  return {narrowed < 0 ? 0 - static_cast<std::uint32_t>(narrowed) : static_cast<std::uint32_t>(narrowed), narrowed < 0};
}

void add_integer(Line& line, const Directive& directive, std::int32_t value) {
  const Magnitude magnitude = magnitude_of(directive, value);
  char digits[11];  // 32 bits in octal
  char* const end = std::end(digits);
  char* front = end;
  const char* const alphabet = directive.conversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
  for (std::uint32_t rest = magnitude.value; rest > 0; rest /= directive.base()) {
    *--front = alphabet[rest % directive.base()];
  }
  const auto count = static_cast<std::int32_t>(end - front);
  const std::int32_t min_digits = directive.precision == not_given ? 1 : directive.precision;
  std::int32_t zeros = std::max(min_digits - count, 0);
  if (directive.alternate && directive.base() == 8) zeros = std::max(zeros, 1);

  char prefix[2];
  std::int32_t prefix_length = 0;
  if (directive.is_signed() && (magnitude.negative || directive.plus || directive.blank)) {
    prefix[prefix_length++] = magnitude.negative ? '-' : directive.plus ? '+' : ' ';
  } else if (directive.alternate && directive.base() == 16 && magnitude.value > 0) {
    prefix[prefix_length++] = '0';
    prefix[prefix_length++] = directive.conversion;
  }
  const std::int32_t padding = std::max(directive.width - prefix_length - zeros - count, 0);
  const bool pads_with_zeros = directive.zero && !directive.left && directive.precision == not_given;
  if (!directive.left && !pads_with_zeros) line.add(' ', padding);
  line.add(prefix, prefix + prefix_length);
  if (pads_with_zeros) line.add('0', padding);
  line.add('0', zeros);
  line.add(front, end);
  if (directive.left) line.add(' ', padding);
}

}  // namespace

FormattedInteger format_integer(const char* format, std::int32_t value) {
  constexpr FormattedInteger rejected{};
  Line line;
  bool converted = false;
  for (const char* at = format; *at != 0;) {
    const bool is_percent = at[0] == '%';
    if (!is_percent || at[1] == '%') {
      line.add(*at);
      at += is_percent ? 2 : 1;
      continue;
    }
    ++at;
    Directive directive;
    if (converted || !take_directive(at, directive)) return rejected;
    add_integer(line, directive, value);
    converted = true;
  }
  return converted ? line.result() : rejected;
}

}  // namespace zvrt
