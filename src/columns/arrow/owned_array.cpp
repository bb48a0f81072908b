#include "columns/arrow/owned_array.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace zvrt::arrow {
namespace {

constexpr std::int64_t alignment = 64;

// What an array's private_data points to.
struct Buffers {
  const void* at[3];
};

struct Children {
  const void* no_bitmap;
  ArrowArray** pointers;
  ArrowArray* arrays;
};

extern "C" void zvrt_release_array(ArrowArray* array) {
  auto* const buffers = static_cast<Buffers*>(array->private_data);
  for (const void* buffer : buffers->at) std::free(const_cast<void*>(buffer));
  delete buffers;
  array->release = nullptr;
}

void free_children(Children* children) {
  delete[] children->pointers;
  delete[] children->arrays;
  delete children;
}

extern "C" void zvrt_release_struct(ArrowArray* array) {
  for (std::int64_t i = 0; i < array->n_children; ++i) {
    ArrowArray* const child = array->children[i];
    if (child->release != nullptr) child->release(child);
  }
  free_children(static_cast<Children*>(array->private_data));
  array->release = nullptr;
}

}  // namespace

Buffer::~Buffer() { std::free(data_); }

bool Buffer::reserve(std::int64_t bytes, std::int64_t used) {
  constexpr std::int64_t most = INT64_MAX / 4;
  if (data_ != nullptr && bytes <= capacity_) return true;
  if (bytes > most) return false;
  const std::int64_t wanted = std::max({bytes, std::min(2 * capacity_, most), alignment});
  const std::int64_t rounded = (wanted + alignment - 1) / alignment * alignment;
  void* const grown = std::aligned_alloc(alignment, static_cast<std::size_t>(rounded));
  if (grown == nullptr) return false;
  if (used > 0) std::memcpy(grown, data_, static_cast<std::size_t>(used));
  std::free(data_);
  data_ = static_cast<std::byte*>(grown);
  capacity_ = rounded;
  return true;
}

void Buffer::clear_tail(std::int64_t used) {
  const std::int64_t end = std::min((used + alignment - 1) / alignment * alignment, capacity_);
  if (end > used) std::memset(data_ + used, 0, static_cast<std::size_t>(end - used));
}

void* Buffer::release() {
  void* const data = data_;
  data_ = nullptr;
  capacity_ = 0;
  return data;
}

bool make_array(std::int64_t length, std::int64_t null_count, Buffer* const* buffers, std::int32_t count,
                ArrowArray& array) {
  auto* const owned = new (std::nothrow) Buffers{};
  if (owned == nullptr) return false;
  for (std::int32_t i = 0; i < count; ++i) owned->at[i] = buffers[i]->release();
  array = {};
  array.length = length;
  array.null_count = null_count;
  array.n_buffers = count;
  array.buffers = owned->at;
  array.private_data = owned;
  array.release = zvrt_release_array;
  return true;
}

bool make_struct(std::int64_t length, std::int64_t count, ArrowArray& array) {
  const auto size = static_cast<std::size_t>(count);
  auto* const children = new (std::nothrow) Children{};
  if (children == nullptr) return false;
  children->pointers = new (std::nothrow) ArrowArray*[size];
  children->arrays = new (std::nothrow) ArrowArray[size]();
  if (children->pointers == nullptr || children->arrays == nullptr) {
    free_children(children);
    return false;
  }
  for (std::size_t i = 0; i < size; ++i) children->pointers[i] = &children->arrays[i];
  array = {};
  array.length = length;
  array.n_buffers = 1;
  array.n_children = count;
  array.buffers = &children->no_bitmap;
  array.children = children->pointers;
  array.private_data = children;
  array.release = zvrt_release_struct;
  return true;
}

}  // namespace zvrt::arrow
