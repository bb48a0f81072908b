#include "records/arrow/batch.h"

#include <utility>

namespace zvrt::records {
namespace {

// What an exported schema needs while its receiver has it. Children have one each, since they may be moved out.
struct SchemaOwner {
  BatchColumnType type;
  std::vector<ArrowSchema> children;
  std::vector<ArrowSchema*> places;
};

struct ArrayOwner {
  SharedBatch batch;
  std::array<const void*, 3> buffers{};
  std::vector<ArrowArray> children;
  std::vector<ArrowArray*> places;
};

// Releases the children that are still there, and the owner. The structures of both kinds have the same members.
template <class Owner, class Structure>
void release(Structure* structure) {
  for (std::int64_t i = 0; i < structure->n_children; ++i) {
    Structure* const child = structure->children[i];
    if (child->release != nullptr) child->release(child);
  }
  delete static_cast<Owner*>(structure->private_data);
  structure->release = nullptr;
  structure->private_data = nullptr;
}

extern "C" void zvrt_batch_schema_release(ArrowSchema* schema) { release<SchemaOwner>(schema); }
extern "C" void zvrt_batch_array_release(ArrowArray* array) { release<ArrayOwner>(array); }

template <class Owner, class Structure>
void adopt_children(Owner& owner, Structure& structure) {
  for (Structure& child : owner.children) owner.places.push_back(&child);
  structure.n_children = static_cast<std::int64_t>(owner.places.size());
  structure.children = owner.places.data();
}

}  // namespace

void BatchColumn::set_validity(std::vector<char> bits, std::int64_t nulls) {
  null_count = nulls;
  made.push_back(std::move(bits));
  buffers[0] = made.back().data();
}

void export_schema(const BatchColumnType& column, ArrowSchema& schema) {
  auto owner = std::make_unique<SchemaOwner>();
  owner->type = column;
  schema = {};
  schema.format = owner->type.format.c_str();
  schema.name = owner->type.name.c_str();
  schema.flags = ARROW_FLAG_NULLABLE;
  schema.release = zvrt_batch_schema_release;
  schema.private_data = owner.release();
}

void export_schema(const BatchSchema& columns, ArrowSchema& schema) {
  auto owner = std::make_unique<SchemaOwner>();
  owner->type.format = "+s";
  owner->children.resize(columns.size());
  owner->places.reserve(columns.size());
  ArrowSchema made{};
  adopt_children(*owner, made);
  made.format = owner->type.format.c_str();
  made.name = owner->type.name.c_str();
  made.release = zvrt_batch_schema_release;
  std::vector<ArrowSchema>& children = owner->children;
  made.private_data = owner.release();
  try {
    for (std::size_t i = 0; i < columns.size(); ++i) export_schema(columns[i], children[i]);
  } catch (...) {
    made.release(&made);
    throw;
  }
  schema = made;
}

void export_array(const SharedBatch& batch, std::size_t column, ArrowArray& array) {
  const BatchColumn& from = batch->columns[column];
  auto owner = std::make_unique<ArrayOwner>();
  owner->batch = batch;
  owner->buffers = from.buffers;
  array = {};
  array.length = batch->rows;
  array.null_count = from.null_count;
  array.n_buffers = from.buffer_count;
  array.buffers = owner->buffers.data();
  array.release = zvrt_batch_array_release;
  array.private_data = owner.release();
}

void export_array(const SharedBatch& batch, ArrowArray& array) {
  auto owner = std::make_unique<ArrayOwner>();
  owner->batch = batch;
  owner->children.resize(batch->columns.size());
  owner->places.reserve(batch->columns.size());
  ArrowArray made{};
  adopt_children(*owner, made);
  made.length = batch->rows;
  made.n_buffers = 1;
  made.buffers = owner->buffers.data();
  made.release = zvrt_batch_array_release;
  std::vector<ArrowArray>& children = owner->children;
  made.private_data = owner.release();
  try {
    for (std::size_t i = 0; i < batch->columns.size(); ++i) export_array(batch, i, children[i]);
  } catch (...) {
    made.release(&made);
    throw;
  }
  array = made;
}

namespace {

class BatchSource final : public StreamSource {
 public:
  BatchSource(std::shared_ptr<const BatchSchema> schema, NextBatch next)
      : schema_(std::move(schema)), next_(std::move(next)) {}

  void schema(ArrowSchema& schema) override { export_schema(*schema_, schema); }
  void next(ArrowArray& array) override {
    if (const SharedBatch batch = next_()) export_array(batch, array);
  }

 private:
  std::shared_ptr<const BatchSchema> schema_;
  NextBatch next_;
};

}  // namespace

void make_batch_stream(std::shared_ptr<const BatchSchema> schema, NextBatch next, ArrowArrayStream& stream) {
  make_stream(std::make_unique<BatchSource>(std::move(schema), std::move(next)), stream);
}

}  // namespace zvrt::records
