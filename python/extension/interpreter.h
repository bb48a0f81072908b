// Python's C interface, limited to what every Python 3 from 3.11 on has, and what keeps C++ and Python apart.
//
//   Ref        a reference that is given back with its scope
//   unlocked   work without the interpreter lock
//   guarded    the doorway: what is thrown inside becomes a Python exception, and null or -1 is returned
//   Object     a Python object around a C++ value, made by `make_object`, freed by `free_object`
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <unistd.h>

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace zvrt::python {

class Ref {
 public:
  Ref() = default;
  explicit Ref(PyObject* object) : object_(object) {}  // takes the reference over
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Ref& operator=(Ref&& other) noexcept {
    if (this != &other) {
      Py_XDECREF(object_);
      object_ = std::exchange(other.object_, nullptr);
    }
    return *this;
  }
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  ~Ref() { Py_XDECREF(object_); }

  PyObject* get() const { return object_; }
  PyObject* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  PyObject* object_ = nullptr;
};

// Thrown where Python's error is set already.
struct ErrorIsSet {};

// A new reference from a call that may have failed.
inline Ref owned(PyObject* object) {
  if (object == nullptr) throw ErrorIsSet();
  return Ref(object);
}
inline void succeeded(int result) {
  if (result < 0) throw ErrorIsSet();
}
[[noreturn]] inline void raise(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  throw ErrorIsSet();
}
inline PyObject* none() {
  Py_INCREF(Py_None);
  return Py_None;
}

// Takes the interpreter lock back. A thread that comes back while the interpreter ends is ended by it, which would unwind
// C++ frames whose destructors need the lock: it waits for the process to end instead.
template <class Take>
void take_lock(Take take) {
  try {
    take();
  } catch (...) {
    for (;;) pause();
  }
}

// Works without the interpreter lock; nothing of Python's is touched in it. What is thrown is thrown on with the lock.
template <class Work>
void unlocked(Work work) {
  PyThreadState* const state = PyEval_SaveThread();
  std::exception_ptr error;
  try {
    work();
  } catch (...) {
    error = std::current_exception();
  }
  take_lock([state] { PyEval_RestoreThread(state); });
  if (error) std::rethrow_exception(error);
}

// Turns the exception that is handled into Python's.
void set_error() noexcept;

template <class Work>
PyObject* guarded(Work work) noexcept {
  try {
    return work();
  } catch (...) {
    set_error();
    return nullptr;
  }
}

std::string text_of_object(PyObject* object, const char* name);
Ref text_object(std::string_view text);

template <class Body>
struct Object {
  PyObject base;
  Body body;
};

template <class Body>
Body& body_of(PyObject* object) {
  return reinterpret_cast<Object<Body>*>(object)->body;
}

template <class Body>
PyObject* make_object(PyObject* type, Body body) {
  auto* const of = reinterpret_cast<PyTypeObject*>(type);
  const auto alloc = reinterpret_cast<allocfunc>(PyType_GetSlot(of, Py_tp_alloc));
  PyObject* const made = alloc(of, 0);
  if (made == nullptr) throw ErrorIsSet();
  new (&reinterpret_cast<Object<Body>*>(made)->body) Body(std::move(body));
  return made;
}

template <class Body>
void free_object(PyObject* object) {
  PyTypeObject* const type = Py_TYPE(object);
  body_of<Body>(object).~Body();
  reinterpret_cast<freefunc>(PyType_GetSlot(type, Py_tp_free))(object);
  Py_DECREF(reinterpret_cast<PyObject*>(type));
}

// The types of the module; made once with it, never freed.
struct Types {
  PyObject* error = nullptr;
  PyObject* layout = nullptr;
  PyObject* records = nullptr;
  PyObject* batches = nullptr;
  PyObject* batch = nullptr;
  PyObject* column = nullptr;
  PyObject* buffer = nullptr;
  PyObject* plan = nullptr;
};
Types& types();

template <class Function>
void* slot(Function* function) noexcept {
  return reinterpret_cast<void*>(function);
}

// A method with keywords, for a table of methods.
inline PyCFunction method(PyCFunctionWithKeywords function) noexcept {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

}  // namespace zvrt::python
