// Between UTF-16 and the other two one character at a time, and the loop that tries a step of several before.
#pragma once

#include <cstddef>
#include <cstdint>

#include "encoding/text_kernels.h"
#include "encoding/utf16.h"
#include "encoding/utf8.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt {

// Each kernel's own: functions of this file that are not inlined must not be shared among levels.
namespace {  // NOLINT(cert-dcl59-cpp,google-build-namespaces)

// A source, a destination, and how far a run has got in both.
struct Texts {
  const char* src;
  std::size_t count;
  char* dst;
  std::size_t capacity;
  std::size_t read = 0;
  std::size_t written = 0;

  // Whether `units` units may be read together and their results fit.
  template <std::size_t source_unit>
  bool has_block(std::size_t units) const {
    return count - read >= units && capacity - written >= units &&
           may_read_ahead(src + read * source_unit, units * source_unit);
  }
  void advance(std::size_t units) {
    read += units;
    written += units;
  }
  Progress progress() const { return {read, written}; }
};

// One character of UTF-8 as it is read here: well-formed and not zero; length 0 for anything else.
inline Utf8Sequence next_of_utf8(const Texts& texts) {
  Utf8Sequence sequence = decode_utf8(texts.src + texts.read, static_cast<std::int64_t>(texts.count - texts.read));
  if (sequence.kind != Utf8::character || sequence.code_point > last_code_point) sequence.length = 0;
  return sequence;
}

inline bool put_utf16(Texts& texts, std::uint32_t code_point, std::size_t read) {
  const auto units = static_cast<std::size_t>(utf16_length(code_point));
  if (code_point == 0 || texts.capacity - texts.written < units) return false;
  encode_utf16(code_point, texts.dst + texts.written * 2);
  texts.read += read;
  texts.written += units;
  return true;
}

inline bool one_from_utf8(Texts& texts) {
  const Utf8Sequence sequence = next_of_utf8(texts);
  return sequence.length != 0 && put_utf16(texts, sequence.code_point, static_cast<std::size_t>(sequence.length));
}

inline bool one_from_utf32(Texts& texts) {
  const Wide character = load<Wide>(texts.src, texts.read);
  return !is_surrogate(character) && character <= last_code_point && put_utf16(texts, character, 1);
}

inline Utf16Sequence next_of_utf16(const Texts& texts) {
  return decode_utf16(texts.src + texts.read * 2, static_cast<std::int64_t>(texts.count - texts.read));
}

inline bool one_to_utf8(Texts& texts) {
  const Utf16Sequence sequence = next_of_utf16(texts);
  if (!sequence.valid || sequence.code_point == 0) return false;
  const std::int32_t length = utf8_length(sequence.code_point);
  if (texts.capacity - texts.written < static_cast<std::size_t>(length)) return false;
  encode_utf8(sequence.code_point, length, texts.dst + texts.written);
  texts.read += static_cast<std::size_t>(sequence.length);
  texts.written += static_cast<std::size_t>(length);
  return true;
}

inline bool one_to_utf32(Texts& texts) {
  const Utf16Sequence sequence = next_of_utf16(texts);
  if (!sequence.valid || sequence.code_point == 0) return false;
  store<Wide>(texts.dst, texts.written, sequence.code_point);
  texts.read += static_cast<std::size_t>(sequence.length);
  ++texts.written;
  return true;
}

// Blocks while they go, then some characters one by one, before blocks are tried again.
template <bool (*block)(Texts&), bool (*one)(Texts&)>
Progress convert(Texts texts) {
  constexpr unsigned stretch = 16;
  while (texts.read < texts.count && texts.written < texts.capacity) {
    while (block(texts)) {
    }
    for (unsigned tried = 0; tried < stretch && texts.read < texts.count; ++tried) {
      if (texts.written == texts.capacity || !one(texts)) return texts.progress();
    }
  }
  return texts.progress();
}

inline Texts texts_of(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return {static_cast<const char*>(src), count, static_cast<char*>(dst), capacity};
}

}  // namespace

}  // namespace zvrt
