// Records to an array: a struct whose children are built one after the other.
#include "columns/arrow/abi.h"
#include "columns/arrow/column_builder.h"
#include "columns/arrow/owned_array.h"
#include "columns/arrow/record_plan.h"

namespace zvrt::arrow {
namespace {

// Records at equal distances stand at a stride, as kernels like it.
Records find_records(const ZVRTRecordPlan& plan, const void* records, const std::int64_t* starts, std::int64_t count) {
  const auto* const data = static_cast<const std::byte*>(records);
  if (starts == nullptr) return {data, plan.record_bytes, nullptr};
  if (count == 0) return {data, plan.record_bytes, starts};
  const std::int64_t stride = count > 1 ? starts[1] - starts[0] : plan.record_bytes;
  for (std::int64_t i = 1; i < count; ++i) {
    if (starts[i] - starts[i - 1] != stride) return {data, plan.record_bytes, starts};
  }
  return {data + starts[0], stride, nullptr};
}

}  // namespace
}  // namespace zvrt::arrow

uint32_t ZVRTRecordsToArrow(const ZVRTRecordPlan* plan, const void* records, const int64_t* starts, int64_t count,
                            struct ArrowArray* array, ZVRTOutcome* perField) {
  using namespace zvrt::arrow;
  const Outcomes outcomes(perField);
  if (plan == nullptr || array == nullptr || count < 0 || (records == nullptr && count > 0)) return ZVRT_RC_ERROR;
  if (!outcomes.valid()) return ZVRT_RC_INVALID_TYPE;
  if (count > INT64_MAX / plan->record_bytes) return ZVRT_RC_NO_MEMORY;

  ArrayHolder whole;
  if (!make_struct(count, plan->count, whole.get())) return ZVRT_RC_NO_MEMORY;
  const Records rows = find_records(*plan, records, starts, count);
  for (std::int32_t i = 0; i < plan->count; ++i) {
    ColumnBuilder column(plan->fields[static_cast<std::size_t>(i)]);
    const zvrt::Status status = column.build(rows, count, *whole.get().children[i]);
    outcomes.set(i, column.outcome());
    if (status != ZVRT_RC_OK) return status;
  }
  whole.give_to(*array);
  return ZVRT_RC_OK;
}
