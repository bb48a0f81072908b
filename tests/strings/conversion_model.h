// The 21 conversions as documented: one row per member, and a reference for what a call leaves in
// every byte of its destination.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "encoding/reference.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

enum class Kind { chars, varchar, sz, wchars, wvarchar, wsz };
constexpr bool is_wide(Kind kind) { return kind == Kind::wchars || kind == Kind::wvarchar || kind == Kind::wsz; }
constexpr bool is_prefixed(Kind kind) { return kind == Kind::varchar || kind == Kind::wvarchar; }

// What becomes of text that fills the destination exactly.
enum class Full { is_complete, lacks_terminator, loses_last_character };

// How a member differs from its siblings.
struct Departures {
  bool accepts_empty = false;
  bool counts_copied = false;    // lengths are those of what was copied
  bool out_in_bytes = false;     // of wide terminated text, whose length is in characters elsewhere
  bool zero_ends_field = false;  // the rest of a wide field after a zero character becomes zeros
  bool reports_empty = false;    // a field too short for one character is refused after outLen is set to 0
};
struct Member {
  const char* name;
  ZVRTConversion* convert;
  Kind from, into;
  Full full;
  Departures departures = {};
};

constexpr Departures accepts_empty{.accepts_empty = true}, counts_copied{.counts_copied = true},
    accepts_and_counts{.accepts_empty = true, .counts_copied = true};
constexpr Full complete = Full::is_complete, lacks = Full::lacks_terminator, loses = Full::loses_last_character;
// clang-format off
const Member members[] = {
    {"CharToVarcharSz",           ZVRTCnvCharToVarcharSz,           Kind::chars,    Kind::sz,       lacks, counts_copied},
    {"CharToWVarcharSz",          ZVRTCnvCharToWVarcharSz,          Kind::chars,    Kind::wsz,      loses},
    {"WCharToVarcharSz",          ZVRTCnvWCharToVarcharSz,          Kind::wchars,   Kind::sz,       complete, {.reports_empty = true}},
    {"WCharToWVarcharSz",         ZVRTCnvWCharToWVarcharSz,         Kind::wchars,   Kind::wsz,      loses, {.zero_ends_field = true}},
    {"VarcharToVarcharSz",        ZVRTCnvVarcharToVarcharSz,        Kind::varchar,  Kind::sz,       complete},
    {"VarcharToWVarcharSz",       ZVRTCnvVarcharToWVarcharSz,       Kind::varchar,  Kind::wsz,      loses},
    {"WVarcharToVarcharSz",       ZVRTCnvWVarcharToVarcharSz,       Kind::wvarchar, Kind::sz,       complete},
    {"WVarcharToWVarcharSz",      ZVRTCnvWVarcharToWVarcharSz,      Kind::wvarchar, Kind::wsz,      loses},
    {"VarcharSzToVarcharSz",      ZVRTCnvVarcharSzToVarcharSz,      Kind::sz,       Kind::sz,       lacks, accepts_and_counts},
    {"VarcharSzToWVarcharSz",     ZVRTCnvVarcharSzToWVarcharSz,     Kind::sz,       Kind::wsz,      loses},
    {"WVarcharSzToWVarcharSz",    ZVRTCnvWVarcharSzToWVarcharSz,    Kind::wsz,      Kind::wsz,      loses},
    {"WVarcharSzToWVarcharSzOut", ZVRTCnvWVarcharSzToWVarcharSzOut, Kind::wsz,      Kind::wsz,      loses, {.out_in_bytes = true}},
    {"VarcharSzToChar",           ZVRTCnvVarcharSzToChar,           Kind::sz,       Kind::chars,    complete, accepts_and_counts},
    {"WVarcharSzToChar",          ZVRTCnvWVarcharSzToChar,          Kind::wsz,      Kind::chars,    complete, accepts_empty},
    {"VarcharSzToWChar",          ZVRTCnvVarcharSzToWChar,          Kind::sz,       Kind::wchars,   complete},
    {"WVarcharSzToWChar",         ZVRTCnvWVarcharSzToWChar,         Kind::wsz,      Kind::wchars,   complete},
    {"VarcharSzToVarchar",        ZVRTCnvVarcharSzToVarchar,        Kind::sz,       Kind::varchar,  complete, accepts_empty},
    {"WVarcharSzToVarchar",       ZVRTCnvWVarcharSzToVarchar,       Kind::wsz,      Kind::varchar,  complete, accepts_empty},
    {"VarcharSzToWVarchar",       ZVRTCnvVarcharSzToWVarchar,       Kind::sz,       Kind::wvarchar, complete, accepts_empty},
    {"WVarcharSzToWVarchar",      ZVRTCnvWVarcharSzToWVarchar,      Kind::wsz,      Kind::wvarchar, complete},
    {"WVarcharSzToVarcharSz",     ZVRTCnvWVarcharSzToVarcharSz,     Kind::wsz,      Kind::sz,       complete, accepts_empty},
};
// clang-format on

