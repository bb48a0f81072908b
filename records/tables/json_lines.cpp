// JSON lines: an object a line, its members named as the columns. Numbers keep all their digits both ways: they are
// written as the exact text they are, and read as the text that stands there.
#include <fmt/format.h>

#include <map>
#include <nlohmann/json.hpp>

#include "records/files/failure.h"
#include "records/files/input_file.h"
#include "records/files/output_file.h"
#include "records/tables/formats.h"

namespace zvrt::records {
namespace {

constexpr std::size_t chunk_bytes = 1 << 17;
constexpr std::size_t rows_in_block = 1000;

// A value of an object goes to the column of its name; what is no value of a cell is an error.
class ObjectCells final : public nlohmann::json_sax<nlohmann::json> {
 public:
  explicit ObjectCells(const std::vector<TableColumn>& columns) : cells_(columns.size()) {
    for (std::size_t i = 0; i < columns.size(); ++i) places_.emplace(columns[i].name, i);
  }
  struct Value {
    bool is_null = true;
    bool is_given = false;
    std::string text;
  };
  void begin() {
    for (Value& cell : cells_) cell.is_null = true, cell.is_given = false;
    depth_ = 0;
    error_.clear();
    column_ = nullptr;
  }
  const std::vector<Value>& cells() const { return cells_; }
  const std::string& error() const { return error_; }
  const std::map<std::string, std::size_t>& places() const { return places_; }

  bool null() override { return depth_ == 1 || refuse("is no object"); }
  bool boolean(bool value) override { return take(value ? "1" : "0"); }
  bool number_integer(number_integer_t value) override { return take(std::to_string(value)); }
  bool number_unsigned(number_unsigned_t value) override { return take(std::to_string(value)); }
  bool number_float(number_float_t /*value*/, const string_t& text) override { return take(text); }
  bool string(string_t& value) override { return take(value); }
  bool binary(binary_t& /*value*/) override { return refuse("holds binary data"); }
  bool start_object(std::size_t /*elements*/) override {
    return ++depth_ == 1 || refuse("holds an object in an object");
  }
  bool end_object() override { return true; }
  bool start_array(std::size_t /*elements*/) override {
    return refuse(depth_ == 0 ? "is no object" : "holds an array");
  }
  bool end_array() override { return true; }
  bool key(string_t& name) override {
    const auto found = places_.find(name);
    column_ = found == places_.end() ? nullptr : &cells_[found->second];
    if (column_ == nullptr) return true;
    if (column_->is_given) return refuse("holds '" + name + "' twice");
    column_->is_given = true;
    return true;
  }
  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*why*/) override {
    return refuse(fmt::format("is no JSON from its byte {} on", position));
  }

 private:
  bool take(const std::string& text) {
    if (depth_ == 0) return refuse("is no object");
    if (column_ == nullptr) return true;
    column_->is_null = false;
    column_->text = text;
    return true;
  }
  bool refuse(std::string why) {
    if (error_.empty()) error_ = std::move(why);
    return false;
  }

  std::map<std::string, std::size_t> places_;
  std::vector<Value> cells_;
  Value* column_ = nullptr;
  int depth_ = 0;
  std::string error_;
};

class JsonLinesReader final : public TableReader {
 public:
  JsonLinesReader(const std::string& file, const std::vector<TableColumn>& columns) : file_(file), cells_(columns) {}

  bool has(std::size_t /*column*/) const override { return true; }
  Progress progress() override { return {file_.offset(), file_.size()}; }

  bool next(CellBlock& block) override {
    block.columns.resize(cells_.cells().size());
    block.clear();
    block.first = rows_ + 1;
    std::string_view line;
    while (block.rows < rows_in_block && next_line(line)) {
      ++line_;
      if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
      add(block, line);
    }
    rows_ += block.rows;
    return block.rows != 0;
  }

