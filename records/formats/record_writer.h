// Writes records in any form: the counterpart of the reader.
#ifndef ZVRT_RECORDS_FORMATS_RECORD_WRITER_H
#define ZVRT_RECORDS_FORMATS_RECORD_WRITER_H

#include <memory>
#include <string>
#include <string_view>

#include "records/codec/status.h"
#include "records/files/output_file.h"
#include "records/formats/format.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

class RecordWriter {
 public:
  RecordWriter(OutputFile& file, FormatOptions options);
  // `around` says what stood around the record when it was read; null if that is not known.
  void write(std::string_view record, const Surroundings* around = nullptr);
  // Why the record, were it written next, would be read as another one or several: it holds what ends its line
  // (rx_newline), or has not the length that the form of the file says (rx_length). Else ZVRT_RC_OK.
  Status refusal(std::string_view record, const Surroundings* around = nullptr) const;
  // What is still buffered goes to the file.
  void finish();

 private:
  bool holds_newline(std::string_view record, const Surroundings* around) const;
  bool has_length(std::string_view record, const Surroundings* around) const;
  void begin_block(std::size_t needed, const Surroundings* around);
  void end_block();
  void flush();

  OutputFile& file_;
  FormatOptions options_;
  std::string buffer_;
  std::string block_;  // VB: without its length word
  std::uint64_t block_number_ = 0;
  bool first_ = true;
  char newline_;               // D: of the line before
  bool line_is_open_ = false;  // the last line was one without an end
  bool trailer_written_ = false;
};

}  // namespace zvrt::records

#endif
