// Code pages through the bridges: as ICU reads and writes the whole text, there and back, and into every capacity the
// beginning of what goes into a larger one.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "ZVRTDataCnvLib.h"
#include "input.h"
#include "platform/icu_pages.h"
#include "platform/icu_reference.h"

namespace {

using namespace zvrt_test;

struct Converted {
  std::uint32_t status;
  std::uint32_t count;
  std::string bytes;
};

Converted convert(decltype(&ZVRT_MultiByteToWideChar) bridge, const FldDef& field, const std::string& text,
                  std::size_t capacity) {
  static zvrt_fuzz::Source source;
  static GuardedBuffer page(1 << 16);
  unsigned char* const dst = page.tail(capacity);
  std::memset(dst - 16, GuardedBuffer::mark, capacity + 16);
  Converted converted{0, 0xDEADBEEF, ""};
  converted.status = bridge(&field, source.put(text), static_cast<std::int32_t>(text.size()), dst,
                            static_cast<std::int32_t>(capacity), &converted.count);
  EXPECT_TRUE(std::all_of(dst - 16, dst, [](unsigned char byte) { return byte == GuardedBuffer::mark; }));
  converted.bytes.assign(dst, dst + capacity);
  return converted;
}

// What fits of the beginning, and the same count. Text that is truncated in the shifted state is closed.
void expect_beginning(Converted part, const Converted& whole, std::size_t used, std::size_t unit) {
  const std::size_t capacity = part.bytes.size() / unit * unit;
  const std::size_t same = static_cast<std::size_t>(
      std::mismatch(part.bytes.begin(), part.bytes.begin() + static_cast<std::ptrdiff_t>(std::min(capacity, used)),
                    whole.bytes.begin())
          .first -
      part.bytes.begin());
  if (whole.status == ZVRT_RC_OK) {
    EXPECT_EQ(part.status, used <= capacity ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED);
    EXPECT_EQ(part.count, whole.count);
  }
  // Whole characters only: what is left is shorter than one, of six bytes at most (CESU-8), and untouched.
  EXPECT_LE(std::min(capacity, used) - same, unit == 4 ? 0U : 5U);
  if (unit == 1 && same < part.bytes.size() && part.bytes[same] == '\x0F') {
    part.bytes[same] = static_cast<char>(GuardedBuffer::mark);
  }
  const auto marked = [](char byte) { return static_cast<unsigned char>(byte) == GuardedBuffer::mark; };
  EXPECT_TRUE(std::all_of(part.bytes.begin() + static_cast<std::ptrdiff_t>(same), part.bytes.end(), marked));
}

const IcuReference& reference(const char* name) {
  static std::map<std::string, std::unique_ptr<IcuReference>> references;
  auto& found = references[name];
  if (found == nullptr) found = std::make_unique<IcuReference>(name);
  return *found;
}

constexpr std::size_t ample = 1 << 14;

void check_reading(const FldDef& field, const IcuReference& icu, const std::string& bytes, std::size_t capacity) {
  const Converted whole = convert(ZVRT_MultiByteToWideChar, field, bytes, ample);
  const auto expected = icu.decode(bytes);
  ASSERT_EQ(whole.status, expected ? ZVRT_RC_OK : ZVRT_RC_INVALID_CHAR);
  const std::size_t used = whole.count * std::size_t{4};
  if (expected) ASSERT_EQ(whole.bytes.substr(0, used), wide_bytes(*expected, false));
  expect_beginning(convert(ZVRT_MultiByteToWideChar, field, bytes, capacity), whole, used, 4);
}

void check_writing(const FldDef& field, const std::u32string& text, std::size_t capacity) {
  const std::string wide = wide_bytes(text, false);
  const Converted whole = convert(ZVRT_WideCharToMultiByte, field, wide, ample);
  ASSERT_TRUE(whole.status == ZVRT_RC_OK || whole.status == ZVRT_RC_INVALID_CHAR);
  expect_beginning(convert(ZVRT_WideCharToMultiByte, field, wide, capacity), whole, whole.count, 1);
  if (whole.status != ZVRT_RC_OK) return;
  const std::string bytes = whole.bytes.substr(0, whole.count);
  const Converted back = convert(ZVRT_MultiByteToWideChar, field, bytes, ample);
  ASSERT_EQ(back.status, ZVRT_RC_OK);
  ASSERT_EQ(back.bytes.substr(0, back.count * std::size_t{4}), wide);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const IcuPage& page = input.of(icu_pages);
  FldDef field{};
  field.codePage = page.number;
  field.codePageKind = page.kind;
  const std::size_t capacity = input.below(300);
  if (input.flag()) {
    check_reading(field, reference(page.icu), input.bytes().substr(0, 500), capacity);
  } else {
    const auto characters = input.characters();
    check_writing(field, std::u32string(characters.begin(), characters.end()).substr(0, 500), capacity);
  }
}
