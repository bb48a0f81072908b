// Arrow's structures in capsules: each has a destructor that releases what no receiver has taken.
#pragma once

#include "interpreter.h"
#include "records/arrow/record_stream.h"

namespace zvrt::python {

// The capsule takes the structure over. Where it cannot be made the caller still has it.
Ref capsule_of(const ArrowSchema& schema);
Ref capsule_of(const ArrowArray& array);
Ref capsule_of(const ArrowArrayStream& stream);

// Releases a structure with its scope, unless `taken`.
template <class Structure>
struct Released {
  Structure it{};
  Released() = default;
  Released(const Released&) = delete;
  Released& operator=(const Released&) = delete;
  ~Released() {
    if (it.release != nullptr) it.release(&it);
  }
  // Into a capsule.
  Ref give() {
    Ref capsule = capsule_of(it);
    it.release = nullptr;
    return capsule;
  }
  // Out of a capsule, which is empty then.
  void take(Structure* from) {
    it = *from;
    from->release = nullptr;
  }
};

}  // namespace zvrt::python
