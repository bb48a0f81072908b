// The kernels of single-byte pages, every version the machine has, against one character at a time: every length,
// alignment and stopping place.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "converter_service.h"
#include "icu_reference.h"
#include "single_byte_kernels.h"
#include "support/cpu.h"
#include "support/guarded_buffer.h"

namespace {

using zvrt_test::GuardedBuffer;

struct Version {
  const char* name;
  const zvrt::SingleByteKernels& kernels;
  zvrt::CpuLevel level;
};

const Version versions[] = {{"baseline", zvrt::single_byte_baseline, zvrt::CpuLevel::baseline},
                            ZVRT_X86({"avx512", zvrt::single_byte_avx512, zvrt::CpuLevel::avx512}, )};

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

// Converts a leading part of `source` into guarded memory: exactly `expected` where the kernel stops as late as it may.
template <class Kernel>
std::string converted_by(Kernel kernel, const zvrt::Page& page, const std::string& source, std::size_t source_unit,
                         std::size_t unit) {
  const std::size_t count = source.size() / source_unit;
  GuardedBuffer from(source.data(), source.size());
  GuardedBuffer to(count * unit);
  const std::size_t done = kernel(page, from.as<const unsigned char>(), count, to.as<unsigned char>());
  EXPECT_LE(done, count);
  EXPECT_TRUE(to.untouched_from(done * unit));
  return to.bytes().substr(0, done * unit);
}

class SingleByteKernels : public zvrt_test::ConverterService {};

// Reading stops before the first byte that the page does not define, writing there at the latest.
TEST_F(SingleByteKernels, StopWhereThePageDoes) {
  std::mt19937 random(1);
  for (const auto& [number, name] : {std::pair{37U, "ibm-37"},
                                     {875U, "ibm-875"},
                                     {1251U, "windows-1251"},
                                     {28597U, "ISO-8859-7"},
                                     {367U, "US-ASCII"}}) {
    const Page page(name);
    const auto& tables = *static_cast<const zvrt::Page*>(zvrt_test::find_converter(number));
    for (const Version& version : versions) {
      if (version.level > zvrt::cpu_level()) continue;
      SCOPED_TRACE(std::string(name) + " " + version.name);
      for (std::size_t length = 0; length < 140; ++length) {
        std::string bytes;
        std::u32string text;
        for (std::size_t i = 0; i < length; ++i) {
          const std::size_t any = random() % page.bytes.size();
          bytes += page.bytes[any];
          text += page.characters[any];
        }
        const std::size_t stop = random() % (length + 1);
        auto broken_text = text;
        if (stop < length) broken_text[stop] = stop % 2 == 0 ? U'\uFFFF' : 0x10004B;
        const std::string written =
            converted_by(version.kernels.write, tables, zvrt_test::wide_bytes(broken_text, false), 4, 1);
        EXPECT_EQ(written, bytes.substr(0, std::min(written.size(), stop)));
        auto broken_bytes = bytes;
        if (stop < length && page.undefined != 0) broken_bytes[stop] = page.undefined;
        const std::string read = converted_by(version.kernels.read, tables, broken_bytes, 1, 4);
        EXPECT_EQ(read, zvrt_test::wide_bytes(page.undefined != 0 ? text.substr(0, stop) : text, false));
        if (HasFailure()) return;
      }
    }
  }
}

}  // namespace
