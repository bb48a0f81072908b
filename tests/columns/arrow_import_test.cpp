// Arrow arrays of any producer to records: every type and shape that may come, nothing of a malformed one followed.
#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <random>

#include "columns/foreign_array.h"
#include "columns/record_plans.h"

namespace zvrt_test {
namespace {

using Buffers = ForeignArray::Buffers;
using Column = std::unique_ptr<ForeignArray>;

Column column(const char* format, std::int64_t length, const Buffers& buffers, std::int64_t offset = 0,
              std::int64_t null_count = -1) {
  return std::make_unique<ForeignArray>(format, "C", length, buffers, offset, null_count);
}

template <class Element>
Column elements(const char* format, const std::vector<Element>& all, std::optional<std::string> valid = {}) {
  return column(format, static_cast<std::int64_t>(all.size()), {std::move(valid), bytes_of(all)});
}

Column texts(const char* format, const std::vector<std::int32_t>& offsets, const char* text) {
  return column(format, static_cast<std::int64_t>(offsets.size()) - 1, {std::nullopt, bytes_of(offsets), text});
}

// Views: up to 12 bytes stand in the view, longer ones in the buffer.
std::string view(const std::string& text, std::int32_t offset = 0, std::int32_t buffer = 0) {
  std::string bytes = bytes_of<std::int32_t>({static_cast<std::int32_t>(text.size())});
  if (text.size() <= 12) return bytes + text + std::string(12 - text.size(), '\0');
  return bytes + text.substr(0, 4) + bytes_of<std::int32_t>({buffer, offset});
}

Column dictionary(Column indices, Column values) {
  indices->set_dictionary(std::move(values));
  return indices;
}

// What the records hold afterwards: the field's bytes of each, "~" for one that was not written.
struct Imported {
  std::uint32_t status;
  std::vector<std::string> fields;
  ZVRTOutcome outcome;
};

Imported import(ForeignArray& table, const TestField& field, std::int32_t bytes, std::uint32_t options = 0) {
  RecordPlan plan({field}, bytes, options);
  EXPECT_EQ(plan.status, ZVRT_RC_OK) << plan.why.text;
  const auto rows = static_cast<std::size_t>(std::max<std::int64_t>(table.array.length, 0));
  GuardedBuffer records(rows * static_cast<std::size_t>(bytes));
  Imported result{};
  result.status = ZVRTArrowToRecords(plan.plan, &table.schema, &table.array, records.as<>(), plan.outcomes.data());
  result.outcome = plan.outcomes[0];
  EXPECT_NE(table.array.release, nullptr);
  EXPECT_NE(table.schema.release, nullptr);
  const std::string all = records.bytes();
  const std::string untouched(static_cast<std::size_t>(bytes), static_cast<char>(GuardedBuffer::mark));
  for (std::size_t row = 0; row < rows; ++row) {
    const std::string record = all.substr(row * static_cast<std::size_t>(bytes), static_cast<std::size_t>(bytes));
    result.fields.push_back(record == untouched ? "~" : record);
  }
  return result;
}

struct TypeRow {
  const char* name;
  Column column;
  ZVRTType field;
  std::vector<std::string> expected;
  std::uint32_t options = 0;
};

const wchar_t* const timestamp_model = L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF";
ZVRTType text_field(std::int32_t length) { return type_of(ZVRT_KIND_CHAR, length); }
ZVRTType timestamp_field() { return with_model(text_field(26), timestamp_model); }
ZVRTType date_field() { return with_model(text_field(10), L"%YYYY-%MM-%DD"); }
ZVRTType time_field() { return with_model(text_field(8), L"%HH24:%MI:%SS"); }

// A number of 256 bits, given from its least significant word on, in native order.
std::array<std::int64_t, 4> native(std::array<std::int64_t, 4> words) {
  if (std::endian::native == std::endian::big) std::reverse(words.begin(), words.end());
  return words;
}

std::vector<TypeRow> number_rows() {
  std::vector<TypeRow> rows;
  const auto add = [&rows](const char* name, Column values, const ZVRTType& field, std::vector<std::string> expected,
                           std::uint32_t options = 0) {
    rows.push_back({name, std::move(values), field, std::move(expected), options});
  };
  add("null", column("n", 2, {}), type_of(ZVRT_KIND_CHAR, 2, ZVRT_TYPE_NULL_BLANKS), {"  ", "  "});
  add("booleans", column("b", 3, {bitmap("110"), bitmap("101")}), text_field(5), {"true ", "false", "~"});
  add("int8", elements<std::int8_t>("c", {-128, 5}), text_field(4), {"-128", "5   "});
  add("uint8", elements<std::uint8_t>("C", {255}), text_field(3), {"255"});
  add("int16", elements<std::int16_t>("s", {-300}), type_of(ZVRT_KIND_PACKED, 2), {std::string("\x30\x0D")});
  add("uint16", elements<std::uint16_t>("S", {65535}), text_field(5), {"65535"});
  add("int32", elements<std::int32_t>("i", {-1, 7}, bitmap("01")), type_of(ZVRT_KIND_ZONED, 2), {"~", "\xF0\xC7"});
  add("uint32", elements<std::uint32_t>("I", {4294967295U}), text_field(10), {"4294967295"});
  add("int64", elements<std::int64_t>("l", {INT64_MIN}), text_field(20), {"-9223372036854775808"});
  add("uint64", elements<std::uint64_t>("L", {UINT64_MAX}), text_field(20), {"18446744073709551615"});
  add("float", elements<float>("f", {0.1F}), text_field(4), {"0.1 "});
  add("double", elements<double>("g", {0.1, -2.5e300}), text_field(9), {"0.1      ", "-2.5e+300"});
  add("decimal128", elements<Int128>("d:5,2", {-12345, 6}), text_field(7), {"-123.45", "0.06   "});
  add("decimal128, scale below 0", elements<Int128>("d:5,-2", {3}), text_field(3), {"300"});
  add("decimal256",
      elements<std::array<std::int64_t, 4>>("d:40,2,256", {native({-150, -1, -1, -1}), native({0, 0, 1, 0})}),
      text_field(5), {"-1.50", "~"});
  add("decimal32", elements<std::int32_t>("d:5,2,32", {12345}), text_field(6), {"123.45"});
  add("decimal64", elements<std::int64_t>("d:5,1,64", {-5}), text_field(4), {"-0.5"});
  return rows;
}

std::vector<TypeRow> date_rows() {
  std::vector<TypeRow> rows;
  const auto add = [&rows](const char* name, Column values, const ZVRTType& field, std::vector<std::string> expected,
                           std::uint32_t options = 0) {
    rows.push_back({name, std::move(values), field, std::move(expected), options});
  };
  constexpr std::int64_t day = 86'400;
  add("date32", elements<std::int32_t>("tdD", {-1, 19'782}), date_field(), {"1969-12-31", "2024-02-29"});
  add("date64", elements<std::int64_t>("tdm", {-day * 1000, 5, INT64_MAX}), date_field(), {"1969-12-31", "~", "~"});
  add("date64, cut", elements<std::int64_t>("tdm", {-1}), date_field(), {"1969-12-31"}, ZVRT_PLAN_CUT_FRACTION);
  add("time32[s]", elements<std::int32_t>("tts", {3661, 86'400, -1}), time_field(), {"01:01:01", "~", "~"});
  add("time32[ms]", elements<std::int32_t>("ttm", {3'661'000, 1}), time_field(), {"01:01:01", "~"});
  add("time64[us]", elements<std::int64_t>("ttu", {86'399'000'000}), time_field(), {"23:59:59"});
  add("time64[ns]", elements<std::int64_t>("ttn", {1'000'000'001}), time_field(), {"00:00:01"}, ZVRT_PLAN_CUT_FRACTION);
  const std::string before = "1969-12-31 23:59:59.000000";
  add("timestamp[s]", elements<std::int64_t>("tss:", {-1, INT64_MAX, -62'135'596'801}), timestamp_field(),
      {before, "~", "~"});
  add("timestamp[s], the ends", elements<std::int64_t>("tss:", {-62'135'596'800, 253'402'300'799}), timestamp_field(),
      {"0001-01-01 00:00:00.000000", "9999-12-31 23:59:59.000000"});
  add("timestamp[ms]", elements<std::int64_t>("tsm:", {-1}), timestamp_field(), {"1969-12-31 23:59:59.999000"});
  add("timestamp[us]", elements<std::int64_t>("tsu:", {1}), timestamp_field(), {"1970-01-01 00:00:00.000001"});
  add("timestamp[ns]", elements<std::int64_t>("tsn:", {1000, 1}), timestamp_field(),
      {"1970-01-01 00:00:00.000001", "~"});
  add("timestamp[ns], cut", elements<std::int64_t>("tsn:", {1999}), timestamp_field(), {"1970-01-01 00:00:00.000001"},
      ZVRT_PLAN_CUT_FRACTION);
  add("zoned, as UTC", elements<std::int64_t>("tss:Europe/Berlin", {-1}), timestamp_field(), {before},
      ZVRT_PLAN_ZONED_TIME_AS_UTC);
  return rows;
}

std::vector<TypeRow> text_rows() {
  std::vector<TypeRow> rows;
  const auto add = [&rows](const char* name, Column values, const ZVRTType& field, std::vector<std::string> expected,
                           std::uint32_t options = 0) {
    rows.push_back({name, std::move(values), field, std::move(expected), options});
  };
  const std::string long_text = "longer than a view";
  add("utf8", texts("u", {2, 2, 5}, "??abc"), text_field(3), {"   ", "abc"});
  add("utf8, all empty", column("u", 2, {std::nullopt, bytes_of<std::int32_t>({7, 7, 7}), std::nullopt}), text_field(1),
      {" ", " "});
  add("utf8 to a page", texts("u", {0, 3}, "A\xC3\xA9"), on_page(text_field(2), 37), {"\xC1\x51"});
  add("large_utf8", column("U", 1, {bitmap("1"), bytes_of<std::int64_t>({1, 3}), "?ab"}), text_field(2), {"ab"});
  add("utf8 that does not fit", texts("u", {0, 3}, "abc"), text_field(2), {"~"});
  add("views",
      column("vu", 3,
             {bitmap("101"), view("short") + view("null") + view(long_text, 2), "??" + long_text,
              bytes_of<std::int64_t>({20})}),
      text_field(18), {"short             ", "~", long_text});
  add("binary", texts("z", {0, 2}, "\x12\x3C"), type_of(ZVRT_KIND_BYTES, 3), {std::string("\x12\x3C\0", 3)});
  add("large_binary", column("Z", 1, {std::nullopt, bytes_of<std::int64_t>({0, 1}), "\x12"}),
      type_of(ZVRT_KIND_BYTES, 1), {"\x12"});
  add("fixed binary", column("w:2", 2, {std::nullopt, "abcd"}), type_of(ZVRT_KIND_BYTES, 2), {"ab", "cd"});
  add("binary views", column("vz", 1, {std::nullopt, view("xyz"), bytes_of<std::int64_t>({})}),
      type_of(ZVRT_KIND_BYTES, 3), {"xyz"});
  add("dictionary of texts",
      dictionary(column("c", 4, {bitmap("1101"), bytes_of<std::int8_t>({1, 0, 99, 2})}),
                 column("u", 3, {bitmap("110"), bytes_of<std::int32_t>({0, 1, 3, 3}), "abb"})),
      text_field(2), {"bb", "a ", "~", "~"});
  add("dictionary of numbers, sliced",
      dictionary(column("I", 2, {std::nullopt, bytes_of<std::uint32_t>({9, 1, 0})}, 1),
                 column("s", 2, {std::nullopt, bytes_of<std::int16_t>({7, 8, 9})}, 1)),
      text_field(1), {"9", "8"});
  add("dictionary of booleans",
      dictionary(elements<std::uint8_t>("C", {0, 1}), column("b", 2, {std::nullopt, bitmap("10")})), text_field(5),
      {"true ", "false"});
  return rows;
}

TEST(ArrowToRecords, EveryType) {
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  for (auto* const list : {&number_rows, &date_rows, &text_rows}) {
    for (TypeRow& row : list()) {
      const auto rows = static_cast<std::int64_t>(row.expected.size());
      const Column table = table_of(std::move(row.column), rows);
      const TestField field{"C", row.field};
      const Imported imported = import(*table, field, row.field.length, row.options);
      EXPECT_EQ(imported.status, ZVRT_RC_OK) << row.name;
      EXPECT_EQ(imported.fields, row.expected) << row.name;
      const auto refused = std::count(row.expected.begin(), row.expected.end(), "~");
      EXPECT_EQ(imported.outcome.refused, refused) << row.name;
      EXPECT_EQ(imported.outcome.done, rows) << row.name;
      EXPECT_EQ(imported.outcome.firstRefused >= 0, refused > 0) << row.name;
    }
  }
  EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
}

// Rows of the struct that are null, the struct's offset, the columns' own, bitmaps that begin within a byte.
TEST(ArrowToRecords, SlicesAndNullsOfWholeRows) {
  constexpr std::int64_t rows = 600;
  std::mt19937 random(1);
  for (const std::int64_t offset : {0, 1, 9, 64}) {
    for (const std::int64_t own : {0, 3}) {
      std::string row_bits, column_bits;
      std::vector<std::int32_t> values, offsets{0};
      std::string text;
      for (std::int64_t i = 0; i < rows; ++i) {
        row_bits += random() % 8 == 0 ? '0' : '1';
        column_bits += random() % 4 == 0 ? '0' : '1';
        values.push_back(static_cast<std::int32_t>(random() % 1000));
        text += std::to_string(values.back());
        offsets.push_back(static_cast<std::int32_t>(text.size()));
      }
      const std::int64_t length = rows - offset - own;
      for (const bool is_text : {false, true}) {
        const Buffers buffers = is_text ? Buffers{bitmap(column_bits), bytes_of(offsets), text}
                                        : Buffers{bitmap(column_bits), bytes_of(values)};
        Column child = column(is_text ? "u" : "i", rows - own, buffers, own);
        const Column table = table_of(std::move(child), length, offset, bitmap(row_bits));
        ZVRTType field = type_of(ZVRT_KIND_CHAR, 3);
        const Imported imported = import(*table, {"C", field, 2, 0}, 5);
        ASSERT_EQ(imported.status, ZVRT_RC_OK);
        for (std::size_t i = 0; i < imported.fields.size(); ++i) {
          const auto in_struct = i + static_cast<std::size_t>(offset),
                     in_column = in_struct + static_cast<std::size_t>(own);
          std::string expected = std::to_string(values[in_column]);
          expected.resize(3, ' ');
          const bool valid = row_bits[in_struct] == '1' && column_bits[in_column] == '1';
          ASSERT_EQ(imported.fields[i].substr(0, 2), valid ? std::string(2, '\0') : "\xFF\xFF");
          ASSERT_TRUE(!valid || imported.fields[i].substr(2) == expected);
        }
      }
    }
  }
}

TEST(ArrowToRecords, ColumnsAreFoundByName) {
  RecordPlan plan({{"A", text_field(1), 0}, {"B", text_field(1), 1}, {"B", text_field(1), 2}}, 3);
  ASSERT_EQ(plan.status, ZVRT_RC_OK);
  const auto named = [](const char* name, std::int8_t value) {
    return std::make_unique<ForeignArray>("c", name, 1, Buffers{std::nullopt, bytes_of<std::int8_t>({value})});
  };
  ForeignArray table("+s", "", 1, {std::nullopt});
  table.add(named("B", 2)).add(named("A", 1)).add(named("B", 3));
  char record[3] = {};
  ASSERT_EQ(ZVRTArrowToRecords(plan.plan, &table.schema, &table.array, record, nullptr), ZVRT_RC_OK);
  EXPECT_EQ(std::string(record, 3), "123");
  ForeignArray other("+s", "", 1, {std::nullopt});
  other.add(named("B", 2)).add(named("A", 1)).add(named("C", 3));
  EXPECT_EQ(ZVRTArrowToRecords(plan.plan, &other.schema, &other.array, record, nullptr), ZVRT_RC_INVALID_ARROW);
  ForeignArray more("+s", "", 1, {std::nullopt});
  more.add(named("B", 2)).add(named("A", 1)).add(named("B", 3)).add(named("D", 4));
  EXPECT_EQ(ZVRTArrowToRecords(plan.plan, &more.schema, &more.array, record, nullptr), ZVRT_RC_INVALID_ARROW);
  EXPECT_EQ(std::string(record, 3), "123");
}

// One fault each, in a table of two columns that is right without it: a text, and a dictionary of texts or views.
struct Fault {
  const char* name;
  std::function<void(ForeignArray& table)> make;
};

ArrowArray& text_of(ForeignArray& table) { return table.child(0).array; }
ArrowArray& keys_of(ForeignArray& table) { return table.child(1).array; }
ArrowArray& views_of(ForeignArray& table) { return table.child(2).array; }

Column good_table() {
  auto table = std::make_unique<ForeignArray>("+s", "", 2, Buffers{std::nullopt});
  table->add(texts("u", {0, 1, 2}, "ab"));
  table->add(dictionary(elements<std::int8_t>("c", {0, 1}), texts("u", {0, 1, 2}, "cd")));
  const std::string text = "longer than a view";
  table->add(column("vu", 2, {std::nullopt, view("short") + view(text, 1), "?" + text, bytes_of<std::int64_t>({19})}));
  table->schema.children[0]->name = "A";
  table->schema.children[1]->name = "B";
  return table;
}

template <class Element>
void poke(ArrowArray& array, int buffer, std::size_t index, Element value) {
  static_cast<Element*>(const_cast<void*>(array.buffers[buffer]))[index] = value;
}

const Fault faults[] = {
    {"none", nullptr},
    {"released array", [](ForeignArray& t) { t.array.release = nullptr; }},
    {"released schema", [](ForeignArray& t) { t.schema.release = nullptr; }},
    {"released column", [](ForeignArray& t) { text_of(t).release = nullptr; }},
    {"moved column schema", [](ForeignArray& t) { t.schema.children[0]->release = nullptr; }},
    {"released dictionary", [](ForeignArray& t) { keys_of(t).dictionary->release = nullptr; }},
    {"no struct", [](ForeignArray& t) { t.schema.format = "+l"; }},
    {"no format", [](ForeignArray& t) { t.schema.children[0]->format = nullptr; }},
    {"empty format", [](ForeignArray& t) { t.schema.children[0]->format = ""; }},
    {"negative length", [](ForeignArray& t) { t.array.length = -1; }},
    {"negative column length", [](ForeignArray& t) { text_of(t).length = -1; }},
    {"short column", [](ForeignArray& t) { text_of(t).length = 1; }},
    {"negative offset", [](ForeignArray& t) { text_of(t).offset = -1; }},
    {"overflowing offset", [](ForeignArray& t) { text_of(t).offset = INT64_MAX; }},
    {"offset of the struct", [](ForeignArray& t) { t.array.offset = 1; }},
    {"overflowing struct", [](ForeignArray& t) { t.array.offset = INT64_MAX - 1; }},
    {"null count below -1", [](ForeignArray& t) { text_of(t).null_count = -2; }},
    {"null count above length", [](ForeignArray& t) { text_of(t).null_count = 3; }},
    {"nulls without a bitmap", [](ForeignArray& t) { text_of(t).null_count = 1; }},
    {"null rows without a bitmap", [](ForeignArray& t) { t.array.null_count = 1; }},
    {"no buffers", [](ForeignArray& t) { text_of(t).buffers = nullptr; }},
    {"no struct buffers", [](ForeignArray& t) { t.array.buffers = nullptr; }},
    {"too few buffers", [](ForeignArray& t) { text_of(t).n_buffers = 2; }},
    {"too many buffers", [](ForeignArray& t) { text_of(t).n_buffers = 4; }},
    {"negative buffers", [](ForeignArray& t) { text_of(t).n_buffers = -1; }},
    {"struct with buffers", [](ForeignArray& t) { t.array.n_buffers = 2; }},
    {"no offsets", [](ForeignArray& t) { text_of(t).buffers[1] = nullptr; }},
    {"no text", [](ForeignArray& t) { text_of(t).buffers[2] = nullptr; }},
    {"negative first offset", [](ForeignArray& t) { poke<std::int32_t>(text_of(t), 1, 0, -1); }},
    {"decreasing offsets", [](ForeignArray& t) { poke<std::int32_t>(text_of(t), 1, 1, 3); }},
    {"children differ", [](ForeignArray& t) { t.array.n_children = 2; }},
    {"negative children", [](ForeignArray& t) { t.array.n_children = t.schema.n_children = -1; }},
    {"no children", [](ForeignArray& t) { t.array.children = nullptr; }},
    {"no child", [](ForeignArray& t) { t.array.children[1] = nullptr; }},
    {"no child schema", [](ForeignArray& t) { t.schema.children[1] = nullptr; }},
    {"column with children",
     [](ForeignArray& t) {
       text_of(t).n_children = t.schema.children[0]->n_children = 1;
       text_of(t).children = t.array.children;
       t.schema.children[0]->children = t.schema.children;
     }},
    {"children of itself",
     [](ForeignArray& t) {
       t.schema.children[0] = &t.schema;
       t.array.children[0] = &t.array;
     }},
    {"dictionary in the schema alone", [](ForeignArray& t) { keys_of(t).dictionary = nullptr; }},
    {"dictionary in the array alone", [](ForeignArray& t) { t.schema.children[1]->dictionary = nullptr; }},
    {"dictionary of itself",
     [](ForeignArray& t) {
       keys_of(t).dictionary = &keys_of(t);
       t.schema.children[1]->dictionary = t.schema.children[1];
     }},
    {"text as indices", [](ForeignArray& t) { t.schema.children[1]->format = "g"; }},
    {"decimal indices", [](ForeignArray& t) { t.schema.children[1]->format = "d:5,0,32"; }},
    {"negative index", [](ForeignArray& t) { poke<std::int8_t>(keys_of(t), 1, 1, -1); }},
    {"index beyond", [](ForeignArray& t) { poke<std::int8_t>(keys_of(t), 1, 1, 2); }},
    {"no indices", [](ForeignArray& t) { keys_of(t).buffers[1] = nullptr; }},
    {"bad dictionary", [](ForeignArray& t) { poke<std::int32_t>(*keys_of(t).dictionary, 1, 1, 3); }},
    {"view without sizes", [](ForeignArray& t) { views_of(t).buffers[3] = nullptr; }},
    {"view without its buffer", [](ForeignArray& t) { views_of(t).buffers[2] = nullptr; }},
    {"view buffers missing", [](ForeignArray& t) { views_of(t).n_buffers = 2; }},
    {"view of negative length", [](ForeignArray& t) { poke<std::int32_t>(views_of(t), 1, 4, -1); }},
    {"view of another buffer", [](ForeignArray& t) { poke<std::int32_t>(views_of(t), 1, 6, 1); }},
    {"view of a negative buffer", [](ForeignArray& t) { poke<std::int32_t>(views_of(t), 1, 6, -1); }},
    {"view of a negative offset", [](ForeignArray& t) { poke<std::int32_t>(views_of(t), 1, 7, -1); }},
    {"view beyond its buffer", [](ForeignArray& t) { poke<std::int32_t>(views_of(t), 1, 7, 2); }},
};

TEST(ArrowToRecords, NothingOfAMalformedArrayIsFollowed) {
  for (const Fault& fault : faults) {
    const Column table = good_table();
    if (fault.make != nullptr) fault.make(*table);
    const RecordPlan plan({{"A", text_field(1), 0}, {"B", text_field(1), 1}, {"C", text_field(18), 2}}, 20);
    ASSERT_EQ(plan.status, ZVRT_RC_OK);
    GuardedBuffer records(40);
    const std::uint32_t status = ZVRTArrowToRecords(plan.plan, &table->schema, &table->array, records.as<>(), nullptr);
    if (fault.make == nullptr) {
      ASSERT_EQ(status, ZVRT_RC_OK);
      EXPECT_EQ(records.bytes(), "acshort             bdlonger than a view");
      continue;
    }
    EXPECT_EQ(status, ZVRT_RC_INVALID_ARROW) << fault.name;
    EXPECT_TRUE(records.untouched_from(0)) << fault.name;
  }
}

TEST(ArrowToRecords, FormatsThatAreNone) {
  for (const char* format : {"d",          "d:",        "d:5",    "d:5,",      "d:,2",
                             "d:0,0",      "d:39,0",    "d:5,2,", "d:5,2,100", "d:5,2,128x",
                             "d:77,0,256", "d:10,0,32", "d: 5,2", "d:5,99",    "w",
                             "w:",         "w:0",       "w:-1",   "w:1x",      "w:99999999999",
                             "t",          "td",        "tdX",    "tt",        "tsu",
                             "tsx:",       "tDs",       "tiM",    "e",         "v",
                             "vx",         "+s",        "+l",     "+r",        "ll",
                             "x",          " l",        "l "}) {
    Column child = elements<std::int64_t>(format, {0, 0, 0, 0});
    const Column table = table_of(std::move(child), 1);
    EXPECT_EQ(import(*table, {"C", text_field(30)}, 30).status, ZVRT_RC_INVALID_ARROW) << format;
  }
  const Column zoned = table_of(elements<std::int64_t>("tsu:UTC", {0}), 1);
  EXPECT_EQ(import(*zoned, {"C", timestamp_field()}, 26).status, ZVRT_RC_INVALID_ARROW);
  const Column date = table_of(elements<std::int32_t>("tdD", {0}), 1);
  EXPECT_EQ(import(*date, {"C", type_of(ZVRT_KIND_FLOAT, 8)}, 8).status, ZVRT_RC_INVALID_PAIR);
}

// Every kind of field, to an array and back: the same bytes.
TEST(RecordsToArrowToRecords, TheSameBytes) {
  const wchar_t* const model = L"%YYYY%MM%DD";
  const std::vector<TestField> fields = {
      {"PACKED", decimal_of(ZVRT_KIND_PACKED, 4, 7, 2), 2, 0},
      {"ZONED", type_of(ZVRT_KIND_ZONED, 3), 6},
      {"TEXT", on_page(type_of(ZVRT_KIND_CHAR, 4, ZVRT_TYPE_TRIM), 37), 9},
      {"INT", type_of(ZVRT_KIND_INT, 4, ZVRT_TYPE_BIG_ENDIAN), 13},
      {"DATE", with_model(type_of(ZVRT_KIND_PACKED, 5), model), 17},
      {"FLOAT", type_of(ZVRT_KIND_FLOAT, 8), 22},
      {"BYTES", type_of(ZVRT_KIND_BYTES, 2), 30},
      {"HEX", type_of(ZVRT_KIND_HEX_FLOAT, 4), 32},
  };
  constexpr std::size_t bytes = 36, rows = 700;
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  {
    RecordPlan plan(fields, bytes);
    ASSERT_EQ(plan.status, ZVRT_RC_OK) << plan.why.text;
    std::mt19937 random(2);
    const auto digit = [&random] { return static_cast<int>(random() % 10); };
    std::string records;
    for (std::size_t row = 0; row < rows; ++row) {
      std::string one(bytes, '\0');
      for (std::size_t i : {2U, 3U, 4U}) one[i] = static_cast<char>(digit() << 4 | digit());
      one[5] = static_cast<char>(digit() << 4 | (random() % 2 == 0 ? 0xC : 0xD));
      one.replace(
          6, 3,
          {static_cast<char>(0xF0 | digit()), static_cast<char>(0xF0 | digit()), static_cast<char>(0xC0 | digit())});
      for (std::size_t i = 9; i < 13; ++i) one[i] = static_cast<char>(i < 9 + row % 5 ? 0xC1 + digit() % 9 : 0x40);
      for (std::size_t i = 13; i < 17; ++i) one[i] = static_cast<char>(random());
      one.replace(17, 5, std::string("\x02\x02\x41\x22\x9C"));
      const double value = static_cast<double>(random()) / 7;
      std::memcpy(one.data() + 22, &value, sizeof value);
      one[30] = static_cast<char>(random());
      one.replace(32, 4, std::string("\x42\x12\x34") + static_cast<char>(row));
      if (one.substr(2, 4) == std::string("\0\0\0\x0D", 4)) one[5] = '\x0C';
      records += one;
    }
    Released<ArrowSchema> schema;
    Released<ArrowArray> array;
    ASSERT_EQ(ZVRTRecordSchema(plan.plan, &schema.it), ZVRT_RC_OK);
    ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, records.data(), nullptr, rows, &array.it, plan.outcomes.data()),
              ZVRT_RC_OK);
    for (std::size_t i = 0; i < fields.size(); ++i) EXPECT_EQ(plan.outcomes[i].refused, 0) << fields[i].name;
    std::string back(records.size(), '\0');
    ASSERT_EQ(ZVRTArrowToRecords(plan.plan, &schema.it, &array.it, back.data(), plan.outcomes.data()), ZVRT_RC_OK);
    for (std::size_t i = 0; i < fields.size(); ++i) EXPECT_EQ(plan.outcomes[i].refused, 0) << fields[i].name;
    EXPECT_TRUE(back == records);
    // A slice of it: the rows from 300 on.
    array.it.offset = 300;
    array.it.length = rows - 300;
    std::string rest((rows - 300) * bytes, '\0');
    ASSERT_EQ(ZVRTArrowToRecords(plan.plan, &schema.it, &array.it, rest.data(), nullptr), ZVRT_RC_OK);
    EXPECT_TRUE(rest == records.substr(300 * bytes));
  }
  EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
}

TEST(ArrowStructures, NullArguments) {
  const RecordPlan plan({{"A", text_field(1), 0}}, 1);
  Released<ArrowSchema> schema;
  Released<ArrowArray> array;
  char record[1];
  EXPECT_EQ(ZVRTRecordSchema(nullptr, &schema.it), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTRecordSchema(plan.plan, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTRecordsToArrow(nullptr, record, nullptr, 1, &array.it, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTRecordsToArrow(plan.plan, nullptr, nullptr, 1, &array.it, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTRecordsToArrow(plan.plan, record, nullptr, -1, &array.it, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTRecordsToArrow(plan.plan, record, nullptr, 1, nullptr, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(array.it.release, nullptr);
  const Column table = table_of(elements<std::int8_t>("c", {0}), 1);
  EXPECT_EQ(ZVRTArrowToRecords(nullptr, &table->schema, &table->array, record, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTArrowToRecords(plan.plan, nullptr, &table->array, record, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(ZVRTArrowToRecords(plan.plan, &table->schema, nullptr, record, nullptr), ZVRT_RC_ERROR);
  ZVRTRecordPlanDestroy(nullptr);
}

}  // namespace
}  // namespace zvrt_test
