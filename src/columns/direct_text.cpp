// Direct kernels between narrow and wide text: UTF-8 by the transcoding kernels, pages by their tables.
//
// The transcoding kernels are lenient: they take overlong forms, surrogates and what lies above Unicode. What they may be
// given is looked at first, without a branch per character:
//
//   UTF-8  no byte C0, C1, E0, ED or F0..FF: every other lead byte takes any following byte
//   wide   no surrogate, nothing above U+FFFF
//
// Text that fails this, or holds a zero, goes through a block.
#include <algorithm>
#include <cstring>

#include "columns/direct.h"
#include "encoding/text_kernels.h"
#include "support/cpu.h"

namespace zvrt::columns {

namespace {

// The bytes of value i, at most `most`; -1 where a block has to look at it.
std::int64_t find_length(const Type& type, const Rows& rows, const std::byte* at, std::int32_t i, std::int32_t most) {
  if (type.extent != Extent::terminated) {
    const std::int64_t length = rows.source_lengths->at != nullptr ? rows.source_lengths->load(i) : type.length;
    const bool is_usual = length >= 0 && length <= std::min(most, type.length) && length % type.unit == 0;
    return is_usual ? length : -1;
  }
  const std::int32_t units = std::min(most, type.length) / type.unit;
  const std::int32_t length = type.unit == 4 ? length_within(static_cast<const void*>(at), units)
                                             : length_within(reinterpret_cast<const char*>(at), units);
  return length < units ? std::int64_t{length} * type.unit : -1;
}

template <class Unit>
void close_text(const TextSlot& place, std::byte* slot, std::size_t bytes) {
  if (place.is_terminated) store<Unit>(slot + place.offset + bytes, 0, 0);
  if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(bytes));
}

bool may_decode(const std::byte* at, std::size_t count) {
  std::uint8_t bad = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const auto byte = static_cast<std::uint8_t>(at[k]);
    bad |= static_cast<std::uint8_t>(static_cast<std::uint8_t>((byte & 0xFE) == 0xC0) |
                                     static_cast<std::uint8_t>(byte == 0xE0) | static_cast<std::uint8_t>(byte == 0xED) |
                                     static_cast<std::uint8_t>(byte >= 0xF0));
  }
  return bad == 0;
}

constexpr std::int32_t longest_text = 128;  // units

// One row; false where a block has to convert it.
bool decode_row(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows, std::int32_t i) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  const std::int64_t length = find_length(plan.from.type, rows, at, i, longest_text);
  const auto count = static_cast<std::size_t>(length);
  if (length < 0 || !may_decode(at, count)) return false;
  std::byte text[longest_text * sizeof(Wide)];
  const Progress progress = text_kernels.decode(reinterpret_cast<const char*>(at), count, text, count);
  const std::size_t bytes = progress.written * sizeof(Wide);
  if (progress.read != count || bytes > static_cast<std::size_t>(place.capacity)) return false;
  std::byte* const slot = rows.target + i * rows.target_stride;
  std::memcpy(slot + place.offset, text, bytes);
  close_text<Wide>(place, slot, bytes);
  rows.lengths[i] = static_cast<std::int64_t>(bytes);
  return true;
}

// What the characters of a wide text are: the bytes in UTF-8, or -1 for one that a block has to look at.
std::int64_t measure_utf8(const std::byte* at, std::size_t count) {
  std::uint32_t all = 0;
  for (std::size_t k = 0; k < count; ++k) all |= load<Wide>(at, k);
  if (all < 0x80) return static_cast<std::int64_t>(count);
  if (all > 0xFFFF) return -1;
  std::uint32_t extra = 0;
  std::uint32_t bad = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const auto c = load<Wide>(at, k);
    bad |= static_cast<std::uint32_t>((c & 0xF800) == 0xD800);
    extra += static_cast<std::uint32_t>((c & 0xFF80) != 0) + static_cast<std::uint32_t>((c & 0xF800) != 0);
  }
  return bad != 0 ? -1 : static_cast<std::int64_t>(count + extra);
}

// All that the slot receives is known to be right before the first byte is written.
bool encode_row(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows, std::int32_t i) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  const std::int64_t length = find_length(plan.from.type, rows, at, i, longest_text * 4);
  if (length < 0) return false;
  const auto count = static_cast<std::size_t>(length) / sizeof(Wide);
  const std::int64_t bytes = measure_utf8(at, count);
  if (bytes < 0 || bytes > place.capacity) return false;
  std::byte* const slot = rows.target + i * rows.target_stride;
  char text[longest_text * 3];
  // The kernel stops before a zero: what a slot received so far would stay there if a block then refuses the text.
  const bool is_plain = plan.from.type.extent == Extent::terminated || !place.is_terminated;
  char* const out = is_plain ? reinterpret_cast<char*>(slot + place.offset) : text;
  const Progress progress = text_kernels.encode(at, count, out, static_cast<std::size_t>(bytes));
  if (progress.read != count) return false;
  if (!is_plain) std::memcpy(slot + place.offset, text, static_cast<std::size_t>(bytes));
  close_text<char>(place, slot, static_cast<std::size_t>(bytes));
  rows.lengths[i] = bytes;
  return true;
}

