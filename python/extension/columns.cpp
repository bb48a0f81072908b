#include "columns.h"

#include <fmt/format.h>

#include <array>

#include "capsules.h"
#include "objects.h"

namespace zvrt::python {

using records::SharedBatch;

ValueForm value_form(const std::string& arrow_format) {
  struct Known {
    std::string_view arrow;
    ValueForm form;
  };
  static constexpr std::array known{Known{"c", {"b", 1}},   Known{"C", {"B", 1}},   Known{"s", {"h", 2}},
                                    Known{"S", {"H", 2}},   Known{"i", {"i", 4}},   Known{"I", {"I", 4}},
                                    Known{"l", {"l", 8}},   Known{"L", {"L", 8}},   Known{"f", {"f", 4}},
                                    Known{"g", {"d", 8}},   Known{"tdD", {"i", 4}}, Known{"ttu", {"l", 8}},
                                    Known{"tsu:", {"l", 8}}};
  for (const Known& each : known)
    if (each.arrow == arrow_format) return each.form;
  if (arrow_format.starts_with("d:")) return {"L", 8, 2};
  return {};
}

namespace {

PyObject* make_column(const SharedBatch& batch, std::size_t index) {
  ColumnBody body;
  body.batch = batch;
  body.index = index;
  body.shape[0] = static_cast<Py_ssize_t>(batch->rows);
  const ValueForm form = value_form(body.type().format);
  body.strides[0] = form.item_bytes * (form.dimensions == 2 ? 2 : 1);
  return make_object(types().column, std::move(body));
}

// Fills what a request for a buffer asked; all of them are read only.
int fill_view(PyObject* self, Py_buffer* view, int flags, const void* data, const ValueForm& form, Py_ssize_t* shape,
              Py_ssize_t* strides) noexcept {
  if ((flags & PyBUF_WRITABLE) == PyBUF_WRITABLE) {
    PyErr_SetString(PyExc_BufferError, "the values of a column are read only");
    return -1;
  }
  const bool with_shape = (flags & PyBUF_ND) == PyBUF_ND;
  Py_INCREF(self);
  view->obj = self;
  view->buf = const_cast<void*>(data);
  view->len = shape[0] * strides[0];
  view->readonly = 1;
  view->itemsize = form.item_bytes;
  view->format = (flags & PyBUF_FORMAT) == PyBUF_FORMAT ? const_cast<char*>(form.format) : nullptr;
  view->ndim = with_shape ? form.dimensions : 1;
  view->shape = with_shape ? shape : nullptr;
  view->strides = (flags & PyBUF_STRIDES) == PyBUF_STRIDES ? strides : nullptr;
  view->suboffsets = nullptr;
  view->internal = nullptr;
  return 0;
}

constexpr double nothing = 0;  // what an empty buffer points to

int column_buffer(PyObject* self, Py_buffer* view, int flags) {
  auto& body = body_of<ColumnBody>(self);
  view->obj = nullptr;
  const ValueForm form = value_form(body.type().format);
  if (form.item_bytes == 0) {
    PyErr_SetString(PyExc_BufferError, "this column has no values of one size; see offsets, data and to_pylist()");
    return -1;
  }
  const void* const data = body.column().buffers[1];
  return fill_view(self, view, flags, data != nullptr ? data : &nothing, form, body.shape, body.strides);
}

int buffer_buffer(PyObject* self, Py_buffer* view, int flags) {
  auto& body = body_of<BufferBody>(self);
  view->obj = nullptr;
  return fill_view(self, view, flags, body.data != nullptr ? body.data : &nothing, {body.format, body.item_bytes, 1},
                   &body.items, &body.item_bytes);
}

PyObject* memory(const ColumnBody& column, std::size_t buffer, Py_ssize_t items, Py_ssize_t item_bytes,
                 const char* format) {
  const void* const data = column.column().buffers[buffer];
  if (data == nullptr) return none();
  const Ref held = owned(make_object(types().buffer, BufferBody{column.batch, data, items, item_bytes, format}));
  return PyMemoryView_FromObject(held.get());
}

PyObject* column_validity(PyObject* self, void* /*closure*/) {
  return guarded([&] {
    const auto& column = body_of<ColumnBody>(self);
    return memory(column, 0, static_cast<Py_ssize_t>((column.batch->rows + 7) / 8), 1, "B");
  });
}

PyObject* column_offsets(PyObject* self, void* /*closure*/) {
  return guarded([&] {
    const auto& column = body_of<ColumnBody>(self);
    if (column.column().buffer_count != 3) return none();
    return memory(column, 1, static_cast<Py_ssize_t>(column.batch->rows + 1), 4, "i");
  });
}

PyObject* column_data(PyObject* self, void* /*closure*/) {
  return guarded([&] {
    const auto& column = body_of<ColumnBody>(self);
    if (column.column().buffer_count != 3) return PyMemoryView_FromObject(self);
    const auto* const offsets = static_cast<const std::int32_t*>(column.column().buffers[1]);
    return memory(column, 2, static_cast<Py_ssize_t>(offsets[column.batch->rows]), 1, "B");
  });
}

PyObject* column_name(PyObject* self, void* /*closure*/) {
  return guarded([&] { return text_object(body_of<ColumnBody>(self).type().name).release(); });
}
PyObject* column_format(PyObject* self, void* /*closure*/) {
  return guarded([&] { return text_object(body_of<ColumnBody>(self).type().format).release(); });
}
PyObject* column_null_count(PyObject* self, void* /*closure*/) {
  return PyLong_FromLongLong(body_of<ColumnBody>(self).column().null_count);
}
Py_ssize_t column_length(PyObject* self) { return static_cast<Py_ssize_t>(body_of<ColumnBody>(self).batch->rows); }

PyObject* column_to_pylist(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&] {
    const auto& column = body_of<ColumnBody>(self);
    ObjectMaker maker(column);
    Ref list = owned(PyList_New(static_cast<Py_ssize_t>(column.batch->rows)));
    for (std::int64_t row = 0; row < column.batch->rows; ++row)
      succeeded(PyList_SetItem(list.get(), static_cast<Py_ssize_t>(row), owned(maker.make(row)).release()));
    return list.release();
  });
}

