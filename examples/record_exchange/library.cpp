#include "library.h"

#include <algorithm>

#include "status.h"

namespace record_exchange {

Library::Library() {
  if (const Status status = ZVRTInitDataConversion(); status != ZVRT_RC_OK)
    throw Failure("the conversion library does not start: " + describe(status));
}

Library::~Library() { ZVRTTermDataConversion(); }

FldDef descriptor(CodePage page, const DtFormatDesc* format) {
  FldDef field{};
  field.codePage = page.number;
  field.codePageKind = page.kind;
  field.dtFormat = format;
  return field;
}

FldDef strict_utf8() { return descriptor({65001, '\0'}); }

wchar_t* WideText::room(std::size_t characters) {
  if (units_.size() < characters + 1) units_.resize(characters + 1);
  return units_.data();
}

void WideText::set_length(std::size_t characters) {
  room(characters)[characters] = L'\0';
  length_ = characters;
}

void WideText::assign(std::wstring_view text) {
  std::copy(text.begin(), text.end(), room(text.size()));
  set_length(text.size());
}

DateModel::DateModel(std::string_view text) : text_(text) {
  WideText wide;
  if (const Status status = from_utf8(text, wide); status != ZVRT_RC_OK) throw Failure(describe(status));
  codes_.resize(wide.length() + 1);
  DtKind kind = ZVRT_DT_DATE;
  if (const Status status = ZVRTGetFormatCodes(wide.c_str(), codes_.data(), &kind); status != ZVRT_RC_OK)
    throw Failure(describe(status));
  format_.model = codes_.data();
  format_.modelLen = static_cast<std::int32_t>(wide.length());
}

bool DateModel::readable() const {
  return std::none_of(codes_.begin(), codes_.end(),
                      [](const FmtCode& entry) { return entry.code == FMT_M || entry.code == FMT_D; });
}

std::size_t DateModel::fraction_digits() const {
  for (const FmtCode& entry : codes_)
    if (entry.code >= FMT_FFFFFF && entry.code <= FMT_F) return entry.len;
  return 0;
}

Status from_utf8(std::string_view text, WideText& wide) {
  wide.set_length(0);
  if (text.empty()) return ZVRT_RC_OK;
  if (text.find('\0') != std::string_view::npos) return rx_zero_inside;
  static const FldDef utf8 = strict_utf8();
  auto bytes = static_cast<std::int32_t>(text.size());
  std::uint32_t characters = 0;
  wchar_t* const room = wide.room(text.size());
  const Status status = ZVRTCnvCharToWVarcharSz(text.data(), &bytes, room, wide.size_in_bytes(), &characters, &utf8);
  if (status == ZVRT_RC_OK) wide.set_length(characters);
  return status;
}

Status to_utf8(const WideText& wide, std::string& text) {
  text.resize(wide.length() * 4 + 1);
  std::uint32_t bytes = 0;
  const Status status = ZVRTCnvWVarcharSzToVarcharSz(wide.c_str(), nullptr, text.data(),
                                                     static_cast<std::int32_t>(text.size()), &bytes, nullptr);
  text.resize(status == ZVRT_RC_OK ? bytes : 0);
  return status;
}

}  // namespace record_exchange
