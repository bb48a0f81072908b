// What a record file looks like, from its bytes alone.
//
// Four questions are asked of the first bytes of a file, each on its own:
//
//   text     how many bytes are letters, digits or blanks of EBCDIC, and how many of ASCII; the two sets share no byte
//   words    do length words lead from one to the next exactly to the end: in either byte order, counting themselves or
//            not, alone (V) or in blocks that have one too (VB)
//   lines    is it text alone, with an end of line after each record
//   lengths  which lengths divide the size, and how much a byte looks like the one so many bytes after it: the high
//            half-bytes of a digit, a blank or a packed number stay what they are from record to record
//
// A chain of words that ends just where the file does is rarely chance, so it says more than a length that divides.
// Nothing is decided here that the caller could not overrule.
#ifndef ZVRT_RECORDS_INSPECT_INSPECT_H
#define ZVRT_RECORDS_INSPECT_INSPECT_H

#include <string_view>
#include <vector>

#include "records/formats/format.h"

namespace zvrt::records {

enum class Coding { unknown, ebcdic, ascii };

struct Lengths {
  std::uint64_t records = 0;
  std::size_t shortest = 0;
  std::size_t longest = 0;
  void add(std::size_t length);
};

// Length words that chain to the end of the bytes.
struct Chain {
  RecordFormat format = RecordFormat::variable;
  LengthWords words;
  bool blocks_count_themselves = true;
  std::uint64_t blocks = 0;
  Lengths records;
};

struct FixedLength {
  std::size_t length = 0;
  double likeness = 0;  // share of bytes that look like the one `length` after them
};

struct FileFindings {
  std::uint64_t size = 0;  // of all records, bytes before and after them not counted
  bool whole = false;      // all of them were looked at
  double ebcdic = 0;       // share of letters, digits and blanks
  double ascii = 0;
  Coding coding = Coding::unknown;
  std::vector<Chain> chains;         // the likeliest first
  Lengths lines;                     // none: it is no text in lines
  std::vector<FixedLength> lengths;  // that divide the size, rising; from 2 to 32760
  std::size_t likely_length = 0;     // one of them; 0: none is likelier than others
};

// `bytes`: the first of `size` bytes of records. `record_header`: bytes before each record and its length word.
FileFindings inspect(std::string_view bytes, std::uint64_t size, std::size_t record_header = 0);

// The form that the findings speak for; F where nothing speaks for another.
RecordFormat likely_format(const FileFindings& findings);

}  // namespace zvrt::records

#endif
