#include "fit.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/files/failure.h"
#include "records/files/input_file.h"

namespace zvrt::records {
namespace {

constexpr std::size_t looked_at_bytes = 1 << 20;
constexpr std::uint64_t chained_records = 3;  // fewer may be chance
constexpr double clear_share = 0.4;
constexpr double clear_ratio = 3;

// What other form the file seems to have; empty if none.
std::string likeness_of(const FileFindings& found) {
  if (!found.chains.empty() && found.chains.front().records.records >= chained_records)
    return fmt::format("it looks like {} with length words: {}", span_of(found.chains.front().records),
                       words_of(found.chains.front()));
  if (found.lines.records >= chained_records)
    return fmt::format("it looks like lines of text, {}: --record-format D", span_of(found.lines));
  if (found.likely_length != 0) return fmt::format("it looks like records of {} bytes", found.likely_length);
  return {};
}

std::string with(const std::string& likeness) { return likeness.empty() ? "" : "; " + likeness; }

std::string warning_of_fixed(const Job& job, const FileFindings& found) {
  if (job.format.length_of) return {};
  const std::size_t step = job.format.record_length + job.format.record_header;
  const std::string likeness = likeness_of(found);
  if (found.size % step != 0)
    return fmt::format("{} bytes are no multiple of the record's {}; the layout or --record-format may not fit{}",
                       found.size, step, with(likeness));
  const bool chained = !found.chains.empty() && found.chains.front().records.records >= chained_records;
  return chained ? "records of fixed length are expected" + with(likeness) : "";
}

std::string warning_of_words(const Job& job, const FileFindings& found) {
  const LengthWords& words = job.format.words;
  if (words.adjust != 0) return {};
  const bool fits = std::any_of(found.chains.begin(), found.chains.end(), [&](const Chain& chain) {
    return chain.format == job.format.format && chain.words.big_endian == words.big_endian &&
           chain.words.include_themselves == words.include_themselves;
  });
  if (fits) return {};
  const std::string likeness = likeness_of(found);
  return "length words as expected do not chain from the file's beginning" +
         (likeness.empty() ? ": it is damaged, or of another form" : with(likeness));
}

std::string warning_of_form(const Job& job, const FileFindings& found) {
  switch (job.format.format) {
    case RecordFormat::fixed: return warning_of_fixed(job, found);
    case RecordFormat::variable:
    case RecordFormat::variable_blocked: return warning_of_words(job, found);
    case RecordFormat::lines: break;
  }
  const bool chained = !found.chains.empty() && found.chains.front().records.records >= chained_records;
  return chained && found.lines.records == 0 ? "lines of text are expected" + with(likeness_of(found)) : "";
}

bool has_characters(const Job& job) {
  for (const Segment& segment : job.segments)
    for (const auto& field : segment.codec->fields())
      if (field->column().item->usage == Usage::display) return true;
  return false;
}

std::string warning_of_page(const Job& job, const FileFindings& found) {
  const double told = job.codec.page.ebcdic ? found.ebcdic : found.ascii;
  const double other = job.codec.page.ebcdic ? found.ascii : found.ebcdic;
  if (!has_characters(job) || other < clear_share || other < clear_ratio * told) return {};
  return job.codec.page.ebcdic
             ? fmt::format("the text looks like ASCII, and page {} is EBCDIC; -c 1252 or -c UTF-8 may be meant",
                           job.codec.page.number)
             : fmt::format(
                   "the text looks like EBCDIC, which page {} is not; -c 37 or another EBCDIC page may be meant",
                   job.codec.page.number);
}

}  // namespace

std::optional<FileFindings> findings_of(const Arguments& arguments, const std::string& file, std::size_t most) {
  InputFile input(file);
  if (!input.size()) return std::nullopt;
  const std::uint64_t around = arguments.skip_header + arguments.skip_trailer;
  if (*input.size() < around) throw Failure(input.name() + ": is shorter than its header and trailer");
  std::string bytes(arguments.skip_header + std::min<std::uint64_t>(*input.size() - around, most), '\0');
  bytes.resize(input.read(bytes.data(), bytes.size()));
  if (bytes.size() < arguments.skip_header) throw Failure(input.name() + ": became shorter meanwhile");
  return inspect(std::string_view(bytes).substr(arguments.skip_header), *input.size() - around,
                 arguments.record_header);
}

std::string words_of(const Chain& chain) {
  std::string text = chain.format == RecordFormat::variable_blocked ? "--record-format VB" : "--record-format V";
  if (!chain.words.big_endian) text += " --rdw-order little";
  if (!chain.words.include_themselves) text += " --rdw-includes-itself no";
  return text;
}

std::string span_of(const Lengths& lengths) {
  return lengths.shortest == lengths.longest
             ? fmt::format("{} records of {} bytes", lengths.records, lengths.longest)
             : fmt::format("{} records of {} to {} bytes", lengths.records, lengths.shortest, lengths.longest);
}

std::vector<std::string> fit_warnings(const Job& job) {
  std::vector<std::string> warnings;
  for (const std::string& file : job.arguments.records) {
    if (file == "-") continue;
    const auto found = findings_of(job.arguments, file, looked_at_bytes);
    if (!found || found->size == 0) continue;
    for (const std::string& warning : {warning_of_form(job, *found), warning_of_page(job, *found)})
      if (!warning.empty()) warnings.push_back(fmt::format("{}: {}", file, warning));
  }
  return warnings;
}

}  // namespace zvrt::records
