// Records to a table: a block of records is split by segment, decoded column by column and written.
#include <fmt/format.h>
#include <sys/stat.h>

#include <filesystem>

#include "journal.h"
#include "places.h"
#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/formats/record_reader.h"
#include "routing.h"
#include "runs.h"

namespace zvrt::records {
namespace {

class Import {
 public:
  Import(const Job& job, Journal& journal)
      : job_(job), journal_(journal), router_(job), reader_(job.arguments.records, job.format) {
    decoded_.resize(job.segments.size());
    if (job.arguments.dry_run) return;
    for (const Segment& segment : job.segments)
      tables_.push_back(make_table(segment.table, segment.columns, job.table, job.existing(),
                                   tables_.empty() ? nullptr : tables_.front().get()));
  }

  void run() {
    RecordBlock block;
    while (journal_.read < last() && reader_.next(block)) {
      for (const Damage& damage : block.damages) refuse_damage(damage);
      take(block);
      if (journal_.stops()) throw Failure("stopped at a refusal");
      journal_.progress({reader_.bytes_read(), reader_.total_bytes()});
      check_interruption();
    }
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
  std::uint64_t last() const {
    return job_.count > ~std::uint64_t{0} - job_.first ? ~std::uint64_t{0} : job_.first - 1 + job_.count;
  }

  void refuse_damage(const Damage& damage) {
    ++journal_.left_out;
    journal_.refuse({damage.record, "", damage.offset, damage.first, rx_damage,
                     fmt::format("{}, byte {}: {}; {} bytes", damage.file, damage.offset, damage.why, damage.bytes)});
  }

  void take(const RecordBlock& block) {
    journal_.read += block.count();
    const Routed routed = router_.route(block);
    for (const std::size_t row : routed.unknown) {
      if (!in_range(block.first + row)) continue;
      ++journal_.left_out;
      journal_.refuse({block.first + row,
                       job_.segments.front().field,
                       0,
                       {block.bytes.data() + block.starts[row], static_cast<std::size_t>(block.lengths[row])},
                       rx_unknown_segment,
                       text_of(rx_unknown_segment)});
    }
    for (std::size_t s = 0; s < job_.segments.size(); ++s)
      if (!routed.rows[s].empty()) take_segment(s, block, routed.rows[s]);
  }

  bool in_range(std::uint64_t number) const { return number >= job_.first && number <= last(); }

  void take_segment(std::size_t s, const RecordBlock& block, const std::vector<std::size_t>& rows) {
    const RecordCodec& codec = *job_.segments[s].codec;
    std::vector<std::int64_t> starts;
    std::vector<std::int32_t> lengths;
    for (const std::size_t row : rows) {
      starts.push_back(block.starts[row]);
      lengths.push_back(block.lengths[row]);
      if (static_cast<std::size_t>(lengths.back()) > codec.length()) ++longer_;
    }
    const bool all = rows.size() == block.count();
    DecodedRecords& decoded = decoded_[s];
    codec.decode({block.bytes.data(), all ? block.stride : 0, starts.data(), lengths.data(), rows.size()}, decoded);
    refuse_null_texts(decoded, rows.size());
    count(s, decoded, block, rows);
    RowBlock out;
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (!in_range(block.first + rows[row])) continue;
      const bool left_out = decoded.refused[row] != 0 && job_.arguments.on_reject != OnReject::keep;
      if (left_out)
        ++journal_.left_out;
      else
        out.rows.push_back(static_cast<std::uint32_t>(row)), ++journal_.carried;
    }
    if (tables_.empty()) return;
    const CellBlock extras = extras_of(s, block, rows);
    for (std::size_t i = 0; i < job_.segments[s].first_field; ++i) out.columns.push_back(extras.column(i));
    for (const DecodedCells& cells : decoded.fields) out.columns.push_back(cells.cells());
    for (std::size_t i = job_.segments[s].first_field; i < extras.columns.size(); ++i)
      out.columns.push_back(extras.column(i));
    tables_[s]->write(out);
  }

