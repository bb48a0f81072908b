// Whatever the layout, the form of the file, the bytes of its records and the kind of the table, through the command's runs:
//
//   kept      import --keep-bytes, export --keep-bytes: the same bytes
//   changed   one cell of that table takes another row's value: just its field differs, and says that value
//   alone     import, export, import: the same rows but for those refused, so that what is written is what is read
#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <set>
#include <sstream>

#include "records/codec/one_field.h"
#include "records/codec/whole_records.h"
#include "records/files/failure.h"
#include "records/formats/read_all.h"
#include "records/formats/written_file.h"
#include "records/layout/copybook_generator.h"
#include "runs.h"

namespace zvrt::records {
namespace {

using zvrt_records_test::hex;
using Cell = std::optional<std::string>;
using Rows = std::vector<std::vector<Cell>>;

constexpr std::size_t copybooks = 12;
constexpr std::size_t records_each = 12;
constexpr std::size_t changes_each = 4;
constexpr std::size_t most_fields = 300;
constexpr std::size_t length_digits = 5;

struct Form {
  const char* name;
  std::vector<std::string> options;
  bool has_length_field = false;
};

const Form forms[] = {
    {"F", {}},
    {"F, longer than the layout", {"--record-length", "9999"}},
    {"F by the tables of each record", {"--odo", "shift"}},
    {"F by a length field", {"--length-field", "LEN", "--skip-header", "3"}, true},
    {"V", {"--record-format", "V"}},
    {"V without shift", {"--record-format", "V", "--odo", "max"}},
    {"V of other words", {"--record-format", "V", "--rdw-order", "little", "--rdw-includes-itself", "no"}},
    {"V in surroundings",
     {"--record-format", "V", "--skip-header", "5", "--skip-trailer", "3", "--record-header", "2"}},
    {"VB", {"--record-format", "VB"}},
    {"VB in surroundings", {"--record-format", "VB", "--skip-header", "5", "--record-header", "2"}},
    {"D", {"--record-format", "D"}},
    {"D without shift", {"--record-format", "D", "--odo", "max"}},
};

// The reports of runs go nowhere while it lives.
class Quiet {
 public:
  Quiet() : kept_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;
  ~Quiet() {
    std::fflush(stdout);
    dup2(kept_, STDOUT_FILENO);
    close(kept_);
  }

 private:
  int kept_;
};

Arguments parsed(std::vector<std::string> words) {
  words.insert(words.begin(), "zvrt-records");
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  Arguments arguments;
  bool ends = false;
  parse_arguments(static_cast<int>(argv.size()), argv.data(), arguments, ends);
  if (ends) throw std::runtime_error("the command line is wrong");
  return arguments;
}

int run(const Arguments& arguments) {
  const Quiet quiet;
  return arguments.verb == Verb::import_records ? import_records(arguments) : export_table(arguments);
}

class RoundTrip : public ::testing::Test {
 protected:
  std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

  // A command line over the files of the test, all of which are made anew.
  Arguments command(const char* verb, const std::vector<std::string>& options, const std::string& from,
                    const std::string& to) const {
    std::vector<std::string> words{
        verb, "-l", folder_.file("copybook"), "-r", folder_.file("rejects"), "-t", "t", "--replace", "--threads", "1"};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(folder_.file(from));
    words.push_back(folder_.file(to));
    return parsed(words);
  }

  static bool is_count(const RecordCodec& codec, const Column& column) {
    for (const VariableTable& table : codec.columns().tables)
      if (table.item->depends_on == column.item) return true;
    return false;
  }

