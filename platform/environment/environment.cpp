#include "ZVRTEnvLib.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>

namespace {

// The anchor block is a place and nothing more; each creation is a new generation of it, 0 is none.
constinit struct Anchor { std::atomic<std::uint64_t> generation{0}; } anchor;

constinit std::mutex lifecycle;
constinit std::uint64_t last_generation = 0;  // guarded by lifecycle
constinit bool has_key = false;               // guarded by lifecycle
pthread_key_t release_at_thread_end;          // written once, before the first generation is published

// The model costs no call on the hot path; eight bytes are within what late-loaded libraries are granted.
[[gnu::tls_model("initial-exec")]] constinit thread_local ZVRTThreadBlock* current = nullptr;

void empty(ZVRTThreadSlot& slot) {
  if (slot.release != nullptr) slot.release(slot.value);
  slot = {nullptr, nullptr};
}

void release_block(void* pointer) {
  auto* block = static_cast<ZVRTThreadBlock*>(pointer);
  current = nullptr;
  empty(block->converter);
  delete block;
}

ZVRTThreadBlock* new_block() {
  auto* block = new (std::nothrow) ZVRTThreadBlock{ZVRT_THREAD_BLOCK_MARK, 0, {nullptr, nullptr}};
  if (block != nullptr && pthread_setspecific(release_at_thread_end, block) != 0) {
    delete block;
    return nullptr;
  }
  return block;
}

// The thread's first call, or its first under this generation: what belonged to an earlier one is let go. Apart, so
// that the other calls save no registers.
[[gnu::noinline]] std::uint32_t prepare_block(std::uint64_t generation, void** receiver) {
  if (generation == 0) return ZVRT_ENV_RC_NO_ANCHOR;
  if (current == nullptr) current = new_block();
  if (current == nullptr) return ZVRT_ENV_RC_NO_MEMORY;
  empty(current->converter);
  current->generation = generation;
  *receiver = current;
  return 0;
}

}  // namespace

uint32_t ZVRTCreateEnvAncBlk(void) {
  const std::lock_guard guard(lifecycle);
  if (anchor.generation.load(std::memory_order_relaxed) != 0) return 0;
  // A key's destructor still serves conversions in other libraries' thread-local destructors, which end earlier.
  if (!has_key && pthread_key_create(&release_at_thread_end, release_block) != 0) return ZVRT_ENV_RC_NO_MEMORY;
  has_key = true;
  anchor.generation.store(++last_generation, std::memory_order_release);
  return 0;
}

uint32_t ZVRTTermEnvAncBlk(void) {
  const std::lock_guard guard(lifecycle);
  if (anchor.generation.exchange(0, std::memory_order_acq_rel) == 0) return ZVRT_ENV_RC_NO_ANCHOR;
  if (current != nullptr) {
    pthread_setspecific(release_at_thread_end, nullptr);
    release_block(current);
  }
  return 0;
}

uint32_t ZVRTGetAncBlk(void** receiver) {
  if (receiver == nullptr) return ZVRT_ENV_RC_INVALID_PARAM;
  if (anchor.generation.load(std::memory_order_acquire) == 0) return ZVRT_ENV_RC_NO_ANCHOR;
  *receiver = &anchor;
  return 0;
}

uint32_t ZVRTGetThreadBlock(void** receiver) {
  if (receiver == nullptr) return ZVRT_ENV_RC_INVALID_PARAM;
  const std::uint64_t generation = anchor.generation.load(std::memory_order_acquire);
  ZVRTThreadBlock* const block = current;
  if (block == nullptr || block->generation != generation) return prepare_block(generation, receiver);
  *receiver = block;
  return 0;
}
