// CSV files: libcsv reads, CsvFormat writes.
//
// The parser calls back for each cell and each row, in the file's order. A cell's text is copied to the end of those before
// it, and its place noted. A block's columns are drawn from the places, a column at a time; when a chunk of the file ends
// inside a row, the cells of that row are carried into the next block.
//
//   text    ANNA|12|MILLER|7|NOR
//   places  row 1: ANNA 12 | row 2: MILLER 7 | NOR, of a row that goes on
#include <csv.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <map>
#include <utility>

#include "records/files/failure.h"
#include "records/files/input_file.h"
#include "records/files/output_file.h"
#include "records/tables/csv_format.h"
#include "records/tables/formats.h"

namespace zvrt::records {
namespace {

constexpr std::size_t chunk_bytes = 1 << 17;
constexpr std::size_t not_wanted = SIZE_MAX;
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// The library's parser, released also when a constructor gives up.
struct Parser : csv_parser {
  explicit Parser(unsigned char chosen) : csv_parser{} {
    if (csv_init(this, chosen) != 0) throw Failure("out of memory");
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
  ~Parser() { csv_free(this); }
};

unsigned char parser_options(const TableOptions& options) {
  return static_cast<unsigned char>(CSV_STRICT | CSV_STRICT_FINI | (options.null_text ? 0 : CSV_EMPTY_IS_NULL));
}

class CsvReader final : public TableReader {
 public:
  CsvReader(const std::string& file, std::vector<TableColumn> columns, const TableOptions& options)
      : file_(file),
        null_(options.null_text),
        columns_(std::move(columns)),
        parser_(parser_options(options)),
        chunk_(chunk_bytes) {
    csv_set_space_func(&parser_, [](unsigned char) { return 0; });
    csv_set_delim(&parser_, static_cast<unsigned char>(options.delimiter));
    while (!header_done_ && !ended_) parse();
    if (!header_done_) throw Failure(file_.name() + ": there is no header");
  }

  bool has(std::size_t column) const override { return is_there_[column]; }
  Progress progress() override { return {file_.offset(), file_.size()}; }

  bool next(CellBlock& block) override {
    while (complete_ == 0 && !ended_) parse();
    draw_columns(block);
    carry(block);
    return block.rows != 0;
  }

 private:
  using Names = std::vector<std::string>;
  struct Place {
    std::int64_t start = 0;
    std::int32_t length = null_cell;
  };

  void parse() {
    const std::size_t count = file_.read(chunk_.data(), chunk_.size());
    const std::size_t mark =
        file_.offset() == count && std::string_view(chunk_.data(), count).starts_with(byte_order_mark)
            ? byte_order_mark.size()
            : 0;
    ended_ = count < chunk_.size();
    const std::size_t taken = csv_parse(&parser_, chunk_.data() + mark, count - mark, on_cell, on_row, this);
    rethrow();
    if (taken != count - mark) fail(file_.offset() - count + mark + taken);
    if (ended_ && csv_fini(&parser_, on_cell, on_row, this) != 0) fail(file_.offset());
    rethrow();
  }

  [[noreturn]] void fail(std::uint64_t offset) {
    throw Failure(fmt::format("{}: row {}, byte {}: {}", file_.name(), rows_ + complete_ + 1, offset,
                              csv_error(&parser_) == CSV_EPARSE ? "a quotation mark inside a cell, or text after one"
                                                                : csv_strerror(csv_error(&parser_))));
  }

  // An exception cannot pass through the parser, which is C: it waits here.
  void rethrow() {
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  }

  static void on_cell(void* text, std::size_t size, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    if (reader.failure_) return;
    try {
      reader.cell(static_cast<const char*>(text), size);
    } catch (...) {
      reader.failure_ = std::current_exception();
    }
  }
  static void on_row(int /*end*/, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    if (reader.failure_) return;
    try {
      reader.row();
    } catch (...) {
      reader.failure_ = std::current_exception();
    }
  }

  void cell(const char* text, std::size_t size) {
    if (!header_done_) {
      header_.emplace_back(text == nullptr ? "" : std::string(text, size));
      return;
    }
    const std::size_t column = cells_++;
    if (column >= wanted_.size()) return;
    Place& place = places_.emplace_back();
    place.start = static_cast<std::int64_t>(text_.size());
    if (text == nullptr || wanted_[column] == not_wanted || (null_ && std::string_view(text, size) == *null_)) return;
    if (size > INT32_MAX) throw Failure(cell_too_long);
    place.length = static_cast<std::int32_t>(size);
    text_.append({text, size});
  }

  void row() {
    if (!header_done_) {
      header_done_ = true;
      return find_columns(columns_);
    }
    if (cells_ != wanted_.size())
      throw Failure(fmt::format("{}: row {} has {} cells, the header has {}", file_.name(), rows_ + complete_ + 1,
                                cells_, wanted_.size()));
    cells_ = 0;
    ++complete_;
  }

  void find_columns(const std::vector<TableColumn>& columns) {
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < header_.size(); ++i)
      if (!places.emplace(header_[i], i).second)
        throw Failure(fmt::format("{}: the column '{}' stands twice", file_.name(), header_[i]));
    wanted_.assign(header_.size(), not_wanted);
    is_there_.assign(columns.size(), true);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const auto found = places.find(columns[i].name);
      if (found != places.end()) {
        wanted_[found->second] = i;
      } else if (columns[i].may_lack) {
        is_there_[i] = false;
        lacking_.push_back(i);
      } else {
        throw Failure(fmt::format("{}: there is no column '{}'", file_.name(), columns[i].name));
      }
    }
  }

