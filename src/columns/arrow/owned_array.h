// Arrays that the library makes: who owns what, and how it is freed.
//
// Every array owns its buffers alone and frees them in its release callback, which touches nothing else: so it may be
// called on any thread, in any order, and a child that was moved out of its struct outlives it. A struct owns the
// places of its children, and releases those that are still there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "columns/arrow/abi.h"

namespace zvrt::arrow {

// Memory on a boundary of 64 bytes and of whole such lines, as readers of Arrow like it.
class Buffer {
 public:
  Buffer() = default;
  ~Buffer();
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  // Room for at least `bytes`, the first `used` kept; false without memory. A buffer that was asked for is never null.
  bool reserve(std::int64_t bytes, std::int64_t used = 0);
  // Zero from `used` bytes to the end of the line, which readers may load.
  void clear_tail(std::int64_t used);
  void* release();  // to a new owner, who frees it

  std::byte* data() const { return data_; }
  template <class Unit>
  Unit* as() const {
    return static_cast<Unit*>(static_cast<void*>(data_));
  }

 private:
  std::byte* data_ = nullptr;
  std::int64_t capacity_ = 0;
};

// An array that ends its own life with this scope, unless it is given away.
class ArrayHolder {
 public:
  ArrayHolder() = default;
  ~ArrayHolder() {
    if (array_.release != nullptr) array_.release(&array_);
  }
  ArrayHolder(const ArrayHolder&) = delete;
  ArrayHolder& operator=(const ArrayHolder&) = delete;

  ArrowArray& get() { return array_; }
  void give_to(ArrowArray& receiver) {
    receiver = array_;
    array_.release = nullptr;
  }

 private:
  ArrowArray array_ = {};
};

// An array of `length` rows that takes the buffers over, validity first; null buffers stay null. False without memory.
bool make_array(std::int64_t length, std::int64_t null_count, Buffer* const* buffers, std::int32_t count,
                ArrowArray& array);

// A struct of `count` children, all of them released as yet: to be filled in.
bool make_struct(std::int64_t length, std::int64_t count, ArrowArray& array);

}  // namespace zvrt::arrow
