#include "circle.h"

#include <fmt/format.h>

namespace record_exchange {
namespace {

struct Sample {
  const char* title;
  const char* csv;
  const char* layout;
  OnReject on_reject;
  bool shows_rejects;  // made to meet them
};

constexpr Sample samples[] = {
    {"Wildlife strikes: costs and speed packed and as VARNUM, dates as DD-MMM-YYYY", "wildlife-strikes.csv",
     "strikes.cpy", OnReject::skip, false},
    {"The same table in a second layout: binary and zoned numbers, dates as timestamps", "wildlife-strikes.csv",
     "strikes-timestamps.cpy", OnReject::skip, false},
    {"Travellers in EBCDIC with the euro sign: what a page does not have is refused, what is too long is cut",
     "travellers.csv", "travellers.cpy", OnReject::keep, true},
    {"The same travellers in UTF-8: every script survives", "travellers.csv", "travellers-utf8.cpy", OnReject::keep,
     true},
};

std::uint64_t cells(const Counts& counts) {
  std::uint64_t total = 0;
  for (const auto& field : counts.by_field)
    for (const auto& [status, count] : field) total += count;
  return total;
}

std::uint64_t lost_cells(const Counts& counts) {
  std::uint64_t total = 0;
  for (const auto& field : counts.by_field)
    for (const auto& [status, count] : field)
      if (is_refused(status)) total += count;
  return total;
}

bool run_sample(const Sample& sample, const std::filesystem::path& data, const std::filesystem::path& work,
                Report& report) {
  const Layout layout = read_layout((data / sample.layout).string());
  const std::string stem = std::filesystem::path(sample.layout).stem().string();
  const std::string database = (work / (stem + ".db")).string();
  const TableName csv{(data / sample.csv).string(), ""};
  const TableName table{database, "original"};
  const TableName back{database, "back"};
  Job job{layout, table, (work / (stem + ".dat")).string(), "", sample.on_reject, Existing::replace};
  const auto rejects = [&](const char* step) { return (work / fmt::format("{}-{}-rejects.csv", stem, step)).string(); };

  report.say(fmt::format("== {}\n", sample.title));
  const std::uint64_t loaded = copy_table(layout, csv, table);
  report.say(fmt::format("load    {} -> {}: {} rows\n", sample.csv, stem + ".db", grouped(loaded)));

  job.rejects = rejects("export");
  report.add("export", fmt::format("{0}.db -> {0}.dat", stem), job, export_table(job));
  if (sample.shows_rejects) report.show_rejects(job);

  job.table = back;
  job.rejects = rejects("import");
  report.add("import", fmt::format("{0}.dat -> {0}.db, a second table", stem), job, import_records(job), true);

  job.table = table;
  job.rejects = rejects("compare");
  const Counts compared = compare_tables(job, back);
  report.add("compare", fmt::format("both tables of {}.db, cell by cell", stem), job, compared);
  const std::uint64_t lost = lost_cells(compared);
  report.say(fmt::format("{} of {} cells came back as they were\n", grouped(cells(compared) - lost),
                         grouped(cells(compared))));
  return lost == 0 && compared.rows_carried == loaded && compared.rows_missing == 0;
}

}  // namespace

bool run_circle(const std::filesystem::path& data, const std::filesystem::path& work, Report& report) {
  bool complete = true;
  for (const Sample& sample : samples) complete &= run_sample(sample, data, work, report) || sample.shows_rejects;
  return complete;
}

}  // namespace record_exchange
