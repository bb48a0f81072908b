// A table to records: a block of rows is encoded column by column, and the rows of all segments are merged.
#include <algorithm>
#include <utility>

#include "journal.h"
#include "merged_rows.h"
#include "places.h"
#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/formats/record_writer.h"
#include "runs.h"

namespace zvrt::records {
namespace {

class Discarded final : public OutputFile {
 public:
  void write(std::string_view /*bytes*/) override {}
  void finish() override {}
  void commit() override {}
};

std::unique_ptr<OutputFile> output_of(const Job& job) {
  if (job.arguments.dry_run) return std::make_unique<Discarded>();
  if (job.arguments.records.front() == "-") return std::make_unique<StandardOutput>();
  return std::make_unique<RegularOutput>(job.arguments.records.front(), job.existing());
}

std::size_t index_of(const Job& job, const MergedRows::Source& source) {
  return static_cast<std::size_t>(source.segment - job.segments.data());
}

// Tells of what was refused in a row. True if there was anything.
bool judge(Journal& journal, const Job& job, const MergedRows::Source& source, std::uint64_t number) {
  const std::string_view broken = source.broken();
  if (!broken.empty()) journal.refuse({number, std::string(broken), 0, {}, rx_bytes, text_of(rx_bytes)});
  if (source.encoded.refused[source.at] == 0) return !broken.empty();
  const auto& fields = source.segment->codec->fields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Status status = source.encoded.status[i][source.at];
    if (status == ZVRT_RC_OK) continue;
    ++journal.field(index_of(job, source), i).refused[status];
    const bool null = source.fields[i].is_null(source.at);
    const std::string_view text = null ? std::string_view() : source.fields[i].at(source.at);
    journal.refuse({number, fields[i]->column().field, fields[i]->column().offset, text, status,
                    fields[i]->explain_encode(text, status)});
  }
  return true;
}

// Counts the cells of rows that were judged, those of a block at once: one loop down each column.
class Tally {
 public:
  Tally(Journal& journal, const Job& job) : journal_(journal), job_(job), from_(job.segments.size()) {}

  // The source's row is not to be counted, nor was one before it.
  void pass(const MergedRows::Source& source) { from_[index_of(job_, source)] = is_last(source) ? 0 : source.at + 1; }
  void judged(const MergedRows::Source& source) {
    if (is_last(source)) count(source, source.block.rows);
  }
  // What was judged of blocks that did not come to their ends.
  void finish(const std::vector<MergedRows::Source>& sources) {
    for (const MergedRows::Source& source : sources)
      if (!source.ended) count(source, source.at);
  }

 private:
  static bool is_last(const MergedRows::Source& source) { return source.at + 1 == source.block.rows; }

  void count(const MergedRows::Source& source, std::size_t end) {
    const std::size_t segment = index_of(job_, source);
    const std::size_t begin = std::exchange(from_[segment], 0);
    std::vector<std::size_t> refused;
    for (std::size_t row = begin; row < end; ++row)
      if (source.encoded.refused[row] != 0) refused.push_back(row);
    for (std::size_t i = 0; i < source.fields.size(); ++i) {
      const std::int32_t* const lengths = source.fields[i].lengths;
      auto nulls = static_cast<std::uint64_t>(std::count(lengths + begin, lengths + end, null_cell));
      std::uint64_t values = end - begin - nulls;
      for (const std::size_t row : refused)
        if (source.encoded.status[i][row] != ZVRT_RC_OK) --(lengths[row] == null_cell ? nulls : values);
      journal_.field(segment, i).nulls += nulls;
      journal_.field(segment, i).converted += values;
    }
  }

  Journal& journal_;
  const Job& job_;
  std::vector<std::size_t> from_;  // of each segment's block, the first row that is not counted yet
};

}  // namespace

int export_table(const Arguments& arguments) {
  Job job(arguments);
  const MadeFolder folder = check_places(job);
  Journal journal(job);
  try {
    MergedRows rows(job, true, threads_of(arguments) > 1);
    const auto file = output_of(job);
    RecordWriter writer(*file, job.format);
    Tally tally(journal, job);
    while (MergedRows::Source* const source = rows.next()) {
      const std::uint64_t number = ++journal.read;
      if ((number & 0xFFF) == 0) {
        if (journal.is_shown()) journal.progress(rows.progress());
        check_interruption();
      }
      if (number < job.first) {
        tally.pass(*source);
        continue;
      }
      if (number - job.first >= job.count) {
        --journal.read;
        break;
      }
      const std::string_view record = source->encoded.records[source->at];
      const Surroundings* const around = source->around();
      const bool refused = judge(journal, job, *source, number);
      tally.judged(*source);
      const bool is_taken = !refused || (arguments.on_reject == OnReject::keep && source->broken().empty());
      const Status form = is_taken ? writer.refusal(record, around) : Status{ZVRT_RC_OK};
      if (form != ZVRT_RC_OK) journal.refuse({number, "", 0, record, form, text_of(form)});
      if (journal.stops()) throw Failure("stopped at a refusal");
      if (!is_taken || form != ZVRT_RC_OK) {
        ++journal.left_out;
        continue;
      }
      ++journal.carried;
      journal.bytes += record.size();
      writer.write(record, around);
    }
    tally.finish(rows.sources());
    writer.finish();
    file->finish();
    journal.keep_rejects();
    journal.report("export");
    file->commit();
  } catch (...) {
    journal.keep_rejects();
    throw;
  }
  return journal.refusals == 0 ? 0 : 1;
}

}  // namespace zvrt::records
