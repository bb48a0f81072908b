#include "text_codec.h"

#include <cstring>

#include "status.h"

namespace record_exchange {

Status read_text(const char* bytes, std::int32_t length, const FldDef& page, WideText& wide) {
  std::uint32_t characters = 0;
  wchar_t* const room = wide.room(static_cast<std::size_t>(length));
  Status status = ZVRTCnvCharToWVarcharSz(bytes, &length, room, wide.size_in_bytes(), &characters, &page);
  if (status != ZVRT_RC_OK) return status;
  wide.set_length(characters);
  if (wide.view().find(L'\0') != std::wstring_view::npos) return rx_zero_inside;
  auto kept = static_cast<std::int32_t>(characters);
  status = TrimSpacesW(wide.data(), &kept, 0, 1);
  wide.set_length(static_cast<std::size_t>(kept));
  return status;
}

Status write_text(const WideText& wide, char* bytes, std::int32_t length, const FldDef& page) {
  std::uint32_t needed = 0;
  return ZVRTCnvWVarcharSzToChar(wide.c_str(), nullptr, bytes, length, &needed, &page);
}

Status fill_with(wchar_t character, char* bytes, std::int32_t length, const FldDef& page) {
  WideText text;
  text.assign(std::wstring(static_cast<std::size_t>(length), character));
  return write_text(text, bytes, length, page);
}

Status TextCodec::encode(const Cell& cell, char* bytes) {
  const Status status = to_wide(cell, wide_);
  return status == ZVRT_RC_OK ? write_text(wide_, bytes, length(), page_) : status;
}

Status TextCodec::decode(const char* bytes, Cell& cell, std::string& text) {
  Status status = read_text(bytes, length(), page_, wide_);
  if (status == ZVRT_RC_OK) status = to_utf8(wide_, text);
  cell = Cell::of_text(text);
  return status;
}

Status TextCodec::write_empty(char* bytes) { return InitializeCharBufferWithSpaces(bytes, length(), &page_); }

Status TextCodec::write_zeros(char* bytes) { return fill_with(L'0', bytes, length(), page_); }

Status TextCodec::compare(const Cell& expected, const Cell& found) {
  if (to_wide(expected, wide_) != ZVRT_RC_OK || to_wide(found, other_) != ZVRT_RC_OK) return rx_different;
  if (wide_.view() == other_.view()) return ZVRT_RC_OK;
  auto kept = static_cast<std::int32_t>(wide_.length());
  TrimSpacesW(wide_.data(), &kept, 0, 1);
  wide_.set_length(static_cast<std::size_t>(kept));
  return wide_.view() == other_.view() ? rx_trailing_blanks : rx_different;
}

std::unique_ptr<FieldCodec> make_text_codec(const Field& field, CodePage page) {
  return std::make_unique<TextCodec>(field, page);
}

}  // namespace record_exchange
