// Cuts record files into ranges, for import --range in as many processes as there are.
//
// Fixed records are counted by the files' sizes. Others take one pass over their length words; a range then says as well
// at which byte it begins, and a file of blocks how many of them stand before it:
//
//   FIRST:COUNT             fixed records in regular files
//   FIRST:COUNT@BYTE:BLOCK  any other; cut where a block of the reader ends, and so after COUNT records or a few more
#include <fmt/format.h>

#include <cstdio>

#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/formats/record_reader.h"
#include "runs.h"

namespace zvrt::records {
namespace {

void print(const std::string& line) {
  if (std::fputs(line.c_str(), stdout) < 0) fail_with_errno("standard output cannot be written");
}

void cut_fixed(std::uint64_t records, std::uint64_t step) {
  for (std::uint64_t first = 1; first <= records; first += std::min(step, records))
    print(fmt::format("{}:{}\n", first, std::min(step, records - first + 1)));
}

void cut_by_reading(RecordReader& reader, std::uint64_t step) {
  RecordBlock block;
  ReadingPlace begin;
  const auto end_range = [&begin](const ReadingPlace& end) {
    print(fmt::format("{}:{}@{}:{}\n", begin.records + 1, end.records - begin.records, begin.byte, begin.block));
    begin = end;
  };
  // The last range takes what follows its last record.
  for (ReadingPlace end; reader.next(block); end = reader.place()) {
    check_interruption();
    if (end.records - begin.records >= step && block.count() != 0) end_range(end);
  }
  const ReadingPlace end = reader.place();
  if (end.records != begin.records || end.byte != begin.byte) end_range(end);
}

}  // namespace

int print_ranges(const Arguments& arguments) {
  const Job job(arguments);
  RecordReader reader(arguments.records, job.format);
  if (const auto records = reader.fixed_records())
    cut_fixed(*records, arguments.part_records);
  else
    cut_by_reading(reader, arguments.part_records);
  if (std::fflush(stdout) != 0) fail_with_errno("standard output cannot be written");
  return 0;
}

}  // namespace zvrt::records
