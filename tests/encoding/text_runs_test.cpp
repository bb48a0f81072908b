// Every version of the text kernels that this machine can run against the scalar definition, between guard pages.
#include "encoding/text_runs.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "encoding/utf8.h"
#include "frame/cpu.h"
#include "frame/units.h"

namespace {

using zvrt::Run;
using zvrt::TextKernels;
using zvrt::Wide;

struct Version {
  const char* name;
  const TextKernels& kernels;
};

std::vector<Version> versions() {
  std::vector<Version> all{{"baseline", zvrt::text_kernels_baseline}};
  if (zvrt::cpu_level() >= zvrt::CpuLevel::avx2) all.push_back({"avx2", zvrt::text_kernels_avx2});
  if (zvrt::cpu_level() >= zvrt::CpuLevel::avx512) all.push_back({"avx512", zvrt::text_kernels_avx512});
  return all;
}

// Two pages that may be touched between two that may not.
class Arena {
 public:
  static constexpr std::size_t page = 4096;
  static constexpr unsigned char mark = 0xA5;

  Arena() {
    void* base = mmap(nullptr, 4 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) std::abort();
    begin_ = static_cast<char*>(base) + page;
    mprotect(begin_, 2 * page, PROT_READ | PROT_WRITE);
  }
  ~Arena() { munmap(begin_ - page, 4 * page); }
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  char* begin() { return begin_; }
  char* end() { return begin_ + 2 * page; }
  // The text flush at the end, at the start, or across the border of the pages.
  char* put(const std::string& bytes, unsigned where) {
    char* at = where == 0 ? end() - bytes.size() : where == 1 ? begin() : begin() + page - where % (bytes.size() + 1);
    std::memcpy(at, bytes.data(), bytes.size());
    return at;
  }
  // `bytes` that end at the guard page, marked as is a stretch before them.
  char* marked(std::size_t bytes) {
    char* at = end() - bytes;
    std::memset(at - margin, mark, bytes + margin);
    return at;
  }
  bool untouched(const char* from) {
    for (const char* at = from; at < end(); ++at) {
      if (static_cast<unsigned char>(*at) != mark) return false;
    }
    return true;
  }
  bool untouched_before(const char* at) {
    for (std::size_t i = 1; i <= margin; ++i) {
      if (static_cast<unsigned char>(*(at - i)) != mark) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t margin = 64;
  char* begin_;
};

// What the scalar definition makes of the leading ordinary characters of a text: for each number of them, the source
// units read and the destination bytes written.
struct Ordinary {
  std::vector<std::size_t> read{0};
  std::string written;
  std::vector<std::size_t> ends{0};
};

Ordinary decoded(const std::string& text) {
  Ordinary result;
  for (std::size_t used = 0; used < text.size();) {
    const auto remaining = static_cast<std::int64_t>(text.size() - used);
    const zvrt::Utf8Sequence sequence = zvrt::decode_utf8(text.data() + used, remaining);
    if (sequence.kind != zvrt::Utf8::character || sequence.code_point == 0) break;
    used += static_cast<std::size_t>(sequence.length);
    result.written.append(reinterpret_cast<const char*>(&sequence.code_point), 4);
    result.read.push_back(used);
    result.ends.push_back(result.written.size());
  }
  return result;
}

Ordinary encoded(const std::string& text) {
  Ordinary result;
  for (std::size_t used = 0; used * 4 + 4 <= text.size(); ++used) {
    const Wide unit = zvrt::load<Wide>(text.data(), used);
    if (unit == 0 || unit >= zvrt::utf8_limit) break;
    const std::int32_t length = zvrt::utf8_length(unit);
    char form[6];
    zvrt::encode_utf8(unit, length, form);
    result.written.append(form, static_cast<std::size_t>(length));
    result.read.push_back(used + 1);
    result.ends.push_back(result.written.size());
  }
  return result;
}

// A run is right when it is some number of whole characters, and the bytes in the destination are theirs.
::testing::AssertionResult is_run(const Ordinary& text, const Run& run, std::size_t unit, const char* dst, Arena& arena,
                                  std::size_t room) {
  for (std::size_t i = 0; i < text.read.size(); ++i) {
    if (text.read[i] != run.read) continue;
    const std::size_t bytes = run.written * unit;
    if (text.ends[i] != bytes) return ::testing::AssertionFailure() << "wrote " << bytes << " for " << text.ends[i];
    if (dst == nullptr) return ::testing::AssertionSuccess();
    if (run.written > room) return ::testing::AssertionFailure() << "no room for " << run.written;
    if (std::memcmp(dst, text.written.data(), bytes) != 0) return ::testing::AssertionFailure() << "other bytes";
    if (!arena.untouched(dst + bytes) || !arena.untouched_before(dst)) return ::testing::AssertionFailure() << "spilt";
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "no character ends at " << run.read;
}

std::mt19937& random_numbers() {
  static std::mt19937 generator(20240611);
  return generator;
}
std::uint32_t below(std::size_t end) { return static_cast<std::uint32_t>(random_numbers()() % end); }

std::string form_of(std::uint32_t code_point, std::int32_t length) {
  std::string form(static_cast<std::size_t>(length), '\0');
  zvrt::encode_utf8(code_point, length, form.data());
  return form;
}

// A character of `length` bytes, overlong forms and surrogates included, but not zero.
std::string character(std::int32_t length) {
  static constexpr std::uint32_t ends[] = {0x80, 0x800, 0x10000, 0x200000, 0x4000000, 0x80000000};
  return form_of(1 + below(ends[length - 1] - 1), length);
}

// What leaves the kernels: zeros in every length, long forms, stray, missing and cut continuation bytes; and what only
// looks as if it did.
const std::vector<std::string>& oddities() {
  static const std::vector<std::string> all{std::string(1, '\0'),
                                            "\xC0\x80",
                                            "\xE0\x80\x80",
                                            "\xF0\x80\x80\x80",
                                            "\xF8\x80\x80\x80\x80",
                                            "\x80",
                                            "\xBF",
                                            "\xFE",
                                            "\xFF",
                                            "\xC3(",
                                            "\xE4\xB8(",
                                            "\xF0\x9F\x98(",
                                            "\xF9\x80\x80\x80\x80",
                                            "\xF7\xBF\xBF\xBF",
                                            "\xFD\xBF\xBF\xBF\xBF\xBF",
                                            "\xEF\xBF\xBD",
                                            "\xE0\x80\x81",
                                            "\xD0\x80",
                                            "\xED\xA0\x80",
                                            "\xC3\xC3\xA9",
                                            "\xC0\xC3\xA9",
                                            "\xE4\xF0\x9F\x98",
                                            "a\x80\x80\x80\x80"};
  return all;
}
const std::string& oddity() { return oddities()[below(oddities().size())]; }

// Bytes of texts in one script or several, with an oddity in one of `rarity` characters, or none for 0.
std::string narrow_text(std::size_t bytes, unsigned script, std::uint32_t rarity) {
  std::string text;
  while (text.size() < bytes) {
    const std::int32_t length =
        script < 4 ? static_cast<std::int32_t>(script) + 1 : 1 + static_cast<std::int32_t>(below(4));
    text += rarity != 0 && below(rarity) == 0 ? oddity() : character(below(5) == 0 ? 1 : length);
  }
  text.resize(bytes);
  return text;
}

std::string wide_text(std::size_t units, unsigned script, std::uint32_t rarity) {
  static constexpr Wide ends[] = {0x80, 0x800, 0x10000, 0x200000};
  static constexpr Wide odd[] = {0,          0x200000,   0x3FFFFFF, 0x7FFFFFFF, 0x80000000,
                                 0xFFFFFFFF, 0x80000041, 0xFFFD,    0x1FFFFF};
  std::string text;
  for (std::size_t i = 0; i < units; ++i) {
    const bool is_odd = rarity != 0 && below(rarity) == 0;
    const unsigned length = below(5) == 0 ? 0 : script < 4 ? script : below(4);
    const Wide unit = is_odd ? odd[below(std::size(odd))] : 1 + below(ends[length] - 1);
    text.append(reinterpret_cast<const char*>(&unit), 4);
  }
  return text;
}

std::string up_to_zero(const std::string& text, std::size_t unit) {
  const std::string zero(unit, '\0');
  for (std::size_t at = 0; at < text.size(); at += unit) {
    if (text.compare(at, unit, zero) == 0) return text.substr(0, at);
  }
  return text;
}

constexpr unsigned scripts = 5;
constexpr std::size_t longest = 200;

// Runs one text through the three kernels of a direction, in every room.
struct Direction {
  std::size_t source_unit;
  std::size_t written_unit;
  std::function<Ordinary(const std::string&)> definition;
  std::function<Run(const TextKernels&, const char*, std::size_t, char*, std::size_t)> counted;
  std::function<Run(const TextKernels&, const char*, char*, std::size_t)> terminated;
  std::function<Run(const TextKernels&, const char*, std::size_t)> count;
};

const Direction decoding{
    1,
    4,
    decoded,
    [](const TextKernels& k, const char* src, std::size_t count, char* dst, std::size_t room) {
      return k.decode(src, count, dst, room);
    },
    [](const TextKernels& k, const char* src, char* dst, std::size_t room) {
      return k.decode_terminated(src, dst, room);
    },
    [](const TextKernels& k, const char* src, std::size_t count) { return k.count_decoded(src, count); }};

const Direction encoding{
    4,
    1,
    encoded,
    [](const TextKernels& k, const char* src, std::size_t count, char* dst, std::size_t room) {
      return k.encode(src, count, dst, room);
    },
    [](const TextKernels& k, const char* src, char* dst, std::size_t room) {
      return k.encode_terminated(src, dst, room);
    },
    [](const TextKernels& k, const char* src, std::size_t count) { return k.count_encoded(src, count); }};

class TextRuns : public ::testing::Test {
 protected:
  // Wide text is also put at addresses that are no multiple of its unit: a destination may end one to three bytes
  // before the guard page, which the marks then watch.
  void check(const Version& version, const Direction& direction, const std::string& text, bool all_ordinary) {
    const Ordinary expected = direction.definition(text);
    const std::string open_text = up_to_zero(text, direction.source_unit);
    const Ordinary open = direction.definition(open_text);
    const std::size_t count = text.size() / direction.source_unit;
    const std::size_t needed = expected.written.size() / direction.written_unit;
    const unsigned where = below(4) * 7;
    const char* src = source_.put(text, where);
    // Behind the terminator the page may go on for a little.
    const std::string closed = open_text + std::string(direction.source_unit, '\0') + std::string(below(5), 'k');
    const char* terminated = other_.put(closed, where);
    SCOPED_TRACE(::testing::Message() << version.name << ", text of " << text.size() << " bytes at " << where << ": "
                                      << ::testing::PrintToString(text));

    const zvrt::Run counted = direction.count(version.kernels, src, count);
    ASSERT_TRUE(is_run(expected, counted, direction.written_unit, nullptr, target_, 0));
    if (all_ordinary) {
      ASSERT_EQ(counted.read, count);
    }
    const std::size_t skip = needed > 20 ? 1 + below(needed / 4) : 1;
    for (std::size_t room = below(skip); room <= needed + 1; room += skip) {
      const std::size_t bytes = room * direction.written_unit + below(4);
      char* dst = target_.marked(bytes);
      const zvrt::Run run = direction.counted(version.kernels, src, count, dst, room);
      ASSERT_TRUE(is_run(expected, run, direction.written_unit, dst, target_, room)) << "room " << room;
      if (all_ordinary && room >= needed) {
        ASSERT_EQ(run.read, count);
      }
      dst = target_.marked(bytes);
      const zvrt::Run open_run = direction.terminated(version.kernels, terminated, dst, room);
      ASSERT_TRUE(is_run(open, open_run, direction.written_unit, dst, target_, room)) << "terminated, room " << room;
    }
  }

  Arena source_, other_, target_;
};

TEST_F(TextRuns, DecodingEqualsTheDefinition) {
  for (const Version& version : versions()) {
    for (std::size_t bytes = 0; bytes <= longest; ++bytes) {
      for (unsigned script = 0; script < scripts; ++script) {
        for (const std::uint32_t rarity : {0U, 4U, 60U}) {
          ASSERT_NO_FATAL_FAILURE(check(version, decoding, narrow_text(bytes, script, rarity), false));
        }
      }
    }
  }
}

TEST_F(TextRuns, EncodingEqualsTheDefinition) {
  for (const Version& version : versions()) {
    for (std::size_t units = 0; units <= longest; ++units) {
      for (unsigned script = 0; script < scripts; ++script) {
        ASSERT_NO_FATAL_FAILURE(check(version, encoding, wide_text(units, script, 0), true));
        for (const std::uint32_t rarity : {4U, 60U}) {
          ASSERT_NO_FATAL_FAILURE(check(version, encoding, wide_text(units, script, rarity), false));
        }
      }
    }
  }
}

// Every oddity at every place between two characters.
TEST_F(TextRuns, EveryStoppingPlace) {
  for (const Version& version : versions()) {
    for (unsigned script = 0; script < scripts; ++script) {
      std::string before;
      while (before.size() < longest) {
        for (const std::string& odd : oddities()) {
          ASSERT_NO_FATAL_FAILURE(check(version, decoding, before + odd + narrow_text(below(80), script, 0), false));
        }
        before +=
            character(script < 4 ? static_cast<std::int32_t>(script) + 1 : 1 + static_cast<std::int32_t>(below(4)));
      }
    }
  }
}

// Ordinary text without overlong forms is not left to the scalar loop.
TEST_F(TextRuns, OrdinaryTextIsTakenWhole) {
  for (const Version& version : versions()) {
    for (unsigned script = 0; script < scripts; ++script) {
      std::string text;
      for (std::size_t characters = 0; characters <= longest; ++characters) {
        ASSERT_NO_FATAL_FAILURE(check(version, decoding, text, true));
        const unsigned length = script < 4 ? script : below(4);
        static constexpr std::uint32_t first[] = {1, 0x80, 0x1000, 0x10000};
        static constexpr std::uint32_t end[] = {0x80, 0x800, 0xD800, 0x110000};
        text += form_of(first[length] + below(end[length] - first[length]), static_cast<std::int32_t>(length) + 1);
      }
    }
  }
}

// A copy reads no further than it has room, even where no terminator follows.
TEST_F(TextRuns, CopiesEndAtTheTerminatorOrTheRoom) {
  for (const Version& version : versions()) {
    for (const std::size_t unit : {1U, 4U}) {
      const auto copy = unit == 1 ? version.kernels.copy : version.kernels.copy_wide;
      for (std::size_t count = 0; count <= longest; ++count) {
        const std::string text =
            unit == 1 ? narrow_text(count, below(scripts), 20) : wide_text(count, below(scripts), 20);
        const std::string open = up_to_zero(text, unit);
        const std::string closed = open + std::string(unit, '\0');
        for (std::size_t room = 0; room <= count + 1; ++room) {
          const bool ends = room * unit > open.size();
          const char* src = source_.put(ends ? closed : open.substr(0, room * unit), below(4) * 7);
          char* dst = target_.marked(room * unit + below(4));
          const zvrt::Run run = copy(src, dst, room);
          const std::size_t expected = std::min(open.size(), room * unit);
          ASSERT_EQ(run.read, expected / unit) << version.name << " unit " << unit << " room " << room;
          ASSERT_EQ(run.written, run.read);
          ASSERT_EQ(std::memcmp(dst, open.data(), expected), 0);
          ASSERT_TRUE(target_.untouched(dst + expected) && target_.untouched_before(dst));
        }
      }
    }
  }
}

}  // namespace
