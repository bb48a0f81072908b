// The process around the service: a host that uses ICU for itself, with tables of its own, and one that forks.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unicode/putil.h>
#include <unicode/udata.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "converter_service.h"
#include "icu_reference.h"

namespace {

using zvrt_test::decode;
using zvrt_test::find_converter;
using zvrt_test::IcuReference;

class Host : public zvrt_test::ConverterService {};

// A table under the name of ICU's page 37 in which C1 is Z, which it is not.
void forge_page_37(const std::filesystem::path& folder) {
  const std::filesystem::path tables = folder / U_ICUDATA_NAME;
  std::filesystem::create_directories(tables);
  const std::filesystem::path source = folder / "ibm-37_P100-1995.ucm";
  std::ofstream(source) << "<code_set_name> \"ibm-37_P100-1995\"\n<mb_cur_max> 1\n<mb_cur_min> 1\n"
                           "<uconv_class> \"SBCS\"\n<subchar> \\x6F\nCHARMAP\n"
                           "<U0000> \\x00 |0\n<U003F> \\x6F |0\n<U005A> \\xC1 |0\nEND CHARMAP\n";
  const std::string command = "makeconv --destdir '" + tables.string() + "' '" + source.string() + "' >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "makeconv is not there";
  // The header of a table: its size and two marks, then a structure whose fifth byte is the byte order.
  std::ifstream table(tables / "ibm-37_P100-1995.cnv", std::ios::binary);
  table.seekg(8);
  if (table.get() != U_IS_BIG_ENDIAN) GTEST_SKIP() << "makeconv is another machine's";
}

TEST_F(Host, TablesThatTheEnvironmentNamesAreItsOwn) {
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / ("forged" + std::to_string(getpid()));
  forge_page_37(folder);
  if (IsSkipped()) return;
  ASSERT_EQ(setenv("ICU_DATA", folder.c_str(), 1), 0);
  EXPECT_EQ(decode(find_converter(37), "\xC1").written, U"A");
  EXPECT_EQ(IcuReference("ibm-37").decode("\xC1"), U"Z") << "the forged table is not in effect";
  EXPECT_EQ(decode(find_converter(37), "\xC1").written, U"A");
  EXPECT_EQ(u_getDataDirectory(), folder.string());
  std::filesystem::remove_all(folder);
}

// A child of a process whose other threads look up pages and convert at the moment of the fork does both itself.
TEST_F(Host, AChildOfAProcessWithThreadsConverts) {
  std::atomic<bool> done{false};
  std::thread busy([&] {
    for (std::uint32_t page = 0; !done; page = (page + 1) % 0x10000)
      if (void* const converter = find_converter(page); converter != nullptr) decode(converter, "\x41\x42");
  });
  for (std::uint32_t round = 0; round < 200; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      alarm(10);  // a child that hangs ends by a signal
      void* const converter = find_converter(round % 2 == 0 ? 930 : 1047);
      _exit(converter != nullptr && decode(converter, "\xC1").written == U"A" ? 0 : 1);
    }
    int state = 0;
    ASSERT_EQ(waitpid(child, &state, 0), child);
    EXPECT_EQ(state, 0) << "round " << round;
  }
  done = true;
  busy.join();
}

}  // namespace
