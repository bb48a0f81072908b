#include "records/copybook/error.h"

namespace zvrt::records {
namespace {

std::string line_of(const std::string& file, Place place, const std::string& message, const std::string& hint) {
  std::string line = file + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": " + message;
  if (!hint.empty()) line += "; " + hint;
  return line;
}

}  // namespace

CopybookError::CopybookError(const std::string& file_name, Place where, const std::string& text,
                             const std::string& advice)
    : std::runtime_error(line_of(file_name, where, text, advice)),
      file(file_name),
      place(where),
      message(text),
      hint(advice) {}

}  // namespace zvrt::records
