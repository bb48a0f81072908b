// A temporary on the stack, or on the heap when it is large; freed by its destructor.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace zvrt {

// Uninitialised memory for `count` units; up to `inline_count` without an allocation. get() is null when the allocation
// failed. Counts come from 32-bit lengths, so their size in bytes does not wrap around.
template <class Unit, std::size_t inline_count>
class Scratch {
  static_assert(std::is_trivial_v<Unit>);

 public:
  explicit Scratch(std::size_t count) {
    if (count > inline_count) units_ = static_cast<Unit*>(std::malloc(count * sizeof(Unit)));
  }
  ~Scratch() {
    if (units_ != near_) std::free(units_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  Scratch(Scratch&&) = delete;
  Scratch& operator=(Scratch&&) = delete;

  Unit* get() { return units_; }

 private:
  Unit near_[inline_count];
  Unit* units_ = near_;
};

}  // namespace zvrt
