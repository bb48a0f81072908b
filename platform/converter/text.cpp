#include "text.h"

#include "simd/vectors.h"

namespace zvrt {

namespace {

// The bytes that are ASCII in a page, as signed bounds: bytes from 80 are negative.
struct Range {
  vectors::Block above, last;

  explicit Range(Ascii ascii)
      : above(vectors::repeat(ascii == Ascii::all ? -1 : 0x1F)),
        last(vectors::repeat(ascii == Ascii::all ? 0x7F : 0x7E)) {}

  bool has_all(const vectors::Block& bytes) const { return vectors::all_within(bytes, above, last); }
};

}  // namespace

std::size_t widen_all_ascii_blocks(Ascii ascii, Bytes source, WideDestination destination) {
  if (ascii == Ascii::no) return 0;
  const Range range(ascii);
  const std::size_t end = std::min(source.size(), destination.count);
  std::size_t done = 0;
  for (; done + ascii_block <= end; done += ascii_block) {
    const auto bytes = vectors::load_block(source.data() + done);
    if (!range.has_all(bytes)) break;
    vectors::store_sixteen_wide(destination.data + done * wide_size, bytes);
  }
  return done;
}

std::size_t narrow_all_ascii_blocks(Ascii ascii, WideText source, ByteDestination destination) {
  if (ascii == Ascii::no) return 0;
  const Range range(ascii);
  const std::size_t end = std::min(source.count, destination.size());
  std::size_t done = 0;
  for (; done + ascii_block <= end; done += ascii_block) {
    vectors::Block bytes;
    if (!vectors::narrow_sixteen(source.data + done * wide_size, bytes) || !range.has_all(bytes)) break;
    vectors::store_block(destination.data() + done, bytes);
  }
  return done;
}

}  // namespace zvrt
