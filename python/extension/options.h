// Keyword arguments of the Python calls: the same names and values as the options of the command, with _ for -.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "arguments.h"
#include "interpreter.h"
#include "records/files/input_file.h"

namespace zvrt::python {

struct Options {
  records::Arguments arguments;
  std::uint64_t first = 1;  // record
  std::uint64_t count = ~std::uint64_t{0};
  std::optional<records::Extent> extent;  // where record `first` begins, if that is known
  std::optional<bool> record_number;      // a column of its own; with a segment if nothing is said
  std::optional<std::size_t> table;       // of several segments, the one that is read
  std::size_t batch_bytes = 1 << 20;
};

// Takes what `keywords`, a dict, says; None is as if it said nothing. Throws with a TypeError or ValueError set.
void take_options(PyObject* keywords, Options& options);

}  // namespace zvrt::python
