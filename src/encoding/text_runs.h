// Kernels for the ordinary part of a text. The scalar definition decides every result; a kernel only takes some leading
// part of a run off its hands, possibly nothing, and the scalar loop goes on where it stopped.
#pragma once

#include <cstddef>

namespace zvrt {

struct Run {
  std::size_t read;     // source units taken
  std::size_t written;  // destination units produced, never more than the room
};

// Leading bytes 01..7F of `count` bytes to wide characters at any alignment.
Run widen_run(const char* src, std::size_t count, void* dst, std::size_t room);

// Leading characters 01..7F of `count` wide characters at any alignment to bytes.
Run narrow_run(const void* src, std::size_t count, char* dst, std::size_t room);

}  // namespace zvrt
