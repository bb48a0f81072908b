// What the bytes of a field say, and which bytes are written: a line a rule. Bytes in hexadecimal; EBCDIC page 37 unless a
// row says another one.
#include <gtest/gtest.h>

#include "records/codec/one_field.h"
#include "records/files/failure.h"

namespace zvrt::records {
namespace {

using zvrt_records_test::OneField;
using zvrt_records_test::options_of;
using zvrt_records_test::unhex;

struct Row {
  const char* clauses;
  std::uint32_t page;
  const char* bytes;
  const char* text;
  const char* written;  // of the text; null: the same bytes
};

constexpr Row rows[] = {
    // Zoned: the sign over a digit or beside the digits, C positive, D negative, F unsigned.
    {"PIC 9(3)", 37, "F1F2F3", "123", nullptr},
    {"PIC S9(3)", 37, "F1F2C3", "123", nullptr},
    {"PIC S9(3)", 37, "F1F2D3", "-123", nullptr},
    {"PIC S9(3)", 37, "F1F2F3", "123", "F1F2C3"},
    {"PIC S9(3) SIGN LEADING", 37, "D1F2F3", "-123", nullptr},
    {"PIC S9(3) SIGN LEADING SEPARATE", 37, "60F1F2F3", "-123", nullptr},
    {"PIC S9(3) SIGN TRAILING SEPARATE", 37, "F1F2F34E", "123", nullptr},
    {"PIC S9(3)", 1252, "313273", "-123", nullptr},
    {"PIC S9(3) SIGN LEADING SEPARATE", 1252, "2D313233", "-123", nullptr},
    {"PIC 9(38)", 1252, "3939393939393939393939393939393939393939393939393939393939393939393939393939",
     "99999999999999999999999999999999999999", nullptr},
    {"PIC SPPP9(2)", 37, "F1C2", "0.00012", nullptr},
    {"PIC 9(2)PPP", 37, "F1F2", "12000", nullptr},
    // Packed: a sign digit, or none in COMP-6.
    {"PIC 9(3) COMP-3", 37, "123F", "123", nullptr},
    {"PIC 9(3) COMP-3", 37, "123C", "123", "123F"},
    {"PIC S9(3)V99 COMP-3", 37, "12345D", "-123.45", nullptr},
    {"PIC S9(3)V99 COMP-3", 37, "12345A", "123.45", "12345C"},
    {"PIC 9(4) COMP-6", 37, "1234", "1234", nullptr},
    {"PIC S9(38) COMP-3", 37, "099999999999999999999999999999999999999D", "-99999999999999999999999999999999999999",
     nullptr},
    // Binary, of as many bytes as the digits ask for.
    {"PIC S9(4) COMP", 37, "FF85", "-123", nullptr},
    {"PIC 9(9) COMP", 37, "3B9AC9FF", "999999999", nullptr},
    {"PIC S9(4) COMP-5", 37, "8000", "-32768", nullptr},
    {"PIC S9(4) COMP-5", 1252, "0080", "-32768", nullptr},
    {"PIC S9(7)V99 COMP", 37, "FFFFFF85", "-1.23", nullptr},
    {"PIC 9(5) COMP-X", 37, "01E240", "123456", nullptr},
    {"PIC 9(19) COMP", 37, "008AC7230489E7FFFF", "9999999999999999999", nullptr},
    {"PIC S9(38) COMP", 37, "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", "-1", nullptr},
    // Floats.
    {"COMP-1", 37, "41180000", "1.5", nullptr},
    {"COMP-2", 37, "C118000000000000", "-1.5", nullptr},
    {"COMP-1", 1252, "0000C03F", "1.5", nullptr},
    // Edited numbers; those that other programs edit otherwise come back as the picture says.
    {"PIC ZZ,ZZ9.99-", 1252, "2020202020312E353020", "1.50", nullptr},
    {"PIC $$,$$9.99", 1252, "24312C3233342E3530", "1234.50", nullptr},
    {"PIC 9(5).99", 1252, "3738392E30392020", "789.09", "30303738392E3039"},
    {"PIC 9(5).99", 1252, "2020203738392E30", "789.00", "30303738392E3030"},
    {"PIC 9(5).99", 1252, "2020202020202020", "RX_NOT_EDITED", nullptr},
    {"PIC Z9/99", 1252, "202F2F3035", "RX_NOT_EDITED", nullptr},
    {"PIC ZZ9-", 1252, "2020352B", "5", "20203520"},
    {"PIC S9(3).99", 37, "F3F0F54BF0D3", "-305.03", nullptr},
    {"PIC S9(3).99", 37, "F3F0F54BF0C3", "305.03", nullptr},
    {"PIC S9(3).99 SIGN LEADING SEPARATE", 37, "60F3F0F54BF0F3", "-305.03", nullptr},
    {"PIC 9(3) BLANK WHEN ZERO", 37, "F0F0F7", "7", nullptr},
    // Two bytes per character: UTF-16, and the double-byte characters of a mixed page without its shifts.
    {"PIC N(3)", 37, "004100E40020", "A\xC3\xA4", nullptr},
    {"PIC 9(3) USAGE NATIONAL", 37, "003100320033", "123", nullptr},
    {"PIC 9(3) USAGE NATIONAL", 37, "003141320033", "ZVRT_RC_INVALID_DIGIT", nullptr},
    {"PIC S9(3) SIGN LEADING SEPARATE NATIONAL", 37, "002D003100320033", "-123", nullptr},
    {"PIC ZZ9.99 USAGE NATIONAL", 37,
     "00200020003100"
     "2E00350030",
     "1.50", nullptr},
    {"PIC G(3) DISPLAY-1", 930, "42C142C24040", "\xEF\xBC\xA1\xEF\xBC\xA2", nullptr},
    {"PIC G(3) DISPLAY-1", 939, "42C140404040", "\xEF\xBC\xA1", nullptr},
    {"PIC G(2) DISPLAY-1", 1399, "42C10000", "\xEF\xBC\xA1", "42C14040"},
    {"PIC X(4)", 300, "42C14040", "\xEF\xBC\xA1", nullptr},
    {"PIC X(6)", 930, "0E42C10F4040", "\xEF\xBC\xA1", nullptr},
    // Text: blanks at its end are not taken, low-values are blanks.
    {"PIC X(4)", 37, "C1C24040", "AB", nullptr},
    {"PIC X(4)", 37, "C100C200", "A B", "C140C240"},
    {"PIC X(4) JUST RIGHT", 37, "4040C1C2", "AB", nullptr},
    {"PIC X(4)", 924, "9F404040", "\xE2\x82\xAC", nullptr},
};

TEST(Values, AreReadAndWritten) {
  const zvrt_records_test::Library library;
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.clauses) + ", page " + std::to_string(row.page) + ", " + row.bytes);
    const OneField field(row.clauses, options_of(row.page));
    const std::string bytes = unhex(row.bytes);
    ASSERT_EQ(field.length(), bytes.size());
    EXPECT_EQ(field.read(bytes), row.text);
    if (std::string(row.text).find("RC_") != std::string::npos || std::string(row.text).starts_with("RX_")) continue;
    EXPECT_EQ(field.written(row.text), row.written != nullptr ? row.written : row.bytes);
  }
}

