#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "page_data.h"
#include "single_byte_kernels.h"

namespace zvrt {

namespace {

constexpr std::size_t block = 8;

std::size_t read(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to) {
  const SingleByteTables& tables = zvrt_singles[page.single_byte];
  std::size_t done = widen_ascii_blocks(page.ascii, {from, count}, {to, count});
  for (; done + block <= count; done += block) {
    std::array<std::uint32_t, block> characters;
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < block; ++i) any |= characters[i] = tables.character_of[from[done + i]];
    if ((any & undefined_byte) != 0) break;
    std::memcpy(to + done * wide_size, characters.data(), sizeof characters);
  }
  for (; done < count && tables.character_of[from[done]] != undefined_byte; ++done)
    WideDestination{to, count}.put(done, tables.character_of[from[done]]);
  return done;
}

std::size_t write(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to) {
  const CodeTrie<std::uint16_t> code_of = short_codes(page);
  const WideText source{from, count};
  std::size_t done = narrow_ascii_blocks(page.ascii, source, {to, count});
  for (; done + block <= count; done += block) {
    std::array<unsigned char, block> bytes;
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < block; ++i) {
      const Code code = code_of[source[done + i]];
      any |= code;
      bytes[i] = static_cast<unsigned char>(code);
    }
    if (any > 0xFF) break;
    std::memcpy(to + done, bytes.data(), sizeof bytes);
  }
  for (; done < count && code_of[source[done]] <= 0xFF; ++done)
    to[done] = static_cast<unsigned char>(code_of[source[done]]);
  return done;
}

}  // namespace

const SingleByteKernels single_byte_baseline = {read, write};

}  // namespace zvrt
