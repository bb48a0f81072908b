// The six transforms by way of lists of code points, and a bench that holds the exported ones against them on guarded
// memory.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "ZVRTDataCnvLib.h"
#include "encoding/reference.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

template <class Unit>
void append(std::string& bytes, std::uint32_t unit) {
  const auto value = static_cast<Unit>(unit);
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <class Unit>
std::string units(const CodePoints& values) {
  std::string bytes;
  for (const std::uint32_t value : values) append<Unit>(bytes, value);
  return bytes;
}

template <class Unit>
CodePoints values(const std::string& bytes) {
  CodePoints list;
  for (std::size_t i = 0; i + sizeof(Unit) <= bytes.size(); i += sizeof(Unit)) {
    Unit unit;
    std::memcpy(&unit, bytes.data() + i, sizeof unit);
    list.push_back(unit);
  }
  return list;
}

// A capacity below 0 stands for a null destination.
constexpr int null_destination = -1;

inline Outcome reference_8_to_32(const std::string& src, int capacity) {
  const Decoded text = decode(src);
  Outcome outcome{"", static_cast<std::uint32_t>(text.characters.size()), text.cut_off ? 1609U : 0U};
  for (std::size_t i = 0; capacity >= 0 && i < text.characters.size(); ++i) {
    if (static_cast<int>(i) < capacity) {
      append<std::uint32_t>(outcome.bytes, text.characters[i]);
    } else {
      outcome.status = 1609;
    }
  }
  return outcome;
}

inline void append_utf16(std::string& bytes, std::uint32_t character) {
  if (character < 0x10000) return append<std::uint16_t>(bytes, character);
  append<std::uint16_t>(bytes, 0xD800 + (character - 0x10000) / 1024);
  append<std::uint16_t>(bytes, 0xDC00 + (character - 0x10000) % 1024);
}

inline Outcome reference_8_to_16(const std::string& src, int capacity) {
  const Decoded text = decode(src);
  Outcome outcome;
  for (const std::uint32_t character : text.characters) {
    if (character > 0x10FFFF) {
      outcome.status = 22;
      return outcome;
    }
    outcome.count += character < 0x10000 ? 1 : 2;
    if (capacity < 0) continue;
    if (static_cast<int>(outcome.count) > capacity) outcome.status = 1609;
    if (outcome.status == 0) append_utf16(outcome.bytes, character);
  }
  if (text.cut_off) outcome.status = 1609;
  return outcome;
}

inline void encode_into(Outcome& outcome, std::uint32_t character, int capacity) {
  if (character >= 0x80000000) {
    outcome.status = 22;
    return;
  }
  if (capacity < 0) return;
  const std::string form = encode(character);
  outcome.count += static_cast<std::uint32_t>(form.size());
  if (static_cast<int>(outcome.count) <= capacity) {
    outcome.bytes += form;
  } else {
    outcome.status = 1609;
  }
}

inline Outcome reference_32_to_8(const std::string& src, int capacity) {
  Outcome outcome;
  for (const std::uint32_t character : values<std::uint32_t>(src)) {
    if (character == 0) break;
    encode_into(outcome, character, capacity);
  }
  return outcome;
}

// The code points of a UTF-16 text up to its end, its terminator or a broken surrogate.
struct Paired {
  CodePoints characters;
  bool broken = false;
};

inline Paired pair_up(const std::string& src) {
  Paired paired;
  const CodePoints list = values<std::uint16_t>(src);
  for (std::size_t i = 0; i < list.size() && list[i] != 0; ++i) {
    const auto within = [](std::uint32_t unit, std::uint32_t first) { return unit >= first && unit < first + 0x400; };
    if (within(list[i], 0xD800) && i + 1 < list.size() && within(list[i + 1], 0xDC00)) {
      paired.characters.push_back((list[i] - 0xD800) * 0x400 + (list[i + 1] - 0xDC00) + 0x10000);
      ++i;
    } else if (list[i] >= 0xD800 && list[i] <= 0xDFFF) {
      paired.broken = true;
      return paired;
    } else {
      paired.characters.push_back(list[i]);
    }
  }
  return paired;
}

inline Outcome reference_16_to_8(const std::string& src, int capacity) {
  const Paired text = pair_up(src);
  Outcome outcome;
  for (const std::uint32_t character : text.characters) encode_into(outcome, character, capacity);
  if (text.broken) outcome.status = 22;
  return outcome;
}

inline Outcome reference_16_to_32(const std::string& src, int capacity) {
  const Paired text = pair_up(src);
  const auto whole = static_cast<int>(text.characters.size());
  const bool fits = capacity < 0 || whole <= capacity;
  Outcome outcome;
  outcome.count = static_cast<std::uint32_t>(fits ? whole : capacity);
  outcome.status = !fits ? 1609 : text.broken ? 22 : 0;
  if (capacity < 0) return outcome;
  for (std::uint32_t i = 0; i < outcome.count; ++i) append<std::uint32_t>(outcome.bytes, text.characters[i]);
  if (outcome.status == 0 && whole < capacity) append<std::uint32_t>(outcome.bytes, 0);
  return outcome;
}

inline Outcome reference_32_to_16(const std::string& src, int capacity) {
  Outcome outcome;
  for (const std::uint32_t character : values<std::uint32_t>(src)) {
    if (character == 0) break;
    const int length = character < 0x10000 ? 1 : 2;
    const bool carried = character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    if (!carried || (capacity >= 0 && static_cast<int>(outcome.count) + length > capacity)) {
      outcome.status = carried ? 1609 : 22;
      return outcome;
    }
    if (capacity >= 0) append_utf16(outcome.bytes, character);
    outcome.count += static_cast<std::uint32_t>(length);
  }
  if (capacity >= 0 && static_cast<int>(outcome.count) < capacity) append<std::uint16_t>(outcome.bytes, 0);
  return outcome;
}

struct Transform {
  const char* name;
  int src_unit, dst_unit;
  std::uint32_t (*convert)(const void* src, int length, void* dst, int capacity, std::uint32_t* count);
  Outcome (*reference)(const std::string& src, int capacity);
};

using Half = std::uint16_t;

// The two orders of arguments: destination first, and source first.
template <class Dst, class Src>
std::uint32_t apply(std::uint32_t (*convert)(Dst*, int, const Src*, int, std::uint32_t*), const void* src, int length,
                    void* dst, int capacity, std::uint32_t* count) {
  return convert(static_cast<Dst*>(dst), capacity, static_cast<const Src*>(src), length, count);
}
template <class Dst, class Src>
std::uint32_t apply(std::uint32_t (*convert)(const Src*, int, Dst*, int, std::uint32_t*), const void* src, int length,
                    void* dst, int capacity, std::uint32_t* count) {
  return convert(static_cast<const Src*>(src), length, static_cast<Dst*>(dst), capacity, count);
}
template <auto convert>
std::uint32_t call(const void* src, int length, void* dst, int capacity, std::uint32_t* count) {
  return apply(convert, src, length, dst, capacity, count);
}

const Transform transforms[] = {
    {"Convert8To32", 1, 4, call<Convert8To32>, reference_8_to_32},
    {"Convert8To16", 1, 2, call<Convert8To16>, reference_8_to_16},
    {"Convert32To8", 4, 1, call<Convert32To8>, reference_32_to_8},
    {"Convert16To8", 2, 1, call<Convert16To8>, reference_16_to_8},
    {"Convert16To32", 2, 4, call<Convert16To32>, reference_16_to_32},
    {"Convert32To16", 4, 2, call<Convert32To16>, reference_32_to_16},
};

inline const Transform& transform(const std::string& name) {
  return *std::find_if(std::begin(transforms), std::end(transforms),
                       [&](const Transform& t) { return t.name == name; });
}

// Source and destination flush against pages that cannot be touched, whatever their alignment then is.
class Bench {
 public:
  // The count given is `absent` units larger than the text: nothing after its terminator is read.
  testing::AssertionResult agrees(const Transform& t, const std::string& src, int capacity, int absent = 0) {
    unsigned char* const from = source_.tail(src.size());
    std::memcpy(from, src.data(), src.size());
    const auto bytes = static_cast<std::size_t>(std::max(capacity, 0) * t.dst_unit);
    unsigned char* const into = destination_.tail(bytes);
    const std::size_t before = std::min<std::size_t>(destination_.size() - bytes, 16);
    std::memset(into - before, GuardedBuffer::mark, bytes + before);
    Outcome outcome;
    outcome.count = 0xDEADBEEF;
    outcome.status = t.convert(from, static_cast<int>(src.size()) / t.src_unit + absent,
                               capacity == null_destination ? nullptr : into, std::max(capacity, 0), &outcome.count);
    const Outcome expected =
        t.reference(src + std::string(static_cast<std::size_t>(absent * t.src_unit), 'k'), capacity);
    outcome.bytes.assign(reinterpret_cast<const char*>(into), std::min(expected.bytes.size(), bytes));
    const auto marked = [](unsigned char byte) { return byte == GuardedBuffer::mark; };
    const bool untouched =
        std::all_of(into + outcome.bytes.size(), into + bytes, marked) && std::all_of(into - before, into, marked);
    if (outcome == expected && untouched) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure() << t.name << " capacity " << capacity << ", status " << outcome.status
                                               << " for " << expected.status << ", count " << outcome.count << " for "
                                               << expected.count << (untouched ? "" : ", wrote too much") << ", source";
    for (const char c : src) failure << ' ' << std::hex << static_cast<int>(static_cast<unsigned char>(c));
    return failure;
  }

  void expect_at_every_capacity(const Transform& t, const std::string& src) {
    const auto needed = static_cast<int>(t.reference(src, null_destination).count);
    const int most = std::max(needed, static_cast<int>(t.reference(src, 1 << 20).count)) + 8;
    for (int capacity = null_destination; capacity <= most; ++capacity) {
      ASSERT_TRUE(agrees(t, src, capacity));
    }
  }

 private:
  GuardedBuffer source_{4096};
  GuardedBuffer destination_{16384};
};

}  // namespace zvrt_test
