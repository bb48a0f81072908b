// zvrt.Plan: plans of the library over buffers of Python.
#pragma once

#include "interpreter.h"

namespace zvrt::python {

bool add_plan_type(PyObject* module);

}  // namespace zvrt::python
