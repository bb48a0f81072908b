// Speed beside peers: zvrt_bench [family] [--benchmark_...]. Without a family, all of them; with one, every contender's
// time is printed besides the ratios.
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "harness.h"

namespace {

struct Family {
  std::string_view name;
  void (*register_comparisons)();
  bool only_by_name = false;
};

constexpr Family families[] = {
    {"text", zvrt_bench::register_text},
    {"counted", zvrt_bench::register_counted},
    {"transforms", zvrt_bench::register_transforms},
    {"code_pages", zvrt_bench::register_code_pages},
    {"integers", zvrt_bench::register_integers},
    {"narrow_numbers", zvrt_bench::register_narrow_numbers},
    {"floats", zvrt_bench::register_floats},
    {"timestamps", zvrt_bench::register_timestamps},
    {"decimals", zvrt_bench::register_decimals},
    {"siblings", zvrt_bench::register_siblings},
    {"plain_loops", zvrt_bench::register_plain_loops, true},  // for the level portable
};

// Registers the family of that name, or all for an empty one.
bool register_families(std::string_view wanted) {
  bool found = false;
  for (const Family& family : families) {
    if (wanted.empty() ? family.only_by_name : family.name != wanted) continue;
    family.register_comparisons();
    found = true;
  }
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "C.UTF-8");  // for the standard library's conversions; ours never looks
  const bool one_family = argc > 1 && argv[1][0] != '-';
  std::string_view wanted = one_family ? argv[1] : "";

  // Short, interleaved and repeated: the least of many is stable on a shared machine. The command line may say
  // otherwise.
  std::vector<std::string> flags = {argv[0], "--benchmark_enable_random_interleaving=true",
                                    "--benchmark_repetitions=25", "--benchmark_min_time=0.01"};
  flags.insert(flags.end(), argv + (one_family ? 2 : 1), argv + argc);
  std::vector<char*> arguments(flags.size());
  std::transform(flags.begin(), flags.end(), arguments.begin(), [](std::string& flag) { return flag.data(); });
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return EXIT_FAILURE;

  std::printf("Peers not found: %s\n", ZVRT_BENCH_ABSENT);
  if (!register_families(wanted)) {
    std::fprintf(stderr, "no family of that name; there are:");
    for (const Family& family : families) std::fprintf(stderr, " %s", family.name.data());
    std::fprintf(stderr, "\n");
    return EXIT_FAILURE;
  }
  zvrt_bench::run_and_report(one_family);
  return EXIT_SUCCESS;
}
