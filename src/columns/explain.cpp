// Why a value is refused: the plan's own path over this one value, with somebody listening.
//
// Whoever refuses a value leaves where in it: readers by a byte, everything after them by a character of the text, which
// is found again here by walking the source.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "columns/arena.h"
#include "columns/plan.h"
#include "columns/service_text.h"
#include "columns/structures.h"
#include "columns/text.h"
#include "columns/utf_read.h"
#include "encoding/converter_service.h"

namespace zvrt::columns {

namespace {

// Walks text of one to four bytes per unit, one character at a time.
class TextWalk {
 public:
  TextWalk(const Type& type, const Value& value) : type_(type), value_(value) {}

  bool at_end() const { return offset_ >= value_.bytes; }
  std::int64_t offset() const { return offset_; }
  Character read() const {
    const std::byte* const at = value_.at + offset_;
    const std::int64_t left = value_.bytes - offset_;
    if (type_.unit == 4) return read_utf32(at, left);
    if (type_.unit == 2) return type_.is_swapped() ? read_utf16<true>(at, left) : read_utf16<false>(at, left);
    if (type_.page.is_utf8()) return read_utf8(at, left);
    return {type_.page.tables->character_of[static_cast<std::size_t>(*at)], 1, true};
  }
  void pass() { offset_ += read().length; }

 private:
  const Type& type_;
  Value value_;
  std::int64_t offset_ = 0;
};

bool is_trimmed(const Type& type, std::uint32_t character) {
  if (character == 0 && type.has(ZVRT_TYPE_LOW_AS_BLANK)) return true;
  return character == 0x20 || (character == 0x3000 && type.has(ZVRT_TYPE_TRIM_WIDE));
}

std::int64_t find_in_text(const Type& type, const Value& value, std::int64_t character) {
  TextWalk walk(type, value);
  if (type.has(ZVRT_TYPE_TRIM_LEFT)) {
    while (!walk.at_end() && is_trimmed(type, walk.read().code)) walk.pass();
  }
  for (; character > 0 && !walk.at_end(); --character) walk.pass();
  return walk.offset();
}

std::int64_t find_in_service_text(const Type& type, const Value& value, std::int64_t character) {
  void* converter = nullptr;
  if (find_converter(type.page.field, converter) != ZVRT_RC_OK) return -1;
  ServiceWalk walk(converter, value);
  bool has_more = walk.next();
  if (type.has(ZVRT_TYPE_TRIM_LEFT)) {
    while (has_more && walk.is_valid() && is_trimmed(type, walk.character(0))) has_more = walk.next();
  }
  while (has_more) {
    character -= walk.is_valid() ? walk.count() : 1;
    if (character < 0) return walk.offset();
    has_more = walk.next();
  }
  return value.bytes;
}

// Where the digits of a packed or zoned field stand.
struct DigitPlaces {
  bool is_packed;
  std::int32_t count;
  std::int32_t first;  // byte of the first digit
  std::int32_t sign;   // byte

