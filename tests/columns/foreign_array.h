// Arrays as somebody else would make them: every buffer flush against a guard page, every release counted.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "columns/arrow/abi.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

template <class Element>
std::string bytes_of(const std::vector<Element>& elements) {
  std::string bytes(elements.size() * sizeof(Element), '\0');
  if (!elements.empty()) std::memcpy(bytes.data(), elements.data(), bytes.size());
  return bytes;
}

__extension__ using Int128 = __int128;  // an element of a decimal128 column

// '1' for a row that is valid, '0' for a null, in the order of the rows.
inline std::string bitmap(const std::string& rows) {
  std::string bytes((rows.size() + 7) / 8, '\0');
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i] == '1') bytes[i / 8] = static_cast<char>(static_cast<unsigned char>(bytes[i / 8]) | 1U << (i % 8));
  }
  return bytes;
}

// A column, or a struct of columns. Buffers left out are null.
class ForeignArray {
 public:
  using Buffers = std::vector<std::optional<std::string>>;

  ForeignArray(std::string format, std::string name, std::int64_t length, const Buffers& buffers,
               std::int64_t offset = 0, std::int64_t null_count = -1)
      : format_(std::move(format)), name_(std::move(name)) {
    for (const auto& buffer : buffers) {
      memory_.push_back(buffer ? std::make_unique<GuardedBuffer>(buffer->data(), buffer->size()) : nullptr);
      pointers_.push_back(memory_.back() == nullptr ? nullptr : memory_.back()->as<>());
    }
    schema.format = format_.c_str();
    schema.name = name_.c_str();
    schema.flags = ARROW_FLAG_NULLABLE;
    schema.release = [](ArrowSchema* released) { released->release = nullptr; };
    array.length = length;
    array.null_count = null_count;
    array.offset = offset;
    array.n_buffers = static_cast<std::int64_t>(pointers_.size());
    array.buffers = pointers_.data();
    array.release = [](ArrowArray* released) { released->release = nullptr; };
  }
  ForeignArray(const ForeignArray&) = delete;
  ForeignArray& operator=(const ForeignArray&) = delete;

  ForeignArray& add(std::unique_ptr<ForeignArray> child) {
    children_.push_back(std::move(child));
    child_schemas_.push_back(&children_.back()->schema);
    child_arrays_.push_back(&children_.back()->array);
    schema.n_children = array.n_children = static_cast<std::int64_t>(children_.size());
    schema.children = child_schemas_.data();
    array.children = child_arrays_.data();
    return *this;
  }
  ForeignArray& set_dictionary(std::unique_ptr<ForeignArray> values) {
    dictionary_ = std::move(values);
    schema.dictionary = &dictionary_->schema;
    array.dictionary = &dictionary_->array;
    return *this;
  }
  ForeignArray& child(std::size_t i) { return *children_[i]; }
  ForeignArray& dictionary() { return *dictionary_; }

  ArrowSchema schema{};
  ArrowArray array{};

 private:
  std::string format_, name_;
  std::vector<std::unique_ptr<GuardedBuffer>> memory_;
  std::vector<const void*> pointers_;
  std::vector<std::unique_ptr<ForeignArray>> children_;
  std::vector<ArrowSchema*> child_schemas_;
  std::vector<ArrowArray*> child_arrays_;
  std::unique_ptr<ForeignArray> dictionary_;
};

// A table of one column.
inline std::unique_ptr<ForeignArray> table_of(std::unique_ptr<ForeignArray> column, std::int64_t rows,
                                              std::int64_t offset = 0, std::optional<std::string> validity = {}) {
  auto table = std::make_unique<ForeignArray>("+s", "", rows, ForeignArray::Buffers{std::move(validity)}, offset);
  table->add(std::move(column));
  return table;
}

}  // namespace zvrt_test
