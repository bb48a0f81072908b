// Every exported function that takes a buffer, on blocks of the heap of exactly the bytes that it may read and write, for
// memcheck: it reports each byte beyond them, whatever page it is in. Ends with 1 when no call was made.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ZVRTDataCnvLib.h"
#include "support/ordinary_calls.h"

namespace {

struct Free {
  void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<void, Free>;

void call(const zvrt_test::CallOnBuffers& row, std::size_t size, std::size_t offset) {
  const Block source(std::malloc(row.source.size() + offset));
  const Block destination(std::malloc(size + offset));
  char* const src = static_cast<char*>(source.get()) + offset;
  std::memcpy(src, row.source.data(), row.source.size());
  zvrt_test::Buffers buffers{src, static_cast<char*>(destination.get()) + offset, static_cast<std::int32_t>(size),
                             row.length, 0};
  row.call(buffers);
}

}  // namespace

int main() {
  if (ZVRTInitDataConversion() != 0) return 1;
  std::size_t calls = 0;
  for (const zvrt_test::CallOnBuffers& row : zvrt_test::calls_on_buffers())
    for (const std::size_t units : {0U, 1U, 7U, 40U, 200U})
      for (std::size_t offset = 0; offset < 3; ++offset) {
        const auto size = row.size ? static_cast<std::size_t>(*row.size) : units * row.unit;
        call(row, size, offset);
        ++calls;
      }
  std::printf("%zu calls\n", calls);
  return ZVRTTermDataConversion() == 0 && calls > 0 ? 0 : 1;
}