  explicit DigitPlaces(const Type& type) : is_packed(type.kind == ZVRT_KIND_PACKED) {
    const bool leads = type.has(ZVRT_TYPE_SIGN_LEADING);
    const std::int32_t separate = type.has(ZVRT_TYPE_SIGN_SEPARATE) ? 1 : 0;
    count = is_packed ? 2 * type.length - (type.has(ZVRT_TYPE_NO_SIGN) ? 0 : 1) : type.length - separate;
    first = leads ? separate : 0;
    sign = leads ? 0 : type.length - 1;
  }
  std::int32_t byte_of(std::int32_t digit) const { return first + (is_packed ? digit / 2 : digit); }
  // The first digit that is not 0.
  std::int32_t find_first(const std::byte* at) const {
    const auto value = [&](std::int32_t digit) {
      const auto byte = static_cast<std::uint32_t>(at[byte_of(digit)]);
      return is_packed && digit % 2 == 0 ? byte >> 4 : byte & 0xF;
    };
    std::int32_t digit = 0;
    while (digit < count && value(digit) == 0) ++digit;
    return digit;
  }
};

// Of a date in digits: the byte where the element begins that is refused, the first digit of too many, or the sign.
std::int64_t find_in_digits(const Type& type, const Value& value, Status status) {
  if (type.kind != ZVRT_KIND_PACKED && type.kind != ZVRT_KIND_ZONED) return -1;
  const DigitPlaces digits(type);
  const DateModel& model = *type.model;
  if (status == ZVRT_RC_INVALID_DATETIME) {
    const std::int32_t first = digits.find_first(value.at);
    const bool is_long = first < digits.count - model.digits;
    return is_long ? digits.byte_of(first) : digits.sign;
  }
  std::int32_t digit = digits.count - model.digits;
  for (std::int32_t i = 0; i < model.count; ++i) {
    const DateItem& item = model.items[static_cast<std::size_t>(i)];
    if (is_about(item.element, status)) return digits.byte_of(std::max(digit, 0));
    digit += item.width;
  }
  return -1;
}

// The byte that a fault is about, from the value's first one; -1 where it is about the whole.
std::int64_t find_offset(const Type& type, const Value& value, const Fault& fault) {
  if (fault.offset >= 0) return fault.offset;
  if (fault.character < 0 || type.form != Form::text) return -1;
  return type.unit == 1 && type.page.how == PageKind::service ? find_in_service_text(type, value, fault.character)
                                                              : find_in_text(type, value, fault.character);
}

void write_sentence(ZVRTProblem& problem) {
  const char* const sentence = ZVRTStatusText(problem.status);
  // What is the matter; what to do stands in the status's own text.
  const auto length = static_cast<int>(std::strcspn(sentence, ";."));
  if (problem.offset >= 0) {
    std::snprintf(problem.text, sizeof problem.text, "%.*s: byte %d, %02X.", std::min(length, 80), sentence,
                  problem.offset, problem.unit);
  } else if (problem.needed > 0) {
    std::snprintf(problem.text, sizeof problem.text, "%.*s: %u bytes are needed.", std::min(length, 70), sentence,
                  problem.needed);
  } else {
    std::snprintf(problem.text, sizeof problem.text, "%.*s.", std::min(length, 108), sentence);
  }
}

std::uint32_t needed_bytes(const Type& type, std::int64_t length) {
  return static_cast<std::uint32_t>(std::min<std::int64_t>(length + overhead(type), UINT32_MAX));
}

// Puts place and unit of a fault into a problem that has its status.
void locate(const ZVRTPlan& plan, const Value& value, const Fault& fault, ZVRTProblem& problem) {
  const Type& from = plan.from.type;
  // A date's text that is written anew has characters of its own.
  if (problem.status == ZVRT_RC_NOT_IN_CODE_PAGE && plan.path.second_step != nullptr) return;
  if (from.form == Form::decimal && fault.character >= 0) {
    problem.offset = static_cast<std::int32_t>(find_in_digits(from, value, problem.status));
    if (problem.offset >= 0) problem.unit = static_cast<std::uint32_t>(value.at[problem.offset]);
    return;
  }
  problem.offset = static_cast<std::int32_t>(find_offset(from, value, fault));
  problem.unit = problem.offset >= 0 ? fault.unit : 0;
}

// Runs the value through the plan's path into a slot of our own.
Status convert_value(const ZVRTPlan& plan, const Value& value, ZVRTProblem& problem) {
  // Not in the arena, which steps may reset.
  const auto slot_bytes = static_cast<std::size_t>(std::max(plan.to.type.length, 1));
  const std::unique_ptr<std::byte[]> slot(new (std::nothrow) std::byte[slot_bytes]);
  if (slot == nullptr) return ZVRT_RC_NO_MEMORY;
  Arena arena;
  Block block(arena);
  Fault fault;
  block.fault = &fault;
  block.count = 1;
  block.status[0] = ZVRT_RC_OK;
  block.source[0] = value;
  block.slot[0] = slot.get();
  block.length[0] = 0;
  convert_block(plan, block);
  if (block.failure != ZVRT_RC_OK) return block.failure;
  problem.status = block.status[0];
  if (problem.status == ZVRT_RC_TRUNCATED) problem.needed = needed_bytes(plan.to.type, block.length[0]);
  locate(plan, value, fault, problem);
  return ZVRT_RC_OK;
}

// Into a slot without an indicator.
Status status_of_null(const ZVRTPlan& plan) { return plan.to.type.has_null_form() ? ZVRT_RC_OK : ZVRT_RC_NULL_REFUSED; }

// A length that stands in the slot is the unit that offends.
void locate_length(const Type& type, const std::byte* slot, std::int64_t given, ZVRTProblem& problem) {
  if (given < 0 && given != ZVRT_TERMINATED) return;
  if (type.extent == Extent::prefixed) problem.unit = load<std::uint16_t>(slot);
  if (type.extent == Extent::varnum) problem.unit = static_cast<std::uint32_t>(*slot);
  if (type.extent == Extent::prefixed || type.extent == Extent::varnum) problem.offset = 0;
}

Status explain(const ZVRTPlan& plan, const std::byte* slot, std::int64_t bytes, ZVRTProblem& problem) {
  const Type& from = plan.from.type;
  Value value{slot, 0};
  if (bytes == ZVRT_NULL_DATA) {
    problem.status = status_of_null(plan);
    return ZVRT_RC_OK;
  }
  Content content = measure(from, slot, bytes, value, problem.status);
  if (content == Content::refused) locate_length(from, slot, bytes, problem);
  if (content == Content::value) content = find_null_form(from, value);
  if (content == Content::null) problem.status = status_of_null(plan);
  if (content != Content::value) return ZVRT_RC_OK;
  const Status status = convert_value(plan, value, problem);
  // The value's text comes after its prefix.
  if (problem.offset >= 0) problem.offset += static_cast<std::int32_t>(value.at - slot);
  return status;
}

}  // namespace

}  // namespace zvrt::columns

uint32_t ZVRTPlanExplain(const ZVRTPlan* plan, const void* value, int64_t bytes, ZVRTProblem* why) {
  if (plan == nullptr || value == nullptr || why == nullptr) return ZVRT_RC_ERROR;
  ZVRTProblem problem{};
  problem.field = -1;
  problem.offset = -1;
  const auto* const slot = static_cast<const std::byte*>(value);
  const zvrt::Status status = zvrt::columns::explain(*plan, slot, bytes, problem);
  if (status != ZVRT_RC_OK) problem.status = status;
  zvrt::columns::write_sentence(problem);
  zvrt::columns::write_structure(problem, why);
  return status;
}
