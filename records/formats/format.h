// The forms of a record file, and what tells one record from the next.
//
//   F, FB   [record][record]...                       all of one length; or of a length that each tells itself
//   V       [LLLL 0000 record][LLLL 0000 record]...   a length word (RDW) before each
//   VB      [LLLL 0000 [RDW record][RDW record]]...   and a length word (BDW) before each block of them
//   D       [record newline][record newline]...       lines of text
//
// Before and after the records of a file there may be bytes of another kind, and before each record too.
#ifndef ZVRT_RECORDS_FORMATS_FORMAT_H
#define ZVRT_RECORDS_FORMATS_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zvrt::records {

enum class RecordFormat { fixed, variable, variable_blocked, lines };

struct LengthWords {
  bool big_endian = true;
  bool include_themselves = true;
  int adjust = 0;  // added to what the word says
};

// How long the record that begins at `bytes` is; `available` of it are there. Nothing: more bytes are needed to know.
// A `why` that is not empty: its own fields contradict each other.
struct OwnLength {
  std::size_t bytes = 0;
  std::string why;
};
using LengthOfRecord = std::function<std::optional<OwnLength>(const char* bytes, std::size_t available)>;

struct FormatOptions {
  RecordFormat format = RecordFormat::fixed;
  LengthWords words;
  std::size_t record_length = 0;    // of fixed records
  LengthOfRecord length_of;         // of records without a length word that tell their length themselves
  std::size_t least_length = 0;     // of the layout: what a damaged file is resynchronised by
  std::size_t greatest_length = 0;  // of the layout; 0: not known
  std::size_t skip_header = 0;
  std::size_t skip_trailer = 0;
  std::size_t record_header = 0;
  std::string newlines = "\n";        // D, reading: bytes of which the first that is met ends all lines
  std::string newline = "\n";         // D, writing
  char blank = ' ';                   // F, writing: what fills a record that is shorter than the others
  std::size_t block_length = 32760;   // VB: of a written block, its length word included
  std::size_t block_bytes = 1 << 18;  // reading: of the blocks that records are handed on in
  bool keep_surroundings = false;     // remember what stands around each record
};

}  // namespace zvrt::records

#endif
