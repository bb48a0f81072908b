// Batches and their columns as Python objects: capsules of the Arrow interface, buffers without a copy, lists of objects.
//
//   Batch    rows of a file, a struct array          __arrow_c_array__, column(i), len()
//   Column   one of its columns                      __arrow_c_array__, the buffer of its values, to_pylist()
//   Buffer   a part of a column's memory             the buffer protocol alone
#pragma once

#include <cstdint>

#include "interpreter.h"
#include "records/arrow/batch.h"

namespace zvrt::python {

struct ColumnBody {
  records::SharedBatch batch;
  std::size_t index = 0;
  Py_ssize_t shape[2] = {0, 2};
  Py_ssize_t strides[2] = {0, 8};

  const records::BatchColumn& column() const { return batch->columns[index]; }
  const records::BatchColumnType& type() const { return (*batch->schema)[index]; }
};

// Memory of a column; whoever looks at it keeps the batch.
struct BufferBody {
  records::SharedBatch batch;
  const void* data = nullptr;
  Py_ssize_t items = 0;
  Py_ssize_t item_bytes = 1;
  const char* format = "B";
};

// How the values of an Arrow format stand in memory, for Python's buffers; item_bytes 0: they cannot be shown as one.
struct ValueForm {
  const char* format = nullptr;
  Py_ssize_t item_bytes = 0;
  int dimensions = 1;
};
ValueForm value_form(const std::string& arrow_format);

PyObject* make_batch(records::SharedBatch batch);
PyObject* schema_capsule(const records::BatchSchema& schema);

bool add_column_types(PyObject* module);

}  // namespace zvrt::python
