// Values that are converted one at a time: edited numbers, and binary items of 3, 5, 6, 7 or more than 8 bytes.
#include <algorithm>
#include <cstring>

#include "records/codec/edited.h"
#include "records/codec/field.h"

namespace zvrt::records {
namespace {

__extension__ using Wide = unsigned __int128;

// S before an edited picture is a sign over a digit, as in a number, or a character of its own.
class EditedSign {
 public:
  EditedSign(const Item& item, bool ebcdic)
      : there_(!item.picture.runs.empty() && item.picture.runs.front().symbol == 'S'),
        separate_(item.sign_separate),
        leading_(item.sign_leading),
        ebcdic_(ebcdic) {}

  bool is_separate() const { return there_ && separate_; }
  bool is_leading() const { return leading_; }
  bool is_over_digit() const { return there_ && !separate_; }
  bool is_there() const { return there_; }

  // Makes a signed digit a plain one: EBCDIC [zone|digit] with zone C positive, D negative; ASCII p to y negative.
  bool take(std::string& bytes) const {
    char& byte = leading_ ? bytes.front() : bytes.back();
    const auto code = static_cast<unsigned char>(byte);
    const unsigned zone = code >> 4;
    const bool negative = ebcdic_ ? zone == 0xD : zone == 0x7;
    if ((code & 15U) <= 9 && (negative || (ebcdic_ && zone == 0xC)))
      byte = static_cast<char>((ebcdic_ ? 0xF0U : 0x30U) | (code & 15U));
    return negative;
  }

  void put(char* bytes, std::size_t length, bool negative) const {
    char& byte = bytes[leading_ ? 0 : length - 1];
    const unsigned digit = static_cast<unsigned char>(byte) & 15U;
    const unsigned zone = ebcdic_ ? (negative ? 0xD0U : 0xC0U) : (negative ? 0x70U : 0x30U);
    byte = static_cast<char>(zone | digit);
  }

 private:
  bool there_;
  bool separate_;
  bool leading_;
  bool ebcdic_;
};

class EditedValue final : public SingleValue {
 public:
  EditedValue(const Column& column, const CodecOptions& options)
      : picture_(column.item->picture, column.item->blank_when_zero),
        sign_(*column.item, options.page.ebcdic && column.item->usage != Usage::national),
        length_(column.item->length),
        characters_(length_) {
    ZVRTType record{};
    record.size = sizeof record;
    record.kind = ZVRT_KIND_CHAR;
    record.length = static_cast<std::int32_t>(length_);
    ZVRTType text = record;
    text.length = record.length * 4;
    if (column.item->usage == Usage::national) {
      record.kind = ZVRT_KIND_UTF16;
      record.flags = ZVRT_TYPE_BIG_ENDIAN;
      characters_ = length_ / 2;
    } else {
      record.codePage = options.page.number;
      record.codePageKind = options.page.kind;
    }
    to_text_ = make_plan(record, text, column.field);
    text.length = static_cast<std::int32_t>(characters_);
    from_text_ = make_plan(text, record, column.field);
  }

  Status read(const char* bytes, std::string& text) const override {
    std::string coded(bytes, length_);
    bool negative = sign_.is_over_digit() && sign_.take(coded);
    std::string shown(length_ * 4, '\0');
    std::int32_t size = 0;
    if (const Status status = convert_one(*to_text_, coded.data(), nullptr, shown.data(), &size); status != ZVRT_RC_OK)
      return status;
    shown.resize(static_cast<std::size_t>(size));
    if (sign_.is_separate() && !shown.empty()) {
      const char sign = sign_.is_leading() ? shown.front() : shown.back();
      if (sign != '+' && sign != '-') return ZVRT_RC_INVALID_SIGN;
      negative = sign == '-';
      shown.erase(sign_.is_leading() ? 0 : shown.size() - 1, 1);
    }
    const auto number = picture_.number(shown);
    if (!number) return rx_not_edited;
    const bool zero = number->find_first_of("123456789") == std::string::npos;
    text.assign(negative && !zero ? 1 : 0, '-').append(*number);
    return ZVRT_RC_OK;
  }

  Status write(std::string_view text, char* bytes) const override {
    const bool negative = sign_.is_there() && text.starts_with('-');
    if (negative) text.remove_prefix(1);
    auto shown = picture_.shown(text);
    if (!shown) return rx_not_edited;
    if (sign_.is_separate()) shown->insert(sign_.is_leading() ? 0 : shown->size(), 1, negative ? '-' : '+');
    if (shown->size() != characters_) return rx_not_edited;
    const Status status = convert_one(*from_text_, shown->data(), nullptr, bytes, nullptr);
    if (status == ZVRT_RC_OK && sign_.is_over_digit()) sign_.put(bytes, length_, negative);
    return status;
  }