  // A record of small values with counts in their range, some of whose bytes are then anything.
  std::string random_record(const Job& job) {
    const RecordCodec& codec = *job.segments.front().codec;
    CellBlock block;
    block.columns.resize(codec.fields().size());
    block.rows = 1;
    for (std::size_t i = 0; i < codec.fields().size(); ++i) {
      const Field& field = *codec.fields()[i];
      if (is_count(codec, field.column()))
        block.add(i, std::to_string(1 + below(2)));
      else if (field.table_column().type == TableColumn::Type::text)
        block.add(i, std::string(below(3), 'a'));
      else
        block.add(i, std::to_string(below(7)));
    }
    std::vector<CellColumn> cells;
    for (std::size_t i = 0; i < codec.fields().size(); ++i) cells.push_back(block.column(i));
    EncodedRecords encoded;
    codec.encode(cells, 1, nullptr, encoded);
    const std::string whole(encoded.records[0]);
    std::string record = whole;
    for (std::size_t hits = below(4); hits > 0 && !record.empty(); --hits)
      record[below(record.size())] = static_cast<char>(below(256));
    if (!job.arguments.length_field.empty()) return with_length(record, job);
    if (job.format.length_of) {
      const auto own = job.format.length_of(record.data(), record.size());
      return own && own->why.empty() && own->bytes == record.size() ? record : whole;
    }
    const std::size_t least = job.format.words.include_themselves ? 0 : 1;  // a length word of 0 is none
    if (codec.options().lengths_vary && below(5) == 0) record.resize(least + below(record.size() + 1 - least));
    return record;
  }

  std::string with_length(std::string record, const Job& job) {
    if (below(3) == 0) record.resize(length_digits + below(record.size()), '!');
    std::string digits = std::to_string(record.size());
    digits.insert(0, length_digits - digits.size(), '0');
    for (char& digit : digits)
      if (job.codec.page.ebcdic) digit = static_cast<char>(digit - '0' + 0xF0);
    return record.replace(0, length_digits, digits);
  }

  // Records with anything around them where the form has room for it.
  std::string random_file(const Job& job) {
    std::vector<std::string> records;
    for (std::size_t k = 0; k < records_each; ++k) records.push_back(random_record(job));
    if (job.format.format == RecordFormat::lines) return testing::written(records, job.format);
    std::vector<Surroundings> around(records_each);
    for (std::size_t k = 0; k < records_each; ++k) {
      const std::size_t before = job.format.record_header + (k == 0 ? job.format.skip_header : 0);
      for (std::size_t n = 0; n < before; ++n) around[k].before += static_cast<char>(below(256));
      if (job.format.format == RecordFormat::variable_blocked) around[k].block = 1 + k / 5;
    }
    around.back().after.assign(job.format.skip_trailer, 'T');
    return testing::written(records, job.format, &around);
  }

  Rows rows_of(const Job& job) const {
    const auto reader = open_table(job.segments.front().table, job.segments.front().columns, job.table);
    Rows rows;
    CellBlock block;
    while (reader->next(block))
      for (std::size_t row = 0; row < block.rows; ++row) {
        rows.emplace_back();
        for (std::size_t column = 0; column < block.columns.size(); ++column) {
          const CellColumn cells = block.column(column);
          rows.back().push_back(cells.is_null(row) ? Cell() : Cell(cells.at(row)));
        }
      }
    return rows;
  }

  static void write(const Job& job, const Rows& rows) {
    CellBlock cells;
    cells.columns.resize(job.segments.front().columns.size());
    RowBlock block;
    for (const auto& row : rows) {
      block.rows.push_back(static_cast<std::uint32_t>(block.rows.size()));
      for (std::size_t column = 0; column < row.size(); ++column)
        row[column] ? cells.add(column, *row[column]) : cells.add_null(column);
    }
    for (std::size_t column = 0; column < cells.columns.size(); ++column) block.columns.push_back(cells.column(column));
    const auto writer =
        make_table(job.segments.front().table, job.segments.front().columns, job.table, Existing::replace);
    writer->write(block);
    writer->finish();
    writer->commit();
  }

  // The records that the last run refused, from 1.
  std::set<std::size_t> refused() const {
    std::set<std::size_t> numbers;
    std::istringstream lines(folder_.read("rejects"));
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);) numbers.insert(std::stoul(line));
    return numbers;
  }

