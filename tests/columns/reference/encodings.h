// Text of every encoding to code points and back, one character at a time.
#pragma once

#include <optional>
#include <string>

#include "value.h"

namespace zvrt_reference {

Read read_text(const ZVRTType& type, const std::string& slot, std::optional<std::int64_t> length,
               bool substitutes = false);

// The bytes of the text itself: after its prefix, before its terminator, or as many as there are said to be.
std::uint32_t find_text(const ZVRTType& type, const std::string& slot, std::optional<std::int64_t> length,
                        std::string& bytes);

struct Encoded {
  std::uint32_t status = 0;
  std::string bytes{};
  std::string blank{};  // one of the encoding
};

// The text in the encoding of the target. With a limit only as many whole characters as that many bytes hold.
Encoded encode(const ZVRTType& type, const std::u32string& text, bool substitutes,
               std::optional<std::size_t> limit = std::nullopt);

// One value of the type's text, however it is stored: the bytes of a character of blank.
std::string blank_of(const ZVRTType& type);
std::size_t unit_of(std::uint32_t kind);

// Bytes before the first zero unit; all of them where there is none.
std::size_t terminator_at(const std::string& bytes, std::size_t unit);

}  // namespace zvrt_reference
