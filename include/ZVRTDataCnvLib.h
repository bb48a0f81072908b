/**
 * @file ZVRTDataCnvLib.h
 * @brief Conversion of database column values: the one public header of libZVRTDataCnvLib, for C11 and C++17 on.
 *
 * Every function takes pointers to buffers of the caller and writes its results through them; nearly all return a
 * 32-bit status. Nothing is thrown, nothing is logged, no buffer or descriptor is kept after a function returns, and
 * the process locale is never consulted.
 *
 * Thread safety: unless a function says otherwise it keeps no state, takes no lock and may run on any number of
 * threads at once, as long as no other thread changes the buffers it was given.
 *
 * Pointers must not be null unless a function says what null means: most functions do not check. Source and
 * destination must not overlap, except where a function works in place.
 *
 * Text comes in six kinds; the kind words are part of the functions' names.
 *
 * | Kind         | Layout                                              | Length known from                     | Terminator       |
 * |--------------|-----------------------------------------------------|---------------------------------------|------------------|
 * | `Char`       | narrow bytes                                        | the caller, in bytes                  | none             |
 * | `Varchar`    | 16-bit length prefix, then narrow bytes             | the prefix, in bytes                  | none             |
 * | `VarcharSz`  | narrow bytes                                        | the first zero byte                   | a zero byte      |
 * | `WChar`      | wide characters                                     | the caller, in bytes                  | none             |
 * | `WVarchar`   | 16-bit length prefix, then wide characters (byte 2) | the prefix, in bytes: 4 per character | none             |
 * | `WVarcharSz` | wide characters                                     | the first zero character              | a zero character |
 *
 * A wide character is one UTF-32 code unit of 32 bits, a length prefix a signed 16-bit number: at most 32767 bytes. They
 * and all binary values are in native byte order, on s390x big endian; packed decimal and VARNUM are the same everywhere.
 * Narrow text is UTF-8 unless a field descriptor names another code page.
 */
#ifndef ZVRT_DATA_CNV_LIB_H
#define ZVRT_DATA_CNV_LIB_H

#include <stddef.h>
#include <stdint.h>

/** @name Version
 * Of this header, which is the library's. The file name of the shared library carries it as well. @{ */
#define ZVRT_VERSION_MAJOR 1        /**< Changes with what a program compiled before cannot bear. */
#define ZVRT_VERSION_MINOR 1        /**< Changes with additions. */
#define ZVRT_VERSION_PATCH 0        /**< Changes with repairs. */
#define ZVRT_VERSION_STRING "1.1.0" /**< The three as text. */
#define ZVRT_VERSION (ZVRT_VERSION_MAJOR * 10000 + ZVRT_VERSION_MINOR * 100 + ZVRT_VERSION_PATCH) /**< To compare. */
/** @} */

