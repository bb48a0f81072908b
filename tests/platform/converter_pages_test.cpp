// Every page against an independent or a naive conversion: glibc's iconv and ICU, character by character.
#include <gtest/gtest.h>
#include <iconv.h>

#include <bit>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "converter_service.h"
#include "icu_pages.h"
#include "icu_reference.h"

namespace {

using zvrt_test::decode;
using zvrt_test::encode;
using zvrt_test::encode_exactly;
using zvrt_test::find_converter;
using zvrt_test::icu_pages;
using zvrt_test::IcuPage;
using zvrt_test::IcuReference;

constexpr char32_t none = 0xFFFFFFFF;

struct IconvPage {
  std::uint32_t number;
  const char* iconv;
  // Where ICU's table, which is the page's own definition, differs from glibc's.
  std::map<unsigned, char32_t> differing = {};
};

// The IBM PC pages exchange three control characters as IBM defines them; glibc leaves them in place.
std::map<unsigned, char32_t> pc_controls(std::map<unsigned, char32_t> more = {}) {
  more.insert({{0x1A, 0x1C}, {0x1C, 0x7F}, {0x7F, 0x1A}});
  return more;
}

// Windows reads the bytes that a page leaves undefined as the control characters of the same number; glibc refuses
// them.
std::map<unsigned, char32_t> as_controls(std::initializer_list<unsigned> bytes) {
  std::map<unsigned, char32_t> controls;
  for (const unsigned byte : bytes) controls[byte] = byte;
  return controls;
}

const IconvPage iconv_pages[] = {
    {37, "IBM037"},
    {273, "IBM273"},
    {277, "IBM277"},
    {280, "IBM280"},
    {284, "IBM284"},
    {285, "IBM285", {{0xA1, 0xAF}}},  // macron; glibc has the overline
    {297, "IBM297"},
    {437, "IBM437", pc_controls({{0xE6, 0x3BC}})},  // Greek mu; glibc has the micro sign
    {500, "IBM500"},
    {819, "ISO-8859-1"},
    {850, "IBM850", pc_controls()},
    {855, "IBM855", pc_controls()},
    {857, "IBM857", pc_controls()},
    {866, "IBM866", pc_controls()},
    {870, "IBM870", {{0xB0, 0x2D9}}},  // dot above; glibc has the middle dot
    {912, "ISO-8859-2"},
    {915, "ISO-8859-5"},
    {920, "ISO-8859-9"},
    {923, "ISO-8859-15"},
    {1025, "IBM1025"},
    {1047, "IBM1047"},
    {1140, "IBM1140"},
    {1148, "IBM1148"},
    {1250, "CP1250", as_controls({0x81, 0x83, 0x88, 0x90, 0x98})},
    {1251, "CP1251", as_controls({0x98})},
    {1252, "CP1252", as_controls({0x81, 0x8D, 0x8F, 0x90, 0x9D})},
    {1254, "CP1254", as_controls({0x81, 0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E})},
    {1256, "CP1256"},
    {20127, "ASCII"},
    {20866, "KOI8-R"},
    {28597, "ISO-8859-7"},
    {28603, "ISO-8859-13"},
};

class Iconv {
 public:
  explicit Iconv(const char* page)
      : descriptor_(iconv_open(std::endian::native == std::endian::little ? "UTF-32LE" : "UTF-32BE", page)) {}
  ~Iconv() {
    if (knows_page()) iconv_close(descriptor_);
  }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;

  bool knows_page() const { return descriptor_ != reinterpret_cast<iconv_t>(-1); }

  char32_t decode(unsigned char byte) const {
    char32_t character = 0;
    char* from = reinterpret_cast<char*>(&byte);
    char* to = reinterpret_cast<char*>(&character);
    std::size_t source = 1;
    std::size_t capacity = sizeof character;
    const bool refused = iconv(descriptor_, &from, &source, &to, &capacity) == static_cast<std::size_t>(-1);
    char* const end = reinterpret_cast<char*>(&character + 1);
    if (to != end && !refused) iconv(descriptor_, nullptr, nullptr, &to, &capacity);  // it holds back what may combine
    return refused ? none : character;
  }