// A page's bytes to wide characters by its table; the mark of an undefined one is a bit that no character has.
bool decode_page_row(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows, std::int32_t i) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  const std::int64_t length = find_length(plan.from.type, rows, at, i, longest_text);
  if (length < 0 || length * std::int64_t{sizeof(Wide)} > place.capacity) return false;
  const PageTables& tables = *plan.from.type.page.tables;
  Wide text[longest_text];
  std::uint32_t all = 0;
  bool has_zero = false;
  for (std::int64_t k = 0; k < length; ++k) {
    text[k] = tables.character_of[static_cast<std::size_t>(at[k])];
    all |= text[k];
    has_zero |= text[k] == 0;
  }
  if ((all & undefined_character) != 0 || (has_zero && place.is_terminated)) return false;
  std::byte* const slot = rows.target + i * rows.target_stride;
  const std::size_t bytes = static_cast<std::size_t>(length) * sizeof(Wide);
  std::memcpy(slot + place.offset, text, bytes);
  close_text<Wide>(place, slot, bytes);
  rows.lengths[i] = static_cast<std::int64_t>(bytes);
  return true;
}

bool encode_page_row(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows, std::int32_t i) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  const std::int64_t length = find_length(plan.from.type, rows, at, i, longest_text * 4);
  const std::int64_t count = length / std::int64_t{sizeof(Wide)};
  if (length < 0 || count > place.capacity) return false;
  const PageTables& tables = *plan.to.type.page.tables;
  std::uint8_t text[longest_text];
  std::uint32_t all = 0;
  bool has_zero = false;
  for (std::int64_t k = 0; k < count; ++k) {
    const auto character = load<Wide>(at, static_cast<std::size_t>(k));
    all |= character;
    has_zero |= character == 0;
  }
  bool is_known = true;
  if (all < 0x80 && tables.has_all_ascii) {
    for (std::int64_t k = 0; k < count; ++k)
      text[k] = tables.code_of_ascii[load<Wide>(at, static_cast<std::size_t>(k))];
  } else {
    for (std::int64_t k = 0; k < count; ++k) {
      is_known &= tables.find_code(load<Wide>(at, static_cast<std::size_t>(k)), text[k]);
    }
  }
  if (!is_known || (has_zero && place.is_terminated)) return false;
  std::byte* const slot = rows.target + i * rows.target_stride;
  std::memcpy(slot + place.offset, text, static_cast<std::size_t>(count));
  close_text<char>(place, slot, static_cast<std::size_t>(count));
  rows.lengths[i] = count;
  return true;
}

const TranscodingKernels* const transcoding_kernels =
    choose_version(Versions<const TranscodingKernels>{ZVRT_X86(.avx512 = &transcoding_kernels_avx512)});

Direct* utf8_to_wide_at_once() {
  return transcoding_kernels != nullptr ? transcoding_kernels->utf8_to_wide : direct_kernels().utf8_to_wide;
}
Direct* wide_to_utf8_at_once() { return transcoding_kernels != nullptr ? transcoding_kernels->wide_to_utf8 : nullptr; }
Direct* none_at_once() { return nullptr; }
Direct* page_to_wide_at_once() { return direct_kernels().page_to_wide; }
Direct* wide_to_page_at_once() { return direct_kernels().wide_to_page; }

// Rows that this machine has a kernel for at once; a row that it leaves is followed by others like it, so some are
// converted one by one.
template <Direct* (*find_at_once)(), bool (*convert_row)(const ZVRTPlan&, const TextSlot&, const Rows&, std::int32_t)>
std::int32_t convert(const ZVRTPlan& plan, const Rows& rows) {
  constexpr std::int32_t row_by_row = 32;
  const TextSlot place = text_slot(plan.to.type);
  Direct* const at_once = find_at_once();
  std::int32_t done = 0;
  while (done < rows.count) {
    Entries lengths;
    if (at_once != nullptr) done += at_once(plan, rows_after(rows, done, lengths));
    const std::int32_t end = at_once != nullptr ? std::min(done + row_by_row, rows.count) : rows.count;
    for (; done < end; ++done) {
      if (!convert_row(plan, place, rows, done)) return done;
    }
  }
  return rows.count;
}

}  // namespace

Direct* find_direct_transcoding(const ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  const bool known =
      is_plain_text(from, 0) && is_plain_text(to, 0) && from.extent != Extent::prefixed && !from.is_swapped();
  if (!known) return nullptr;
  if (from.page.is_utf8() && from.unit == 1 && to.unit == 4) return convert<utf8_to_wide_at_once, decode_row>;
  if (from.unit == 4 && to.unit == 1 && to.page.how == PageKind::utf8) {
    return convert<wide_to_utf8_at_once, encode_row>;
  }
  if (from.unit == 1 && from.page.how == PageKind::table && to.unit == 4) {
    return convert<page_to_wide_at_once, decode_page_row>;
  }
  if (from.unit != 4 || to.unit != 1 || to.page.how != PageKind::table) return nullptr;
  return to.page.tables->has_all_ascii ? convert<wide_to_page_at_once, encode_page_row>
                                       : convert<none_at_once, encode_page_row>;
}

}  // namespace zvrt::columns
