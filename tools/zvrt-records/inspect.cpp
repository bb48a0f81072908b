// What a record file looks like: findings from its bytes, then its first records by the layout.
//
// Options that the command line leaves out are taken from the findings, and told, so that the same words can be given to
// import. Nothing is written but the report, and a page where one is asked for.
#include <fmt/format.h>

#include <algorithm>

#include "fit.h"
#include "inspect_page.h"
#include "look.h"
#include "records/files/failure.h"
#include "records/files/output_file.h"
#include "records/inspect/inspect.h"
#include "records/tables/hexadecimal.h"
#include "runs.h"

namespace zvrt::records {
namespace {

constexpr std::size_t looked_at_bytes = 16 << 20;
constexpr std::uint64_t looked_at_records = 10000;
constexpr std::size_t shown_bytes = 16;
constexpr std::size_t shown_lengths = 12;

FileFindings findings_of(const Arguments& arguments) {
  const std::string& file = arguments.records.front();
  const auto found = findings_of(arguments, file, looked_at_bytes);
  if (!found) throw Failure(file + ": inspect reads a file twice, and so no pipe or device");
  return *found;
}

std::string text_of_findings(const std::string& name, const FileFindings& found) {
  std::string text = fmt::format("{}: {} bytes{}\n", name, found.size,
                                 found.whole ? "" : fmt::format(", the first {} looked at", looked_at_bytes));
  text += fmt::format("text: {:.0f} % of the bytes are EBCDIC letters, digits and blanks, {:.0f} % ASCII: {}\n",
                      100 * found.ebcdic, 100 * found.ascii,
                      found.coding == Coding::ebcdic  ? "EBCDIC"
                      : found.coding == Coding::ascii ? "ASCII"
                                                      : "neither is likely");
  for (const Chain& chain : found.chains)
    text += fmt::format("length words: {}: {}{} chain to the end\n", words_of(chain), span_of(chain.records),
                        chain.blocks == 0 ? "" : fmt::format(" in {} blocks", chain.blocks));
  if (found.chains.empty()) text += "length words: none that chain to the end\n";
  text += found.lines.records == 0 ? "lines: none\n" : fmt::format("lines: {}\n", span_of(found.lines));
  std::vector<std::string> lengths;
  for (const FixedLength& each : found.lengths) lengths.push_back(std::to_string(each.length));
  const std::size_t more = lengths.size() > shown_lengths ? lengths.size() - shown_lengths : 0;
  lengths.resize(lengths.size() - more);
  text += fmt::format("record lengths that divide the size: {}{}",
                      lengths.empty() ? "none" : fmt::format("{}", fmt::join(lengths, " ")),
                      more == 0 ? "" : fmt::format(" and {} more", more));
  text += found.likely_length == 0 ? "\n" : fmt::format("; likely {}\n", found.likely_length);
  return text;
}

// What the findings say where neither the command line nor the layout does; the words that say it, too.
std::string take_findings(const FileFindings& found, Arguments& a) {
  std::string words;
  if (!a.format_told) {
    const RecordFormat format = likely_format(found);
    if (format == RecordFormat::lines) a.format = "D", words += " --record-format D";
    if (!found.chains.empty()) {
      const Chain& chain = found.chains.front();
      a.format = chain.format == RecordFormat::variable_blocked ? "VB" : "V";
      a.rdw_order = chain.words.big_endian ? "big" : "little";
      a.rdw_includes = chain.words.include_themselves ? "yes" : "no";
      words.append(1, ' ').append(words_of(chain));
    }
  }
  if (a.code_page.empty() && found.coding == Coding::ascii && (a.layout.empty() || !layout_of(a).notes.page))
    a.code_page = "1252", words += " -c 1252";
  return words;
}

std::string fit_of(const Job& job, const FileFindings& found) {
  std::size_t least = ~std::size_t{0};
  for (const Segment& segment : job.segments)
    for (const Record* const record : segment.codec->columns().records) least = std::min(least, record->min_length);
  const std::size_t greatest = job.format.record_length;
  if (job.format.length_of) return "layout: its records tell their length themselves";
  if (job.format.format == RecordFormat::fixed) {
    const std::size_t step = greatest + job.format.record_header;
    const std::uint64_t rest = found.size % step;
    if (rest == 0) return fmt::format("layout: fits: {} records of {} bytes", found.size / step, step);
    return fmt::format("layout: does not fit: {} records of {} bytes, and {} bytes are left", found.size / step, step,
                       rest);
  }
  const Lengths* lengths = job.format.format == RecordFormat::lines ? &found.lines : nullptr;
  for (const Chain& chain : found.chains)
    if (lengths == nullptr && chain.format == job.format.format &&
        chain.words.big_endian == job.format.words.big_endian &&
        chain.words.include_themselves == job.format.words.include_themselves)
      lengths = &chain.records;
  if (lengths == nullptr || lengths->records == 0) return "layout: does not fit: the file has no records of this form";
  const bool lines = job.format.format == RecordFormat::lines;
  const bool fits = lengths->longest <= greatest && (lines || lengths->shortest >= least);
  return fmt::format("layout: {}: records of {} to {} bytes, and the layout's have {} to {}",
                     fits ? "fits" : "does not fit", lengths->shortest, lengths->longest, least, greatest);
}

std::string shown(std::string_view bytes) {
  return hexadecimal(bytes.substr(0, shown_bytes)) + (bytes.size() > shown_bytes ? "..." : "");
}

// Characters that would move a terminal's cursor are shown as bytes.
std::string printable(std::string_view value) {
  std::string text;
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F)
      text += fmt::format("\\x{:02X}", byte);
    else
      text += c;
  }
  return text;
}