#if defined(__GNUC__)
#define ZVRT_API __attribute__((visibility("default"))) /**< Leaves the library. */
#else
#define ZVRT_API /**< Leaves the library. */
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Status codes
 * Every function that reports an outcome returns one of these, or, unchanged, the status of the platform library that
 * failed it. @{ */

#define ZVRT_RC_OK UINT32_C(0)                   /**< Success. */
#define ZVRT_RC_INVALID_CHAR UINT32_C(22)        /**< A character or byte that an encoding does not have. */
#define ZVRT_RC_INVALID_PARAM UINT32_C(30)       /**< The source is empty, or its length is missing or out of range. */
#define ZVRT_RC_INVALID_YEAR UINT32_C(54)        /**< Year out of range. */
#define ZVRT_RC_INVALID_DAY UINT32_C(55)         /**< Day 0, or beyond the length of its month. */
#define ZVRT_RC_INVALID_MONTH UINT32_C(56)       /**< Month 0 or above 12. */
#define ZVRT_RC_INVALID_HOUR UINT32_C(57)        /**< Hour above 23. */
#define ZVRT_RC_INVALID_MINUTE UINT32_C(58)      /**< Minute above 59. */
#define ZVRT_RC_INVALID_SECOND UINT32_C(59)      /**< Second above 59. */
#define ZVRT_RC_INVALID_FORMAT UINT32_C(67)      /**< A format model holds an unknown element after a percent sign. */
#define ZVRT_RC_EMPTY_RESULT UINT32_C(75)        /**< A number without text: zero, or an unreadable packed field. */
#define ZVRT_RC_BLANK_TEXT UINT32_C(114)         /**< A timestamp's text holds only blanks. */
#define ZVRT_RC_TRUNCATED UINT32_C(1609)         /**< The destination is too small, or UTF-8 text is cut short. */
#define ZVRT_RC_NO_CONVERTER UINT32_C(1610)      /**< No converter is known for the field's code page. */
#define ZVRT_RC_NO_MEMORY UINT32_C(1611)         /**< A temporary could not be allocated. */
#define ZVRT_RC_INVALID_INTEGER UINT32_C(1612)   /**< Integer text holds something other than a number. */
#define ZVRT_RC_INVALID_FLOAT UINT32_C(1613)     /**< Text refused as a single. */
#define ZVRT_RC_HOUR_OUT_OF_RANGE UINT32_C(1614) /**< A parsed hour is outside its element's range. */
#define ZVRT_RC_INVALID_DATETIME UINT32_C(1615)  /**< Text does not match the format model. */
#define ZVRT_RC_INVALID_DOUBLE UINT32_C(1617)    /**< Text refused as a double. */
#define ZVRT_RC_END_OF_FORMAT UINT32_C(6444)     /**< The tokenised model has no further element. */
#define ZVRT_RC_ERROR UINT32_C(0xFFFFFFFF)       /**< Any other refusal; each function says of what. */
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Records
 * Owned by the caller and only read by the library. @{ */

/** One entry of a tokenised format model. */
typedef struct FmtCode FmtCode;

/** Date/time format of a field: what FldDef::dtFormat points to. 32 bytes. */
typedef struct DtFormatDesc {
  uint8_t reserved[16];   /**< Not read by this library. */
  const FmtCode* model;   /**< The tokenised model with its end entry; not the model text. */
  int32_t modelLen;       /**< Length in characters of the model text that `model` was made from; sizes temporaries. */
  uint8_t reservedEnd[4]; /**< Not read by this library. */
} DtFormatDesc;

/** Field descriptor: how the narrow text and the dates of a column are encoded. 72 bytes. */
typedef struct FldDef {
  uint8_t reserved[32];         /**< Not read by this library. */
  uint32_t codePage;            /**< Code page of the narrow side; 0 is UTF-8. */
  char codePageKind;            /**< Vendor letter that qualifies codePage; see VerifyCodePageInfo(). */
  uint8_t reservedGap[3];       /**< Not read by this library. */
  const DtFormatDesc* dtFormat; /**< Date/time format; read only by the date/time functions. */
  uint8_t reservedEnd[24];      /**< Not read by this library. */
} FldDef;
/** @} */

/**
 * The argument list and the conventions of the 83 conversions that are declared with this type. The other functions
 * have a prototype and a description of their own.
 *
 * @param src      The source, in the source kind; for numbers and dates a pointer to the value. Not null: only the
 *                 date and time conversions, doubles and singles to text, and text to VARNUM look. The same holds for
 *                 dst, which text to VARNUM does not look at.
 * @param srcLen   Source length in bytes. `Char` and `WChar` sources require it (null, 0 or negative:
 *                 ZVRT_RC_INVALID_PARAM) and never write it. A packed decimal source takes it as the field's length;
 *                 without it the end of the field is searched for, which can read beyond the caller's field: see
 *                 ZVRTCnvDecPackedToWVarcharSz(). For all other sources it is optional: where it points to 0 it
 *                 receives the length measured (`Varchar` and `WVarchar` with their two prefix bytes, texts without
 *                 their terminator); any other value is ignored and left alone. Where a function departs from this it
 *                 says so.
 * @param dst      The destination, in the destination kind. Source and destination must not overlap.
 * @param dstSize  Size of the destination in bytes. A wide destination holds dstSize / 4 characters; `Varchar` and
 *                 `WVarchar` give 2 bytes to the prefix first, and at most 32767 bytes (8191 wide characters) follow
 *                 one. A negative size counts as 0.
 * @param outLen   Required, not null. Receives the result's length without a terminator: bytes for `Char`, `VarcharSz`
 *                 and `WChar`; bytes with the two prefix bytes for `Varchar` and `WVarchar`; characters for
 *                 `WVarcharSz`, but bytes in the functions named `...Out`. Unless a function says otherwise it is the
 *                 length that the whole source needs, also when the status is ZVRT_RC_TRUNCATED; with
 *                 ZVRT_RC_INVALID_CHAR from the converter service, of what was converted. It is not written when the
 *                 arguments are refused at once (ZVRT_RC_INVALID_PARAM, a destination smaller than its prefix,
 *                 ZVRT_RC_NO_MEMORY). Where it is the length needed, a caller can retry once after
 *                 ZVRT_RC_TRUNCATED, with room for a terminator too. A second ZVRT_RC_TRUNCATED is final: the UTF-8
 *                 text ends inside a sequence, or the result is longer than a prefix can count.
 * @param fldDef   The field descriptor; null means UTF-8 narrow text and no date/time format.
 * @return A status code.
 */
typedef uint32_t ZVRTConversion(const void* src, int32_t* srcLen, void* dst, int32_t dstSize, uint32_t* outLen,
                                const FldDef* fldDef);

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Initialisation and termination
 * Needed only by conversions whose narrow text is in a code page other than UTF-8. @{ */

/**
 * Brings up the converter service for code pages; further calls only raise a reference count.
 *
 * Thread safety: the first initialisation must not run at the same time as any other initialisation or termination.
 * Once it has returned, any number of threads may initialise and terminate, as long as one initialisation stays in
 * force.
 *
 * @return ZVRT_RC_OK, or the status of the platform operation that failed; everything begun has then been undone.
 */
ZVRT_API uint32_t ZVRTInitDataConversion(void);

/**
 * Takes back one initialisation; the last one tears the converter service down. Without an initialisation to take back
 * it returns ZVRT_RC_OK, and the count stays one too low.
 *
 * Thread safety: the last termination must not run at the same time as an initialisation or a conversion through a code
 * page.
 *
 * @return ZVRT_RC_OK, or the status of the platform operation that failed; what was not yet torn down stays.
 */
ZVRT_API uint32_t ZVRTTermDataConversion(void);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Unicode transforms
 * UTF-8 is its 31-bit form, one to six bytes per sequence. Decoding is lenient: overlong forms and encoded surrogates
 * pass, a stray byte 80..BF, FE or FF stands for the code point of its value, and U+FFFD becomes '?'. Encoding writes
 * the shortest form. A zero unit ends a source early. Capacities and lengths are counts of units of the buffer they
 * belong to; negative ones are 0. Wide and UTF-16 buffers need no alignment. The count pointers may be null. All work
 * before ZVRTInitDataConversion(). @{ */

/**
 * UTF-8 to UTF-32.
 *
 * @param dst       Receives the characters that fit, no terminator; null to count only.
 * @param dstUnits  Capacity in characters.
 * @param src       UTF-8 text of srcBytes bytes.
 * @param srcBytes  Length in bytes.
 * @param count     Receives the characters that the whole source needs.
 * @return ZVRT_RC_OK, also when a malformed sequence ended the source early; ZVRT_RC_TRUNCATED when the destination is
 *         too small or the source ends inside a sequence.
 */
ZVRT_API uint32_t Convert8To32(wchar_t* dst, int32_t dstUnits, const char* src, int32_t srcBytes, uint32_t* count);

/**
 * UTF-8 to UTF-16, as Convert8To32(). Once a character has not fitted, later ones are only counted.
 *
 * @param dst       Receives the units that fit, no terminator; null to count only.
 * @param dstUnits  Capacity in UTF-16 units.
 * @param src       UTF-8 text of srcBytes bytes.
 * @param srcBytes  Length in bytes.
 * @param count     Receives the UTF-16 units that the whole source needs.
 * @return As Convert8To32(); ZVRT_RC_INVALID_CHAR at a code point above U+10FFFF, which ends the transform.
 */
ZVRT_API uint32_t Convert8To16(uint16_t* dst, int32_t dstUnits, const char* src, int32_t srcBytes, uint32_t* count);

/**
 * UTF-32 to UTF-8. The destination holds the longest run of whole characters that fits, without a terminator.
 *
 * @param dst       Receives the bytes; with null nothing is written and nothing is counted.
 * @param dstBytes  Capacity in bytes.
 * @param src       UTF-32 text of srcUnits characters.
 * @param srcUnits  Length in characters.
 * @param count     Receives the bytes that the whole source needs.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED when the destination is too small; ZVRT_RC_INVALID_CHAR when a value of
 *         0x80000000 or more was skipped. Of several failures the last one counts.
 */
ZVRT_API uint32_t Convert32To8(char* dst, int32_t dstBytes, const wchar_t* src, int32_t srcUnits, uint32_t* count);

/**
 * UTF-16 to UTF-8, as Convert32To8().
 *
 * @param dst       Receives the bytes; with null nothing is written and nothing is counted.
 * @param dstBytes  Capacity in bytes.
 * @param src       UTF-16 text of srcUnits units.
 * @param srcUnits  Length in units.
 * @param count     Receives the bytes needed up to where the transform stopped.
 * @return As Convert32To8(); ZVRT_RC_INVALID_CHAR at a lone or broken surrogate, which ends the transform.
 */
ZVRT_API uint32_t Convert16To8(char* dst, int32_t dstBytes, const uint16_t* src, int32_t srcUnits, uint32_t* count);

/**
 * UTF-16 to UTF-32. When everything was converted and room is left, a zero character follows the last one, not counted.
 *
 * @param src       UTF-16 text of srcUnits units.
 * @param srcUnits  Length in units.
 * @param dst       Receives the characters; null to count only.
 * @param dstUnits  Capacity in characters.
 * @param count     Receives the characters written (with a null destination: needed).
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED where the destination is full, which ends the transform; ZVRT_RC_INVALID_CHAR
 *         at a lone or broken surrogate, which ends it too and is reported first.
 */
ZVRT_API uint32_t Convert16To32(const uint16_t* src, int32_t srcUnits, wchar_t* dst, int32_t dstUnits, uint32_t* count);

/**
 * UTF-32 to UTF-16. When everything was converted and room is left, a zero unit follows the last one, not counted.
 *
 * @param src       UTF-32 text of srcUnits characters.
 * @param srcUnits  Length in characters.
 * @param dst       Receives the units; null to count only.
 * @param dstUnits  Capacity in UTF-16 units.
 * @param count     Receives the units written (with a null destination: needed).
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED where the next character does not fit, which ends the transform;
 *         ZVRT_RC_INVALID_CHAR at a surrogate value or one above 0x10FFFF, which ends it too and is reported first.
 */
ZVRT_API uint32_t Convert32To16(const wchar_t* src, int32_t srcUnits, uint16_t* dst, int32_t dstUnits, uint32_t* count);

/**
 * Decodes one UTF-8 sequence.
 *
 * @param codePoint  Receives the code point; 0 at a zero byte.
 * @param position   In: the lead byte. Out: after the sequence; after a malformed one, after its lead byte.
 * @param remaining  Bytes that may be read, at least 1.
 * @param status     Set to ZVRT_RC_TRUNCATED when the sequence is cut off by `remaining`, else left alone.
 * @param consumed   Receives the bytes of the sequence: 0 at a zero byte; 0xFFFFFFFF for a malformed sequence, whose
 *                   code point is its lead byte's value.
 * @return 1 to go on, 0 when the sequence is cut off.
 */
ZVRT_API int32_t ConvertFrom8(uint32_t* codePoint, const char** position, int32_t remaining, uint32_t* status,
                              uint32_t* consumed);

/**
 * Encodes one code point as UTF-8.
 *
 * @param position   In: where to write; where it points to null nothing is written or counted. Out: after what was
 *                   written.
 * @param room       Bytes that may be written.
 * @param codePoint  The code point, up to 0x7FFFFFFF.
 * @param status     Set to ZVRT_RC_INVALID_CHAR for a larger value, to ZVRT_RC_TRUNCATED when the room is too small,
 *                   else left alone.
 * @param needed     Grows by the length of the form, also when it does not fit.
 * @return 1 to go on, 0 when nothing was written because of the room or the value.
 */
ZVRT_API int32_t ConvertTo8(char** position, int32_t room, uint32_t codePoint, uint32_t* status, uint32_t* needed);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Code pages
 * The bridges to the converter service. They need ZVRTInitDataConversion(); before it they return the environment
 * library's status. @{ */

/**
 * Recognises the pairs of vendor letter and code page that mean UTF-8: '2' or 'C' with 1208, 'I' with 57372, 'O' with
 * 870 to 873, 'S' with 190, 'T' with 63, 'Z' with 2. For these both values become 0; any other pair is left alone.
 */
ZVRT_API void VerifyCodePageInfo(char* codePageKind, uint32_t* codePage);

/**
 * Narrow text in the field's code page to wide text, through the converter service.
 *
 * @param fldDef    Not null; codePage and codePageKind choose the converter.
 * @param src       Narrow text of srcBytes bytes; a zero byte is a character like any other.
 * @param srcBytes  Length of src in bytes.
 * @param dst       Receives the characters that fit, no terminator.
 * @param dstBytes  Size of dst in bytes; dstBytes / 4 characters are used.
 * @param outChars  Receives the characters that the whole text needs; on ZVRT_RC_INVALID_CHAR the characters before it.
 *                  Untouched when no converter was reached.
 * @return ZVRT_RC_OK; ZVRT_RC_NO_CONVERTER; the status of the environment library; or the converter service's:
 *         ZVRT_RC_TRUNCATED for a destination too small, ZVRT_RC_INVALID_CHAR for text that the code page does not
 *         define.
 */
ZVRT_API uint32_t ZVRT_MultiByteToWideChar(const FldDef* fldDef, const void* src, int32_t srcBytes, void* dst,
                                           int32_t dstBytes, uint32_t* outChars);

/**
 * Wide text to narrow text in the field's code page, through the converter service.
 *
 * @param fldDef    Not null; codePage and codePageKind choose the converter.
 * @param src       Wide text at any alignment; a zero character is a character like any other.
 * @param srcBytes  Length of src in bytes, 4 per character.
 * @param dst       Receives the whole characters that fit, no terminator.
 * @param dstBytes  Size of dst in bytes.
 * @param outBytes  Receives the bytes that the whole text needs; otherwise as for ZVRT_MultiByteToWideChar().
 * @return As ZVRT_MultiByteToWideChar(); ZVRT_RC_INVALID_CHAR for a character that the code page does not have.
 */
ZVRT_API uint32_t ZVRT_WideCharToMultiByte(const FldDef* fldDef, const void* src, int32_t srcBytes, void* dst,
                                           int32_t dstBytes, uint32_t* outBytes);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Character strings
 * Conversions among the six kinds. Between two narrow or two wide kinds they copy and ignore fldDef; between a narrow
 * and a wide kind they transcode, UTF-8 unless fldDef names another code page.
 *
 * An empty source gives ZVRT_RC_INVALID_PARAM with nothing written, unless a function accepts it. Where text and
 * terminator do not both fit (1609 is ZVRT_RC_TRUNCATED):
 *
 * | Destination                          | Exactly full                                     | Too long                               |
 * |--------------------------------------|--------------------------------------------------|----------------------------------------|
 * | `WVarcharSz`                         | the terminator replaces the last character, 1609 | filled, no terminator, 1609            |
 * | `VarcharSz`, transcoded              | no terminator, ZVRT_RC_OK                        | whole characters, no terminator, 1609  |
 * | `VarcharSz` from `Varchar`           | no terminator, ZVRT_RC_OK                        | filled with bytes, no terminator, 1609 |
 * | `VarcharSz` from `Char`, `VarcharSz` | no terminator, 1609                              | filled with bytes, no terminator, 1609 |
 * | `Char`, `Varchar`, copied            | ZVRT_RC_OK                                       | the bytes that fit, 1609               |
 * | `Char`, `Varchar`, transcoded        | ZVRT_RC_OK                                       | the whole characters that fit, 1609    |
 * | `WChar`, `WVarchar`                  | ZVRT_RC_OK                                       | the characters that fit, 1609          |
 *
 * Fields are not padded. A prefix counts the bytes that follow it; dstSize below 2 gives ZVRT_RC_TRUNCATED with nothing
 * written, outLen included.
 *
 * UTF-8 is read leniently, as by Convert8To32(), with ZVRT_RC_OK: U+FFFD becomes '?', a stray byte becomes the
 * character of its value, overlong forms and encoded surrogates pass, and a malformed sequence ends the source as a
 * terminator would. Text that ends inside a sequence is ZVRT_RC_TRUNCATED, whatever the room. The converter service is
 * strict, also with UTF-8 by the code pages 1208 and 65001: all of these but U+FFFD, which stays itself, are
 * ZVRT_RC_INVALID_CHAR.
 *
 * Statuses of those that transcode, besides ZVRT_RC_OK, ZVRT_RC_INVALID_PARAM and ZVRT_RC_TRUNCATED:
 * ZVRT_RC_INVALID_CHAR, ZVRT_RC_NO_CONVERTER and the platform's own; the destination then holds what was converted,
 * without a terminator.
 * @{ */

/** Bytes copied as they are. outLen: the bytes copied. */
ZVRT_API ZVRTConversion ZVRTCnvCharToVarcharSz;
/** Transcoded; a zero byte ends UTF-8 text. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvCharToWVarcharSz;
/** Transcoded up to a zero character; a field that starts with one gives empty text. outLen: bytes. A srcLen of 1 to 3
 *  is ZVRT_RC_INVALID_PARAM with an outLen of 0. */
ZVRT_API ZVRTConversion ZVRTCnvWCharToVarcharSz;
/** Copied up to a zero character, the rest of the field's length filled with zero characters. outLen: the field's
 *  characters. */
ZVRT_API ZVRTConversion ZVRTCnvWCharToWVarcharSz;
/** Bytes copied as they are. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharToVarcharSz;
/** Transcoded; a zero byte ends UTF-8 text. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharToWVarcharSz;
/** Transcoded up to a zero character. outLen: bytes. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharToVarcharSz;
/** Characters copied as they are. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharToWVarcharSz;
/** Bytes copied; an empty source is accepted. outLen and srcLen: the bytes copied, not the source's length. The source
 * is not read beyond the bytes copied and its terminator. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToVarcharSz;
/** Transcoded. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToWVarcharSz;
/** Characters copied. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToWVarcharSz;
/** As ZVRTCnvWVarcharSzToWVarcharSz(). outLen: bytes. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToWVarcharSzOut;
/** Bytes copied; an empty source is accepted. outLen and srcLen: the bytes copied, not the source's length. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToChar;
/** Transcoded; an empty source is accepted. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToChar;
/** Transcoded. outLen: bytes, 4 per character. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToWChar;
/** Characters copied. outLen: bytes, 4 per character. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToWChar;
/** Bytes copied, with a prefix; an empty source is accepted. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToVarchar;
/** Transcoded, with a prefix; an empty source is accepted. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToVarchar;
/** Transcoded, with a prefix; an empty source is accepted. outLen: 4 per character, and 2. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToWVarchar;
/** Characters copied, with a prefix. outLen: 4 per character, and 2. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToWVarchar;
/** Transcoded; an empty source is accepted. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToVarcharSz;
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Trimming and blank filling
 * In place, on the caller's buffer. A blank is U+0020. A trim flag counts only when it is 1. Lengths are in and out,
 * the terminator not counted; a negative one is 0. @{ */

/**
 * Trims narrow NUL-terminated text. With a codePage other than 0 the text is transcoded, trimmed and transcoded back,
 * since a blank is not the byte 20 everywhere; with 0 it is trimmed as bytes, as by TrimSpacesA().
 *
 * @param text  With codePage 0: len bytes and room for a terminator. Otherwise NUL-terminated.
 * @param len   In and out, bytes. With a code page other than 0, 0 is filled in with the length measured.
 * @param trimLeading   1: trim the front.
 * @param trimTrailing  1: trim the end.
 * @param codePage      As FldDef::codePage.
 * @param codePageKind  As FldDef::codePageKind.
 * @return ZVRT_RC_OK; with a code page also ZVRT_RC_INVALID_PARAM for an empty text, ZVRT_RC_NO_MEMORY, and the
 *         statuses of ZVRTCnvVarcharSzToWVarcharSz() and ZVRTCnvWVarcharSzToVarcharSz(). A text of blanks only gives a
 *         length of 0 and stays as it was.
 */
ZVRT_API uint32_t TrimSpaces(char* text, int32_t* len, uint8_t trimLeading, uint8_t trimTrailing, uint32_t codePage,
                             char codePageKind);

/**
 * Trims the byte 20 at the ends of len bytes. The trailing trim writes a zero byte after the text, so the buffer needs
 * len + 1 bytes; the leading trim alone writes none. When the leading trim leaves nothing, the buffer stays as it was.
 *
 * @param text          len bytes, and room for a terminator.
 * @param len           In and out, bytes.
 * @param trimLeading   1: trim the front.
 * @param trimTrailing  1: trim the end.
 * @return ZVRT_RC_OK.
 */
ZVRT_API uint32_t TrimSpacesA(char* text, int32_t* len, uint8_t trimLeading, uint8_t trimTrailing);

/**
 * As TrimSpacesA() for wide characters; a leading trim that moved something writes a zero character after the text
 * too.
 *
 * @param text          len characters, and room for a terminator.
 * @param len           In and out, characters.
 * @param trimLeading   1: trim the front.
 * @param trimTrailing  1: trim the end.
 * @return ZVRT_RC_OK.
 */
ZVRT_API uint32_t TrimSpacesW(wchar_t* text, int32_t* len, uint8_t trimLeading, uint8_t trimTrailing);

/**
 * Removes every blank and tab among the first len characters of NUL-terminated wide text, and ends the text after
 * those kept.
 *
 * @param text  Wide NUL-terminated text; room for a terminator even where len is 0 or less.
 * @param len   In: characters to examine; 0 or less empties the text. Out: characters kept.
 * @return ZVRT_RC_OK.
 */
ZVRT_API uint32_t TrimAllSpacesTabsW(wchar_t* text, int32_t* len);

/**
 * Fills a `Char` field with the blank of its code page.
 *
 * @param buf   The field.
 * @param size  Its size in bytes; 0 or less fills nothing.
 * @param fldDef  The field descriptor; null means UTF-8.
 * @return ZVRT_RC_OK, or the status of ZVRTCnvWVarcharSzToChar() for a blank; the field is then untouched.
 */
ZVRT_API uint32_t InitializeCharBufferWithSpaces(void* buf, int32_t size, const FldDef* fldDef);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Integers to text
 * Binary integers in native byte order, at any alignment, as decimal text: a '-' for negative values, then the digits,
 * nothing else. Zero has no digits: its text is empty, with ZVRT_RC_EMPTY_RESULT. The type words: `ULONGLONG` and
 * `LongLong` 64 bits, `UInt` and `Int` 32, `SmallUInt` and `SmallInt` 16, `TinyUInt` and `TinyInt` 8; the ones with a U
 * are unsigned.
 *
 * srcLen may be null; where it points to 0 it receives the size of the source type, 8, 4, 2 or 1. outLen is written on
 * every return. The wide forms do not read fldDef. Nothing allocates.
 *
 * | Room, in wide characters | Wide destination                            | Status                                 |
 * |--------------------------|---------------------------------------------|----------------------------------------|
 * | more than the text       | the text and its terminator                 | ZVRT_RC_OK, zero: ZVRT_RC_EMPTY_RESULT |
 * | the text exactly         | the text, its last character the terminator | ZVRT_RC_TRUNCATED                      |
 * | less, or none            | what fits of the text, no terminator        | ZVRT_RC_TRUNCATED                      |
 * @{ */

/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvULONGLONGToWVarcharSz;
/** As ZVRTCnvULONGLONGToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvULONGLONGToWVarcharSzOut;
/** To narrow text in the field's code page. outLen: the bytes of the whole text, 0 where the code page's conversion
 * reported none. Exactly full: no terminator, ZVRT_RC_OK; too small: whole characters and ZVRT_RC_TRUNCATED. Besides
 * these and ZVRT_RC_EMPTY_RESULT, the statuses of ZVRTCnvWVarcharSzToVarcharSz(). */
ZVRT_API ZVRTConversion ZVRTCnvULONGLONGToVarcharSz;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvLongLongToWVarcharSz;
/** As ZVRTCnvLongLongToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvLongLongToWVarcharSzOut;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvUIntToWVarcharSz;
/** As ZVRTCnvUIntToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvUIntToWVarcharSzOut;
/** To narrow text, as ZVRTCnvULONGLONGToVarcharSz(). */
ZVRT_API ZVRTConversion ZVRTCnvUIntToVarcharSz;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvIntToWVarcharSz1;
/** As ZVRTCnvIntToWVarcharSz1(). outLen: bytes, written only when the status is ZVRT_RC_OK. */
ZVRT_API ZVRTConversion ZVRTCnvIntToWVarcharSz1Out;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvSmallIntToWVarcharSz;
/** As ZVRTCnvSmallIntToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvSmallIntToWVarcharSzOut;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvSmallUIntToWVarcharSz;
/** As ZVRTCnvSmallUIntToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvSmallUIntToWVarcharSzOut;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvTinyIntToWVarcharSz;
/** As ZVRTCnvTinyIntToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvTinyIntToWVarcharSzOut;
/** outLen: the characters of the whole text. */
ZVRT_API ZVRTConversion ZVRTCnvTinyUIntToWVarcharSz;
/** As ZVRTCnvTinyUIntToWVarcharSz(). outLen: bytes, whatever the status. */
ZVRT_API ZVRTConversion ZVRTCnvTinyUIntToWVarcharSzOut;

/**
 * A signed 32-bit value as wide text, into a buffer that holds every such value.
 *
 * @param value   The value itself.
 * @param dst     Holds at least 12 characters; only the text and its terminator are written.
 * @param outLen  Receives the characters of the text.
 * @return ZVRT_RC_OK; ZVRT_RC_EMPTY_RESULT for zero.
 */
ZVRT_API uint32_t ZVRTCnvIntToWVarcharSz(int32_t value, wchar_t* dst, uint32_t* outLen);

/**
 * A signed 32-bit value as narrow text in a code page.
 *
 * @param value         The value itself.
 * @param dst           Receives the text, and a terminator where there is room for one.
 * @param dstLen        Required. In: the size of dst in bytes, a negative one counts as 0. Out, with ZVRT_RC_OK and
 *                      ZVRT_RC_EMPTY_RESULT only: the bytes of the text.
 * @param codePage      As FldDef::codePage.
 * @param codePageKind  As FldDef::codePageKind.
 * @return ZVRT_RC_OK; ZVRT_RC_EMPTY_RESULT for zero; the statuses of ZVRTCnvWVarcharSzToVarcharSz().
 */
ZVRT_API uint32_t ZVRTCnvIntToVarcharSz(int32_t value, char* dst, int32_t* dstLen, uint32_t codePage,
                                        char codePageKind);

/**
 * A 32-bit value through a printf-style format to wide text. The text is made as printf makes it in the C locale, then
 * taken for narrow text of code page 0xFFFFFFFF and converted by ZVRTCnvCharToWVarcharSz(), always through the
 * converter service. Calls may overlap.
 *
 * @param dst      Receives the text by the rules of ZVRTCnvCharToWVarcharSz().
 * @param dstSize  Size of dst in bytes.
 * @param format   Literal text, `%%`, and exactly one conversion of d, i, u, o, x or X, with the flags - + blank # 0, a
 *                 width and a precision in digits, and h or hh, which narrow the value.
 * @param value    The value itself.
 * @param outLen   Required. Receives what ZVRTCnvCharToWVarcharSz() reports.
 * @return ZVRT_RC_ERROR for any other format (any other length modifier, `*`, %n and %s among them) and for text longer
 *         than 15 bytes, with nothing written; ZVRT_RC_INVALID_PARAM for empty text; else the status of
 *         ZVRTCnvCharToWVarcharSz().
 */
ZVRT_API uint32_t ZVRTCnvIntToUni(wchar_t* dst, int32_t dstSize, const char* format, int32_t value, uint32_t* outLen);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Text to integers
 * Decimal digits, for the signed types with one '-' before them, up to the terminator and of any number. No digits at
 * all are 0. There is no range check: the value is the text's number modulo 2 to the power of the type's width, a
 * leading '-' negating it in that width. dst receives the integer in native byte order, at any alignment.
 *
 * outLen receives the size of the type in bytes. srcLen does not limit the text; where it points to 0 and the text was
 * accepted it receives the text's length in bytes. fldDef is not read for wide text. Nothing allocates.
 *
 * Statuses: ZVRT_RC_OK; ZVRT_RC_TRUNCATED when dstSize is below the type's size, dst and srcLen untouched and the text
 * not looked at; ZVRT_RC_INVALID_INTEGER for any other character, dst, outLen and srcLen untouched. @{ */

/** Unsigned 64 bits. dstSize is compared as unsigned: a negative one is large enough. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToULONGLONG;
/** Signed 64 bits. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToLongLong;
/** Unsigned 32 bits. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToUInt;
/** Signed 32 bits. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToInt1;
/** Unsigned 16 bits. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToSmallUInt;
/** Signed 16 bits. Any other character gives ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToSmallInt;
/** Unsigned 8 bits. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToTinyUInt;
/** Signed 8 bits. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToTinyInt;
/** Unsigned 64 bits from narrow text in the field's code page, converted by ZVRTCnvVarcharSzToWVarcharSz() first, whose
 *  statuses are returned and which stores srcLen: an empty text is ZVRT_RC_INVALID_PARAM, one of 22 characters or more
 *  ZVRT_RC_TRUNCATED. outLen: 8; 0 where the text was refused. dstSize is looked at last, as unsigned. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToULONGLONG;
/** Unsigned 32 bits from narrow text, as ZVRTCnvVarcharSzToULONGLONG() but for texts of up to 11 characters. A dstSize
 *  below 4, as signed, is refused first: ZVRT_RC_TRUNCATED, outLen 4. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToUInt;

/**
 * A signed 32-bit number from a narrow field within a record. The field ends at its first zero byte or after count
 * bytes.
 *
 * @param record        The record; count bytes from offset on are read.
 * @param dst           Receives the number, with ZVRT_RC_OK only.
 * @param offset        Where the field begins, in bytes.
 * @param count         Size of the field in bytes, 0 to 11.
 * @param codePage      As FldDef::codePage.
 * @param codePageKind  As FldDef::codePageKind.
 * @return ZVRT_RC_OK; ZVRT_RC_INVALID_PARAM for an empty field and, with nothing read, for a count out of its range;
 *         ZVRT_RC_INVALID_INTEGER for anything but digits with at most a '-' before them, blanks included; the statuses
 *         of ZVRTCnvVarcharSzToWVarcharSz().
 */
ZVRT_API uint32_t ZVRTCnvVarcharSzToInt(const char* record, int32_t* dst, int32_t offset, int32_t count,
                                        uint32_t codePage, char codePageKind);

/**
 * A signed 32-bit number from a run of characters within a wide text: digits, and one '-' in whatever place among them.
 * The run ends at the terminator or after maxChars characters; no digits are 0, too many wrap around.
 *
 * @param text      Wide text.
 * @param value     Receives the number; where the run is refused, what its digits gave so far, the sign not applied.
 * @param start     Index of the run's first character.
 * @param maxChars  Most characters to read.
 * @return ZVRT_RC_OK; ZVRT_RC_ERROR at any other character.
 */
ZVRT_API uint32_t ZVRTCnvWVarcharSzToInt(const wchar_t* text, int32_t* value, int32_t start, int32_t maxChars);

/**
 * As ZVRTCnvWVarcharSzToInt().
 *
 * @param text      Wide text.
 * @param endPos    With ZVRT_RC_OK only: receives the index after the last character read.
 * @param value     As there.
 * @param start     Index of the run's first character.
 * @param maxChars  Most characters to read.
 * @return As there.
 */
ZVRT_API uint32_t ZVRTCnvWVarcharSzToInt2(const wchar_t* text, int32_t* endPos, int32_t* value, int32_t start,
                                          int32_t maxChars);

/**
 * An unsigned 32-bit number from a narrow fixed field in which blanks do not count, wherever they stand. The field ends
 * at its first zero byte or after fieldLen bytes; no digits are 0, too many wrap around.
 *
 * @param field     The field.
 * @param fieldLen  Most bytes to read.
 * @param value     Receives the number, with ZVRT_RC_OK only.
 * @return ZVRT_RC_OK; ZVRT_RC_ERROR at any byte other than a digit or a blank, signs included.
 */
ZVRT_API uint32_t ZVRTCnvCharToInt(const char* field, int32_t fieldLen, uint32_t* value);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Floating point
 * IEEE 754 doubles and singles in wide NUL-terminated text. The text written has one shape, with a fixed count of
 * digits: an optional '-', a digit, a point, 16 further digits for a double and 7 for a single, 'E', a sign, two or
 * three digits of the exponent: `-4.9406564584124654E-324`, `1.0000000E+20`. The digits are the exact value, that of a
 * single too, rounded to that many, halves to even. A double's text has 22 to 24 characters, a single's 13 or 14. Zero
 * is `0.0000000000000000E+00`, negative zero keeps its '-'. Infinities and NaN have no text.
 *
 * Values need no alignment. No function of the section allocates. Reading expects the default rounding mode of the
 * floating-point environment. @{ */

/**
 * The text of a double with any count of digits after the point, ended by a NUL.
 *
 * @param out        Receives the text; 9 + precision characters always suffice.
 * @param outSize    Capacity of out in characters.
 * @param precision  Digits after the point, all exact; with 0 the text still has its point.
 * @param value      The value.
 * @return ZVRT_RC_OK. Otherwise nothing is written: ZVRT_RC_TRUNCATED when precision is -1, whatever the value;
 *         ZVRT_RC_ERROR when it is less, when the value is not finite, or when text and NUL do not fit.
 */
ZVRT_API uint32_t FloatToString(wchar_t* out, int32_t outSize, int16_t precision, double value);

/**
 * A double to `WVarcharSz`. srcLen: 8. outLen: characters.
 *
 * @return ZVRT_RC_OK. ZVRT_RC_TRUNCATED: exactly full, the last character gives way to the NUL; too long, the room is
 *         filled without one. ZVRT_RC_ERROR, nothing written, outLen and srcLen included: src or dst is null, or the
 *         value is not finite.
 */
ZVRT_API ZVRTConversion ZVRTCnvDblToWVarcharSz;
/** As ZVRTCnvDblToWVarcharSz(). outLen: bytes, on every return; 0 with ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvDblToWVarcharSzOut;
/** A single to `WVarcharSz`, as ZVRTCnvDblToWVarcharSz(). srcLen: 4. */
ZVRT_API ZVRTConversion ZVRTCnvFltToWVarcharSz;
/** As ZVRTCnvFltToWVarcharSz(). outLen: bytes, on every return; 0 with ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvFltToWVarcharSzOut;

/**
 * `WVarcharSz` to a double, the nearest one, halves to even.
 *
 * The text may hold an optional sign in front, digits, points, and E or e with an optional sign after it, in any order
 * and of any length; no blanks, no other point than '.', whatever the locale. Of such text the longest beginning that
 * is a number counts: `1.5`, `.5`, `-2.5e-3`, `1E+` (1), `1e5e5` (100000), `1.2.3` (1.2). Text without a digit other
 * than 0, the empty text too, is +0.0; a zero with an exponent that has such a digit, as in `0e1`, is refused. A
 * negative number too large for the type is negative infinity.
 *
 * @param srcLen  Not used.
 * @param outLen  Receives 8, unless the text is refused.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED when dstSize is below 8, whatever the text; ZVRT_RC_INVALID_DOUBLE for another
 *         character, text that begins with no number, a number too large, or a number that is or rounds to 0 although
 *         the text has a digit other than 0. Only ZVRT_RC_OK writes to dst.
 */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToDbl;
/** `WVarcharSz` to a single, the nearest one to the double that ZVRTCnvWVarcharSzToDbl() gives; sizes and outLen are 4,
 *  text is refused with ZVRT_RC_INVALID_FLOAT. */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToFlt;
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Packed decimal and VARNUM
 * A packed decimal field of N bytes holds 2N - 1 decimal digits, two per byte, the most significant first, and the sign
 * in the low half of its last byte: 0xD is negative, everything else is read as positive, also 0xB and digits; written
 * are 0xC and 0xD. It has no decimal point: the digits are an integer.
 *
 * A VARNUM is a byte that counts the bytes after it, an exponent byte and up to 20 base-100 digits: at most 22 bytes.
 * A positive number's exponent byte is 193 + e, the first digit having the weight 100 to the power e, from -65 to 62;
 * its digits are stored plus 1. A negative one's is 62 - e, its digits are stored as 101 minus the digit, and fewer
 * than 20 of them are followed by the byte 102. Zero is 01 80. The conversions are for numbers that are not negative.
 *
 * Wide text that does not fit together with its terminator is ZVRT_RC_TRUNCATED: the destination is filled with the
 * characters that fit, all of them when only the terminator has no room, and outLen is the length of the whole text.
 * The narrow forms end their text as ZVRTCnvWVarcharSzToVarcharSz() does, return its statuses, and store outLen only
 * with ZVRT_RC_OK, unless they say otherwise. Fields and values need no alignment. @{ */

/**
 * Packed decimal to wide text: a '-' for a negative field, then the digits without leading zeros. A negative zero is a
 * lone '-'.
 *
 * @param srcLen  In: the length of the field in bytes; nothing beyond it is read. A negative one is a field without
 *                digits. With 0 or a null pointer the value starts at the first non-zero byte, of at most 44 examined,
 *                and ends with the first of at most 43 bytes whose low half is 0xC, 0xD or 0xF; without one it has 44
 *                bytes. This reads beyond the caller's field where the field is zero throughout or has another sign:
 *                use it only for fields that are known to have one of the three. Out: 0 is replaced by the length
 *                found, counted from the first non-zero byte, also with ZVRT_RC_TRUNCATED and ZVRT_RC_ERROR.
 * @param outLen  Characters of the whole text.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED; ZVRT_RC_ERROR at a digit above 9, even when the text is also too long: the
 *         text is what stands before that digit; ZVRT_RC_EMPTY_RESULT, with nothing written, not even a terminator, an
 *         outLen of 0 and srcLen left alone, for a positive zero and for a positive field whose first digit other than
 *         0 is above 9, such as digits or letters in EBCDIC.
 */
ZVRT_API ZVRTConversion ZVRTCnvDecPackedToWVarcharSz;
/** As ZVRTCnvDecPackedToWVarcharSz(). outLen: bytes. */
ZVRT_API ZVRTConversion ZVRTCnvDecPackedToWVarcharSzOut;
/** As ZVRTCnvDecPackedToWVarcharSz(), in narrow text. outLen: bytes, stored with ZVRT_RC_OK only. ZVRT_RC_ERROR and
 *  ZVRT_RC_EMPTY_RESULT: nothing is written. ZVRT_RC_NO_MEMORY: only for fields above 511 bytes. */
ZVRT_API ZVRTConversion ZVRTCnvDecPackedToVarcharSz;

/**
 * Wide text to packed decimal. A leading '-' is the sign; every other character is taken as a digit, by the low
 * four bits of its code: blanks, points, signs and letters are not refused but give a wrong number. The empty text is
 * zero.
 *
 * @param srcLen  May be null. 0 is replaced by the bytes of the digits (4 per character, the sign not counted).
 * @param dst     The field, all dstSize bytes of which are written: digits at the right, zeros before them.
 * @param outLen  dstSize.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED when the field is too small for the digits from the first non-zero one on, or
 *         has no byte: outLen is the size in bytes that they need, nothing else is written.
 */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSzToDecPacked;
/** As ZVRTCnvWVarcharSzToDecPacked(), from narrow text. srcLen and refusals (ZVRT_RC_INVALID_PARAM for an empty text):
 * as ZVRTCnvVarcharSzToWVarcharSz(). outLen is stored with ZVRT_RC_OK and when the field is too small.
 * ZVRT_RC_NO_MEMORY: only for texts of 1024 bytes and more. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSzToDecPacked;

/**
 * VARNUM to wide text, without leading zeros, the fraction in whole base-100 digits: 1.5 is 1.50, a half is .50, zero
 * is 0. At most 169 characters.
 *
 * @param srcLen  Receives the size of the value in bytes, whatever it held before, with every status; may be null.
 * @param outLen  Characters of the whole text; 0 with ZVRT_RC_ERROR.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED; ZVRT_RC_ERROR, with nothing written and nothing read after the value, when it
 *         is negative or malformed: a first byte of 0 or above 21, no digit in a number other than zero, a digit's byte
 *         outside 1 to 100.
 */
ZVRT_API ZVRTConversion ZVRTCnvOraVarnumToWVarcharSz_Unsigned;
/** As ZVRTCnvOraVarnumToWVarcharSz_Unsigned(), in narrow text. outLen: bytes, stored with ZVRT_RC_OK only. */
ZVRT_API ZVRTConversion ZVRTCnvOraVarnumToVarcharSz_Unsigned;

/**
 * Wide decimal text, digits and at most one '.', to VARNUM. Digits beyond the 20 base-100 digits of a value are cut
 * off; a number below 100 to the power -65 is zero.
 *
 * @param src     The text; null or empty is zero.
 * @param srcLen  Receives the text's length in characters, whatever it held before, with every status; untouched for a
 *                null or empty text; may be null.
 * @param outLen  Size of the value in bytes.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED when dstSize is below outLen, nothing written; ZVRT_RC_ERROR for any other
 *         character, a second point, more than 266 digits, or a number of 100 to the power 63 or more: dst and outLen
 *         are untouched.
 */
ZVRT_API ZVRTConversion ZVRTCnvWVarcharSz_UnsignedToOraVarnum;
/** As ZVRTCnvWVarcharSz_UnsignedToOraVarnum(), from narrow text. The text is read as bytes; fldDef is not consulted. */
ZVRT_API ZVRTConversion ZVRTCnvVarcharSz_UnsignedToOraVarnum;

/**
 * A number given as base-100 digits to VARNUM. Zeros at either end are stripped, then the number is cut to 20 base-100
 * digits without rounding. A magnitude below 100 to the power -65 becomes zero; one of 100 to the power 63 or more has
 * no VARNUM, and its exponent byte holds only the low bits.
 *
 * @param dst         Receives the value, at most 22 bytes.
 * @param digitPairs  pairCount bytes of 0 to 99, the most significant first. The caller must count on their being
 *                    changed. Greater bytes give a wrong number and do no other harm.
 * @param pairCount   Number of digitPairs. All of them count, however many there are; below 1 the number is zero.
 * @param scale       Decimal digits after the point; may be odd or negative.
 * @param sign        '-' for a negative number, else '+'.
 * @return 0.
 */
ZVRT_API int16_t ConvertBCDToOraVarNum(uint8_t* dst, uint8_t* digitPairs, int16_t pairCount, int16_t scale, char sign);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Date and time
 * Records are written as text and read from text by a format model. In it a percent sign and the letters of an element
 * stand for a field and every other character for itself: `%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF`. The functions work on
 * its tokenised form, an array of FmtCode, which ZVRTGetFormatCodes() makes and which a field carries in
 * FldDef::dtFormat. Letters are compared regardless of case, in ASCII only, whatever the process locale.
 *
 * | Element             | Written                                 | Read                                          |
 * |---------------------|-----------------------------------------|-----------------------------------------------|
 * | `%YYYY`             | year, at least 4 digits                 | up to 4 characters, all of them digits        |
 * | `%YY`               | its last two digits                     | up to 2 characters, likewise: 07 is year 7    |
 * | `%MONTH` `%MMM`     | January, Jan                            | the same                                      |
 * | `%MM` `%DD`         | 2 digits at least                       | 1 or 2 digits                                 |
 * | `%M` `%D`           | no leading zero                         | cannot be read                                |
 * | `%HH24` `%MI` `%SS` | 2 digits at least                       | 1 or 2 digits, the hour 0 to 23               |
 * | `%HH`               | hour of the 12-hour clock               | 1 or 2 digits, 1 to 12                        |
 * | `%PM`               | AM or PM as `%HH` says, else two blanks | two characters: AM, PM, or neither            |
 * | `%F` to `%FFFFFF`   | the fraction, at least 1 to 6 digits    | 1 to 6 digits, scaled up where there are less |
 *
 * One minus sign, in any place among the digits of a number that is read, makes it negative and counts as one of its
 * characters. The range checks refuse negative numbers, but -0 is 0, and a fraction has no range check: `%FFF` reads
 * `-5` as 4294967246, with ZVRT_RC_OK.
 * @{ */

typedef int32_t DtKind;                 /**< Which fields of a record are meaningful. */
#define ZVRT_DT_DATE INT32_C(1)         /**< Year, month and day. */
#define ZVRT_DT_TIME INT32_C(2)         /**< Hour, minute and second. */
#define ZVRT_DT_TIMESTAMP INT32_C(3)    /**< All fields. */
#define ZVRT_DT_TIMESTAMP_YY INT32_C(4) /**< All fields, and the year may be 0; for ZVRTValidateDateTime() only. */

#define FMT_LITERAL UINT32_C(0) /**< One character of the text, in FmtCode::literal. */
#define FMT_YYYY UINT32_C(1)    /**< Year. */
#define FMT_YY UINT32_C(2)      /**< Two-digit year. */
#define FMT_MONTH UINT32_C(3)   /**< Name of the month. */
#define FMT_MMM UINT32_C(4)     /**< Its first three letters. */
#define FMT_MM UINT32_C(5)      /**< Month. */
#define FMT_M UINT32_C(6)       /**< Month without a leading zero. */
#define FMT_DD UINT32_C(7)      /**< Day. */
#define FMT_D UINT32_C(8)       /**< Day without a leading zero. */
#define FMT_HH24 UINT32_C(9)    /**< Hour of the 24-hour clock. */
#define FMT_HH UINT32_C(10)     /**< Hour of the 12-hour clock. */
#define FMT_MI UINT32_C(11)     /**< Minute. */
#define FMT_SS UINT32_C(12)     /**< Second. */
#define FMT_FFFFFF UINT32_C(13) /**< Fraction of six digits. */
#define FMT_FFFFF UINT32_C(14)  /**< Fraction of five digits. */
#define FMT_FFFF UINT32_C(15)   /**< Fraction of four digits. */
#define FMT_FFF UINT32_C(16)    /**< Fraction of three digits. */
#define FMT_FF UINT32_C(17)     /**< Fraction of two digits. */
#define FMT_F UINT32_C(18)      /**< Fraction of one digit. */
#define FMT_PM UINT32_C(19)     /**< The marker AM or PM. */
#define FMT_SKIP UINT32_C(20)   /**< Written as its literal, passed over in reading; no model text produces it. */
#define FMT_END UINT32_C(21)    /**< End of the model. Codes above it are written as their literal, never read. */

/** One entry of a tokenised format model. 16 bytes. */
struct FmtCode {
  uint32_t literal; /**< The character of a literal. */
  uint32_t code;    /**< FMT_LITERAL to FMT_END. */
  uint32_t len;     /**< Number of an element's letters. */
  uint32_t pos;     /**< Index of an element's percent sign in the model text. */
};

/** A timestamp. 24 bytes. */
typedef struct ZVRTTS {
  int16_t year;        /**< 1 to 9999; 0 too for a two-digit year. */
  uint16_t month;      /**< 1 to 12. */
  uint16_t day;        /**< 1 to the length of the month. */
  uint16_t hour;       /**< 0 to 23. */
  uint16_t minute;     /**< 0 to 59. */
  uint16_t second;     /**< 0 to 59. */
  uint32_t fraction;   /**< Of the second, in units of the element that reads or writes it: millionths for `%FFFFFF`. */
  uint8_t reserved[8]; /**< Carries no value; zero after reading. */
} ZVRTTS;

/** A date, with the ranges of ZVRTTS. 6 bytes, but ZVRTCnvDateTimeWSzToZVRTDate() needs a destination of 16. */
typedef struct ZVRTDate {
  int16_t year;   /**< As ZVRTTS::year. */
  uint16_t month; /**< As ZVRTTS::month. */
  uint16_t day;   /**< As ZVRTTS::day. */
} ZVRTDate;

/** A time of day, with the ranges of ZVRTTS. 6 bytes, but ZVRTCnvDateTimeWSzToZVRTTime() needs a destination of 16. */
typedef struct ZVRTTime {
  uint16_t hour;   /**< As ZVRTTS::hour. */
  uint16_t minute; /**< As ZVRTTS::minute. */
  uint16_t second; /**< As ZVRTTS::second. */
} ZVRTTime;

/** A date that is read by a format model of its own. 16 bytes. */
typedef struct DateWithModel {
  ZVRTDate date;            /**< Written on success. */
  const wchar_t* modelText; /**< The model's text, not tokenised, NUL-terminated. */
} DateWithModel;

/**
 * Checks the ranges of the fields that a kind covers: year, month, day, then hour, minute, second. The fraction is not
 * checked, and neither is anything for a kind other than the four.
 *
 * @param ts    The record; a date or a time widened to it.
 * @param kind  Which fields to check.
 * @return ZVRT_RC_OK, or the status of the first field out of range: ZVRT_RC_INVALID_YEAR, _MONTH, _DAY, _HOUR, _MINUTE
 *         or _SECOND.
 */
ZVRT_API uint32_t ZVRTValidateDateTime(const ZVRTTS* ts, DtKind kind);

/**
 * Tokenises the text of a format model. Of the elements that the letters after a percent sign begin with, the longest
 * counts; there is no escape for a literal percent sign.
 *
 * @param modelText  NUL-terminated.
 * @param codes      Receives the entries, one per literal character, one per element and the end entry: at most the
 *                   text's length + 1. Zero-filled by the caller; members that an entry does not use are not written.
 * @param kind       In and out: grows from what it is (0 for nothing) by what the elements describe.
 * @return ZVRT_RC_OK; ZVRT_RC_INVALID_FORMAT for letters that are no element: the entries before it are there, but no
 *         end entry.
 */
ZVRT_API uint32_t ZVRTGetFormatCodes(const wchar_t* modelText, FmtCode* codes, DtKind* kind);

/**
 * Writes a record as wide NUL-terminated text. Elements of other kinds write nothing, and once every group of elements
 * that the kind has is written, the rest of the model is ignored. Where text does not fit, the characters before it
 * stay, without a terminator; an element is written whole or not at all.
 *
 * @param dst       Receives the text.
 * @param dstChars  Capacity in characters, the terminator included; 0 or less: nothing fits.
 * @param model     The tokenised model.
 * @param ts        A record valid for the kind; no field is checked, and the text of one out of range is just longer.
 * @param kind      ZVRT_DT_DATE, ZVRT_DT_TIME or ZVRT_DT_TIMESTAMP.
 * @param outLen    Required. On success receives the characters before the terminator.
 * @return ZVRT_RC_OK; ZVRT_RC_TRUNCATED when text or terminator do not fit; ZVRT_RC_ERROR when there is room for a
 *         number's usual width but not for its digits and a terminator, for a month that has no name, another kind or a
 *         null model.
 */
ZVRT_API uint32_t ZVRTTSToWVarcharSz(wchar_t* dst, int32_t dstChars, const FmtCode* model, const ZVRTTS* ts,
                                     DtKind kind, uint32_t* outLen);

/**
 * Reads a record from wide NUL-terminated text. A run of literals is searched for from the current position, and
 * what precedes it is skipped. Text that ends early leaves the remaining fields 0, unless it ends right after
 * literals; text after the last element is not looked at. Only hours are checked.
 *
 * @param src       The text.
 * @param srcChars  Reading ends when the elements have consumed that many characters; the text ends at its terminator.
 * @param model     The tokenised model.
 * @param modelLen  Length in characters of the model's text, above 0.
 * @param ts        Zero-filled, then receives the fields as they are read, also when a later one fails.
 * @param kind      Not used.
 * @return ZVRT_RC_OK; ZVRT_RC_HOUR_OUT_OF_RANGE; ZVRT_RC_INVALID_DATETIME for text that does not match or an element
 *         that cannot be read; ZVRT_RC_ERROR for a modelLen of 0 or less or a null model, with ts untouched.
 */
ZVRT_API uint32_t ZVRTWVarcharSzToTS(const wchar_t* src, int32_t srcChars, const FmtCode* model, int32_t modelLen,
                                     ZVRTTS* ts, DtKind kind);

/**
 * Passes the literals that a model continues with and finds them in the text.
 *
 * @param modelCursor  In and out: moves to the next entry that is no literal.
 * @param textCursor   In and out: moves to the end of the first occurrence of the literals, never past the terminator.
 * @param scratch      Receives the literals and a terminator.
 * @return ZVRT_RC_OK; ZVRT_RC_END_OF_FORMAT when the model ends, with the text not looked at; ZVRT_RC_ERROR when the
 *         literals do not occur: textCursor is then null.
 */
ZVRT_API uint32_t ZVRTGetNextCodePosInSourceW(const FmtCode** modelCursor, const wchar_t** textCursor,
                                              wchar_t* scratch);

/**
 * Writes a timestamp in one fixed layout, such as 05/03/2024 07:08:09:001234, without checking it. Where it does not
 * fit, the parts before it stay, without a terminator.
 *
 * @param ts        The record, in range or not.
 * @param dst       Receives the text.
 * @param dstChars  Capacity in characters, the terminator included: 27 for records in range.
 * @param outLen    May be null. On success receives the characters before the terminator.
 * @return ZVRT_RC_OK; ZVRT_RC_ERROR when a part does not fit.
 */
ZVRT_API uint32_t ZVRTGetStringFromTS(const ZVRTTS* ts, wchar_t* dst, int32_t dstChars, uint32_t* outLen);

/**
 * As ZVRTGetStringFromTS() in ASCII, with lengths in bytes.
 *
 * @param ts       The record, in range or not.
 * @param dst      Receives the text.
 * @param dstSize  Capacity in bytes, the terminator included: 27 for records in range.
 * @param outLen   May be null. On success receives the bytes before the terminator.
 * @return As ZVRTGetStringFromTS().
 */
ZVRT_API uint32_t ZVRTGetStringAFromTS(const ZVRTTS* ts, char* dst, int32_t dstSize, uint32_t* outLen);

/**
 * Reads a date from UTF-8 text by the model that it carries. A time that the model reads must be valid too, and is
 * dropped. Allocates only for models longer than 127 characters and texts longer than 1023.
 *
 * @param src   NUL-terminated.
 * @param date  Its model is read, its date written on success.
 * @return As ZVRTCnvDateTimeSzToZVRTTS(); ZVRT_RC_INVALID_FORMAT for a model with an unknown element or of more than
 *         32766 characters; ZVRT_RC_ERROR for an empty model or failed allocations.
 */
ZVRT_API uint32_t ZVRTDateCharToDate(const char* src, DateWithModel* date);

/**
 * As ZVRTDateCharToDate() for UTF-16 text. Allocates only for models longer than 127 characters and texts longer than
 * 511 units.
 *
 * @param src       UTF-16 text.
 * @param srcUnits  Length in units, negative ones being 0; a zero unit ends the text before.
 * @param date      Its model is read, its date written on success.
 * @return As ZVRTDateCharToDate(); ZVRT_RC_INVALID_CHAR for a broken surrogate pair; ZVRT_RC_NO_MEMORY.
 */
ZVRT_API uint32_t ZVRTUTF16DateCharToDate(const uint16_t* src, int32_t srcUnits, DateWithModel* date);
/** @} */

/* ------------------------------------------------------------------------------------------------------------------ */
/** @name Date and time conversions
 * By the tokenised model in `fldDef->dtFormat`; the record is the buffer without a text kind. Besides what a function
 * says, in this order: a null src, dst, fldDef, dtFormat or model gives ZVRT_RC_ERROR with nothing written.
 *
 * Records to text: an invalid record gives the status of ZVRTValidateDateTime() with nothing written. `WVarcharSz`
 * destinations then follow ZVRTTSToWVarcharSz(): outLen is written on success only, except by the `...Out` functions,
 * which otherwise store 0. The other destinations receive what they would from the string conversions of the same kind,
 * and outLen and statuses are theirs. The text is formatted into a temporary of modelLen * 16 + 1 characters, which has
 * to suffice (else ZVRT_RC_TRUNCATED with nothing written) and is allocated beyond 1024 characters; an allocation that
 * fails, or a modelLen for which there can be none, is reported before anything else about the record. srcLen is not
 * used.
 *
 * Text to records: dstSize below the size of the record, 24 bytes for a timestamp and 16 for a date or a time, gives
 * ZVRT_RC_TRUNCATED with that size in outLen; an empty source, or a missing length, gives ZVRT_RC_INVALID_PARAM and no
 * outLen, and so does an allocation that fails (for sources of more than 1023 units). From there on outLen is the
 * record's size whatever the status: those of the string conversion to `WVarcharSz`, of ZVRTWVarcharSzToTS() and of
 * ZVRTValidateDateTime(); ZVRT_RC_BLANK_TEXT where a timestamp could not be read from text of blanks. A timestamp's
 * year may be 0 where the first year of the model is `%YY`. The destination is written only on success; the ten bytes
 * after a date or a time are then 0. @{ */

/** A ZVRTDate. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTDateToWVarcharSz;
/** A ZVRTDate. outLen: bytes. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTDateToWVarcharSzOut;
/** A ZVRTTime. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTimeToWVarcharSz;
/** A ZVRTTime. outLen: bytes. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTimeToWVarcharSzOut;
/** A ZVRTTS. outLen: characters. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToWVarcharSz;
/** A ZVRTTS. outLen: bytes. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToWVarcharSzOut;
/** As ZVRTCnvWVarcharSzToWChar(); empty text is ZVRT_RC_INVALID_PARAM. Failed allocation: ZVRT_RC_NO_MEMORY. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToWchar;
/** As ZVRTCnvWVarcharSzToWVarchar(), but dstSize below 2 is reported before all but null arguments; empty text is
 *  ZVRT_RC_INVALID_PARAM. Failed allocation: ZVRT_RC_NO_MEMORY. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToWVarchar;
/** As ZVRTCnvWVarcharSzToChar(). Failed allocation: ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToChar;
/** As ZVRTCnvWVarcharSzToVarchar(). Failed allocation: ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToVarchar;
/** As ZVRTCnvWVarcharSzToVarcharSz(). Failed allocation: ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvZVRTTSToVarcharSz;

/** A timestamp; srcLen in bytes. Failed allocation: ZVRT_RC_NO_MEMORY. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeCharToZVRTTS;
/** A timestamp. srcLen receives the prefix's value, without its two bytes, once the text is converted. Failed
 *  allocation: ZVRT_RC_NO_MEMORY. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeVarcharToZVRTTS;
/** A timestamp. srcLen is written on success only. Failed allocation: ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeSzToZVRTTS;
/** A timestamp; srcLen in characters, not bytes. Failed allocation: ZVRT_RC_ERROR. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeWcharToZVRTTS;
/** A timestamp. srcLen receives the bytes of the text, without the prefix. Failed allocation: ZVRT_RC_NO_MEMORY. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeWVarcharToZVRTTS;
/** A timestamp. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeWSzToZVRTTS;
/** A ZVRTDate and ten zero bytes: dstSize is at least 16. Blank text is ZVRT_RC_INVALID_DATETIME. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeWSzToZVRTDate;
/** A ZVRTTime and ten zero bytes: dstSize is at least 16. Blank text is ZVRT_RC_INVALID_DATETIME. srcLen: not used. */
ZVRT_API ZVRTConversion ZVRTCnvDateTimeWSzToZVRTTime;
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZVRT_DATA_CNV_LIB_H */
