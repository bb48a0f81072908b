#include "records/layout/layout.h"

#include "records/files/input_file.h"
#include "records/layout/form.h"
#include "records/layout/place.h"
#include "records/layout/tree.h"

namespace zvrt::records {

Layout parse_layout(std::string_view text, const std::string& file, const LayoutOptions& options) {
  Entries entries = read_entries(text, file, options.copybook);
  try {
    Tree tree = tree_of(entries, file);
    settle_forms(tree, file, options.binary_sizes);
    settle_places(tree, file, options.sync_boundary);
    return {file, std::move(entries.files), std::move(tree.records), std::move(entries.notes)};
  } catch (const CopybookError& error) {
    throw CopybookError(entries.files[error.place.source], error.place, error.message, error.hint);
  }
}

Layout read_layout(const std::string& path, LayoutOptions options, std::vector<std::string> folders) {
  const std::string text = text_of_file(path);
  if (!options.copybook.find_copy) options.copybook.find_copy = copies_in(std::move(folders));
  return parse_layout(text, path, options);
}

}  // namespace zvrt::records
