// Records to Arrow arrays: which type a field's column has, what stands in it, and who owns it.
#include <thread>

#include "columns/foreign_array.h"
#include "columns/record_plans.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

struct ColumnRow {
  const char* name;
  ZVRTType type;
  std::uint32_t column;
  const char* format;  // null where there is no such column
};

std::vector<ColumnRow> column_rows() {
  const auto any = [](std::uint32_t kind, std::int32_t length, const char* format) {
    return ColumnRow{format, type_of(kind, length), ZVRT_COLUMN_DEFAULT, format};
  };
  const wchar_t* const date = L"%YYYY-%MM-%DD";
  const wchar_t* const time = L"%HH24:%MI:%SS";
  const wchar_t* const both = L"%YYYY-%MM-%DD %HH24:%MI:%SS";
  return {
      any(ZVRT_KIND_CHAR, 5, "u"),
      any(ZVRT_KIND_VARCHAR, 5, "u"),
      any(ZVRT_KIND_WCHAR, 8, "u"),
      any(ZVRT_KIND_UTF16_SZ, 8, "u"),
      {"large", type_of(ZVRT_KIND_CHAR, 5), ZVRT_COLUMN_LARGE_UTF8, "U"},
      {"large number", type_of(ZVRT_KIND_INT, 4), ZVRT_COLUMN_LARGE_UTF8, nullptr},
      any(ZVRT_KIND_BYTES, 5, "z"),
      {"any bytes", type_of(ZVRT_KIND_PACKED, 5), ZVRT_COLUMN_BINARY, "z"},
      any(ZVRT_KIND_BOOL, 0, "b"),
      {"no double of a text", type_of(ZVRT_KIND_CHAR, 5), ZVRT_COLUMN_DOUBLE, nullptr},
      any(ZVRT_KIND_INT, 1, "c"),
      any(ZVRT_KIND_INT, 2, "s"),
      any(ZVRT_KIND_INT, 4, "i"),
      any(ZVRT_KIND_INT, 8, "l"),
      any(ZVRT_KIND_UINT, 1, "C"),
      any(ZVRT_KIND_UINT, 2, "S"),
      any(ZVRT_KIND_UINT, 4, "I"),
      any(ZVRT_KIND_UINT, 8, "L"),
      {"scaled integer", decimal_of(ZVRT_KIND_INT, 4, 0, 2), 0, "d:10,2"},
      {"scaled unsigned", decimal_of(ZVRT_KIND_UINT, 8, 0, 2), 0, "d:20,2"},
      {"integer as decimal", type_of(ZVRT_KIND_INT, 2), ZVRT_COLUMN_DECIMAL128, "d:5,0"},
      {"integer as double", type_of(ZVRT_KIND_INT, 2), ZVRT_COLUMN_DOUBLE, "g"},
      {"packed, 17 digits", type_of(ZVRT_KIND_PACKED, 9), 0, "l"},
      {"packed, 19 digits", type_of(ZVRT_KIND_PACKED, 10), 0, "d:19,0"},
      {"packed, 18 of 19", decimal_of(ZVRT_KIND_PACKED, 10, 18, 0), 0, "l"},
      {"packed, scaled", decimal_of(ZVRT_KIND_PACKED, 5, 9, 2), 0, "d:9,2"},
      {"packed, 39 digits", type_of(ZVRT_KIND_PACKED, 20), 0, "d:38,0"},
      {"zeros after the digits", decimal_of(ZVRT_KIND_PACKED, 2, 3, -3), 0, "l"},
      {"many zeros after them", decimal_of(ZVRT_KIND_PACKED, 9, 17, -3), 0, "d:20,0"},
      {"zeros before the digits", decimal_of(ZVRT_KIND_ZONED, 3, 3, 6), 0, "d:6,6"},
      {"zoned, separate sign", type_of(ZVRT_KIND_ZONED, 19, ZVRT_TYPE_SIGN_SEPARATE), 0, "l"},
      any(ZVRT_KIND_FLOAT, 4, "f"),
      any(ZVRT_KIND_FLOAT, 8, "g"),
      any(ZVRT_KIND_HEX_FLOAT, 4, "g"),
      {"no decimal of a float", type_of(ZVRT_KIND_FLOAT, 8), ZVRT_COLUMN_DECIMAL128, nullptr},
      any(ZVRT_KIND_VARNUM, 22, "u"),
      {"declared base-100", decimal_of(ZVRT_KIND_VARNUM, 22, 10, 2), 0, "d:10,2"},
      {"decimal", decimal_of(ZVRT_KIND_DECIMAL, 0, 12, 3), 0, "d:12,3"},
      any(ZVRT_KIND_DATE, 0, "tdD"),
      any(ZVRT_KIND_CLI_DATE, 0, "tdD"),
      any(ZVRT_KIND_DAYS, 0, "tdD"),
      any(ZVRT_KIND_TIME, 0, "ttu"),
      any(ZVRT_KIND_TIMESTAMP, 0, "tsu:"),
      any(ZVRT_KIND_CLI_TIMESTAMP, 0, "tsu:"),
      any(ZVRT_KIND_MICROS, 0, "tsu:"),
      {"date in text", with_model(type_of(ZVRT_KIND_CHAR, 10), date), 0, "tdD"},
      {"time in text", with_model(type_of(ZVRT_KIND_CHAR, 8), time), 0, "ttu"},
      {"timestamp in text", with_model(type_of(ZVRT_KIND_CHAR, 19), both), 0, "tsu:"},
      {"date in digits", with_model(type_of(ZVRT_KIND_PACKED, 5), L"%YYYY%MM%DD"), 0, "tdD"},
  };
}

