// Numbers: packed decimal, binary, zoned digits and VARNUM. What they share is a decimal text, taken from the cell and
// given back to it; what differs is how the library stores its digits.
#include <algorithm>
#include <array>
#include <cstring>

#include "cell_text.h"
#include "decimal.h"
#include "field_codec.h"
#include "status.h"
#include "text_codec.h"

namespace record_exchange {
namespace {

class NumberCodec : public FieldCodec {
 public:
  using FieldCodec::FieldCodec;

  Status encode(const Cell& cell, char* bytes) final {
    if (const Status status = read_decimal(cell, value_); status != ZVRT_RC_OK) return status;
    return write(value_, bytes);
  }

  Status decode(const char* bytes, Cell& cell, std::string& text) final {
    if (const Status status = read(bytes, value_); status != ZVRT_RC_OK) return status;
    wide_.assign(value_.plain());
    // A field may hold more than its picture says; what 64 bits may not hold stays text.
    if (field().is_integer() && wide_.length() <= 18) {
      std::int64_t integer = 0;
      std::uint32_t size = 0;
      const Status status =
          ZVRTCnvWVarcharSzToLongLong(wide_.c_str(), nullptr, &integer, sizeof integer, &size, nullptr);
      cell = Cell::of_integer(integer);
      return status;
    }
    const Status status = to_utf8(wide_, text);
    cell = Cell::of_text(text);
    return status;
  }

  Status write_empty(char* bytes) override { return encode(Cell::of_integer(0), bytes); }
  Status write_zeros(char* bytes) override { return encode(Cell::of_integer(0), bytes); }

  Status compare(const Cell& expected, const Cell& found) final {
    Decimal other;
    if (read_decimal(expected, value_) != ZVRT_RC_OK || read_decimal(found, other) != ZVRT_RC_OK) return rx_different;
    return value_ == other ? Status{ZVRT_RC_OK} : Status{rx_different};
  }

 protected:
  virtual Status write(const Decimal& value, char* bytes) = 0;
  virtual Status read(const char* bytes, Decimal& value) = 0;

  WideText& wide() { return wide_; }

 private:
  Status read_decimal(const Cell& cell, Decimal& value) {
    Status status = to_wide(cell, wide_);
    auto kept = static_cast<std::int32_t>(wide_.length());
    if (status == ZVRT_RC_OK) status = TrimSpacesW(wide_.data(), &kept, 1, 1);
    if (status != ZVRT_RC_OK) return status;
    wide_.set_length(static_cast<std::size_t>(kept));
    return value.parse(wide_.view()) ? Status{ZVRT_RC_OK} : Status{rx_not_a_number};
  }

  WideText wide_;
  Decimal value_;
};

// A number of a picture: digits around an implied point.
class PictureCodec : public NumberCodec {
 public:
  using NumberCodec::NumberCodec;

 protected:
  virtual Status write_digits(const WideText& digits, char* bytes) = 0;
  virtual Status read_digits(const char* bytes, WideText& digits) = 0;

 private:
  Status write(const Decimal& value, char* bytes) final {
    if (value.negative() && !field().has_sign) return rx_negative;
    if (!value.to_picture(field().scale, digits_)) return rx_fraction_lost;
    if (digits_.size() - (value.negative() ? 1 : 0) > field().digits) return rx_too_many_digits;
    wide().assign(digits_);
    return write_digits(wide(), bytes);
  }

  Status read(const char* bytes, Decimal& value) final {
    const Status status = read_digits(bytes, wide());
    if (status == ZVRT_RC_OK) value.from_picture(wide().view(), field().scale);
    return status;
  }

  std::wstring digits_;
};

class PackedCodec final : public PictureCodec {
 public:
  using PictureCodec::PictureCodec;

 private:
  Status write_digits(const WideText& digits, char* bytes) override {
    std::uint32_t written = 0;
    return ZVRTCnvWVarcharSzToDecPacked(digits.c_str(), nullptr, bytes, length(), &written, nullptr);
  }

  Status read_digits(const char* bytes, WideText& digits) override {
    // The library reads any sign but D as positive and takes a broken first digit for zero: blanks would be a number.
    if (!is_packed(bytes)) return rx_broken_number;
    std::int32_t size = length();
    std::uint32_t characters = 0;
    wchar_t* const room = digits.room(field().length * 2);
    const Status status =
        ZVRTCnvDecPackedToWVarcharSz(bytes, &size, room, digits.size_in_bytes(), &characters, nullptr);
    digits.set_length(characters);
    return status == ZVRT_RC_EMPTY_RESULT ? Status{ZVRT_RC_OK} : status;  // zero has no digits
  }

