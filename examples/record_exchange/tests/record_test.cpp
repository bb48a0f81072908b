#include "record_codec.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "status.h"

namespace record_exchange {
namespace {

class RecordTest : public ::testing::Test {
 protected:
  Library library_;
};

std::string hexadecimal(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) text += fmt::format("{:02X}", static_cast<unsigned char>(byte));
  return text;
}

std::string bytes_of(const std::string& hexadecimal) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hexadecimal.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hexadecimal.substr(i, 2), nullptr, 16));
  return bytes;
}

Cell cell_of(const char* text) { return text == nullptr ? Cell::of_null() : Cell::of_text(text); }

std::string text_of_cell(const Cell& cell) {
  if (cell.kind == Cell::Kind::null) return "null";
  return cell.kind == Cell::Kind::integer ? std::to_string(cell.integer) : std::string(cell.text);
}

// One item of a record in code page 37 after another: what a cell becomes, and what comes back of it.
struct Case {
  const char* item;
  const char* cell;  // null pointer: a null
  Status written;
  const char* record;  // where written
  const char* back;
};

TEST_F(RecordTest, CarriesCellsThereAndBack) {
  static constexpr Case cases[] = {
      {"A PIC X(4).", "Ab", ZVRT_RC_OK, "C1824040", "Ab"},
      {"A PIC X(4).", "", ZVRT_RC_OK, "40404040", ""},
      {"A PIC X(4).", " b", ZVRT_RC_OK, "40824040", " b"},
      {"A PIC X(4).", "abcde", ZVRT_RC_TRUNCATED, nullptr, nullptr},
      {"A PIC X(4).", "a€", ZVRT_RC_INVALID_CHAR, nullptr, nullptr},
      {"A PIC X(4).", "a\xC3(", ZVRT_RC_INVALID_CHAR, nullptr, nullptr},
      {"A PIC X(4).", nullptr, rx_null_not_allowed, nullptr, nullptr},
      {"A PIC X(2). *>@ null=blanks", nullptr, rx_null, "4040", "null"},
      {"A PIC X(2). *>@ null=blanks", "", rx_reads_as_null, nullptr, nullptr},
      {"A PIC X(2). *>@ null=zeros", nullptr, rx_null, "F0F0", "null"},
      {"A PIC X(2). *>@ null=low-values", nullptr, rx_null, "0000", "null"},
      {"A PIC X(2). *>@ indicator=I", nullptr, rx_null, "4040FF", "null"},
      {"A PIC X(2). *>@ indicator=I", "", ZVRT_RC_OK, "404000", ""},
      {"A PIC S9(5)V99 COMP-3.", "-12.5", ZVRT_RC_OK, "0001250D", "-12.5"},
      {"A PIC S9(5)V99 COMP-3.", "1E3", ZVRT_RC_OK, "0100000C", "1000"},
      {"A PIC S9(5)V99 COMP-3.", "0.001", rx_fraction_lost, nullptr, nullptr},
      {"A PIC S9(5)V99 COMP-3.", "100000", rx_too_many_digits, nullptr, nullptr},
      {"A PIC S9(4) COMP-3.", "10000", rx_too_many_digits, nullptr, nullptr},
      {"A PIC S9(4) COMP-3.", "-0", ZVRT_RC_OK, "00000C", "0"},
      {"A PIC 9(3) COMP-3.", "-1", rx_negative, nullptr, nullptr},
      {"A PIC S9(3) COMP-3.", "1 2", rx_not_a_number, nullptr, nullptr},
      {"A PIC S9(3) COMP-3.", " ", rx_not_a_number, nullptr, nullptr},
      {"A PIC S9(3) COMP-3.", " 12 ", ZVRT_RC_OK, "012C", "12"},
      {"A PIC S9(3) COMP-3. *>@ null=blanks", nullptr, rx_null, "4040", "null"},
      {"A PIC S9(3) COMP-3. *>@ null=zeros", nullptr, rx_null, "000C", "null"},
      {"A PIC S9(3) COMP-3. *>@ null=zeros", "0", rx_reads_as_null, nullptr, nullptr},
      {"A PIC S9(31) COMP-3.", "-1234567890123456789012345678901", ZVRT_RC_OK, "1234567890123456789012345678901D",
       "-1234567890123456789012345678901"},
      {"A PIC S9(4) COMP.", "-2", ZVRT_RC_OK, "FFFE", "-2"},
      {"A PIC 9(4) COMP.", "9999", ZVRT_RC_OK, "270F", "9999"},
      {"A PIC S9(9) COMP.", "-999999999", ZVRT_RC_OK, "C4653601", "-999999999"},
      {"A PIC 9(7)V99 COMP.", "0.01", ZVRT_RC_OK, "00000001", "0.01"},
      {"A PIC S9(18) COMP.", "999999999999999999", ZVRT_RC_OK, "0DE0B6B3A763FFFF", "999999999999999999"},
      {"A PIC 9(18) COMP.", "0", ZVRT_RC_OK, "0000000000000000", "0"},
      {"A PIC 9(3).", "42", ZVRT_RC_OK, "F0F4F2", "42"},
      {"A PIC S9(3).", "42", ZVRT_RC_OK, "F0F4C2", "42"},
      {"A PIC S9(3).", "-40", ZVRT_RC_OK, "F0F4D0", "-40"},
      {"A PIC S9V99.", "-0.09", ZVRT_RC_OK, "F0F0D9", "-0.09"},
      {"A PIC S9.", "-1", ZVRT_RC_OK, "D1", "-1"},
      {"A PIC X(22). *>@ number", "123.45", ZVRT_RC_OK, "04C202182E0000000000000000000000000000000000", "123.45"},
      {"A PIC X(22). *>@ number", "1.5", ZVRT_RC_OK, "03C102330000000000000000000000000000000000", "1.5"},
      {"A PIC X(22). *>@ number", "-1", ZVRT_RC_ERROR, nullptr, nullptr},
      {"A PIC X(22). *>@ number", "12345678901234567890123456789012345678901", rx_not_kept, nullptr, nullptr},
      {"A PIC X(11). *>@ date=%DD-%MMM-%YYYY", "1990-01-08", ZVRT_RC_OK, "F0F860D1819560F1F9F9F0", "1990-01-08"},
      {"A PIC X(11). *>@ date=%DD-%MMM-%YYYY", "1990-02-30", ZVRT_RC_INVALID_DAY, nullptr, nullptr},
      {"A PIC X(11). *>@ date=%DD-%MMM-%YYYY", "1990-01-08 10:00", rx_not_in_model, nullptr, nullptr},
      {"A PIC X(8). *>@ date=%YYYY%MM%DD table-date=\"%YYYY-%MM-%DD %HH24:%MI\"", "1990-01-08 00:00", ZVRT_RC_OK,
       "F1F9F9F0F0F1F0F8", "1990-01-08 00:00"},
      {"A PIC X(8). *>@ date=%YYYY%MM%DD table-date=\"%YYYY-%MM-%DD %HH24:%MI\"", "1990-01-08 10:00", rx_part_lost,
       nullptr, nullptr},
      {"A PIC X(9). *>@ date=%DD-%MMM-%YYYY", "1990-01-08", ZVRT_RC_TRUNCATED, nullptr, nullptr},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(fmt::format("{} <- {}", row.item, row.cell == nullptr ? "null" : row.cell));
    const bool indicated = std::string_view(row.item).find("indicator") != std::string_view::npos;
    const Layout layout =
        parse_layout(fmt::format("01 R.\n 05 {}\n{}", row.item, indicated ? " 05 I PIC X.\n" : ""), "f.cpy");
    RecordCodec codec(layout);
    Row cells(1);
    cells.cells[0] = cell_of(row.cell);
    std::string record(layout.record_length, '?');
    Outcomes outcomes;
    codec.encode(cells, record.data(), outcomes);
    EXPECT_EQ(name_of(outcomes[0]), name_of(row.written));
    if (row.record == nullptr) continue;
    const std::string padded = std::string(row.record) + std::string(2 * record.size() - std::strlen(row.record), '0');
    EXPECT_EQ(hexadecimal(record), padded);
    Row back(1);
    codec.decode(record.data(), back, outcomes);
    EXPECT_EQ(name_of(outcomes[0]), name_of(row.written));
    EXPECT_EQ(text_of_cell(back.cells[0]), row.back);
    EXPECT_FALSE(is_refused(codec.compare(0, cell_of(row.cell), back.cells[0])));
  }
}

