// Six of the exported transforms: those of UTF-8. Each is a source loop that decodes and a sink that encodes, counts and
// bounds.
#include "encoding/transforms.h"

#include <algorithm>

#include "ZVRTDataCnvLib.h"
#include "encoding/text_kernels.h"
#include "encoding/utf16.h"
#include "encoding/utf8.h"
#include "support/units.h"

namespace zvrt {

namespace {

// Wide characters, still counted after the destination is full.
class WideSink {
 public:
  WideSink(void* dst, std::int32_t capacity, std::size_t written = 0)
      : dst_(dst), capacity_(std::max(capacity, 0)), needed_(static_cast<std::int64_t>(written)) {}

  bool put(std::uint32_t code_point) {
    if (!is_full()) {
      if (dst_ != nullptr) store<Wide>(dst_, static_cast<std::size_t>(needed_), code_point);
    } else {
      status_ = ZVRT_RC_TRUNCATED;
    }
    ++needed_;
    return true;
  }

  // Converts the leading part of a text that the kernel takes; returns the bytes taken.
  std::int64_t convert_prefix(const char* src, std::int64_t bytes) {
    const auto count = static_cast<std::size_t>(bytes);
    const bool counts = dst_ == nullptr || is_full();
    const Progress progress = counts ? text_kernels.count_decoded(src, count)
                                     : text_kernels.decode(src, count, static_cast<std::byte*>(dst_) + needed_ * 4,
                                                           static_cast<std::size_t>(capacity_ - needed_));
    if (is_full() && progress.written > 0) status_ = ZVRT_RC_TRUNCATED;
    needed_ += static_cast<std::int64_t>(progress.written);
    return static_cast<std::int64_t>(progress.read);
  }

  TranscodeResult result(Status ended) const {
    const auto written = dst_ == nullptr ? 0 : static_cast<std::int32_t>(std::min<std::int64_t>(needed_, capacity_));
    return {needed_, written, ended != ZVRT_RC_OK ? ended : status_};
  }

 private:
  bool is_full() const { return dst_ != nullptr && needed_ >= capacity_; }

  void* dst_;
  std::int64_t capacity_;
  std::int64_t needed_;
  Status status_ = ZVRT_RC_OK;
};

// UTF-16 units, still counted after a character that did not fit.
class Utf16Sink {
 public:
  Utf16Sink(std::uint16_t* dst, std::int32_t capacity, std::size_t written = 0)
      : dst_(dst), capacity_(std::max(capacity, 0)), needed_(static_cast<std::int64_t>(written)) {}

  bool put(std::uint32_t code_point) {
    if (code_point > last_code_point) {
      status_ = ZVRT_RC_INVALID_CHAR;
      return false;
    }
    const std::int32_t length = utf16_length(code_point);
    if (dst_ != nullptr && needed_ + length <= capacity_) {
      encode_utf16(code_point, dst_bytes() + needed_ * 2);
    } else if (dst_ != nullptr) {
      status_ = ZVRT_RC_TRUNCATED;
      capacity_ = 0;  // a later one-unit character would fit, but must not follow a gap
    }
    needed_ += length;
    return true;
  }

  // Converts the leading part of a text that the kernel takes, as far as it fits; returns the bytes taken.
  std::int64_t convert_prefix(const char* src, std::int64_t bytes) {
    if (dst_ == nullptr || needed_ >= capacity_) return 0;
    const Progress progress = text_kernels.utf8_to_utf16(
        src, static_cast<std::size_t>(bytes), dst_bytes() + needed_ * 2, static_cast<std::size_t>(capacity_ - needed_));
    needed_ += static_cast<std::int64_t>(progress.written);
    return static_cast<std::int64_t>(progress.read);
  }

  TranscodeResult result(Status ended) const { return {needed_, 0, ended != ZVRT_RC_OK ? ended : status_}; }

 private:
  std::byte* dst_bytes() const { return reinterpret_cast<std::byte*>(dst_); }

