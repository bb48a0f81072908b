// A table to records: a block of rows is encoded column by column, and the rows of all segments are merged.
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

// Counts the cells of a row, and tells of the refused ones. True if there were any.
bool judge(Journal& journal, const Job& job, const MergedRows::Source& source, std::uint64_t number) {
  const auto segment = static_cast<std::size_t>(source.segment - job.segments.data());
  const auto& fields = source.segment->codec->fields();
  const std::string_view broken = source.broken();
  bool refused = !broken.empty();
  if (refused) journal.refuse({number, std::string(broken), 0, {}, rx_bytes, text_of(rx_bytes)});
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Status status = source.encoded.status[i][source.at];
    FieldCounts& counts = journal.field(segment, i);
    const bool null = source.fields[i].is_null(source.at);
    if (status == ZVRT_RC_OK) {
      ++(null ? counts.nulls : counts.converted);
      continue;
    }
    refused = true;
    ++counts.refused[status];
    const std::string_view text = null ? std::string_view() : source.fields[i].at(source.at);
    journal.refuse({number, fields[i]->column().field, fields[i]->column().offset, text, status,
                    fields[i]->explain_encode(text, status)});
  }
  return refused;
}

}  // namespace

int export_table(const Arguments& arguments) {
  Job job(arguments);
  const MadeFolder folder = check_places(job);
  Journal journal(job);
  try {
    MergedRows rows(job, true, threads_of(arguments) > 1);
    const auto file = output_of(job);
    RecordWriter writer(*file, job.format);
    while (MergedRows::Source* const source = rows.next()) {
      const std::uint64_t number = ++journal.read;
      if ((number & 0xFFF) == 0) {
        if (journal.is_shown()) journal.progress(rows.progress());
        check_interruption();
      }
      if (number < job.first) continue;
      if (number - job.first >= job.count) {
        --journal.read;
        break;
      }
      const std::string& record = source->encoded.records[source->at];
      const Surroundings* const around = source->around();
      bool refused = judge(journal, job, *source, number);
      const Status form = writer.refusal(record, around);
      if (!refused && form != ZVRT_RC_OK) journal.refuse({number, "", 0, record, form, text_of(form)});
      if (journal.stops()) throw Failure("stopped at a refusal");
      const bool can_be_kept = form == ZVRT_RC_OK && source->broken().empty();
      refused = refused || form != ZVRT_RC_OK;
      if (refused && (arguments.on_reject != OnReject::keep || !can_be_kept)) {
        ++journal.left_out;
        continue;
      }
      ++journal.carried;
      journal.bytes += record.size();
      writer.write(record, around);
    }
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
