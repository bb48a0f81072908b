#include "records/files/file_roles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "records/files/failure.h"
#include "records/files/work_folder.h"

namespace zvrt::records {
namespace {

namespace fs = std::filesystem;

// What a call says when it fails; empty when it does not.
std::string failure_of(const auto& call) {
  try {
    call();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return {};
}

class Roles : public ::testing::Test {
 protected:
  Roles() {
    folder.write("a", "1");
    fs::create_symlink("a", folder.file("link-to-a"));
    fs::create_hard_link(folder.file("a"), folder.file("hard-a"));
    fs::create_symlink("gone", folder.file("link-to-nothing"));
    fs::create_directory(folder.file("sub"));
    mkfifo(folder.file("pipe").c_str(), 0600);
  }
  testing::WorkFolder folder;
};

TEST_F(Roles, TheSameFileTwiceIsFoundByAnyName) {
  struct Case {
    const char* read;
    const char* written;
    bool same;
  };
  constexpr Case cases[] = {
      {"a", "a", true},         {"a", "./a", true},    {"a", "sub/../a", true}, {"a", "link-to-a", true},
      {"link-to-a", "a", true}, {"a", "hard-a", true}, {"a", "new", false},     {"a", "sub/a", false},
  };
  for (const Case& each : cases) {
    FileRoles roles;
    roles.reads(folder.file(each.read), "one");
    roles.writes(folder.file(each.written), "other", Existing::replace);
    EXPECT_EQ(each.same, !failure_of([&] { roles.check(); }).empty()) << each.read << " and " << each.written;
  }
}

TEST_F(Roles, TwoNewNamesOfOneFileAreTheSame) {
  FileRoles roles;
  roles.writes(folder.file("new"), "the table", Existing::refuse);
  roles.writes(folder.file("sub/../new"), "the rejects", Existing::refuse);
  EXPECT_NE(failure_of([&] { roles.check(); }).find("are the same file"), std::string::npos);
}

TEST_F(Roles, WhatStandsThereDecidesWhatMayBeWritten) {
  struct Case {
    const char* name;
    Existing existing;
    const char* failure;  // a part of it; empty for none
  };
  constexpr Case cases[] = {
      {"new", Existing::refuse, ""},
      {"a", Existing::refuse, "exists already"},
      {"a", Existing::replace, ""},
      {"a", Existing::append, ""},
      {"link-to-a", Existing::refuse, "exists already"},
      {"link-to-a", Existing::replace, ""},
      {"link-to-nothing", Existing::replace, "a link to a file that does not exist"},
      {"sub", Existing::replace, "a folder"},
      {"pipe", Existing::replace, "a pipe"},
      {"no/such/folder", Existing::refuse, "No such file or directory"},
      {"a/b", Existing::refuse, "Not a directory"},
  };
  for (const Case& each : cases) {
    FileRoles roles;
    const std::string failure = failure_of([&] { roles.writes(folder.file(each.name), "it", each.existing); });
    EXPECT_EQ(failure.empty(), *each.failure == '\0') << each.name << ": " << failure;
    EXPECT_NE(failure.find(each.failure), std::string::npos) << each.name << ": " << failure;
  }
  EXPECT_NE(failure_of([] { check_place("/dev/null", Existing::replace); }).find("a device"), std::string::npos);
  EXPECT_FALSE(failure_of([] { check_place("", Existing::replace); }).empty());
}

TEST_F(Roles, AFreeNameIsNumbered) {
  folder.write("x.dat.rejects.csv", "");
  EXPECT_EQ(free_name(folder.file("y.csv")), folder.file("y.csv"));
  EXPECT_EQ(free_name(folder.file("x.dat.rejects.csv")), folder.file("x.dat.rejects.2.csv"));
  folder.write("x.dat.rejects.2.csv", "");
  EXPECT_EQ(free_name(folder.file("x.dat.rejects.csv")), folder.file("x.dat.rejects.3.csv"));
}

}  // namespace
}  // namespace zvrt::records