  void draw_columns(CellBlock& block) {
    block.columns.resize(is_there_.size());
    block.rows = complete_;
    block.first = rows_ + 1;
    for (CellBlock::Cells& cells : block.columns) {
      cells.starts.resize(complete_);
      cells.lengths.resize(complete_);
    }
    for (std::size_t column = 0; column < wanted_.size(); ++column) {
      if (wanted_[column] == not_wanted) continue;
      CellBlock::Cells& cells = block.columns[wanted_[column]];
      for (std::size_t row = 0; row < complete_; ++row) {
        const Place& place = places_[row * wanted_.size() + column];
        cells.starts[row] = place.start;
        cells.lengths[row] = place.length;
      }
    }
    for (const std::size_t column : lacking_) {
      block.columns[column].starts.assign(complete_, 0);
      block.columns[column].lengths.assign(complete_, null_cell);
    }
  }

  // The text is the block's, but for that of a row that is not complete yet.
  void carry(CellBlock& block) {
    std::swap(block.text, text_);
    text_.clear();
    places_.erase(places_.begin(), places_.begin() + static_cast<std::ptrdiff_t>(complete_ * wanted_.size()));
    for (Place& place : places_) {
      const auto start = static_cast<std::size_t>(std::exchange(place.start, static_cast<std::int64_t>(text_.size())));
      if (place.length > 0) text_.append(block.text.text().substr(start, static_cast<std::size_t>(place.length)));
    }
    rows_ += complete_;
    complete_ = 0;
  }

  InputFile file_;
  std::optional<std::string> null_;
  std::vector<TableColumn> columns_;
  Parser parser_;
  std::vector<char> chunk_;
  Names header_;
  bool header_done_ = false;
  std::vector<std::size_t> wanted_;   // for each column of the file the one that it is for
  std::vector<std::size_t> lacking_;  // columns that the file has not
  std::vector<bool> is_there_;
  TextBuffer text_;            // of the cells that are in no block yet
  std::vector<Place> places_;  // theirs, a row after the other
  std::size_t complete_ = 0;   // rows of them
  std::size_t cells_ = 0;      // of the row that is being parsed
  std::uint64_t rows_ = 0;     // in blocks
  bool ended_ = false;
  std::exception_ptr failure_;
};

// What a file that is appended to looks like: its header has to be ours, its last line may lack its end.
struct Appended {
  bool has_header = false;
  bool ends_in_newline = true;
  std::string newline = "\r\n";
};

Appended look_at(const std::string& file, const std::string& header) {
  Appended found;
  InputFile in(file);
  std::string start(header.size() + byte_order_mark.size(), '\0');
  start.resize(in.read(start.data(), start.size()));
  if (start.empty()) return found;
  if (start.starts_with(byte_order_mark)) start.erase(0, byte_order_mark.size());
  const std::string_view names(header.data(), header.size() - 2);
  const bool same = start.starts_with(names);
  const std::string_view rest = same ? std::string_view(start).substr(names.size()) : std::string_view();
  if (!same || !(rest.empty() || rest[0] == '\r' || rest[0] == '\n'))
    throw Failure(fmt::format("{}: its header is not that of the rows to append, which is {}", file, names));
  found.has_header = true;
  if (!rest.empty() && rest[0] == '\n') found.newline.erase(0, 1);
  std::vector<char> chunk(chunk_bytes);
  char last = start.back();
  for (std::size_t count = 1; (count = in.read(chunk.data(), chunk.size())) != 0;) last = chunk[count - 1];
  found.ends_in_newline = last == '\n';
  return found;
}

class CsvWriter final : public TableWriter {
 public:
  CsvWriter(const std::string& file, const std::vector<TableColumn>& columns, const TableOptions& options,
            Existing existing)
      : format_(columns, options) {
    TextBuffer start;
    format_.header(start);
    if (file == "-") {
      out_ = std::make_unique<StandardOutput>();
    } else {
      Appended appended;
      check_place(file, existing);
      if (existing == Existing::append && std::filesystem::exists(file))
        appended = look_at(file, std::string(start.text()));
      out_ = std::make_unique<RegularOutput>(file, existing);
      if (appended.has_header) {
        format_.set_newline(appended.newline);
        if (!appended.ends_in_newline) out_->write(appended.newline);
        return;
      }
    }
    if (options.byte_order_mark) out_->write(byte_order_mark);
    out_->write(start.text());
  }

  bool is_text() const override { return true; }
  void format(const RowBlock& rows, TextBuffer& text) const override { format_.rows(rows, text); }
  void write_text(std::string_view text) override { out_->write(text); }
  void write(const RowBlock& rows) override {
    text_.clear();
    format_.rows(rows, text_);
    out_->write(text_.text());
  }
  void finish() override { out_->finish(); }
  void commit() override { out_->commit(); }
  std::string temporary() const override { return out_->temporary(); }

 private:
  CsvFormat format_;
  std::unique_ptr<OutputFile> out_;
  TextBuffer text_;
};

}  // namespace

std::unique_ptr<TableReader> open_csv(const std::string& file, const std::vector<TableColumn>& columns,
                                      const TableOptions& options) {
  return std::make_unique<CsvReader>(file, columns, options);
}

std::unique_ptr<TableWriter> make_csv(const std::string& file, const std::vector<TableColumn>& columns,
                                      const TableOptions& options, Existing existing) {
  return std::make_unique<CsvWriter>(file, columns, options, existing);
}

}  // namespace zvrt::records
