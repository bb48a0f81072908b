/**
 * @file ZVRTColumns.h
 * @brief Plans: one conversion rule, made once, run over whole columns. The one public header of libZVRTColumns, for
 * C11 and C++17 on.
 *
 * A plan says what the values of a source are and what they become (two ZVRTType). A run says where they stand (two
 * ZVRTArray) and how many there are. Every value arrives exactly as it is, or is refused with a status of its own; a
 * refused value never stops the run. Options say where a plan may round, cut or substitute.
 *
 * Thread safety: a plan never changes after it was made. Any number of threads may run one plan at once. A run takes no
 * lock, keeps no state, reads no process locale and no environment variable, and uses at most 32 KiB of stack. It
 * allocates nothing for values below 4 KiB on code pages held in tables; longer values, and code pages without tables,
 * may allocate and then can fail with ZVRT_RC_NO_MEMORY.
 *
 * Code pages other than UTF-8 need ZVRTInitDataConversion() to be in force while plans on them are created and run. A
 * plan survives ZVRTTermDataConversion() and works again after the next initialisation.
 *
 * Structures begin with their own size: set it to sizeof. A shorter one is read as if the missing members were zero; a
 * longer one is refused unless the rest is zero. A result never gets more bytes than its size says.
 */
#ifndef ZVRT_COLUMNS_H
#define ZVRT_COLUMNS_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#include "ZVRTDataCnvLib.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Statuses
 * What a value is refused with, beside the statuses of ZVRTDataCnvLib.h: ZVRT_RC_TRUNCATED for text that does not fit,
 * ZVRT_RC_INVALID_DATETIME and ZVRT_RC_INVALID_YEAR to ZVRT_RC_INVALID_SECOND for dates, ZVRT_RC_NO_CONVERTER,
 * ZVRT_RC_NO_MEMORY, ZVRT_RC_ERROR for null arguments. @{ */
#define ZVRT_RC_OUT_OF_RANGE UINT32_C(1640)  /**< A binary number or date type cannot hold the value. */
#define ZVRT_RC_DIGITS_LOST UINT32_C(1641)   /**< The target has too few digits before the decimal point. */
#define ZVRT_RC_FRACTION_LOST UINT32_C(1642) /**< The target has too few digits after it, or no time of day. */
#define ZVRT_RC_INVALID_DIGIT UINT32_C(1643) /**< A position of a decimal field holds no digit. */
#define ZVRT_RC_INVALID_SIGN \
  UINT32_C(1644) /**< The sign is not known, or the value is negative and the type unsigned. */
#define ZVRT_RC_NOT_IN_CODE_PAGE UINT32_C(1645)   /**< The target's code page has no such character. */
#define ZVRT_RC_UNPAIRED_SURROGATE UINT32_C(1646) /**< Half of a surrogate pair stands alone. */
#define ZVRT_RC_MALFORMED_UTF8 UINT32_C(1647) /**< No valid UTF-8: stray, missing, overlong, surrogate, too large. */
#define ZVRT_RC_MALFORMED_TEXT UINT32_C(1648) /**< Bytes that the source's code page does not define. */
#define ZVRT_RC_INVALID_CODE_POINT UINT32_C(1649) /**< A wide character above U+10FFFF. */
#define ZVRT_RC_INVALID_NUMBER UINT32_C(1650)     /**< Text that is no number; an empty text is none. */
#define ZVRT_RC_INVALID_LENGTH UINT32_C(1651) /**< A negative length, half a unit, or a value longer than its slot. */
#define ZVRT_RC_NULL_REFUSED UINT32_C(1652)   /**< A null, and the target can show none. */
#define ZVRT_RC_INEXACT_FLOAT UINT32_C(1653)  /**< The float nearest to the value does not read back as it. */
#define ZVRT_RC_NOT_FINITE UINT32_C(1654)     /**< Infinity or not-a-number, and the target has none. */
#define ZVRT_RC_INVALID_VALUE \
  UINT32_C(1655)                              /**< A malformed VARNUM, boolean, structure or hexadecimal text; a zero
                                                       character for a terminated text. */
#define ZVRT_RC_INVALID_TYPE UINT32_C(1656)   /**< A ZVRTType, ZVRTArray or ZVRTField that describes nothing. */
#define ZVRT_RC_INVALID_PAIR UINT32_C(1657)   /**< No such conversion, or an option that does not fit it. */
#define ZVRT_RC_INVALID_ARROW UINT32_C(1658)  /**< An Arrow structure that is malformed or of another type. */
#define ZVRT_RC_NOT_TERMINATED UINT32_C(1659) /**< A terminated text without its terminator. */
/** @} */

/** The name of a status, such as "ZVRT_RC_TRUNCATED"; of the platform libraries' too; "unknown status" otherwise. Never
 *  null; constant text. Thread safe. */
ZVRT_API const char* ZVRTStatusName(uint32_t status);
/** One sentence that says what a status means and what to do. Never null; constant text. Thread safe. */
ZVRT_API const char* ZVRTStatusText(uint32_t status);

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Types
 * What one value is.
 *
 * Multi-byte values stand in the machine's own byte order unless ZVRT_TYPE_BIG_ENDIAN or ZVRT_TYPE_LITTLE_ENDIAN says
 * otherwise; length prefixes, wide characters, structures and Arrow arrays always do. HEX_FLOAT is
 * always big endian. Values may stand at any alignment.
 *
 * Lengths are bytes of the value, without prefix and terminator. A VARCHAR or WVARCHAR has at most 32767 of them. A
 * terminated text never fills its slot: its terminator always fits, or the status is ZVRT_RC_TRUNCATED.
 *
 * **Text** is Unicode between source and target. Every source is checked in full: UTF-8 has no overlong forms, no
 * surrogates and nothing above U+10FFFF; UTF-16 has pairs only; a code page has the bytes that it defines. A zero
 * character is a character like any other, except for a target with a terminator (ZVRT_RC_INVALID_VALUE). Low-values
 * become blanks before anything is trimmed; an all-blank text that is trimmed is empty.
 *
 * **Numbers in text**, read: an optional sign, digits with at most one point among, before or after them, and an
 * optional exponent: e or E, an optional sign, digits. Nothing else, no blanks: trim them. All digits count, however
 * many there are. Written: a '-' below zero, at least one digit before the point, and where the scale is above 0 a
 * point and as many digits as the scale says; a negative scale adds zeros. A VARNUM is written without zeros at the end
 * of its fraction. A zero has no sign; it is written "0", or "0.00" where the scale is 2.
 *
 * **Floats in text**: the fewest digits that read back as the same float, of several the nearest. Up to 21 digits
 * before the point and up to 6 zeros after it they stand without an exponent (1e20 is 100000000000000000000, 1e-6 is
 * 0.000001), else as 1.5e+21 or 1e-7. A zero is "0", whatever its sign. Infinities and not-a-number are
 * ZVRT_RC_NOT_FINITE.
 *
 * **Precision**: a target refuses more digits than its precision. A PACKED or ZONED source does so as well
 * (ZVRT_RC_DIGITS_LOST): a digit other than 0 in the unused half-byte of an even precision is no part of the number.
 * The precision of other sources changes nothing.
 *
 * **Signs** of PACKED and ZONED: C, A, E and F are positive, D and B negative. Written: C and D, with UNSIGNED F. ASCII
 * ZONED: 3 positive, 7 negative. Separate signs are '+' and '-', always written. A zero is written with the positive
 * sign, and a negative zero is read as zero, of an UNSIGNED type too.
 *
 * **Dates** are days of the Gregorian calendar from 0001-01-01 to 9999-12-31. Members out of range give
 * ZVRT_RC_INVALID_YEAR to ZVRT_RC_INVALID_SECOND in the order of the structure, a fraction of a whole second or more
 * ZVRT_RC_INVALID_VALUE; DAYS and MICROS outside the years are ZVRT_RC_INVALID_YEAR.
 *
 * **Format models** name what stands where in a text, or in the digits of a PACKED, ZONED, INT, UINT or DECIMAL of
 * scale 0. Elements begin with a percent sign, in any case; every other character stands for itself. A model names a
 * whole date (year, and month and day or the day of the year), a time of day from the hour on, or both, and nothing
 * twice; otherwise ZVRT_RC_INVALID_FORMAT refuses the type. Reading is strict: full widths, literals as they are,
 * nothing left over, else ZVRT_RC_INVALID_DATETIME.
 *
 * | Element              | Text                      | In digits | Is                                               |
 * |----------------------|---------------------------|-----------|--------------------------------------------------|
 * | `%YYYY`              | 4 digits                  | yes       | the year                                         |
 * | `%YY`                | 2 digits                  | yes       | the year of `%C`, or of 100 years from firstYear |
 * | `%C`                 | 1 digit                   | yes       | the century, beside `%YY`: 0 is 19xx, 1 is 20xx  |
 * | `%MM` `%M`           | 2 digits; 1 or 2          | `%MM`     | the month                                        |
 * | `%MONTH` `%MMM`      | name; its first 3 letters | no        | the month in English, read in any case           |
 * | `%DD` `%D`           | 2 digits; 1 or 2          | `%DD`     | the day                                          |
 * | `%DDD`               | 3 digits                  | yes       | the day of the year, 001 to 366                  |
 * | `%HH24`              | 2 digits                  | yes       | the hour, 00 to 23                               |
 * | `%HH` with `%PM`     | 2 digits; 2 letters       | no        | the hour, 01 to 12; AM or PM, read in any case   |
 * | `%MI` `%SS`          | 2 digits                  | yes       | the minute; the second                           |
 * | `%F` to `%FFFFFFFFF` | 1 to 9 digits             | yes       | the fraction of the second                       |
 *
 * Text without a model opposite a date is in ISO form: 2024-02-29, 12:34:56, 2024-02-29 12:34:56.789000 with as many
 * digits as the date's fraction has. A year outside the window or the centuries is ZVRT_RC_INVALID_YEAR on the way out.
 * In digits a negative number or one of more digits than the model is ZVRT_RC_INVALID_DATETIME.
 *
 * **Null forms**: of several, the first in the order blanks, zeros, low, high is written; all are read. Blanks are
 * those of the code page; with codePage 0 the byte 40 for PACKED, EBCDIC ZONED and HEX_FLOAT, else 20. Zeros are digits 0
 * in text, PACKED (any sign) and ZONED (any sign), else bytes 00. Only values of at least one byte are looked at: an empty
 * text is no null. @{ */

/** ZVRTType::kind. */
enum {
  ZVRT_KIND_CHAR = 1,           /**< Narrow text; the length comes from lengths, else it is the slot's. */
  ZVRT_KIND_VARCHAR = 2,        /**< 16-bit length prefix in native order, then narrow text. */
  ZVRT_KIND_VARCHAR_SZ = 3,     /**< Narrow text and a zero byte. */
  ZVRT_KIND_WCHAR = 4,          /**< Wide text (32-bit units); the length comes from lengths, else it is the slot's. */
  ZVRT_KIND_WVARCHAR = 5,       /**< 16-bit length prefix, then wide text at byte 2. */
  ZVRT_KIND_WVARCHAR_SZ = 6,    /**< Wide text and a zero character. */
  ZVRT_KIND_UTF16 = 7,          /**< UTF-16 text, counted as ZVRT_KIND_CHAR is. */
  ZVRT_KIND_UTF16_SZ = 8,       /**< UTF-16 text and a zero unit. */
  ZVRT_KIND_BYTES = 9,          /**< Raw bytes, counted; to text and from text as two hexadecimal digits per
                                     byte, written in capitals. */
  ZVRT_KIND_BOOL = 10,          /**< One byte, 0 or 1; as a number 0 or 1, as text "false" or "true" (read: 0 and
                                     1 too). */
  ZVRT_KIND_INT = 11,           /**< Signed integer of 1, 2, 4 or 8 bytes (two's complement). */
  ZVRT_KIND_UINT = 12,          /**< Unsigned integer of 1, 2, 4 or 8 bytes. */
  ZVRT_KIND_FLOAT = 13,         /**< IEEE 754 binary float of 4 or 8 bytes. */
  ZVRT_KIND_HEX_FLOAT = 14,     /**< Hexadecimal float of 4 or 8 bytes, big endian. */
  ZVRT_KIND_PACKED = 15,        /**< Packed decimal, 1 to 20 bytes: a sign in the last half-byte. */
  ZVRT_KIND_ZONED = 16,         /**< Zoned decimal, 1 to 40 digits, a byte each, and one for a separate sign. */
  ZVRT_KIND_VARNUM = 17,        /**< Base-100 number with a length byte: at most 22 bytes, 40 digits, 1e-130 to
                                     1e126. */
  ZVRT_KIND_DECIMAL = 18,       /**< 128-bit two's complement integer with a scale, as Arrow's decimal128; a
                                     target has at most 38 digits. */
  ZVRT_KIND_NUMERIC = 19,       /**< The call interface's numeric structure, ZVRTNumeric. A source's precision and
                                     scale stand in each value; a target gets those of the type (0: 38). */
  ZVRT_KIND_TIMESTAMP = 20,     /**< ZVRTTS; its fraction has `scale` digits. */
  ZVRT_KIND_DATE = 21,          /**< ZVRTDate. */
  ZVRT_KIND_TIME = 22,          /**< ZVRTTime. */
  ZVRT_KIND_CLI_TIMESTAMP = 23, /**< The call interface's timestamp structure, ZVRTCliTimestamp: nanoseconds. */
  ZVRT_KIND_CLI_DATE = 24,      /**< The call interface's date structure: as ZVRTDate. */
  ZVRT_KIND_CLI_TIME = 25,      /**< The call interface's time structure: as ZVRTTime. */
  ZVRT_KIND_DAYS = 26,          /**< 32-bit signed days since 1970-01-01. */
  ZVRT_KIND_MICROS = 27         /**< 64-bit signed microseconds since 1970-01-01 00:00:00. */
};

/** ZVRTType::flags. A flag that has no meaning for the kind is refused; one that is for sources only changes nothing of a
 *  target, and the other way round, so that one type can describe a field for both ways. @{ */
#define ZVRT_TYPE_BIG_ENDIAN \
  UINT32_C(0x1) /**< INT, UINT, FLOAT, DECIMAL, UTF16, DAYS, MICROS: most significant byte first. */
#define ZVRT_TYPE_TRIM UINT32_C(0x2)      /**< Text sources: trailing blanks (of the page) are no part of the value. */
#define ZVRT_TYPE_TRIM_LEFT UINT32_C(0x4) /**< Text sources: leading blanks neither. */
#define ZVRT_TYPE_TRIM_WIDE UINT32_C(0x8) /**< With TRIM, TRIM_LEFT: U+3000 is a blank too. */
#define ZVRT_TYPE_PAD UINT32_C(0x10) /**< CHAR, WCHAR, UTF16, BYTES targets: blanks (BYTES: zeros) fill the slot. */
#define ZVRT_TYPE_PAD_LEFT UINT32_C(0x20)     /**< With PAD: blanks come first, the value ends the slot. */
#define ZVRT_TYPE_LOW_AS_BLANK UINT32_C(0x40) /**< Counted text sources: a zero unit is read as a blank. */
#define ZVRT_TYPE_NULL_BLANKS UINT32_C(0x80)  /**< A slot of blanks of the page is null; a null writes it. */
#define ZVRT_TYPE_NULL_ZEROS \
  UINT32_C(0x100) /**< A value of zeros ('0' digits, packed or binary zero) is null; written too. */
#define ZVRT_TYPE_NULL_LOW UINT32_C(0x200)  /**< A slot of bytes 00 is null; written too. */
#define ZVRT_TYPE_NULL_HIGH UINT32_C(0x400) /**< A slot of bytes FF is null; written too. */
#define ZVRT_TYPE_UNSIGNED UINT32_C(0x800) /**< PACKED: sign F is written, a negative value refused. ZONED: likewise. */
#define ZVRT_TYPE_NO_SIGN UINT32_C(0x1000) /**< PACKED: there is no sign digit; 2 digits per byte to the end. */
#define ZVRT_TYPE_SIGN_LEADING UINT32_C(0x2000)  /**< ZONED: the sign stands at the first digit or before it. */
#define ZVRT_TYPE_SIGN_SEPARATE UINT32_C(0x4000) /**< ZONED: the sign is a '+' or '-' of its own. */
#define ZVRT_TYPE_ASCII UINT32_C(0x8000) /**< ZONED: digits 30..39, signs punched as p..y over them; else EBCDIC. */
#define ZVRT_TYPE_LITTLE_ENDIAN UINT32_C(0x10000) /**< As BIG_ENDIAN: least significant byte first. Not both. */
/** @} */

/** What one value is. */
typedef struct ZVRTType {
  uint32_t size;  /**< sizeof(ZVRTType). */
  uint32_t kind;  /**< ZVRT_KIND_... */
  int32_t length; /**< Bytes of a slot, prefix and terminator included; 0 for kinds of one size. A terminated
                               source may have 0: it ends at its terminator. A counted source that is run with
                               lengths may have 0: they alone bound it. */
  uint32_t flags; /**< ZVRT_TYPE_... */
  uint32_t
      codePage; /**< Code page of narrow text, and of blanks as a null form. 0, 1208 and 65001 are strict UTF-8, with
                               any letter; others as FldDef::codePage. Kinds without either ignore it. */
  char codePageKind;   /**< As FldDef::codePageKind. */
  uint8_t reserved[3]; /**< Zero. */
  int16_t precision;   /**< Digits of a number; 0: all that the slot holds (INT, UINT: the whole binary range). */
  int16_t scale;       /**< Numbers: digits after the decimal point, -127 to 127. TIMESTAMP: digits of the fraction, 1
                               to 9, see ZVRT_SCALE_DEFAULT. Other kinds, and VARNUM without a precision: 0. A VARNUM
                               target with a precision holds no more than precision and scale say. */
  int16_t
      firstYear; /**< First of the 100 years that two-digit years of `model` stand for; 0: such a model is refused. */
  int16_t reservedYear; /**< Zero. */
  const wchar_t* model; /**< Null, or the format model of a date in text or in digits, NUL-terminated; copied. */
} ZVRTType;
/** @} */

/* ... numeric and timestamp structures of the call interface, byte for byte ... */
/** A number as the call interface binds it: value = mantissa * 10^-scale. 19 bytes. A source with another precision or
 *  sign, or with a mantissa of more than 38 digits, is ZVRT_RC_INVALID_VALUE. */
typedef struct ZVRTNumeric {
  uint8_t precision; /**< Digits, 1 to 38. */
  int8_t scale;      /**< Digits after the decimal point, may be negative. */
  uint8_t sign;      /**< 1 positive, 0 negative. */
  uint8_t value[16]; /**< Unsigned 128-bit integer, least significant byte first on every machine. */
} ZVRTNumeric;

/** A timestamp as the call interface binds it. 16 bytes. */
typedef struct ZVRTCliTimestamp {
  int16_t year;      /**< 1 to 9999. */
  uint16_t month;    /**< 1 to 12. */
  uint16_t day;      /**< 1 to the length of the month. */
  uint16_t hour;     /**< 0 to 23. */
  uint16_t minute;   /**< 0 to 59. */
  uint16_t second;   /**< 0 to 59. */
  uint32_t fraction; /**< Nanoseconds. */
} ZVRTCliTimestamp;

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Places
 * Where the values of a column stand.
 *
 * A source's length is ZVRT_NULL_DATA for a null, ZVRT_TERMINATED for text that ends at its terminator, else bytes; any
 * other negative one is refused (ZVRT_RC_INVALID_LENGTH). A counted value needs it, or fills its slot; a terminated one
 * is measured where there is none; values with a prefix or of one size go by themselves.
 *
 * A target's length is written for every value that was converted, and with ZVRT_RC_TRUNCATED is what the value needs.
 * Of any other refused value slot, length and indicator stay as they were. A null writes the indicator, or where there
 * are no indicators the type's null form, and no length; without either it is ZVRT_RC_NULL_REFUSED. An entry of two
 * bytes that is too small for the needed bytes receives 32767. Nothing outside the slots is written; bytes of a slot
 * after a value stay as they were unless ZVRT_TYPE_PAD fills them. Slots that overlap, one another or the source, are
 * not detected. @{ */

/** Lengths and indicators: the value of a null. */
#define ZVRT_NULL_DATA (-1)
/** Lengths: a terminated text. */
#define ZVRT_TERMINATED (-3)

/** Where the values of a column stand. Slot i begins at data + i * stride, or at data + starts[i]. */
typedef struct ZVRTArray {
  uint32_t size;           /**< sizeof(ZVRTArray). */
  uint8_t lengthBytes;     /**< Bytes of an entry of lengths: 2, 4 or 8; 0 with lengths null. */
  uint8_t indicatorBytes;  /**< Bytes of an entry of indicators: 2, 4 or 8; 0 with indicators null. */
  uint8_t reserved[2];     /**< Zero. */
  void* data;              /**< The first slot; any alignment. A source is only read. */
  int64_t stride;          /**< Bytes from slot to slot; may be negative, 0 for a source that is one value. */
  const int64_t* starts;   /**< Byte offsets from data in place of the stride, or null. */
  void* lengths;           /**< Source: bytes of each value (signed). Target: receives them; or null. */
  int64_t lengthStride;    /**< Bytes from entry to entry; 0: they are adjacent. */
  void* indicators;        /**< Source: negative is null. Target: receives -1 for a null, 0 for a value, with
                                ZVRT_RC_TRUNCATED the needed bytes; or null. May be the same array as lengths: it is then
                                read and written as lengths, and takes -1. */
  int64_t indicatorStride; /**< As lengthStride. */
  uint32_t* status;        /**< Target: receives a status per value, or null. */
  int64_t statusStride;    /**< As lengthStride. */
  const uint8_t* select;   /**< Source: one byte per value, 0 leaves it out: nothing is read or written; or null. */
} ZVRTArray;

/** What a run did. Of values that `select` leaves out nothing is counted but in `done`. */
typedef struct ZVRTOutcome {
  uint32_t size;        /**< sizeof(ZVRTOutcome), set by the caller. */
  uint32_t firstStatus; /**< Status of the first refused value, else 0. */
  int64_t done;         /**< Values looked at; those from here on are untouched. */
  int64_t refused;      /**< Values with a status other than 0 and 75. */
  int64_t firstRefused; /**< Index of the first of them, else -1. */
  int64_t nulls;        /**< Nulls that were passed on; refused ones are counted in `refused`. */
  int64_t empty;        /**< Values that are an empty text or no bytes in the target (ZVRTCheck(): in the source); under
                             ZVRT_PLAN_AS_SINGLE_CALL values of status 75. */
} ZVRTOutcome;

/** Why one value, or a plan, was refused. */
typedef struct ZVRTProblem {
  uint32_t size;   /**< sizeof(ZVRTProblem), set by the caller. */
  uint32_t status; /**< 0: there is no problem. */
  int32_t field;   /**< PlanCreate: 0 the source type, 1 the target type. Record plans: the field's index. Else -1. */
  int32_t
      offset; /**< Byte offset of the first offending unit from the slot's first byte; the end for a text that ends too
                         early; the first byte of a date's element that is out of range; -1 where no single unit
                         offends (too many digits for the target, too little room, a length out of range). */
  uint32_t unit;   /**< What stands there: the byte of a number, the lead byte of malformed UTF-8, the code unit or
                         structure member, a prefix, the code point of a text that is well-formed; 0 at the end. */
  uint32_t needed; /**< ZVRT_RC_TRUNCATED: bytes of the slot that would hold it; else 0. */
  char text[112];  /**< One sentence, NUL-terminated, ASCII. */
} ZVRTProblem;
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Options of plans
 * For ZVRTPlanCreate(). Without one a plan is exact. An option that does not fit the pair is refused. @{ */
#define ZVRT_PLAN_ROUND_HALF_EVEN \
  UINT32_C(0x1) /**< Digits after the target's last one are rounded, ties to even; into exact
                                                     numbers and dates. A date without a time of day can be cut only. */
#define ZVRT_PLAN_ROUND_HALF_AWAY UINT32_C(0x2) /**< ... ties away from zero. */
#define ZVRT_PLAN_CUT_FRACTION UINT32_C(0x4)    /**< ... are cut; times of day too where the target has none. */
#define ZVRT_PLAN_CUT_TEXT \
  UINT32_C(0x8) /**< Text and bytes (not numbers and dates in text) are cut to the slot at a
                                                     whole character; status 1609 stays. */
#define ZVRT_PLAN_SUBSTITUTE \
  UINT32_C(0x10) /**< A character that the target lacks, or a malformed one, becomes the
                                                     page's substitute (U+001A: the byte 1A, 3F in EBCDIC; U+FFFD in
                                                     Unicode). The status is 0. Of malformed UTF-8 each maximal part of a
                                                     sequence becomes one. */
#define ZVRT_PLAN_EXACT_FLOAT \
  UINT32_C(0x20) /**< Into a FLOAT or HEX_FLOAT: refuse what does not read back as the value. */
#define ZVRT_PLAN_SINGLE_FORM UINT32_C(0x40) /**< Floats to text in the 17-digit form of ZVRTCnvDblToWVarcharSz(). */
#define ZVRT_PLAN_AS_SINGLE_CALL \
  UINT32_C(0x80) /**< Slot, length and status equal those of the single-value function; for
                                                     the pairs of the table at ZVRTPlanCreate() only, no option beside it. */
#define ZVRT_PLAN_ZONED_TIME_AS_UTC UINT32_C(0x100) /**< Arrow timestamps with a time zone are taken as UTC. */
/** @} */

/** @name Plans
 * Made once, run over any number of values. @{ */

/** Digits of the fraction that the scale 0 of a TIMESTAMP means. */
#define ZVRT_SCALE_DEFAULT 6
/** The scale of a TIMESTAMP without a fraction. */
#define ZVRT_SCALE_NONE (-1)

/** A conversion rule; made once, never changed. */
typedef struct ZVRTPlan ZVRTPlan;

/**
 * Makes a plan.
 *
 * What becomes what, and what is refused beside malformed sources and ZVRT_RC_TRUNCATED:
 *
 * | From, to                    | The value                            | Refused                                   |
 * |-----------------------------|--------------------------------------|-------------------------------------------|
 * | text to text                | the same characters                  | NOT_IN_CODE_PAGE; a zero character        |
 * | text to number              | the number that it is                | INVALID_NUMBER; then as numbers           |
 * | number to text              | all digits of its scale              |                                           |
 * | number to number            | the same value                       | as said below                             |
 * | exact number, text to float | the nearest, ties to even            | OUT_OF_RANGE; INEXACT_FLOAT (option)      |
 * | float to exact number, text | the shortest decimal that reads back | NOT_FINITE; then as numbers               |
 * | float to float              | the same value, or the nearest       | OUT_OF_RANGE; INEXACT_FLOAT (option)      |
 * | float to HEX_FLOAT          | the same value, or the nearest       | OUT_OF_RANGE, NOT_FINITE                  |
 * | BOOL to and from number     | 0 or 1                               | OUT_OF_RANGE                              |
 * | BOOL to and from text       | "false" or "true"                    | INVALID_VALUE                             |
 * | BYTES to BYTES              | the same bytes                       |                                           |
 * | BYTES to and from text      | hexadecimal digits                   | INVALID_VALUE                             |
 * | date to timestamp           | midnight                             |                                           |
 * | timestamp to date           | the date                             | FRACTION_LOST: a time of day              |
 * | dates of the same parts     | the same time                        | FRACTION_LOST, OUT_OF_RANGE, INVALID_YEAR |
 *
 * Into an exact number the first of these that applies refuses: FRACTION_LOST, INVALID_SIGN (PACKED, ZONED), DIGITS_LOST
 * (more than a precision says), OUT_OF_RANGE (INT, UINT, BOOL, VARNUM). Into a float what is too small becomes zero. Between FLOATs -0 stays -0 and not-a-number
 * becomes the quiet one; a HEX_FLOAT that is zero has all bytes 0. Dates are OUT_OF_RANGE when they are rounded beyond the
 * last day.
 *
 * There is no conversion between a date without and a time of day, a date and a number without a model, a boolean or
 * bytes and a date, bytes and a number (ZVRT_RC_INVALID_PAIR). A text is malformed before it is no number: of several
 * faults of a value the source's come first.
 *
 * VARNUM targets: digits after the twentieth pair count as a fraction, and so does a value below 1e-130.
 *
 * **ZVRT_PLAN_AS_SINGLE_CALL** is for these pairs. Slot, status and length are those of the function, its quirks included;
 * the length is written wherever the function writes its outLen, in the function's unit. ZVRT_RC_EMPTY_RESULT is no
 * refusal. The types have no flags, precision or scale; a date's text has a model of the elements of
 * ZVRTGetFormatCodes(). What a function would read beyond the slot is refused before: ZVRT_RC_NOT_TERMINATED,
 * ZVRT_RC_INVALID_LENGTH.
 *
 * | From          | To                      | Function                                                        |
 * |---------------|-------------------------|-----------------------------------------------------------------|
 * | CHAR          | VARCHAR_SZ, WVARCHAR_SZ | ZVRTCnvCharToVarcharSz(), ZVRTCnvCharToWVarcharSz()             |
 * | WCHAR         | VARCHAR_SZ, WVARCHAR_SZ | ZVRTCnvWCharToVarcharSz(), ZVRTCnvWCharToWVarcharSz()           |
 * | VARCHAR       | VARCHAR_SZ, WVARCHAR_SZ | ZVRTCnvVarcharToVarcharSz(), ZVRTCnvVarcharToWVarcharSz()       |
 * | WVARCHAR      | VARCHAR_SZ, WVARCHAR_SZ | ZVRTCnvWVarcharToVarcharSz(), ZVRTCnvWVarcharToWVarcharSz()     |
 * | VARCHAR_SZ    | VARCHAR_SZ, WVARCHAR_SZ | ZVRTCnvVarcharSzToVarcharSz(), ZVRTCnvVarcharSzToWVarcharSz()   |
 * | VARCHAR_SZ    | CHAR, WCHAR             | ZVRTCnvVarcharSzToChar(), ZVRTCnvVarcharSzToWChar()             |
 * | VARCHAR_SZ    | VARCHAR, WVARCHAR       | ZVRTCnvVarcharSzToVarchar(), ZVRTCnvVarcharSzToWVarchar()       |
 * | WVARCHAR_SZ   | VARCHAR_SZ, WVARCHAR_SZ | ZVRTCnvWVarcharSzToVarcharSz(), ZVRTCnvWVarcharSzToWVarcharSz() |
 * | WVARCHAR_SZ   | CHAR, WCHAR             | ZVRTCnvWVarcharSzToChar(), ZVRTCnvWVarcharSzToWChar()           |
 * | WVARCHAR_SZ   | VARCHAR, WVARCHAR       | ZVRTCnvWVarcharSzToVarchar(), ZVRTCnvWVarcharSzToWVarchar()     |
 * | PACKED        | WVARCHAR_SZ             | ZVRTCnvDecPackedToWVarcharSz()                                  |
 * | TIMESTAMP     | WVARCHAR_SZ, VARCHAR_SZ | ZVRTCnvZVRTTSToWVarcharSz(), ZVRTCnvZVRTTSToVarcharSz()         |
 * | CHAR, VARCHAR | TIMESTAMP               | ZVRTCnvDateTimeCharToZVRTTS(), ZVRTCnvDateTimeVarcharToZVRTTS() |
 * | VARCHAR_SZ    | TIMESTAMP               | ZVRTCnvDateTimeSzToZVRTTS()                                     |
 * | WCHAR         | TIMESTAMP               | ZVRTCnvDateTimeWcharToZVRTTS()                                  |
 * | WVARCHAR_SZ   | TIMESTAMP               | ZVRTCnvDateTimeWSzToZVRTTS()                                    |
 *
 * Thread safety: plans may be made on several threads at once. Code pages must be initialised.
 *
 * @param from     What the values of the source are; copied, its model compiled.
 * @param to       What they become; copied.
 * @param options  ZVRT_PLAN_...; at most one of the three that round or cut a fraction.
 * @param plan     Receives the plan, else null. ZVRTPlanDestroy() frees it.
 * @param why      Receives the reason of a refusal; or null.
 * @return ZVRT_RC_OK; ZVRT_RC_INVALID_TYPE; ZVRT_RC_INVALID_FORMAT for a model; ZVRT_RC_INVALID_PAIR;
 *         ZVRT_RC_NO_CONVERTER for a code page; the environment library's status where conversions are not
 *         initialised; ZVRT_RC_NO_MEMORY; ZVRT_RC_ERROR for null arguments.
 */
ZVRT_API uint32_t ZVRTPlanCreate(const ZVRTType* from, const ZVRTType* to, uint32_t options, ZVRTPlan** plan,
                                 ZVRTProblem* why);

/**
 * Converts `count` values. A refused value gets its status and the run goes on with the next one.
 *
 * Thread safety: any number of threads may run one plan at once, into different targets.
 *
 * @param plan     The plan.
 * @param from     Where the values stand. `status` is not used.
 * @param to       Where they go. `select` is not used. The stride is not 0 for more than one value.
 * @param count    Number of values, 0 or more.
 * @param outcome  Receives what was done, whatever is returned; or null.
 * @return ZVRT_RC_OK, also where values were refused: the outcome counts them. Otherwise the run did not reach the
 *         end, and values from `outcome->done` on are untouched: ZVRT_RC_NO_MEMORY, the statuses of the converter
 *         service and the environment library. Before the first value: ZVRT_RC_INVALID_TYPE for a ZVRTArray that
 *         describes nothing (an entry size other than 2, 4 and 8; entries of lengths of 2 bytes for slots above 32767;
 *         a counted source of length 0 without lengths); ZVRT_RC_INVALID_LENGTH for a negative count; ZVRT_RC_ERROR
 *         for null arguments.
 */
ZVRT_API uint32_t ZVRTPlanRun(const ZVRTPlan* plan, const ZVRTArray* from, const ZVRTArray* to, int64_t count,
                              ZVRTOutcome* outcome);

/**
 * Says why a plan refuses one value, slowly and with reasons. May allocate.
 *
 * Thread safety: as ZVRTPlanRun().
 *
 * @param plan   The plan.
 * @param value  The value's slot: for VARCHAR and WVARCHAR its prefix, else its first byte.
 * @param bytes  As an entry of lengths: the length of a counted value, ZVRT_TERMINATED, ZVRT_NULL_DATA. Of a value
 *               that says its own length it need only be 0 or more.
 * @param why    Receives the value's status (0: the plan converts it), the place and the reason. Of a null, which may
 *               stand in the slot itself, the status is that of a target without an indicator.
 * @return ZVRT_RC_OK; where the value could not be examined ZVRT_RC_NO_MEMORY or the converter service's status;
 *         ZVRT_RC_ERROR for null arguments.
 */
ZVRT_API uint32_t ZVRTPlanExplain(const ZVRTPlan* plan, const void* value, int64_t bytes, ZVRTProblem* why);

/** Frees a plan that no run uses any more; null is none. */
ZVRT_API void ZVRTPlanDestroy(ZVRTPlan* plan);

/**
 * Checks values as the source of a plan would, without converting them: text is well-formed, numbers are numbers, dates
 * are dates. Text is checked as text unless it has a model.
 *
 * Thread safety: any number of threads at once. Allocates nothing for values below 4 KiB on pages held in tables.
 *
 * @param type     What the values are.
 * @param values   Where they stand; its `status`, if any, receives a status per value.
 * @param count    Number of values, 0 or more.
 * @param outcome  Receives how many are refused, the first of them, nulls and empty texts; or null.
 * @return As ZVRTPlanRun() and, for the type, ZVRTPlanCreate().
 */
ZVRT_API uint32_t ZVRTCheck(const ZVRTType* type, const ZVRTArray* values, int64_t count, ZVRTOutcome* outcome);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Record plans and the Arrow C data interface
 * Records of many fields to the arrays of Arrow's C data interface and back. The interface's own structures ArrowSchema
 * and ArrowArray are declared by the caller (every reader of Arrow brings them). A column is null where the field is
 * null and where its value was refused; ZVRTOutcome counts both.
 *
 * | Field                                                                | Column (Arrow format)                    |
 * |----------------------------------------------------------------------|------------------------------------------|
 * | text without a model; VARNUM and NUMERIC without precision and scale | utf8 (u); LARGE_UTF8: large_utf8 (U)     |
 * | BYTES; any field with BINARY                                         | binary (z)                               |
 * | BOOL                                                                 | boolean (b)                              |
 * | INT, UINT of scale 0                                                 | int8 to uint64 (c s i l, C S I L)        |
 * | PACKED, ZONED of at most 18 digits and scale 0                       | int64 (l)                                |
 * | every other number with a scale or more digits                       | decimal128 (d:precision,scale)           |
 * | FLOAT of 4 bytes                                                     | float (f)                                |
 * | FLOAT of 8 bytes, HEX_FLOAT, numbers with DOUBLE                     | double (g)                               |
 * | DATE, CLI_DATE, DAYS, a model of a date                              | date32 (tdD)                             |
 * | TIME, CLI_TIME, a model of a time of day                             | time64 of microseconds (ttu)             |
 * | TIMESTAMP, CLI_TIMESTAMP, MICROS, a model of both                    | timestamp of microseconds, no zone (tsu:)|
 *
 * A negative scale adds zeros instead (precision - scale digits, scale 0) as long as 38 digits hold them; a scale above
 * the precision makes that the precision. More than 38 digits are declared as 38, and values that need more are
 * refused. In a record, a VARNUM may have a precision and a scale: those of its column. @{ */
struct ArrowSchema; /* Arrow's C data interface */
struct ArrowArray;

/** ZVRTField::columnKind: the Arrow type of a field's column. */
enum {
  ZVRT_COLUMN_DEFAULT = 0,    /**< What the field's type gives. */
  ZVRT_COLUMN_LARGE_UTF8 = 1, /**< Text with 64-bit offsets. */
  ZVRT_COLUMN_DECIMAL128 = 2, /**< decimal128(precision, scale) for a number of scale 0, too. */
  ZVRT_COLUMN_DOUBLE = 3,     /**< The nearest double. */
  ZVRT_COLUMN_BINARY = 4      /**< The field's bytes as they are. */
};

/** One field of a record. */
typedef struct ZVRTField {
  uint32_t size;           /**< sizeof(ZVRTField). */
  int32_t offset;          /**< From the record's start, in bytes. */
  int32_t indicatorOffset; /**< A 16-bit indicator in native order that stands in the record; -1: there is none. */
  uint32_t columnKind;     /**< ZVRT_COLUMN_... */
  const char* name;        /**< Column name, UTF-8; copied. */
  const ZVRTType* type;    /**< What the field is; copied. */
} ZVRTField;

/** The fields of a record and their columns; never changes. */
typedef struct ZVRTRecordPlan ZVRTRecordPlan;

/**
 * Makes a record plan.
 *
 * @param fields       The fields, in the order of their columns; they may overlap. An array of structures steps by the
 *                     size of its first one, here and in every function below.
 * @param count        Number of fields, 0 or more.
 * @param recordBytes  Bytes of a record, above 0; every field and its indicator lie within.
 * @param options      ZVRT_PLAN_...; each holds for the fields that it fits. Not ZVRT_PLAN_AS_SINGLE_CALL.
 * @param plan         Receives the plan, else null. ZVRTRecordPlanDestroy() frees it.
 * @param why          Receives the reason of a refusal and its field; or null.
 * @return ZVRT_RC_OK; ZVRT_RC_INVALID_TYPE for a field that describes nothing or does not lie within the record;
 *         ZVRT_RC_INVALID_FORMAT for a model that is none; ZVRT_RC_INVALID_PAIR for a column that the field cannot
 *         have, or an option that is none here; ZVRT_RC_NO_CONVERTER; ZVRT_RC_NO_MEMORY; ZVRT_RC_ERROR for null
 *         arguments.
 */
ZVRT_API uint32_t ZVRTRecordPlanCreate(const ZVRTField* fields, int32_t count, int32_t recordBytes, uint32_t options,
                                       ZVRTRecordPlan** plan, ZVRTProblem* why);

/** Frees a record plan that no run uses any more; null is none. Arrays and schemas made by it live on. */
ZVRT_API void ZVRTRecordPlanDestroy(ZVRTRecordPlan* plan);

/**
 * The schema of the plan's columns: a struct (+s) with one nullable child per field.
 *
 * @param plan    What ZVRTRecordPlanCreate() made.
 * @param schema  Receives the schema, which the caller releases, on any thread, through its own release member. Its
 *                children may be moved out before. Not written unless ZVRT_RC_OK is returned.
 * @return ZVRT_RC_OK; ZVRT_RC_NO_MEMORY; ZVRT_RC_ERROR for null arguments.
 */
ZVRT_API uint32_t ZVRTRecordSchema(const ZVRTRecordPlan* plan, struct ArrowSchema* schema);

/**
 * Converts records into an array of the plan's schema.
 *
 * @param plan      What ZVRTRecordPlanCreate() made.
 * @param records   The first record; any alignment. Only fields and indicators are read.
 * @param starts    Byte offset of each record from `records`, or null: they are adjacent.
 * @param count     Number of records, 0 or more.
 * @param array     Receives a struct array of `count` rows, which the caller releases as the schema. Its memory is its
 *                  own: records and plan may go away before. Not written unless ZVRT_RC_OK is returned.
 * @param perField  Receives the outcome of each field; or null.
 * @return ZVRT_RC_OK, also where values were refused: they are null; ZVRT_RC_OUT_OF_RANGE when a utf8 or binary column
 *         would exceed 2 GiB: pass fewer records; ZVRT_RC_NO_MEMORY, the converter service's statuses; ZVRT_RC_ERROR
 *         for null arguments or a negative count.
 */
ZVRT_API uint32_t ZVRTRecordsToArrow(const ZVRTRecordPlan* plan, const void* records, const int64_t* starts,
                                     int64_t count, struct ArrowArray* array, ZVRTOutcome* perField);

/**
 * Converts a struct array, of any producer, into adjacent records.
 *
 * Each field takes the column of its name (of equal names the first that is left), and no column may be left over.
 * Beside the plan's own, a column may have any type whose values the field can take: null, integers, floats, booleans,
 * utf8, large_utf8, string_view, binary of all four forms, decimals of 32 to 256 bits, dates, times and timestamps of
 * any unit, dictionaries of these. Counted texts and bytes are padded as ZVRT_TYPE_PAD says. A null becomes the field's
 * indicator or null form, else it is refused. Bytes of the records that no field writes stay as they are.
 *
 * @param plan      What ZVRTRecordPlanCreate() made.
 * @param schema    Describes the array; neither is released, changed or kept.
 * @param array     A struct array; offsets, missing bitmaps and nulls of whole rows are honoured.
 * @param records   Receives array->length records of the plan's recordBytes.
 * @param perField  Receives the outcome of each field; or null.
 * @return ZVRT_RC_OK, also where values were refused: their fields are not written; ZVRT_RC_INVALID_ARROW for a
 *         malformed schema or array, columns that do not match, a time zone without ZVRT_PLAN_ZONED_TIME_AS_UTC: no
 *         record was written; ZVRT_RC_INVALID_PAIR for a column whose type the field cannot take, likewise;
 *         ZVRT_RC_NO_MEMORY, the converter service's statuses; ZVRT_RC_ERROR for null arguments.
 */
ZVRT_API uint32_t ZVRTArrowToRecords(const ZVRTRecordPlan* plan, const struct ArrowSchema* schema,
                                     const struct ArrowArray* array, void* records, ZVRTOutcome* perField);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
