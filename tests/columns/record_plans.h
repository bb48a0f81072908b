// Record plans and their arrays, in objects that end their lives.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ZVRTColumns.h"
#include "columns/arrow/abi.h"

namespace zvrt_test {

inline ZVRTType type_of(std::uint32_t kind, std::int32_t length = 0, std::uint32_t flags = 0) {
  ZVRTType type{};
  type.size = sizeof type;
  type.kind = kind;
  type.length = length;
  type.flags = flags;
  return type;
}
inline ZVRTType decimal_of(std::uint32_t kind, std::int32_t length, int precision, int scale, std::uint32_t flags = 0) {
  ZVRTType type = type_of(kind, length, flags);
  type.precision = static_cast<std::int16_t>(precision);
  type.scale = static_cast<std::int16_t>(scale);
  return type;
}
inline ZVRTType with_model(ZVRTType type, const wchar_t* model) {
  type.model = model;
  return type;
}
inline ZVRTType on_page(ZVRTType type, std::uint32_t page) {
  type.codePage = page;
  return type;
}

struct TestField {
  std::string name;
  ZVRTType type;
  std::int32_t offset = 0;
  std::int32_t indicator = -1;
  std::uint32_t column = ZVRT_COLUMN_DEFAULT;
};

class RecordPlan {
 public:
  RecordPlan(const std::vector<TestField>& fields, std::int32_t record_bytes, std::uint32_t options = 0) {
    std::vector<ZVRTField> all;
    for (const TestField& field : fields) {
      all.push_back({sizeof(ZVRTField), field.offset, field.indicator, field.column, field.name.c_str(), &field.type});
    }
    why.size = sizeof why;
    status =
        ZVRTRecordPlanCreate(all.data(), static_cast<std::int32_t>(all.size()), record_bytes, options, &plan, &why);
    outcomes.resize(fields.size());
    for (ZVRTOutcome& outcome : outcomes) outcome.size = sizeof outcome;
  }
  ~RecordPlan() { ZVRTRecordPlanDestroy(plan); }
  RecordPlan(const RecordPlan&) = delete;
  RecordPlan& operator=(const RecordPlan&) = delete;

  ZVRTRecordPlan* plan = nullptr;
  std::uint32_t status = 0;
  ZVRTProblem why{};
  std::vector<ZVRTOutcome> outcomes;
};

// A schema or an array that is released in the end.
template <class Structure>
struct Released {
  Structure it{};
  Released() = default;
  ~Released() {
    if (it.release != nullptr) it.release(&it);
  }
  Released(const Released&) = delete;
  Released& operator=(const Released&) = delete;
};

template <class Element>
Element element(const ArrowArray& array, std::int64_t row, int buffer = 1) {
  return static_cast<const Element*>(array.buffers[buffer])[row];
}
inline bool is_valid(const ArrowArray& array, std::int64_t row) {
  if (array.buffers[0] == nullptr) return true;
  return (static_cast<const unsigned char*>(array.buffers[0])[row / 8] >> (row % 8) & 1) != 0;
}
inline std::string text_at(const ArrowArray& array, std::int64_t row) {
  const std::int32_t begin = element<std::int32_t>(array, row), end = element<std::int32_t>(array, row + 1);
  return {static_cast<const char*>(array.buffers[2]) + begin, static_cast<std::size_t>(end - begin)};
}

}  // namespace zvrt_test