  bool is_packed(const char* bytes) const {
    const std::size_t last = field().length - 1;
    for (std::size_t i = 0; i <= last; ++i) {
      const auto byte = static_cast<unsigned char>(bytes[i]);
      if (byte >> 4 > 9 || (i < last && (byte & 15) > 9)) return false;
    }
    const int sign = static_cast<unsigned char>(bytes[last]) & 15;
    return sign == 0xC || sign == 0xD || sign == 0xF;
  }
};

// Binary integers of 2, 4 and 8 bytes. The library knows the machine's own byte order, the record has the highest
// first.
struct BinaryType {
  std::size_t bytes;
  bool has_sign;
  ZVRTConversion* from_text;
  ZVRTConversion* to_text;
};
constexpr std::array binary_types{
    BinaryType{2, true, ZVRTCnvWVarcharSzToSmallInt, ZVRTCnvSmallIntToWVarcharSz},
    BinaryType{4, true, ZVRTCnvWVarcharSzToInt1, ZVRTCnvIntToWVarcharSz1},
    BinaryType{8, true, ZVRTCnvWVarcharSzToLongLong, ZVRTCnvLongLongToWVarcharSz},
    BinaryType{2, false, ZVRTCnvWVarcharSzToSmallUInt, ZVRTCnvSmallUIntToWVarcharSz},
    BinaryType{4, false, ZVRTCnvWVarcharSzToUInt, ZVRTCnvUIntToWVarcharSz},
    BinaryType{8, false, ZVRTCnvWVarcharSzToULONGLONG, ZVRTCnvULONGLONGToWVarcharSz},
};

class BinaryCodec final : public PictureCodec {
 public:
  explicit BinaryCodec(const Field& item)
      : PictureCodec(item), type_(*std::find_if(binary_types.begin(), binary_types.end(), [&](const BinaryType& type) {
          return type.bytes == item.length && type.has_sign == item.has_sign;
        })) {}

 private:
  Status write_digits(const WideText& digits, char* bytes) override {
    std::array<char, 8> native{};
    std::uint32_t size = 0;
    const Status status = type_.from_text(digits.c_str(), nullptr, native.data(), length(), &size, nullptr);
    if (status == ZVRT_RC_OK) std::reverse_copy(native.data(), native.data() + type_.bytes, bytes);
    return status;
  }

  Status read_digits(const char* bytes, WideText& digits) override {
    alignas(8) std::array<char, 8> native{};
    std::reverse_copy(bytes, bytes + type_.bytes, native.data());
    std::uint32_t characters = 0;
    wchar_t* const room = digits.room(24);
    const Status status = type_.to_text(native.data(), nullptr, room, digits.size_in_bytes(), &characters, nullptr);
    digits.set_length(characters);
    return status == ZVRT_RC_EMPTY_RESULT ? Status{ZVRT_RC_OK} : status;  // zero has no digits
  }

  const BinaryType& type_;
};

// Digits as text, the sign punched over the last one: a character of its own stands for digit and sign.
class ZonedCodec final : public PictureCodec {
 public:
  ZonedCodec(const Field& item, CodePage page) : PictureCodec(item), page_(descriptor(page)) {
    char blank = 0;
    const bool ebcdic = InitializeCharBufferWithSpaces(&blank, 1, &page_) == ZVRT_RC_OK && blank == 0x40;
    positive_ = ebcdic ? L"{ABCDEFGHI" : L"0123456789";
    negative_ = ebcdic ? L"}JKLMNOPQR" : L"pqrstuvwxy";
    // National EBCDIC pages move the braces; the bytes C0 to D9 are what the machine writes, as page 37 has them.
    punch_page_ = ebcdic ? descriptor({37, '\0'}) : page_;
  }

 private:
  Status write_digits(const WideText& digits, char* bytes) override {
    const bool negative = digits.view().front() == L'-';
    text_.assign(digits.view().substr(negative ? 1 : 0));
    text_.insert(0, field().digits - text_.size(), L'0');
    if (!field().has_sign) return put(text_, bytes, length(), page_);
    const auto last = static_cast<std::size_t>(text_.back() - L'0');
    const wchar_t punched = (negative ? negative_ : positive_)[last];
    text_.pop_back();
    const Status status = text_.empty() ? Status{ZVRT_RC_OK} : put(text_, bytes, length() - 1, page_);
    return status == ZVRT_RC_OK ? put({&punched, 1}, bytes + field().length - 1, 1, punch_page_) : status;
  }

