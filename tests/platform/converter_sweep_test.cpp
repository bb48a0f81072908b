// Every page that the service knows, completely: what it writes it reads back as the same, into every capacity; what it
// reads is all that ICU's page of that number defines. The short form, which runs with the other tests, takes a part
// of the characters; with ZVRT_FULL_SWEEP=1, as scripts/sweeps.sh runs it, all.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "converter_service.h"
#include "icu_reference.h"
#include "tables/page_names.h"

namespace {

using zvrt_test::decode;
using zvrt_test::encode;
using zvrt_test::find_converter;
using zvrt_test::IcuReference;

class Sweep : public zvrt_test::ConverterService {
 protected:
  struct Known {
    std::uint32_t number;
    char kind;
  };

  // Each page once, under the first number and kind that find it.
  static std::map<void*, Known> known_pages() {
    std::map<void*, Known> pages;
    for (const char kind : {'\0', 'N', 'B'})
      for (std::uint32_t number = 0; number < 0x10000; ++number)
        if (void* const converter = find_converter(number, kind); converter != nullptr)
          pages.try_emplace(converter, Known{number, kind});
    return pages;
  }

  static bool is_full() { return std::getenv("ZVRT_FULL_SWEEP") != nullptr; }
};

std::string named(std::uint32_t number, char kind) {
  return std::to_string(number) + (kind != '\0' ? std::string(" kind ") + kind : "");
}

// What stands in each smaller capacity is the beginning of nothing but complete characters: here none, or a byte order
// mark's worth of none.
void expect_refused_or_whole(void* converter, char32_t character, const std::string& bytes) {
  for (std::size_t capacity = 0; capacity < bytes.size(); ++capacity) {
    std::string target(bytes.size() + 1, '\x55');
    std::uint32_t count = 0;
    ASSERT_EQ(
        ZVRT_IcuWideToMultibyte(converter, &character, 1, target.data(), static_cast<std::int32_t>(capacity), &count),
        ZVRT_ICU_RC_TRUNCATED);
    ASSERT_EQ(count, bytes.size());
    ASSERT_EQ(target, std::string(bytes.size() + 1, '\x55'));
  }
}

TEST_F(Sweep, WhatIsWrittenReadsBackAsItself) {
  const auto pages = known_pages();
  ASSERT_GT(pages.size(), 200U);
  for (const auto& [converter, page] : pages) {
    SCOPED_TRACE(named(page.number, page.kind));
    std::size_t written = 0;
    const char32_t step = is_full() ? 1 : 0x35;
    for (char32_t character = 0; character < 0x110400; character += character < 0x3000 ? 1U : step) {
      const auto [status, count, bytes] = encode(converter, std::u32string(1, character));
      if (status == ZVRT_ICU_RC_INVALID_CHAR) {
        ASSERT_EQ(count, 0U);
        continue;
      }
      ASSERT_EQ(status, 0U);
      ASSERT_LT(character, 0x110000U);
      ++written;
      ASSERT_EQ(decode(converter, bytes).written, std::u32string(1, character)) << std::hex << +character;
      expect_refused_or_whole(converter, character, bytes);
      if (HasFatalFailure()) return;
    }
    EXPECT_GT(written, 90U);
  }
}

// A page of ICU's under the names that the service's tables were made by; nothing for a page made of parts.
std::unique_ptr<IcuReference> reference_of(std::uint32_t number, char kind) {
  if (zvrt::part_of_page(number) != nullptr) return nullptr;
  const zvrt::Style style = kind == 'N' ? zvrt::Style::new_line : kind == 'B' ? zvrt::Style::ibm : zvrt::Style::usual;
  for (const std::string& name : zvrt::page_names(number, style)) {
    try {
      return std::make_unique<IcuReference>(name);
    } catch (const std::runtime_error&) {
    }
  }
  return nullptr;
}

TEST_F(Sweep, AllThatAPageDefinesIsRead) {
  for (const auto& [converter, page] : known_pages()) {
    SCOPED_TRACE(named(page.number, page.kind));
    const auto icu = reference_of(page.number, page.kind);
    if (icu == nullptr) continue;
    for (unsigned pair = 0; pair < 0x10000; pair += is_full() || pair < 0x100 ? 1U : 7U)
      for (const std::string& bytes :
           {std::string(1, static_cast<char>(pair)), std::string{static_cast<char>(pair >> 8), static_cast<char>(pair)},
            std::string{'\x0E', static_cast<char>(pair >> 8), static_cast<char>(pair)},
            std::string{'\x8F', static_cast<char>(pair >> 8), static_cast<char>(pair)},
            std::string{'\x8E', '\xA2', static_cast<char>(pair >> 8), static_cast<char>(pair)}}) {
        if (bytes.size() == 1 && pair > 0xFF) continue;
        const auto expected = icu->decode(bytes);
        const auto [status, count, text] = decode(converter, bytes);
        ASSERT_EQ(status, expected ? 0U : ZVRT_ICU_RC_INVALID_CHAR) << testing::PrintToString(bytes);
        ASSERT_EQ(text, expected.value_or(text)) << testing::PrintToString(bytes);
      }
  }
}

// Pages that ICU has as a part of others only.
TEST_F(Sweep, PagesMadeOfParts) {
  for (const auto& [part, whole] : {std::pair{300U, 930U}, {300U, 939U}, {834U, 933U}, {835U, 937U}, {837U, 935U}})
    for (unsigned pair = 0x4040; pair < 0xFF00; ++pair) {
      const std::string bytes{static_cast<char>(pair >> 8), static_cast<char>(pair)};
      const auto expected = decode(find_converter(whole), "\x0E" + bytes + "\x0F");
      ASSERT_EQ(decode(find_converter(part), bytes), expected) << part << ' ' << std::hex << pair;
      if (expected.status == 0) {
        const std::string alone = encode(find_converter(part), expected.written).written;
        const std::string mixed = encode(find_converter(whole), expected.written).written;
        ASSERT_TRUE(mixed == "\x0E" + alone + "\x0F" || mixed.size() == 1 || alone.empty());
      }
    }
  // ISO 8859-15 has the same characters as 924, wherever they stand.
  for (unsigned byte = 0; byte < 0x100; ++byte) {
    const auto latin9 = decode(find_converter(28605), std::string(1, static_cast<char>(byte)));
    const std::string ebcdic = encode(find_converter(924), latin9.written).written;
    EXPECT_EQ(decode(find_converter(924), ebcdic).written, latin9.written);
    const auto latin1 = decode(find_converter(1047), ebcdic).written;
    const bool differs = std::string("\x4A\x6A\x9D\x9F\xB0\xB7\xB8\xB9\xBA\xBB\xBE").find(ebcdic) != std::string::npos;
    EXPECT_EQ(latin1 != latin9.written, differs) << testing::PrintToString(ebcdic);
  }
  EXPECT_EQ(encode(find_converter(924), U"\u20AC\u0160\u0161\u017D\u017E\u0152\u0153\u0178\u00DD\u00A2\u00AC").written,
            "\x9F\x6A\xBB\xBE\x9D\xB7\xB8\xB9\x4A\xB0\xBA");
}

}  // namespace
