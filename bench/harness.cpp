#include "harness.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>

namespace zvrt_bench {
namespace {

struct Comparison {
  Operation operation;
  std::string variant;
  std::vector<std::string> names;  // of the benchmarks, ours first
};

std::vector<Comparison>& comparisons() {
  static std::vector<Comparison> all;
  return all;
}

std::string printable(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes.substr(0, 160)) {
    const auto code = static_cast<unsigned char>(byte);
    std::array<char, 8> hex{};
    std::snprintf(hex.data(), hex.size(), "\\x%02x", code);
    text += code > ' ' && code < 0x7F ? std::string(1, byte) : code == 0 ? "" : hex.data();
  }
  return text;
}

void require_same_results(const std::string& where, const std::vector<Contender>& contenders) {
  const Contender& ours = contenders.front();
  for (const Contender& peer : contenders) {
    for (std::size_t i = 0; i < ours.values; ++i) {
      const std::string expected = ours.result(i);
      const std::string found = peer.result(i);
      if (peer.values == ours.values && found == expected) continue;
      std::fprintf(stderr, "%s, value %zu: %s gives '%s' where ours is '%s'\n", where.c_str(), i, peer.name,
                   printable(found).c_str(), printable(expected).c_str());
      std::exit(EXIT_FAILURE);
    }
  }
}

// The outcome of one comparison: the least time of each side.
struct Outcome {
  const Comparison* comparison;
  double ours;
  double peer;
  std::string peer_name;

  double ratio() const { return ours / peer; }
  bool misses() const { return comparison->operation.at_most > 0 && ratio() > comparison->operation.at_most; }
};

// Keeps the least time of each benchmark: the rest is what the machine was doing besides.
class LeastTimes : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const double nanoseconds = 1e9 / run.counters.at("items_per_second").value;
      const auto [least, first] = times_.try_emplace(run.run_name.function_name, nanoseconds);
      least->second = std::min(least->second, nanoseconds);
    }
  }

  // One outcome a comparison that was timed whole: a filter may have left some out.
  std::vector<Outcome> outcomes() const {
    std::vector<Outcome> all;
    for (const Comparison& comparison : comparisons()) {
      const auto ours = times_.find(comparison.names.front());
      Outcome outcome{&comparison, 0, std::numeric_limits<double>::infinity(), ""};
      for (std::size_t i = 1; i < comparison.names.size(); ++i) {
        const auto peer = times_.find(comparison.names[i]);
        if (peer == times_.end() || peer->second >= outcome.peer) continue;
        outcome.peer = peer->second;
        outcome.peer_name = comparison.names[i].substr(comparison.names[i].rfind('/') + 1);
      }
      if (ours == times_.end() || outcome.peer_name.empty()) continue;
      outcome.ours = ours->second;
      all.push_back(outcome);
    }
    return all;
  }

  void print_all_times() const {
    std::puts("\n| contender | ns a value |\n|---|---:|");
    for (const Comparison& comparison : comparisons()) {
      for (const std::string& name : comparison.names) {
        const auto time = times_.find(name);
        if (time != times_.end()) std::printf("| %s | %.1f |\n", name.c_str(), time->second);
      }
    }
  }

 private:
  std::map<std::string, double> times_;
};

std::string figure(double at_most) {
  if (at_most == 0) return "-";
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%.2f", at_most);
  return text.data();
}

// One line an operation: the geometric mean of its ratios and the worst of them.
struct Summary {
  Operation operation{};
  double log_sum = 0;
  int rows = 0;
  int missed = 0;
  const Outcome* worst = nullptr;

  void add(const Outcome& outcome) {
    operation = outcome.comparison->operation;
    log_sum += std::log(outcome.ratio());
    ++rows;
    missed += outcome.misses() ? 1 : 0;
    if (worst == nullptr || outcome.ratio() > worst->ratio()) worst = &outcome;
  }
};

void print_summary(const std::vector<Outcome>& outcomes) {
  std::vector<Summary> summaries;
  for (const Outcome& outcome : outcomes) {
    const auto same = [&](const Summary& summary) {
      return std::string(summary.operation.name) == outcome.comparison->operation.name;
    };
    auto found = std::find_if(summaries.begin(), summaries.end(), same);
    if (found == summaries.end()) found = summaries.emplace(summaries.end());
    found->add(outcome);
  }
  std::stable_partition(summaries.begin(), summaries.end(), [](const Summary& summary) { return summary.missed > 0; });
  std::puts("\n| operation | at most | mean ratio | worst ratio | where | missed |\n|---|---:|---:|---:|---|---:|");
  for (const Summary& summary : summaries) {
    std::printf("| %s | %s | %.2f | %.2f | %s | %d of %d |\n", summary.operation.name,
                figure(summary.operation.at_most).c_str(), std::exp(summary.log_sum / summary.rows),
                summary.worst->ratio(), summary.worst->comparison->variant.c_str(), summary.missed, summary.rows);
  }
}

void print_rows(std::vector<Outcome> outcomes) {
  std::stable_partition(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) { return outcome.misses(); });
  std::puts("\n| operation | values | ours, ns | fastest peer | its ns | ratio | at most | |");
  std::puts("|---|---|---:|---|---:|---:|---:|---|");
  for (const Outcome& outcome : outcomes) {
    const Operation& operation = outcome.comparison->operation;
    std::printf("| %s | %s | %.1f | %s | %.1f | %.2f | %s | %s |\n", operation.name,
                outcome.comparison->variant.c_str(), outcome.ours, outcome.peer_name.c_str(), outcome.peer,
                outcome.ratio(), figure(operation.at_most).c_str(), outcome.misses() ? "missed" : "");
  }
}

}  // namespace

void compete(Operation operation, const std::string& variant, std::vector<Contender> contenders) {
  const std::string prefix = std::string(operation.name) + "/" + variant + "/";
  require_same_results(prefix, contenders);
  Comparison& comparison = comparisons().emplace_back(Comparison{operation, variant, {}});
  for (const Contender& contender : contenders) {
    comparison.names.push_back(prefix + contender.name);
    benchmark::RegisterBenchmark(comparison.names.back().c_str(), contender.run);
  }
}

void run_and_report(bool every_time) {
  LeastTimes times;
  benchmark::RunSpecifiedBenchmarks(&times);
  const std::vector<Outcome> outcomes = times.outcomes();
  print_summary(outcomes);
  print_rows(outcomes);
  if (every_time) times.print_all_times();
}

}  // namespace zvrt_bench
