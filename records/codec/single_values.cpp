// Values that are converted one at a time: edited numbers, and binary items of 3, 5, 6, 7 or more than 8 bytes.
#include <algorithm>
#include <cstring>

#include "records/codec/edited.h"
#include "records/codec/field.h"

namespace zvrt::records {
namespace {

__extension__ using Wide = unsigned __int128;

class EditedValue final : public SingleValue {
 public:
  EditedValue(const Column& column, const CodecOptions& options)
      : picture_(column.item->picture, column.item->blank_when_zero), length_(column.item->length) {
    ZVRTType record{};
    record.size = sizeof record;
    record.kind = ZVRT_KIND_CHAR;
    record.length = static_cast<std::int32_t>(length_);
    record.codePage = options.page.number;
    record.codePageKind = options.page.kind;
    ZVRTType text = record;
    text.codePage = 0;
    text.codePageKind = '\0';
    text.length = record.length * 4;
    to_text_ = make_plan(record, text, column.field);
    text.length = record.length;
    from_text_ = make_plan(text, record, column.field);
  }

  Status read(const char* bytes, std::string& text) const override {
    std::string shown(length_ * 4, '\0');
    std::int32_t size = 0;
    if (const Status status = run(*to_text_, bytes, shown.data(), size); status != ZVRT_RC_OK) return status;
    const auto number = picture_.number(std::string_view(shown).substr(0, static_cast<std::size_t>(size)));
    if (!number) return rx_not_edited;
    text = *number;
    return ZVRT_RC_OK;
  }

  Status write(std::string_view text, char* bytes) const override {
    const auto shown = picture_.shown(text);
    if (!shown || shown->size() != length_) return rx_not_edited;
    std::int32_t size = 0;
    return run(*from_text_, shown->data(), bytes, size);
  }

 private:
  static Status run(const ZVRTPlan& plan, const char* from, char* to, std::int32_t& size) {
    Status status = ZVRT_RC_OK;
    ZVRTArray source{};
    source.size = sizeof source;
    source.data = const_cast<char*>(from);
    ZVRTArray target{};
    target.size = sizeof target;
    target.data = to;
    target.lengths = &size;
    target.lengthBytes = sizeof size;
    target.status = &status;
    const Status result = ZVRTPlanRun(&plan, &source, &target, 1, nullptr);
    return result != ZVRT_RC_OK ? result : status;
  }

  EditedPicture picture_;
  std::size_t length_;
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
