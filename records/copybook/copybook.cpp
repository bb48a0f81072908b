#include "records/copybook/copybook.h"

#include <array>
#include <optional>

namespace zvrt::records {
namespace {

Entries read_as(Reading reading, std::string_view text, const std::string& file,
                const std::vector<Replacement>& replacing) {
  std::vector<LogicalLine> lines = logical_lines(text, reading, file);
  for (LogicalLine& line : lines) replace_words(line.code, replacing);
  return entries_of(tokens_of(lines, file), file);
}

// Most lines of the fixed form have one of its marks in column 7; of the free form they hardly do.
bool looks_free(std::string_view text) {
  std::size_t fitting = 0;
  std::size_t others = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    if (line.size() > 6 && line.substr(0, 6).find('\t') == std::string_view::npos)
      ++(std::string_view(" */-Dd\t$>").find(line[6]) != std::string_view::npos ? fitting : others);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return others > fitting;
}

}  // namespace

Entries read_entries(std::string_view text, const std::string& file, SourceFormat format,
                     const std::vector<Replacement>& replacing) {
  if (format != SourceFormat::automatic)
    return read_as(format == SourceFormat::free ? Reading::free : Reading::fixed, text, file, replacing);
  const bool free_first = looks_free(text);
  const std::array readings = free_first ? std::array{Reading::free, Reading::fixed, Reading::shifted, Reading::wide}
                                         : std::array{Reading::fixed, Reading::shifted, Reading::wide, Reading::free};
  std::optional<CopybookError> first_error;
  for (const Reading reading : readings) {
    try {
      return read_as(reading, text, file, replacing);
    } catch (const CopybookError& error) {
      if (!first_error) first_error = error;
    }
  }
  throw CopybookError(*first_error);
}

}  // namespace zvrt::records
