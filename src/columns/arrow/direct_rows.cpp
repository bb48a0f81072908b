#include "columns/arrow/direct_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "columns/kernels/packed_word.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt::arrow {

namespace {

bool is_text(const Field& field) { return field.column.form == Form::text || field.column.form == Form::large_text; }

bool has_kernel(const Field& field) {
  if (is_text(field)) return field.to_column->joined != nullptr;
  return field.column.form == Form::cells && field.to_column->direct != nullptr;
}

// Fields of up to so many bytes are copied together.
constexpr std::int32_t longest_staged = 512;

// Calls `run` with a length that is a constant up to 8.
template <std::int32_t known = 1, class Run>
void with_length(std::int32_t length, Run run) {
  if constexpr (known > 8) {
    run(length);
  } else {
    if (length == known) return run(std::integral_constant<std::int32_t, known>{});
    with_length<known + 1>(length, run);
  }
}

}  // namespace

bool DirectRows::suits(const Field& field) {
  const columns::Type& type = field.to_column->from.type;
  if (!has_kernel(field) || type.length <= 0) return false;
  // Which bytes of the others are the value, only a block finds out.
  const bool is_whole = type.extent == columns::Extent::fixed || type.extent == columns::Extent::counted;
  return is_whole || !field.may_be_null();
}

// Two passes: which rows may be null needs no branch, and what those are is looked at one by one.
void DirectRows::find_null_forms(const Records& records, std::int64_t first, std::int32_t count) {
  std::int16_t suspects[most_rows];
  std::size_t suspected = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    suspects[suspected] = static_cast<std::int16_t>(i);
    const std::byte begin = records.at(first + i)[field_.offset];
    suspected += static_cast<std::size_t>(field_.begins_null[static_cast<std::size_t>(begin)]);
  }
  for (std::size_t k = 0; k < suspected; ++k) {
    const std::byte* const at = records.at(first + suspects[k]) + field_.offset;
    is_null_[suspects[k]] |= columns::find_null_form(type_, {at, type_.length}) == columns::Content::null;
  }
}

// Short fields whose null forms repeat one byte, as words: neither kind needs a branch.
template <std::int32_t length>
void DirectRows::find_null_words(const Records& records, std::int64_t first, std::int32_t count) {
  const auto word_of = [](const std::byte* at) { return columns::load_field<length>(at); };
  const auto repeated = [&](std::uint32_t flag, std::byte byte) {
    std::byte bytes[sizeof(std::uint64_t)];
    std::fill_n(bytes, sizeof bytes, type_.has(flag) ? byte : only_null_byte());
    return word_of(bytes);
  };
  const std::uint64_t low = repeated(ZVRT_TYPE_NULL_LOW, std::byte{0});
  const std::uint64_t high = repeated(ZVRT_TYPE_NULL_HIGH, std::byte{0xFF});
  const std::uint64_t blank = repeated(ZVRT_TYPE_NULL_BLANKS, type_.page.blank[0]);
  for (std::int32_t i = 0; i < count; ++i) {
    const std::uint64_t word = word_of(records.at(first + i) + field_.offset);
    is_null_[i] |= word == low || word == high || word == blank;
  }
}

// Of a type's forms.
std::byte DirectRows::only_null_byte() const {
  if (type_.has(ZVRT_TYPE_NULL_LOW)) return std::byte{0};
  return type_.has(ZVRT_TYPE_NULL_HIGH) ? std::byte{0xFF} : type_.page.blank[0];
}

std::int32_t DirectRows::find_nulls(const Records& records, std::int64_t first, std::int32_t count) {
  std::fill_n(is_null_, count, false);
  for (std::int32_t i = 0; i < count && field_.indicator_offset >= 0; ++i) {
    is_null_[i] = load<std::int16_t>(records.at(first + i) + field_.indicator_offset) < 0;
  }
  const bool repeats_byte =
      !type_.has(ZVRT_TYPE_NULL_ZEROS) && (!type_.has(ZVRT_TYPE_NULL_BLANKS) || type_.page.blank_bytes == 1);
  if (type_.has_null_form() && repeats_byte && type_.unit == 1 && type_.length <= 8) {
    with_length(type_.length, [&](auto length) {
      if constexpr (!std::is_same_v<decltype(length), std::int32_t>) find_null_words<length>(records, first, count);
    });
  } else if (type_.has_null_form()) {
    find_null_forms(records, first, count);
  }
  return static_cast<std::int32_t>(std::count(is_null_, is_null_ + count, true));
}