  std::uint16_t* dst_;
  std::int64_t capacity_;
  std::int64_t needed_ = 0;
  Status status_ = ZVRT_RC_OK;
};

// UTF-8 bytes, still counted after the destination is full: `needed` only grows, so after a sequence that did not fit
// none does.
class Utf8Sink {
 public:
  Utf8Sink(char* dst, std::int32_t capacity, std::size_t written = 0)
      : dst_(dst),
        capacity_(std::max(capacity, 0)),
        needed_(static_cast<std::int64_t>(written)),
        written_(static_cast<std::int32_t>(written)) {}

  void put(std::uint32_t code_point) {
    if (code_point >= utf8_limit) {
      status_ = ZVRT_RC_INVALID_CHAR;
      return;
    }
    if (dst_ == nullptr) return;
    const std::int32_t length = utf8_length(code_point);
    if (needed_ + length <= capacity_) {
      encode_utf8(code_point, length, dst_ + needed_);
      written_ = static_cast<std::int32_t>(needed_ + length);
    } else {
      status_ = ZVRT_RC_TRUNCATED;
    }
    needed_ += length;
  }

  // The same of UTF-16, as far as it fits.
  std::int64_t take_utf16(const void* src, std::int64_t units) {
    if (dst_ == nullptr || needed_ >= capacity_) return 0;
    const Progress progress = text_kernels.utf16_to_utf8(src, static_cast<std::size_t>(units), dst_ + needed_,
                                                         static_cast<std::size_t>(capacity_ - needed_));
    needed_ += static_cast<std::int64_t>(progress.written);
    written_ = static_cast<std::int32_t>(needed_);
    return static_cast<std::int64_t>(progress.read);
  }

  // Converts the leading part of a text that the kernel takes; returns the units taken.
  std::int64_t convert_prefix(const void* src, std::int64_t units) {
    const auto count = static_cast<std::size_t>(units);
    if (dst_ != nullptr && needed_ < capacity_) {
      const Progress progress =
          text_kernels.encode(src, count, dst_ + needed_, static_cast<std::size_t>(capacity_ - needed_));
      needed_ += static_cast<std::int64_t>(progress.written);
      written_ = static_cast<std::int32_t>(needed_);
      return static_cast<std::int64_t>(progress.read);
    }
    const Progress progress = text_kernels.count_encoded(src, count);
    if (dst_ != nullptr && progress.read > 0) {
      needed_ += static_cast<std::int64_t>(progress.written);
      status_ = ZVRT_RC_TRUNCATED;
    }
    return static_cast<std::int64_t>(progress.read);
  }

  void fail(Status status) { status_ = status; }
  TranscodeResult result() const { return {needed_, written_, status_}; }

