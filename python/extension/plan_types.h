// What a value is, from the words of zvrt.Type.
#pragma once

#include <cstdint>
#include <string>

#include "ZVRTColumns.h"
#include "interpreter.h"

namespace zvrt::python {

struct TypeWords {
  ZVRTType type{};
  std::wstring model;  // what type.model points to

  // Bytes of a slot; 0 for counted and terminated text of any length.
  std::int64_t slot() const;
  // Text and bytes whose length stands beside them.
  bool is_counted() const;
};

// (kind, length, flags, code page, newline, precision, scale, model, first year). Throws with a ValueError or TypeError set.
void take_type(PyObject* words, TypeWords& made);

// The bits of the words in a sequence: options of a plan.
std::uint32_t plan_options(PyObject* words);

}  // namespace zvrt::python
