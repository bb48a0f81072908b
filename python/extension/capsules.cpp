#include "capsules.h"

#include <memory>

namespace zvrt::python {
namespace {

template <class Structure>
void destroy(PyObject* capsule, const char* name) {
  auto* const structure = static_cast<Structure*>(PyCapsule_GetPointer(capsule, name));
  if (structure == nullptr) {
    PyErr_Clear();
    return;
  }
  if (structure->release != nullptr) structure->release(structure);
  delete structure;
}

void destroy_schema(PyObject* capsule) { destroy<ArrowSchema>(capsule, "arrow_schema"); }
void destroy_array(PyObject* capsule) { destroy<ArrowArray>(capsule, "arrow_array"); }
void destroy_stream(PyObject* capsule) { destroy<ArrowArrayStream>(capsule, "arrow_array_stream"); }

template <class Structure>
Ref make(const Structure& structure, const char* name, PyCapsule_Destructor destructor) {
  auto held = std::make_unique<Structure>(structure);
  Ref capsule = owned(PyCapsule_New(held.get(), name, destructor));
  static_cast<void>(held.release());
  return capsule;
}

}  // namespace

Ref capsule_of(const ArrowSchema& schema) { return make(schema, "arrow_schema", destroy_schema); }
Ref capsule_of(const ArrowArray& array) { return make(array, "arrow_array", destroy_array); }
Ref capsule_of(const ArrowArrayStream& stream) { return make(stream, "arrow_array_stream", destroy_stream); }

}  // namespace zvrt::python
