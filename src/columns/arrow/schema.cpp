// The schema of a record plan. Each child owns one block of memory, its texts, so that it may be moved out.
#include <cstring>
#include <memory>
#include <new>

#include "columns/arrow/abi.h"
#include "columns/arrow/record_plan.h"

namespace zvrt::arrow {
namespace {

struct Children {
  std::unique_ptr<ArrowSchema*[]> pointers;
  std::unique_ptr<ArrowSchema[]> schemas;
};

extern "C" void zvrt_release_column_schema(ArrowSchema* schema) {
  delete[] static_cast<char*>(schema->private_data);
  schema->release = nullptr;
}

extern "C" void zvrt_release_schema(ArrowSchema* schema) {
  for (std::int64_t i = 0; i < schema->n_children; ++i) {
    ArrowSchema* const child = schema->children[i];
    if (child->release != nullptr) child->release(child);
  }
  delete static_cast<Children*>(schema->private_data);
  schema->release = nullptr;
}

bool make_column_schema(const Field& field, ArrowSchema& schema) {
  const std::size_t format_bytes = std::strlen(field.column.format) + 1;
  const std::size_t name_bytes = std::strlen(field.name.get()) + 1;
  char* const texts = new (std::nothrow) char[format_bytes + name_bytes];
  if (texts == nullptr) return false;
  std::memcpy(texts, field.column.format, format_bytes);
  std::memcpy(texts + format_bytes, field.name.get(), name_bytes);
  schema.format = texts;
  schema.name = texts + format_bytes;
  schema.flags = ARROW_FLAG_NULLABLE;
  schema.private_data = texts;
  schema.release = zvrt_release_column_schema;
  return true;
}

bool make_schema(const ZVRTRecordPlan& plan, ArrowSchema& schema) {
  const auto count = static_cast<std::size_t>(plan.count);
  std::unique_ptr<Children> children(new (std::nothrow) Children);
  if (children == nullptr) return false;
  children->pointers.reset(new (std::nothrow) ArrowSchema*[count]);
  children->schemas.reset(new (std::nothrow) ArrowSchema[count]());
  if (children->pointers == nullptr || children->schemas == nullptr) return false;
  bool made = true;
  for (std::size_t i = 0; i < count; ++i) {
    children->pointers[i] = &children->schemas[i];
    made = made && make_column_schema(plan.fields[i], children->schemas[i]);
  }
  ArrowSchema whole{};
  whole.format = "+s";
  whole.name = "";
  whole.n_children = plan.count;
  whole.children = children->pointers.get();
  whole.private_data = children.release();
  whole.release = zvrt_release_schema;
  if (made) {
    schema = whole;
  } else {
    whole.release(&whole);
  }
  return made;
}

}  // namespace
}  // namespace zvrt::arrow

uint32_t ZVRTRecordSchema(const ZVRTRecordPlan* plan, struct ArrowSchema* schema) {
  if (plan == nullptr || schema == nullptr) return ZVRT_RC_ERROR;
  return zvrt::arrow::make_schema(*plan, *schema) ? ZVRT_RC_OK : ZVRT_RC_NO_MEMORY;
}