 private:
  iconv_t descriptor_;
};

class ConverterPages : public zvrt_test::ConverterService {};

TEST_F(ConverterPages, SingleBytesAgreeWithIconvBothWays) {
  for (const IconvPage& page : iconv_pages) {
    SCOPED_TRACE(page.iconv);
    const Iconv iconv(page.iconv);
    if (!iconv.knows_page()) GTEST_SKIP() << "glibc's tables are not installed";
    void* const converter = find_converter(page.number);
    ASSERT_NE(converter, nullptr);
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string bytes(1, static_cast<char>(byte));
      const auto differing = page.differing.find(byte);
      const char32_t expected =
          differing != page.differing.end() ? differing->second : iconv.decode(static_cast<unsigned char>(byte));
      const auto [status, count, text] = decode(converter, bytes);
      if (expected == none) {
        EXPECT_EQ(status, ZVRT_ICU_RC_INVALID_CHAR) << byte;
        EXPECT_EQ(count, 0U) << byte;
        continue;
      }
      EXPECT_EQ(status, 0U) << byte;
      EXPECT_EQ(text, std::u32string(1, expected)) << byte;
      EXPECT_EQ(encode(converter, text).written, bytes) << byte;
    }
  }
}

void expect_same_reading(void* converter, const IcuReference& icu, const std::string& bytes) {
  const auto [status, count, text] = decode(converter, bytes);
  const auto expected = icu.decode(bytes);
  if (status == (expected ? 0 : ZVRT_ICU_RC_INVALID_CHAR) && (!expected || text == *expected)) return;
  ADD_FAILURE() << testing::PrintToString(bytes) << ": status " << status << ", " << testing::PrintToString(text);
}

TEST_F(ConverterPages, EverySequenceOfOneAndTwoBytesReadsAsByIcu) {
  for (const IcuPage& page : icu_pages) {
    SCOPED_TRACE(page.icu);
    const IcuReference icu(page.icu);
    void* const converter = find_converter(page.number, page.kind);
    ASSERT_NE(converter, nullptr);
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
      const std::string bytes{static_cast<char>(pair >> 8), static_cast<char>(pair)};
      if ((pair & 0xFF) == 0) expect_same_reading(converter, icu, bytes.substr(0, 1));
      expect_same_reading(converter, icu, bytes);
      if (page.number >= 930 && page.number < 940) expect_same_reading(converter, icu, "\x0E" + bytes + "\x0F");
    }
    if (HasFailure()) return;
  }
}

// The first bytes of the characters below U+10000, of both ends of those above, and of none; the others beside what
// they may be as well as within it.
TEST_F(ConverterPages, SequencesOfFourBytesReadAsByIcu) {
  const IcuReference icu("gb18030");
  void* const converter = find_converter(54936);
  ASSERT_NE(converter, nullptr);
  for (const unsigned a : {0x81U, 0x82U, 0x83U, 0x84U, 0x85U, 0x8FU, 0x90U, 0xE3U, 0xE4U, 0xFEU})
    for (unsigned b = 0x2F; b <= 0x3A; ++b)
      for (unsigned c = 0x7F; c <= 0xFF; ++c)
        for (unsigned d = 0x2F; d <= 0x3A; ++d)
          expect_same_reading(converter, icu,
                              {static_cast<char>(a), static_cast<char>(b), static_cast<char>(c), static_cast<char>(d)});
}

