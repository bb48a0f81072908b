// Room for the characters of a block: on the stack, and for one value that is too long for that on the heap.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

#include "columns/block.h"

namespace zvrt::columns {

class Arena {
 public:
  // The characters of a value of 4095 bytes, and beside them bytes of a target slot of that size.
  static constexpr std::size_t capacity = 16384;
  static constexpr std::size_t scratch_capacity = 4096;

  Arena() {}  // NOLINT: the room is not worth clearing
  ~Arena() { release(); }
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  void reset() {
    used_ = 0;
    if (large_ != nullptr) [[unlikely]]
      release();
  }

  // Null when it does not fit beside what is taken already.
  std::byte* take(std::size_t bytes) {
    if (bytes > capacity - used_) return nullptr;
    std::byte* const room = room_ + used_;
    used_ += rounded(bytes);
    return room;
  }
  // Gives back all of what was taken last but its first bytes.
  void keep(const std::byte* taken, std::size_t bytes) {
    if (taken >= room_ && taken <= room_ + capacity) used_ = static_cast<std::size_t>(taken - room_) + rounded(bytes);
  }
  // On the heap, until the next reset; null for want of memory.
  std::byte* take_large(std::size_t bytes) {
    void* const memory = std::malloc(sizeof(Large) + bytes);
    if (memory == nullptr) return nullptr;
    large_ = new (memory) Large{large_};
    return static_cast<std::byte*>(memory) + sizeof(Large);
  }
  // Good until it is asked for again; null for want of memory.
  std::byte* scratch(std::size_t bytes) { return bytes <= scratch_capacity ? scratch_ : take_large(bytes); }

 private:
  struct alignas(16) Large {
    Large* next;
  };

  static constexpr std::size_t rounded(std::size_t bytes) { return (bytes + 3) & ~std::size_t{3}; }

  void release() {
    while (large_ != nullptr) {
      Large* const next = large_->next;
      std::free(large_);
      large_ = next;
    }
  }

  alignas(16) std::byte room_[capacity];
  std::byte scratch_[scratch_capacity];
  std::size_t used_ = 0;
  Large* large_ = nullptr;
};

// Room for value i of the block. Null when the block ends before it, which the block then says of itself: there is no
// room beside the values before it, or no memory at all.
inline std::byte* room_for(Block& block, std::int32_t i, std::size_t bytes) {
  if (std::byte* const room = block.arena->take(bytes); room != nullptr) [[likely]]
    return room;
  block.count = i;
  if (i > 0) return nullptr;
  std::byte* const room = block.arena->take_large(bytes);
  if (room == nullptr) {
    block.failure = ZVRT_RC_NO_MEMORY;
  } else {
    block.count = 1;
  }
  return room;
}

}  // namespace zvrt::columns
