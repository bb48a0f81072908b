// A narrow field of text, blank-filled in its code page: the ground of text, dates and zoned digits.
#ifndef RECORD_EXCHANGE_TEXT_CODEC_H
#define RECORD_EXCHANGE_TEXT_CODEC_H

#include "cell_text.h"
#include "field_codec.h"

namespace record_exchange {

// Text of a `Char` field without its trailing blanks; refuses a zero inside.
Status read_text(const char* bytes, std::int32_t length, const FldDef& page, WideText& wide);
// Text into a `Char` field; what lies behind it is left alone.
Status write_text(const WideText& wide, char* bytes, std::int32_t length, const FldDef& page);
// A field full of one digit.
Status fill_with(wchar_t character, char* bytes, std::int32_t length, const FldDef& page);

class TextCodec : public FieldCodec {
 public:
  TextCodec(const Field& field, CodePage page) : FieldCodec(field), page_(descriptor(page)) {}

  Status encode(const Cell& cell, char* bytes) override;
  Status decode(const char* bytes, Cell& cell, std::string& text) override;
  Status write_empty(char* bytes) override;
  Status write_zeros(char* bytes) override;
  bool keeps_part() const override { return true; }
  Status compare(const Cell& expected, const Cell& found) override;

 protected:
  const FldDef& page() const { return page_; }
  WideText& wide() { return wide_; }

 private:
  FldDef page_;
  WideText wide_;
  WideText other_;
};

}  // namespace record_exchange

#endif