struct Refused {
  const char* clauses;
  std::uint32_t page;
  const char* text;
  const char* status;
};

constexpr Refused refused[] = {
    {"PIC 9(3)", 37, "1234", "ZVRT_RC_DIGITS_LOST"},
    {"PIC 9(3)", 37, "-1", "ZVRT_RC_INVALID_SIGN"},
    {"PIC 9(3)V9", 37, "1.25", "ZVRT_RC_FRACTION_LOST"},
    {"PIC 9(4) COMP", 37, "10000", "ZVRT_RC_DIGITS_LOST"},
    {"PIC 9(20) COMP", 37, "100000000000000000000", "ZVRT_RC_DIGITS_LOST"},
    {"PIC X(3)", 37, "abcd", "ZVRT_RC_TRUNCATED"},
    {"PIC X(5)", 930, "\xEF\xBC\xA1\xEF\xBC\xA2", "ZVRT_RC_TRUNCATED"},
    {"PIC G(2) DISPLAY-1", 930, "A", "ZVRT_RC_NOT_IN_CODE_PAGE"},
    {"PIC G(2) DISPLAY-1", 930, "\xEF\xBC\xA1\xEF\xBC\xA2\xEF\xBC\xA3", "ZVRT_RC_TRUNCATED"},
    {"PIC 9(2) USAGE NATIONAL", 37, "123", "ZVRT_RC_DIGITS_LOST"},
    {"PIC ZZ9.99", 37, "1234.00", "RX_NOT_EDITED"},
    {"PIC ZZ9.99", 37, "-1", "RX_NOT_EDITED"},
};

TEST(Values, ThatDoNotFitAreRefused) {
  const zvrt_records_test::Library library;
  for (const Refused& row : refused)
    EXPECT_EQ(OneField(row.clauses, options_of(row.page)).written(row.text), row.status)
        << row.clauses << " " << row.text;
}

TEST(Values, GraphicItemsNeedAPageWithDoubleByteCharacters) {
  const zvrt_records_test::Library library;
  EXPECT_THROW(OneField("PIC G(2) DISPLAY-1", options_of(37)), Failure);
  EXPECT_THROW(options_of(99999), Failure);
}

}  // namespace
}  // namespace zvrt::records
