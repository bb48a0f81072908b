// Whatever the layout and whatever the bytes: records that are read and written again from their own bytes are the same,
// and one changed cell changes the bytes of its field alone.
#include <gtest/gtest.h>

#include <random>

#include "records/codec/one_field.h"
#include "records/codec/whole_records.h"
#include "records/files/failure.h"
#include "records/layout/copybook_generator.h"

namespace zvrt::records {
namespace {

using testing::cells_of;
using zvrt_records_test::hex;

constexpr std::size_t copybooks = 150;
constexpr std::size_t records_each = 8;
constexpr std::size_t most_fields = 3000;

class KeptBytes : public ::testing::Test {
 protected:
  std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

  template <class Records>
  static void decode(const RecordCodec& codec, const Records& records, DecodedRecords& decoded) {
    testing::decode(codec, records, decoded);
    for (DecodedCells& field : decoded.fields) field.slots.resize(std::max<std::size_t>(field.slots.size(), 1));
  }

  // A record of small values with counts in their range, some of whose bytes are then anything.
  std::string random_record(const RecordCodec& codec, const RecordOptions& options) {
    CellBlock block;
    block.columns.resize(codec.fields().size());
    block.rows = 1;
    for (std::size_t i = 0; i < codec.fields().size(); ++i) {
      const Field& field = *codec.fields()[i];
      if (field.table_column().type == TableColumn::Type::text)
        block.add(i, std::string(below(3), 'a'));
      else
        block.add(i, std::to_string(below(7)));
    }
    std::vector<CellColumn> cells;
    for (std::size_t i = 0; i < codec.fields().size(); ++i) cells.push_back(block.column(i));
    EncodedRecords encoded;
    codec.encode(cells, 1, nullptr, encoded);
    std::string record(encoded.records[0]);
    for (std::size_t hits = below(4); hits > 0 && !record.empty(); --hits)
      record[below(record.size())] = static_cast<char>(below(256));
    if (options.lengths_vary && below(5) == 0) record.resize(below(record.size() + 1));
    return record;
  }

  void expect_kept(const RecordCodec& codec, const std::vector<std::string>& records) {
    DecodedRecords decoded;
    decode(codec, records, decoded);
    EncodedRecords encoded;
    codec.encode(cells_of(decoded), records.size(), &records, encoded);
    for (std::size_t row = 0; row < records.size(); ++row) ASSERT_EQ(hex(encoded.records[row]), hex(records[row]));
  }

  static bool is_count(const RecordCodec& codec, const Column& column) {
    for (const VariableTable& table : codec.columns().tables)
      if (table.item->depends_on == column.item) return true;
    return false;
  }

  // Takes a cell of one record into another one, where the two differ.
  void expect_one_field_changed(const RecordCodec& codec, const RecordOptions& options,
                                const std::vector<std::string>& records) {
    DecodedRecords decoded;
    decode(codec, records, decoded);
    const std::size_t field = below(codec.fields().size());
    const Column& column = codec.fields()[field]->column();
    const DecodedCells& cells = decoded.fields[field];
    const std::size_t row = below(records.size());
    const std::size_t other = below(records.size());
    const bool changes = cells.lengths[row] != null_cell && cells.lengths[other] != null_cell &&
                         cells.cells().at(row) != cells.cells().at(other);
    if (decoded.refused[row] != 0 || is_count(codec, column) || !changes) return;
    const std::string value(cells.cells().at(other));
    std::copy(value.begin(), value.end(),
              decoded.fields[field].slots.begin() + static_cast<std::ptrdiff_t>(row * cells.slot));
    decoded.fields[field].lengths[row] = static_cast<std::int32_t>(value.size());
    EncodedRecords encoded;
    codec.encode(cells_of(decoded), records.size(), &records, encoded);
    if (encoded.refused[row] != 0) return;  // read, but not what the picture says
    ++changed_;
    Slide slide(codec.columns(), options.shift);
    ASSERT_EQ(encoded.records[row].size(), records[row].size());
    std::size_t first = 0;
    while (first < records[row].size() && encoded.records[row][first] == records[row][first]) ++first;
    std::size_t last = records[row].size();
    while (last > first && encoded.records[row][last - 1] == records[row][last - 1]) --last;
    EXPECT_LE(last - first, column.item->length) << column.field;
    if (!options.shift || codec.columns().tables.empty()) {
      EXPECT_TRUE(first >= column.offset && last <= column.offset + column.item->length) << column.field;
    }
    for (std::size_t each = 0; each < records.size(); ++each)
      if (each != row) {
        EXPECT_EQ(encoded.records[each], records[each]);
      }
    DecodedRecords again;
    decode(codec, encoded.records, again);
    EXPECT_EQ(again.fields[field].cells().at(row), value) << column.field;
  }

  void try_layout(const Layout& layout, bool shift, std::uint32_t page) {
    const Columns columns = columns_of(layout);
    if (columns.list.size() > most_fields || columns.list.empty() || (shift && columns.cannot_shift)) return;
    CodecOptions options;
    options.page = code_page(page, '\0');
    options.native_big = options.ibm_floats = options.page.ebcdic;
    RecordOptions form;
    form.shift = form.lengths_vary = form.may_be_short = shift;
    const RecordCodec codec(columns_of(layout), options, form, {});
    std::vector<std::string> records;
    for (std::size_t k = 0; k < records_each; ++k) records.push_back(random_record(codec, form));
    ++tried_;
    expect_kept(codec, records);
    for (int k = 0; k < 10; ++k) expect_one_field_changed(codec, form, records);
  }

  zvrt_records_test::Library library_;
  std::mt19937 random_{7};
  std::size_t tried_ = 0;
  std::size_t changed_ = 0;
};

TEST_F(KeptBytes, ComeBackAndOneCellChangesItsFieldAlone) {
  zvrt_records_test::CopybookGenerator generator(11);
  for (std::size_t k = 0; k < copybooks; ++k) {
    const std::string text = generator.make("C").copybook;
    SCOPED_TRACE(text);
    const Layout layout = parse_layout(text, "f");
    try_layout(layout, false, k % 3 == 0 ? 1252 : 37);
    try_layout(layout, true, k % 3 == 1 ? 1252 : 37);
    if (HasFailure()) return;
  }
  EXPECT_GT(tried_, copybooks);
  EXPECT_GT(changed_, copybooks);
}

}  // namespace
}  // namespace zvrt::records