TEST(ArrowSchemas, OneTypeForEveryField) {
  for (const ColumnRow& row : column_rows()) {
    const RecordPlan plan({{"COLUMN", row.type, 0, -1, row.column}}, 64);
    if (row.format == nullptr) {
      EXPECT_EQ(plan.status, ZVRT_RC_INVALID_PAIR) << row.name;
      EXPECT_EQ(plan.plan, nullptr);
      EXPECT_EQ(plan.why.field, 0);
      continue;
    }
    ASSERT_EQ(plan.status, ZVRT_RC_OK) << row.name << plan.why.text;
    Released<ArrowSchema> schema;
    ASSERT_EQ(ZVRTRecordSchema(plan.plan, &schema.it), ZVRT_RC_OK);
    EXPECT_STREQ(schema.it.format, "+s");
    ASSERT_EQ(schema.it.n_children, 1);
    EXPECT_STREQ(schema.it.children[0]->format, row.format) << row.name;
    EXPECT_STREQ(schema.it.children[0]->name, "COLUMN");
    EXPECT_EQ(schema.it.children[0]->flags, ARROW_FLAG_NULLABLE);
  }
}

// Two fields and an indicator: a packed amount at 0, its indicator at 3, a text at 5.
const std::vector<TestField> amount_and_text = {
    {"AMOUNT", decimal_of(ZVRT_KIND_PACKED, 3, 5, 2), 0, 3},
    {"TEXT", type_of(ZVRT_KIND_CHAR, 4, ZVRT_TYPE_TRIM), 5},
};
constexpr std::int32_t record_bytes = 9;
const std::string null_indicator = "\xFF\xFF", no_indicator{"\0\0", 2};

std::string record(const std::string& packed, const std::string& indicator, const std::string& text) {
  return packed + indicator + text;
}

TEST(RecordsToArrow, ValuesNullsAndRefusedCells) {
  const RecordPlan plan(amount_and_text, record_bytes);
  ASSERT_EQ(plan.status, ZVRT_RC_OK) << plan.why.text;
  const std::string records = record("\x12\x34\x5C", no_indicator, "ab  ") +
                              record("\x12\x34\x5D", null_indicator, "    ") +
                              record("\x12\x3A\x5C", no_indicator, "\xC3\xA9\xFFx") +
                              record({"\x00\x00\x1D", 3}, no_indicator, "\xE2\x82\xAC ");
  const GuardedBuffer guarded(records.data(), records.size());
  RecordPlan& run = const_cast<RecordPlan&>(plan);
  Released<ArrowArray> array;
  ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, const_cast<GuardedBuffer&>(guarded).as<>(), nullptr, 4, &array.it,
                               run.outcomes.data()),
            ZVRT_RC_OK);
  ASSERT_EQ(array.it.n_children, 2);
  EXPECT_EQ(array.it.length, 4);
  EXPECT_EQ(array.it.null_count, 0);

  const ArrowArray& amounts = *array.it.children[0];
  EXPECT_EQ(amounts.null_count, 2);
  const std::int64_t expected[] = {12345, 0, 0, -1};
  for (std::int64_t row = 0; row < 4; ++row) {
    EXPECT_EQ(is_valid(amounts, row), row == 0 || row == 3) << row;
    EXPECT_EQ((element<Int128>(amounts, row)), expected[row]) << row;
  }
  EXPECT_EQ(run.outcomes[0].nulls, 1);
  EXPECT_EQ(run.outcomes[0].refused, 1);
  EXPECT_EQ(run.outcomes[0].firstRefused, 2);
  EXPECT_EQ(run.outcomes[0].firstStatus, ZVRT_RC_INVALID_DIGIT);

  const ArrowArray& texts = *array.it.children[1];
  EXPECT_EQ(texts.null_count, 1);
  const char* const expected_texts[] = {"ab", "", "", "\xE2\x82\xAC"};
  for (std::int64_t row = 0; row < 4; ++row) {
    EXPECT_EQ(is_valid(texts, row), row != 2) << row;
    EXPECT_EQ(text_at(texts, row), expected_texts[row]) << row;
  }
  EXPECT_EQ(run.outcomes[1].empty, 1);
  EXPECT_EQ(run.outcomes[1].firstStatus, ZVRT_RC_MALFORMED_UTF8);
}

