#include "places.h"

#include <unistd.h>

#include <filesystem>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

// Parts of a file have a reject file each, beside their table.
std::string default_rejects(const Arguments& arguments) {
  const bool is_part = !arguments.range.empty() && arguments.verb == Verb::import_records;
  if (is_part && arguments.table_file != "-") return arguments.table_file + ".rejects.csv";
  if (arguments.records.front() != "-") return arguments.records.front() + ".rejects.csv";
  const bool is_file =
      arguments.table_file != "-" && TableName{arguments.table_file, ""}.kind() != TableName::Kind::odbc;
  if (is_file) return arguments.table_file + ".rejects.csv";
  return "zvrt-records.rejects.csv";
}

bool is_folder_of_tables(const Job& job) {
  return job.has_segments() && job.segments.front().table.file != job.arguments.table_file;
}

void tell_table(const Job& job, FileRoles& roles, bool written) {
  const std::string& file = job.arguments.table_file;
  if (job.segments.front().table.kind() == TableName::Kind::odbc) return;
  if (is_folder_of_tables(job)) {
    if (written) roles.writes_into(file, "the folder of tables");
    for (const Segment& segment : job.segments) {
      if (!written) roles.reads(segment.table.file, "a table");
      if (written && std::filesystem::is_directory(file)) roles.writes(segment.table.file, "a table", job.existing());
    }
  } else if (file == "-") {
    roles.standard(written ? STDOUT_FILENO : STDIN_FILENO, written ? "standard output" : "standard input");
  } else if (!written) {
    roles.reads(file, "the table");
  } else {  // a database is changed, not replaced
    roles.writes(file, "the table",
                 job.segments.front().table.kind() == TableName::Kind::sqlite ? Existing::append : job.existing());
  }
}

}  // namespace

MadeFolder::~MadeFolder() {
  if (!path_.empty() && !kept_) rmdir(path_.c_str());
}

MadeFolder check_places(Job& job) {
  const Arguments& arguments = job.arguments;
  FileRoles roles;
  roles.reads(arguments.layout, "the layout");
  const bool makes_table = arguments.verb == Verb::import_records;
  if (!makes_table || !arguments.dry_run) tell_table(job, roles, makes_table);
  for (const std::string& file : arguments.records) {
    const bool written = arguments.verb == Verb::export_table;
    if (file == "-")
      roles.standard(written ? STDOUT_FILENO : STDIN_FILENO, written ? "standard output" : "standard input");
    else if (!written)
      roles.reads(file, "the records");
    else if (!arguments.dry_run)
      roles.writes(file, "the records", job.existing());
  }
  if (job.rejects.empty()) job.rejects = default_rejects(arguments);
  if (!arguments.rejects_told && arguments.manifest.empty()) job.rejects = free_name(job.rejects);
  if (!arguments.dry_run) roles.writes(job.rejects, "the rejects", job.existing_rejects());
  roles.check();
  if (arguments.verb != Verb::import_records || arguments.dry_run || !is_folder_of_tables(job) ||
      std::filesystem::exists(arguments.table_file))
    return MadeFolder();
  std::error_code error;
  std::filesystem::create_directory(arguments.table_file, error);
  if (error) throw Failure(arguments.table_file + ": " + error.message());
  return MadeFolder(arguments.table_file);
}

}  // namespace zvrt::records
