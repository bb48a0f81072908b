// Every version of the decimal kernels against the definitions, on sources and destinations that end at a guard page.
#include "numeric/decimal_kernels.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "frame/cpu.h"
#include "support/guarded_buffer.h"

namespace {

using namespace zvrt;
using zvrt_test::GuardedBuffer;

struct Version {
  const char* name;
  const DecimalKernels* kernels;
};

std::vector<Version> versions() {
  std::vector<Version> found;
  if (cpu_level() >= CpuLevel::sse41) found.push_back({"sse41", &decimal_kernels_sse41});
  if (cpu_level() >= CpuLevel::avx512) found.push_back({"avx512", &decimal_kernels_avx512});
  return found;
}

// What a kernel told and what it left in memory.
struct Result {
  std::int64_t first;
  std::int64_t second;
  std::string memory;

  bool operator==(const Result&) const = default;
};

Result told(const Rendered& text) { return {text.length, text.status, {}}; }
Result told(const Packed& field) { return {field.digits, field.size, {}}; }
Result told(const Encoded& value) { return {value.length, value.size, {}}; }

constexpr std::size_t destination_bytes = 4 * 200;
constexpr std::int32_t rooms[] = {0, 1, 2, 5, 15, 16, 17, 31, 32, 33, 47, 48, 63, 64, 65, 128, 200};

// Runs a kernel with every room, in units of `unit` bytes; the destination ends where the room does.
template <std::size_t unit, class Kernel, class Reference>
void compare(const char* name, Kernel kernel, Reference reference, const std::string& source) {
  static GuardedBuffer dst(destination_bytes);
  GuardedBuffer src(source.data(), source.size());
  const auto run = [&](auto call, std::int32_t room) {
    dst.reset();
    Result result = told(call(src.as<>(), dst.as<char>() + dst.size() - static_cast<std::size_t>(room) * unit, room));
    result.memory = dst.bytes();
    return result;
  };
  for (const std::int32_t room : rooms) {
    ASSERT_EQ(run(kernel, room), run(reference, room)) << name << ", room " << room << ", source of " << source.size();
  }
}

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

TEST(DecimalKernels, PackedFields) {
  for (const Version& version : versions()) {
    std::mt19937 random(1);
    for (std::size_t size = 1; size <= 40; ++size) {
      for (int round = 0; round < 100; ++round) {
        std::string field = bytes(random, size, [](std::uint32_t any) { return any / 16 % 10 * 16 + any % 10; });
        field.back() = static_cast<char>((static_cast<unsigned>(field.back()) & 0xF0U) | (0xC + random() % 4));
        const auto over = [&](RenderPacked* render) {
          return [=](void* src, char* dst, std::int32_t room) {
            return render(static_cast<std::uint8_t*>(src), static_cast<std::int64_t>(size), dst, room);
          };
        };
        compare<4>(version.name, over(version.kernels->render_packed), over(render_packed), field);
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
        const auto over = [](PackText* pack) {
          return [=](void* src, char* dst, std::int32_t size) {
            return pack(src, reinterpret_cast<std::uint8_t*>(dst), size);
          };
        };
        compare<1>(version.name, over(version.kernels->pack_text), over(pack_text),
                   wide(text, random) + std::string(4, '\0') + std::string(random() % 4, 'x'));
      }
    }
  }
}

TEST(DecimalKernels, Varnums) {
  for (const Version& version : versions()) {
    std::mt19937 random(3);
    const auto over = [](RenderVarnum* render) {
      return
          [=](void* src, char* dst, std::int32_t room) { return render(static_cast<std::uint8_t*>(src), dst, room); };
    };
    for (std::size_t count = 0; count <= 21; ++count) {
      for (unsigned exponent = 0x7E; exponent <= 0xFF; ++exponent) {
        const std::string mantissa = bytes(random, count, [](std::uint32_t any) { return any % 100 + 1; });
        const std::string value = std::string{static_cast<char>(count + 1), static_cast<char>(exponent)} + mantissa;
        compare<4>(version.name, over(version.kernels->render_varnum), over(render_varnum), value);
      }
    }
    compare<4>(version.name, over(version.kernels->render_varnum), over(render_varnum), std::string(1, '\0'));
  }
}

TEST(DecimalKernels, TextToVarnums) {
  for (const Version& version : versions()) {
    std::mt19937 random(4);
    const auto over = [](EncodeVarnum* encode) {
      return [=](void* src, char* dst, std::int32_t room) {
        return encode(src, reinterpret_cast<std::uint8_t*>(dst), room);
      };
    };
    for (std::size_t length = 0; length <= 80; ++length) {
      for (int round = 0; round < 100; ++round) {
        std::string text = bytes(random, length, [](std::uint32_t any) { return '0' + any % 10; });
        if (random() % 3 != 0) text.insert(random() % (length + 1), 1, '.');
        compare<1>(version.name, over(version.kernels->encode_varnum), over(encode_varnum<char>),
                   text + '\0' + std::string(random() % 4, '.'));
        compare<1>(version.name, over(version.kernels->encode_varnum_wide), over(encode_varnum<Wide>),
                   wide(text, random) + std::string(4, '\0') + std::string(random() % 4, '.'));
      }
    }
  }
}

}  // namespace
