// How the fields of a record are read and written, beyond what the copybook says.
#ifndef ZVRT_RECORDS_CODEC_CODEC_OPTIONS_H
#define ZVRT_RECORDS_CODEC_CODEC_OPTIONS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zvrt::records {

struct CodePage {
  std::uint32_t number = 37;
  char kind = '\0';     // as FldDef::codePageKind
  bool ebcdic = true;   // zoned digits are F0 to F9
  char blank = '\x40';  // each byte of a blank
  unsigned unit = 1;    // 2: every character has two bytes, as in page 300
};

enum class Trim { right, both, none };
enum class LowValues { blank, refuse, keep };

struct CodecOptions {
  CodePage page;
  Trim trim = Trim::right;
  LowValues low_values = LowValues::blank;
  bool full_binary = false;  // COMP is written over its whole range
  bool native_big = true;    // byte order of COMP-5 and IEEE floats
  bool ibm_floats = true;
  bool tables_hold_times = false;  // a date with a time of day keeps it in a table that no note gives another form
  std::map<std::string, std::string> nulls;  // by column or item name: blanks, zeros, low-values, high-values or a text
};

// By number or name: 1047, IBM-1047, cp037, windows-1252, ISO-8859-15, UTF-8.
std::optional<std::uint32_t> code_page_number(std::string_view name);
// Throws a Failure if the page cannot be used.
CodePage code_page(std::uint32_t number, char kind);

}  // namespace zvrt::records

#endif
