// What holds for every text, whatever the model.
#pragma once

#include <string>
#include <vector>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

struct Parsed {
  std::uint32_t status;
  ZVRTTS ts;
};

// The text's terminator is the last character that may be read.
inline Parsed parse_guarded(const std::wstring& text, std::int32_t chars, const std::vector<FmtCode>& codes) {
  static GuardedBuffer page(4096 * sizeof(wchar_t));
  const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
  unsigned char* const at = page.tail(size);
  std::memcpy(at, text.c_str(), size);
  Parsed parsed{0, {}};
  std::memset(&parsed.ts, GuardedBuffer::mark, sizeof parsed.ts);
  parsed.status = ZVRTWVarcharSzToTS(reinterpret_cast<const wchar_t*>(at), chars, codes.data(), 1, &parsed.ts, 1);
  return parsed;
}

// The case of the text's letters matters to literals alone. Fewer characters read the same fields, or fewer of them, and
// a failure comes no sooner.
inline void expect_laws_of_parsing(const std::wstring& text, std::int32_t chars, const std::vector<FmtCode>& codes) {
  const auto is_letter = [](std::uint32_t c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; };
  const Parsed complete = parse_guarded(text, INT32_MAX, codes), part = parse_guarded(text, chars, codes);
  for (const Parsed& parsed : {complete, part}) {
    ASSERT_TRUE(parsed.status == ZVRT_RC_OK || parsed.status == ZVRT_RC_INVALID_DATETIME ||
                parsed.status == ZVRT_RC_HOUR_OUT_OF_RANGE)
        << parsed.status;
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(parsed.ts.reserved), sizeof parsed.ts.reserved),
              std::string(sizeof parsed.ts.reserved, '\0'));
  }
  ASSERT_TRUE(part.status == ZVRT_RC_OK || part.status == complete.status);
  std::wstring other_case = text;
  for (wchar_t& c : other_case) c = is_letter(static_cast<std::uint32_t>(c)) ? c ^ 0x20 : c;
  for (const FmtCode& entry : codes) {
    if (entry.code == FMT_LITERAL && is_letter(entry.literal)) return;
  }
  const Parsed folded = parse_guarded(other_case, INT32_MAX, codes);
  ASSERT_EQ(folded.status, complete.status);
  ASSERT_EQ(folded.ts, complete.ts);
}

}  // namespace zvrt_test
