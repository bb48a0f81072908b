// Every version of the text kernels beside the definition, between pages that cannot be touched.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "encoding/text_kernels.h"
#include "encoding/utf16.h"
#include "encoding/utf8.h"
#include "support/cpu.h"
#include "support/units.h"

namespace zvrt_test {

using namespace zvrt;

struct Version {
  const char* name;
  const TextKernels& kernels;
};

inline std::vector<Version> versions() {
  std::vector<Version> all{{"portable", text_kernels_portable}};
#if defined(__x86_64__)
  all.push_back({"baseline", text_kernels_baseline});
  if (cpu_level() >= CpuLevel::sse41) all.push_back({"sse41", text_kernels_sse41});
  if (cpu_level() >= CpuLevel::avx2) all.push_back({"avx2", text_kernels_avx2});
  if (cpu_level() >= CpuLevel::avx512) all.push_back({"avx512", text_kernels_avx512});
#endif
  return all;
}

// Pages that may be touched between two that may not.
class Arena {
 public:
  Arena() {
    void* base = mmap(nullptr, 2 * page_ + size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) std::abort();
    begin_ = static_cast<char*>(base) + page_;
    mprotect(begin_, size_, PROT_READ | PROT_WRITE);
  }
  ~Arena() { munmap(begin_ - page_, 2 * page_ + size_); }
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  // The text flush at the end, at the start, or across the border of two pages.
  const char* put(const std::string& bytes, std::size_t where) {
    char* at = where % 3 == 0   ? end() - bytes.size()
               : where % 3 == 1 ? begin_
                                : begin_ + page_ - std::min(where, bytes.size());
    std::memcpy(at, bytes.data(), bytes.size());
    return at;
  }
  // `bytes` that end at the guard page, marked as is a stretch before them.
  char* marked(std::size_t bytes) {
    char* at = end() - bytes;
    std::memset(at - margin, mark, bytes + margin);
    return at;
  }
  // True when all that was marked still is, but for `bytes` bytes at `dst`.
  bool untouched_around(const char* dst, std::size_t bytes) {
    const auto is_mark = [](char byte) { return byte == mark; };
    return std::all_of(dst - margin, dst, is_mark) &&
           std::all_of(dst + bytes, static_cast<const char*>(end()), is_mark);
  }

 private:
  static constexpr std::size_t margin = 64;
  static constexpr char mark = '\x5A';

  char* end() { return begin_ + size_; }

  const std::size_t page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t size_ = 4 * page_;
  char* begin_;
};

// What the scalar definition makes of a text's leading well-formed characters: for each number of them, the source units
// read and the destination bytes written.
struct Definition {
  std::vector<std::size_t> read{0};
  std::string written;
  std::vector<std::size_t> ends{0};
};

// A text's next character and its units; no units where a kernel is to stop.
struct Next {
  std::uint32_t code_point;
  std::size_t units;
};

inline Next next_of_utf8(const std::string& text, std::size_t used) {
  const Utf8Sequence sequence = decode_utf8(text.data() + used, static_cast<std::int64_t>(text.size() - used));
  return {sequence.code_point, sequence.kind == Utf8::character ? static_cast<std::size_t>(sequence.length) : 0};
}
inline Next next_of_utf16(const std::string& text, std::size_t used) {
  const Utf16Sequence sequence =
      decode_utf16(text.data() + used * 2, static_cast<std::int64_t>(text.size() / 2 - used));
  return {sequence.code_point, sequence.valid ? static_cast<std::size_t>(sequence.length) : 0};
}
inline Next next_of_utf32(const std::string& text, std::size_t used) { return {load<Wide>(text.data(), used), 1}; }
inline Next next_scalar_value(const std::string& text, std::size_t used) {
  const auto unit = load<Wide>(text.data(), used);
  return {unit, is_surrogate(unit) ? std::size_t{0} : 1};
}

// A character's bytes; none where it has none.
inline std::string as_utf8(std::uint32_t code_point) {
  if (code_point >= utf8_limit) return "";
  std::string form(static_cast<std::size_t>(utf8_length(code_point)), '\0');
  encode_utf8(code_point, utf8_length(code_point), form.data());
  return form;
}
inline std::string as_utf16(std::uint32_t code_point) {
  if (code_point > last_code_point) return "";
  std::string form(2 * static_cast<std::size_t>(utf16_length(code_point)), '\0');
  encode_utf16(code_point, form.data());
  return form;
}
inline std::string as_utf32(std::uint32_t code_point) { return {reinterpret_cast<const char*>(&code_point), 4}; }

template <std::size_t unit, Next next(const std::string&, std::size_t), std::string form(std::uint32_t)>
Definition converted(const std::string& text) {
  Definition result;
  for (std::size_t used = 0; (used + 1) * unit <= text.size();) {
    const auto [code_point, units] = next(text, used);
    if (units == 0 || code_point == 0 || form(code_point).empty()) break;
    used += units;
    result.written += form(code_point);
    result.read.push_back(used);
    result.ends.push_back(result.written.size());
  }
  return result;
}

inline std::string up_to_zero(const std::string& text, std::size_t unit) {
  const std::string zero(unit, '\0');
  for (std::size_t at = 0; at < text.size(); at += unit) {
    if (text.compare(at, unit, zero) == 0) return text.substr(0, at);
  }
  return text;
}

// The kernels of a direction, and their units. `within` is bounded by a count and by a terminator; directions that have
// UTF-16 on one side have no other kernel.
struct Direction {
  using Counted = Progress (*)(const TextKernels&, const char*, std::size_t, char*, std::size_t);

