// What the command line asks for.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_ARGUMENTS_H
#define ZVRT_TOOLS_ZVRT_RECORDS_ARGUMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "records/codec/codec_options.h"
#include "records/files/file_roles.h"
#include "records/formats/format.h"
#include "records/layout/layout.h"
#include "records/tables/table.h"

namespace zvrt::records {

enum class Verb { import_records, export_table, verify, inspect, ranges, layout, ddl };
enum class OnReject { skip, keep, stop };

struct Arguments {
  Verb verb = Verb::import_records;
  std::string layout;
  std::vector<std::string> records;
  std::string table_file;
  std::string table;
  std::string rejects;
  bool rejects_told = false;
  std::string code_page;
  std::string newline;
  std::string format = "F";
  bool format_told = false;
  std::string rdw_order = "big";
  std::string rdw_includes = "yes";
  int rdw_adjust = 0;
  std::size_t record_length = 0;
  std::string length_field;
  std::size_t skip_header = 0;
  std::size_t skip_trailer = 0;
  std::size_t record_header = 0;
  std::string record;
  std::vector<std::string> segments;
  std::string redefines = "all";
  std::string odo;
  std::string low_values = "blank";
  std::string trim = "right";
  std::string binary = "std";
  std::string binary_size = "2-4-8";
  unsigned sync = 4;
  std::string native;
  std::string floats;
  std::vector<std::string> replacing;
  std::vector<std::string> folders;
  bool keep_bytes = false;
  bool tables_hold_times = false;  // as CodecOptions has it; no option of the command
  std::string range;
  std::vector<std::string> columns;
  std::uint64_t limit = 0;
  bool dry_run = false;
  std::uint64_t max_rejects = 0;
  std::vector<std::string> nulls;
  OnReject on_reject = OnReject::skip;
  bool replace = false;
  bool append = false;
  bool create = false;
  std::string order_by;
  bool json = false;
  std::string delimiter = ",";
  std::string null_text;
  bool null_text_told = false;
  bool bom = false;
  std::string html;
  std::string manifest;
  std::uint64_t part_records = 1000000;  // of a range
  std::vector<std::string> words;        // of the command line, without what the output does not depend on
  unsigned threads = 0;                  // 0: as many as there are processors
};

// As many threads as told; else one for each processor that the process may use, 4 at most.
unsigned threads_of(const Arguments& arguments);

// Reads the command line. A number: the program ends with it, since help was asked for or the line is wrong.
int parse_arguments(int argc, char** argv, Arguments& arguments, bool& ends);

}  // namespace zvrt::records

#endif
