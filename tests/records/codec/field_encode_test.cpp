// A column of many cells at once: of every length around those of slots, with nulls and with rows that are left out. What
// each row has to hold is worked out here, cell by cell.
#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "records/codec/one_field.h"

namespace zvrt::records {
namespace {

using zvrt_records_test::OneField;

constexpr std::size_t row_count = 700;
constexpr std::size_t longest_cell = 90;

struct Expected {
  std::string bytes;
  Status status;
};

std::string text_of_row(std::size_t row) {
  std::string text(row * 7 % (longest_cell + 1), 'A');
  for (std::size_t k = 0; k < text.size(); ++k) text[k] = static_cast<char>('A' + (row + k) % 26);
  return text;
}

Expected text_expected(const std::string& cell, std::size_t width) {
  if (cell.size() > width) return {std::string(width, ' '), ZVRT_RC_TRUNCATED};
  return {cell + std::string(width - cell.size(), ' '), ZVRT_RC_OK};
}

// Zeros before the digits make it as long as wanted; every seventh has a digit too many.
std::string number_of_row(std::size_t row) {
  const std::string digits = row % 7 == 0 ? "1000000" : std::to_string(row * 997 % 1000000);
  return std::string(row * 5 % (longest_cell - 10), '0') + digits;
}

Expected zoned_expected(const std::string& cell, std::size_t width) {
  const auto value = std::stoull(cell);
  std::ostringstream digits;
  digits << std::setw(static_cast<int>(width)) << std::setfill('0') << (value > 999999 ? 0 : value);
  return {digits.str(), value > 999999 ? Status{ZVRT_RC_DIGITS_LOST} : Status{ZVRT_RC_OK}};
}

Expected binary_expected(const std::string& cell, std::size_t width) {
  const auto value = std::stoull(cell);
  std::string bytes(width, '\0');
  for (std::size_t i = 0; value <= 999999 && i < width; ++i)
    bytes[width - 1 - i] = static_cast<char>(value >> (8 * i) & 0xFF);
  return {bytes, value > 999999 ? Status{ZVRT_RC_DIGITS_LOST} : Status{ZVRT_RC_OK}};
}

// Cells one after the other with a start each, or at equal distances.
struct Cells {
  std::string text;
  std::vector<std::int64_t> starts;
  std::vector<std::int32_t> lengths;
  bool strided = false;

  void add(const std::string& cell, bool null) {
    if (strided) text.resize(lengths.size() * longest_cell);
    starts.push_back(static_cast<std::int64_t>(text.size()));
    lengths.push_back(null ? null_cell : static_cast<std::int32_t>(cell.size()));
    if (!null) text += cell;
  }
  CellColumn column() const {
    return {text.data(), strided ? std::int64_t{longest_cell} : 0, strided ? nullptr : starts.data(), lengths.data()};
  }
};

struct Case {
  const char* clauses;
  std::string (*cell_of)(std::size_t row);
  Expected (*expected)(const std::string& cell, std::size_t width);
};

constexpr Case cases[] = {
    {"PIC X(3)", text_of_row, text_expected},          {"PIC X(24)", text_of_row, text_expected},
    {"PIC X(64)", text_of_row, text_expected},         {"PIC X(80)", text_of_row, text_expected},
    {"PIC 9(6)", number_of_row, zoned_expected},       {"PIC 9(6) COMP", number_of_row, binary_expected},
    {"PIC S9(6) COMP", number_of_row, binary_expected}};

void check(const Case& one, bool strided, bool nulls, bool leaves_out) {
  const OneField it(one.clauses, zvrt_records_test::options_of(1252));
  const Field& field = it.field();
  Cells cells;
  cells.strided = strided;
  std::vector<std::uint8_t> chosen;
  for (std::size_t row = 0; row < row_count; ++row) {
    cells.add(one.cell_of(row), nulls && row % 5 == 3);
    chosen.push_back(leaves_out && row % 11 == 4 ? 0 : 1);
  }
  const std::size_t stride = field.length() + 3;
  std::string bytes(row_count * stride, '\xEE');
  std::vector<Status> status;
  field.encode(cells.column(), leaves_out ? chosen.data() : nullptr,
               {bytes.data(), static_cast<std::int64_t>(stride), row_count}, status);
  for (std::size_t row = 0; row < row_count; ++row) {
    Expected expected = one.expected(one.cell_of(row), field.length());
    if (nulls && row % 5 == 3) expected = {field.empty(), ZVRT_RC_NULL_REFUSED};
    if (chosen[row] == 0) expected = {std::string(field.length(), '\xEE'), ZVRT_RC_OK};
    ASSERT_EQ(bytes.substr(row * stride, stride), expected.bytes + "\xEE\xEE\xEE") << one.clauses << ", row " << row;
    ASSERT_EQ(name_of(status[row]), name_of(expected.status)) << one.clauses << ", row " << row;
  }
}

TEST(FieldEncode, TakesAColumnOfAnyCells) {
  const zvrt_records_test::Library library;
  for (const Case& one : cases)
    for (const bool strided : {false, true})
      for (const bool nulls : {false, true})
        for (const bool leaves_out : {false, true}) check(one, strided, nulls, leaves_out);
}

}  // namespace
}  // namespace zvrt::records
