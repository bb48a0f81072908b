// Trimming and blank filling, in place on the caller's buffer.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "encoding/text_kernels.h"
#include "strings/through_wide.h"
#include "support/scratch.h"
#include "support/units.h"

namespace zvrt {
namespace {

constexpr std::uint8_t trim = 1;  // any other flag value leaves that end alone
constexpr Wide blank = 0x20;

// Whether a leading trim terminates the text it moved: wide text yes, narrow text no.
enum class Closes : bool { no, yes };

std::int32_t leading_blanks(const char* text, std::int32_t length) {
  std::int32_t blanks = 0;
  while (blanks < length && text[blanks] == ' ') ++blanks;
  return blanks;
}
std::int32_t trailing_blanks(const char* text, std::int32_t length) {
  std::int32_t left = length;
  while (left > 0 && text[left - 1] == ' ') --left;
  return length - left;
}
std::int32_t leading_blanks(const void* text, std::int32_t length) {
  return static_cast<std::int32_t>(text_kernels.leading_blanks(text, static_cast<std::size_t>(length)));
}
std::int32_t trailing_blanks(const void* text, std::int32_t length) {
  return static_cast<std::int32_t>(text_kernels.trailing_blanks(text, static_cast<std::size_t>(length)));
}

// Blanks at both ends of `length` units, counted before the text is moved; returns the length left. Needs one more unit
// for the terminator.
template <class Unit, Closes closes>
std::int32_t trim_ends(Unit* text, std::int32_t length, std::uint8_t leading, std::uint8_t trailing) {
  length = std::max(length, 0);
  const std::int32_t before = leading == trim ? leading_blanks(text, length) : 0;
  if (leading == trim && before == length) return 0;  // nothing left: the buffer stays as it was
  const std::int32_t after = trailing == trim ? trailing_blanks(text, length) : 0;
  length -= before;
  if (before > 0) {
    std::memmove(text, text + before, static_cast<std::size_t>(length) * sizeof(Unit));
    if (closes == Closes::yes) store(text, static_cast<std::size_t>(length), Unit{0});
  }
  if (trailing == trim) {
    length -= after;
    store(text, static_cast<std::size_t>(length), Unit{0});
  }
  return length;
}

// Trims through wide text, since a blank in another code page is not the byte 20.
Status trim_transcoded(char* text, std::int32_t* len, std::uint8_t leading, std::uint8_t trailing,
                       const FldDef& field) {
  constexpr std::size_t usual_length = 1024;
  const std::int32_t measured = *len > 0 ? *len : length_of(text);
  const std::int64_t capacity = std::int64_t{measured} + 1;
  Scratch<Wide, usual_length> wide(static_cast<std::uint64_t>(capacity));
  if (wide.get() == nullptr) return ZVRT_RC_NO_MEMORY;
  const auto wide_bytes = static_cast<std::int32_t>(std::min<std::int64_t>(capacity * 4, INT32_MAX));
  std::uint32_t length = 0;
  const auto narrow_capacity = static_cast<std::int32_t>(std::min<std::int64_t>(capacity, INT32_MAX));
  const Call in_place{text, len, text, narrow_capacity, nullptr, &field};
  if (const Status status = source_to_wide<VarcharSz>(in_place, len, wide.get(), wide_bytes, &length);
      status != ZVRT_RC_OK) {
    return status;
  }
  const auto kept = trim_ends<Wide, Closes::yes>(wide.get(), static_cast<std::int32_t>(length), leading, trailing);
  if (kept == 0) {
    *len = 0;
    return ZVRT_RC_OK;
  }
  std::uint32_t bytes = 0;
  const Status status = wide_to_destination<VarcharSz>(in_place, wide.get(), &bytes);
  if (status == ZVRT_RC_OK) *len = static_cast<std::int32_t>(bytes);
  return status;
}

}  // namespace
}  // namespace zvrt

uint32_t TrimSpaces(char* text, int32_t* len, uint8_t trimLeading, uint8_t trimTrailing, uint32_t codePage,
                    char codePageKind) {
  if (codePage == 0) return TrimSpacesA(text, len, trimLeading, trimTrailing);
  return zvrt::trim_transcoded(text, len, trimLeading, trimTrailing, zvrt::field_of(codePage, codePageKind));
}

uint32_t TrimSpacesA(char* text, int32_t* len, uint8_t trimLeading, uint8_t trimTrailing) {
  *len = zvrt::trim_ends<char, zvrt::Closes::no>(text, *len, trimLeading, trimTrailing);
  return ZVRT_RC_OK;
}

uint32_t TrimSpacesW(wchar_t* text, int32_t* len, uint8_t trimLeading, uint8_t trimTrailing) {
  *len = zvrt::trim_ends<wchar_t, zvrt::Closes::yes>(text, *len, trimLeading, trimTrailing);
  return ZVRT_RC_OK;
}

uint32_t TrimAllSpacesTabsW(wchar_t* text, int32_t* len) {
  const auto count = static_cast<std::size_t>(std::max(*len, 0));
  const std::size_t kept = zvrt::text_kernels.drop_blanks(text, count).written;
  zvrt::store(text, kept, zvrt::Wide{0});
  *len = static_cast<std::int32_t>(kept);
  return ZVRT_RC_OK;
}

uint32_t InitializeCharBufferWithSpaces(void* buf, int32_t size, const FldDef* fldDef) {
  constexpr zvrt::Wide text[] = {zvrt::blank, 0};
  char encoded = 0;
  uint32_t bytes = 0;
  const zvrt::Status status =
      zvrt::wide_to_destination<zvrt::Char>({text, nullptr, &encoded, 1, nullptr, fldDef}, text, &bytes);
  if (status == ZVRT_RC_OK && size > 0) std::memset(buf, encoded, static_cast<std::size_t>(size));
  return status;
}
