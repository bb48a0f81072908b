// A table beside a record file: what the records hold is compared with what the table says, cell by cell.
#include <algorithm>
#include <charconv>

#include "fit.h"
#include "journal.h"
#include "merged_rows.h"
#include "places.h"
#include "records/files/interruption.h"
#include "routing.h"
#include "runs.h"

namespace zvrt::records {
namespace {

bool equal(const Field& field, std::string_view one, std::string_view other) {
  if (one == other) return true;
  switch (field.table_column().type) {
    case TableColumn::Type::number:
    case TableColumn::Type::integer: return plain_number(one) == plain_number(other);
    case TableColumn::Type::real: {
      double first = 0;
      double second = 0;
      const bool read = std::from_chars(one.data(), one.data() + one.size(), first).ec == std::errc{} &&
                        std::from_chars(other.data(), other.data() + other.size(), second).ec == std::errc{};
      return read && first == second;
    }
    default: return false;
  }
}

class Comparison {
 public:
  Comparison(const Job& job, Journal& journal)
      : job_(job),
        journal_(journal),
        router_(job),
        reader_(job.arguments.records, job.format),
        rows_(job, false),
        decoded_(job.segments.size()) {}

  void run() {
    RecordBlock block;
    while (reader_.next(block)) {
      for (const Damage& damage : block.damages)
        journal_.refuse({damage.record, "", damage.offset, damage.first, rx_damage, damage.why});
      compare(block);
      check_interruption();
      journal_.progress({reader_.bytes_read(), reader_.total_bytes()});
    }
    journal_.bytes = reader_.bytes_read();
    while (rows_.next() != nullptr) missing(++journal_.read, rx_missing_row);
  }

 private:
  void missing(std::uint64_t number, Status status) {
    ++journal_.left_out;
    journal_.refuse({number, "", 0, {}, status, text_of(status)});
  }

  void compare(const RecordBlock& block) {
    const Routed routed = router_.route(block);
    std::vector<std::pair<std::size_t, std::size_t>> places(block.count(), {no_index, 0});
    for (std::size_t s = 0; s < routed.rows.size(); ++s) {
      std::vector<std::int64_t> starts;
      std::vector<std::int32_t> lengths;
      for (std::size_t i = 0; i < routed.rows[s].size(); ++i) {
        const std::size_t row = routed.rows[s][i];
        places[row] = {s, i};
        starts.push_back(block.starts[row]);
        lengths.push_back(block.lengths[row]);
      }
      if (!starts.empty())
        job_.segments[s].codec->decode({block.bytes.data(), 0, starts.data(), lengths.data(), starts.size()},
                                       decoded_[s]);
    }
    for (std::size_t row = 0; row < block.count(); ++row) {
      const auto [segment, at] = places[row];
      if (segment == no_index) continue;
      const std::uint64_t number = ++journal_.read;
      const MergedRows::Source* const source = rows_.next();
      if (source == nullptr || source->segment != &job_.segments[segment])
        missing(number, rx_surplus_row);
      else
        compare_row(number, segment, at, *source);
    }
  }

  void compare_row(std::uint64_t number, std::size_t segment, std::size_t at, const MergedRows::Source& source) {
    ++journal_.carried;
    const auto& fields = job_.segments[segment].codec->fields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const DecodedCells& found = decoded_[segment].fields[i];
      const bool null = source.fields[i].is_null(source.at);
      Status status = found.status[at];
      if (status == ZVRT_RC_OK && null != (found.lengths[at] == null_cell)) status = rx_different;
      if (status == ZVRT_RC_OK && !null && !equal(*fields[i], source.fields[i].at(source.at), found.cells().at(at)))
        status = rx_different;
      FieldCounts& counts = journal_.field(segment, i);
      if (status == ZVRT_RC_OK) {
        ++(null ? counts.nulls : counts.converted);
        continue;
      }
      ++counts.refused[status];
      journal_.refuse({number, fields[i]->column().field, fields[i]->column().offset,
                       null ? std::string_view() : source.fields[i].at(source.at), status, text_of(status)});
    }
  }

  const Job& job_;
  Journal& journal_;
  Router router_;
  RecordReader reader_;
  MergedRows rows_;
  std::vector<DecodedRecords> decoded_;
};

}  // namespace

int verify_table(const Arguments& arguments) {
  Job job(arguments);
  const MadeFolder folder = check_places(job);
  Journal journal(job);
  try {
    for (const std::string& warning : fit_warnings(job)) journal.warn(warning);
    Comparison(job, journal).run();
  } catch (...) {
    journal.keep_rejects();
    throw;
  }
  journal.keep_rejects();
  journal.report("verify");
  return journal.refusals == 0 ? 0 : 1;
}

}  // namespace zvrt::records
