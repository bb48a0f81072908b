// Blocks of values between a reader and a writer: the one path that every pair of kinds has.
//
// A run cuts its rows into blocks of at most 32 values. For each block
//
//   places  ->  reader of the source kind  ->  step  ->  writer of the target kind  ->  places
//
// the places (places.h) find each value's first byte and length; the reader turns the values into one of the canonical
// forms below; a step, where the forms differ, turns one into the other; the writer stores each value in its slot. A
// reader may take fewer values than it was given where the characters of the others no longer fit its arena: it lowers
// `count`, and the run comes again with the rest.
//
// Whoever meets a value that it must refuse calls refuse() and goes on. Values that are refused are passed over by all
// that follows. A writer touches the slot of a value only once nothing can refuse it any more.
//
// Adding a kind is one reader and one writer, and a line each in plan.cpp.
//
// Hot pairs have a kernel beside this path: direct.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "columns/decimal.h"
#include "core/call.h"
#include "support/units.h"

namespace zvrt::columns {

struct Type;
class Arena;

constexpr std::int32_t block_size = 32;

// A value where the caller has it: text without prefix and terminator.
struct Value {
  const std::byte* at;
  std::int64_t bytes;
};

// Text in canonical form: ASCII in bytes, or UTF-32 without surrogates at any alignment.
struct Text {
  const std::byte* at;
  std::int64_t count;  // characters
  bool is_ascii;
  bool is_own;  // in the arena, which a writer may overwrite; else still at the caller's

  std::uint32_t operator[](std::int64_t i) const {
    return is_ascii ? static_cast<std::uint32_t>(at[i]) : load<Wide>(at, static_cast<std::size_t>(i));
  }
};

// A binary or hexadecimal float: sign, significand * 2^exponent, or what is no number.
struct Binary {
  enum class Class : std::uint8_t { finite, infinite, nan };
  std::uint64_t significand;
  std::int32_t exponent;
  bool negative;
  Class what;
};

// A point in time: days since 1970-01-01 and nanoseconds of the day. A date has 0 nanoseconds, a time of day 0 days.
struct Moment {
  std::int64_t days;
  std::int64_t nanoseconds;
};

// The first offending unit of a refused value. Readers know its byte; writers know the character of the text.
struct Fault {
  std::int64_t offset = -1;     // bytes from the value's start
  std::int64_t character = -1;  // characters from its start
  std::uint32_t unit = 0;
};

// A form in as many bytes as the largest has: a value that a step turns into another form never reaches into the next.
template <class Form>
struct InBlock : Form {
  InBlock() = default;
  InBlock& operator=(const Form& form) {
    static_cast<Form&>(*this) = form;
    return *this;
  }

 private:
  std::byte rest_[sizeof(Decimal) - sizeof(Form)];
};
static_assert(sizeof(InBlock<Text>) == sizeof(Decimal));

struct Block {
  std::int32_t count;
  Status failure;  // why the run cannot go on after these values, or ZVRT_RC_OK; of a reader with a count of 0 only
  Arena* arena;

  Status status[block_size];  // ZVRT_RC_OK, or why the value was refused
  Value source[block_size];
  std::byte* slot[block_size];
  std::int64_t length[block_size];  // set by writers: bytes of the value in the slot; needed ones with 1609
  Fault* fault;                     // of the last value refused, where somebody asks for it, else null

  union {
    Decimal decimal[block_size];
    InBlock<Binary> binary[block_size];
    InBlock<Moment> moment[block_size];
    InBlock<Text> text[block_size];
    InBlock<Value> bytes[block_size];
  };

  // Only what every block has is set: the forms are written before they are read.
  explicit Block(Arena& its_arena) : count(0), failure(ZVRT_RC_OK), arena(&its_arena), fault(nullptr) {}  // NOLINT

  bool is_refused(std::int32_t i) const { return status[i] != ZVRT_RC_OK; }

  [[gnu::cold, gnu::noinline]] void refuse(std::int32_t i, Status why, const Fault& where = {}) {
    status[i] = why;
    if (fault != nullptr) *fault = where;
  }
};

using Read = void(const Type& type, Block& block);
using Write = void(const Type& type, Block& block);

// Runs `each` over the values that nothing has refused yet.
template <class Each>
[[gnu::always_inline]] inline void for_each(const Block& block, Each each) {
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (!block.is_refused(i)) [[likely]]
      each(i);
  }
}

}  // namespace zvrt::columns
