// Writes records in any form: the counterpart of the reader.
#ifndef ZVRT_RECORDS_FORMATS_RECORD_WRITER_H
#define ZVRT_RECORDS_FORMATS_RECORD_WRITER_H

#include <memory>
#include <string>
#include <string_view>

#include "records/files/output_file.h"
#include "records/formats/format.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

class RecordWriter {
 public:
  RecordWriter(OutputFile& file, FormatOptions options);
  // `around` says what stood around the record when it was read; null if that is not known.
  void write(std::string_view record, const Surroundings* around = nullptr);
  // What is still buffered goes to the file.
  void finish();

 private:
  void begin_block(std::size_t needed, const Surroundings* around);
  void end_block();
  void write_line(std::string_view record, const Surroundings* around);
  void flush();

  OutputFile& file_;
  FormatOptions options_;
  std::string buffer_;
  std::string block_;  // VB: without its length word
  std::uint64_t block_number_ = 0;
  bool first_ = true;
  bool trailer_written_ = false;
};

}  // namespace zvrt::records

#endif
