#include "numeric/integer/integer_format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace zvrt {
namespace {

// The C library as the oracle; the formats are made here, so it may be trusted with them.
constexpr int (*print)(char*, std::size_t, const char*, ...) = std::snprintf;

void check_against_printf(const std::string& format, std::int32_t value) {
  char expected[512];
  const int length = print(expected, sizeof expected, format.c_str(), value);
  const FormattedInteger formatted = format_integer(format.c_str(), value);
  ASSERT_EQ(formatted.valid, length <= FormattedInteger::max_length) << format << " of " << value;
  if (!formatted.valid) return;
  ASSERT_EQ(std::string(formatted.text, static_cast<std::size_t>(formatted.length)), expected)
      << format << " of " << value;
}

TEST(IntegerFormat, EqualsPrintfForEveryCombination) {
  for (unsigned flags = 0; flags < 32; ++flags) {
    std::string start = "%";
    for (unsigned flag = 0; flag < 5; ++flag) {
      if ((flags >> flag & 1U) != 0) start += "-+ #0"[flag];
    }
    for (const char* width : {"", "1", "6", "12", "15", "16", "300"}) {
      for (const char* precision : {"", ".", ".0", ".1", ".7", ".11", ".15", ".16", ".0300"}) {
        for (const char* modifier : {"", "h", "hh"}) {
          for (const char conversion : {'d', 'i', 'u', 'o', 'x', 'X'}) {
            const std::string format = start + width + precision + modifier + conversion;
            for (const std::int32_t value : {0, 1, -1, 42, 0x8080, 0x10000, -70000, INT32_MAX, INT32_MIN}) {
              check_against_printf(format, value);
            }
          }
        }
      }
    }
  }
}

TEST(IntegerFormat, KeepsLiteralTextAroundTheConversion) {
  for (const char* format : {"no. %d", "%d%%", "%%%d%%", "%%d%d", "<%5u>", "\xC3\xA9%x\x80", "%dd", "12345678901234%d",
                             "123456789012345%d", "%d123456789012345"}) {
    check_against_printf(format, 7);
  }
  check_against_printf("%.0d", 0);
  EXPECT_FALSE(format_integer(("%d" + std::string(100000, 'x')).c_str(), 7).valid);
}

TEST(IntegerFormat, RefusesEverythingButOneConversionOf32Bits) {
  const std::string conversions = "diuoxX";
  for (int character = 1; character < 256; ++character) {
    const bool valid = conversions.find(static_cast<char>(character)) != std::string::npos;
    for (const char* start : {"%", "%5", "%-08", "%.3", "%hh"}) {
      const std::string format = start + std::string(1, static_cast<char>(character));
      EXPECT_EQ(format_integer(format.c_str(), 7).valid, valid) << format;
    }
  }
  for (const char* modifier : {"l",
                               "ll",
                               "j",
                               "z",
                               "t",
                               "q",
                               "L",
                               "hhh",
                               "lh",
                               "hl",
                               "w32",
                               "*",
                               ".*",
                               "-*",
                               "1$",
                               ".-5",
                               "'",
                               "I",
                               "5-",
                               "5 ",
                               ".5.5",
                               "99999999999999999999",
                               ".99999999999999999999"}) {
    EXPECT_FALSE(format_integer(('%' + std::string(modifier) + 'd').c_str(), 7).valid) << modifier;
  }
  for (const char* format : {"", "plain", "%", "%5", "%.", "%d%d", "%d%", "%d %n", "%-99999999999999999999n"}) {
    EXPECT_FALSE(format_integer(format, 7).valid) << format;
  }
}

}  // namespace
}  // namespace zvrt
