// Every form of record file: what is written is read again, record by record, and with the surroundings kept a second
// writing gives the same bytes.
#include <gtest/gtest.h>

#include <random>

#include "records/formats/read_all.h"
#include "records/formats/written_file.h"

namespace zvrt::records {
namespace {

using testing::written;

struct Form {
  const char* name;
  RecordFormat format;
  LengthWords words;
  std::size_t skip_header;
  std::size_t skip_trailer;
  std::size_t record_header;
  std::size_t block_length;
};

constexpr Form forms[] = {
    {"F", RecordFormat::fixed, {}, 0, 0, 0, 0},
    {"F with headers and a trailer", RecordFormat::fixed, {}, 100, 7, 3, 0},
    {"V", RecordFormat::variable, {}, 0, 0, 0, 0},
    {"V not counting itself", RecordFormat::variable, {true, false, 0}, 0, 0, 0, 0},
    {"V adjusted", RecordFormat::variable, {true, false, -2}, 0, 0, 0, 0},
    {"V little endian", RecordFormat::variable, {false, true, 0}, 0, 0, 0, 0},
    {"V little endian not counting itself", RecordFormat::variable, {false, false, 0}, 0, 0, 0, 0},
    {"V with headers and a trailer", RecordFormat::variable, {}, 5, 9, 2, 0},
    {"VB", RecordFormat::variable_blocked, {}, 0, 0, 0, 32760},
    {"VB of small blocks", RecordFormat::variable_blocked, {}, 0, 0, 0, 700},
    {"VB not counting itself", RecordFormat::variable_blocked, {true, false, 0}, 0, 0, 0, 700},
    {"VB little endian", RecordFormat::variable_blocked, {false, true, 0}, 0, 0, 0, 700},
    {"VB with headers and a trailer", RecordFormat::variable_blocked, {}, 5, 9, 2, 700},
    {"D", RecordFormat::lines, {}, 0, 0, 0, 0},
};

FormatOptions options_of(const Form& form) {
  FormatOptions options;
  options.format = form.format;
  options.words = form.words;
  options.record_length = 120;
  options.skip_header = form.skip_header;
  options.skip_trailer = form.skip_trailer;
  options.record_header = form.record_header;
  options.block_length = form.block_length;
  options.keep_surroundings = true;
  return options;
}

std::vector<std::string> some_records(const Form& form, std::size_t count, std::mt19937& random) {
  std::vector<std::string> records(count);
  for (std::string& record : records) {
    record.resize(form.format == RecordFormat::fixed ? 120 : 1 + random() % 300);
    for (char& byte : record)
      byte = form.format == RecordFormat::lines ? static_cast<char>('a' + random() % 26) : static_cast<char>(random());
  }
  return records;
}

TEST(RecordFormats, WhatIsWrittenIsReadAgain) {
  std::mt19937 random(1);
  for (const Form& form : forms) {
    const FormatOptions options = options_of(form);
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{700}, std::size_t{9000}}) {
      const auto records = some_records(form, count, random);
      const std::string bytes = written(records, options);
      const testing::Found found = testing::read_bytes(bytes, options);
      ASSERT_EQ(found.records.size(), count) << form.name;
      EXPECT_TRUE(found.records == records) << form.name << ", " << count << " records";
      EXPECT_TRUE(found.damages.empty()) << form.name << ": " << found.damages.front().why;
      EXPECT_TRUE(count == 0 || written(found.records, options, &found.surroundings) == bytes)
          << form.name << ": not the same bytes the second time, " << count << " records";
    }
  }
}

TEST(RecordFormats, SurroundingsComeBackAsTheyWere) {
  struct Case {
    const char* name;
    Form form;
    std::string bytes;
    std::vector<std::string> records;
  };
  using namespace std::string_literals;
  const Case cases[] = {
      {"lines of both habits, the last without an end",
       {"", RecordFormat::lines, {}, 0, 0, 0, 0},
       "ab\r\nc\n\nd  "s,
       {"ab", "c", "", "d  "}},
      {"a header, a trailer, a header before each",
       {"", RecordFormat::variable, {}, 2, 3, 1, 0},
       "HH"s + "x\0\6\0\0ab"s + "y\0\5\0\0c"s + "END"s,
       {"ab", "c"}},
      {"blocks of one and two records",
       {"", RecordFormat::variable_blocked, {}, 0, 0, 0, 32760},
       "\0\12\0\0\0\6\0\0ab"s + "\0\16\0\0\0\5\0\0c\0\5\0\0d"s,
       {"ab", "c", "d"}},
  };
  for (const Case& each : cases) {
    FormatOptions options = options_of(each.form);
    for (const std::size_t block : {options.block_bytes, std::size_t{2}}) {
      options.block_bytes = block;
      const testing::Found found = testing::read_bytes(each.bytes, options);
      EXPECT_EQ(found.records, each.records) << each.name << ", blocks of " << block;
      EXPECT_EQ(written(found.records, options, &found.surroundings), each.bytes)
          << each.name << ", blocks of " << block;
    }
  }
}

TEST(RecordFormats, LittleEndianWordsComeInTwoForms) {
  using namespace std::string_literals;
  FormatOptions options;
  options.format = RecordFormat::variable;
  options.words.big_endian = false;
  for (const std::string& bytes : {"\6\0\0\0ab\5\0\0\0c"s, "\0\0\6\0ab\0\0\5\0c"s})
    EXPECT_EQ(testing::read_bytes(bytes, options).records, (std::vector<std::string>{"ab", "c"}));
}

TEST(RecordFormats, RecordsMayTellTheirOwnLength) {
  FormatOptions options;
  options.length_of = [](const char* bytes, std::size_t) {
    const auto length = static_cast<std::size_t>(bytes[0] - '0');
    return std::optional(OwnLength{length, length == 0 ? "a length of 0" : ""});
  };
  const testing::Found found = testing::read_bytes("3ab2c15----0??", options);
  EXPECT_EQ(found.records, (std::vector<std::string>{"3ab", "2c", "1", "5----"}));
  ASSERT_EQ(found.damages.size(), 1U);
  EXPECT_EQ(found.damages[0].offset, 11U);
  EXPECT_EQ(found.damages[0].bytes, 3U);
  EXPECT_EQ(found.damages[0].why, "a length of 0");
}

TEST(RecordFormats, SeveralFilesAreOneAfterTheOther) {
  const testing::WorkFolder folder;
  FormatOptions options;
  options.record_length = 2;
  options.skip_header = 1;
  const testing::Found found =
      testing::read_all({folder.write("a", "-aabb"), folder.write("b", "-"), folder.write("c", "-cc")}, options);
  EXPECT_EQ(found.records, (std::vector<std::string>{"aa", "bb", "cc"}));
}

TEST(RecordFormats, TheNewlineOfAPageIsTheFirstThatIsMet) {
  FormatOptions options;
  options.format = RecordFormat::lines;
  options.newlines = "\x15\x25";
  EXPECT_EQ(testing::read_bytes("ab\x15"
                                "c\x25"
                                "d\x15",
                                options)
                .records,
            (std::vector<std::string>{"ab",
                                      "c\x25"
                                      "d"}));
  EXPECT_EQ(testing::read_bytes("ab\x25"
                                "c\x15"
                                "d",
                                options)
                .records,
            (std::vector<std::string>{"ab",
                                      "c\x15"
                                      "d"}));
}

}  // namespace
}  // namespace zvrt::records