  std::size_t source_unit;
  std::size_t written_unit;
  Definition (*definition)(const std::string&);
  Counted within;
  Counted counted = nullptr;
  Progress (*terminated)(const TextKernels&, const char*, char*, std::size_t) = nullptr;
  Progress (*count)(const TextKernels&, const char*, std::size_t) = nullptr;
};

template <auto kernel>
Progress call_counted(const TextKernels& kernels, const char* src, std::size_t count, char* dst, std::size_t capacity) {
  return (kernels.*kernel)(src, count, dst, capacity);
}
template <auto kernel>
Progress call_terminated(const TextKernels& kernels, const char* src, char* dst, std::size_t capacity) {
  return (kernels.*kernel)(src, dst, capacity);
}
template <auto kernel>
Progress call_count(const TextKernels& kernels, const char* src, std::size_t count) {
  return (kernels.*kernel)(src, count);
}

using K = TextKernels;
// clang-format off
inline constexpr Direction decoding{1, 4, converted<1, next_of_utf8, as_utf32>, call_counted<&K::decode_within>,
    call_counted<&K::decode>, call_terminated<&K::decode_terminated>, call_count<&K::count_decoded>};
inline constexpr Direction encoding{4, 1, converted<4, next_of_utf32, as_utf8>, call_counted<&K::encode_within>,
    call_counted<&K::encode>, call_terminated<&K::encode_terminated>, call_count<&K::count_encoded>};
inline constexpr Direction utf8_to_utf16{1, 2, converted<1, next_of_utf8, as_utf16>, call_counted<&K::utf8_to_utf16>};
inline constexpr Direction utf16_to_utf8{2, 1, converted<2, next_of_utf16, as_utf8>, call_counted<&K::utf16_to_utf8>};
inline constexpr Direction utf16_to_utf32{2, 4, converted<2, next_of_utf16, as_utf32>, call_counted<&K::utf16_to_utf32>};
inline constexpr Direction utf32_to_utf16{4, 2, converted<4, next_scalar_value, as_utf16>, call_counted<&K::utf32_to_utf16>};
// clang-format on

// A text in memory, counted and, up to its first zero, terminated, with more bytes after the terminator; and what the definition
// makes of both.
class KernelText {
 public:
  KernelText(const Direction& direction, const std::string& text, std::size_t where, std::size_t bytes_after)
      : direction_(direction), expected_(direction.definition(text)), count_(text.size() / direction.source_unit) {
    const std::string open = up_to_zero(text, direction.source_unit);
    open_ = direction.definition(open);
    counted_ = memory().counted.put(text, where);
    terminated_ =
        memory().terminated.put(open + std::string(direction.source_unit, '\0') + std::string(bytes_after, 'k'), where);
  }

  std::size_t needed() const { return expected_.written.size() / direction_.written_unit; }

