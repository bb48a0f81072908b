// Text through the converter service: code pages of several bytes per character, with or without shifts.
//
// The service converts a whole text or refuses it, and does not say where. Where that matters, to substitute or to
// explain, the text is walked again: the bytes of a character are the fewest that the service reads as one, and in a
// page with shifts each attempt begins with the shift that is in force.
#include <algorithm>
#include <array>
#include <cstring>

#include "ZVRTICULib.h"
#include "columns/service_text.h"
#include "columns/text.h"
#include "encoding/converter_service.h"

namespace zvrt::columns {

namespace {

constexpr std::int64_t most_bytes = INT32_MAX / 4;
constexpr std::byte shift_out{0x0E};
constexpr std::byte shift_in{0x0F};
constexpr std::int32_t longest_character = 4;

// A page's converter, asked for once per block.
void* converter_of(const Type& type, Block& block) {
  void* converter = nullptr;
  const Status status = find_converter(type.page.field, converter);
  if (status == ZVRT_RC_OK) return converter;
  block.failure = status;
  block.count = 0;
  return nullptr;
}

Status decode_all(void* converter, const Value& value, std::byte* out, std::size_t room, std::uint32_t& count) {
  return ZVRT_IcuMultibyteToWide(converter, value.at, static_cast<std::int32_t>(value.bytes), out,
                                 static_cast<std::int32_t>(room), &count);
}

// Character by character, U+FFFD where there is none.
Status decode_substituting(void* converter, const Value& value, std::byte* out, std::uint32_t& count) {
  ServiceWalk walk(converter, value);
  count = 0;
  while (walk.next()) {
    const std::uint32_t made = walk.is_valid() ? walk.count() : 1;
    for (std::uint32_t k = 0; k < made; ++k) {
      store<Wide>(out, count++, walk.is_valid() ? walk.character(k) : replacement_character);
    }
  }
  return walk.failure();
}

// False: the block ends before the value.
bool read_value(const Type& type, Block& block, std::int32_t i, void* converter) {
  const Value& value = block.source[i];
  if (value.bytes > most_bytes) {
    block.refuse(i, ZVRT_RC_INVALID_LENGTH);
    return true;
  }
  // A character may stand for several, but none of less than one byte each.
  const auto room = static_cast<std::size_t>(value.bytes);
  std::byte* const out = room_for(block, i, room * sizeof(Wide));
  if (out == nullptr) return false;
  std::uint32_t count = 0;
  Status status = decode_all(converter, value, out, room, count);
  if (status == ZVRT_ICU_RC_INVALID_CHAR && (type.options & ZVRT_PLAN_SUBSTITUTE) != 0) {
    status = decode_substituting(converter, value, out, count);
  }
  if (status == ZVRT_ICU_RC_INVALID_CHAR) {
    const std::int64_t offset = block.fault != nullptr ? find_malformed(converter, value) : -1;
    const std::uint32_t unit = offset >= 0 && offset < value.bytes ? static_cast<std::uint32_t>(value.at[offset]) : 0;
    block.refuse(i, ZVRT_RC_MALFORMED_TEXT, {.offset = offset, .unit = unit});
    return true;
  }
  if (status != ZVRT_RC_OK) {
    // The values before it are as good as ever; the run comes again with this one.
    if (i == 0) block.failure = status;
    block.count = i;
    return false;
  }
  block.arena->keep(out, count * sizeof(Wide));
  block.text[i] = {out, static_cast<std::int64_t>(count), false, true};
  return tidy_text(type, block, i);
}

// One text on its way into a page.
struct Encoding {
  void* converter;
  const std::byte* text;  // UTF-32
  std::byte* out;
  std::int32_t room;

