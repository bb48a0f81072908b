// Texts end to end, without slots: what the columns of an Arrow array hold.
//
//   |first|second||fourth|     ends: 5, 11, 11, 17
//
// A kernel takes rows as the direct ones do (direct.h) and leaves what reader, step and writer leave in slots, one text
// after the other. It returns how many leading rows it took.
#pragma once

#include <cstddef>
#include <cstdint>

#include "columns/direct.h"
#include "support/inlined.h"
#include "support/wraps.h"

namespace zvrt::columns {

// Where the next text goes and where it begins as `ends` count, which receives the end of each. Each text has room for
// joined_bytes(), and after the last one's there is room for `joined_slack`, in which a kernel may leave anything.
struct JoinedTexts {
  std::byte* at;
  std::uint32_t offset;  // may wrap around: whoever reads the ends knows how many bytes they can be
  std::int32_t* ends;
  std::int64_t empty = 0;

  // A text of so many bytes stands there.
  ZVRT_INLINED void add(std::int32_t bytes) {
    *ends = static_cast<std::int32_t>(wrapped_sum(offset, static_cast<std::uint32_t>(bytes)));
    skip(1, bytes, static_cast<std::int32_t>(bytes == 0));
  }
  // Goes after texts of so many bytes whose ends are there.
  ZVRT_INLINED void skip(std::int32_t count, std::int32_t bytes, std::int32_t empty_ones) {
    at += bytes;
    offset = wrapped_sum(offset, static_cast<std::uint32_t>(bytes));
    ends += count;
    empty += empty_ones;
  }

 private:
  ZVRT_WRAPS ZVRT_INLINED static std::uint32_t wrapped_sum(std::uint32_t a, std::uint32_t b) { return a + b; }
};

constexpr std::int32_t joined_slack = 64;

// The most that one of these texts needs: three bytes for a character, or 19 digits, a sign and a point.
inline std::int64_t joined_bytes(const Type& from) {
  return from.form == Form::text ? 3 * std::int64_t{from.length} : 21;
}

// The kernel that writes a pair's texts end to end, or null. Its plan's `direct` was found.
Join* find_joined(const ZVRTPlan& plan);

// ASCII at once, of a page's bytes and of UTF-8.
struct JoinKernels {
  Join* page;
  Join* utf8;
};
extern const JoinKernels join_kernels_avx512;

}  // namespace zvrt::columns
