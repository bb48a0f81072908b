#include "cell_text.h"

#include "decimal.h"
#include "status.h"

namespace record_exchange {
namespace {

Status integer_text(std::int64_t value, WideText& wide) {
  std::uint32_t characters = 0;
  wchar_t* const room = wide.room(24);
  const Status status = ZVRTCnvLongLongToWVarcharSz(&value, nullptr, room, wide.size_in_bytes(), &characters, nullptr);
  wide.set_length(characters);
  if (status != ZVRT_RC_EMPTY_RESULT) return status;
  wide.assign(L"0");  // the library gives zero no digits
  return ZVRT_RC_OK;
}

// Longer than this, a number reads better in scientific form.
constexpr std::size_t longest_plain = 24;

// 15 significant digits bring back every decimal that was read into a double; some doubles need 16 or 17.
Status real_text(double value, WideText& wide) {
  Status status = ZVRT_RC_ERROR;
  for (std::int16_t places = 14; places <= 16; ++places) {
    wchar_t* const room = wide.room(32);
    status = FloatToString(room, 32, places, value);
    if (status != ZVRT_RC_OK) return status;
    wide.set_length(std::char_traits<wchar_t>::length(room));
    double back = 0;
    std::uint32_t bytes = 0;
    if (ZVRTCnvWVarcharSzToDbl(room, nullptr, &back, sizeof back, &bytes, nullptr) == ZVRT_RC_OK && !(back < value) &&
        !(value < back))
      break;
  }
  Decimal decimal;
  if (decimal.parse(wide.view()))
    if (const std::wstring plain = decimal.plain(); plain.size() <= longest_plain) wide.assign(plain);
  return status;
}

}  // namespace

Status to_wide(const Cell& cell, WideText& wide) {
  wide.set_length(0);
  switch (cell.kind) {
    case Cell::Kind::null: return ZVRT_RC_OK;
    case Cell::Kind::integer: return integer_text(cell.integer, wide);
    case Cell::Kind::real: return real_text(cell.real, wide);
    case Cell::Kind::text: return from_utf8(cell.text, wide);
    case Cell::Kind::blob: return rx_not_text;
  }
  return rx_not_text;
}

std::string_view CellText::of(const Cell& cell) {
  if (cell.kind == Cell::Kind::text || cell.kind == Cell::Kind::blob) return cell.text;
  if (to_wide(cell, wide_) != ZVRT_RC_OK || to_utf8(wide_, text_) != ZVRT_RC_OK) text_.clear();
  return text_;
}

}  // namespace record_exchange
