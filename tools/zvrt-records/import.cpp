// Records to tables: blocks of records are read, converted by as many threads as there are, and written in their order.
#include <fmt/format.h>

#include "conversion.h"
#include "fit.h"
#include "in_order.h"
#include "places.h"
#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "runs.h"

namespace zvrt::records {
namespace {

class Import {
 public:
  Import(const Job& job, Journal& journal)
      : job_(job),
        journal_(journal),
        reader_(job.arguments.records, job.format),
        tables_(make_tables(job)),
        conversion_(job, tables_) {}

  void run() {
    InOrder<BlockOfImport>({[this](BlockOfImport& block) { return read(block); },
                            [this](BlockOfImport& block) { conversion_.convert(block); },
                            [this](const BlockOfImport& block) { deliver(block); }})
        .run(threads_of(job_.arguments));
    journal_.bytes = reader_.bytes_read();
    for (const auto& table : tables_) table->finish();
    if (longer_ != 0)
      journal_.warn(
          fmt::format("{} records are longer than their layout; only --keep-bytes keeps what follows it", longer_));
  }
  void commit() {
    for (const auto& table : tables_) table->commit();
  }

 private:
  static Tables make_tables(const Job& job) {
    Tables tables;
    if (job.arguments.dry_run) return tables;
    for (const Segment& segment : job.segments)
      tables.push_back(make_table(segment.table, segment.columns, job.table, job.existing(),
                                  tables.empty() ? nullptr : tables.front().get()));
    return tables;
  }

  bool read(BlockOfImport& block) {
    check_interruption();
    if (next_ > job_.last() || !reader_.next(block.records)) return false;
    next_ = block.records.first + block.records.count();
    block.bytes_read = reader_.bytes_read();
    return true;
  }

  void deliver(const BlockOfImport& block) {
    journal_.add(block.findings);
    longer_ += block.longer;
    if (!tables_.empty())
      for (std::size_t s = 0; s < block.texts.size(); ++s)
        if (!block.texts[s].empty()) tables_[s]->write_text(block.texts[s].text());
    for (std::size_t i = 0; i < block.used; ++i) write(*block.batches[i], block.records);
    if (journal_.stops()) throw Failure("stopped at a refusal");
    journal_.progress({block.bytes_read, reader_.total_bytes()});
    check_interruption();
  }

  // Rows that the table does not take are left out, whatever --on-reject says: there is no cell to be left null.
  void write(const Batch& batch, const RecordBlock& records) {
    TableWriter& table = *tables_[batch.segment];
    table.write(batch.rows);
    for (const RefusedRow& refused : table.refused()) {
      const std::size_t row = batch.records[refused.row];
      --journal_.carried;
      ++journal_.left_out;
      journal_.refuse({records.first + row,
                       refused.column,
                       0,
                       {records.bytes.data() + records.starts[row], static_cast<std::size_t>(records.lengths[row])},
                       refused.status,
                       refused.why});
    }
  }

  const Job& job_;
  Journal& journal_;
  RecordReader reader_;
  Tables tables_;
  Conversion conversion_;
  std::uint64_t next_ = 1;  // number of the record that is read next
  std::uint64_t longer_ = 0;
};

}  // namespace

int import_records(const Arguments& arguments) {
  Job job(arguments);
  const MadeFolder folder = check_places(job);
  Journal journal(job);
  try {
    for (const std::string& warning : fit_warnings(job)) journal.warn(warning);
    Import import(job, journal);
    import.run();
    journal.keep_rejects();
    journal.report("import");
    import.commit();
    folder.keep();
  } catch (...) {
    journal.keep_rejects();
    throw;
  }
  return journal.refusals == 0 ? 0 : 1;
}

}  // namespace zvrt::records