 private:
  void add(CellBlock& block, std::string_view line) {
    cells_.begin();
    if (!nlohmann::json::sax_parse(line.begin(), line.end(), &cells_))
      throw Failure(fmt::format("{}: line {} {}", file_.name(), line_, cells_.error()));
    for (std::size_t i = 0; i < block.columns.size(); ++i) {
      const auto& cell = cells_.cells()[i];
      if (cell.is_null)
        block.add_null(i);
      else
        block.add(i, cell.text);
    }
    ++block.rows;
  }

  bool next_line(std::string_view& line) {
    std::size_t end = buffer_.find('\n', at_);
    while (end == std::string::npos && !ended_) {
      buffer_.erase(0, at_);
      at_ = 0;
      const std::size_t kept = buffer_.size();
      buffer_.resize(kept + chunk_bytes);
      const std::size_t count = file_.read(buffer_.data() + kept, chunk_bytes);
      buffer_.resize(kept + count);
      ended_ = count < chunk_bytes;
      end = buffer_.find('\n', kept);
    }
    if (at_ == buffer_.size()) return false;
    const std::size_t stop = end == std::string::npos ? buffer_.size() : end;
    line = std::string_view(buffer_).substr(at_, stop - at_);
    at_ = end == std::string::npos ? stop : stop + 1;
    return true;
  }

  InputFile file_;
  ObjectCells cells_;
  std::string buffer_;
  std::size_t at_ = 0;
  bool ended_ = false;
  std::uint64_t line_ = 0;
  std::uint64_t rows_ = 0;
};

std::string json_text(std::string_view text) { return nlohmann::json(text).dump(); }

// Digits, a sign, a point, an exponent: what JSON calls a number. "NaN" is a string there.
bool is_json_number(std::string_view text) {
  return !text.empty() && text.back() >= '0' && text.back() <= '9' &&
         (text[0] == '-' || (text[0] >= '0' && text[0] <= '9'));
}

class JsonLinesWriter final : public TableWriter {
 public:
  JsonLinesWriter(const std::string& file, const std::vector<TableColumn>& columns, Existing existing)
      : out_(file, existing) {
    for (const TableColumn& column : columns) {
      names_.push_back(json_text(column.name) + ":");
      is_number_.push_back(column.type != TableColumn::Type::text && column.type != TableColumn::Type::bytes);
    }
    if (out_.copied() != 0 && !ends_in_newline(file)) out_.write("\n");
  }

  bool is_text() const override { return true; }
  void write_text(std::string_view text) override { out_.write(text); }
  void write(const RowBlock& rows) override {
    TextBuffer text;
    format(rows, text);
    out_.write(text.text());
  }
  void finish() override { out_.finish(); }
  void commit() override { out_.commit(); }
  std::string temporary() const override { return out_.temporary(); }

  void format(const RowBlock& rows, TextBuffer& text) const override {
    for (const std::uint32_t row : rows.rows) {
      text += '{';
      for (std::size_t i = 0; i < rows.columns.size(); ++i) {
        if (i != 0) text += ',';
        text += names_[i];
        const CellColumn& column = rows.columns[i];
        if (column.is_null(row))
          text += "null";
        else if (is_number_[i] && is_json_number(column.at(row)))
          text += column.at(row);
        else
          text += json_text(column.at(row));
      }
      text += "}\n";
    }
  }

 private:
  static bool ends_in_newline(const std::string& file) {
    InputFile in(file);
    std::vector<char> chunk(chunk_bytes);
    char last = '\n';
    for (std::size_t count = 1; (count = in.read(chunk.data(), chunk.size())) != 0;) last = chunk[count - 1];
    return last == '\n';
  }

  RegularOutput out_;
  std::vector<std::string> names_;
  std::vector<bool> is_number_;
};

}  // namespace

std::unique_ptr<TableReader> open_json_lines(const std::string& file, const std::vector<TableColumn>& columns) {
  return std::make_unique<JsonLinesReader>(file, columns);
}

std::unique_ptr<TableWriter> make_json_lines(const std::string& file, const std::vector<TableColumn>& columns,
                                             Existing existing) {
  return std::make_unique<JsonLinesWriter>(file, columns, existing);
}

}  // namespace zvrt::records
