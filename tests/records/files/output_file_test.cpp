#include "records/files/output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "records/files/failure.h"
#include "records/files/work_folder.h"

namespace zvrt::records {
namespace {

namespace fs = std::filesystem;
using Content = std::map<std::string, std::string>;

struct Output : public ::testing::Test {
  testing::WorkFolder folder;
  std::string out = folder.file("out");
};

TEST_F(Output, StandsUnderItsNameOnlyWhenCommitted) {
  {
    RegularOutput file(out, Existing::refuse);
    file.write("abc");
    file.finish();
    EXPECT_EQ(folder.content(), (Content{{".out.zvrt-tmp", "abc"}}));
    file.commit();
    EXPECT_EQ(folder.content(), (Content{{"out", "abc"}}));
  }
  EXPECT_EQ(folder.content(), (Content{{"out", "abc"}}));
}

TEST_F(Output, WithoutCommitWhatWasThereStays) {
  folder.write("out", "old");
  {
    RegularOutput file(out, Existing::replace);
    file.write("new");
    file.finish();
  }
  EXPECT_EQ(folder.content(), (Content{{"out", "old"}}));
}

TEST_F(Output, AppendIsACopyAndMore) {
  folder.write("out", "old");
  RegularOutput file(out, Existing::append);
  EXPECT_EQ(file.copied(), 3U);
  file.write("+new");
  EXPECT_EQ(folder.read("out"), "old");
  file.commit();
  EXPECT_EQ(folder.content(), (Content{{"out", "old+new"}}));
}

TEST_F(Output, AFileThatCameUpMeanwhileIsNotReplaced) {
  RegularOutput file(out, Existing::refuse);
  file.write("new");
  folder.write("out", "of someone else");
  EXPECT_THROW(file.commit(), Failure);
  EXPECT_EQ(folder.read("out"), "of someone else");
}

TEST_F(Output, LeftOversOfAKilledRunGo) {
  folder.write(".out.zvrt-tmp", "half a fi");
  RegularOutput file(out, Existing::refuse);
  file.write("whole");
  file.commit();
  EXPECT_EQ(folder.content(), (Content{{"out", "whole"}}));
}

TEST_F(Output, ARunThatStillWritesIsLeftAlone) {
  RegularOutput first(out, Existing::refuse);
  first.write("first");
  EXPECT_THROW(RegularOutput(out, Existing::refuse), Failure);
  first.commit();
  EXPECT_EQ(folder.content(), (Content{{"out", "first"}}));
}

TEST_F(Output, ALinkAtTheTemporarysNameIsNotFollowed) {
  const std::string precious = folder.write("precious", "precious");
  fs::create_symlink("precious", folder.file(".out.zvrt-tmp"));
  EXPECT_THROW(RegularOutput(out, Existing::refuse), Failure);
  EXPECT_EQ(folder.read("precious"), "precious");
}

TEST_F(Output, ALinkGoesOnPointingToWhatIsWritten) {
  fs::create_directory(folder.file("sub"));
  folder.write("sub/real", "old");
  fs::create_symlink("sub/real", out);
  RegularOutput file(out, Existing::replace);
  file.write("new");
  file.commit();
  EXPECT_EQ(folder.content(), (Content{{"out", "a link"}, {"sub", "a folder"}, {"sub/real", "new"}}));
}

TEST_F(Output, PermissionsOfTheOldFileStay) {
  folder.write("out", "old");
  ASSERT_EQ(chmod(out.c_str(), 0640), 0);
  RegularOutput file(out, Existing::replace);
  file.commit();
  struct stat found {};
  ASSERT_EQ(stat(out.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777U, 0640U);
}

TEST_F(Output, LongNamesHaveATemporaryToo) {
  const std::string name(255, 'n');
  RegularOutput file(folder.file(name), Existing::refuse);
  file.write("abc");
  file.commit();
  EXPECT_EQ(folder.content(), (Content{{name, "abc"}}));
}

}  // namespace
}  // namespace zvrt::records
