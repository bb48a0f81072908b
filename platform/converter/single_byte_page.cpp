// A page of one byte per character: texts by kernels, what they leave by single characters.
//
// A kernel converts a leading part and stops before a byte that is undefined or a character without a code. Reading is then
// over: what follows is looked at only for such bytes, as the count needed is that of the bytes. Writing goes on, since the
// kernel by AVX-512 knows two windows of 256 characters, and others are in the page's trie: a few characters are written by
// the trie, then the kernel is tried again.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "forms.h"
#include "page_data.h"
#include "single_byte_kernels.h"
#include "support/cpu.h"

namespace zvrt {

namespace {

Outcome decode(const Page& page, Bytes source, WideDestination destination) {
  const std::size_t end = std::min(source.size(), destination.count);
  const std::size_t written = single_byte_kernels.read(page, source.data(), end, destination.data);
  const SingleByteTables& tables = zvrt_singles[page.single_byte];
  for (const unsigned char byte : source.subspan(written))
    if (tables.character_of[byte] == undefined_byte) return rejected(written);
  return converted(source.size(), destination.count);
}

// Writes up to the first character that the page does not have, as far as both sides reach. After a place where the
// kernel stops, a few characters are written singly before it is tried again.
std::size_t write_run(const Page& page, WideText source, ByteDestination destination) {
  constexpr std::size_t singly = 8;
  const CodeTrie<std::uint16_t> code_of = short_codes(page);
  const std::size_t end = std::min(source.count, destination.size());
  std::size_t done = 0;
  while (done < end) {
    done += single_byte_kernels.write(page, source.data + done * wide_size, end - done, destination.data() + done);
    for (const std::size_t stop = std::min(done + singly, end); done < stop; ++done) {
      const Code code = code_of[source[done]];
      if (code > 0xFF) return done;
      destination[done] = static_cast<unsigned char>(code);
    }
  }
  return done;
}

Outcome encode(const Page& page, WideText source, ByteDestination destination) {
  const CodeTrie<std::uint16_t> code_of = short_codes(page);
  const std::size_t written = write_run(page, source, destination);
  for (std::size_t i = written; i < source.count; ++i)
    if (code_of[source[i]] > 0xFF) return rejected(written);
  return converted(source.count, destination.size());
}

}  // namespace

const SingleByteKernels single_byte_kernels = *choose_version(
    Versions<const SingleByteKernels>{.baseline = &single_byte_baseline ZVRT_X86(, .avx512 = &single_byte_avx512)});

constinit const Conversions single_byte_conversions = {decode, encode};

}  // namespace zvrt
