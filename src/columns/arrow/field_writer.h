// One field of all records, written block by block from a column of somebody else's array.
#pragma once

#include <cstddef>
#include <cstdint>

#include "columns/arrow/imported_column.h"
#include "columns/arrow/owned_array.h"
#include "columns/arrow/record_plan.h"

namespace zvrt::arrow {

// The struct array whose children the columns are.
struct Rows {
  Validity validity;
  std::int64_t first = 0;  // in the validity and in the children
  std::int64_t count = 0;
};

class FieldWriter {
 public:
  // Looks the column over and makes the plan; nothing is written yet.
  Status open(const ZVRTRecordPlan& plan, const Field& field, const ArrowSchema& schema, const ArrowArray& array,
              const Rows& rows);
  Status write(std::byte* records);
  const ZVRTOutcome& outcome() const { return outcome_; }

 private:
  static constexpr std::int64_t max_block = 256;
  struct Block;

  Status gather(Block& block);
  void place_texts(Block& block) const;
  Status place_views(Block& block);
  void place_cells(Block& block) const;
  void stage_cells(Block& block);

  const Field* field_ = nullptr;
  std::int64_t record_bytes_ = 0;
  bool cut_ = false;
  Rows rows_;
  ImportedColumn column_;
  PlanHolder plan_;
  Buffer gathered_;
  ZVRTOutcome outcome_ = no_outcome();
};

}  // namespace zvrt::arrow
