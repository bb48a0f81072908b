#include "errors.h"

#include <exception>

#include "ZVRTColumns.h"
#include "records/codec/status.h"

namespace zvrt::python {
namespace {

void set(std::uint32_t status, const char* text) {
  const Ref made(PyObject_CallFunction(types().error, "s", text));
  if (!made) return;
  if (status != ZVRT_RC_OK) {
    const Ref number(PyLong_FromUnsignedLong(status));
    const Ref name(PyUnicode_FromString(records::name_of(status).c_str()));
    if (!number || !name || PyObject_SetAttrString(made.get(), "status", number.get()) < 0 ||
        PyObject_SetAttrString(made.get(), "name", name.get()) < 0)
      return;
  }
  PyErr_SetObject(types().error, made.get());
}

}  // namespace

void check(std::uint32_t status, const std::string& text) {
  if (status == ZVRT_RC_NO_MEMORY) throw std::bad_alloc();
  if (status == ZVRT_RC_OK) return;
  throw StatusError(status, records::name_of(status) + ": " + (text.empty() ? records::text_of(status) : text));
}

void set_error() noexcept {
  try {
    throw;
  } catch (const ErrorIsSet&) {
    if (PyErr_Occurred() == nullptr) PyErr_SetString(PyExc_SystemError, "no error was set");
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const StatusError& error) {
    set(error.status, error.what());
  } catch (const std::exception& error) {
    set(ZVRT_RC_OK, error.what());
  } catch (...) {
    PyErr_SetString(PyExc_SystemError, "an unknown exception");
  }
}

PyObject* make_error_type() {
  Ref attributes(PyDict_New());
  if (!attributes || PyDict_SetItemString(attributes.get(), "status", Py_None) < 0 ||
      PyDict_SetItemString(attributes.get(), "name", Py_None) < 0)
    return nullptr;
  return PyErr_NewExceptionWithDoc("zvrt.Error",
                                   "What a conversion, a layout or a file runs into.\n\n"
                                   "status: the number of a status, or None where a file or a copybook is at fault.\n"
                                   "name: its name, such as 'ZVRT_RC_INVALID_DIGIT', or None.",
                                   nullptr, attributes.get());
}

std::string text_of_object(PyObject* object, const char* name) {
  Py_ssize_t size = 0;
  const char* const text = PyUnicode_Check(object) ? PyUnicode_AsUTF8AndSize(object, &size) : nullptr;
  if (text == nullptr && PyErr_Occurred() == nullptr) raise(PyExc_TypeError, std::string(name) + ": a str is wanted");
  if (text == nullptr) throw ErrorIsSet();
  return {text, static_cast<std::size_t>(size)};
}

// Bytes that are no UTF-8 are shown as they are escaped in Python.
Ref text_object(std::string_view text) {
  return owned(PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "backslashreplace"));
}

}  // namespace zvrt::python
