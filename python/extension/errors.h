// What goes wrong, as Python sees it: zvrt.Error with the status and its name.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "interpreter.h"

namespace zvrt::python {

class StatusError : public std::runtime_error {
 public:
  StatusError(std::uint32_t of, const std::string& text) : std::runtime_error(text), status(of) {}
  std::uint32_t status;
};

// Throws a StatusError unless it is ZVRT_RC_OK; `text` in place of the status's own sentence.
void check(std::uint32_t status, const std::string& text = {});

PyObject* make_error_type();

}  // namespace zvrt::python
