// One ordinary call of every kind of work that the library does: what its cost is measured on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zvrt_test {

struct OrdinaryCall {
  std::string function;
  std::string value;                    // in words
  std::function<std::uint32_t()> call;  // returns the status
};

// The calls own what they work on. Those through code pages need ZVRTInitDataConversion().
std::vector<OrdinaryCall> ordinary_calls();

// What a call works on, where the caller wants it.
struct Buffers {
  const void* src;
  void* dst;
  std::int32_t size;    // of dst, in bytes
  std::int32_t length;  // in and out, as the function has it
  std::uint32_t out_length;
  bool without_length = false;  // where a length may be left out, it is
};

struct CallOnBuffers {
  std::string function;
  std::string value;
  std::string source;  // the bytes to be found at src, all that the call may read
  std::int32_t length;
  std::optional<std::int32_t> size;  // of dst, for a function that is not given it
  std::size_t unit;                  // sizes of dst are multiples of it
  std::function<std::uint32_t(Buffers&)> call;
};

// At least one of every exported function that takes a buffer. Models of dates stand flush against a guard page.
std::vector<CallOnBuffers> calls_on_buffers();

}  // namespace zvrt_test
