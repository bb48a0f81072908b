// Every version of the decimal kernels against the definitions, on sources and destinations that end at a guard page.
#include "numeric/decimal/decimal_versions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace zvrt;
using namespace zvrt_test;

// Bytes of which most are as given, and some are anything.
template <class Usual>
std::string bytes(std::mt19937& random, std::size_t count, Usual usual) {
  std::string all(count, '\0');
  const unsigned wild = random() % 3 == 0 ? 10 : 1000000;
  const std::size_t zeros = random() % 3 == 0 ? random() % (count + 1) : 0;
  for (std::size_t i = 0; i < count; ++i) {
    all[i] = static_cast<char>(i < zeros              ? usual(0)
                               : random() % wild == 0 ? random()
                                                      : usual(static_cast<std::uint32_t>(random())));
  }
  return all;
}

std::string wide(const std::string& narrow, std::mt19937& random) {
  std::string text;
  const bool strange = random() % 8 == 0;
  for (const char character : narrow) {
    text += character;
    text += std::string{strange && random() % 8 == 0 ? '\1' : '\0', '\0', '\0'};
  }
  return text;
}

// What follows a text: up to its page's end a few bytes, or more than the kernels load at once.
std::string following(std::mt19937& random, char byte) {
  return std::string(random() % 2 == 0 ? random() % 4 : 250 + random() % 16, byte);
}

TEST(DecimalKernels, PackedFields) {
  for (const Version& version : versions()) {
    std::mt19937 random(1);
    check_packed(version, "");
    for (std::size_t size = 1; size <= 40; ++size) {
      for (int round = 0; round < 100; ++round) {
        std::string field = bytes(random, size, [](std::uint32_t any) { return any / 16 % 10 * 16 + any % 10; });
        field.back() = static_cast<char>((static_cast<unsigned>(field.back()) & 0xF0U) | (0xC + random() % 4));
        check_packed(version, field);
      }
    }
  }
}

TEST(DecimalKernels, TextToPackedFields) {
  for (const Version& version : versions()) {
    std::mt19937 random(2);
    for (std::size_t length = 0; length <= 80; ++length) {
      for (int round = 0; round < 60; ++round) {
        std::string text = bytes(random, length, [](std::uint32_t any) { return '0' + any % 10; });
        if (random() % 2 == 0) text.insert(0, 1, '-');
        check_text(version, wide(text, random) + std::string(4, '\0') + following(random, 'x'));
        const auto ascii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80 && byte != 0; };
        if (std::all_of(text.begin(), text.end(), ascii)) {
          check_text_bytes(version, text + '\0' + following(random, 'x'));
        }
      }
    }
  }
}

TEST(DecimalKernels, Varnums) {
  for (const Version& version : versions()) {
    std::mt19937 random(3);
    for (std::size_t count = 0; count <= 21; ++count) {
      for (unsigned exponent = 0x7E; exponent <= 0xFF; ++exponent) {
        const std::string mantissa = bytes(random, count, [](std::uint32_t any) { return any % 100 + 1; });
        const std::string value = std::string{static_cast<char>(count + 1), static_cast<char>(exponent)} + mantissa;
        check_varnum(version, value);
      }
    }
    check_varnum(version, std::string(1, '\0'));
  }
}

TEST(DecimalKernels, TextToVarnums) {
  for (const Version& version : versions()) {
    std::mt19937 random(4);
    for (std::size_t length = 0; length <= 80; ++length) {
      for (int round = 0; round < 100; ++round) {
        std::string text = bytes(random, length, [](std::uint32_t any) { return '0' + any % 10; });
        for (auto points = random() % 16; points > 5; points /= 2) text.insert(random() % (text.size() + 1), 1, '.');
        check_varnum_text(version, text + '\0' + following(random, '.'),
                          wide(text, random) + std::string(4, '\0') + following(random, '.'));
      }
    }
  }
}

}  // namespace
