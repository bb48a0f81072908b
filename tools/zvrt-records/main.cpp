// The command: mainframe record files to tables and back.
#include <fmt/format.h>

#include <cstdio>

#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/layout/print.h"
#include "runs.h"

namespace zvrt::records {
namespace {

constexpr int not_done = 2;

// The converter service, in force while the object lives.
class Library {
 public:
  Library() {
    if (const Status status = ZVRTInitDataConversion(); status != ZVRT_RC_OK)
      throw Failure("the conversion library does not start: " + text_of(status));
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { ZVRTTermDataConversion(); }
};

void print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
    fail_with_errno("standard output cannot be written");
}

int run(int argc, char** argv) {
  Arguments arguments;
  bool ends = false;
  const int status = parse_arguments(argc, argv, arguments, ends);
  if (ends) return std::fflush(stdout) == 0 ? status : not_done;
  watch_signals();
  const Library library;
  switch (arguments.verb) {
    case Verb::import_records: return import_records(arguments);
    case Verb::export_table: return export_table(arguments);
    case Verb::verify: return verify_table(arguments);
    case Verb::inspect: return inspect_records(arguments);
    case Verb::ranges: return print_ranges(arguments);
    case Verb::layout: return print_layout(arguments);
    case Verb::ddl: break;
  }
  return print_ddl(arguments);
}

}  // namespace

int print_layout(const Arguments& arguments) {
  const Layout layout = layout_of(arguments);
  print(arguments.json ? layout_as_json(layout) : layout_as_text(layout));
  return 0;
}

int print_ddl(const Arguments& arguments) {
  Job job(arguments);
  const std::string base =
      arguments.table.empty() && !job.has_segments() ? job.layout.records.front().name : arguments.table;
  for (const Segment& segment : job.segments) print(create_statement(base + segment.name, segment.columns) + ";\n");
  return 0;
}

}  // namespace zvrt::records

int main(int argc, char** argv) {
  try {
    return zvrt::records::run(argc, argv);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "zvrt-records: {}\n", failure.what());
    return zvrt::records::not_done;
  }
}
