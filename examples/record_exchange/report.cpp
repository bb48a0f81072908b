#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>

#include "status.h"

namespace record_exchange {
namespace {

std::uint64_t per_second(double count, double seconds) {
  return seconds > 0 ? static_cast<std::uint64_t>(count / seconds) : 0;
}

std::uint64_t count_of(const std::vector<std::pair<Status, std::uint64_t>>& met, Status status) {
  for (const auto& [known, count] : met)
    if (known == status) return count;
  return 0;
}

// The refusals of a field: how many, and which.
std::pair<std::uint64_t, std::string> refusals_of(const std::vector<std::pair<Status, std::uint64_t>>& met) {
  std::uint64_t total = 0;
  std::string text;
  for (const auto& [status, count] : met) {
    if (!is_refused(status)) continue;
    total += count;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", grouped(count), name_of(status));
  }
  return {total, text};
}

std::uint64_t bytes_of(const Job& job, const Counts& counts) { return counts.rows_carried * job.layout.record_length; }

}  // namespace

std::string grouped(std::uint64_t value) {
  std::string text = std::to_string(value);
  for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
    text.insert(static_cast<std::size_t>(at), 1, ',');
  return text;
}

void Report::say(const std::string& line) const {
  if (!json_) fmt::print("{}\n", line);
}

void Report::add(const std::string& what, const std::string& way, const Job& job, const Counts& counts, bool brief) {
  if (json_) return add_json(what, way, job, counts);
  const bool compares = what == "verify" || what == "compare";
  fmt::print("{}  {}\n", what, way);
  fmt::print("  {} rows read, {} {}, {} left out{}; code page {}, {} bytes a record\n", grouped(counts.rows_read),
             grouped(counts.rows_carried), compares ? "compared" : "written", grouped(counts.rows_left_out),
             counts.rows_missing == 0 ? "" : fmt::format(", {} on one side only", grouped(counts.rows_missing)),
             job.layout.page.number, job.layout.record_length);
  const std::uint64_t bytes = bytes_of(job, counts);
  fmt::print("  {} bytes in {:.3f} s: {} rows a second, {} bytes a second\n", grouped(bytes), counts.seconds,
             grouped(per_second(static_cast<double>(counts.rows_read), counts.seconds)),
             grouped(per_second(static_cast<double>(bytes), counts.seconds)));
  if (!brief || counts.refusals != 0) print_fields(job, counts, compares);
  if (counts.refusals != 0) fmt::print("  {} refusals in {}\n", grouped(counts.refusals), job.rejects);
  fmt::print("\n");
}

void Report::print_fields(const Job& job, const Counts& counts, bool compares) {
  std::size_t names = 5;
  std::size_t pictures = 7;
  for (const Field& field : job.layout.fields) {
    names = std::max(names, field.name.size());
    pictures = std::max(pictures, field.picture.size());
  }
  fmt::print("    {:<{}}  {:<{}}  {:>11}  {:>11}  {:>11}\n", "field", names, "picture", pictures,
             compares ? "equal" : "converted", "null", compares ? "different" : "refused");
  for (std::size_t i = 0; i < job.layout.fields.size(); ++i) {
    const Field& field = job.layout.fields[i];
    const auto& met = counts.by_field[i];
    const auto [refused, which] = refusals_of(met);
    fmt::print("    {:<{}}  {:<{}}  {:>11}  {:>11}  {:>11}{}{}\n", field.name, names, field.picture, pictures,
               grouped(count_of(met, ZVRT_RC_OK)), grouped(count_of(met, rx_null)), grouped(refused),
               which.empty() ? "" : "  ", which);
  }
}

void Report::add_json(const std::string& what, const std::string& way, const Job& job, const Counts& counts) {
  nlohmann::ordered_json run{{"run", what},
                             {"way", way},
                             {"code_page", job.layout.page.number},
                             {"record_length", job.layout.record_length},
                             {"rows_read", counts.rows_read},
                             {"rows_carried", counts.rows_carried},
                             {"rows_left_out", counts.rows_left_out},
                             {"rows_on_one_side", counts.rows_missing},
                             {"bytes", bytes_of(job, counts)},
                             {"seconds", counts.seconds},
                             {"refusals", counts.refusals},
                             {"fields", nlohmann::ordered_json::array()}};
  if (counts.refusals != 0) run["rejects"] = job.rejects;
  for (std::size_t i = 0; i < job.layout.fields.size(); ++i) {
    const Field& field = job.layout.fields[i];
    nlohmann::ordered_json statuses = nlohmann::ordered_json::object();
    for (const auto& [status, count] : counts.by_field[i]) statuses[name_of(status)] = count;
    run["fields"].push_back({{"name", field.name},
                             {"column", field.column},
                             {"picture", field.picture},
                             {"offset", field.offset},
                             {"length", field.length},
                             {"statuses", statuses}});
  }
  runs_.push_back(std::move(run));
}

void Report::show_rejects(const Job& job) const {
  if (json_) return;
  std::ifstream file(job.rejects);
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    fmt::print("    {}\n", line);
  }
  fmt::print("\n");
}

void Report::finish() const {
  if (json_) fmt::print("{}\n", runs_.dump(2));
}

}  // namespace record_exchange