std::string text_of_record(const SeenRecord& record) {
  std::string text =
      fmt::format("\nrecord {}{}, byte {}, {} bytes\n", record.number,
                  record.segment.empty() ? "" : " " + record.segment, record.offset, record.bytes.size());
  if (record.fields.empty()) return text + "  is of no segment: " + shown(record.bytes) + "\n";
  std::size_t name = 5;
  for (const SeenField& field : record.fields) name = std::max(name, field.field->column().field.size());
  text += fmt::format("  {:<{}} {:>6} {:>6}  {:<35}  value\n", "field", name, "offset", "length", "bytes");
  for (const SeenField& seen : record.fields) {
    const Column& column = seen.field->column();
    const std::string value = seen.status != ZVRT_RC_OK ? fmt::format("{}: {}", name_of(seen.status), seen.why)
                              : seen.null               ? "null"
                                                        : fmt::format("'{}'", printable(seen.value));
    text += fmt::format("  {:<{}} {:>6} {:>6}  {:<35}  {}\n", column.field, name, column.offset, seen.bytes.size(),
                        shown(seen.bytes), value);
  }
  return text;
}

std::string text_of_look(const Job& job, const Look& look) {
  std::string text = fmt::format("first {} records: {} refused, {} of no segment, {} places damaged\n", look.records,
                                 look.refused_records, look.unknown, look.damages.size());
  for (std::size_t s = 0; s < look.tallies.size(); ++s)
    for (std::size_t i = 0; i < look.tallies[s].size(); ++i)
      if (look.tallies[s][i].refused != 0)
        text += fmt::format("  {}: refused in {} records\n", job.segments[s].codec->fields()[i]->column().field,
                            look.tallies[s][i].refused);
  for (const SeenRecord& record : look.first) text += text_of_record(record);
  bool told = false;
  for (const SeenRecord& record : look.refused) {
    if (std::any_of(look.first.begin(), look.first.end(),
                    [&](const SeenRecord& first) { return first.number == record.number; }))
      continue;
    if (!told) text += "\nrefused:\n";
    told = true;
    text += text_of_record(record);
  }
  return text;
}

void print(const std::string& text) {
  StandardOutput out;
  out.write(text);
  out.finish();
}

// Before anything is read: the page replaces neither what it is about nor, unasked, anything else.
void check_page(const Arguments& arguments) {
  if (arguments.html.empty()) return;
  FileRoles roles;
  roles.reads(arguments.layout, "the layout");
  roles.reads(arguments.records.front(), "the records");
  roles.writes(arguments.html, "the page", arguments.replace ? Existing::replace : Existing::refuse);
  roles.check();
}

void write_page(const Arguments& arguments, const std::string& page) {
  RegularOutput out(arguments.html, arguments.replace ? Existing::replace : Existing::refuse);
  out.write(page);
  out.finish();
  out.commit();
}

}  // namespace

int inspect_records(const Arguments& told_arguments) {
  Arguments arguments = told_arguments;
  const FileFindings found = findings_of(arguments);
  const std::string words = take_findings(found, arguments);
  const std::string report =
      text_of_findings(arguments.records.front(), found) + (words.empty() ? "" : fmt::format("taken:{}\n", words));
  print(report);
  if (arguments.layout.empty()) return 0;
  const Job job(arguments);
  check_page(arguments);
  const Look look = look_at(job, looked_at_records, arguments.limit == 0 ? 3 : arguments.limit);
  print(fit_of(job, found) + "\n" + text_of_look(job, look));
  if (!arguments.html.empty()) write_page(arguments, inspection_page(job, report + fit_of(job, found), look));
  return look.refused_records == 0 && look.unknown == 0 && look.damages.empty() ? 0 : 1;
}

}  // namespace zvrt::records