  void expect_kept(const Job& job, const std::vector<std::string>& options, const std::string& table) {
    std::vector<std::string> kept = options;
    kept.insert(kept.end(), {"--keep-bytes", "--on-reject", "keep"});
    const Arguments in = command("import", kept, "records", table);
    const Arguments out = command("export", kept, table, "again");
    const std::string file = folder_.read("records");
    run(in);
    ASSERT_EQ(run(out), 0) << folder_.read("rejects");
    ASSERT_EQ(hex(folder_.read("again")), hex(file));
    const Job keeping(in);
    const Rows rows = rows_of(keeping);
    ASSERT_EQ(rows.size(), records_.size());
    for (std::size_t k = 0; k < changes_each; ++k) expect_changed(job, keeping, out, rows);
  }

  // A cell of one row takes the value of another row.
  void expect_changed(const Job& job, const Job& keeping, const Arguments& out, const Rows& rows) {
    const RecordCodec& codec = *job.segments.front().codec;
    const std::size_t field = below(codec.fields().size());
    const Column& column = codec.fields()[field]->column();
    const std::size_t row = below(rows.size());
    const Cell& value = rows[below(rows.size())][field];
    const bool sets_length = is_count(codec, column) || column.name == "LEN";
    if (sets_length || !value || !rows[row][field] || *value == *rows[row][field]) return;
    Rows changed = rows;
    changed[row][field] = value;
    write(keeping, changed);
    if (run(out) != 0) return;  // read, but not what the picture says
    ++changed_;
    SCOPED_TRACE(fmt::format("record {}: {} from '{}' to '{}'", row + 1, column.field, *rows[row][field], *value));
    const std::string before = folder_.read("records");
    const std::string after = folder_.read("again");
    Slide slide(codec.columns(), codec.options().shift);
    const std::string& record = records_[row];
    std::size_t offset = column.offset;
    if (codec.options().shift && !codec.columns().tables.empty()) offset = shifted_offset(codec, record, column);
    const auto start = static_cast<std::size_t>(starts_[row]);
    const std::size_t begin = std::min(offset, record.size());
    const std::size_t end = std::min(offset + column.item->length, record.size());
    const std::size_t grown = after.size() - before.size();  // a line that ended inside the field or before it may
    ASSERT_TRUE(grown == 0 || (job.format.format == RecordFormat::lines && end == record.size()));
    EXPECT_EQ(hex(after.substr(0, start + begin)), hex(before.substr(0, start + begin)));
    EXPECT_EQ(hex(after.substr(start + begin, offset - begin)), hex(std::string(offset - begin, job.format.blank)));
    EXPECT_EQ(hex(after.substr(start + end + grown)), hex(before.substr(start + end)));
    DecodedRecords decoded;
    const std::vector<std::string> one{after.substr(start, record.size() + grown)};
    testing::decode(codec, one, decoded);
    EXPECT_EQ(decoded.fields[field].cells().at(0), *value);
  }

  // Where a column stands in a record whose tables are as long as their counts say.
  static std::size_t shifted_offset(const RecordCodec& codec, const std::string& record, const Column& column) {
    Slide slide(codec.columns(), true);
    slide.take([&](const VariableTable& table, std::size_t offset) -> std::optional<std::size_t> {
      Column count;
      count.item = table.item->depends_on;
      const std::size_t length = count.item->length;
      if (offset + length > record.size()) return std::nullopt;
      std::size_t value = 0;
      for (const char digit : record.substr(offset, length)) value = value * 10 + (static_cast<unsigned>(digit) & 15U);
      return value;
    });
    return slide.offset_of(column).value_or(0);
  }

  // In the first meaning of every area. What could not be read of one may be readable after another was written.
  static bool is_written(const Column& column) {
    return std::all_of(column.meanings.begin(), column.meanings.end(),
                       [](const MeaningOfArea& meaning) { return meaning.meaning == 0; });
  }

  // Which is written as zero where no bytes are kept.
  static std::string without_negative_zero(const Cell& cell) {
    const std::string text = cell.value_or("null");
    return text.starts_with('-') && text.find_first_not_of("-0.") == std::string::npos ? text.substr(1) : text;
  }

