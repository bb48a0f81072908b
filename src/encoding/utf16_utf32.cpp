// The two exported transforms between UTF-16 and UTF-32. They stop where the destination is full, which the transforms of
// UTF-8 do not, and terminate the text where all of it was converted and a unit is left for it.
#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "encoding/text_kernels.h"
#include "encoding/utf16.h"
#include "support/units.h"

namespace zvrt {

namespace {

// Stops where the destination is full and counts what was written; a null destination has no bounds and is not written.
template <class Unit>
struct StoppingSink {
  void* dst;
  std::int64_t capacity;
  std::int64_t count = 0;

  bool has_capacity(std::int32_t units) const { return dst == nullptr || capacity - count >= units; }
  void* position() const { return static_cast<std::byte*>(dst) + static_cast<std::size_t>(count) * sizeof(Unit); }
  // Converts the part of a text after `used` units that the kernel takes, as far as it fits; returns the units taken.
  template <class Kernel>
  std::int64_t convert_prefix(Kernel kernel, const void* src, std::int64_t units, std::int64_t used) {
    constexpr std::int64_t source_unit = 6 - std::int64_t{sizeof(Unit)};  // 2 bytes to 4, or 4 to 2
    if (dst == nullptr || count >= capacity || used >= units) return 0;
    const Progress progress =
        kernel(static_cast<const std::byte*>(src) + used * source_unit, static_cast<std::size_t>(units - used),
               position(), static_cast<std::size_t>(capacity - count));
    count += static_cast<std::int64_t>(progress.written);
    return static_cast<std::int64_t>(progress.read);
  }
  Status terminate() const {
    if (dst != nullptr && count < capacity) store<Unit>(dst, static_cast<std::size_t>(count), Unit{0});
    return ZVRT_RC_OK;
  }
};

[[gnu::noinline]] Status convert_utf16(const void* src, std::int64_t used, std::int64_t units,
                                       StoppingSink<Wide>& sink) {
  while (used < units) {
    used += sink.convert_prefix(text_kernels.utf16_to_utf32, src, units, used);
    if (used == units) break;
    const void* at = static_cast<const std::byte*>(src) + used * 2;
    const Utf16Sequence sequence = decode_utf16(at, units - used);
    if (!sequence.valid) return ZVRT_RC_INVALID_CHAR;
    if (sequence.code_point == 0) break;
    if (!sink.has_capacity(1)) return ZVRT_RC_TRUNCATED;
    if (sink.dst != nullptr) store<Wide>(sink.position(), 0, sequence.code_point);
    ++sink.count;
    used += sequence.length;
  }
  return sink.terminate();
}

[[gnu::noinline]] Status convert_utf32(const void* src, std::int64_t used, std::int64_t units,
                                       StoppingSink<std::uint16_t>& sink) {
  for (; used < units; ++used) {
    used += sink.convert_prefix(text_kernels.utf32_to_utf16, src, units, used);
    if (used == units) break;
    const auto code_point = load<Wide>(src, static_cast<std::size_t>(used));
    if (code_point == 0) break;
    if (is_surrogate(code_point) || code_point > last_code_point) return ZVRT_RC_INVALID_CHAR;
    const std::int32_t length = utf16_length(code_point);
    if (!sink.has_capacity(length)) return ZVRT_RC_TRUNCATED;
    if (sink.dst != nullptr) encode_utf16(code_point, sink.position());
    sink.count += length;
  }
  return sink.terminate();
}

// Most texts are complete once the kernel has taken what it takes of them; `rest` converts the others.
template <class From, class Unit, class Kernel, class Rest>
[[gnu::always_inline]] inline Status convert(Kernel kernel, Rest rest, const void* src, std::int32_t units, void* dst,
                                             std::int32_t capacity, std::uint32_t* count) {
  Progress progress;
  if (dst != nullptr && units > 0 && capacity > 0) [[likely]] {
    progress = kernel(src, static_cast<std::size_t>(units), dst, static_cast<std::size_t>(capacity));
    if (progress.read == static_cast<std::size_t>(units) || load<From>(src, progress.read) == 0) [[likely]] {
      if (progress.written < static_cast<std::size_t>(capacity)) store<Unit>(dst, progress.written, Unit{0});
      if (count != nullptr) *count = static_cast<std::uint32_t>(progress.written);
      return ZVRT_RC_OK;
    }
  }
  StoppingSink<Unit> sink{dst, capacity, static_cast<std::int64_t>(progress.written)};
  const Status status = rest(src, static_cast<std::int64_t>(progress.read), units, sink);
  if (count != nullptr) *count = static_cast<std::uint32_t>(sink.count);
  return status;
}

}  // namespace

}  // namespace zvrt

uint32_t Convert16To32(const uint16_t* src, int32_t srcUnits, wchar_t* dst, int32_t dstUnits, uint32_t* count) {
  return zvrt::convert<uint16_t, zvrt::Wide>(zvrt::text_kernels.utf16_to_utf32, zvrt::convert_utf16, src, srcUnits, dst,
                                             dstUnits, count);
}

uint32_t Convert32To16(const wchar_t* src, int32_t srcUnits, uint16_t* dst, int32_t dstUnits, uint32_t* count) {
  return zvrt::convert<zvrt::Wide, uint16_t>(zvrt::text_kernels.utf32_to_utf16, zvrt::convert_utf32, src, srcUnits, dst,
                                             dstUnits, count);
}
