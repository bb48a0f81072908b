#include "columns/arrow/record_plan.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>

#include "columns/structures.h"

namespace zvrt::arrow {
namespace {

Status refuse(Status status, std::int32_t field, const char* text, ZVRTProblem* why) {
  ZVRTProblem problem{};
  problem.status = status;
  problem.field = field;
  problem.offset = -1;
  std::snprintf(problem.text, sizeof problem.text, "%s", text);
  columns::write_structure(problem, why);
  return status;
}

template <class Character>
std::unique_ptr<Character[]> copy_of(const Character* text, std::size_t length) {
  std::unique_ptr<Character[]> copy(new (std::nothrow) Character[length + 1]);
  if (copy != nullptr) std::copy_n(text, length + 1, copy.get());
  return copy;
}

// The field's description, copied.
Status describe(const ZVRTField& from, std::int64_t record_bytes, Field& field, const char*& reason) {
  ZVRTType type;
  columns::Side side;
  columns::Reason why;
  reason = "A field needs a name and a type of a known size.";
  if (from.name == nullptr || from.type == nullptr || !columns::read_structure(from.type, type)) {
    return ZVRT_RC_INVALID_TYPE;
  }
  if (columns::open_side(type, columns::Role::target, side, why) != ZVRT_RC_OK) {
    reason = why.sentence;
    return why.status;
  }
  field.offset = from.offset;
  field.indicator_offset = from.indicatorOffset;
  field.bytes = side.type.length;
  reason = "The field or its indicator does not lie within the record.";
  if (field.bytes <= 0 || field.offset < 0 || field.offset + field.bytes > record_bytes) return ZVRT_RC_INVALID_TYPE;
  if (field.indicator_offset < -1 || field.indicator_offset + 2 > record_bytes) return ZVRT_RC_INVALID_TYPE;
  reason = "There is no memory for the plan.";
  field.name = copy_of(from.name, std::strlen(from.name));
  if (field.name == nullptr) return ZVRT_RC_NO_MEMORY;
  if (type.model != nullptr) {
    field.model = copy_of(type.model, std::wcslen(type.model));
    if (field.model == nullptr) return ZVRT_RC_NO_MEMORY;
    type.model = field.model.get();
  }
  reason = "No column of this kind holds the values of the field's type.";
  const Status status = column_of(type, side.type.parts, from.columnKind, field.column);
  field.type = plan_type(type, from.columnKind);
  return status;
}

Status fill(const ZVRTField* fields, ZVRTRecordPlan& plan, ZVRTProblem* why) {
  const auto* next = static_cast<const std::byte*>(static_cast<const void*>(fields));
  for (std::int32_t i = 0; i < plan.count; ++i, next += fields->size) {
    ZVRTField from;
    std::memcpy(&from.size, next, sizeof from.size);
    if (from.size != fields->size ||
        !columns::read_structure(static_cast<const ZVRTField*>(static_cast<const void*>(next)), from)) {
      return refuse(ZVRT_RC_INVALID_TYPE, i, "The field's size is not that of a field.", why);
    }
    Field& field = plan.fields[static_cast<std::size_t>(i)];
    const char* reason = nullptr;
    const Status status = describe(from, plan.record_bytes, field, reason);
    if (status != ZVRT_RC_OK) return refuse(status, i, reason, why);
    const Status made = make_plan(field.type, field.column.cell, plan.options, field.to_column, why);
    if (made != ZVRT_RC_OK) {
      if (why != nullptr && why->size >= offsetof(ZVRTProblem, offset)) why->field = i;
      return made;
    }
    columns::find_null_starts(field.to_column->from.type, field.begins_null);
  }
  return ZVRT_RC_OK;
}

constexpr std::uint32_t known_options = ZVRT_PLAN_ROUND_HALF_EVEN | ZVRT_PLAN_ROUND_HALF_AWAY | ZVRT_PLAN_CUT_FRACTION |
                                        ZVRT_PLAN_CUT_TEXT | ZVRT_PLAN_SUBSTITUTE | ZVRT_PLAN_EXACT_FLOAT |
                                        ZVRT_PLAN_SINGLE_FORM | ZVRT_PLAN_ZONED_TIME_AS_UTC;

}  // namespace

Status make_plan(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, PlanHolder& plan, ZVRTProblem* why) {
  columns::Reason reason;
  std::unique_ptr<ZVRTPlan> made = columns::make_plan(from, to, 0, reason);
  if (made != nullptr) {
    const std::uint32_t fitting = options & columns::fitting_options(made->from.type, made->to.type);
    if (fitting != 0) made = columns::make_plan(from, to, fitting, reason);
  }
  if (made == nullptr) return refuse(reason.status, reason.side, reason.sentence, why);
  plan = std::move(made);
  return ZVRT_RC_OK;
}

ZVRTOutcome no_outcome() {
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  outcome.firstRefused = -1;
  return outcome;
}

void add(ZVRTOutcome& total, const ZVRTOutcome& block, std::int64_t first) {
  if (total.firstRefused < 0 && block.firstRefused >= 0) {
    total.firstRefused = first + block.firstRefused;
    total.firstStatus = block.firstStatus;
  }
  total.done += block.done;
  total.refused += block.refused;
  total.nulls += block.nulls;
  total.empty += block.empty;
}

void Outcomes::set(std::int32_t field, const ZVRTOutcome& outcome) const {
  if (first_ == nullptr) return;
  auto* const bytes = static_cast<std::byte*>(static_cast<void*>(first_)) + static_cast<std::size_t>(field) * step_;
  auto* const at = static_cast<ZVRTOutcome*>(static_cast<void*>(bytes));
  const auto size = static_cast<std::uint32_t>(step_);
  std::memcpy(bytes, &size, sizeof size);
  columns::write_structure(outcome, at);
}

}  // namespace zvrt::arrow

uint32_t ZVRTRecordPlanCreate(const ZVRTField* fields, int32_t count, int32_t recordBytes, uint32_t options,
                              ZVRTRecordPlan** plan, ZVRTProblem* why) {
  using namespace zvrt::arrow;
  if (plan == nullptr) return ZVRT_RC_ERROR;
  *plan = nullptr;
  if (count < 0 || recordBytes <= 0 || (fields == nullptr && count > 0)) {
    return refuse(ZVRT_RC_ERROR, -1, "There are no fields, or the record has no length.", why);
  }
  if ((options & ~known_options) != 0) {
    return refuse(ZVRT_RC_INVALID_PAIR, -1, "An option is not known, or not for records.", why);
  }
  std::unique_ptr<ZVRTRecordPlan> made(new (std::nothrow) ZVRTRecordPlan);
  if (made != nullptr) made->fields.reset(new (std::nothrow) Field[static_cast<std::size_t>(count)]);
  if (made == nullptr || made->fields == nullptr) {
    return refuse(ZVRT_RC_NO_MEMORY, -1, "There is no memory for the plan.", why);
  }
  made->count = count;
  made->record_bytes = recordBytes;
  made->options = options;
  const zvrt::Status status = fill(fields, *made, why);
  if (status != ZVRT_RC_OK) return status;
  *plan = made.release();
  return ZVRT_RC_OK;
}

void ZVRTRecordPlanDestroy(ZVRTRecordPlan* plan) { delete plan; }