  Status read_digits(const char* bytes, WideText& digits) override {
    const std::int32_t plain = field().has_sign ? length() - 1 : length();
    text_.clear();
    if (plain > 0) {
      if (const Status status = read_text(bytes, plain, page_, digits); status != ZVRT_RC_OK) return status;
      text_.assign(digits.view());
    }
    if (text_.size() != static_cast<std::size_t>(plain) || text_.find_first_not_of(L"0123456789") != std::wstring::npos)
      return rx_broken_number;
    if (field().has_sign) {
      if (const Status status = read_punched(bytes + plain, digits); status != ZVRT_RC_OK) return status;
    }
    digits.assign(text_);
    return ZVRT_RC_OK;
  }

  // The last digit with the number's sign; a digit that is not punched is positive.
  Status read_punched(const char* byte, WideText& punched) {
    if (const Status status = read_text(byte, 1, punch_page_, punched); status != ZVRT_RC_OK) return status;
    const wchar_t character = punched.length() == 1 ? punched.view().front() : L' ';
    for (const std::wstring_view row : {negative_, positive_, std::wstring_view(L"0123456789")}) {
      const std::size_t digit = row.find(character);
      if (digit == std::wstring_view::npos) continue;
      text_.push_back(static_cast<wchar_t>(L'0' + digit));
      if (row == negative_) text_.insert(0, 1, L'-');
      return ZVRT_RC_OK;
    }
    return rx_broken_number;
  }

  static Status put(std::wstring_view text, char* bytes, std::int32_t length, const FldDef& page) {
    WideText wide;
    wide.assign(text);
    return write_text(wide, bytes, length, page);
  }

  FldDef page_;
  FldDef punch_page_{};
  std::wstring_view positive_;
  std::wstring_view negative_;
  std::wstring text_;
};

// A VARNUM at the field's start, zero bytes behind it. Its first byte tells how long it is.
class VarnumCodec final : public NumberCodec {
 public:
  using NumberCodec::NumberCodec;

 private:
  Status write(const Decimal& value, char* bytes) override {
    wide().assign(value.plain());
    std::int32_t characters = 0;
    std::uint32_t size = 0;
    std::memset(bytes, 0, field().length);
    const Status status =
        ZVRTCnvWVarcharSz_UnsignedToOraVarnum(wide().c_str(), &characters, bytes, length(), &size, nullptr);
    if (status != ZVRT_RC_OK) return status;
    // Digits beyond the format's 20 pairs are cut without a word, magnitudes below its range become zero.
    Decimal kept;
    return read(bytes, kept) == ZVRT_RC_OK && kept == value ? Status{ZVRT_RC_OK} : Status{rx_not_kept};
  }

  Status read(const char* bytes, Decimal& value) override {
    std::int32_t size = 0;
    std::uint32_t characters = 0;
    wchar_t* const room = wide().room(longest_text);
    const Status status =
        ZVRTCnvOraVarnumToWVarcharSz_Unsigned(bytes, &size, room, wide().size_in_bytes(), &characters, nullptr);
    if (status != ZVRT_RC_OK) return status;
    wide().set_length(characters);
    return value.parse(wide().view()) ? Status{ZVRT_RC_OK} : Status{rx_broken_number};
  }

  static constexpr std::size_t longest_text = 170;
};

}  // namespace

std::unique_ptr<FieldCodec> make_number_codec(const Field& field, CodePage page) {
  switch (field.usage) {
    case Usage::packed: return std::make_unique<PackedCodec>(field);
    case Usage::binary: return std::make_unique<BinaryCodec>(field);
    case Usage::number: return std::make_unique<VarnumCodec>(field);
    default: return std::make_unique<ZonedCodec>(field, page);
  }
}

std::unique_ptr<FieldCodec> make_codec(const Field& field, CodePage page) {
  if (field.usage == Usage::text) return make_text_codec(field, page);
  return field.usage == Usage::date ? make_date_codec(field, page) : make_number_codec(field, page);
}

}  // namespace record_exchange