  void expect_same_rows(const Job& job, const std::vector<std::string>& options, const std::string& table) {
    const Arguments in = command("import", options, "records", table);
    run(in);
    const Rows rows = rows_of(Job(in));
    std::filesystem::remove(folder_.file("rejects"));
    run(command("export", options, table, "written"));
    const std::set<std::size_t> left_out = refused();
    std::filesystem::remove(folder_.file("rejects"));
    const Arguments again = command("import", options, "written", table);
    EXPECT_EQ(run(again), 0) << folder_.read("rejects");
    Rows wanted;
    for (std::size_t row = 0; row < rows.size(); ++row)
      if (!left_out.contains(row + 1)) wanted.push_back(rows[row]);
    const Rows found = rows_of(Job(again));
    came_back_ += found.size();
    ASSERT_EQ(found.size(), wanted.size());
    const auto& fields = job.segments.front().codec->fields();
    for (std::size_t row = 0; row < found.size(); ++row)
      for (std::size_t i = 0; i < fields.size(); ++i)
        if (wanted[row][i] ? is_written(fields[i]->column()) : fields[i]->column().meanings.empty()) {
          EXPECT_EQ(without_negative_zero(found[row][i]), without_negative_zero(wanted[row][i]))
              << "row " << row + 1 << ": " << fields[i]->column().field;
        }
  }

  void try_form(const Form& form, const std::string& page, const std::string& table) {
    std::vector<std::string> options = form.options;
    options.insert(options.end(), {"-c", page});
    const Arguments in = command("import", options, "records", table);
    std::optional<Job> job;
    try {
      job.emplace(in);
    } catch (const CopybookError&) {
      return;  // fields that follow a table within a redefinition cannot shift
    } catch (const Failure&) {
      return;  // no column but FILLER, or records longer than the 9999 bytes
    }
    const std::size_t fields = job->segments.front().codec->fields().size();
    if (fields > most_fields || (fields == 1 && table == "t.csv")) return;  // a CSV file of one column has no nulls
    const std::string file = folder_.write("records", random_file(*job));
    records_.clear();
    starts_.clear();
    RecordReader reader({file}, job->format);
    RecordBlock block;
    while (reader.next(block)) {
      ASSERT_TRUE(block.damages.empty()) << block.damages.front().why;
      for (std::size_t i = 0; i < block.count(); ++i) {
        records_.emplace_back(block.bytes.data() + block.starts[i], static_cast<std::size_t>(block.lengths[i]));
        starts_.push_back(static_cast<std::int64_t>(block.offset) + block.starts[i]);
      }
    }
    ++tried_;
    expect_kept(*job, options, table);
    if (!HasFailure()) expect_same_rows(*job, options, table);
  }

  zvrt_records_test::Library library_;
  // In memory where that is possible: every run waits for its disk.
  testing::WorkFolder folder_{access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::filesystem::temp_directory_path()};
  std::mt19937 random_{7};
  std::vector<std::string> records_;
  std::vector<std::int64_t> starts_;
  std::size_t tried_ = 0;
  std::size_t changed_ = 0;
  std::size_t came_back_ = 0;
};

TEST_F(RoundTrip, BytesComeBackAndOneCellChangesItsFieldAlone) {
  constexpr const char* tables[] = {"t.csv", "t.jsonl", "t.db"};
  constexpr const char* pages[] = {"37", "37", "1252"};
  zvrt_records_test::CopybookGenerator generator(11);
  for (std::size_t k = 0; k < copybooks; ++k) {
    const auto made = generator.make("C");
    std::size_t which = k;
    for (const Form& form : forms) {
      std::string text = made.copybook;
      if (form.has_length_field)
        text = std::string(made.cobol).insert(made.cobol.find('\n') + 1, "         05 LEN PIC 9(5).\n");
      folder_.write("copybook", text);
      ++which;
      SCOPED_TRACE(fmt::format("{}, {}, page {}\n{}", form.name, tables[which % 3], pages[which % 7 % 3], text));
      try_form(form, pages[which % 7 % 3], tables[which % 3]);
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(tried_, copybooks * 6);
  EXPECT_GT(changed_, copybooks * 6);
  EXPECT_GT(came_back_, copybooks * 40);
}

}  // namespace
}  // namespace zvrt::records
