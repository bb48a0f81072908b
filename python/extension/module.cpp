// The module zvrt._zvrt. What people call stands in the package beside it, zvrt/__init__.py.
#include "ZVRTColumns.h"
#include "columns.h"
#include "errors.h"
#include "plans.h"
#include "tables.h"
#include "writing.h"

namespace zvrt::python {

Types& types() {
  static Types made;
  return made;
}

namespace {

PyObject* status_name(PyObject* /*module*/, PyObject* number) {
  const unsigned long status = PyLong_AsUnsignedLong(number);
  if (PyErr_Occurred() != nullptr) return nullptr;
  return PyUnicode_FromString(records::name_of(static_cast<std::uint32_t>(status)).c_str());
}

PyObject* status_text(PyObject* /*module*/, PyObject* number) {
  const unsigned long status = PyLong_AsUnsignedLong(number);
  if (PyErr_Occurred() != nullptr) return nullptr;
  return PyUnicode_FromString(records::text_of(static_cast<std::uint32_t>(status)).c_str());
}

PyMethodDef functions[] = {{"status_name", status_name, METH_O, "The name of a status."},
                           {"status_text", status_text, METH_O, "One sentence about a status."},
                           {"write", write_records, METH_VARARGS, "Writes a table into a record file."},
                           {"table", table_of, METH_O, "Columns as capsules of a schema and an array."},
                           {}};
PyModuleDef definition{PyModuleDef_HEAD_INIT,
                       "_zvrt",
                       "Record files and columns in C++.",
                       -1,
                       functions,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr};

// The code pages stay in force until the process ends: streams that others hold may run as long.
bool initialise() {
  const std::uint32_t status = ZVRTInitDataConversion();
  if (status == ZVRT_RC_OK) return true;
  PyErr_Format(PyExc_ImportError, "the conversion library does not start: %s", ZVRTStatusText(status));
  return false;
}

}  // namespace

PyObject* make_module();
PyObject* make_module() {
  if (!initialise()) return nullptr;
  Ref module(PyModule_Create(&definition));
  if (!module) return nullptr;
  types().error = make_error_type();
  if (types().error == nullptr || PyModule_AddObjectRef(module.get(), "Error", types().error) < 0) return nullptr;
  if (!add_column_types(module.get()) || !add_table_types(module.get()) || !add_plan_type(module.get())) return nullptr;
  if (PyModule_AddStringConstant(module.get(), "version", ZVRT_VERSION_STRING) < 0) return nullptr;
  return module.release();
}

}  // namespace zvrt::python

PyMODINIT_FUNC PyInit__zvrt();
PyMODINIT_FUNC PyInit__zvrt() { return zvrt::python::make_module(); }