  // `complete` for a text of which a kernel is to leave nothing.
  void check_count(const Version& version, bool complete) const {
    if (direction_.count == nullptr) return;
    const Progress progress = direction_.count(version.kernels, counted_, count_);
    ASSERT_TRUE(is_progress(expected_, progress, nullptr)) << version.name << ", count";
    if (complete) {
      ASSERT_EQ(progress.read, count_) << version.name << ", count";
    }
  }

  // Into this capacity; `spare` bytes after it let wide text stand at any alignment.
  void check_capacity(const Version& version, std::size_t capacity, std::size_t spare, bool complete) const {
    const std::size_t bytes = capacity * direction_.written_unit + spare;
    char* dst = memory().target.marked(bytes);
    const auto check = [&](const char* how, const Definition& text, Progress progress, bool takes_all) {
      ASSERT_TRUE(progress.written <= capacity && is_progress(text, progress, dst))
          << version.name << ", " << how << ", capacity " << capacity;
      if (takes_all && capacity >= needed()) {
        ASSERT_EQ(progress.read, count_) << version.name << ", " << how << ", capacity " << capacity;
      }
      memory().target.marked(bytes);
    };
    ASSERT_NO_FATAL_FAILURE(
        check("within", expected_, direction_.within(version.kernels, counted_, count_, dst, capacity), complete));
    // A count that reaches beyond the terminator, and beyond the memory.
    ASSERT_NO_FATAL_FAILURE(
        check("beyond", open_, direction_.within(version.kernels, terminated_, count_ + 1000, dst, capacity), false));
    if (direction_.counted == nullptr) return;
    ASSERT_NO_FATAL_FAILURE(
        check("counted", expected_, direction_.counted(version.kernels, counted_, count_, dst, capacity), complete));
    ASSERT_NO_FATAL_FAILURE(
        check("terminated", open_, direction_.terminated(version.kernels, terminated_, dst, capacity), false));
  }

 private:
  struct Memory {
    Arena counted, terminated, target;
  };
  static Memory& memory() {
    static Memory all;
    return all;
  }

  // Right is any number of complete characters, with their bytes in the destination.
  ::testing::AssertionResult is_progress(const Definition& text, const Progress& progress, const char* dst) const {
    const auto read = std::find(text.read.begin(), text.read.end(), progress.read);
    if (read == text.read.end()) return ::testing::AssertionFailure() << "no character ends at " << progress.read;
    const std::size_t bytes = text.ends[static_cast<std::size_t>(read - text.read.begin())];
    if (progress.written * direction_.written_unit != bytes) {
      return ::testing::AssertionFailure() << "wrote " << progress.written << " units for " << bytes << " bytes";
    }
    if (dst == nullptr) return ::testing::AssertionSuccess();
    if (std::memcmp(dst, text.written.data(), bytes) != 0) return ::testing::AssertionFailure() << "other bytes";
    if (!memory().target.untouched_around(dst, bytes)) return ::testing::AssertionFailure() << "spilt";
    return ::testing::AssertionSuccess();
  }

  Direction direction_;
  Definition expected_, open_;
  std::size_t count_;
  const char* counted_;
  const char* terminated_;
};

// A copy reads no more units than the destination has, even where no terminator follows.
inline void check_copy(const Version& version, std::size_t unit, const std::string& text, std::size_t where,
                       std::size_t capacity, std::size_t spare) {
  static Arena source, target;
  const std::string open = up_to_zero(text, unit);
  const std::string closed = open + std::string(unit, '\0');
  const char* src = source.put(closed.substr(0, std::min(closed.size(), capacity * unit)), where);
  char* dst = target.marked(capacity * unit + spare);
  const auto copy = unit == 1 ? version.kernels.copy : version.kernels.copy_wide;
  const Progress progress = copy(src, dst, capacity);
  const std::size_t expected = std::min(open.size(), capacity * unit);
  ASSERT_EQ(progress.read, expected / unit) << version.name << ", unit " << unit << ", capacity " << capacity;
  ASSERT_EQ(progress.written, progress.read) << version.name;
  ASSERT_EQ(std::memcmp(dst, open.data(), expected), 0)
      << version.name << ", unit " << unit << ", capacity " << capacity;
  ASSERT_TRUE(target.untouched_around(dst, expected)) << version.name << ", unit " << unit << ", capacity " << capacity;
}

}  // namespace zvrt_test