  Status run(std::int64_t characters, std::uint32_t& bytes) const {
    return ZVRT_IcuWideToMultibyte(converter, text, static_cast<std::int32_t>(characters), out, room, &bytes);
  }
};

// ZVRT_ICU_RC_INVALID_CHAR where the page lacks the character.
Status find_in_page(void* converter, std::uint32_t character) {
  std::array<std::byte, 8> bytes;
  std::uint32_t count = 0;
  return ZVRT_IcuWideToMultibyte(converter, &character, 1, bytes.data(), 8, &count);
}

// The first character that the page lacks; the text's length if there is none.
std::int64_t find_missing(void* converter, const Text& text) {
  std::int64_t k = 0;
  while (k < text.count && find_in_page(converter, text[k]) == ZVRT_RC_OK) ++k;
  return k;
}

// The most characters whose bytes, the closing shift among them, fit.
Status count_fitting(const Encoding& encoding, std::int64_t characters, std::int64_t room, std::int64_t& fits) {
  fits = 0;
  for (std::int64_t too_many = characters; fits + 1 < too_many;) {
    const std::int64_t tried = fits + (too_many - fits) / 2;
    std::uint32_t bytes = 0;
    const Status status = encoding.run(tried, bytes);
    if (is_service_failure(status)) return status;
    (status == ZVRT_RC_OK && bytes <= room ? fits : too_many) = tried;
  }
  return ZVRT_RC_OK;
}

// The text as UTF-32 in the arena, where characters may be exchanged. False: the block ends before the value.
bool own_wide(Block& block, std::int32_t i) {
  Text& text = block.text[i];
  if (text.is_own && !text.is_ascii) return true;
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(text.count) * sizeof(Wide));
  if (out == nullptr) return false;
  for (std::int64_t k = 0; k < text.count; ++k) store<Wide>(out, static_cast<std::size_t>(k), text[k]);
  text = {out, text.count, false, true};
  return true;
}

Status substitute(void* converter, Text& text) {
  auto* const characters = const_cast<std::byte*>(text.at);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  for (std::int64_t k = 0; k < text.count; ++k) {
    const Status status = find_in_page(converter, text[k]);
    if (is_service_failure(status)) return status;
    if (status != ZVRT_RC_OK) store<Wide>(characters, static_cast<std::size_t>(k), substitute_character);
  }
  return ZVRT_RC_OK;
}

void place_encoded(const Type& type, Block& block, std::int32_t i, const Encoding& encoding, std::uint32_t bytes) {
  const Room room = room_of(type, block.slot[i]);
  if (bytes <= room.bytes || (type.options & ZVRT_PLAN_CUT_TEXT) == 0 || room.bytes < 0) {
    return place_text(type, block, i, encoding.out, bytes);
  }
  std::uint32_t written = 0;
  std::int64_t fits = 0;
  block.failure = count_fitting(encoding, block.text[i].count, room.bytes, fits);
  if (block.failure == ZVRT_RC_OK && fits > 0) block.failure = encoding.run(fits, written);
  if (block.failure != ZVRT_RC_OK) return;
  place_text(type, block, i, encoding.out, written);
  block.refuse(i, ZVRT_RC_TRUNCATED);
  block.length[i] = bytes;
}

// The whole text, into the scratch; into memory of its own only where it fits the slot but not the scratch.
Status encode_text(Block& block, const Text& text, std::int64_t slot_room, Encoding& encoding, std::uint32_t& bytes) {
  const auto near = static_cast<std::int64_t>(Arena::scratch_capacity);
  encoding.room = static_cast<std::int32_t>(std::clamp<std::int64_t>(slot_room, 0, near));
  encoding.out = block.arena->scratch(static_cast<std::size_t>(encoding.room));
  const Status status = encoding.run(text.count, bytes);
  if (status != ZVRT_ICU_RC_TRUNCATED || encoding.room == slot_room) return status;
  encoding.room = static_cast<std::int32_t>(std::min<std::int64_t>(bytes, slot_room));
  encoding.out = block.arena->scratch(static_cast<std::size_t>(encoding.room));
  return encoding.out == nullptr ? ZVRT_RC_NO_MEMORY : encoding.run(text.count, bytes);
}

void write_value(const Type& type, Block& block, std::int32_t i, void* converter) {
  if (!own_wide(block, i)) return;
  Text& text = block.text[i];
  if (text.count > most_bytes) return block.refuse(i, ZVRT_RC_INVALID_LENGTH);
  const std::int64_t slot_room = room_of(type, block.slot[i]).bytes;
  Encoding encoding{converter, text.at, nullptr, 0};
  std::uint32_t bytes = 0;
  Status status = encode_text(block, text, slot_room, encoding, bytes);
  if (status == ZVRT_ICU_RC_INVALID_CHAR && (type.options & ZVRT_PLAN_SUBSTITUTE) != 0) {
    status = substitute(converter, text);
    if (status == ZVRT_RC_OK) status = encode_text(block, text, slot_room, encoding, bytes);
  }
  if (status == ZVRT_ICU_RC_INVALID_CHAR) {
    const std::int64_t k = find_missing(converter, text);
    return block.refuse(i, ZVRT_RC_NOT_IN_CODE_PAGE, {.character = k, .unit = k < text.count ? text[k] : 0});
  }
  if (status != ZVRT_RC_OK && status != ZVRT_ICU_RC_TRUNCATED) {
    block.failure = status;
    return;
  }
  place_encoded(type, block, i, encoding, bytes);
}

}  // namespace

