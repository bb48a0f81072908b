#include "journal.h"

#include <fmt/format.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "records/files/failure.h"
#include "records/tables/csv_format.h"
#include "records/tables/hexadecimal.h"

namespace zvrt::records {
namespace {

constexpr double seconds_between_shows = 0.2;

std::string csv_cell(std::string_view text) {
  std::string cell = "\"";
  for (const char c : text) cell.append(c == '"' ? 2 : 1, c);
  return cell += '"';
}

std::string grouped(std::uint64_t value) {
  std::string text = std::to_string(value);
  for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
    text.insert(static_cast<std::size_t>(at), 1, ',');
  return text;
}

std::string line_of(const Refusal& refusal) {
  return fmt::format("{},{},{},{},{},{}\r\n", refusal.record, csv_cell(refusal.field), refusal.offset,
                     hexadecimal(refusal.bytes), name_of(refusal.status), csv_cell(refusal.text));
}

std::string refusals_of(const FieldCounts& counts) {
  std::string text;
  for (const auto& [status, count] : counts.refused) text += fmt::format("  {} {}", grouped(count), name_of(status));
  return text;
}

}  // namespace

Journal::Journal(const Job& job) : job_(job), visible_(isatty(STDERR_FILENO) == 1) {
  for (const Segment& segment : job.segments) fields_.emplace_back(segment.codec->fields().size());
}

void Findings::begin(const Job& job) {
  read = carried = left_out = refusals = 0;
  rejects.clear();
  fields.assign(job.segments.size(), {});
  for (std::size_t s = 0; s < fields.size(); ++s) fields[s].resize(job.segments[s].codec->fields().size());
}

void Findings::refuse(const Refusal& refusal) {
  ++refusals;
  rejects += line_of(refusal);
}

void Journal::add(const Findings& findings) {
  read += findings.read;
  carried += findings.carried;
  left_out += findings.left_out;
  refusals += findings.refusals;
  for (std::size_t s = 0; s < fields_.size(); ++s)
    for (std::size_t i = 0; i < fields_[s].size(); ++i) {
      const FieldCounts& found = findings.fields[s][i];
      fields_[s][i].converted += found.converted;
      fields_[s][i].nulls += found.nulls;
      fields_[s][i].unreadable += found.unreadable;
      for (const auto& [status, count] : found.refused) fields_[s][i].refused[status] += count;
    }
  if (!findings.rejects.empty()) write_rejects(findings.rejects.text());
}

void Journal::refuse(const Refusal& refusal) {
  ++refusals;
  write_rejects(line_of(refusal));
}

void Journal::write_rejects(std::string_view lines) {
  if (job_.arguments.dry_run) return;
  if (!rejects_) {
    rejects_ = std::make_unique<RegularOutput>(job_.rejects, job_.existing_rejects());
    rejects_->write("record,field,offset,bytes,status,text\r\n");
  }
  rejects_->write(lines);
}

bool Journal::stops() const {
  if (refusals == 0) return false;
  return job_.arguments.on_reject == OnReject::stop ||
         (job_.arguments.max_rejects != 0 && refusals >= job_.arguments.max_rejects);
}

double Journal::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Journal::progress(const TableReader::Progress& now) {
  const double elapsed = seconds();
  if (!visible_ || elapsed - shown_ < seconds_between_shows) return;
  shown_ = elapsed;
  std::string line = fmt::format("\r{} records, {} a second", grouped(read),
                                 grouped(static_cast<std::uint64_t>(static_cast<double>(read) / elapsed)));
  if (now.total && *now.total != 0 && now.done != 0) {
    const double part = static_cast<double>(now.done) / static_cast<double>(*now.total);
    line += fmt::format(", {:.0f} %, {:.0f} s left", part * 100, elapsed / part - elapsed);
  }
  fmt::print(stderr, "{}\x1b[K", line);
}

void Journal::warn(const std::string& text) { warnings_.push_back(text); }

void Journal::keep_rejects() {
  if (visible_) fmt::print(stderr, "\r\x1b[K");
  if (!rejects_) return;
  rejects_->finish();
  rejects_->commit();
  rejects_.reset();
}

std::string Journal::as_text(const std::string& what) const {
  std::string text =
      fmt::format("{}\n  {} read, {} carried, {} left out; code page {}; {} bytes in {:.3f} s\n", what, grouped(read),
                  grouped(carried), grouped(left_out), job_.codec.page.number, grouped(bytes), seconds());
  for (std::size_t s = 0; s < fields_.size(); ++s) {
    const auto& codec = *job_.segments[s].codec;
    std::size_t width = 5;
    for (const auto& field : codec.fields()) width = std::max(width, field->column().field.size());
    text += fmt::format("  {:<{}}  {:>12}  {:>12}  {:>12}  refused\n",
                        job_.segments[s].name.empty() ? "field" : job_.segments[s].name, width, "converted", "null",
                        "unreadable");
    for (std::size_t i = 0; i < fields_[s].size(); ++i) {
      const FieldCounts& counts = fields_[s][i];
      text += fmt::format("  {:<{}}  {:>12}  {:>12}  {:>12}{}\n", codec.fields()[i]->column().field, width,
                          grouped(counts.converted), grouped(counts.nulls), grouped(counts.unreadable),
                          refusals_of(counts));
    }
  }
  for (const std::string& warning : warnings_) text += fmt::format("  warning: {}\n", warning);
  if (refusals != 0)
    text += fmt::format("  {} refusals{}\n", grouped(refusals),
                        job_.arguments.dry_run ? std::string() : fmt::format(" in {}", job_.rejects));
  return text;
}

std::string Journal::as_json(const std::string& what) const {
  nlohmann::ordered_json run{{"run", what},
                             {"code_page", job_.codec.page.number},
                             {"rows_read", read},
                             {"rows_carried", carried},
                             {"rows_left_out", left_out},
                             {"bytes", bytes},
                             {"seconds", seconds()},
                             {"refusals", refusals},
                             {"warnings", warnings_},
                             {"fields", nlohmann::ordered_json::array()}};
  if (refusals != 0) run["rejects"] = job_.rejects;
  for (std::size_t s = 0; s < fields_.size(); ++s)
    for (std::size_t i = 0; i < fields_[s].size(); ++i) {
      const FieldCounts& counts = fields_[s][i];
      nlohmann::ordered_json refused = nlohmann::ordered_json::object();
      for (const auto& [status, count] : counts.refused) refused[name_of(status)] = count;
      run["fields"].push_back({{"segment", job_.segments[s].name},
                               {"name", job_.segments[s].codec->fields()[i]->column().field},
                               {"column", job_.segments[s].codec->fields()[i]->column().name},
                               {"converted", counts.converted},
                               {"null", counts.nulls},
                               {"unreadable", counts.unreadable},
                               {"refused", refused}});
    }
  return run.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void Journal::report(const std::string& what) {
  if (visible_) fmt::print(stderr, "\r\x1b[K");
  const bool to_error = job_.arguments.verb != Verb::verify &&
                        (job_.arguments.table_file == "-" || job_.arguments.records.front() == "-");
  std::FILE* const out = to_error ? stderr : stdout;
  const std::string text = job_.arguments.json ? as_json(what) : as_text(what);
  if (std::fwrite(text.data(), 1, text.size(), out) != text.size() || std::fflush(out) != 0)
    fail_with_errno("the report cannot be written");
}

}  // namespace zvrt::records
