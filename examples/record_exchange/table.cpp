#include "table.h"

#include <filesystem>

namespace record_exchange {

bool TableName::is_csv() const { return std::filesystem::path(file).extension() == ".csv"; }

std::unique_ptr<RowSource> open_source(const TableName& name, const Layout& layout) {
  return name.is_csv() ? open_csv_source(name.file, layout) : open_sqlite_source(name, layout);
}

std::unique_ptr<RowSink> open_sink(const TableName& name, const Layout& layout, Existing existing) {
  return name.is_csv() ? open_csv_sink(name.file, layout, existing) : open_sqlite_sink(name, layout, existing);
}

}  // namespace record_exchange