inline std::string wide(const CodePoints& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * 4};
}

// A source: its buffer, its length as the caller gives it, and its units.
struct Source {
  std::string buffer;
  std::optional<std::int32_t> given;
  std::vector<std::uint32_t> units;
};

inline Source source_of(Kind kind, const std::vector<std::uint32_t>& text) {
  std::vector<std::uint32_t> units = text;
  if (kind == Kind::sz || kind == Kind::wsz) units.erase(std::find(units.begin(), units.end(), 0U), units.end());
  const std::string bytes = is_wide(kind) ? wide(units) : std::string(units.begin(), units.end());
  switch (kind) {
    case Kind::chars:
    case Kind::wchars: return {bytes, static_cast<std::int32_t>(bytes.size()), units};
    case Kind::varchar:
    case Kind::wvarchar: return {prefix_of(bytes.size()) + bytes, 0, units};
    case Kind::sz: return {bytes + '\0', 0, units};
    case Kind::wsz: return {bytes + std::string(4, '\0'), 0, units};
  }
  return {};
}

struct Expected {
  std::uint32_t status = 0;
  std::optional<std::uint32_t> out_len;
  std::int32_t src_len = 0;
  std::string written;  // the leading bytes of the destination
};

// What moving the source's units into `capacity` units gives: units needed, those that are there, and the step's status.
struct Step {
  std::vector<std::uint32_t> there;
  std::size_t needed = 0;
  std::uint32_t status = 0;
};

inline Step step_of(const Member& member, std::vector<std::uint32_t> units, std::size_t capacity) {
  Step step;
  const auto until_zero = [&units] { units.erase(std::find(units.begin(), units.end(), 0U), units.end()); };
  if (is_wide(member.from) == is_wide(member.into)) {
    step.needed = units.size();
    if (member.departures.counts_copied) step.needed = std::min(units.size(), capacity + 1);
    if (member.departures.zero_ends_field) {
      const std::size_t length = units.size();
      until_zero();
      units.resize(length, 0);
    }
    units.resize(std::min(units.size(), capacity));
    step.there = units;
    return step;
  }
  if (is_wide(member.into)) {
    const Decoded text = decode(std::string(units.begin(), units.end()));
    step.needed = text.characters.size();
    step.there = text.characters;
    step.there.resize(std::min(step.needed, capacity));
    step.status = text.cut_off || step.needed > capacity ? 1609 : 0;
    return step;
  }
  until_zero();
  for (const std::uint32_t character : units) {
    if (character >= 0x80000000) {
      step.status = 22;
      continue;
    }
    const std::string form = encode(character);
    step.needed += form.size();
    if (step.needed <= capacity) {
      step.there.insert(step.there.end(), form.begin(), form.end());
    } else {
      step.status = 1609;
    }
  }
  return step;
}

