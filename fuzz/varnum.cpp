// VARNUM from decimal text, of either width, and from base-100 digits, by the book; and back to text.
#include "numeric/decimal/varnum_model.h"

#include "input.h"
#include "numeric/conversion_run.h"

namespace {

using namespace zvrt_test;

zvrt_fuzz::Source source;

bool is_accepted(const std::string& text) {
  const auto points = std::count(text.begin(), text.end(), '.');
  const bool digits_only = text.find_first_not_of("0123456789.") == std::string::npos;
  if (!digits_only || points > 1 || static_cast<std::ptrdiff_t>(text.size()) - points > 266) return false;
  const Decimal number(text);
  return number.digits.empty() || number.power <= 126;
}

void check_text(const std::string& text, std::int32_t size) {
  Outcome outcome{ZVRT_RC_ERROR, not_reported, static_cast<std::int32_t>(text.size()), ""};
  std::string value;
  if (is_accepted(text)) {
    value = varnum(Decimal(text), '+');
    outcome.outLen = static_cast<std::uint32_t>(value.size());
    outcome.status = size >= static_cast<std::int32_t>(value.size()) ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
    if (outcome.status == ZVRT_RC_OK) outcome.written = value;
  }
  ASSERT_EQ(run(ZVRTCnvVarcharSz_UnsignedToOraVarnum, source.put(text + '\0'), 0, size), outcome) << text;
  ASSERT_EQ(run(ZVRTCnvWVarcharSz_UnsignedToOraVarnum, source.put(wide_bytes(widened(text))), 0, size), outcome)
      << text;
}

void check_value(const std::string& value, std::int32_t size) {
  const auto text_of = [](std::string bytes) {
    bytes.resize(static_cast<unsigned char>(bytes[0]) + 1U, '\x02');
    return bytes;
  };
  const std::string whole = text_of(value.empty() ? std::string(1, '\0') : value);
  const auto digit_is_good = [](char byte) { return byte >= 1 && byte <= 100; };
  const bool zero = whole == "\x01\x80";
  const bool good = zero || (whole.size() > 2 && whole.size() <= 22 && static_cast<unsigned char>(whole[1]) >= 0x80 &&
                             std::all_of(whole.begin() + 2, whole.end(), digit_is_good));
  Outcome outcome{ZVRT_RC_ERROR, 0, static_cast<std::int32_t>(whole.size()), ""};
  if (good) {
    const std::string text = plain_text(whole);
    const std::size_t capacity = static_cast<std::size_t>(std::max(size, 0)) / 4;
    outcome.outLen = static_cast<std::uint32_t>(text.size());
    outcome.status = capacity > text.size() ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
    outcome.written = wide_bounded(text, capacity);
  }
  ASSERT_EQ(run(ZVRTCnvOraVarnumToWVarcharSz_Unsigned, source.put(whole), 7, size), outcome) << hex(whole);
}

void check_pairs(std::string pairs, std::int16_t scale, char sign) {
  std::string text;
  for (char& pair : pairs) {
    pair = static_cast<char>(static_cast<unsigned char>(pair) % 100);
    text += {static_cast<char>('0' + pair / 10), static_cast<char>('0' + pair % 10)};
  }
  Decimal number(text);
  number.power -= scale;
  if (number.power > 126) return;
  GuardedBuffer digits(pairs.data(), pairs.size());
  GuardedBuffer dst(22);
  ASSERT_EQ(ConvertBCDToOraVarNum(dst.as<std::uint8_t>(), digits.as<std::uint8_t>(),
                                  static_cast<std::int16_t>(pairs.size()), scale, sign),
            0);
  const std::string value = dst.bytes().substr(0, static_cast<unsigned char>(dst.bytes()[0]) + 1U);
  ASSERT_TRUE(dst.untouched_from(value.size()));
  ASSERT_EQ(hex(value), hex(varnum(number, sign))) << text << " scale " << scale;
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  switch (input.below(3)) {
    case 0: {
      const std::int32_t size = input.between(-1, 24);
      return check_text(input.text_over(input.flag() ? "01234567890000.0" : "0123456789.0000-").substr(0, 300), size);
    }
    case 1: {
      const std::int32_t size = input.between(-1, 700);
      return check_value(input.bytes(), size);
    }
    default: {
      const auto scale = static_cast<std::int16_t>(input.between(-300, 2500));
      const char sign = input.flag() ? '-' : '+';
      return check_pairs(input.bytes(), scale, sign);
    }
  }
}
