// The kernels of single-byte pages, every version the machine has, against one character at a time: every length,
// alignment and stopping place.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "icu_converter.h"
#include "icu_reference.h"
#include "single_byte_page.h"
#include "support/cpu.h"
#include "support/guarded_buffer.h"

namespace {

using zvrt_test::GuardedBuffer;

struct Version {
  const char* name;
  const zvrt::SingleByteKernels& kernels;
  zvrt::CpuLevel level;
};

const Version versions[] = {
    {"baseline", zvrt::single_byte_baseline, zvrt::CpuLevel::baseline},
    {"avx512", zvrt::single_byte_avx512, zvrt::CpuLevel::avx512},
};

// A page with its own characters: one window, two and more, undefined bytes, ASCII and EBCDIC.
struct Page {
  const char* name;
  std::string bytes;  // those that are written as they are read
  std::u32string characters;
  char undefined = 0;  // a byte, if there is one

  explicit Page(const char* icu_name) : name(icu_name) {
    const zvrt_test::IcuReference icu(icu_name);
    for (int value = 0; value < 256; ++value) {
      const std::string byte(1, static_cast<char>(value));
      const auto text = icu.decode(byte);
      if (!text) {
        undefined = byte[0];
      } else if (icu.encode(*text) == byte) {
        bytes += byte;
        characters += *text;
      }
    }
  }
};

void expect_read(zvrt::Converter& converter, const std::string& source, const std::u32string& expected,
                 std::uint32_t status) {
  GuardedBuffer from(source.data(), source.size());
  GuardedBuffer to(source.size() * 4);
  const auto outcome =
      converter.decode({from.as<const unsigned char>(), source.size()}, {to.as<unsigned char>(), source.size()});
  EXPECT_EQ(outcome.status, status);
  EXPECT_EQ(outcome.count, expected.size());
  EXPECT_EQ(to.bytes().substr(0, expected.size() * 4), zvrt_test::wide_bytes(expected, false));
  EXPECT_TRUE(to.untouched_from(expected.size() * 4));
}

void expect_written(zvrt::Converter& converter, const std::u32string& source, const std::string& expected,
                    std::uint32_t status) {
  const std::string wide = zvrt_test::wide_bytes(source, false);
  GuardedBuffer from(wide.data(), wide.size());
  GuardedBuffer to(source.size());
  const auto outcome =
      converter.encode({from.as<const unsigned char>(), source.size()}, {to.as<unsigned char>(), source.size()});
  EXPECT_EQ(outcome.status, status);
  EXPECT_EQ(outcome.count, expected.size());
  EXPECT_EQ(to.bytes().substr(0, expected.size()), expected);
  EXPECT_TRUE(to.untouched_from(expected.size()));
}

TEST(SingleByteKernels, StopExactlyWhereThePageDoes) {
  std::mt19937 random(1);
  for (const char* name : {"ibm-37", "ibm-875", "windows-1251", "ISO-8859-7", "US-ASCII"}) {
    const Page page(name);
    for (const Version& version : versions) {
      if (version.level > zvrt::cpu_level()) continue;
      SCOPED_TRACE(std::string(name) + " " + version.name);
      const auto converter = zvrt::SingleBytePage::build(zvrt::IcuConverter(name), version.kernels);
      ASSERT_NE(converter, nullptr);
      for (std::size_t length = 0; length < 140; ++length) {
        std::string bytes;
        std::u32string text;
        for (std::size_t i = 0; i < length; ++i) {
          const std::size_t any = random() % page.bytes.size();
          bytes += page.bytes[any];
          text += page.characters[any];
        }
        for (std::size_t stop : {length, random() % (length + 1), random() % (length + 1)}) {
          const std::uint32_t status = stop < length ? ZVRT_ICU_RC_INVALID_CHAR : 0;
          auto broken_text = text;
          if (stop < length) broken_text[stop] = stop % 2 == 0 ? U'\uFFFF' : 0x10004B;
          expect_written(*converter, broken_text, bytes.substr(0, stop), status);
          if (page.undefined == 0 && stop < length) continue;
          auto broken_bytes = bytes;
          if (stop < length) broken_bytes[stop] = page.undefined;
          expect_read(*converter, broken_bytes, text.substr(0, stop), status);
        }
        if (HasFailure()) return;
      }
    }
  }
}

}  // namespace