// Copies the fields together.
template <class Length>
void DirectRows::stage(const Records& records, std::int64_t first, std::int32_t count, Length length) {
  const auto bytes = static_cast<std::size_t>(length);
  std::int32_t value = 0;
  while (nulls_ > 0 && is_null_[value]) ++value;
  for (std::int32_t i = 0; i < count; ++i) {
    value = is_null(i) ? value : i;
    std::memcpy(staged_ + static_cast<std::size_t>(i) * bytes, records.at(first + value) + field_.offset, bytes);
  }
}

void DirectRows::clear_nulls(std::int32_t count, std::byte* elements) const {
  const auto width = static_cast<std::size_t>(field_.column.width);
  for (std::int32_t i = 0; i < count && width != 8; ++i) {
    if (is_null_[i]) std::memset(elements + static_cast<std::size_t>(i) * width, 0, width);
  }
  // Without a branch: nulls may stand anywhere.
  for (std::size_t i = 0; i < static_cast<std::size_t>(count) && width == 8; ++i) {
    const std::uint64_t kept = is_null_[i] ? 0 : UINT64_MAX;
    store(elements, i, load<std::uint64_t>(elements, i) & kept);
  }
}

// Eight flags of a byte each to a bit each: the product's highest byte has them all.
ZVRT_WRAPS std::byte DirectRows::eight_valid(std::int32_t i) const {
  auto flags = load<std::uint64_t>(is_null_ + i);
  if constexpr (std::endian::native == std::endian::big) flags = __builtin_bswap64(flags);
  return ~static_cast<std::byte>(flags * UINT64_C(0x0102040810204080) >> 56);
}

// Among nulls numbers are converted as copies, texts by their lengths.
std::int32_t DirectRows::run_kernel(const Records& records, std::int64_t first, std::int32_t count, std::byte* elements,
                                    columns::JoinedTexts& texts) {
  const bool is_joined = is_text(field_);
  const bool is_staged = records.starts != nullptr || (nulls_ > 0 && !is_joined);
  if (is_staged) {
    with_length(type_.length, [&](auto length) { stage(records, first, count, length); });
  }
  columns::Entries lengths;
  if (is_joined && nulls_ > 0) {
    std::transform(is_null_, is_null_ + count, text_lengths_, [&](bool null) { return null ? 0 : type_.length; });
    lengths = {reinterpret_cast<std::byte*>(text_lengths_), sizeof *text_lengths_, sizeof *text_lengths_};
  }
  std::int64_t unused[most_rows];
  const columns::Rows rows{is_staged ? staged_ : records.at(first) + field_.offset,
                           is_staged ? type_.length : records.stride,
                           &lengths,
                           elements,
                           field_.column.width,
                           count,
                           unused};
  const ZVRTPlan& plan = *field_.to_column;
  return is_joined ? plan.joined(plan, rows, texts) : plan.direct(plan, rows);
}

std::int32_t DirectRows::convert(const Records& records, std::int64_t first, std::int64_t most, std::byte* elements,
                                 columns::JoinedTexts& texts) {
  const bool is_joined = is_text(field_);
  const bool may_be_null = field_.may_be_null();
  const bool may_be_staged = records.starts != nullptr || (may_be_null && !is_joined);
  if (may_be_staged && type_.length > longest_staged) return 0;
  if (is_joined) most = std::min(most, joined_rows());
  const std::int32_t room = may_be_staged ? std::min(most_rows, staged_bytes / type_.length) : most_rows;
  const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(most, room));
  nulls_ = may_be_null ? find_nulls(records, first, count) : 0;
  if (nulls_ == count) {
    for (std::int32_t i = 0; is_joined && i < count; ++i) texts.add(0);
    if (!is_joined) clear_nulls(count, elements);
    return count;
  }
  const std::int32_t done = run_kernel(records, first, count, elements, texts);
  if (nulls_ > 0) nulls_ = static_cast<std::int32_t>(std::count(is_null_, is_null_ + done, true));
  if (nulls_ > 0 && !is_joined) clear_nulls(done, elements);
  return done;
}

}  // namespace zvrt::arrow