// The references of an array of objects, such as numpy's, from a place on.
PyObject* column_fill(PyObject* self, PyObject* arguments) {
  return guarded([&]() -> PyObject* {
    PyObject* target = nullptr;
    Py_ssize_t first = 0;
    if (PyArg_ParseTuple(arguments, "On", &target, &first) == 0) throw ErrorIsSet();
    const auto& column = body_of<ColumnBody>(self);
    Py_buffer view{};
    succeeded(PyObject_GetBuffer(target, &view, PyBUF_WRITABLE | PyBUF_FORMAT | PyBUF_C_CONTIGUOUS));
    struct Release {
      Py_buffer& of;
      ~Release() { PyBuffer_Release(&of); }
    } const release{view};
    const bool objects = view.format != nullptr && std::string_view(view.format) == "O";
    const auto places = view.len / static_cast<Py_ssize_t>(sizeof(PyObject*));
    if (!objects || first < 0 || first > places || places - first < column.batch->rows)
      raise(PyExc_ValueError, "an array of objects with room for the column is wanted");
    ObjectMaker maker(column);
    PyObject** const place = static_cast<PyObject**>(view.buf) + first;
    for (std::int64_t row = 0; row < column.batch->rows; ++row) {
      PyObject* const old = place[row];
      place[row] = owned(maker.make(row)).release();
      Py_XDECREF(old);
    }
    return none();
  });
}

// A pair of capsules; what is requested of the schema may be ignored, as the interface has it.
template <class ExportSchema, class ExportArray>
PyObject* array_pair(ExportSchema export_the_schema, ExportArray export_the_array) {
  Released<ArrowSchema> schema;
  Released<ArrowArray> array;
  export_the_schema(schema.it);
  export_the_array(array.it);
  const Ref first = schema.give();
  const Ref second = array.give();
  return PyTuple_Pack(2, first.get(), second.get());
}

PyObject* column_arrow_array(PyObject* self, PyObject* /*requested*/, PyObject* /*keywords*/) {
  return guarded([&] {
    const auto& column = body_of<ColumnBody>(self);
    return array_pair([&](ArrowSchema& schema) { records::export_schema(column.type(), schema); },
                      [&](ArrowArray& array) { records::export_array(column.batch, column.index, array); });
  });
}

PyObject* batch_arrow_array(PyObject* self, PyObject* /*requested*/, PyObject* /*keywords*/) {
  return guarded([&] {
    const auto& batch = body_of<SharedBatch>(self);
    return array_pair([&](ArrowSchema& schema) { records::export_schema(*batch->schema, schema); },
                      [&](ArrowArray& array) { records::export_array(batch, array); });
  });
}

PyObject* column_arrow_schema(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&] {
    Released<ArrowSchema> schema;
    records::export_schema(body_of<ColumnBody>(self).type(), schema.it);
    return schema.give().release();
  });
}

PyObject* batch_arrow_schema(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&] { return schema_capsule(*body_of<SharedBatch>(self)->schema); });
}

Py_ssize_t batch_length(PyObject* self) { return static_cast<Py_ssize_t>(body_of<SharedBatch>(self)->rows); }

PyObject* batch_column(PyObject* self, PyObject* key) {
  return guarded([&]() -> PyObject* {
    const auto& batch = body_of<SharedBatch>(self);
    const std::size_t count = batch->columns.size();
    if (PyUnicode_Check(key)) {
      const std::string name = text_of_object(key, "a column's name");
      for (std::size_t i = 0; i < count; ++i)
        if ((*batch->schema)[i].name == name) return make_column(batch, i);
      PyErr_SetObject(PyExc_KeyError, key);
      throw ErrorIsSet();
    }
    const Py_ssize_t index = PyNumber_AsSsize_t(key, PyExc_IndexError);
    if (index == -1 && PyErr_Occurred() != nullptr) throw ErrorIsSet();
    const Py_ssize_t at = index < 0 ? index + static_cast<Py_ssize_t>(count) : index;
    if (at < 0 || at >= static_cast<Py_ssize_t>(count)) raise(PyExc_IndexError, "there is no such column");
    return make_column(batch, static_cast<std::size_t>(at));
  });
}

