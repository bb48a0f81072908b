#include "records/copybook/copybook.h"

#include <array>
#include <optional>

namespace zvrt::records {
namespace {

// The places of errors tell their file by a number until here.
[[noreturn]] void fail_in_its_file(const CopybookError& error, const std::vector<std::string>& files) {
  throw CopybookError(files[error.place.source], error.place, error.message, error.hint);
}

Entries read_as(Reading reading, std::string_view text, const std::string& file, const CopybookOptions& options) {
  CopyContext context{options.find_copy ? &options.find_copy : nullptr, reading, {file}};
  try {
    Entries entries = entries_of(tokens_with_copies(text, options.replacing, context), file);
    entries.files = std::move(context.files);
    return entries;
  } catch (const CopybookError& error) {
    fail_in_its_file(error, context.files);
  }
}

}  // namespace

Entries read_entries(std::string_view text, const std::string& file, const CopybookOptions& options) {
  if (options.format != SourceFormat::automatic)
    return read_as(options.format == SourceFormat::free ? Reading::free : Reading::fixed, text, file, options);
  const bool free_first = looks_free(text);
  const std::array readings = free_first ? std::array{Reading::free, Reading::fixed, Reading::shifted, Reading::wide}
                                         : std::array{Reading::fixed, Reading::shifted, Reading::wide, Reading::free};
  std::optional<CopybookError> first_error;
  for (const Reading reading : readings) {
    try {
      return read_as(reading, text, file, options);
    } catch (const CopybookError& error) {
      if (!first_error) first_error = error;
    }
  }
  throw CopybookError(*first_error);
}

}  // namespace zvrt::records
