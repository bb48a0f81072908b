#include "exchange.h"

#include "cell_text.h"
#include "record_file.h"
#include "status.h"

namespace record_exchange {
namespace {

// Writes down how each cell fared. True when the row goes on.
class RowJudge {
 public:
  RowJudge(Journal& journal, OnReject on_reject) : journal_(journal), on_reject_(on_reject) {}

  // `bytes_of(field)` gives the value that was refused.
  bool operator()(std::uint64_t record, const Outcomes& outcomes, const auto& bytes_of) {
    for (std::size_t field = 0; field < outcomes.size(); ++field) {
      journal_.cell(field, outcomes[field]);
      if (is_refused(outcomes[field])) journal_.refusal(record, field, bytes_of(field), outcomes[field]);
    }
    if (!any_refused(outcomes) || on_reject_ == OnReject::keep) return true;
    ++journal_.counts().rows_left_out;
    stopped_ = on_reject_ == OnReject::stop;
    return false;
  }
  bool stopped() const { return stopped_; }

 private:
  Journal& journal_;
  OnReject on_reject_;
  bool stopped_ = false;
};

// The second side of a comparison: rows from a table or decoded from records.
class Counterpart {
 public:
  Counterpart() = default;
  Counterpart(const Counterpart&) = delete;
  Counterpart& operator=(const Counterpart&) = delete;
  virtual ~Counterpart() = default;
  virtual bool next(Row& row, Outcomes& outcomes) = 0;
};

class TableCounterpart final : public Counterpart {
 public:
  explicit TableCounterpart(std::unique_ptr<RowSource> rows) : rows_(std::move(rows)) {}
  bool next(Row& row, Outcomes& outcomes) override {
    outcomes.assign(row.cells.size(), ZVRT_RC_OK);
    return rows_->next(row);
  }

 private:
  std::unique_ptr<RowSource> rows_;
};

class RecordCounterpart final : public Counterpart {
 public:
  RecordCounterpart(const std::string& file, RecordCodec& codec)
      : codec_(codec),
        file_(file, RecordFile::Mode::read, codec.layout().record_length),
        record_(codec.layout().record_length, '\0') {}
  bool next(Row& row, Outcomes& outcomes) override {
    const std::size_t size = file_.read(record_.data());
    if (size == 0) return false;
    if (size == record_.size())
      codec_.decode(record_.data(), row, outcomes);
    else
      outcomes.assign(row.cells.size(), rx_cut_record);
    return true;
  }

 private:
  RecordCodec& codec_;
  RecordFile file_;
  std::string record_;
};

class Comparison {
 public:
  Comparison(const Job& job, RecordCodec& codec, Journal& journal)
      : job_(job),
        codec_(codec),
        journal_(journal),
        expected_(job.layout.fields.size()),
        found_(job.layout.fields.size()),
        record_(job.layout.record_length, '\0') {}

  void run(RowSource& rows, Counterpart& other) {
    while (rows.next(expected_)) {
      journal_.row_read();
      const std::uint64_t row = journal_.counts().rows_read;
      codec_.encode(expected_, record_.data(), encoded_);
      if (any_refused(encoded_) && job_.on_reject != OnReject::keep) {
        ++journal_.counts().rows_left_out;
        for (std::size_t field = 0; field < encoded_.size(); ++field) journal_.cell(field, encoded_[field]);
        if (job_.on_reject == OnReject::stop) break;
      } else if (!other.next(found_, decoded_)) {
        missing(row, rx_missing_row);
      } else {
        compare(row);
      }
    }
    while (other.next(found_, decoded_))
      missing(journal_.counts().rows_carried + journal_.counts().rows_missing + 1, rx_surplus_row);
  }

 private:
  void missing(std::uint64_t row, Status status) {
    ++journal_.counts().rows_missing;
    journal_.refusal(row, "", 0, "", status);
  }

  void compare(std::uint64_t row) {
    ++journal_.counts().rows_carried;
    for (std::size_t field = 0; field < decoded_.size(); ++field) {
      Status status = is_refused(decoded_[field]) ? decoded_[field]
                                                  : codec_.compare(field, expected_.cells[field], found_.cells[field]);
      // Where the record could not hold the cell, that is why they differ.
      if (status == rx_different && is_refused(encoded_[field])) status = encoded_[field];
      journal_.cell(field, status);
      if (is_refused(status)) journal_.refusal(row, field, text_.of(expected_.cells[field]), status);
    }
  }

