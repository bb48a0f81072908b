// The vectors of sixteen bytes in plain C++ against those by SSE2, function by function.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>
#include <string>

#include "simd/portable.h"
#include "simd/vectors.h"

namespace {

// Random numbers of 32 bits.
class Random {
 public:
  std::uint32_t operator()() { return static_cast<std::uint32_t>(engine_()); }

 private:
  std::mt19937 engine_{1};
};

using Bytes16 = std::array<std::uint8_t, 16>;
using Wide16 = std::array<std::uint32_t, 16>;

// Characters around every limit at which a function's result changes, and any others.
std::uint32_t character(Random& random) {
  constexpr std::uint32_t limits[] = {0,    '0',    '9',    0x1F,    0x7E,       0x7F,
                                      0xFF, 0x7FFF, 0xFFFF, 0x10030, 0x7FFFFFFF, 0x80000030};
  switch (random() % 4) {
    case 0: return random();
    case 1: return limits[random() % std::size(limits)] + random() % 2;
    default: return '0' + random() % 10;
  }
}

template <class Block>
std::string bytes_of(const Block& block) {
  return {reinterpret_cast<const char*>(&block), sizeof block};
}

template <class Store>
std::string stored(Store store) {
  std::array<char, 80> memory;
  memory.fill('#');
  store(memory.data() + 1);
  return {memory.data(), memory.size()};
}

class Vectors : public testing::Test {
 protected:
  Random random;

  Wide16 wide() {
    Wide16 text;
    const bool digits_only = random() % 2 == 0;
    for (std::uint32_t& unit : text) unit = digits_only ? '0' + random() % 10 : character(random);
    return text;
  }
  Bytes16 bytes() {
    Bytes16 block;
    for (std::uint8_t& byte : block) byte = static_cast<std::uint8_t>(character(random));
    return block;
  }
};

TEST_F(Vectors, BytesAreWidenedAlike) {
  for (int round = 0; round < 2000; ++round) {
    const Bytes16 block = bytes();
    const auto fast = zvrt::vectors::load_block(block.data());
    const auto plain = zvrt::portable::load_block(block.data());
    using zvrt::portable::store_eight_wide, zvrt::portable::store_sixteen_wide, zvrt::portable::upper_half;
    ASSERT_EQ(stored([&](char* at) { zvrt::vectors::store_sixteen_wide(at, fast); }),
              stored([&](char* at) { store_sixteen_wide(at, plain); }));
    ASSERT_EQ(stored([&](char* at) { zvrt::vectors::store_eight_wide(at, zvrt::vectors::upper_half(fast)); }),
              stored([&](char* at) { store_eight_wide(at, upper_half(plain)); }));
    std::uint32_t four = 0;
    std::memcpy(&four, block.data(), sizeof four);
    ASSERT_EQ(stored([&](char* at) { zvrt::vectors::store_four_wide(at, four); }),
              stored([&](char* at) { zvrt::portable::store_four_wide(at, four); }));
    ASSERT_EQ(zvrt::vectors::first_byte(fast), zvrt::portable::first_byte(plain));
    const auto above = static_cast<std::int8_t>(round % 2 == 0 ? -1 : 0x1F);
    const auto last = static_cast<std::int8_t>(round % 3 == 0 ? 0x7E : 0x7F);
    ASSERT_EQ(zvrt::vectors::all_within(fast, zvrt::vectors::repeat(above), zvrt::vectors::repeat(last)),
              zvrt::portable::all_within(plain, zvrt::portable::repeat(above), zvrt::portable::repeat(last)));
  }
  ASSERT_EQ(stored([](char* at) { zvrt::vectors::store_two_wide(at, 'E', '+'); }),
            stored([](char* at) { zvrt::portable::store_two_wide(at, 'E', '+'); }));
}

TEST_F(Vectors, WideCharactersAreNarrowedAlike) {
  for (int round = 0; round < 20000; ++round) {
    const Wide16 text = wide();
    ASSERT_EQ(zvrt::vectors::narrow_eight(text.data()), zvrt::portable::narrow_eight(text.data()));
    zvrt::vectors::Block fast;
    zvrt::portable::Block plain;
    const bool narrowed = zvrt::vectors::narrow_sixteen(text.data(), fast);
    ASSERT_EQ(narrowed, zvrt::portable::narrow_sixteen(text.data(), plain));
    if (narrowed) {
      ASSERT_EQ(bytes_of(fast), bytes_of(plain));
    }
  }
}

// Registers of eight bytes beside the characters themselves, one by one.
TEST_F(Vectors, CharactersArePackedByEights) {
  for (int round = 0; round < 20000; ++round) {
    const Wide16 text = wide();
    const std::uint64_t marked = zvrt::portable::pack_eight_marked(text.data());
    const std::uint64_t others = zvrt::portable::other_than_digits(marked);
    bool narrow = true;
    for (std::size_t i = 0; i < 8; ++i) {
      const std::uint64_t byte = marked >> 8 * i & 0xFF;
      if (text[i] > 0xFF) {
        narrow = false;
        ASSERT_GE(byte, 0x80U) << text[i];
      } else {
        ASSERT_EQ(byte, text[i]);
      }
      ASSERT_EQ((others >> 8 * i & 0xFF) == 0, text[i] >= '0' && text[i] <= '9') << text[i];
    }
    std::uint64_t packed = 0;
    ASSERT_EQ(zvrt::portable::pack_eight(text.data(), packed), narrow);
    if (narrow) {
      ASSERT_EQ(packed, marked);
    }
    std::array<char, 8> back;
    zvrt::portable::store_bytes(back.data(), marked);
    ASSERT_EQ(zvrt::portable::load_bytes(back.data()), marked);
    ASSERT_EQ(static_cast<std::uint8_t>(back[0]), marked & 0xFF);
  }
}

TEST_F(Vectors, DigitsAreReadAndWrittenAlike) {
  int numbers = 0;
  for (int round = 0; round < 20000; ++round) {
    const Wide16 text = wide();
    std::uint32_t fast = 0, plain = 0;
    const bool is_number = zvrt::vectors::read_eight_digits(text.data(), fast);
    ASSERT_EQ(is_number, zvrt::portable::read_eight_digits(text.data(), plain));
    ASSERT_EQ(fast, plain);
    numbers += is_number ? 1 : 0;
    const std::uint32_t upper = random() % 100000000, lower = random() % 100000000;
    ASSERT_EQ(bytes_of(zvrt::vectors::digit_characters(zvrt::vectors::sixteen_digits(upper, lower))),
              bytes_of(zvrt::portable::digit_characters(zvrt::portable::sixteen_digits(upper, lower))));
  }
  EXPECT_GT(numbers, 5000);
}

}  // namespace
