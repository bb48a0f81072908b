// The transforms once more, slowly and over whole lists of code points: what the library's results are compared with.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zvrt_test {

using CodePoints = std::vector<std::uint32_t>;

struct Decoded {
  CodePoints characters;  // up to the terminator or to what could not be read
  bool cut_off = false;   // the text ends inside a sequence
};

inline Decoded decode(const std::string& bytes) {
  struct Form {
    unsigned first, last;
    int more;
    unsigned mask;
  };
  static constexpr Form forms[] = {{0xC0, 0xDF, 1, 0x1F},
                                   {0xE0, 0xEF, 2, 0x0F},
                                   {0xF0, 0xF7, 3, 0x07},
                                   {0xF8, 0xFB, 4, 0x03},
                                   {0xFC, 0xFD, 5, 0x01}};
  Decoded decoded;
  for (std::size_t i = 0; i < bytes.size();) {
    std::uint32_t value = static_cast<unsigned char>(bytes[i]);
    int more = 0;
    for (const Form& form : forms) {
      if (value < form.first || value > form.last) continue;
      more = form.more;
      value &= form.mask;
      break;
    }
    if (bytes.size() - i - 1 < static_cast<std::size_t>(more)) {
      decoded.cut_off = true;
      return decoded;
    }
    for (int k = 1; k <= more; ++k) {
      const auto byte = static_cast<unsigned char>(bytes[i + static_cast<std::size_t>(k)]);
      if (byte < 0x80 || byte > 0xBF) return decoded;
      value = value * 64 + byte % 64;
    }
    if (value == 0) return decoded;
    decoded.characters.push_back(value == 0xFFFD ? '?' : value);
    i += static_cast<std::size_t>(more) + 1;
  }
  return decoded;
}

// The form of one code point below 2^31, built from its bits.
inline std::string encode(std::uint32_t value) {
  if (value < 0x80) return {static_cast<char>(value)};
  std::string tail;
  std::uint32_t lead_room = 0x20;  // what fits beside the marks of a two-byte lead
  std::uint32_t mark = 0xC0;
  do {
    tail.insert(tail.begin(), static_cast<char>(0x80 + value % 64));
    value /= 64;
    if (value < lead_room) break;
    lead_room /= 2;
    mark = mark / 2 + 0x80;
  } while (true);
  return static_cast<char>(mark + value) + tail;
}

// What a transform is to report and write.
struct Outcome {
  std::string bytes;  // the destination's bytes, a closing zero included
  std::uint32_t count = 0;
  std::uint32_t status = 0;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

}  // namespace zvrt_test
