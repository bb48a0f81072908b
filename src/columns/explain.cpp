// Why a value is refused: the plan's own path over this one value, with somebody listening.
//
// Whoever refuses a value leaves where in it: readers by a byte, everything after them by a character of the text, which
// is found again here by walking the source.
#include <algorithm>
#include <cstdio>
#include <cstring>

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

// Runs the value through the plan's path into a slot of our own.
Status convert_value(const ZVRTPlan& plan, const Value& value, ZVRTProblem& problem) {
  Arena arena;
  std::byte* const slot = arena.take_large(static_cast<std::size_t>(std::max(plan.to.type.length, 1)));
  if (slot == nullptr) return ZVRT_RC_NO_MEMORY;
  Block block(arena);
  Fault fault;
  block.fault = &fault;
  block.count = 1;
  block.status[0] = ZVRT_RC_OK;
  block.source[0] = value;
  block.slot[0] = slot;
  block.length[0] = 0;
  convert_block(plan, block);
  if (block.failure != ZVRT_RC_OK) return block.failure;
  problem.status = block.status[0];
  if (problem.status == ZVRT_RC_TRUNCATED) problem.needed = needed_bytes(plan.to.type, block.length[0]);
  problem.offset = static_cast<std::int32_t>(find_offset(plan.from.type, value, fault));
  problem.unit = problem.offset >= 0 ? fault.unit : 0;
  return ZVRT_RC_OK;
}

Status explain(const ZVRTPlan& plan, const std::byte* slot, std::int64_t bytes, ZVRTProblem& problem) {
  const Type& from = plan.from.type;
  Value value{slot, 0};
  if (bytes == ZVRT_NULL_DATA) {
    problem.status = plan.to.type.has_null_form() ? ZVRT_RC_OK : ZVRT_RC_NULL_REFUSED;
    return ZVRT_RC_OK;
  }
  const Content content = measure(from, slot, bytes, value, problem.status);
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
