// Items of two bytes per character: graphic text (PIC G, DISPLAY-1) and numbers in national digits.
//
//   DISPLAY-1, page 930     42C1 42C2 4040              "ＡＢ": the page's double-byte characters, without its shifts
//   NATIONAL, PIC S9(3)     002D 0031 0032 0033         "-123": UTF-16 digits, highest byte first
//     SIGN LEADING SEPARATE
//
// A mixed page reads graphic bytes as they would stand between its shifts:
//
//   field   42C1 42C2 4040   ->   0E 42C1 42C2 0F   ->   ＡＢ
#include <fmt/format.h>

#include <algorithm>

#include "records/codec/field.h"
#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr char shift_out = '\x0E';
constexpr char shift_in = '\x0F';
constexpr std::size_t pair = 2;
constexpr std::size_t utf8_bytes = 6;  // of the one or two characters that a pair stands for, at most

ZVRTType char_type(std::size_t length, const CodePage* page) {
  ZVRTType type{};
  type.size = sizeof type;
  type.kind = ZVRT_KIND_CHAR;
  type.length = static_cast<std::int32_t>(length);
  if (page != nullptr) type.codePage = page->number;
  if (page != nullptr) type.codePageKind = page->kind;
  return type;
}

class GraphicText final : public SingleValue {
 public:
  GraphicText(const Column& column, const CodecOptions& options)
      : length_(column.item->length),
        shifts_(options.page.unit == 1),
        justified_(column.item->justified),
        low_as_blank_(options.low_values == LowValues::blank),
        trim_(options.trim) {
    const std::size_t coded = length_ + (shifts_ ? 2 : 0);
    to_text_ = make_plan(char_type(coded, &options.page), char_type(text_room(), nullptr), column.field);
    from_text_ = make_plan(char_type(0, nullptr), char_type(coded, &options.page), column.field);
    std::string wide_blank;
    if (shifts_) convert(*to_text_, "\x0E\x40\x40\x0F", text_room(), wide_blank);
    if (shifts_ && wide_blank != "\xE3\x80\x80")
      throw Failure(
          fmt::format("field {}: page {} has no double-byte characters, as DISPLAY-1 needs them; -c says another page, "
                      "as 930 or 939 (Japan), 933 (Korea), 935 or 937 (China)",
                      column.field, options.page.number));
  }

  Status read(const char* bytes, std::string& text) const override {
    std::string coded(bytes, length_);
    if (low_as_blank_)
      for (std::size_t i = 0; i + pair <= length_; i += pair)
        if (coded[i] == 0 && coded[i + 1] == 0) coded[i] = coded[i + 1] = blank;
    trim(coded);
    text.clear();
    if (coded.empty()) return ZVRT_RC_OK;
    if (shifts_) coded = shift_out + coded + shift_in;
    return convert(*to_text_, coded, text_room(), text);
  }

  Status write(std::string_view text, char* bytes) const override {
    std::string coded;
    if (!text.empty())
      if (const Status status = convert(*from_text_, text, length_ + pair, coded); status != ZVRT_RC_OK) return status;
    if (shifts_ && !coded.empty()) {
      const std::size_t last = coded.size() - 1;
      if (coded.front() != shift_out || coded.back() != shift_in || coded.find(shift_in) != last)
        return ZVRT_RC_NOT_IN_CODE_PAGE;  // a character of one byte
      coded = coded.substr(1, last - 1);
    }
    if (coded.size() > length_) return ZVRT_RC_TRUNCATED;
    coded.insert(justified_ ? 0 : coded.size(), length_ - coded.size(), blank);
    std::copy(coded.begin(), coded.end(), bytes);
    return ZVRT_RC_OK;
  }

 private:
  static constexpr char blank = '\x40';  // both bytes of a double-byte blank

  std::size_t text_room() const { return length_ / pair * utf8_bytes + 1; }

  void trim(std::string& coded) const {
    const auto is_blank = [&](std::size_t at) { return coded[at] == blank && coded[at + 1] == blank; };
    const bool right = trim_ != Trim::none && !justified_;
    while (coded.size() >= pair && (right || trim_ == Trim::both) && is_blank(coded.size() - pair))
      coded.resize(coded.size() - pair);
    const bool left = trim_ == Trim::both || (trim_ == Trim::right && justified_);
    while (coded.size() >= pair && left && is_blank(0)) coded.erase(0, pair);
  }

  static Status convert(const ZVRTPlan& plan, std::string_view from, std::size_t room, std::string& to) {
    const auto length = static_cast<std::int32_t>(from.size());
    std::int32_t written = 0;
    to.assign(room, '\0');
    const Status status = convert_one(plan, from.data(), &length, to.data(), &written);
    to.resize(status == ZVRT_RC_OK ? static_cast<std::size_t>(written) : 0);
    return status;
  }

  std::size_t length_;
  bool shifts_;
  bool justified_;
  bool low_as_blank_;
  Trim trim_;
  Plan to_text_;
  Plan from_text_;
};

class NationalNumber final : public SingleValue {
 public:
  explicit NationalNumber(const Column& column) : digits_(column.item->length / pair) {
    const Item& item = *column.item;
    ZVRTType number = char_type(digits_, nullptr);
    number.kind = ZVRT_KIND_ZONED;
    number.flags = ZVRT_TYPE_ASCII | (item.is_signed ? 0 : ZVRT_TYPE_UNSIGNED) |
                   (item.sign_leading ? ZVRT_TYPE_SIGN_LEADING : 0) |
                   (item.sign_separate ? ZVRT_TYPE_SIGN_SEPARATE : 0);
    number.precision = static_cast<std::int16_t>(item.digits);
    number.scale = static_cast<std::int16_t>(item.scale);
    to_text_ = make_plan(number, char_type(room, nullptr), column.field);
    ZVRTType text = char_type(0, nullptr);
    from_text_ = make_plan(text, number, column.field);
  }

  Status read(const char* bytes, std::string& text) const override {
    std::string narrow(digits_, '\0');
    for (std::size_t i = 0; i < digits_; ++i) {
      if (bytes[pair * i] != 0) return ZVRT_RC_INVALID_DIGIT;
      narrow[i] = bytes[pair * i + 1];
    }
    text.assign(room, '\0');
    std::int32_t written = 0;
    const Status status = convert_one(*to_text_, narrow.data(), nullptr, text.data(), &written);
    text.resize(status == ZVRT_RC_OK ? static_cast<std::size_t>(written) : 0);
    return status;
  }

  Status write(std::string_view text, char* bytes) const override {
    std::string narrow(digits_, '\0');
    const auto length = static_cast<std::int32_t>(text.size());
    if (const Status status = convert_one(*from_text_, text.data(), &length, narrow.data(), nullptr);
        status != ZVRT_RC_OK)
      return status;
    for (std::size_t i = 0; i < digits_; ++i) {
      bytes[pair * i] = 0;
      bytes[pair * i + 1] = narrow[i];
    }
    return ZVRT_RC_OK;
  }

 private:
  static constexpr std::size_t room = 176;  // more than the longest number takes as text

  std::size_t digits_;
  Plan to_text_;
  Plan from_text_;
};

}  // namespace

std::unique_ptr<SingleValue> make_graphic(const Column& column, const CodecOptions& options) {
  return std::make_unique<GraphicText>(column, options);
}

std::unique_ptr<SingleValue> make_national_number(const Column& column) {
  return std::make_unique<NationalNumber>(column);
}

}  // namespace zvrt::records
