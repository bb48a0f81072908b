// Files of every form are made from the same records, and have to be told apart by their bytes.
#include "records/inspect/inspect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "records/formats/framer.h"

namespace zvrt::records {
namespace {

// Names, digits, a packed number and blanks, in EBCDIC or ASCII.
std::string record(std::mt19937& random, std::size_t length, bool ebcdic, bool packed = true) {
  std::string text;
  for (int i = 0; i < 4; ++i) text += static_cast<char>((ebcdic ? 0xC1 : 'A') + random() % 9);
  for (int i = 0; i < 3; ++i) text += static_cast<char>((ebcdic ? 0xF0 : '0') + random() % 10);
  if (packed) text += {static_cast<char>(random() % 10), static_cast<char>(random() % 10 << 4 | 0xC)};
  text.resize(length, ebcdic ? '\x40' : ' ');
  return text;
}

std::string word(std::size_t length, const LengthWords& words) { return word_of_length(length, words); }

struct Made {
  std::string bytes;
  std::size_t records = 0;
  std::size_t blocks = 0;
};

Made chained(const LengthWords& words, bool blocked, bool blocks_count_themselves, std::size_t header = 0) {
  std::mt19937 random(11);
  Made made;
  std::string block;
  for (std::size_t i = 0; i < 60; ++i) {
    const std::string text = record(random, 20 + random() % 50, true);
    block += std::string(header, '\x11') + word(text.size(), words) + text;
    ++made.records;
    if (i % 7 != 6 && i != 59) continue;
    if (blocked) made.bytes += word(block.size(), {words.big_endian, blocks_count_themselves, 0});
    made.bytes += block;
    block.clear();
    ++made.blocks;
  }
  return made;
}

TEST(Inspect, LengthWordsOfEveryKindAreToldFromTheOthers) {
  for (const bool big : {true, false})
    for (const bool include : {true, false})
      for (const bool blocked : {true, false})
        for (const bool blocks_count : {true, false}) {
          const Made made = chained({big, include, 0}, blocked, blocks_count);
          const FileFindings found = inspect(made.bytes, made.bytes.size());
          ASSERT_FALSE(found.chains.empty());
          const Chain& best = found.chains.front();
          EXPECT_EQ(likely_format(found), blocked ? RecordFormat::variable_blocked : RecordFormat::variable);
          EXPECT_EQ(best.words.big_endian, big);
          EXPECT_EQ(best.words.include_themselves, include);
          EXPECT_EQ(best.records.records, made.records);
          EXPECT_GE(best.records.shortest, 20U);
          EXPECT_LT(best.records.longest, 70U);
          if (!blocked) continue;
          EXPECT_EQ(best.blocks_count_themselves, blocks_count);
          EXPECT_EQ(best.blocks, made.blocks);
        }
}

TEST(Inspect, AChainHasToEndWhereTheFileDoes) {
  const Made made = chained({}, false, true);
  for (const std::size_t cut : {1U, 3U, 9U}) {
    const std::string bytes = made.bytes.substr(0, made.bytes.size() - cut);
    EXPECT_TRUE(inspect(bytes, bytes.size()).chains.empty()) << cut;
    // Unless only the first bytes were looked at.
    const FileFindings first = inspect(bytes, made.bytes.size());
    ASSERT_FALSE(first.chains.empty()) << cut;
    EXPECT_EQ(first.chains.front().records.records, made.records - 1) << cut;
    EXPECT_FALSE(first.whole);
  }
}

TEST(Inspect, BytesBeforeEachRecordAreLeftOut) {
  const Made made = chained({}, false, true, 5);
  EXPECT_TRUE(inspect(made.bytes, made.bytes.size()).chains.empty());
  const FileFindings found = inspect(made.bytes, made.bytes.size(), 5);
  ASSERT_FALSE(found.chains.empty());
  EXPECT_EQ(found.chains.front().records.records, made.records);
}

TEST(Inspect, FixedRecordsShowTheirLengthAndPage) {
  for (const bool ebcdic : {true, false})
    for (const std::size_t length : {17U, 48U, 204U}) {
      std::mt19937 random(12);
      std::string bytes;
      for (int i = 0; i < 60; ++i) bytes += record(random, length, ebcdic);
      const FileFindings found = inspect(bytes, bytes.size());
      EXPECT_EQ(found.coding, ebcdic ? Coding::ebcdic : Coding::ascii);
      EXPECT_GT(ebcdic ? found.ebcdic : found.ascii, 0.8);
      EXPECT_EQ(found.likely_length, length);
      EXPECT_EQ(likely_format(found), RecordFormat::fixed);
      for (const FixedLength& each : found.lengths) EXPECT_EQ(bytes.size() % each.length, 0U);
      const auto divisors = std::count_if(found.lengths.begin(), found.lengths.end(),
                                          [&](const FixedLength& each) { return each.length == length * 6; });
      EXPECT_EQ(divisors, 1);
    }
}

TEST(Inspect, LinesAreTextWithEnds) {
  struct Case {
    bool ebcdic;
    const char* end;
    bool packed;
    bool lines;
  };
  for (const Case& each :
       {Case{false, "\n", false, true}, Case{false, "\r\n", false, true}, Case{true, "\x15", false, true},
        Case{true, "\x25", false, true}, Case{false, "\n", true, false}, Case{true, "\x15", true, false}}) {
    std::mt19937 random(13);
    std::string bytes;
    for (std::size_t i = 0; i < 40; ++i) bytes += record(random, 10 + i, each.ebcdic, each.packed) + each.end;
    const FileFindings found = inspect(bytes, bytes.size());
    EXPECT_EQ(likely_format(found) == RecordFormat::lines, each.lines) << each.end;
    if (!each.lines) continue;
    EXPECT_EQ(found.lines.records, 40U);
    EXPECT_EQ(found.lines.shortest, 10U);
    EXPECT_EQ(found.lines.longest, 49U);
  }
}

// Nothing is said of bytes that say nothing, and no bytes are read beyond.
TEST(Inspect, BytesOfAnyValueAreNothing) {
  std::mt19937 random(14);
  for (std::size_t size = 0; size < 400; ++size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 256);
    const FileFindings found = inspect(bytes, size);
    EXPECT_EQ(found.size, size);
    for (const Chain& chain : found.chains) EXPECT_LE(chain.records.records * 4, size);
  }
  std::string bytes(100000, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() % 256);
  const FileFindings found = inspect(bytes, bytes.size());
  EXPECT_EQ(found.coding, Coding::unknown);
  EXPECT_TRUE(found.chains.empty());
  EXPECT_EQ(found.lines.records, 0U);
  EXPECT_EQ(found.likely_length, 0U);
}

}  // namespace
}  // namespace zvrt::records