PyObject* batch_columns(PyObject* self, void* /*closure*/) {
  return guarded([&] {
    const auto& batch = body_of<SharedBatch>(self);
    Ref list = owned(PyList_New(static_cast<Py_ssize_t>(batch->columns.size())));
    for (std::size_t i = 0; i < batch->columns.size(); ++i)
      succeeded(PyList_SetItem(list.get(), static_cast<Py_ssize_t>(i), make_column(batch, i)));
    return list.release();
  });
}

}  // namespace

PyObject* make_batch(SharedBatch batch) { return make_object(types().batch, std::move(batch)); }

PyObject* schema_capsule(const records::BatchSchema& schema) {
  Released<ArrowSchema> made;
  records::export_schema(schema, made.it);
  return made.give().release();
}

bool add_column_types(PyObject* module) {
  static PyMethodDef column_methods[] = {
      {"to_pylist", column_to_pylist, METH_NOARGS, "The values as a list of Python objects; None is a null."},
      {"_fill", column_fill, METH_VARARGS, "_fill(array, first): puts the objects into an array of objects."},
      {"__arrow_c_array__", method(column_arrow_array), METH_VARARGS | METH_KEYWORDS,
       "Capsules of the column's schema and array."},
      {"__arrow_c_schema__", column_arrow_schema, METH_NOARGS, "A capsule of the column's schema."},
      {}};
  static PyGetSetDef column_members[] = {
      {"name", column_name, nullptr, "The column's name.", nullptr},
      {"format", column_format, nullptr, "Its type as the Arrow interface writes it: 'l' is int64, 'u' text.", nullptr},
      {"null_count", column_null_count, nullptr, "How many values are null.", nullptr},
      {"validity", column_validity, nullptr, "A memoryview of a bit a row, 0 for a null; None where there is none.",
       nullptr},
      {"offsets", column_offsets, nullptr, "Of text: a memoryview of where each begins in data; else None.", nullptr},
      {"data", column_data, nullptr, "A memoryview of the values, or of the bytes of all texts.", nullptr},
      {}};
  static PyType_Slot column_slots[] = {
      {Py_tp_doc,
       const_cast<char*>("A column of a batch. numpy.asarray() takes numbers and dates as they are, without a copy.")},
      {Py_tp_dealloc, slot(free_object<ColumnBody>)},
      {Py_tp_methods, column_methods},
      {Py_tp_getset, column_members},
      {Py_sq_length, slot(column_length)},
      {Py_bf_getbuffer, slot(column_buffer)},
      {0, nullptr}};
  static PyType_Slot buffer_slots[] = {
      {Py_tp_dealloc, slot(free_object<BufferBody>)}, {Py_bf_getbuffer, slot(buffer_buffer)}, {0, nullptr}};
  static PyMethodDef batch_methods[] = {
      {"column", batch_column, METH_O, "column(key): the column of a name or an index."},
      {"__arrow_c_array__", method(batch_arrow_array), METH_VARARGS | METH_KEYWORDS,
       "Capsules of the schema and the struct array."},
      {"__arrow_c_schema__", batch_arrow_schema, METH_NOARGS, "A capsule of the schema."},
      {}};
  static PyGetSetDef batch_members[] = {{"columns", batch_columns, nullptr, "All columns.", nullptr}, {}};
  static PyType_Slot batch_slots[] = {
      {Py_tp_doc, const_cast<char*>("Rows of a record file, column by column. len() is the number of rows.")},
      {Py_tp_dealloc, slot(free_object<SharedBatch>)},
      {Py_tp_methods, batch_methods},
      {Py_tp_getset, batch_members},
      {Py_sq_length, slot(batch_length)},
      {Py_mp_subscript, slot(batch_column)},
      {0, nullptr}};
  constexpr unsigned flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION | Py_TPFLAGS_IMMUTABLETYPE;
  static PyType_Spec column_spec{"zvrt.Column", sizeof(Object<ColumnBody>), 0, flags, column_slots};
  static PyType_Spec buffer_spec{"zvrt._Buffer", sizeof(Object<BufferBody>), 0, flags, buffer_slots};
  static PyType_Spec batch_spec{"zvrt.Batch", sizeof(Object<SharedBatch>), 0, flags, batch_slots};
  types().column = PyType_FromSpec(&column_spec);
  types().buffer = PyType_FromSpec(&buffer_spec);
  types().batch = PyType_FromSpec(&batch_spec);
  return types().column != nullptr && types().buffer != nullptr && types().batch != nullptr &&
         PyModule_AddObjectRef(module, "Column", types().column) == 0 &&
         PyModule_AddObjectRef(module, "Batch", types().batch) == 0;
}

}  // namespace zvrt::python
