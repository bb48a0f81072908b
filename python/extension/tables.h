// Layouts, and record files as tables: the types behind zvrt.Layout and zvrt.Records.
#pragma once

#include "reading.h"

namespace zvrt::python {

// A list of (record, field, offset, bytes, status, name, text).
Ref refusals_as_list(const std::vector<records::RefusedCell>& refusals);
// A file name of any kind that os.fspath() takes.
std::string path_of(PyObject* object);

bool add_table_types(PyObject* module);

}  // namespace zvrt::python
