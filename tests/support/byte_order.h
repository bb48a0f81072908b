// Values as bytes in the byte order of this machine.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace zvrt_test {

// The length prefix of counted text.
inline std::string prefix_of(std::size_t length) {
  const auto prefix = static_cast<std::int16_t>(length);
  std::string bytes(sizeof prefix, '\0');
  std::memcpy(bytes.data(), &prefix, sizeof prefix);
  return bytes;
}

// The bytes of an integer of `width` bytes with this value.
inline std::string integer_bytes(std::uint64_t value, std::size_t width) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes.substr(std::endian::native == std::endian::little ? 0 : sizeof value - width, width);
}

}  // namespace zvrt_test
