#include "tables.h"

#include "capsules.h"
#include "columns.h"
#include "errors.h"
#include "records/formats/cuts.h"
#include "records/layout/print.h"

namespace zvrt::python {
namespace {

// A reading with the journal of its latest pass.
struct RecordsBody {
  std::shared_ptr<const Reading> reading;
  std::shared_ptr<Journal> journal;
};

using SharedPass = std::shared_ptr<Pass>;

SharedPass begin_pass(RecordsBody& records) {
  auto journal = std::make_shared<Journal>();
  SharedPass pass;
  unlocked([&] { pass = std::make_shared<Pass>(records.reading, journal); });
  records.journal = std::move(journal);
  return pass;
}

// What pickling kept of copies(): (name, library, asking, file, text) each, of bytes; without the last two where there is
// no such file.
std::vector<Copied> copies_of(PyObject* list) {
  std::vector<Copied> copies;
  if (!PyList_Check(list)) raise(PyExc_TypeError, "the copies: a list is wanted");
  for (Py_ssize_t i = 0; i < PyList_Size(list); ++i) {
    const char* name = nullptr;
    const char* library = nullptr;
    const char* asking = nullptr;
    const char* file = nullptr;
    const char* text = nullptr;
    Py_ssize_t size = 0;
    PyObject* const item = PyList_GetItem(list, i);
    if (PyArg_ParseTuple(item, "yyy|yy#", &name, &library, &asking, &file, &text, &size) == 0) throw ErrorIsSet();
    Copied& copied = copies.emplace_back(Copied{name, library, asking, std::nullopt});
    if (text != nullptr) copied.found = {file, std::string(text, static_cast<std::size_t>(size))};
  }
  return copies;
}

PyObject* layout_new(PyTypeObject* type, PyObject* arguments, PyObject* /*keywords*/) {
  return guarded([&]() -> PyObject* {
    PyObject* text = nullptr;
    PyObject* name = nullptr;
    PyObject* given = nullptr;
    PyObject* copies = nullptr;
    if (PyArg_ParseTuple(arguments, "OUOO", &text, &name, &given, &copies) == 0) throw ErrorIsSet();
    Options options;
    take_options(given, options);
    LayoutText layout;
    char* bytes = nullptr;
    Py_ssize_t size = 0;
    if (!PyBytes_Check(text)) raise(PyExc_TypeError, "the copybook: bytes are wanted");
    succeeded(PyBytes_AsStringAndSize(text, &bytes, &size));
    layout.text.assign(bytes, static_cast<std::size_t>(size));
    layout.name = text_of_object(name, "name");
    layout.options = records::layout_options_of(options.arguments);
    if (copies != Py_None) layout.copies = copies_of(copies);
    layout.find_copies(copies == Py_None ? options.arguments.folders : std::vector<std::string>());
    return make_object(reinterpret_cast<PyObject*>(type), std::move(layout));
  });
}

PyObject* layout_as(PyObject* self, std::string (*print)(const records::Layout&)) {
  return guarded([&] { return text_object(print(body_of<LayoutText>(self).make())).release(); });
}
PyObject* layout_json(PyObject* self, PyObject* /*arguments*/) { return layout_as(self, records::layout_as_json); }
PyObject* layout_text(PyObject* self, PyObject* /*arguments*/) { return layout_as(self, records::layout_as_text); }

PyObject* layout_copies(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&] {
    Ref list = owned(PyList_New(0));
    for (const Copied& each : body_of<LayoutText>(self).copies) {
      const Ref item =
          each.found ? owned(Py_BuildValue("(yyyyy#)", each.name.c_str(), each.library.c_str(), each.asking.c_str(),
                                           each.found->file.c_str(), each.found->text.data(),
                                           static_cast<Py_ssize_t>(each.found->text.size())))
                     : owned(Py_BuildValue("(yyy)", each.name.c_str(), each.library.c_str(), each.asking.c_str()));
      succeeded(PyList_Append(list.get(), item.get()));
    }
    return list.release();
  });
}

