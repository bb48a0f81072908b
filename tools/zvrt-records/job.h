// What a run needs: the layout, a codec for each segment, the form of the record file.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_JOB_H
#define ZVRT_TOOLS_ZVRT_RECORDS_JOB_H

#include <memory>
#include <set>

#include "arguments.h"
#include "records/codec/record_codec.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

// Records of some values of a field, and their table; without segments one of all records.
struct Segment {
  std::string name;
  std::string field;
  std::set<std::string> values;
  std::unique_ptr<Field> selector;  // reads `field`; null without segments
  std::unique_ptr<RecordCodec> codec;
  std::vector<TableColumn>
      columns;                  // of the table: RECORD_NUMBER, the fields, RECORD_BYTES and what stands around them
  std::size_t first_field = 0;  // in columns
  TableName table;
};

struct Job {
  const Arguments& arguments;
  Layout layout;
  CodecOptions codec;
  FormatOptions format;
  TableOptions table;
  std::vector<Segment> segments;
  std::uint64_t first = 1;
  std::uint64_t count = ~std::uint64_t{0};
  std::optional<ReadingPlace> start;  // of the range, where it says so
  std::string rejects;                // where refusals are written

  explicit Job(const Arguments& told);
  Job(const Arguments& told, Layout made);
  bool has_segments() const { return !arguments.segments.empty(); }
  Existing existing() const;
  // A part that is done again replaces what the run before it refused.
  Existing existing_rejects() const {
    return !arguments.manifest.empty() ? Existing::replace : arguments.rejects_told ? existing() : Existing::refuse;
  }
  std::uint64_t last() const { return count > ~std::uint64_t{0} - first ? ~std::uint64_t{0} : first - 1 + count; }

 private:
  void read_codec();
  void read_segments();
  void add_segment(const std::string& text, const RecordOptions& options);
  bool add_values(const std::string& name, const std::string& field, const std::vector<std::string>& values);
  std::unique_ptr<Field> selector_of(const std::string& option, const std::string& field,
                                     const ColumnOptions& wanted) const;
  LengthOfRecord length_by_tables() const;
  void add_bytes_columns(Segment& segment) const;
  void read_format();
  void read_table();
  void read_range();
};

LayoutOptions layout_options_of(const Arguments& arguments);
Layout layout_of(const Arguments& arguments);

}  // namespace zvrt::records

#endif
