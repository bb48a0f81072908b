// The exported operations, and the cache in each thread's block that finds a converter again without a lock.
#include <unicode/uclean.h>
#include <unicode/ucnv.h>

#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "page_store.h"
#include "single_byte_tables.h"

namespace {

using zvrt::Converter;
using zvrt::PageStore;
using zvrt::Style;

// A converter that the thread has found before.
struct Entry {
  std::uint64_t key;
  Converter* converter;
  std::unique_ptr<Converter> owned;  // set when the converter is the thread's alone
  std::unique_ptr<Entry> next;
};

constexpr std::uint64_t no_key = std::numeric_limits<std::uint64_t>::max();

// A number and a kind as the service is asked for them.
struct Request {
  std::uint32_t number;
  std::int32_t kind;

  bool operator==(const Request&) const = default;
};

// What a thread has found, the last used first. Of the numbers that nothing knows only the last is remembered, so that
// no sequence of them makes the cache grow without bound.
struct Cache {
  Request last_request{};  // what `last` was the answer to
  Converter* last = nullptr;
  std::unique_ptr<Entry> first;
  std::uint64_t unknown = no_key;
  Cache* previous = nullptr;  // the caches of all threads
  Cache* next = nullptr;

  void forget() {
    while (first != nullptr) first = std::exchange(first->next, nullptr);
    unknown = no_key;
    last = nullptr;
  }
};

// Guarded by `lock`, which a thread takes when it meets a page for the first time, and when it or the service ends.
// Nothing here is destroyed with the process, so that threads may outlive its static objects.
constinit std::mutex lock;
constinit PageStore* store = nullptr;  // null: the service is not started
constinit Cache* caches = nullptr;

// The thread ends, or its block passes to a later anchor block.
void release_cache(void* value) {
  const std::lock_guard guard(lock);
  const std::unique_ptr<Cache> cache(static_cast<Cache*>(value));
  cache->forget();
  (cache->previous != nullptr ? cache->previous->next : caches) = cache->next;
  if (cache->next != nullptr) cache->next->previous = cache->previous;
}

// The cache in the block, a new one if there is none yet; null for want of memory.
Cache* cache_in(ZVRTThreadBlock& block) {
  if (block.converter.value != nullptr) return static_cast<Cache*>(block.converter.value);
  auto* const cache = new (std::nothrow) Cache;
  if (cache == nullptr) return nullptr;
  cache->next = caches;
  if (caches != nullptr) caches->previous = cache;
  caches = cache;
  block.converter = {cache, release_cache};
  return cache;
}

ZVRTThreadBlock* block_of(void* anchor, void* thread) {
  auto* const block = static_cast<ZVRTThreadBlock*>(thread);
  return anchor != nullptr && block != nullptr && block->mark == ZVRT_THREAD_BLOCK_MARK ? block : nullptr;
}

constexpr std::uint64_t key_of(std::uint32_t number, Style style) {
  return static_cast<std::uint64_t>(style) << 32 | number;
}

// Finds an entry and moves it to the front.
Entry* find(Cache& cache, std::uint64_t key) {
  for (std::unique_ptr<Entry>* link = &cache.first; *link != nullptr; link = &(*link)->next) {
    if ((*link)->key != key) continue;
    std::unique_ptr<Entry> entry = std::exchange(*link, std::move((*link)->next));
    entry->next = std::exchange(cache.first, nullptr);
    cache.first = std::move(entry);
    return cache.first.get();
  }
  return nullptr;
}

// A page that this thread meets for the first time.
Converter* open(ZVRTThreadBlock& block, std::uint32_t number, Style style) {
  const std::lock_guard guard(lock);
  if (store == nullptr) return nullptr;
  Cache* const cache = cache_in(block);
  if (cache == nullptr) return nullptr;
  PageStore::Opened opened = store->open(number, style);
  if (opened.result == PageStore::Opened::Result::unknown) cache->unknown = key_of(number, style);
  if (opened.result != PageStore::Opened::Result::found) return nullptr;
  std::unique_ptr<Entry> entry(new (std::nothrow) Entry{key_of(number, style), opened.converter, nullptr, nullptr});
  if (entry == nullptr) return nullptr;
  entry->owned = std::move(opened.owned);
  entry->next = std::move(cache->first);
  cache->first = std::move(entry);
  return cache->first->converter;
}

Converter* find_or_open(ZVRTThreadBlock& block, std::uint32_t number, Style style) {
  if (auto* const cache = static_cast<Cache*>(block.converter.value); cache != nullptr) {
    if (const Entry* const entry = find(*cache, key_of(number, style)); entry != nullptr) return entry->converter;
    if (cache->unknown == key_of(number, style)) return nullptr;
  }
  return open(block, number, style);
}

// Not the last request again. Apart, so that the way of the last one saves no registers.
[[gnu::noinline]] Converter* answer(ZVRTThreadBlock& block, Request request) {
  Converter* const converter = find_or_open(block, request.number, zvrt::style_of(request.kind));
  if (converter == nullptr) return nullptr;
  auto* const cache = static_cast<Cache*>(block.converter.value);
  cache->last_request = request;
  cache->last = converter;
  return converter;
}

constexpr std::size_t length_of(std::int32_t count) { return count < 0 ? 0 : static_cast<std::size_t>(count); }

// Text that the kernels of a single-byte page convert completely costs no virtual call; any other text goes through the
// page, from its start.
zvrt::Outcome decode(Converter& page, zvrt::Bytes source, zvrt::WideDestination destination) {
  const auto [tables, kernels] = page.single_bytes();
  if (kernels != nullptr && source.size() <= destination.count &&
      kernels->read(*tables, source.data(), source.size(), destination.data) == source.size())
    return {0, source.size()};
  return page.decode(source, destination);
}

zvrt::Outcome encode(Converter& page, zvrt::WideText source, zvrt::ByteDestination destination) {
  const auto [tables, kernels] = page.single_bytes();
  if (kernels != nullptr && source.count <= destination.size() &&
      kernels->write(*tables, source.data, source.count, destination.data()) == source.count)
    return {0, source.count};
  return page.encode(source, destination);
}

std::uint32_t report(zvrt::Outcome outcome, std::uint32_t* count) {
  constexpr std::size_t largest = std::numeric_limits<std::uint32_t>::max();
  *count = static_cast<std::uint32_t>(std::min(outcome.count, largest));
  return outcome.status;
}

}  // namespace

