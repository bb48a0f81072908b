// Tables into record files.
#pragma once

#include "interpreter.h"

namespace zvrt::python {

// write(layout, path, data, options): `data` is a list of tables, one of each segment: a capsule of a stream, or a pair of
// capsules of a schema and an array.
// Returns (rows read, records written, number of refusals, the first of them as a list).
PyObject* write_records(PyObject* module, PyObject* arguments);

// table([(name, format, values, nulls)]): capsules of a schema and a struct array. `values` is a buffer of what the format
// says, or for text ("U") a list of str, None and what str() makes text of, for bytes ("Z") of bytes and None; `nulls` a byte a row or None.
PyObject* table_of(PyObject* module, PyObject* columns);

}  // namespace zvrt::python
