// Every version of the decimal kernels beside the definitions, into every room up to a guard page.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "numeric/decimal/decimal_kernels.h"
#include "support/cpu.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

using namespace zvrt;

struct Version {
  const char* name;
  const DecimalKernels* kernels;
};

inline std::vector<Version> versions() {
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

inline Result reported(const Rendered& text) { return {text.length, text.status, {}}; }
inline Result reported(const Packed& field) { return {field.digits, field.size, {}}; }
inline Result reported(const Encoded& value) { return {value.length, value.size, {}}; }

constexpr std::size_t destination_bytes = 4 * 200;
constexpr std::int32_t capacities[] = {0, 1, 2, 5, 15, 16, 17, 31, 32, 33, 47, 48, 63, 64, 65, 128, 200};

// Runs a kernel with every room, in units of `unit` bytes; the destination ends where the room does.
template <std::size_t unit, class Kernel, class Reference>
void compare(const char* name, Kernel kernel, Reference reference, const std::string& source) {
  static GuardedBuffer dst(destination_bytes);
  GuardedBuffer src(source.data(), source.size());
  const auto run = [&](auto call, std::int32_t capacity) {
    dst.reset();
    Result result =
        reported(call(src.as<>(), dst.as<char>() + dst.size() - static_cast<std::size_t>(capacity) * unit, capacity));
    result.memory = dst.bytes();
    return result;
  };
  for (const std::int32_t capacity : capacities) {
    ASSERT_EQ(run(kernel, capacity), run(reference, capacity))
        << name << ", room " << capacity << ", source of " << source.size();
  }
}

inline void check_packed(const Version& version, const std::string& field) {
  const auto over = [&field](RenderPacked* render) {
    return [=, &field](void* src, char* dst, std::int32_t capacity) {
      return render(static_cast<std::uint8_t*>(src), static_cast<std::int64_t>(field.size()), dst, capacity);
    };
  };
  compare<4>(version.name, over(version.kernels->render_packed), over(render_packed), field);
}

// Wide text with its terminator, as bytes; more may stand behind it.
inline void check_text(const Version& version, const std::string& wide_text) {
  const auto over = [](PackText* pack) {
    return
        [=](void* src, char* dst, std::int32_t size) { return pack(src, reinterpret_cast<std::uint8_t*>(dst), size); };
  };
  compare<1>(version.name, over(version.kernels->pack_text), over(pack_text), wide_text);
}

inline void check_varnum(const Version& version, const std::string& value) {
  const auto over = [](RenderVarnum* render) {
    return [=](void* src, char* dst, std::int32_t capacity) {
      return render(static_cast<std::uint8_t*>(src), dst, capacity);
    };
  };
  compare<4>(version.name, over(version.kernels->render_varnum), over(render_varnum), value);
}

// Of both widths, terminated; more may stand behind them.
inline void check_varnum_text(const Version& version, const std::string& narrow, const std::string& wide) {
  const auto over = [](EncodeVarnum* encode) {
    return [=](void* src, char* dst, std::int32_t capacity) {
      return encode(src, reinterpret_cast<std::uint8_t*>(dst), capacity);
    };
  };
  compare<1>(version.name, over(version.kernels->encode_varnum), over(encode_varnum<char>), narrow);
  compare<1>(version.name, over(version.kernels->encode_varnum_wide), over(encode_varnum<Wide>), wide);
}

}  // namespace zvrt_test