ServiceWalk::ServiceWalk(void* converter, const Value& value) : converter_(converter), value_(value) {}

bool ServiceWalk::next() {
  at_ += length_;
  length_ = 0;
  // A shift alone makes no character.
  while (at_ < value_.bytes && is_shift(value_.at[at_])) {
    is_shifted_ = value_.at[at_] == shift_out;
    ++at_;
  }
  if (at_ >= value_.bytes || failure_ != ZVRT_RC_OK) return false;
  const std::int64_t left = value_.bytes - at_;
  is_valid_ = true;
  for (length_ = 1; length_ <= std::min<std::int64_t>(left, longest_character); ++length_) {
    if (read(length_)) return true;
    if (failure_ != ZVRT_RC_OK) return false;
  }
  is_valid_ = false;
  length_ = is_shifted_ ? std::min<std::int64_t>(left, 2) : 1;
  return true;
}

bool ServiceWalk::is_shift(std::byte byte) {
  if (byte != shift_out && byte != shift_in) return false;
  std::uint32_t character = 0;
  std::uint32_t count = 0;
  const Status status = ZVRT_IcuMultibyteToWide(converter_, &byte, 1, &character, 1, &count);
  if (is_service_failure(status)) failure_ = status;
  return status == ZVRT_RC_OK && count == 0;
}

bool ServiceWalk::read(std::int64_t length) {
  std::array<std::byte, 1 + longest_character> bytes{shift_out};
  const std::int32_t prefix = is_shifted_ ? 1 : 0;
  std::memcpy(bytes.data() + prefix, value_.at + at_, static_cast<std::size_t>(length));
  const auto total = static_cast<std::int32_t>(prefix + length);
  const Status status = ZVRT_IcuMultibyteToWide(converter_, bytes.data(), total, characters_, most, &count_);
  if (is_service_failure(status)) failure_ = status;
  return status == ZVRT_RC_OK && count_ > 0;
}

std::int64_t find_malformed(void* converter, const Value& value) {
  ServiceWalk walk(converter, value);
  while (walk.next()) {
    if (!walk.is_valid()) return walk.offset();
  }
  return -1;
}

void read_service_text(const Type& type, Block& block) {
  void* const converter = converter_of(type, block);
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (!block.is_refused(i) && !read_value(type, block, i, converter)) return;
  }
}

void write_service_text(const Type& type, Block& block) {
  void* const converter = converter_of(type, block);
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i) || refuse_zero(type, block, i)) continue;
    const std::byte* const given = block.text[i].at;
    write_value(type, block, i, converter);
    if (block.failure != ZVRT_RC_OK) block.count = std::min(block.count, i);
    // A copy that was made for this value makes room for the next one's.
    if (i < block.count && block.text[i].at != given) block.arena->keep(block.text[i].at, 0);
  }
}

}  // namespace zvrt::columns
