#include "columns/joined.h"

#include <algorithm>
#include <cstring>

#include "columns/short_numbers.h"
#include "encoding/utf8.h"
#include "support/cpu.h"

namespace zvrt::columns {

namespace {

const JoinKernels no_kernels{};
const JoinKernels& kernels =
    *choose_version(Versions<const JoinKernels>{.baseline = &no_kernels ZVRT_X86(, .avx512 = &join_kernels_avx512)});

// The bytes of a text; -1 where a block has to look at it.
std::int64_t find_length(const Type& type, const Rows& rows, std::int32_t i) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  if (type.extent == Extent::terminated) {
    const void* const end = std::memchr(at, 0, static_cast<std::size_t>(type.length));
    return end == nullptr ? -1 : static_cast<const std::byte*>(end) - at;
  }
  const std::int64_t length = rows.source_lengths->at != nullptr ? rows.source_lengths->load(i) : type.length;
  return length > type.length ? -1 : length;
}

// What is left of a text without the blanks at its end, eight at a time; others that mean a blank may be left.
std::int64_t trim_blanks(const Type& from, const std::byte* text, std::int64_t count) {
  const std::byte blank = from.page.blank[0];
  const std::uint64_t blanks = UINT64_C(0x0101010101010101) * static_cast<std::uint64_t>(blank);
  if (!from.has(ZVRT_TYPE_TRIM) || from.page.blank_bytes != 1) return count;
  while (count >= 8 && load<std::uint64_t>(text + count - 8) == blanks) count -= 8;
  while (count > 0 && text[count - 1] == blank) --count;
  return count;
}

// Its length; -1 where a byte has no character.
std::int64_t put_page_text(const Type& from, const std::byte* text, std::int64_t count, std::byte* at) {
  const PageTables& tables = *from.page.tables;
  const bool blanks_lows = from.has(ZVRT_TYPE_LOW_AS_BLANK);
  const std::byte* const begin = at;
  const std::byte* trimmed = at;  // the end of the last character that is no blank
  for (std::int64_t k = 0; k < count; ++k) {
    std::uint32_t character = tables.character_of[static_cast<std::size_t>(text[k])];
    if (character == undefined_character) return -1;
    if (blanks_lows && character == 0) character = ' ';
    const std::int32_t bytes = utf8_length(character);  // 3 at most: a table has nothing above U+FFFF
    encode_utf8(character, bytes, reinterpret_cast<char*>(at));
    at += bytes;
    if (character != ' ') trimmed = at;
  }
  return (from.has(ZVRT_TYPE_TRIM) ? trimmed : at) - begin;
}

// Its length; -1 for text that is not ASCII.
template <bool from_page>
std::int64_t put_ascii(const Type& from, const std::byte* text, std::int64_t count, std::byte* at) {
  const bool blanks_lows = from.has(ZVRT_TYPE_LOW_AS_BLANK);
  std::uint32_t all = 0;
  for (std::int64_t k = 0; k < count; ++k) {
    const auto byte = static_cast<std::uint8_t>(text[k]);
    std::uint8_t ascii = from_page ? from.page.tables->ascii_of[byte] : byte;
    if (blanks_lows && ascii == 0) ascii = ' ';
    all |= ascii;
    at[k] = static_cast<std::byte>(ascii);
  }
  while (from.has(ZVRT_TYPE_TRIM) && count > 0 && at[count - 1] == std::byte{' '}) --count;
  return all < 0x80 ? count : -1;
}

// False where a block has to convert the row.
template <bool from_page>
bool join_row(const Type& from, const Rows& rows, std::int32_t i, JoinedTexts& texts) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  std::int64_t length = find_length(from, rows, i);
  if (length < 0) return false;
  length = trim_blanks(from, at, length);
  std::int64_t bytes = put_ascii<from_page>(from, at, length, texts.at);
  if (from_page && bytes < 0) bytes = put_page_text(from, at, length, texts.at);
  if (bytes < 0) return false;
  texts.add(static_cast<std::int32_t>(bytes));
  return true;
}

// Rows that this machine has a kernel for at once; a row that it leaves is followed by others like it, so some are
// converted one by one.
template <bool from_page>
std::int32_t join_texts(const ZVRTPlan& plan, const Rows& rows, JoinedTexts& texts) {
  constexpr std::int32_t row_by_row = 8;
  Join* const at_once = from_page ? kernels.page : kernels.utf8;
  std::int32_t done = 0;
  while (done < rows.count) {
    Entries lengths;
    if (at_once != nullptr) done += at_once(plan, rows_after(rows, done, lengths), texts);
    const std::int32_t end = at_once != nullptr ? std::min(done + row_by_row, rows.count) : rows.count;
    for (; done < end; ++done) {
      if (!join_row<from_page>(plan.from.type, rows, done, texts)) return done;
    }
  }
  return rows.count;
}

std::int32_t join_numbers(const ZVRTPlan& plan, const Rows& rows, JoinedTexts& texts) {
  ShortNumbers numbers;
  for (std::int32_t done = 0; done < rows.count;) {
    Entries lengths;
    Rows part = rows_after(rows, done, lengths);
    part.count = std::min(part.count, short_rows);
    const std::int32_t read = plan.read_short(plan, part, numbers);
    number_kernels().join(plan, numbers, read, texts);
    done += read;
    if (read < part.count) return done;
  }
  return rows.count;
}

// Slots that hold whatever the text becomes, and nothing but the text: then they may be left out.
bool is_bare_text(const Type& from, const Type& to) {
  return to.form == Form::text && to.extent == Extent::counted && to.unit == 1 && to.page.is_utf8() && to.flags == 0 &&
         to.model == nullptr && to.length >= joined_bytes(from);
}

}  // namespace

Join* find_joined(const ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  if (!is_bare_text(from, plan.to.type)) return nullptr;
  // Floats have kernels of their own.
  if (from.form != Form::text) return plan.direct == convert_short_numbers ? join_numbers : nullptr;
  const bool known = is_plain_text(from, ZVRT_TYPE_TRIM | ZVRT_TYPE_LOW_AS_BLANK) && from.extent != Extent::prefixed &&
                     from.unit == 1 && from.page.how != PageKind::service;
  if (!known) return nullptr;
  return from.page.is_utf8() ? join_texts<false> : join_texts<true>;
}

}  // namespace zvrt::columns