  // A text that stands for a null in the CSV file cannot be a value there.
  void refuse_null_texts(DecodedRecords& decoded, std::size_t count) const {
    if (!job_.table.null_text) return;
    for (DecodedCells& cells : decoded.fields)
      for (std::size_t row = 0; row < count; ++row)
        if (cells.lengths[row] != null_cell && cells.cells().at(row) == *job_.table.null_text) {
          cells.status[row] = rx_reads_as_null;
          cells.lengths[row] = null_cell;
          decoded.refused[row] = 1;
        }
  }

  void count(std::size_t s, const DecodedRecords& decoded, const RecordBlock& block,
             const std::vector<std::size_t>& rows) {
    const auto& fields = job_.segments[s].codec->fields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const DecodedCells& cells = decoded.fields[i];
      FieldCounts& counts = journal_.field(s, i);
      for (std::size_t row = 0; row < rows.size(); ++row) {
        const std::uint64_t number = block.first + rows[row];
        if (!in_range(number)) continue;
        if (cells.status[row] != ZVRT_RC_OK) {
          ++counts.refused[cells.status[row]];
          const char* const at = decoded.records + static_cast<std::int64_t>(row) * decoded.stride +
                                 static_cast<std::int64_t>(fields[i]->column().offset);
          const std::string_view bytes(at, fields[i]->length());
          journal_.refuse({number, fields[i]->column().field, fields[i]->column().offset, bytes, cells.status[row],
                           fields[i]->explain_decode(bytes, cells.status[row])});
        } else if (cells.lengths[row] != null_cell) {
          ++counts.converted;
        } else if (!decoded.unreadable[i].empty() && decoded.unreadable[i][row] != 0) {
          ++counts.unreadable;
        } else {
          ++counts.nulls;
        }
      }
    }
  }

  // RECORD_NUMBER, RECORD_BYTES and what stands around the record.
  CellBlock extras_of(std::size_t s, const RecordBlock& block, const std::vector<std::size_t>& rows) const {
    const Segment& segment = job_.segments[s];
    CellBlock extras;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < segment.columns.size(); ++i)
      if (i < segment.first_field || i >= segment.first_field + segment.codec->fields().size())
        names.push_back(segment.columns[i].name);
    extras.columns.resize(names.size());
    for (const std::size_t row : rows)
      for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == "RECORD_NUMBER") extras.add(i, std::to_string(block.first + row));
        if (names[i] == "RECORD_BYTES")
          extras.add(
              i, hexadecimal({block.bytes.data() + block.starts[row], static_cast<std::size_t>(block.lengths[row])}));
        if (names[i] == "BYTES_BEFORE") extras.add(i, hexadecimal(block.surroundings[row].before));
        if (names[i] == "BYTES_AFTER") extras.add(i, hexadecimal(block.surroundings[row].after));
        if (names[i] == "BLOCK_NUMBER") extras.add(i, std::to_string(block.surroundings[row].block));
      }
    return extras;
  }

  const Job& job_;
  Journal& journal_;
  Router router_;
  RecordReader reader_;
  std::vector<std::unique_ptr<TableWriter>> tables_;
  std::vector<DecodedRecords> decoded_;
  std::uint64_t longer_ = 0;
};

// A size that the record length does not divide tells that the layout does not fit.
void check_fit(const Job& job, Journal& journal) {
  if (job.format.format != RecordFormat::fixed || job.format.length_of) return;
  const std::size_t step = job.format.record_length + job.format.record_header;
  for (const std::string& file : job.arguments.records) {
    struct stat found {};
    if (file == "-" || stat(file.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) continue;
    const std::size_t around = job.format.skip_header + job.format.skip_trailer;
    const auto size = static_cast<std::size_t>(found.st_size);
    if (size >= around && (size - around) % step != 0)
      journal.warn(
          fmt::format("{}: {} bytes are no multiple of the record's {}; the layout or --record-format may not fit",
                      file, size - around, step));
  }
}

}  // namespace

int import_records(const Arguments& arguments) {
  Job job(arguments);
  const MadeFolder folder = check_places(job);
  Journal journal(job);
  try {
    check_fit(job, journal);
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
