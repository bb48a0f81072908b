#include <csv.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <deque>
#include <filesystem>

#include "cell_text.h"
#include "table.h"

namespace record_exchange {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// The library's parser, released also when a source's constructor gives up.
struct Parser : csv_parser {
  explicit Parser(unsigned char chosen) : csv_parser{} {
    if (csv_init(this, chosen) != 0) throw Failure("out of memory");
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
  ~Parser() { csv_free(this); }
};

using Record = std::vector<std::optional<std::string>>;

// A block of the file is parsed at a time; the rows it completed wait in a queue.
class CsvSource final : public RowSource {
 public:
  CsvSource(const std::string& name, const Layout& layout) : name_(name), file_(std::fopen(name.c_str(), "rb")) {
    if (!file_) throw Failure(name + ": cannot be read");
    csv_set_space_func(&parser_, [](unsigned char) { return 0; });
    skip_byte_order_mark();
    find_columns(layout);
  }

  bool next(Row& row) override {
    if (!fill()) return false;
    current_ = std::move(rows_.front());
    rows_.pop_front();
    ++number_;
    if (current_.size() != header_size_)
      throw Failure(
          fmt::format("{}: row {} has {} fields, the header has {}", name_, number_, current_.size(), header_size_));
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const auto& text = current_[columns_[i]];
      row.cells[i] = text ? Cell::of_text(*text) : Cell::of_null();
    }
    return true;
  }

 private:
  void skip_byte_order_mark() {
    std::array<char, 3> mark{};
    if (std::fread(mark.data(), 1, mark.size(), file_.get()) != mark.size() ||
        std::string_view(mark.data(), mark.size()) != "\xEF\xBB\xBF")
      std::rewind(file_.get());
  }

  void find_columns(const Layout& layout) {
    if (!fill()) throw Failure(name_ + ": there is no header");
    const Record header = std::move(rows_.front());
    rows_.pop_front();
    header_size_ = header.size();
    for (const Field& field : layout.fields) {
      const auto found = std::find(header.begin(), header.end(), field.column);
      if (found == header.end()) throw Failure(fmt::format("{}: there is no column '{}'", name_, field.column));
      columns_.push_back(static_cast<std::size_t>(found - header.begin()));
    }
  }

  // Parses until a row waits; false at the end.
  bool fill() {
    while (rows_.empty() && !ended_) {
      const std::size_t count = std::fread(block_.data(), 1, block_.size(), file_.get());
      if (std::ferror(file_.get()) != 0) throw Failure(name_ + ": cannot be read");
      ended_ = count == 0;
      const bool good = ended_ ? csv_fini(&parser_, on_field, on_row, this) == 0
                               : csv_parse(&parser_, block_.data(), count, on_field, on_row, this) == count;
      if (!good)
        throw Failure(
            fmt::format("{}: behind row {}: {}", name_, number_ + rows_.size(), csv_strerror(csv_error(&parser_))));
    }
    return !rows_.empty();
  }

  static void on_field(void* text, std::size_t size, void* self) {
    auto& record = static_cast<CsvSource*>(self)->begun_;
    if (text == nullptr)
      record.emplace_back(std::nullopt);
    else
      record.emplace_back(std::string(static_cast<const char*>(text), size));
  }
  static void on_row(int, void* self) {
    auto& source = *static_cast<CsvSource*>(self);
    source.rows_.push_back(std::move(source.begun_));
    source.begun_.clear();
  }

  std::string name_;
  File file_;
  // An empty field without quotes is null, "" is empty text.
  Parser parser_{CSV_STRICT | CSV_STRICT_FINI | CSV_EMPTY_IS_NULL};
  std::array<char, 65536> block_{};
  Record begun_;
  std::deque<Record> rows_;
  Record current_;
  std::vector<std::size_t> columns_;
  std::size_t header_size_ = 0;
  std::uint64_t number_ = 0;
  bool ended_ = false;
};

class CsvSink final : public RowSink {
 public:
  CsvSink(const std::string& name, const Layout& layout, Existing existing) : name_(name) {
    const bool present = std::filesystem::exists(name);
    if (present && existing == Existing::refuse) throw Failure(name + ": exists already");
    const bool append = present && existing == Existing::append;
    file_.reset(std::fopen(name.c_str(), append ? "ab" : "wb"));
    if (!file_) throw Failure(name + ": cannot be written");
    if (append) return;
    for (std::size_t i = 0; i < layout.fields.size(); ++i) put(layout.fields[i].column, i == 0);
    end_row();
  }

  void write(const Row& row) override {
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      const Cell& cell = row.cells[i];
      if (cell.kind == Cell::Kind::null) {
        if (row.cells.size() == 1) throw Failure(name_ + ": a CSV file of one column cannot hold a null");
        if (i != 0) std::fputc(',', file_.get());
      } else {
        put(text_.of(cell), i == 0);
      }
    }
    end_row();
  }

  void finish() override {
    if (std::fflush(file_.get()) != 0 || std::ferror(file_.get()) != 0) throw Failure(name_ + ": cannot be written");
  }

 private:
  void put(std::string_view text, bool first) {
    if (!first) std::fputc(',', file_.get());
    csv_fwrite(file_.get(), text.data(), text.size());
  }
  void end_row() { std::fputs("\r\n", file_.get()); }

  std::string name_;
  File file_;
  CellText text_;
};

}  // namespace

std::unique_ptr<RowSource> open_csv_source(const std::string& file, const Layout& layout) {
  return std::make_unique<CsvSource>(file, layout);
}

std::unique_ptr<RowSink> open_csv_sink(const std::string& file, const Layout& layout, Existing existing) {
  return std::make_unique<CsvSink>(file, layout, existing);
}

}  // namespace record_exchange
