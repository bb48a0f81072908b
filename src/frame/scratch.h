// A temporary that lives on the stack while it is small, on the heap above, and frees itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace zvrt {

// Uninitialised room for `count` units, the first `inline_count` of which cost no allocation. get() is null where the
// memory could not be had.
template <class Unit, std::size_t inline_count>
class Scratch {
  static_assert(std::is_trivial_v<Unit>);

 public:
  explicit Scratch(std::uint64_t count) {
    if (count > inline_count) {
      const bool countable = count <= PTRDIFF_MAX / sizeof(Unit);
      units_ = countable ? static_cast<Unit*>(std::malloc(static_cast<std::size_t>(count) * sizeof(Unit))) : nullptr;
    }
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
