// What became of every cell: counts for the report, and the refused ones in a file.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_JOURNAL_H
#define ZVRT_TOOLS_ZVRT_RECORDS_JOURNAL_H

#include <chrono>
#include <map>

#include "job.h"
#include "records/files/output_file.h"
#include "records/tables/table.h"

namespace zvrt::records {

struct FieldCounts {
  std::uint64_t converted = 0;
  std::uint64_t nulls = 0;
  std::uint64_t unreadable = 0;  // of a meaning that does not hold
  std::map<Status, std::uint64_t> refused;
};

struct Refusal {
  std::uint64_t record = 0;
  std::string field;
  std::uint64_t offset = 0;
  std::string_view bytes;
  Status status = 0;
  std::string text;
};

// What became of the cells of a block, put together in any thread.
struct Findings {
  std::vector<std::vector<FieldCounts>> fields;  // of each segment
  std::uint64_t read = 0;
  std::uint64_t carried = 0;
  std::uint64_t left_out = 0;
  std::uint64_t refusals = 0;
  TextBuffer rejects;  // their lines in the reject file

  void begin(const Job& job);
  void refuse(const Refusal& refusal);
};

class Journal {
 public:
  explicit Journal(const Job& job);

  FieldCounts& field(std::size_t segment, std::size_t index) { return fields_[segment][index]; }
  void refuse(const Refusal& refusal);
  void add(const Findings& findings);
  // Whether the run has to end: `--on-reject stop`, or more refusals than are allowed.
  bool stops() const;
  bool is_shown() const { return visible_; }
  void progress(const TableReader::Progress& now);
  void warn(const std::string& text);
  // The report will be of a run that was made before, whose fields nobody counted.
  void forget_fields() { fields_.clear(); }

  // The report; throws a Failure if it cannot be written.
  void report(const std::string& what);
  // The reject file takes its place, whatever became of the run.
  void keep_rejects();

  std::uint64_t read = 0;
  std::uint64_t carried = 0;
  std::uint64_t left_out = 0;
  std::uint64_t refusals = 0;
  std::uint64_t bytes = 0;

 private:
  void write_rejects(std::string_view lines);
  std::string as_text(const std::string& what) const;
  std::string as_json(const std::string& what) const;
  double seconds() const;

  const Job& job_;
  std::vector<std::vector<FieldCounts>> fields_;
  std::unique_ptr<RegularOutput> rejects_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  double shown_ = 0;
  bool visible_;
  std::vector<std::string> warnings_;
};

}  // namespace zvrt::records

#endif