inline Expected model(const Member& member, const Source& source, std::int32_t dst_size) {
  Expected expected;
  expected.src_len = source.given.value_or(0);
  const bool carries_length = member.from != Kind::chars && member.from != Kind::wchars;
  if (source.units.empty() && !member.departures.accepts_empty) return {30, {}, expected.src_len, ""};
  if (is_prefixed(member.into) && dst_size < 2) return {1609, {}, expected.src_len, ""};
  const std::size_t unit = is_wide(member.into) ? 4 : 1;
  const std::size_t header = is_prefixed(member.into) ? 2 : 0;
  std::size_t capacity = dst_size < 0 ? 0 : (static_cast<std::size_t>(dst_size) - header) / unit;
  if (header > 0) capacity = std::min<std::size_t>(capacity, unit == 4 ? 8191 : 32767);

  Step step = step_of(member, source.units, capacity);
  expected.status = step.status;
  std::vector<std::uint32_t> content = step.there;
  const bool copies = is_wide(member.from) == is_wide(member.into);
  if (step.status == 0) {
    if (step.needed > capacity) {
      expected.status = 1609;
    } else if (step.needed == capacity) {
      expected.status = member.full == complete ? 0 : 1609;
      if (member.full == loses && capacity > 0) content.back() = 0;
    } else if (member.into == Kind::sz || member.into == Kind::wsz) {
      content.push_back(0);
    }
  }
  const std::string bytes = unit == 4 ? wide(content) : std::string(content.begin(), content.end());
  expected.written = (header > 0 ? prefix_of(step.there.size() * unit) : "") + bytes;

  const std::size_t given = member.departures.counts_copied ? std::min(step.needed, capacity) : step.needed;
  const bool counts_characters = member.into == Kind::wsz && !member.departures.out_in_bytes;
  expected.out_len = static_cast<std::uint32_t>(counts_characters ? given : given * unit + header);
  if (carries_length && expected.src_len == 0) {
    const std::size_t n = member.departures.counts_copied && copies ? given : source.units.size();
    expected.src_len =
        static_cast<std::int32_t>(n * (is_wide(member.from) ? 4 : 1) + (is_prefixed(member.from) ? 2 : 0));
  }
  return expected;
}

class Arena {
 public:
  testing::AssertionResult agrees(const Member& member, const Source& source, std::int32_t dst_size,
                                  bool null_src_len) {
    unsigned char* const from = source_.tail(source.buffer.size());
    std::memcpy(from, source.buffer.data(), source.buffer.size());
    const auto size = static_cast<std::size_t>(std::max(dst_size, 0));
    unsigned char* const into = destination_.tail(size);
    const std::size_t before = std::min<std::size_t>(destination_.size() - size, 16);
    std::memset(into - before, GuardedBuffer::mark, size + before);
    constexpr std::uint32_t untouched = 0xDEADBEEF;
    std::uint32_t out_len = untouched;
    std::int32_t src_len = source.given.value_or(0);
    const bool needs_length = member.from == Kind::chars || member.from == Kind::wchars;
    const bool without = null_src_len && !needs_length;
    const std::uint32_t status = member.convert(from, without ? nullptr : &src_len, into, dst_size, &out_len, nullptr);
    Expected expected = model(member, source, dst_size);
    if (without) expected.src_len = src_len;

    std::string written(into, into + size);
    std::string wanted = expected.written;
    wanted.resize(size, static_cast<char>(GuardedBuffer::mark));
    const bool clean = std::all_of(into - before, into, [](unsigned char b) { return b == GuardedBuffer::mark; });
    if (status == expected.status && out_len == expected.out_len.value_or(untouched) && src_len == expected.src_len &&
        written == wanted && clean) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << member.name << " dstSize " << dst_size << ": status " << status << " for "
                                       << expected.status << ", outLen " << out_len << " for "
                                       << expected.out_len.value_or(untouched) << ", srcLen " << src_len << " for "
                                       << expected.src_len << (written == wanted ? "" : ", other bytes") << ", source "
                                       << testing::PrintToString(source.units);
  }

  testing::AssertionResult agrees_at_every_size(const Member& member, const Source& source) {
    const std::int32_t most = static_cast<std::int32_t>(source.units.size()) * 6 + 12;
    for (std::int32_t size = -5; size <= most * (is_wide(member.into) ? 4 : 1); ++size) {
      if (auto result = agrees(member, source, size, size % 3 == 0); !result) return result;
    }
    return testing::AssertionSuccess();
  }

 private:
  GuardedBuffer source_{1 << 18};
  GuardedBuffer destination_{1 << 18};
};

inline std::vector<std::uint32_t> bytes_as_units(const std::string& bytes) {
  std::vector<std::uint32_t> units;
  for (const char c : bytes) units.push_back(static_cast<unsigned char>(c));
  return units;
}

}  // namespace zvrt_test
