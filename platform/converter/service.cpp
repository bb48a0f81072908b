// The exported operations. A converter is a Page of the read-only tables: found by two look-ups, the same one for every
// thread, never released. The service holds nothing but whether it is started, so there is no lock that a fork could
// leave held.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "forms.h"
#include "page_data.h"
#include "single_byte_kernels.h"

namespace {

using zvrt::Form;
using zvrt::Page;
using zvrt::Style;

constinit std::atomic<bool> started{false};

bool are_blocks(void* anchor, void* thread) {
  const auto* const block = static_cast<const ZVRTThreadBlock*>(thread);
  return anchor != nullptr && block != nullptr && block->mark == ZVRT_THREAD_BLOCK_MARK;
}

constexpr Style style_of(std::int32_t kind) {
  return kind == 'N' ? Style::new_line : kind == 'B' ? Style::ibm : Style::usual;
}

const Page* find(std::uint32_t number, Style style) {
  if (number == 0xFFFFFFFF) return &zvrt_pages[zvrt_page_numbers.utf8];
  if (number > 0xFFFF) return nullptr;
  const std::uint32_t index = zvrt_page_numbers.index[static_cast<std::size_t>(style)];
  const std::uint16_t place = zvrt::trie_unit(zvrt_shorts + index, zvrt_shorts, number);
  return place == zvrt::no_page ? nullptr : &zvrt_pages[place];
}

constexpr std::size_t length_of(std::int32_t count) { return count < 0 ? 0 : static_cast<std::size_t>(count); }

// By form, in the order of the enumeration.
const zvrt::Conversions* const conversions[zvrt::form_count] = {
    &zvrt::single_byte_conversions, &zvrt::double_byte_conversions, &zvrt::multi_byte_conversions,
    &zvrt::gb18030_conversions,     &zvrt::stateful_conversions,    &zvrt::utf8_conversions,
    &zvrt::cesu8_conversions,       &zvrt::utf16_conversions,       &zvrt::utf32_conversions,
};

const zvrt::Conversions& conversions_of(const Page& page) { return *conversions[static_cast<std::size_t>(page.form)]; }

// What the kernels of a single-byte page convert completely takes no frame besides theirs; anything else goes through the
// page, from its start.
zvrt::Outcome decode(const Page& page, zvrt::Bytes source, zvrt::WideDestination destination) {
  if (page.form == Form::single_byte && source.size() <= destination.count &&
      zvrt::single_byte_kernels.read(page, source.data(), source.size(), destination.data) == source.size())
    return {0, source.size()};
  return conversions_of(page).decode(page, source, destination);
}

zvrt::Outcome encode(const Page& page, zvrt::WideText source, zvrt::ByteDestination destination) {
  if (page.form == Form::single_byte && source.count <= destination.size() &&
      zvrt::single_byte_kernels.write(page, source.data, source.count, destination.data()) == source.count)
    return {0, source.count};
  return conversions_of(page).encode(page, source, destination);
}

std::uint32_t report(zvrt::Outcome outcome, std::uint32_t* count) {
  constexpr std::size_t largest = std::numeric_limits<std::uint32_t>::max();
  *count = static_cast<std::uint32_t>(std::min(outcome.count, largest));
  return outcome.status;
}

}  // namespace

uint32_t ZVRT_ICU_Init(void* anchor, void* thread) {
  if (!are_blocks(anchor, thread)) return ZVRT_ICU_RC_INVALID_PARAM;
  started.store(true, std::memory_order_relaxed);
  return 0;
}

uint32_t ZVRT_ICU_Term(void* anchor, void* thread) {
  if (!are_blocks(anchor, thread)) return ZVRT_ICU_RC_INVALID_PARAM;
  started.store(false, std::memory_order_relaxed);
  return 0;
}

void* ZVRT_GetICUConverterInfo(void* anchor, void* thread, uint32_t codePage, int32_t kind) {
  if (!are_blocks(anchor, thread) || !started.load(std::memory_order_relaxed)) return nullptr;
  return const_cast<Page*>(find(codePage, style_of(kind)));  // callers hold it as they are given it, and never write
}

uint32_t ZVRT_IcuMultibyteToWide(void* converter, const void* src, int32_t srcBytes, void* dst, int32_t dstChars,
                                 uint32_t* outChars) {
  if (converter == nullptr || outChars == nullptr) return ZVRT_ICU_RC_INVALID_PARAM;
  const zvrt::Bytes source(static_cast<const unsigned char*>(src), length_of(srcBytes));
  const zvrt::WideDestination destination{static_cast<unsigned char*>(dst), length_of(dstChars)};
  return report(decode(*static_cast<const Page*>(converter), source, destination), outChars);
}

uint32_t ZVRT_IcuWideToMultibyte(void* converter, const void* src, int32_t srcChars, void* dst, int32_t dstBytes,
                                 uint32_t* outBytes) {
  if (converter == nullptr || outBytes == nullptr) return ZVRT_ICU_RC_INVALID_PARAM;
  const zvrt::WideText source{static_cast<const unsigned char*>(src), length_of(srcChars)};
  const zvrt::ByteDestination destination(static_cast<unsigned char*>(dst), length_of(dstBytes));
  return report(encode(*static_cast<const Page*>(converter), source, destination), outBytes);
}