TEST_F(RecordTest, RefusesBytesThatAreNoValue) {
  static constexpr struct {
    const char* item;
    const char* record;
    Status status;
  } cases[] = {
      {"A PIC S9(3) COMP-3.", "4040", rx_broken_number},  // blanks: no sign
      {"A PIC S9(3) COMP-3.", "1A3C", rx_broken_number},
      {"A PIC S9(3) COMP-3.", "A12C", rx_broken_number},
      {"A PIC S9(3) COMP-3.", "123F", ZVRT_RC_OK},
      {"A PIC 9(3).", "F1C1F2", rx_broken_number},
      {"A PIC 9(3).", "F1F240", rx_broken_number},
      {"A PIC S9(3).", "F1F2E2", rx_broken_number},
      {"A PIC S9(3).", "F1F2F3", ZVRT_RC_OK},  // not punched: positive
      {"A PIC X(3).", "C10040", rx_zero_inside},
      {"A PIC X(22). *>@ number", "16C1020000000000000000000000000000000000000000", ZVRT_RC_ERROR},
      {"A PIC X(22). *>@ number", "033E64660000000000000000000000000000000000", ZVRT_RC_ERROR},
      {"A PIC X(10). *>@ date=%YYYY-%MM-%DD", "40404040404040404040", ZVRT_RC_BLANK_TEXT},
      {"A PIC X(10). *>@ date=%YYYY-%MM-%DD", "F1F9F9F060F1F360F0F1", ZVRT_RC_INVALID_MONTH},
  };
  for (const auto& [item, bytes, status] : cases) {
    SCOPED_TRACE(fmt::format("{} <- {}", item, bytes));
    const Layout layout = parse_layout(fmt::format("01 R.\n 05 {}\n", item), "f.cpy");
    RecordCodec codec(layout);
    std::string record = bytes_of(bytes);
    record.resize(layout.record_length);
    Row row(1);
    Outcomes outcomes;
    codec.decode(record.data(), row, outcomes);
    EXPECT_EQ(name_of(outcomes[0]), name_of(status));
    EXPECT_EQ(row.cells[0].kind == Cell::Kind::null, status != ZVRT_RC_OK);
  }
}

