// Valgrind's memcheck reports every byte read beyond a block of the heap. A program learns that it runs under valgrind by
// a client request: instructions that do nothing elsewhere, which valgrind recognises by their order.
#include "support/read_ahead.h"

namespace zvrt {

constinit std::uintptr_t page_mask = page_bytes - 1;

namespace {

// Not where instructions are counted, by callgrind: what it counts is to be what runs elsewhere.
#if defined(__x86_64__) && !defined(ZVRT_READ_AHEAD_UNDER_VALGRIND)
// The request is an array of its number and five arguments; the answer replaces the default.
bool runs_under_valgrind() {
  const volatile std::uint64_t request[6] = {0x1001, 0, 0, 0, 0, 0};
  std::uint64_t answer = 0;
  // The four rotations add up to 128 bits, and rbx is exchanged with itself.
  asm volatile("rolq $3, %%rdi; rolq $13, %%rdi; rolq $61, %%rdi; rolq $51, %%rdi; xchgq %%rbx, %%rbx"
               : "+d"(answer)
               : "a"(request)
               : "cc", "memory");
  return answer != 0;
}

[[gnu::constructor]] void look_for_valgrind() {
  if (runs_under_valgrind()) page_mask = ~std::uintptr_t{0};
}
#endif

}  // namespace

}  // namespace zvrt