// More rows than a block, standing anywhere: the same arrays as those of adjacent records.
TEST(RecordsToArrow, ScatteredRecords) {
  constexpr std::int64_t rows = 1000;
  RecordPlan plan(amount_and_text, record_bytes);
  ASSERT_EQ(plan.status, ZVRT_RC_OK) << plan.why.text;
  std::string adjacent, scattered(rows * 16, '\xEE');
  std::vector<std::int64_t> starts;
  for (std::int64_t row = 0; row < rows; ++row) {
    char text[8];
    std::snprintf(text, sizeof text, "%-4d", static_cast<int>(row));
    const std::string packed = {static_cast<char>(row % 10 * 16 + 1), 0x23, row % 7 == 0 ? '\x4D' : '\x4C'};
    const std::string one = record(packed, row % 5 == 0 ? null_indicator : no_indicator, text);
    adjacent += one;
    starts.push_back((rows - 1 - row) * 16 + 3);
    scattered.replace(static_cast<std::size_t>(starts.back()), one.size(), one);
  }
  Released<ArrowArray> first, second;
  ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, adjacent.data(), nullptr, rows, &first.it, nullptr), ZVRT_RC_OK);
  ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, scattered.data(), starts.data(), rows, &second.it, nullptr), ZVRT_RC_OK);
  EXPECT_EQ(first.it.children[0]->null_count, rows / 5);
  EXPECT_EQ(second.it.children[0]->null_count, rows / 5);
  for (std::int64_t row = 0; row < rows; ++row) {
    ASSERT_EQ(is_valid(*first.it.children[0], row), row % 5 != 0);
    ASSERT_EQ(is_valid(*second.it.children[0], row), row % 5 != 0);
    ASSERT_EQ((element<Int128>(*first.it.children[0], row)), (element<Int128>(*second.it.children[0], row)));
    ASSERT_EQ(text_at(*first.it.children[1], row), std::to_string(row));
    ASSERT_EQ(text_at(*second.it.children[1], row), std::to_string(row));
  }
}

TEST(RecordsToArrow, BooleansTimesAndBytes) {
  const RecordPlan plan({{"BOOL", type_of(ZVRT_KIND_BOOL), 0},
                         {"TIME", type_of(ZVRT_KIND_TIME), 1},
                         {"BYTES", type_of(ZVRT_KIND_PACKED, 2), 7, -1, ZVRT_COLUMN_BINARY}},
                        9);
  ASSERT_EQ(plan.status, ZVRT_RC_OK) << plan.why.text;
  std::string records;
  for (int row = 0; row < 300; ++row) {
    const ZVRTTime time = {static_cast<std::uint16_t>(row % 24), static_cast<std::uint16_t>(row % 60), 59};
    records += static_cast<char>(row % 3 == 2 ? 2 : row % 3);
    records.append(reinterpret_cast<const char*>(&time), sizeof time).append("\xAB").append(1, static_cast<char>(row));
  }
  Released<ArrowArray> array;
  ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, records.data(), nullptr, 300, &array.it, nullptr), ZVRT_RC_OK);
  for (std::int64_t row = 0; row < 300; ++row) {
    const unsigned bit = element<std::uint8_t>(*array.it.children[0], row / 8) >> (row % 8) & 1U;
    ASSERT_EQ(bit, row % 3 == 1 ? 1U : 0U);
    ASSERT_EQ(is_valid(*array.it.children[0], row), row % 3 != 2);
    ASSERT_EQ(element<std::int64_t>(*array.it.children[1], row), ((row % 24 * 60 + row % 60) * 60 + 59) * 1'000'000);
    ASSERT_EQ(text_at(*array.it.children[2], row), std::string({'\xAB', static_cast<char>(row)}));
  }
}