// What stands in the record when the row of a refused cell is kept.
TEST_F(RecordTest, LeavesRefusedCellsEmptyOrCut) {
  const Layout layout = parse_layout(
      "01 R.\n 05 A PIC X(3).\n 05 B PIC X(3).\n 05 C PIC S9(3) COMP-3.\n 05 D PIC X(2). *>@ null=low-values\n",
      "f.cpy");
  RecordCodec codec(layout);
  Row row(4);
  row.cells = {Cell::of_text("abcd"), Cell::of_text("ab€"), Cell::of_text("x"), Cell::of_text("€")};
  std::string record(layout.record_length, '?');
  Outcomes outcomes;
  codec.encode(row, record.data(), outcomes);
  EXPECT_EQ(hexadecimal(record), "818283404040000C0000");
}

TEST_F(RecordTest, ReadsDoublesAsTheDecimalsTheyCameFrom) {
  const Layout layout = parse_layout("01 R.\n 05 A PIC S9(9)V9(4) COMP-3.\n", "f.cpy");
  RecordCodec codec(layout);
  std::string record(layout.record_length, '?');
  Row row(1);
  Outcomes outcomes;
  for (int i = -20000; i <= 20000; i += 7) {
    row.cells[0] = {Cell::Kind::real, 0, i / 100.0, {}};
    codec.encode(row, record.data(), outcomes);
    ASSERT_EQ(outcomes[0], ZVRT_RC_OK) << i;
    Row back(1);
    codec.decode(record.data(), back, outcomes);
    ASSERT_EQ(std::stod(std::string(back.cells[0].text)), i / 100.0);
  }
  row.cells[0] = {Cell::Kind::real, 0, 1.0 / 3, {}};
  codec.encode(row, record.data(), outcomes);
  EXPECT_EQ(name_of(outcomes[0]), "RX_FRACTION_LOST");
}

}  // namespace
}  // namespace record_exchange
