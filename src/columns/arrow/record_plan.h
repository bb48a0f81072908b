// A record plan: the fields of a record, each with its column and with the plan that fills it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ZVRTColumns.h"
#include "columns/arrow/column_type.h"
#include "columns/plan.h"
#include "core/call.h"

namespace zvrt::arrow {

// A plan under those of the options that fit the pair.
using PlanHolder = std::unique_ptr<ZVRTPlan>;
Status make_plan(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, PlanHolder& plan, ZVRTProblem* why);

// One field, with copies of all that it was described by.
struct Field {
  std::int64_t offset = 0;
  std::int64_t indicator_offset = -1;
  std::int32_t bytes = 0;
  std::unique_ptr<char[]> name;
  std::unique_ptr<wchar_t[]> model;
  ZVRTType type = {};  // as plans have it
  ColumnType column;
  PlanHolder to_column;
  columns::FirstBytes begins_null{};

  bool may_be_null() const { return indicator_offset >= 0 || to_column->from.type.has_null_form(); }
};

// The outcomes of all fields, in the caller's structures; or nowhere.
class Outcomes {
 public:
  explicit Outcomes(ZVRTOutcome* first) : first_(first), step_(first == nullptr ? 0 : first->size) {}
  bool valid() const { return first_ == nullptr || step_ >= offsetof(ZVRTOutcome, done); }
  // No more bytes than the caller's structure has.
  void set(std::int32_t field, const ZVRTOutcome& outcome) const;

 private:
  ZVRTOutcome* first_;
  std::size_t step_;
};

ZVRTOutcome no_outcome();
// Adds the outcome of the rows from `first` on.
void add(ZVRTOutcome& total, const ZVRTOutcome& block, std::int64_t first);

}  // namespace zvrt::arrow

struct ZVRTRecordPlan {
  std::int32_t count = 0;
  std::int64_t record_bytes = 0;
  std::uint32_t options = 0;
  std::unique_ptr<zvrt::arrow::Field[]> fields;
};
