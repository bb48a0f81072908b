// A temporary that lives on the stack while it is small, on the heap above, and frees itself.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace zvrt {

// Uninitialised room for `count` units, the first `inline_count` of which cost no allocation. get() is null where the
// memory could not be had. Counts come from lengths of 32 bits: that of their bytes does not wrap around.
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
