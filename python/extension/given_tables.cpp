// Columns of Python's as an Arrow table: buffers as they are, lists of objects as text.
#include <fmt/format.h>

#include <cstring>
#include <memory>

#include "capsules.h"
#include "columns.h"
#include "records/arrow/batch.h"
#include "writing.h"

namespace zvrt::python {
namespace {

// What the object holds, of bytes, or its text. Returns how many bytes that is.
Py_ssize_t add_text(PyObject* object, bool as_bytes, std::vector<char>& text) {
  Ref made;
  char* data = nullptr;
  Py_ssize_t size = 0;
  if (as_bytes) {
    succeeded(PyBytes_AsStringAndSize(object, &data, &size));
    text.insert(text.end(), data, data + size);
    return size;
  }
  if (!PyUnicode_Check(object)) made = owned(PyObject_Str(object));
  const char* const utf8 = PyUnicode_AsUTF8AndSize(made ? made.get() : object, &size);
  if (utf8 == nullptr) throw ErrorIsSet();
  text.insert(text.end(), utf8, utf8 + size);
  return size;
}

// The text of each object, or its bytes, one after the other, and where each begins.
void add_texts(PyObject* list, bool as_bytes, records::BatchColumn& column) {
  if (!PyList_Check(list)) raise(PyExc_TypeError, "the texts: a list is wanted");
  const Py_ssize_t count = PyList_Size(list);
  std::vector<char> offsets(static_cast<std::size_t>(count + 1) * sizeof(std::int64_t));
  std::vector<char> text;
  std::vector<char> bits(static_cast<std::size_t>(count / 8) + 1, '\xFF');
  std::int64_t nulls = 0;
  std::int64_t bytes = 0;
  for (Py_ssize_t row = 0; row < count; ++row) {
    PyObject* const object = PyList_GetItem(list, row);
    if (object == Py_None) {
      ++nulls;
      bits[static_cast<std::size_t>(row / 8)] =
          static_cast<char>(static_cast<unsigned char>(bits[static_cast<std::size_t>(row / 8)]) & ~(1U << (row % 8)));
    } else {
      bytes += add_text(object, as_bytes, text);
    }
    std::memcpy(offsets.data() + static_cast<std::size_t>(row + 1) * sizeof bytes, &bytes, sizeof bytes);
  }
  column.buffer_count = 3;
  column.made.push_back(std::move(offsets));
  column.buffers[1] = column.made.back().data();
  text.push_back('\0');  // so that it has a place
  column.made.push_back(std::move(text));
  column.buffers[2] = column.made.back().data();
  if (nulls != 0) column.set_validity(std::move(bits), nulls);
}

struct HeldView {
  Py_buffer view{};
  HeldView(PyObject* object, const char* what) {
    if (PyObject_CheckBuffer(object) == 0) raise(PyExc_TypeError, fmt::format("{}: a buffer is wanted", what));
    succeeded(PyObject_GetBuffer(object, &view, PyBUF_C_CONTIGUOUS));
  }
  HeldView(const HeldView&) = delete;
  HeldView& operator=(const HeldView&) = delete;
  ~HeldView() { PyBuffer_Release(&view); }
};

// Returns the number of rows.
std::int64_t add_values(PyObject* values, std::int64_t item_bytes, PyObject* nulls, records::BatchColumn& column) {
  const HeldView held(values, "values");
  if (held.view.itemsize != item_bytes) raise(PyExc_TypeError, "values: items of another size");
  const std::int64_t rows = held.view.len / item_bytes;
  const char* const data = static_cast<const char*>(held.view.buf);
  column.made.emplace_back(static_cast<std::size_t>(held.view.len) + 1);
  if (held.view.len != 0) std::memcpy(column.made.back().data(), data, static_cast<std::size_t>(held.view.len));
  column.buffers[1] = column.made.back().data();
  if (nulls == Py_None) return rows;
  const HeldView mask(nulls, "nulls");
  if (mask.view.itemsize != 1 || mask.view.len != rows) raise(PyExc_ValueError, "nulls: a byte a row is wanted");
  std::vector<char> bits(static_cast<std::size_t>(rows / 8) + 1, '\0');
  std::int64_t count = 0;
  for (std::int64_t row = 0; row < rows; ++row) {
    if (static_cast<const char*>(mask.view.buf)[row] != 0)
      ++count;
    else
      bits[static_cast<std::size_t>(row / 8)] =
          static_cast<char>(static_cast<unsigned char>(bits[static_cast<std::size_t>(row / 8)]) | 1U << (row % 8));
  }
  if (count != 0) column.set_validity(std::move(bits), count);
  return rows;
}

}  // namespace

PyObject* table_of(PyObject* /*module*/, PyObject* columns) {
  return guarded([&] {
    if (!PyList_Check(columns)) raise(PyExc_TypeError, "columns: a list is wanted");
    auto schema = std::make_shared<records::BatchSchema>();
    auto batch = std::make_shared<records::Batch>();
    for (Py_ssize_t i = 0; i < PyList_Size(columns); ++i) {
      const char* name = nullptr;
      const char* format = nullptr;
      PyObject* values = nullptr;
      PyObject* nulls = nullptr;
      if (PyArg_ParseTuple(PyList_GetItem(columns, i), "ssOO", &name, &format, &values, &nulls) == 0)
        throw ErrorIsSet();
      records::BatchColumn& column = batch->columns.emplace_back();
      std::int64_t rows = 0;
      if (const std::string_view kind = format; kind == "U" || kind == "Z") {
        add_texts(values, kind == "Z", column);
        rows = PyList_Size(values);
      } else {
        const std::int64_t bytes = std::string_view(format) == "tsn:" ? 8 : value_form(format).item_bytes;
        if (bytes == 0) raise(PyExc_ValueError, fmt::format("no values of the format '{}'", format));
        rows = add_values(values, bytes, nulls, column);
      }
      if (i > 0 && rows != batch->rows) raise(PyExc_ValueError, "the columns have not one length");
      batch->rows = rows;
      schema->push_back({name, format});
    }
    batch->schema = schema;
    Released<ArrowSchema> made_schema;
    Released<ArrowArray> made_array;
    records::export_schema(*schema, made_schema.it);
    records::export_array(batch, made_array.it);
    const Ref first = made_schema.give();
    const Ref second = made_array.give();
    return PyTuple_Pack(2, first.get(), second.get());
  });
}

}  // namespace zvrt::python
