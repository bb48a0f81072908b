// Records to tables: blocks of records are read, converted by as many threads as there are, and written in their order.
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "conversion.h"
#include "fit.h"
#include "in_order.h"
#include "manifest.h"
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
        conversion_(job, tables_) {
    start();
  }

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
  // The files of a part, under their temporary names, and the rejects.
  std::vector<PartFile> files() const {
    std::vector<PartFile> files;
    for (std::size_t s = 0; s < tables_.size(); ++s)
      files.push_back({job_.segments[s].table.file, hash_of_file(tables_[s]->temporary())});
    if (journal_.refusals != 0) files.push_back({job_.rejects, hash_of_file(job_.rejects)});
    return files;
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

  // Blocks before the range are not read where its place is known.
  void start() {
    if (job_.start)
      reader_.start_at(*job_.start);
    else if (job_.first == 1 || !reader_.start_after(job_.first - 1))
      return;
    next_ = job_.first;
  }

  bool read(BlockOfImport& block) {
    check_interruption();
    if (next_ > job_.last()) return read_end(block.records);
    if (!reader_.next(block.records)) return false;
    next_ = block.records.first + block.records.count();
    block.bytes_read = reader_.bytes_read();
    if (next_ > job_.last()) hold_back(block.records);
    return true;
  }

  // What is damaged after the range's last record is the next range's, unless no record follows it, or the range was cut
  // after it.
  void hold_back(RecordBlock& records) {
    const auto beyond = std::find_if(records.damages.begin(), records.damages.end(),
                                     [this](const Damage& damage) { return damage.record > job_.last(); });
    ended_ = next_ > job_.last() + 1;
    if (!ended_) held_.assign(beyond, records.damages.end());
    records.damages.erase(beyond, records.damages.end());
  }

  bool read_end(RecordBlock& records) {
    if (std::exchange(ended_, true)) return false;
    RecordBlock more;
    while (!job_.start && reader_.next(more)) {
      if (more.count() != 0) return false;
      held_.insert(held_.end(), more.damages.begin(), more.damages.end());
    }
    records.clear();
    records.first = next_;
    records.damages = std::move(held_);
    return !records.damages.empty();
  }

  void deliver(const BlockOfImport& block) {
    journal_.add(block.findings);
    longer_ += block.longer;
    if (!tables_.empty())
      for (std::size_t s = 0; s < block.texts.size(); ++s)
        if (!block.texts[s].empty()) tables_[s]->write_text(block.texts[s].text());
    for (std::size_t i = 0; i < block.used; ++i) write(*block.batches[i], block.records);
    if (journal_.stops()) throw Failure("stopped at a refusal");
    journal_.progress(progress(block.bytes_read));
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

  // Of a range by its records, as it ends before the file does.
  TableReader::Progress progress(std::uint64_t bytes) const {
    if (job_.count == ~std::uint64_t{0}) return {bytes, reader_.total_bytes()};
    return {journal_.read, job_.count};
  }

  const Job& job_;
  Journal& journal_;
  RecordReader reader_;
  Tables tables_;
  Conversion conversion_;
  std::uint64_t next_ = 1;    // number of the record that is read next
  bool ended_ = false;        // nothing after the range is the range's
  std::vector<Damage> held_;  // after its last record
  std::uint64_t longer_ = 0;
};

bool check_part(const Job& job) {
  if (job.arguments.manifest.empty()) return false;
  const bool database = job.segments.front().table.kind() == TableName::Kind::sqlite;
  if (job.arguments.append || job.arguments.dry_run || job.arguments.table_file == "-" ||
      (database && job.has_segments()))
    throw Failure("--manifest: each range needs tables of its own, in files that are made by it");
  return true;
}

// A database is changed in its place: the hash of a part would be of all that stands there.
void check_new_database(const Job& job) {
  const TableName& table = job.segments.front().table;
  std::error_code ignored;
  if (table.kind() == TableName::Kind::sqlite && std::filesystem::exists(table.file, ignored))
    throw Failure(table.file + " exists already; with --manifest each range makes a database of its own");
}

// A range that is done already: its report, and the status that it ended with.
std::optional<int> take_over(const Job& job, const Manifest& manifest) {
  const auto done = manifest.find();
  if (!done) return std::nullopt;
  Journal journal(job);
  journal.forget_fields();
  journal.read = done->read;
  journal.carried = done->rows;
  journal.left_out = done->left_out;
  journal.bytes = done->bytes;
  journal.warn(fmt::format("range {} was done before: {}, {} refusals", job.arguments.range, job.arguments.table_file,
                           done->refused));
  journal.report("import");
  return done->refused == 0 ? 0 : 1;
}

int import_all(Job& job, const Manifest* manifest) {
  const MadeFolder folder = check_places(job);
  Journal journal(job);
  try {
    for (const std::string& warning : fit_warnings(job)) journal.warn(warning);
    Import import(job, journal);
    import.run();
    journal.keep_rejects();
    if (manifest != nullptr)
      manifest->add({journal.read, journal.carried, journal.left_out, journal.refusals, journal.bytes, import.files()});
    journal.report("import");
    import.commit();
    folder.keep();
  } catch (...) {
    journal.keep_rejects();
    throw;
  }
  return journal.refusals == 0 ? 0 : 1;
}

}  // namespace

int import_records(const Arguments& arguments) {
  Job job(arguments);
  if (!check_part(job)) return import_all(job, nullptr);
  const Manifest manifest(job);
  if (const auto status = take_over(job, manifest)) return *status;
  check_new_database(job);
  return import_all(job, &manifest);
}

}  // namespace zvrt::records
