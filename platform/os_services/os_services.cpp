#include "ZVRTOSLibUnix.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(ZVRTMutexStorage));
static_assert(alignof(pthread_mutex_t) <= alignof(ZVRTMutexStorage));

pthread_mutex_t* mutex_in(void* storage) { return static_cast<pthread_mutex_t*>(storage); }

std::uint32_t status_of(int error) { return error == 0 ? 0 : ZVRT_OS_RC_ERRNO + static_cast<std::uint32_t>(error); }

// An error-checking mutex turns an unlock by a stranger and a second lock by the holder into a status.
int create(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  if (const int error = pthread_mutexattr_init(&attributes); error != 0) return error;
  int error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  if (error == 0) error = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return error;
}

// A destroyed mutex refuses every lock; zeros are again what a mutex is before it is created.
int destroy(pthread_mutex_t* mutex) {
  if (const int error = pthread_mutex_destroy(mutex); error != 0) return error;
  std::memset(mutex, 0, sizeof(pthread_mutex_t));
  return 0;
}

int increment(std::atomic_ref<std::int32_t> counter) {
  const std::int32_t count = counter.load(std::memory_order_relaxed);
  if (count == std::numeric_limits<std::int32_t>::max()) return EOVERFLOW;
  counter.store(count + 1, std::memory_order_release);
  return 0;
}

}  // namespace

uint32_t MutexCreate(void* mutex) { return status_of(mutex == nullptr ? EINVAL : create(mutex_in(mutex))); }

uint32_t MutexDestroy(void* mutex) { return status_of(mutex == nullptr ? EINVAL : destroy(mutex_in(mutex))); }

uint32_t MutexLock(void* mutex, int32_t timeout_or_flags) {
  if (mutex == nullptr || timeout_or_flags != 0) return status_of(EINVAL);
  return status_of(pthread_mutex_lock(mutex_in(mutex)));
}

uint32_t MutexUnLock(void* mutex) {
  return status_of(mutex == nullptr ? EINVAL : pthread_mutex_unlock(mutex_in(mutex)));
}

uint32_t LockedIncrement(int32_t* counter, void* mutex) {
  if (counter == nullptr) return status_of(EINVAL);
  if (const uint32_t status = MutexLock(mutex, 0); status != 0) return status;
  const int error = increment(std::atomic_ref<std::int32_t>(*counter));
  const uint32_t unlocked = MutexUnLock(mutex);
  return error != 0 ? status_of(error) : unlocked;
}
