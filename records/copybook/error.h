// What is wrong with a copybook, and where.
#ifndef ZVRT_RECORDS_COPYBOOK_ERROR_H
#define ZVRT_RECORDS_COPYBOOK_ERROR_H

#include <cstddef>
#include <stdexcept>
#include <string>

namespace zvrt::records {

// A place in the copybook's text: both count from 1, columns in bytes. Line 0 is no place.
struct Place {
  std::size_t line = 0;
  std::size_t column = 0;
  std::size_t source = 0;  // of the files that a copybook is made of; 0: the copybook itself
};

// what() is one line: `file:line:column: message` and, where there is one, `; hint`.
class CopybookError : public std::runtime_error {
 public:
  CopybookError(const std::string& file_name, Place where, const std::string& text, const std::string& advice = {});

  std::string file;
  Place place;
  std::string message;
  std::string hint;  // what to do about it; may be empty
};

}  // namespace zvrt::records

#endif