// Bytes, anything else with a buffer, or file names: one or a sequence.
void take_source(PyObject* source, std::vector<std::string>& files, std::shared_ptr<LentBytes>& bytes) {
  if (PyObject_CheckBuffer(source) != 0) {
    bytes = std::make_shared<LentBytes>();
    succeeded(PyObject_GetBuffer(source, &bytes->buffer, PyBUF_SIMPLE));
  } else if (PyList_Check(source) || PyTuple_Check(source)) {
    const Py_ssize_t count = PySequence_Size(source);
    for (Py_ssize_t i = 0; i < count; ++i) files.push_back(path_of(owned(PySequence_GetItem(source, i)).get()));
    if (files.empty()) raise(PyExc_ValueError, "no file was named");
  } else {
    files.push_back(path_of(source));
  }
}

PyObject* records_new(PyTypeObject* type, PyObject* arguments, PyObject* /*keywords*/) {
  return guarded([&] {
    PyObject* layout = nullptr;
    PyObject* source = nullptr;
    PyObject* given = nullptr;
    if (PyArg_ParseTuple(arguments, "O!OO", types().layout, &layout, &source, &given) == 0) throw ErrorIsSet();
    Options options;
    take_options(given, options);
    std::vector<std::string> files;
    std::shared_ptr<LentBytes> bytes;
    take_source(source, files, bytes);
    RecordsBody body;
    body.reading = std::make_shared<const Reading>(body_of<LayoutText>(layout), std::move(options), std::move(files),
                                                   std::move(bytes));
    return make_object(reinterpret_cast<PyObject*>(type), std::move(body));
  });
}

PyObject* records_iterate(PyObject* self) {
  return guarded([&] { return make_object(types().batches, begin_pass(body_of<RecordsBody>(self))); });
}

PyObject* batches_next(PyObject* self) {
  return guarded([&]() -> PyObject* {
    const SharedPass pass = body_of<SharedPass>(self);
    records::SharedBatch batch;
    unlocked([&] { batch = pass->next(); });
    return batch ? make_batch(std::move(batch)) : nullptr;
  });
}

PyObject* records_stream(PyObject* self, PyObject* /*requested*/, PyObject* /*keywords*/) {
  return guarded([&] {
    auto& records = body_of<RecordsBody>(self);
    const SharedPass pass = begin_pass(records);
    Released<ArrowArrayStream> stream;
    records::make_batch_stream(
        records.reading->typed().schema(), [pass] { return pass->next(); }, stream.it);
    return stream.give().release();
  });
}

PyObject* records_schema(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&] { return schema_capsule(*body_of<RecordsBody>(self).reading->typed().schema()); });
}

// Where no pass was made yet there is none to tell of: None.
PyObject* records_journal(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&]() -> PyObject* {
    const std::shared_ptr<Journal> journal = body_of<RecordsBody>(self).journal;
    if (!journal) return none();
    std::vector<records::RefusedCell> refusals;
    std::uint64_t refused = 0;
    std::uint64_t read = 0;
    std::uint64_t carried = 0;
    unlocked([&] {
      const std::lock_guard<std::mutex> lock(journal->mutex);
      refusals = journal->refusals;
      refused = journal->refused;
      read = journal->read;
      carried = journal->carried;
    });
    const Ref list = refusals_as_list(refusals);
    return Py_BuildValue("(OKKK)", list.get(), refused, read, carried);
  });
}

PyObject* records_columns(PyObject* self, PyObject* /*arguments*/) {
  return guarded([&] {
    const records::BatchSchema& schema = *body_of<RecordsBody>(self).reading->typed().schema();
    Ref list = owned(PyList_New(0));
    for (const records::BatchColumnType& column : schema) {
      const Ref pair = owned(Py_BuildValue("(ss)", column.name.c_str(), column.format.c_str()));
      succeeded(PyList_Append(list.get(), pair.get()));
    }
    return list.release();
  });
}

// cuts(parts): the ranges of a file as (first, count, offset, bytes).
PyObject* records_cuts(PyObject* self, PyObject* argument) {
  return guarded([&] {
    const Py_ssize_t parts = PyNumber_AsSsize_t(argument, PyExc_OverflowError);
    if (parts == -1 && PyErr_Occurred() != nullptr) throw ErrorIsSet();
    if (parts < 1) raise(PyExc_ValueError, "parts: at least 1 is wanted");
    const std::shared_ptr<const Reading> reading = body_of<RecordsBody>(self).reading;
    std::vector<records::Cut> cuts;
    unlocked([&] { cuts = reading->cuts(static_cast<std::size_t>(parts)); });
    Ref list = owned(PyList_New(0));
    for (const records::Cut& cut : cuts) {
      const Ref item = owned(Py_BuildValue("(KKKK)", cut.first, cut.count, cut.extent.offset, cut.extent.bytes));
      succeeded(PyList_Append(list.get(), item.get()));
    }
    return list.release();
  });
}