 private:
  char* dst_;
  std::int64_t capacity_;
  std::int64_t needed_;
  std::int32_t written_;
  Status status_ = ZVRT_RC_OK;
};

// Well-formed text goes through the sink's kernel; what that leaves is decoded one sequence at a time. A kernel looks at
// all it is given, `readable` bytes at most; a sequence is looked at no further than it is well-formed.
template <class Sink>
TranscodeResult decode_text(const char* src, std::int64_t bytes, std::int64_t readable, Sink& sink) {
  for (std::int64_t used = 0; used < bytes;) {
    used += sink.convert_prefix(src + used, readable - used);
    if (used == bytes) break;
    const Utf8Sequence sequence = decode_utf8(src + used, bytes - used);
    if (sequence.kind == Utf8::incomplete) return sink.result(ZVRT_RC_TRUNCATED);
    if (sequence.kind == Utf8::malformed || sequence.code_point == 0) break;
    if (!sink.put(sequence.code_point)) break;
    used += sequence.length;
  }
  return sink.result(ZVRT_RC_OK);
}

TranscodeResult encode_text(const void* src, std::int64_t units, Utf8Sink& sink) {
  const auto* text = static_cast<const std::byte*>(src);
  for (std::int64_t used = 0; used < units; ++used) {
    used += sink.convert_prefix(text + used * 4, units - used);
    if (used == units) break;
    const auto code_point = load<Wide>(text, static_cast<std::size_t>(used));
    if (code_point == 0) break;
    sink.put(code_point);
  }
  return sink.result();
}

Status report(const TranscodeResult& result, std::uint32_t* count) {
  if (count != nullptr) *count = static_cast<std::uint32_t>(result.needed);
  return result.status;
}

std::size_t size(std::int32_t units) { return static_cast<std::size_t>(units); }

// Whether a kernel has taken all of a text that a count or a zero ends.
template <class Unit>
bool is_complete(const Progress& progress, const Unit* src, std::int32_t units) {
  return progress.read == size(units) || load<Unit>(src, progress.read) == 0;
}

}  // namespace

TranscodeResult decode_rest(const char* src, std::int32_t bytes, void* dst, std::int32_t capacity, Progress taken) {
  const auto read = static_cast<std::int32_t>(taken.read);
  WideSink sink(dst, capacity, taken.written);
  return decode_text(src + read, std::int64_t{bytes} - read, std::int64_t{bytes} - read, sink);
}

TranscodeResult encode_rest(const void* src, std::int32_t units, char* dst, std::int32_t capacity, Progress taken) {
  Utf8Sink sink(dst, capacity, taken.written);
  return encode_text(static_cast<const std::byte*>(src) + taken.read * 4, units - static_cast<std::int64_t>(taken.read),
                     sink);
}

TerminatedResult decode_rest(const char* src, void* dst, std::int32_t capacity, Progress taken) {
  const auto read = static_cast<std::int32_t>(taken.read);
  const std::int32_t length = read + std::min(length_of(src + read), INT32_MAX - read);
  return {decode_rest(src, length, dst, capacity, taken), length};
}

TerminatedResult encode_rest(const void* src, char* dst, std::int32_t capacity, Progress taken) {
  const auto read = static_cast<std::int32_t>(taken.read);
  const void* left = static_cast<const std::byte*>(src) + taken.read * 4;
  const std::int32_t length = read + std::min(length_of(left), INT32_MAX - read);
  return {encode_rest(src, length, dst, capacity, taken), length};
}

namespace {

// What is left of a text whose count may reach beyond the memory of a terminated text.
[[gnu::noinline]] TranscodeResult decode_within_rest(const char* src, std::int32_t bytes, void* dst,
                                                     std::int32_t capacity, Progress taken) {
  const auto read = static_cast<std::int32_t>(taken.read);
  const std::int32_t readable = length_within(src + read, bytes - read);
  WideSink sink(dst, capacity, taken.written);
  return decode_text(src + read, std::int64_t{bytes} - read, readable, sink);
}

[[gnu::noinline]] TranscodeResult encode_within_rest(const void* src, std::int32_t units, char* dst,
                                                     std::int32_t capacity, Progress taken) {
  const void* left = static_cast<const std::byte*>(src) + taken.read * 4;
  const auto read = static_cast<std::int32_t>(taken.read);
  return encode_rest(src, read + length_within(left, units - read), dst, capacity, taken);
}

TranscodeResult decode_within(const char* src, std::int32_t bytes, void* dst, std::int32_t capacity) {
  if (dst == nullptr || bytes <= 0 || capacity <= 0)
    return decode_within_rest(src, std::max(bytes, 0), dst, capacity, {});
  const Progress progress =
      text_kernels.decode_within(src, static_cast<std::size_t>(bytes), dst, static_cast<std::size_t>(capacity));
  if (progress.read == static_cast<std::size_t>(bytes) || src[progress.read] == 0) [[likely]]
    return complete(progress).result;
  return decode_within_rest(src, bytes, dst, capacity, progress);
}

TranscodeResult encode_within(const void* src, std::int32_t units, char* dst, std::int32_t capacity) {
  if (dst == nullptr || units <= 0 || capacity <= 0)
    return encode_within_rest(src, std::max(units, 0), dst, capacity, {});
  const Progress progress =
      text_kernels.encode_within(src, static_cast<std::size_t>(units), dst, static_cast<std::size_t>(capacity));
  if (progress.read == static_cast<std::size_t>(units) || load<Wide>(src, progress.read) == 0) [[likely]]
    return complete(progress).result;
  return encode_within_rest(src, units, dst, capacity, progress);
}

}  // namespace

}  // namespace zvrt

