// An array to records: every column is found and looked over first, and only then is a record written.
#include <cstring>
#include <new>

#include "columns/arrow/abi.h"
#include "columns/arrow/field_writer.h"
#include "columns/arrow/record_plan.h"

namespace zvrt::arrow {
namespace {

// The struct that holds the columns.
Status open_rows(const ZVRTRecordPlan& plan, const ArrowSchema& schema, const ArrowArray& array, Rows& rows) {
  if (!is_sound(schema, array, 0, array.length) || std::strcmp(schema.format, "+s") != 0) return ZVRT_RC_INVALID_ARROW;
  if (schema.dictionary != nullptr || array.n_buffers != 1 || array.buffers == nullptr) return ZVRT_RC_INVALID_ARROW;
  if (schema.n_children != plan.count || array.length > INT64_MAX / plan.record_bytes) return ZVRT_RC_INVALID_ARROW;
  for (std::int64_t i = 0; i < schema.n_children; ++i) {
    if (schema.children[i] == nullptr || array.children[i] == nullptr) return ZVRT_RC_INVALID_ARROW;
  }
  rows.validity.bits = static_cast<const std::byte*>(array.buffers[0]);
  if (rows.validity.bits == nullptr && array.null_count > 0) return ZVRT_RC_INVALID_ARROW;
  rows.first = array.offset;
  rows.count = array.length;
  return ZVRT_RC_OK;
}

// The first column of the field's name that no field has taken, or -1.
std::int64_t find_column(const ArrowSchema& schema, const Field& field, bool* taken) {
  for (std::int64_t i = 0; i < schema.n_children; ++i) {
    const char* const name = schema.children[i]->name;
    if (taken[i] || std::strcmp(name == nullptr ? "" : name, field.name.get()) != 0) continue;
    taken[i] = true;
    return i;
  }
  return -1;
}

Status open_fields(const ZVRTRecordPlan& plan, const ArrowSchema& schema, const ArrowArray& array,
                   FieldWriter* writers) {
  Rows rows;
  if (const Status status = open_rows(plan, schema, array, rows); status != ZVRT_RC_OK) return status;
  const auto count = static_cast<std::size_t>(plan.count);
  const std::unique_ptr<bool[]> taken(new (std::nothrow) bool[count]());
  if (taken == nullptr) return ZVRT_RC_NO_MEMORY;
  for (std::int32_t i = 0; i < plan.count; ++i) {
    const Field& field = plan.fields[static_cast<std::size_t>(i)];
    const std::int64_t column = find_column(schema, field, taken.get());
    if (column < 0) return ZVRT_RC_INVALID_ARROW;
    const Status status = writers[i].open(plan, field, *schema.children[column], *array.children[column], rows);
    if (status != ZVRT_RC_OK) return status;
  }
  return ZVRT_RC_OK;
}

}  // namespace
}  // namespace zvrt::arrow

uint32_t ZVRTArrowToRecords(const ZVRTRecordPlan* plan, const struct ArrowSchema* schema,
                            const struct ArrowArray* array, void* records, ZVRTOutcome* perField) {
  using namespace zvrt::arrow;
  const Outcomes outcomes(perField);
  if (plan == nullptr || schema == nullptr || array == nullptr) return ZVRT_RC_ERROR;
  if (!outcomes.valid()) return ZVRT_RC_INVALID_TYPE;
  const std::unique_ptr<FieldWriter[]> writers(new (std::nothrow) FieldWriter[static_cast<std::size_t>(plan->count)]);
  if (writers == nullptr) return ZVRT_RC_NO_MEMORY;
  const zvrt::Status opened = open_fields(*plan, *schema, *array, writers.get());
  if (opened != ZVRT_RC_OK) return opened;
  if (records == nullptr && array->length > 0) return ZVRT_RC_ERROR;
  for (std::int32_t i = 0; i < plan->count; ++i) {
    const auto index = static_cast<std::size_t>(i);
    const zvrt::Status status = writers[index].write(static_cast<std::byte*>(records));
    outcomes.set(i, writers[index].outcome());
    if (status != ZVRT_RC_OK) return status;
  }
  return ZVRT_RC_OK;
}