 private:
  EditedPicture picture_;
  EditedSign sign_;
  std::size_t length_;
  std::size_t characters_;
  Plan to_text_;
  Plan from_text_;
};

class OddBinary final : public SingleValue {
 public:
  OddBinary(const Column& column, bool big_endian, bool whole_range)
      : length_(column.item->length),
        scale_(column.item->scale),
        digits_(whole_range ? 39U : static_cast<std::size_t>(column.item->digits)),
        signed_(column.item->is_signed),
        big_endian_(big_endian) {}

  Status read(const char* bytes, std::string& text) const override {
    Wide value = signed_ && (byte(bytes, 0) & 0x80U) != 0 ? ~Wide{0} : Wide{0};
    for (std::size_t i = 0; i < length_; ++i) value = value << 8 | byte(bytes, i);
    const bool negative = signed_ && (value >> 127) != 0;
    if (negative) value = ~value + 1;
    std::string digits;
    for (; value != 0; value /= 10) digits += static_cast<char>('0' + static_cast<int>(value % 10));
    if (scale_ < 0 && !digits.empty()) digits.insert(0, static_cast<std::size_t>(-scale_), '0');
    const auto scale = static_cast<std::size_t>(std::max(scale_, 0));
    if (digits.size() <= scale) digits.append(scale + 1 - digits.size(), '0');
    std::reverse(digits.begin(), digits.end());
    if (scale != 0) digits.insert(digits.size() - scale, 1, '.');
    text.assign(negative ? 1 : 0, '-');
    text += digits;
    return ZVRT_RC_OK;
  }

  Status write(std::string_view text, char* bytes) const override {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::string digits;
    if (const Status status = scaled(text, digits); status != ZVRT_RC_OK) return status;
    if (digits.size() > std::min<std::size_t>(digits_, 38)) return ZVRT_RC_DIGITS_LOST;
    Wide value = 0;
    for (const char c : digits) value = value * 10 + static_cast<unsigned>(c - '0');
    if (negative && !signed_ && value != 0) return ZVRT_RC_INVALID_SIGN;
    const Wide limit = Wide{1} << (length_ * 8 - 1);
    const bool fits = signed_ ? (negative ? value <= limit : value < limit) : length_ == 16 || value < limit * 2;
    if (!fits) return ZVRT_RC_OUT_OF_RANGE;
    if (negative) value = ~value + 1;
    for (std::size_t i = 0; i < length_; ++i)
      bytes[big_endian_ ? length_ - 1 - i : i] = static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
    return ZVRT_RC_OK;
  }

 private:
  // The digits of value * 10^scale.
  Status scaled(std::string_view text, std::string& digits) const {
    const std::size_t point = text.find('.');
    std::string whole(text.substr(0, point));
    std::string fraction(point == std::string_view::npos ? "" : text.substr(point + 1));
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    if ((whole + fraction).empty() || !std::all_of(whole.begin(), whole.end(), is_digit) ||
        !std::all_of(fraction.begin(), fraction.end(), is_digit))
      return ZVRT_RC_INVALID_NUMBER;
    const auto scale = static_cast<std::size_t>(std::max(scale_, 0));
    while (fraction.size() > scale && fraction.back() == '0') fraction.pop_back();
    if (fraction.size() > scale) return ZVRT_RC_FRACTION_LOST;
    digits = whole + fraction + std::string(scale - fraction.size(), '0');
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    for (int zeros = scale_; zeros < 0 && !digits.empty(); ++zeros) {
      if (digits.back() != '0') return ZVRT_RC_FRACTION_LOST;
      digits.pop_back();
    }
    return ZVRT_RC_OK;
  }
  unsigned byte(const char* bytes, std::size_t i) const {
    return static_cast<unsigned char>(bytes[big_endian_ ? i : length_ - 1 - i]);
  }

  std::size_t length_;
  int scale_;
  std::size_t digits_;
  bool signed_;
  bool big_endian_;
};

}  // namespace

std::unique_ptr<SingleValue> make_edited(const Column& column, const CodecOptions& options) {
  return std::make_unique<EditedValue>(column, options);
}

std::unique_ptr<SingleValue> make_odd_binary(const Column& column, bool big_endian, bool whole_range) {
  return std::make_unique<OddBinary>(column, big_endian, whole_range);
}

}  // namespace zvrt::records