PyMethodDef layout_methods[] = {{"json", layout_json, METH_NOARGS, "Every item as JSON, an object a line."},
                                {"text", layout_text, METH_NOARGS, "Every item as a table for people."},
                                {"copies", layout_copies, METH_NOARGS, "What COPY asked for, and what was found."},
                                {}};
PyMethodDef records_methods[] = {
    {"__arrow_c_stream__", method(records_stream), METH_VARARGS | METH_KEYWORDS,
     "A capsule of a stream over the file, which begins a new pass."},
    {"__arrow_c_schema__", records_schema, METH_NOARGS, "A capsule of the schema."},
    {"_journal", records_journal, METH_NOARGS, "What the latest pass met: refusals, their number, records, rows."},
    {"_columns", records_columns, METH_NOARGS, "Names and Arrow formats of the columns."},
    {"_cuts", records_cuts, METH_O, "The file in parts."},
    {}};
PyType_Slot layout_slots[] = {{Py_tp_new, slot(layout_new)},
                              {Py_tp_dealloc, slot(free_object<LayoutText>)},
                              {Py_tp_methods, layout_methods},
                              {0, nullptr}};
PyType_Slot records_slots[] = {{Py_tp_new, slot(records_new)},
                               {Py_tp_dealloc, slot(free_object<RecordsBody>)},
                               {Py_tp_methods, records_methods},
                               {Py_tp_iter, slot(records_iterate)},
                               {0, nullptr}};
PyType_Slot batches_slots[] = {{Py_tp_dealloc, slot(free_object<SharedPass>)},
                               {Py_tp_iter, slot(PyObject_SelfIter)},
                               {Py_tp_iternext, slot(batches_next)},
                               {0, nullptr}};
PyType_Spec layout_spec{"zvrt._zvrt.Layout", sizeof(Object<LayoutText>), 0, Py_TPFLAGS_DEFAULT, layout_slots};
PyType_Spec records_spec{"zvrt._zvrt.Records", sizeof(Object<RecordsBody>), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                         records_slots};
PyType_Spec batches_spec{"zvrt._zvrt.Batches", sizeof(Object<SharedPass>), 0,
                         Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION, batches_slots};

}  // namespace

Ref refusals_as_list(const std::vector<records::RefusedCell>& refusals) {
  Ref list = owned(PyList_New(0));
  for (const records::RefusedCell& each : refusals) {
    const Ref field = text_object(each.field);
    const Ref text = text_object(each.text);
    const std::string name = records::name_of(each.status);
    const Ref item = owned(Py_BuildValue("(KOKy#IsO)", static_cast<unsigned long long>(each.record), field.get(),
                                         static_cast<unsigned long long>(each.offset), each.bytes.data(),
                                         static_cast<Py_ssize_t>(each.bytes.size()), static_cast<unsigned>(each.status),
                                         name.c_str(), text.get()));
    succeeded(PyList_Append(list.get(), item.get()));
  }
  return list;
}

std::string path_of(PyObject* object) {
  PyObject* encoded = nullptr;
  if (PyUnicode_FSConverter(object, &encoded) == 0) throw ErrorIsSet();
  const Ref held(encoded);
  char* bytes = nullptr;
  Py_ssize_t size = 0;
  succeeded(PyBytes_AsStringAndSize(encoded, &bytes, &size));
  return {bytes, static_cast<std::size_t>(size)};
}

bool add_table_types(PyObject* module) {
  types().layout = PyType_FromSpec(&layout_spec);
  types().records = PyType_FromSpec(&records_spec);
  types().batches = PyType_FromSpec(&batches_spec);
  return types().layout != nullptr && types().records != nullptr && types().batches != nullptr &&
         PyModule_AddObjectRef(module, "Layout", types().layout) == 0 &&
         PyModule_AddObjectRef(module, "Records", types().records) == 0;
}

}  // namespace zvrt::python
