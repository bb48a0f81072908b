// Damaged files: what is wrong is told with its offset, and every record that is whole still comes.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "records/formats/framer.h"
#include "records/formats/read_all.h"

namespace zvrt::records {
namespace {

std::string record(std::size_t number, std::size_t length) {
  return std::string(length, static_cast<char>('a' + number % 26));
}

struct Built {
  std::string bytes;
  std::vector<std::string> records;
  std::vector<std::size_t> offsets;  // of the length words
};

Built variable_file(std::size_t count, std::mt19937& random) {
  Built built;
  for (std::size_t i = 0; i < count; ++i) {
    built.records.push_back(record(i, 20 + random() % 60));
    built.offsets.push_back(built.bytes.size());
    built.bytes += word_of_length(built.records.back().size(), {}) + built.records.back();
  }
  return built;
}

FormatOptions variable_options(RecordFormat format = RecordFormat::variable) {
  FormatOptions options;
  options.format = format;
  options.least_length = 20;
  options.greatest_length = 80;
  return options;
}

// Every damaged length word costs its own record and no other.
TEST(DamagedRecords, ALengthWordThatIsOverwrittenCostsItsRecordAlone) {
  std::mt19937 random(2);
  const char* const words[] = {"\xFF\xFF\xFF\xFF", "\x40\x40\x40\x40", "\x00\x00\x00\x00", "\x00\x03\x00\x00",
                               "\x00\x22\x00\x00", "\x7F\xF0\x00\x00", "\x01\x00\x00\x00"};
  for (int round = 0; round < 300; ++round) {
    Built built = variable_file(50, random);
    const std::size_t victim = random() % built.records.size();
    const char* const word = words[random() % std::size(words)];
    if (built.bytes.compare(built.offsets[victim], 4, word, 4) == 0) continue;
    built.bytes.replace(built.offsets[victim], 4, word, 4);
    const testing::Found found = testing::read_bytes(built.bytes, variable_options());
    std::size_t missing = 0;
    for (std::size_t i = 0; i < built.records.size(); ++i)
      missing += std::count(found.records.begin(), found.records.end(), built.records[i]) == 0 ? 1U : 0U;
    EXPECT_LE(missing, 1U) << "victim " << victim;
    ASSERT_EQ(found.damages.size(), 1U) << "victim " << victim;
    // A word that says too few bytes makes a short record, and the damage begins after it.
    EXPECT_GE(found.damages[0].offset, built.offsets[victim]);
    EXPECT_LT(found.damages[0].offset, built.offsets[victim] + 4 + built.records[victim].size());
  }
}

TEST(DamagedRecords, TheOffsetAndTheReasonAreTold) {
  using namespace std::string_literals;
  struct Case {
    const char* name;
    RecordFormat format;
    std::string bytes;
    std::vector<std::string> records;
    std::uint64_t offset;
    std::uint64_t length;
    const char* why;
  };
  const Case cases[] = {
      {"F, the last record is cut",
       RecordFormat::fixed,
       "aaabbbc",
       {"aaa", "bbb"},
       6,
       1,
       "the file ends inside a record: 1 of 3 bytes"},
      {"V, the last record is cut",
       RecordFormat::variable,
       "\0\6\0\0ab\0\x9\0\0cd"s,
       {"ab"},
       6,
       6,
       "a length word says 5 bytes, and 2 are left"},
      {"V, the last word is cut",
       RecordFormat::variable,
       "\0\6\0\0ab\0\x9"s,
       {"ab"},
       6,
       2,
       "the file ends inside a length word"},
      {"VB, a block that is none",
       RecordFormat::variable_blocked,
       "????\0\12\0\0\0\6\0\0ab"s,
       {"ab"},
       0,
       4,
       "no block of records stands where one must"},
      {"VB, damage inside a block",
       RecordFormat::variable_blocked,
       "\0\12\0\0\0\6\0\0ab"s + "\0\16\0\0\0\5\0\0c????d"s + "\0\12\0\0\0\6\0\0ef"s,
       {"ab", "c", "ef"},
       19,
       5,
       "no length word stands where one must"},
      {"too short for its header", RecordFormat::fixed, "", {}, 0, 0, ""},
  };
  for (const Case& each : cases) {
    FormatOptions options;
    options.format = each.format;
    options.record_length = 3;
    const testing::Found found = testing::read_bytes(each.bytes, options);
    EXPECT_EQ(found.records, each.records) << each.name;
    ASSERT_EQ(found.damages.size(), *each.why == '\0' ? 0U : 1U) << each.name;
    if (found.damages.empty()) continue;
    EXPECT_EQ(found.damages[0].offset, each.offset) << each.name;
    EXPECT_EQ(found.damages[0].bytes, each.length) << each.name;
    EXPECT_EQ(found.damages[0].why, each.why) << each.name;
  }
}

TEST(DamagedRecords, AFileShorterThanWhatStandsAroundItsRecordsIsDamageAsAWhole) {
  for (const char* const bytes : {"h", "hh", "hhh"}) {
    FormatOptions options;
    options.record_length = 3;
    options.skip_header = 2;
    options.skip_trailer = 2;
    const testing::Found found = testing::read_bytes(bytes, options);
    ASSERT_EQ(found.damages.size(), 1U) << bytes;
    EXPECT_EQ(found.damages[0].offset, 0U) << bytes;
    EXPECT_EQ(found.damages[0].first, bytes);
    EXPECT_TRUE(found.records.empty());
  }
}

// Whatever the bytes are: no byte is lost from the account, and the reader ends.
TEST(DamagedRecords, AnyBytesAreRecordsOrDamage) {
  std::mt19937 random(3);
  for (int round = 0; round < 400; ++round) {
    std::string bytes(random() % 3000, '\0');
    for (char& byte : bytes) byte = random() % 3 == 0 ? static_cast<char>(random() % 40) : '\0';
    for (const RecordFormat format : {RecordFormat::variable, RecordFormat::variable_blocked}) {
      const testing::Found found = testing::read_bytes(bytes, variable_options(format));
      std::size_t known = 0;
      for (const std::string& each : found.records) known += each.size() + 4;
      for (const Damage& each : found.damages) known += each.bytes;
      if (format == RecordFormat::variable)
        EXPECT_EQ(known, bytes.size());
      else
        EXPECT_LE(known, bytes.size());
    }
  }
}

}  // namespace
}  // namespace zvrt::records
