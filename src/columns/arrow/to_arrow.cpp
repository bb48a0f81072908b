// Records to an array: a struct whose children are built one after the other.
#include "columns/arrow/abi.h"
#include "columns/arrow/column_builder.h"
#include "columns/arrow/owned_array.h"
#include "columns/arrow/record_plan.h"

uint32_t ZVRTRecordsToArrow(const ZVRTRecordPlan* plan, const void* records, const int64_t* starts, int64_t count,
                            struct ArrowArray* array, ZVRTOutcome* perField) {
  using namespace zvrt::arrow;
  const Outcomes outcomes(perField);
  if (plan == nullptr || array == nullptr || count < 0 || (records == nullptr && count > 0)) return ZVRT_RC_ERROR;
  if (!outcomes.valid()) return ZVRT_RC_INVALID_TYPE;
  if (count > INT64_MAX / plan->record_bytes) return ZVRT_RC_NO_MEMORY;

  ArrayHolder whole;
  if (!make_struct(count, plan->count, whole.get())) return ZVRT_RC_NO_MEMORY;
  const Records rows = {static_cast<const std::byte*>(records), plan->record_bytes, starts};
  for (std::int32_t i = 0; i < plan->count; ++i) {
    ColumnBuilder column(plan->fields[static_cast<std::size_t>(i)]);
    const zvrt::Status status = column.build(rows, count, *whole.get().children[i]);
    outcomes.set(i, column.outcome());
    if (status != ZVRT_RC_OK) return status;
  }
  whole.give_to(*array);
  return ZVRT_RC_OK;
}