// Rows of any text, of nothing but nulls, and no rows at all.
TEST(RecordsToArrow, EmptyArrays) {
  RecordPlan plan(amount_and_text, record_bytes);
  Released<ArrowArray> none;
  ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, nullptr, nullptr, 0, &none.it, plan.outcomes.data()), ZVRT_RC_OK);
  EXPECT_EQ(none.it.length, 0);
  EXPECT_EQ(element<std::int32_t>(*none.it.children[1], 0), 0);
  EXPECT_EQ(plan.outcomes[0].done, 0);
  const RecordPlan no_fields({}, 1);
  ASSERT_EQ(no_fields.status, ZVRT_RC_OK);
  Released<ArrowArray> empty;
  Released<ArrowSchema> schema;
  ASSERT_EQ(ZVRTRecordSchema(no_fields.plan, &schema.it), ZVRT_RC_OK);
  ASSERT_EQ(ZVRTRecordsToArrow(no_fields.plan, "abc", nullptr, 3, &empty.it, nullptr), ZVRT_RC_OK);
  EXPECT_EQ(empty.it.length, 3);
  EXPECT_EQ(empty.it.n_children, 0);
}

// What was moved out lives on, whoever releases it and when; plan and records are long gone.
TEST(RecordsToArrow, ChildrenAreMovedOutAndReleasedOnOtherThreads) {
  ArrowArray array{}, text{};
  ArrowSchema schema{}, amount{};
  {
    const RecordPlan plan(amount_and_text, record_bytes);
    const std::string records = record("\x12\x34\x5C", no_indicator, "abcd");
    ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, records.data(), nullptr, 1, &array, nullptr), ZVRT_RC_OK);
    ASSERT_EQ(ZVRTRecordSchema(plan.plan, &schema), ZVRT_RC_OK);
  }
  text = *array.children[1];
  array.children[1]->release = nullptr;
  amount = *schema.children[0];
  schema.children[0]->release = nullptr;
  std::thread([&] {
    array.release(&array);
    schema.release(&schema);
  }).join();
  EXPECT_EQ(array.release, nullptr);
  EXPECT_EQ(schema.release, nullptr);
  EXPECT_EQ(text_at(text, 0), "abcd");
  EXPECT_STREQ(amount.name, "AMOUNT");
  EXPECT_STREQ(amount.format, "d:5,2");
  text.release(&text);
  amount.release(&amount);
  EXPECT_EQ(text.release, nullptr);
}

TEST(RecordPlans, WhatIsRefused) {
  const ZVRTType good = type_of(ZVRT_KIND_CHAR, 4);
  const struct {
    const char* name;
    TestField field;
    std::int32_t record_bytes;
    std::uint32_t options, status;
  } rows[] = {
      {"fits", {"A", good, 4}, 8, 0, ZVRT_RC_OK},
      {"beyond the record", {"A", good, 5}, 8, 0, ZVRT_RC_INVALID_TYPE},
      {"before the record", {"A", good, -1}, 8, 0, ZVRT_RC_INVALID_TYPE},
      {"indicator fits", {"A", good, 0, 6}, 8, 0, ZVRT_RC_OK},
      {"indicator beyond", {"A", good, 0, 7}, 8, 0, ZVRT_RC_INVALID_TYPE},
      {"no such kind", {"A", type_of(99, 4)}, 8, 0, ZVRT_RC_INVALID_TYPE},
      {"no such column", {"A", good, 0, -1, 99}, 8, 0, ZVRT_RC_INVALID_PAIR},
      {"odd integer", {"A", type_of(ZVRT_KIND_INT, 3)}, 8, 0, ZVRT_RC_INVALID_TYPE},
      {"single calls", {"A", good}, 8, ZVRT_PLAN_AS_SINGLE_CALL, ZVRT_RC_INVALID_PAIR},
      {"options of others", {"A", good}, 8, ZVRT_PLAN_ROUND_HALF_EVEN | ZVRT_PLAN_EXACT_FLOAT, ZVRT_RC_OK},
      {"unknown option", {"A", good}, 8, 0x80000000, ZVRT_RC_INVALID_PAIR},
      {"no record", {"A", good}, 0, 0, ZVRT_RC_ERROR},
  };
  for (const auto& row : rows) {
    const RecordPlan plan({row.field}, row.record_bytes, row.options);
    EXPECT_EQ(plan.status, row.status) << row.name << ": " << plan.why.text;
    EXPECT_EQ(plan.plan == nullptr, row.status != ZVRT_RC_OK) << row.name;
    EXPECT_EQ(plan.why.text[0] == '\0', row.status == ZVRT_RC_OK) << row.name;
  }
}

}  // namespace
}  // namespace zvrt_test
