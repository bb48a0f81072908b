// Numbers as text, both ways.
//
// Read: an optional sign, digits with at most one point among or beside them, and an optional exponent (e or E, an
// optional sign, digits). At least one digit stands before the exponent. Nothing else may stand in the text: blanks are
// for the trim flags to take away. All digits count, however many there are: see `Tail`.
//
// Written: a '-' for numbers below zero, at least one digit, and a point where the scale is above 0, with all digits of
// the scale after it.
#include <algorithm>
#include <cstring>

#include "columns/arena.h"
#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

bool is_digit(std::uint32_t character) { return character >= '0' && character <= '9'; }

// Beyond this no number of 40 digits fits any type, and nothing can be added up to less.
constexpr std::int64_t far = 1'000'000;

constexpr std::int32_t within_reach(std::int64_t scale) {
  return static_cast<std::int32_t>(std::clamp(scale, -far, far));
}

// Collects digits: the first 40 significant ones exactly, of the rest how they compare with half a unit.
class Digits {
 public:
  void add(std::uint32_t digit) {
    if (count_ < max_digits) [[likely]] {
      if (count_ == 0 && digit == 0) return;
      chunk_ = chunk_ * 10 + digit;
      ++count_;
      if (++chunk_digits_ == chunk_size) flush();
      return;
    }
    if (dropped_++ == 0) {
      first_dropped_ = digit;
    } else {
      rest_ |= digit != 0;
    }
    if (digit != 0) significant_dropped_ = dropped_;
  }
  std::int64_t dropped() const { return dropped_; }

  // `last_scale`: that of the last digit of all.
  void finish(Decimal& number, std::int64_t last_scale) {
    flush();
    number.magnitude = magnitude_;
    number.finest = within_reach(last_scale - (dropped_ - significant_dropped_));
    if (first_dropped_ == 5 && !rest_) {
      number.tail = Tail::half;
    } else if (first_dropped_ >= 5) {
      number.tail = Tail::above_half;
    } else if (first_dropped_ != 0 || rest_) {
      number.tail = Tail::below_half;
    }
  }

 private:
  static constexpr std::int32_t chunk_size = 19;

  void flush() {
    magnitude_ = magnitude_.is_zero() ? Magnitude{chunk_, 0} : append_digits(magnitude_, chunk_digits_, chunk_);
    chunk_ = 0;
    chunk_digits_ = 0;
  }

  Magnitude magnitude_;
  std::uint64_t chunk_ = 0;
  std::int32_t chunk_digits_ = 0;
  std::int32_t count_ = 0;
  std::int64_t dropped_ = 0;
  std::int64_t significant_dropped_ = 0;  // those up to the last one that is not 0
  std::uint32_t first_dropped_ = 0;
  bool rest_ = false;
};

// What a text says besides its digits.
struct Scanned {
  bool negative;
  std::int32_t scale;       // of the last digit that was not dropped
  std::int64_t last_scale;  // of the last one of all
};

template <class At, class Sink>
class NumberParser {
 public:
  NumberParser(At at, std::int64_t count, Sink& digits) : at_(at), count_(count), digits_(digits) {}

  Status run(Scanned& scanned, Fault& fault) {
    const std::uint32_t sign = peek();
    scanned.negative = sign == '-';
    if (sign == '-' || sign == '+') ++position_;
    std::int64_t scale = 0;
    const std::int64_t found = read_digits(scale);
    bool is_good = found > 0;
    std::int64_t exponent = 0;
    if (is_good && (peek() == 'e' || peek() == 'E')) is_good = read_exponent(exponent);
    if (!is_good || position_ != count_) {
      fault = {.character = position_, .unit = peek()};
      return ZVRT_RC_INVALID_NUMBER;
    }
    scanned.last_scale = scale - exponent;
    scanned.scale = within_reach(scanned.last_scale - digits_.dropped());
    return ZVRT_RC_OK;
  }

 private:
  std::uint32_t peek() const { return position_ < count_ ? at_(position_) : 0; }

  std::int64_t read_digits(std::int64_t& scale) {
    const std::int64_t whole = read_run();
    if (peek() != '.' || position_ == count_) return whole;
    ++position_;
    scale = read_run();
    return whole + scale;
  }

  std::int64_t read_run() {
    const std::int64_t start = position_;
    for (; position_ < count_; ++position_) {
      const std::uint32_t digit = at_(position_) - '0';
      if (digit > 9) break;
      digits_.add(digit);
    }
    return position_ - start;
  }