uint32_t ZVRT_ICU_Init(void* anchor, void* thread) {
  if (block_of(anchor, thread) == nullptr) return ZVRT_ICU_RC_INVALID_PARAM;
  const std::lock_guard guard(lock);
  UErrorCode error = U_ZERO_ERROR;
  u_init(&error);
  if (U_FAILURE(error)) return ZVRT_ICU_RC_ICU_FAILED;
  if (store == nullptr) store = new (std::nothrow) PageStore;
  return store != nullptr ? 0 : ZVRT_ICU_RC_ICU_FAILED;
}

uint32_t ZVRT_ICU_Term(void* anchor, void* thread) {
  if (block_of(anchor, thread) == nullptr) return ZVRT_ICU_RC_INVALID_PARAM;
  const std::lock_guard guard(lock);
  // The caches stay with their threads, empty; streamed converters go before ICU is asked to drop what nobody uses.
  for (Cache* cache = caches; cache != nullptr; cache = cache->next) cache->forget();
  delete std::exchange(store, nullptr);
  ucnv_flushCache();
  return 0;
}

void* ZVRT_GetICUConverterInfo(void* anchor, void* thread, uint32_t codePage, int32_t kind) {
  ZVRTThreadBlock* const block = block_of(anchor, thread);
  if (block == nullptr) return nullptr;
  const Request request{codePage, kind};
  const auto* const cache = static_cast<const Cache*>(block->converter.value);
  if (cache != nullptr && cache->last != nullptr && cache->last_request == request) return cache->last;
  return answer(*block, request);
}

uint32_t ZVRT_IcuMultibyteToWide(void* converter, const void* src, int32_t srcBytes, void* dst, int32_t dstChars,
                                 uint32_t* outChars) {
  if (converter == nullptr || outChars == nullptr) return ZVRT_ICU_RC_INVALID_PARAM;
  const zvrt::Bytes source(static_cast<const unsigned char*>(src), length_of(srcBytes));
  const zvrt::WideDestination destination{static_cast<unsigned char*>(dst), length_of(dstChars)};
  return report(decode(*static_cast<Converter*>(converter), source, destination), outChars);
}

uint32_t ZVRT_IcuWideToMultibyte(void* converter, const void* src, int32_t srcChars, void* dst, int32_t dstBytes,
                                 uint32_t* outBytes) {
  if (converter == nullptr || outBytes == nullptr) return ZVRT_ICU_RC_INVALID_PARAM;
  const zvrt::WideText source{static_cast<const unsigned char*>(src), length_of(srcChars)};
  const zvrt::ByteDestination destination(static_cast<unsigned char*>(dst), length_of(dstBytes));
  return report(encode(*static_cast<Converter*>(converter), source, destination), outBytes);
}
