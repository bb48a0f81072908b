// A stream of Arrow arrays over record files: its arrays, its end, its errors.
#include "records/arrow/record_stream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "columns/record_plans.h"

namespace zvrt_test {
namespace {

using zvrt::records::FormatOptions;
using zvrt::records::RecordFormat;

// Records of 4 bytes: a text and a packed number.
class RecordStream : public testing::Test {
 protected:
  std::string file(const char* name, const std::string& bytes) {
    const std::string path = testing::TempDir() + "record-stream-" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  void open(const std::vector<std::string>& files, FormatOptions options) {
    RecordPlan plan({{"TEXT", type_of(ZVRT_KIND_CHAR, 2), 0}, {"NUMBER", type_of(ZVRT_KIND_PACKED, 2), 2}}, 4);
    ASSERT_EQ(plan.status, ZVRT_RC_OK);
    zvrt::records::RecordPlanHolder holder(std::exchange(plan.plan, nullptr));
    const auto report = [this](const zvrt::records::RecordBlock&, const std::vector<ZVRTOutcome>& outcomes) {
      for (const ZVRTOutcome& outcome : outcomes) refused += outcome.refused;
    };
    zvrt::records::make_record_stream(files, std::move(options), std::move(holder), 2, 4, report, stream);
  }
  void TearDown() override {
    if (stream.release != nullptr) stream.release(&stream);
  }
  // The texts of all arrays; "!", the error number and the sentence where the stream breaks off.
  std::string read_all() {
    std::string texts;
    for (;;) {
      Released<ArrowArray> array;
      const int error = stream.get_next(&stream, &array.it);
      if (error != 0) {
        return texts.append("!").append(std::to_string(error)).append(" ").append(stream.get_last_error(&stream));
      }
      if (array.it.release == nullptr) return texts;
      for (std::int64_t row = 0; row < array.it.length; ++row) texts += text_at(*array.it.children[0], row);
    }
  }
  static FormatOptions fixed() {
    FormatOptions options;
    options.record_length = 4;
    return options;
  }

  ArrowArrayStream stream{};
  std::int64_t refused = 0;
};

TEST_F(RecordStream, FilesOneAfterTheOther) {
  open({file("1",
             "ab\x12\x3C"
             "cd\x12\x3F"),
        file("2", ""), file("3", "ef\xFF\xFF")},
       fixed());
  Released<ArrowSchema> schema;
  ASSERT_EQ(stream.get_schema(&stream, &schema.it), 0);
  EXPECT_STREQ(schema.it.children[1]->format, "l");
  EXPECT_EQ(stream.get_last_error(&stream), nullptr);
  EXPECT_EQ(read_all(), "abcdef");
  EXPECT_EQ(refused, 1);
  EXPECT_EQ(read_all(), "");
}

TEST_F(RecordStream, WithLengthWords) {
  FormatOptions options;
  options.format = RecordFormat::variable;
  open({file("v", std::string("\0\x08\0\0ab\x12\x3C"
                              "\0\x09\0\0cd\x12\x3Cx",
                              17))},
       options);
  EXPECT_EQ(read_all(), "abcd");
}

TEST_F(RecordStream, RecordsThatAreTooShort) {
  FormatOptions options;
  options.format = RecordFormat::variable;
  open({file("short", std::string("\0\x08\0\0ab\x12\x3C"
                                  "\0\x07\0\0cd\x12",
                                  15))},
       options);
  EXPECT_EQ(read_all(), "!22 record 2 has 3 bytes, and the layout needs 4");
}

TEST_F(RecordStream, BytesThatBelongToNone) {
  open({file("rest",
             "ab\x12\x3C"
             "cd")},
       fixed());
  EXPECT_NE(read_all().find("belong to no record"), std::string::npos);
}

TEST_F(RecordStream, NoSuchFile) {
  open({testing::TempDir() + "record-stream-none"}, fixed());
  EXPECT_EQ(read_all().substr(0, 2), "!5");
  stream.release(&stream);
  EXPECT_EQ(stream.release, nullptr);
}

}  // namespace
}  // namespace zvrt_test