// The encodings of Unicode read their own forms only: nullopt is an invalid sequence. UTF-8 is found under 1208, CESU-8
// under 9400, UTF-16 and UTF-32 of the highest byte first under 1201 and 12001.
TEST_F(ConverterPages, EncodingsOfUnicodeReadTheirOwnFormsOnly) {
  using namespace std::string_literals;
  const struct {
    std::uint32_t page;
    std::string bytes;
    std::optional<std::u32string> text;
  } rows[] = {
      {1208, "\xED\x9F\xBF", U"\uD7FF"},
      {1208, "\xED\xA0\x80", std::nullopt},  // the first surrogate
      {1208, "\xED\xBF\xBF", std::nullopt},  // the last one
      {1208, "\xEE\x80\x80", U"\uE000"},
      {1208, "\xF0\x9F\x98\x80", U"\U0001F600"},
      {1208, "\xED\xA0\xBD\xED\xB8\x80", std::nullopt},  // the same by surrogates
      {1208, "\xF4\x8F\xBF\xBF", U"\U0010FFFF"},
      {1208, "\xF4\x90\x80\x80", std::nullopt},  // U+110000
      {1208, "\xC1\xBF", std::nullopt},          // overlong
      {1208, "\xE0\x9F\xBF", std::nullopt},
      {1208, "\xF0\x8F\xBF\xBF", std::nullopt},
      {9400, "\xED\xA0\xBD\xED\xB8\x80", U"\U0001F600"},
      {9400, "\xF0\x9F\x98\x80", std::nullopt},  // UTF-8's form
      {9400, "\xED\xA0\xBD", std::nullopt},      // the first half alone
      {9400, "\xED\xA0\xBDxxx", std::nullopt},
      {9400, "\xED\xB8\x80", std::nullopt},  // the second half alone
      {9400, "\xED\xB8\x80\xED\xA0\xBD", std::nullopt},
      {1201, "\xD8\x3D\xDE\x00"s, U"\U0001F600"},
      {1201, "\xD8\x3D", std::nullopt},
      {1201, "\xDE\x00\xD8\x3D"s, std::nullopt},
      {12001, "\x00\x01\xF6\x00"s, U"\U0001F600"},
      {12001, "\x00\x00\xD8\x3D"s, std::nullopt},
      {12001, "\x00\x11\x00\x00"s, std::nullopt},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.page) + " " + testing::PrintToString(row.bytes));
    void* const converter = find_converter(row.page);
    ASSERT_NE(converter, nullptr);
    const auto [status, count, text] = decode(converter, row.bytes);
    EXPECT_EQ(status, row.text ? 0 : ZVRT_ICU_RC_INVALID_CHAR);
    EXPECT_EQ(text, row.text.value_or(U""));
  }
}

TEST_F(ConverterPages, EveryCharacterIsWrittenAsByIcuOrRefused) {
  for (const IcuPage& page : icu_pages) {
    SCOPED_TRACE(page.icu);
    const IcuReference icu(page.icu);
    void* const converter = find_converter(page.number, page.kind);
    ASSERT_NE(converter, nullptr);
    for (char32_t character = 0; character < 0x110000; character += character < 0x30000 ? 1 : 0x3F1) {
      const std::u32string text(1, character);
      const auto [status, count, bytes] = encode(converter, text);
      const auto expected = encode_exactly(icu, text);
      if (status == (expected ? 0 : ZVRT_ICU_RC_INVALID_CHAR) && bytes == expected.value_or("")) continue;
      ADD_FAILURE() << "U+" << std::hex << static_cast<std::uint32_t>(character) << ": "
                    << testing::PrintToString(bytes);
    }
    if (HasFailure()) return;
    for (const char32_t character : {0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
      EXPECT_EQ(encode(converter, std::u32string(1, character)).status, ZVRT_ICU_RC_INVALID_CHAR);
  }
}

TEST_F(ConverterPages, UnknownNumbersHaveNoConverter) {
  for (const std::uint32_t number : {1U, 872U, 873U, 57372U, 99999U, 0xFFFFFFFEU})
    for (int again = 0; again < 2; ++again) EXPECT_EQ(find_converter(number), nullptr) << number;
  EXPECT_NE(find_converter(37), nullptr);
}

}  // namespace
