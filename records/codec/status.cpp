#include "records/codec/status.h"

#include <array>

#include "ZVRTColumns.h"

namespace zvrt::records {
namespace {

struct Entry {
  Status status;
  const char* name;
  const char* text;
};
constexpr std::array entries{
    Entry{rx_reads_as_null, "RX_READS_AS_NULL", "a value that would read back as null"},
    Entry{rx_low_value, "RX_LOW_VALUE", "a byte 00 in text"},
    Entry{rx_broken_indicator, "RX_BROKEN_INDICATOR", "the indicator byte is neither 00 nor FF"},
    Entry{rx_not_edited, "RX_NOT_EDITED", "not a number as its picture edits one"},
    Entry{rx_count, "RX_COUNT", "a table's count is no number or out of its range"},
    Entry{rx_not_there, "RX_NOT_THERE", "a value in an entry beyond the table's count"},
    Entry{rx_cut_field, "RX_CUT_FIELD", "the record ends inside the field"},
    Entry{rx_unknown_segment, "RX_UNKNOWN_SEGMENT", "no segment is of this value"},
    Entry{rx_damage, "RX_DAMAGE", "bytes that are no record"},
    Entry{rx_different, "RX_DIFFERENT", "the values differ"},
    Entry{rx_missing_row, "RX_MISSING_ROW", "the row has no counterpart"},
    Entry{rx_surplus_row, "RX_SURPLUS_ROW", "the record is beyond the table's end"},
    Entry{rx_two_meanings, "RX_TWO_MEANINGS", "two meanings of the same bytes were changed"},
    Entry{rx_bytes, "RX_BYTES", "what was kept of the record is not hexadecimal, or no number"},
    Entry{rx_table, "RX_TABLE", "the table refuses the row"},
    Entry{rx_length, "RX_LENGTH", "the record's length is not the one that the file's form or its own fields say"},
    Entry{rx_newline, "RX_NEWLINE", "the record holds what ends a line"},
};

}  // namespace

std::string name_of(Status status) {
  for (const Entry& entry : entries)
    if (entry.status == status) return entry.name;
  return ZVRTStatusName(status);
}

std::string text_of(Status status) {
  for (const Entry& entry : entries)
    if (entry.status == status) return entry.text;
  return ZVRTStatusText(status);
}

}  // namespace zvrt::records
