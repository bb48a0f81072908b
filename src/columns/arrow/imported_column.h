// A column of an array that somebody else made: looked over before anything of it is followed, then read block by block.
//
// Whatever a structure can show to be wrong is found first: a released structure, counts that do not belong to the type,
// missing buffers, offsets that go back, views and indices that point outside. What it cannot show, the size of a buffer
// without one, has to be believed, as every consumer of the interface does.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ZVRTColumns.h"
#include "columns/arrow/abi.h"
#include "columns/arrow/arrow_type.h"
#include "core/call.h"

namespace zvrt::arrow {

// A validity bitmap; without one every row is valid.
struct Validity {
  const std::byte* bits = nullptr;

  bool operator[](std::int64_t row) const {
    return bits == nullptr || (bits[row / 8] >> static_cast<unsigned>(row % 8) & std::byte{1}) != std::byte{0};
  }
};

class ImportedColumn {
 public:
  // `rows` rows from row `first` of the array, its own offset not counted. ZVRT_RC_INVALID_ARROW.
  Status open(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t rows);

  const ArrowType& type() const { return type_; }
  // The element that a row stands for, or -1 for null.
  std::int64_t element(std::int64_t row) const;
  const std::byte* values() const { return values_; }  // the fixed-size elements, offsets or views
  const std::byte* texts() const { return texts_; }

  struct Text {
    const std::byte* at;
    std::int64_t bytes;
  };
  Text view(std::int64_t element) const;  // of a type with views
  std::int64_t offset(std::int64_t element) const;

 private:
  bool open_values(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t rows);
  bool open_dictionary(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t rows);
  bool check_offsets(std::int64_t rows) const;
  bool check_views(std::int64_t rows) const;
  std::int64_t index(std::int64_t row) const;

  ArrowType type_;     // of the elements
  Validity validity_;  // of the elements
  const ArrowArray* array_ = nullptr;
  const std::byte* values_ = nullptr;
  const std::byte* texts_ = nullptr;
  std::int64_t first_ = 0;       // of the elements, offsets added
  bool has_dictionary_ = false;  // rows are indices, as follows
  ArrowType index_type_;
  Validity index_validity_;
  const std::byte* indices_ = nullptr;
  std::int64_t first_index_ = 0;
};

// What holds for every array and its schema: alive, counts of a kind, no more rows asked for than there are.
bool is_sound(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t rows);

}  // namespace zvrt::arrow
