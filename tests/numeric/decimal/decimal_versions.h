// Every version of the decimal kernels beside the definitions, into every capacity up to a guard page.
#pragma once

#include <gtest/gtest.h>

#include <functional>
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
#if defined(__x86_64__)
  if (cpu_level() >= CpuLevel::sse41) found.push_back({"sse41", &decimal_kernels_sse41});
  if (cpu_level() >= CpuLevel::avx512) found.push_back({"avx512", &decimal_kernels_avx512});
#endif
  return found;
}

// What a kernel returned and what it left in memory.
struct Result {
  std::int64_t first;
  std::int64_t second;
  std::string memory;

  bool operator==(const Result&) const = default;
};

inline Result reported(const Rendered& text) { return {text.length, text.status, {}}; }
inline Result reported(const Packed& field) { return {field.digits, field.size, {}}; }
inline Result reported(const EncodedVarnum& value) { return {value.length, value.size, {}}; }

// A source that ends at a guard page. What is before it would end a text that is read from too early.
class KernelSource {
 public:
  explicit KernelSource(const std::string& bytes)
      : buffer_((std::string(before, '\0') + bytes).data(), before + bytes.size()) {}
  template <class T = void>
  T* as() {
    return static_cast<T*>(static_cast<void*>(buffer_.as<char>() + before));
  }

 private:
  static constexpr std::size_t before = 256;
  GuardedBuffer buffer_;
};

constexpr std::size_t destination_bytes = 4 * 200;
constexpr std::int32_t capacities[] = {0, 1, 2, 5, 15, 16, 17, 31, 32, 33, 47, 48, 63, 64, 65, 128, 200};

// Runs a kernel with every capacity, in units of `unit` bytes; the destination ends at the guard page.
template <std::size_t unit, class Kernel, class Reference>
void compare(const char* name, Kernel kernel, Reference reference, const std::string& source) {
  static GuardedBuffer dst(destination_bytes);
  KernelSource src(source);
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

// A form over bytes does what the definition does, narrowed, or nothing.
template <class Render>
void compare_bytes(const char* name, Render bytes, Render definition, const std::string& source) {
  static GuardedBuffer dst(destination_bytes);
  KernelSource src(source);
  Wide wide[destination_bytes];
  for (const std::int32_t capacity : capacities) {
    dst.reset();
    const std::string before = dst.bytes();
    const auto at = dst.size() - static_cast<std::size_t>(capacity);
    const Rendered text = bytes(src.as<std::uint8_t>(), dst.as<char>() + at, capacity);
    std::string expected = before;
    if (text.length > 0) {
      const Rendered full = definition(src.as<std::uint8_t>(), wide, destination_bytes);
      ASSERT_EQ(full.length, text.length) << name << ", room " << capacity;
      ASSERT_TRUE(full.status == ZVRT_RC_OK && text.status == ZVRT_RC_OK) << name;
      for (std::size_t i = 0; i <= static_cast<std::size_t>(text.length); ++i) {
        expected[at + i] = static_cast<char>(wide[i]);
      }
    }
    ASSERT_EQ(dst.bytes(), expected) << name << ", room " << capacity;
  }
}

inline void check_packed_bytes(const Version& version, const std::string& field) {
  using Render = std::function<Rendered(const std::uint8_t*, void*, std::int32_t)>;
  const auto over = [&field](RenderPacked* render) -> Render {
    return [=, &field](const std::uint8_t* src, void* dst, std::int32_t capacity) {
      return render(src, static_cast<std::int64_t>(field.size()), dst, capacity);
    };
  };
  compare_bytes<Render>(version.name, over(version.kernels->render_packed_bytes), over(render_packed), field);
}

// A text of bytes, packed as the definition packs it widened, or not at all.
inline void check_text_bytes(const Version& version, const std::string& text) {
  static GuardedBuffer dst(destination_bytes);
  KernelSource src(text);
  std::u32string wide(text.begin(), text.end());
  for (const std::int32_t size : capacities) {
    dst.reset();
    std::string expected = dst.bytes();
    const auto at = dst.size() - static_cast<std::size_t>(size);
    const Packed packed = version.kernels->pack_bytes(src.as<>(), dst.as<std::uint8_t>() + at, size);
    if (packed.size > 0) {
      const Packed defined = pack_text(wide.data(), reinterpret_cast<std::uint8_t*>(expected.data() + at), size);
      ASSERT_TRUE(defined.size == packed.size && defined.digits == packed.digits) << version.name << ", " << text;
    }
    ASSERT_EQ(dst.bytes(), expected) << version.name << ", room " << size << ", " << text;
  }
}

inline void check_packed(const Version& version, const std::string& field) {
  const auto over = [&field](RenderPacked* render) {
    return [=, &field](void* src, char* dst, std::int32_t capacity) {
      return render(static_cast<std::uint8_t*>(src), static_cast<std::int64_t>(field.size()), dst, capacity);
    };
  };
  compare<4>(version.name, over(version.kernels->render_packed), over(render_packed), field);
  check_packed_bytes(version, field);
}

// Wide text with its terminator, as bytes; more may follow.
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
  compare_bytes<RenderVarnum*>(version.name, version.kernels->render_varnum_bytes, render_varnum, value);
}

// Of both widths, terminated; more may follow.
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