  const Job& job_;
  RecordCodec& codec_;
  Journal& journal_;
  Row expected_;
  Row found_;
  Outcomes encoded_;
  Outcomes decoded_;
  std::string record_;
  CellText text_;
};

Counts compare_with(const Job& job, RecordCodec& codec, Counterpart& other, const char* label) {
  const auto rows = open_source(job.table, job.layout);
  Journal journal(job.layout, label, job.rejects);
  if (journal.progress().visible()) journal.progress().expect(rows->expected_rows());
  Comparison(job, codec, journal).run(*rows, other);
  return journal.finish();
}

// What the layout calls an integer becomes one; other cells stay as they are.
void make_integers(const Layout& layout, Row& row, WideText& wide) {
  for (std::size_t i = 0; i < row.cells.size(); ++i) {
    Cell& cell = row.cells[i];
    if (!(layout.fields[i].is_integer() || layout.fields[i].usage == Usage::number) || cell.kind != Cell::Kind::text)
      continue;
    std::int64_t value = 0;
    std::uint32_t size = 0;
    const bool ends_in_digit = !cell.text.empty() && cell.text.back() >= '0' && cell.text.back() <= '9';
    if (ends_in_digit && cell.text.size() <= 18 && to_wide(cell, wide) == ZVRT_RC_OK &&
        ZVRTCnvWVarcharSzToLongLong(wide.c_str(), nullptr, &value, sizeof value, &size, nullptr) == ZVRT_RC_OK)
      cell = Cell::of_integer(value);
  }
}

}  // namespace

Counts export_table(const Job& job) {
  RecordCodec codec(job.layout);
  const auto rows = open_source(job.table, job.layout);
  RecordFile file(job.records, RecordFile::Mode::write, job.layout.record_length);
  Journal journal(job.layout, "export", job.rejects);
  if (journal.progress().visible()) journal.progress().expect(rows->expected_rows());
  RowJudge goes_on(journal, job.on_reject);
  Row row(job.layout.fields.size());
  Outcomes outcomes;
  CellText text;
  std::string record(job.layout.record_length, '\0');
  while (!goes_on.stopped() && rows->next(row)) {
    journal.row_read();
    codec.encode(row, record.data(), outcomes);
    if (!goes_on(journal.counts().rows_read, outcomes, [&](std::size_t field) { return text.of(row.cells[field]); }))
      continue;
    file.write(record.data());
    ++journal.counts().rows_carried;
  }
  file.finish();
  return journal.finish();
}

Counts import_records(const Job& job) {
  RecordCodec codec(job.layout);
  RecordFile file(job.records, RecordFile::Mode::read, job.layout.record_length);
  const auto sink = open_sink(job.table, job.layout, job.existing);
  Journal journal(job.layout, "import", job.rejects);
  journal.progress().expect(file.records());
  RowJudge goes_on(journal, job.on_reject);
  Row row(job.layout.fields.size());
  Outcomes outcomes;
  std::string record(job.layout.record_length, '\0');
  for (std::size_t size = 0; !goes_on.stopped() && (size = file.read(record.data())) != 0;) {
    journal.row_read();
    const std::uint64_t number = journal.counts().rows_read;
    if (size < record.size()) {
      ++journal.counts().rows_left_out;
      journal.refusal(number, "", 0, {record.data(), size}, rx_cut_record);
      break;
    }
    codec.decode(record.data(), row, outcomes);
    const auto bytes_of = [&](std::size_t field) {
      return std::string_view(record).substr(job.layout.fields[field].offset, job.layout.fields[field].length);
    };
    if (!goes_on(number, outcomes, bytes_of)) continue;
    sink->write(row);
    ++journal.counts().rows_carried;
  }
  sink->finish();
  return journal.finish();
}

Counts verify_records(const Job& job) {
  RecordCodec codec(job.layout);
  RecordCounterpart other(job.records, codec);
  return compare_with(job, codec, other, "verify");
}

Counts compare_tables(const Job& job, const TableName& second) {
  RecordCodec codec(job.layout);
  TableCounterpart other(open_source(second, job.layout));
  return compare_with(job, codec, other, "compare");
}

std::uint64_t copy_table(const Layout& layout, const TableName& from, const TableName& into) {
  const auto rows = open_source(from, layout);
  const auto sink = open_sink(into, layout, Existing::replace);
  Row row(layout.fields.size());
  WideText wide;
  std::uint64_t count = 0;
  for (; rows->next(row); ++count) {
    make_integers(layout, row, wide);
    sink->write(row);
  }
  sink->finish();
  return count;
}

}  // namespace record_exchange