  bool read_exponent(std::int64_t& exponent) {
    ++position_;
    const std::uint32_t sign = peek();
    if (sign == '-' || sign == '+') ++position_;
    const std::int64_t start = position_;
    for (; position_ < count_ && is_digit(at_(position_)); ++position_) {
      exponent = std::min(exponent * 10 + (at_(position_) - '0'), INT64_MAX / 16);
    }
    if (sign == '-') exponent = -exponent;
    return position_ > start;
  }

  At at_;
  std::int64_t count_;
  std::int64_t position_ = 0;
  Sink& digits_;
};

template <class Sink>
Status scan_number(const Text& text, Sink& digits, Scanned& scanned, Fault& fault) {
  if (text.is_ascii) {
    const auto at = [&text](std::int64_t i) { return static_cast<std::uint32_t>(text.at[i]); };
    return NumberParser(at, text.count, digits).run(scanned, fault);
  }
  const auto at = [&text](std::int64_t i) { return load<Wide>(text.at, static_cast<std::size_t>(i)); };
  return NumberParser(at, text.count, digits).run(scanned, fault);
}

// The usual number: ASCII, a sign perhaps, at most 18 digits with a point perhaps. False for any other text.
bool parse_short(const Text& text, Decimal& number) {
  constexpr std::int64_t max_length = 20;
  if (!text.is_ascii || text.count < 1 || text.count > max_length) return false;
  const auto* at = reinterpret_cast<const unsigned char*>(text.at);
  const unsigned char* const end = at + text.count;
  const bool negative = *at == '-';
  if (negative || *at == '+') ++at;
  const unsigned char* const digits = at;
  const unsigned char* point = end;
  std::uint64_t value = 0;
  for (; at != end; ++at) {
    const std::uint32_t digit = static_cast<std::uint32_t>(*at) - '0';
    if (digit <= 9) {
      value = value * 10 + digit;
    } else if (*at == '.' && point == end) {
      point = at;
    } else {
      return false;
    }
  }
  const std::int64_t count = end - digits - (point != end ? 1 : 0);
  if (count < 1 || count > 18) return false;
  const auto scale = static_cast<std::int32_t>(point != end ? end - point - 1 : 0);
  number = {{value, 0}, value == 0 ? 0 : scale, negative, Tail::zero};
  return true;
}

}  // namespace

Status parse_number(const Text& text, Decimal& number, Fault& fault) {
  if (parse_short(text, number)) return ZVRT_RC_OK;
  number = Decimal{};
  Digits digits;
  Scanned scanned{};
  if (const Status status = scan_number(text, digits, scanned, fault); status != ZVRT_RC_OK) return status;
  digits.finish(number, scanned.last_scale);
  number.negative = scanned.negative;
  number.scale = number.magnitude.is_zero() ? 0 : scanned.scale;
  return ZVRT_RC_OK;
}

LongNumber parse_long_number(const Text& text) {
  LongNumber number;
  Scanned scanned{};
  Fault fault;
  scan_number(text, number, scanned, fault);
  number.finish(scanned.negative, scanned.scale);
  return number;
}

std::int32_t format_number(const Decimal& number, char* out) {
  if (number.scale == 0 && !number.magnitude.is_zero()) {
    *out = '-';
    const std::int32_t sign = number.negative ? 1 : 0;
    return sign + write_digits(number.magnitude, out + sign);
  }
  char digits[max_digits];
  const std::int32_t count = write_digits(number.magnitude, digits);
  char* at = out;
  const auto put_zeros = [&at](std::int32_t zeros) {
    std::fill_n(at, std::max(zeros, 0), '0');
    at += std::max(zeros, 0);
  };
  if (number.negative && count > 0) *at++ = '-';
  const std::int32_t whole = std::clamp(count - number.scale, 0, count);
  if (whole == 0) *at++ = '0';
  at = std::copy_n(digits, whole, at);
  if (count > 0) put_zeros(-number.scale);
  if (number.scale > 0) {
    *at++ = '.';
    put_zeros(number.scale - count);
    at = std::copy(digits + whole, digits + count, at);
  }
  return static_cast<std::int32_t>(at - out);
}

void step_text_to_decimal(const Type& /*from*/, const Type& /*to*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Text text = block.text[i];
    Fault fault;
    Decimal number;
    const Status status = parse_number(text, number, fault);
    if (status != ZVRT_RC_OK) return block.refuse(i, status, fault);
    block.decimal[i] = number;
  });
}

void step_decimal_to_text(const Type& /*from*/, const Type& /*to*/, Block& block) {
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i)) continue;
    const Decimal number = block.decimal[i];
    std::byte* const out = room_for(block, i, longest_number_text);
    if (out == nullptr) return;
    const std::int32_t length = format_number(number, reinterpret_cast<char*>(out));
    block.arena->keep(out, static_cast<std::size_t>(length));
    block.text[i] = {out, length, true, true};
  }
}

}  // namespace zvrt::columns