// The caller's count may exceed the memory of a terminated text: nothing after a terminator is read.
uint32_t Convert8To32(wchar_t* dst, int32_t dstUnits, const char* src, int32_t srcBytes, uint32_t* count) {
  return zvrt::report(zvrt::decode_within(src, srcBytes, dst, dstUnits), count);
}

uint32_t Convert8To16(uint16_t* dst, int32_t dstUnits, const char* src, int32_t srcBytes, uint32_t* count) {
  zvrt::Progress progress{};
  if (dst != nullptr && srcBytes > 0 && dstUnits > 0) [[likely]] {
    progress = zvrt::text_kernels.utf8_to_utf16(src, zvrt::size(srcBytes), dst, zvrt::size(dstUnits));
    if (zvrt::is_complete(progress, src, srcBytes)) return zvrt::report(zvrt::complete(progress).result, count);
  }
  zvrt::Utf16Sink sink(dst, dstUnits, progress.written);
  const auto read = static_cast<std::int64_t>(progress.read);
  return zvrt::report(zvrt::decode_text(src + read, srcBytes - read, srcBytes - read, sink), count);
}

uint32_t Convert32To8(char* dst, int32_t dstBytes, const wchar_t* src, int32_t srcUnits, uint32_t* count) {
  return zvrt::report(zvrt::encode_within(src, srcUnits, dst, dstBytes), count);
}

uint32_t Convert16To8(char* dst, int32_t dstBytes, const uint16_t* src, int32_t srcUnits, uint32_t* count) {
  zvrt::Progress progress{};
  if (dst != nullptr && srcUnits > 0 && dstBytes > 0) [[likely]] {
    progress = zvrt::text_kernels.utf16_to_utf8(src, zvrt::size(srcUnits), dst, zvrt::size(dstBytes));
    if (zvrt::is_complete(progress, src, srcUnits)) return zvrt::report(zvrt::complete(progress).result, count);
  }
  zvrt::Utf8Sink sink(dst, dstBytes, progress.written);
  for (auto used = static_cast<std::int64_t>(progress.read); used < srcUnits;) {
    used += sink.take_utf16(reinterpret_cast<const std::byte*>(src) + used * 2, srcUnits - used);
    if (used == srcUnits) break;
    const void* at = reinterpret_cast<const std::byte*>(src) + used * 2;
    const zvrt::Utf16Sequence sequence = zvrt::decode_utf16(at, srcUnits - used);
    if (!sequence.valid) {
      sink.fail(ZVRT_RC_INVALID_CHAR);
      break;
    }
    if (sequence.code_point == 0) break;
    sink.put(sequence.code_point);
    used += sequence.length;
  }
  return zvrt::report(sink.result(), count);
}

int32_t ConvertFrom8(uint32_t* codePoint, const char** position, int32_t remaining, uint32_t* status,
                     uint32_t* consumed) {
  constexpr uint32_t malformed_mark = 0xFFFFFFFF;
  const zvrt::Utf8Sequence sequence = zvrt::decode_utf8(*position, remaining);
  const bool terminator = **position == 0;
  *codePoint = sequence.code_point;
  *consumed = terminator                               ? 0
              : sequence.kind == zvrt::Utf8::malformed ? malformed_mark
                                                       : static_cast<uint32_t>(sequence.length);
  *position += sequence.kind == zvrt::Utf8::character ? sequence.length : 1;
  if (sequence.kind != zvrt::Utf8::incomplete) return 1;
  *status = ZVRT_RC_TRUNCATED;
  return 0;
}

int32_t ConvertTo8(char** position, int32_t capacity, uint32_t codePoint, uint32_t* status, uint32_t* needed) {
  if (codePoint >= zvrt::utf8_limit) {
    *status = ZVRT_RC_INVALID_CHAR;
    return 0;
  }
  if (*position == nullptr) return 1;
  const int32_t length = zvrt::utf8_length(codePoint);
  *needed += static_cast<uint32_t>(length);
  if (capacity < length) {
    *status = ZVRT_RC_TRUNCATED;
    return 0;
  }
  zvrt::encode_utf8(codePoint, length, *position);
  *position += length;
  return 1;
}
