// What every status is called and means.
#include <array>

#include "ZVRTColumns.h"
#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "ZVRTOSLibUnix.h"

namespace {

struct Entry {
  uint32_t status;
  const char* name;
  const char* text;
};

#define ZVRT_STATUS(name) name, #name

// clang-format off
constexpr std::array entries = {
  Entry{ZVRT_STATUS(ZVRT_RC_OK), "Success."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_CHAR), "The target's code page has no such character, or the text is malformed; look at the text and the code page."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_PARAM), "The source is empty or its length is missing; give the length in bytes."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_YEAR), "The year is not 1 to 9999; look at the source value."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_DAY), "The month has no such day; look at the source value."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_MONTH), "The month is not 1 to 12; look at the source value."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_HOUR), "The hour is not 0 to 23; look at the source value."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_MINUTE), "The minute is not 0 to 59; look at the source value."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_SECOND), "The second is not 0 to 59; look at the source value."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_FORMAT), "The format model holds an unknown element after a percent sign; correct the model."},
  Entry{ZVRT_STATUS(ZVRT_RC_EMPTY_RESULT), "The text of the value is empty (zero); this is no failure."},
  Entry{ZVRT_STATUS(ZVRT_RC_BLANK_TEXT), "The text of a timestamp is empty or only blanks; treat it as null or refuse it."},
  Entry{ZVRT_STATUS(ZVRT_RC_TRUNCATED), "The destination is too small; give it the bytes that the length says."},
  Entry{ZVRT_STATUS(ZVRT_RC_NO_CONVERTER), "No converter is known for the code page; check its number and kind letter."},
  Entry{ZVRT_STATUS(ZVRT_RC_NO_MEMORY), "There is not enough memory; pass fewer or shorter values."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_INTEGER), "The text of an integer holds something other than digits; look at the text."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_FLOAT), "The text is no single-precision number, or out of range; look at the text."},
  Entry{ZVRT_STATUS(ZVRT_RC_HOUR_OUT_OF_RANGE), "An hour is outside the range of its element; look at the text and the model."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_DATETIME), "The value does not match the format model or is no date; look at both."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_DOUBLE), "The text is no double-precision number, or out of range; look at the text."},
  Entry{ZVRT_STATUS(ZVRT_RC_OUT_OF_RANGE), "A binary number or date type cannot hold the value; choose a larger type."},
  Entry{ZVRT_STATUS(ZVRT_RC_DIGITS_LOST), "There are more digits than the type has before its decimal point; raise its precision."},
  Entry{ZVRT_STATUS(ZVRT_RC_FRACTION_LOST), "There are more digits after the decimal point, or more of a time, than the target has; raise its scale, or round or cut."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_DIGIT), "A position of a decimal field holds no digit; look at the field's bytes and the record's layout."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_SIGN), "The sign is not known, or the value is negative and the target has no sign."},
  Entry{ZVRT_STATUS(ZVRT_RC_NOT_IN_CODE_PAGE), "The target's code page has no such character; choose another page, or substitute."},
  Entry{ZVRT_STATUS(ZVRT_RC_UNPAIRED_SURROGATE), "Half of a surrogate pair stands alone; the text was cut or is no Unicode."},
  Entry{ZVRT_STATUS(ZVRT_RC_MALFORMED_UTF8), "The text is no valid UTF-8; it was cut or is in another code page."},
  Entry{ZVRT_STATUS(ZVRT_RC_MALFORMED_TEXT), "The text has bytes that its code page does not define; check the page."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_CODE_POINT), "A wide character is above U+10FFFF; the text is no Unicode."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_NUMBER), "The text is no number; trim its blanks or look at the text."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_LENGTH), "A length is negative, no whole number of units, or longer than its slot."},
  Entry{ZVRT_STATUS(ZVRT_RC_NULL_REFUSED), "The value is null and the target has neither an indicator nor a form for it."},
  Entry{ZVRT_STATUS(ZVRT_RC_INEXACT_FLOAT), "The nearest float does not read back as the value; use a decimal type."},
  Entry{ZVRT_STATUS(ZVRT_RC_NOT_FINITE), "The value is infinity or not a number, which the target cannot hold."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_VALUE), "A base-100 number, boolean or structure is malformed, or a terminated text would hold a zero."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_TYPE), "A type, array or field describes nothing; look at its members."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_PAIR), "There is no such conversion, or an option does not fit it."},
  Entry{ZVRT_STATUS(ZVRT_RC_INVALID_ARROW), "An Arrow structure is malformed or of another type than its column."},
  Entry{ZVRT_STATUS(ZVRT_RC_NOT_TERMINATED), "A terminated text has no terminator within its slot."},
  Entry{ZVRT_STATUS(ZVRT_RC_END_OF_FORMAT), "The format model has no further element."},
  Entry{ZVRT_STATUS(ZVRT_RC_ERROR), "An argument is null, or an operation failed."},
  Entry{ZVRT_STATUS(ZVRT_ENV_RC_NO_ANCHOR), "Conversions are not initialised; call ZVRTInitDataConversion() first."},
  Entry{ZVRT_STATUS(ZVRT_ENV_RC_NO_MEMORY), "The runtime environment has no memory for a block."},
  Entry{ZVRT_STATUS(ZVRT_ENV_RC_INVALID_PARAM), "The runtime environment was given a null pointer."},
  Entry{ZVRT_STATUS(ZVRT_ICU_RC_INVALID_PARAM), "The converter service was given a null pointer or a foreign block."},
  Entry{ZVRT_STATUS(ZVRT_ICU_RC_ICU_FAILED), "The converter service could not be started, or ran out of memory."},
};
// clang-format on

// The operating system's error numbers added to it stay below the environment library's statuses.
constexpr bool is_system_error(uint32_t status) {
  return status >= ZVRT_OS_RC_ERRNO && status - ZVRT_OS_RC_ERRNO < 1000;
}

const Entry* find_entry(uint32_t status) {
  for (const Entry& entry : entries) {
    if (entry.status == status) return &entry;
  }
  return nullptr;
}

}  // namespace

const char* ZVRTStatusName(uint32_t status) {
  if (is_system_error(status)) return "ZVRT_OS_RC_ERRNO";
  const Entry* const entry = find_entry(status);
  return entry == nullptr ? "unknown status" : entry->name;
}

const char* ZVRTStatusText(uint32_t status) {
  if (is_system_error(status)) return "The operating system failed; the status is 20000 and its error number.";
  const Entry* const entry = find_entry(status);
  return entry == nullptr ? "The status is not known to this library." : entry->text;
}
