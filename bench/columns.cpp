// zvrt_bench_columns [word]: gains of plans over single calls, of the sets whose conversion has the word in its name.
#include "columns.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

namespace zvrt_bench {
namespace {

constexpr int passes = 25;
// A set is converted by the fetch, as drivers do: the target holds the rows of one.
constexpr std::int64_t rows_of_fetch = 2000;
constexpr std::int64_t rows_of_short_runs = 32;

enum Timed { single_calls, whole, by_blocks, short_runs, timed_count };

struct Outcome {
  const Comparison* set;
  double nanoseconds[timed_count];

  double gain(Timed of) const { return nanoseconds[single_calls] / nanoseconds[of]; }
};

double seconds() {
  std::timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

[[noreturn]] void fail(const Comparison& set, const char* what, std::int64_t row) {
  std::fprintf(stderr, "%s, %s, row %lld: %s\n", set.conversion.c_str(), set.values.c_str(),
               static_cast<long long>(row), what);
  std::exit(EXIT_FAILURE);
}

class Timing {
 public:
  explicit Timing(const Comparison& set)
      : set_(set), target_(rows_of_fetch, set.to.length), starts_(static_cast<std::size_t>(rows_of_fetch)) {
    for (std::size_t row = 0; row < starts_.size(); ++row) {
      starts_[row] = static_cast<std::int64_t>(row) * set.column.stride;
    }
    ZVRTProblem why{};
    why.size = sizeof why;
    if (ZVRTPlanCreate(&set.from, &set.to, set.options, &plan_, &why) != ZVRT_RC_OK) fail(set, why.text, -1);
  }
  ~Timing() { ZVRTPlanDestroy(plan_); }
  Timing(const Timing&) = delete;
  Timing& operator=(const Timing&) = delete;

  Outcome run() {
    if (set_.is_compared) require_same_results();
    Outcome outcome{&set_, {}};
    std::fill_n(outcome.nanoseconds, static_cast<std::size_t>(timed_count), std::numeric_limits<double>::infinity());
    for (int pass = 0; pass < passes; ++pass) {
      for (int which = 0; which < timed_count; ++which) {
        take_least(outcome.nanoseconds[which], [&] { run_once(static_cast<Timed>(which), target_); });
      }
    }
    return outcome;
  }

 private:
  template <class Run>
  void take_least(double& least, const Run& run) const {
    const double start = seconds();
    run();
    least = std::min(least, (seconds() - start) * 1e9 / static_cast<double>(set_.column.rows));
  }

  // All rows, fetch by fetch.
  void run_once(Timed which, Target& target) {
    for (std::int64_t row = 0; row < set_.column.rows; row += rows_of_fetch) {
      convert(which, row, std::min(rows_of_fetch, set_.column.rows - row), target);
    }
  }

  void convert(Timed which, std::int64_t first, std::int64_t count, Target& target) {
    switch (which) {
      case single_calls: return set_.single_calls(set_.column, first, count, target);
      case whole: return run_rows(first, 0, count, nullptr, target);
      case by_blocks: return run_rows(first, 0, count, starts_.data(), target);
      default:
        for (std::int64_t row = 0; row < count; row += rows_of_short_runs) {
          run_rows(first + row, row, std::min(rows_of_short_runs, count - row), nullptr, target);
        }
    }
  }

  // Rows from `row` on into the target's slots from `slot` on.
  void run_rows(std::int64_t row, std::int64_t slot, std::int64_t count, const std::int64_t* starts, Target& target) {
    ZVRTArray from{};
    from.size = sizeof from;
    from.data = const_cast<std::byte*>(set_.column.at(row));  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    from.stride = set_.column.stride;
    from.starts = starts;
    if (!set_.column.lengths.empty()) {
      from.lengths = const_cast<std::int64_t*>(set_.column.lengths.data() + row);  // NOLINT: a source is only read
      from.lengthBytes = 8;
    }
    ZVRTArray to{};
    to.size = sizeof to;
    to.data = target.at(slot);
    to.stride = target.stride;
    to.lengths = target.lengths.data() + slot;
    to.lengthBytes = 8;
    ZVRTOutcome outcome{};
    outcome.size = sizeof outcome;
    const std::uint32_t status = ZVRTPlanRun(plan_, &from, &to, count, &outcome);
    if (status != ZVRT_RC_OK) fail(set_, ZVRTStatusName(status), row);
    if (outcome.refused > 0) fail(set_, ZVRTStatusName(outcome.firstStatus), row + outcome.firstRefused);
  }

  void require_same_results() {
    const std::int64_t count = std::min(rows_of_fetch, set_.column.rows);
    for (std::int64_t first = 0; first < set_.column.rows; first += count) {
      const std::int64_t rows = std::min(count, set_.column.rows - first);
      Target expected(rows, set_.to.length);
      convert(single_calls, first, rows, expected);
      for (const Timed which : {whole, by_blocks, short_runs}) {
        Target found(rows, set_.to.length);
        convert(which, first, rows, found);
        if (found.lengths != expected.lengths) fail(set_, "other lengths than single calls", first);
        if (found.bytes != expected.bytes) fail(set_, "other bytes than single calls", first);
      }
    }
  }

  const Comparison& set_;
  ZVRTPlan* plan_ = nullptr;
  Target target_;
  std::vector<std::int64_t> starts_;
};

void print(const std::vector<Outcome>& outcomes) {
  std::puts("| conversion | values | single calls, ns | plan, ns | gain | by blocks | runs of 32 | at least | |");
  std::puts("|---|---|---:|---:|---:|---:|---:|---:|---|");
  for (const bool missed : {true, false}) {
    for (const Outcome& outcome : outcomes) {
      const double gain = outcome.gain(whole);
      if ((gain < outcome.set->at_least) != missed) continue;
      std::printf("| %s | %s | %.2f | %.2f | %.2f | %.2f | %.2f | %.1f | %s |\n", outcome.set->conversion.c_str(),
                  outcome.set->values.c_str(), outcome.nanoseconds[single_calls], outcome.nanoseconds[whole], gain,
                  outcome.gain(by_blocks), outcome.gain(short_runs), outcome.set->at_least, missed ? "missed" : "");
    }
  }
}

}  // namespace
}  // namespace zvrt_bench

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "C.UTF-8");  // for the wide words; ours never looks
  const std::string wanted = argc > 1 ? argv[1] : "";
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) {
    std::fprintf(stderr, "conversions cannot be initialised\n");
    return EXIT_FAILURE;
  }
  std::vector<zvrt_bench::Comparison> sets;
  for (auto* const some : {zvrt_bench::hot_sets, zvrt_bench::block_sets}) {
    for (zvrt_bench::Comparison& set : some()) {
      if (set.conversion.find(wanted) != std::string::npos) sets.push_back(std::move(set));
    }
  }
  std::vector<zvrt_bench::Outcome> outcomes;
  outcomes.reserve(sets.size());
  for (const zvrt_bench::Comparison& set : sets) outcomes.push_back(zvrt_bench::Timing(set).run());
  zvrt_bench::print(outcomes);
  ZVRTTermDataConversion();
  return EXIT_SUCCESS;
}
