#include "status.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "ZVRTDataCnvLib.h"

namespace record_exchange {
namespace {

struct Entry {
  std::uint32_t code;
  std::string_view name;
  std::string_view text;
};

constexpr std::array entries{
    Entry{ZVRT_RC_OK, "ZVRT_RC_OK", "success"},
    Entry{ZVRT_RC_INVALID_CHAR, "ZVRT_RC_INVALID_CHAR", "a character or byte that the code page does not have"},
    Entry{ZVRT_RC_INVALID_PARAM, "ZVRT_RC_INVALID_PARAM", "the value is empty"},
    Entry{ZVRT_RC_INVALID_YEAR, "ZVRT_RC_INVALID_YEAR", "year out of range"},
    Entry{ZVRT_RC_INVALID_DAY, "ZVRT_RC_INVALID_DAY", "no such day in the month"},
    Entry{ZVRT_RC_INVALID_MONTH, "ZVRT_RC_INVALID_MONTH", "no such month"},
    Entry{ZVRT_RC_INVALID_HOUR, "ZVRT_RC_INVALID_HOUR", "hour above 23"},
    Entry{ZVRT_RC_INVALID_MINUTE, "ZVRT_RC_INVALID_MINUTE", "minute above 59"},
    Entry{ZVRT_RC_INVALID_SECOND, "ZVRT_RC_INVALID_SECOND", "second above 59"},
    Entry{ZVRT_RC_INVALID_FORMAT, "ZVRT_RC_INVALID_FORMAT", "the date model has an unknown element"},
    Entry{ZVRT_RC_EMPTY_RESULT, "ZVRT_RC_EMPTY_RESULT", "the value's text is empty"},
    Entry{ZVRT_RC_BLANK_TEXT, "ZVRT_RC_BLANK_TEXT", "the date is blank"},
    Entry{ZVRT_RC_TRUNCATED, "ZVRT_RC_TRUNCATED", "the value is longer than its field"},
    Entry{ZVRT_RC_NO_CONVERTER, "ZVRT_RC_NO_CONVERTER", "no converter for the code page"},
    Entry{ZVRT_RC_NO_MEMORY, "ZVRT_RC_NO_MEMORY", "out of memory"},
    Entry{ZVRT_RC_INVALID_INTEGER, "ZVRT_RC_INVALID_INTEGER", "something other than digits in an integer"},
    Entry{ZVRT_RC_INVALID_FLOAT, "ZVRT_RC_INVALID_FLOAT", "not a number of single precision"},
    Entry{ZVRT_RC_HOUR_OUT_OF_RANGE, "ZVRT_RC_HOUR_OUT_OF_RANGE", "the hour is outside its element's range"},
    Entry{ZVRT_RC_INVALID_DATETIME, "ZVRT_RC_INVALID_DATETIME", "the text does not match the date model"},
    Entry{ZVRT_RC_INVALID_DOUBLE, "ZVRT_RC_INVALID_DOUBLE", "not a number of double precision"},
    Entry{ZVRT_RC_ERROR, "ZVRT_RC_ERROR", "the library refuses the value"},
    Entry{rx_null, "RX_NULL", "null"},
    Entry{rx_null_not_allowed, "RX_NULL_NOT_ALLOWED", "a null, and the layout gives the field no null policy"},
    Entry{rx_reads_as_null, "RX_READS_AS_NULL", "a value that would read back as null"},
    Entry{rx_not_text, "RX_NOT_TEXT", "a binary value"},
    Entry{rx_zero_inside, "RX_ZERO_INSIDE", "a zero character inside the text"},
    Entry{rx_not_a_number, "RX_NOT_A_NUMBER", "not a decimal number"},
    Entry{rx_too_many_digits, "RX_TOO_MANY_DIGITS", "more digits than the picture has"},
    Entry{rx_fraction_lost, "RX_FRACTION_LOST", "more decimal places than the picture has"},
    Entry{rx_negative, "RX_NEGATIVE", "a negative value in a field without a sign"},
    Entry{rx_not_kept, "RX_NOT_KEPT", "more digits than the number format keeps"},
    Entry{rx_not_in_model, "RX_NOT_IN_MODEL", "not written as the date model writes it"},
    Entry{rx_part_lost, "RX_PART_LOST", "the other date model does not carry all of the value"},
    Entry{rx_broken_number, "RX_BROKEN_NUMBER", "the field's bytes are not a number of its picture"},
    Entry{rx_broken_indicator, "RX_BROKEN_INDICATOR", "the indicator byte is neither 00 nor FF"},
    Entry{rx_cut_record, "RX_CUT_RECORD", "the file ends inside a record"},
    Entry{rx_different, "RX_DIFFERENT", "the values differ"},
    Entry{rx_trailing_blanks, "RX_TRAILING_BLANKS",
          "trailing blanks, which a fixed field cannot tell from its filling"},
    Entry{rx_missing_row, "RX_MISSING_ROW", "the row has no counterpart"},
    Entry{rx_surplus_row, "RX_SURPLUS_ROW", "the row is beyond the table's end"},
};

const Entry* find(std::uint32_t status) {
  const auto* const found =
      std::find_if(entries.begin(), entries.end(), [=](const Entry& entry) { return entry.code == status; });
  return found == entries.end() ? nullptr : found;
}

}  // namespace

std::string name_of(std::uint32_t status) {
  const Entry* const entry = find(status);
  return entry != nullptr ? std::string(entry->name) : fmt::format("STATUS_{}", status);
}

std::string text_of(std::uint32_t status) {
  const Entry* const entry = find(status);
  return entry != nullptr ? std::string(entry->text) : "a status of the platform";
}

std::string describe(std::uint32_t status) { return fmt::format("{} ({})", text_of(status), name_of(status)); }

}  // namespace record_exchange
