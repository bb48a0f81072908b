/** @file ZVRTICULib.h
 *  The character-set converter service: text in a code page to and from wide text (UTF-32 in native byte order).
 *
 *  Text is counted everywhere; a zero is an ordinary character. Wide text may stand at any alignment.
 *
 *  Exact: a byte that the page does not define, a sequence that is cut or broken, a character that the page does not
 *  have, a surrogate and a value above U+10FFFF all give ZVRT_ICU_RC_INVALID_CHAR. Nothing is ever substituted, skipped
 *  or replaced by a similar character: what a page writes, it reads back as the same text.
 *
 *  How a number and a vendor letter find their page:
 *  - 0xFFFFFFFF, the process's own encoding, and 0 are UTF-8. 1200 is UTF-16 little-endian.
 *  - The Windows pages 874, 932, 936, 949, 950 and 1250 to 1258 are meant where such a number is given, although IBM
 *    uses it as well. 28591 to 28605 are ISO 8859-1 to -15; a few more Windows numbers stand in the service's own list.
 *  - Any other number is the page that ICU knows as "ibm-<number>", else as "windows-<number>", else as "cp<number>",
 *    where that is a page of tables or an encoding of Unicode. A few IBM pages that ICU has as parts of others are added.
 *  - The letter 'B' asks for IBM's page where IBM and Windows use the number. 'N' takes the page as usual but, where it
 *    is an EBCDIC one, exchanges its line feed and its new line: byte 15 is then U+000A, 25 is U+0085. Every other
 *    letter makes no difference.
 *  - A number that none of this finds has no converter. docs/code-pages.md lists what the usual numbers find. */
#ifndef ZVRT_ICU_LIB_H
#define ZVRT_ICU_LIB_H

#include <stdint.h>

#include "ZVRTPlatformStatus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The text cannot be carried; the count is of what was produced before the offending place, all of it in the buffer. */
#define ZVRT_ICU_RC_INVALID_CHAR 22u
/** The destination is too small; the count is the length that the whole text needs. */
#define ZVRT_ICU_RC_TRUNCATED 1609u

/** Starts the service; once it is started, does nothing. */
__attribute__((visibility("default"))) uint32_t ZVRT_ICU_Init(void* anchor, void* thread);

/** Ends the service: it hands out no converter until it is started again. Ending a service that is not started does
 *  nothing. */
__attribute__((visibility("default"))) uint32_t ZVRT_ICU_Term(void* anchor, void* thread);

/** The converter for a code page and kind, or null when there is none or the service is not started. It is a constant
 *  of the service, the same for every thread. Takes no lock and allocates nothing. */
__attribute__((visibility("default"))) void* ZVRT_GetICUConverterInfo(void* anchor, void* thread, uint32_t codePage,
                                                                      int32_t kind);

/** Converts `srcBytes` bytes into at most `dstChars` wide characters.
 *
 *  The whole text is examined, also when the destination fills up before its end: an offending place anywhere makes the
 *  status ZVRT_ICU_RC_INVALID_CHAR, and the count then is what stands in the destination. Otherwise the count is the
 *  length of the whole text in characters. What lies after the characters written is left alone. Lengths below 0 are
 *  0. A page with shifts starts each text unshifted; one that ends shifted is complete. */
__attribute__((visibility("default"))) uint32_t ZVRT_IcuMultibyteToWide(void* converter, const void* src,
                                                                        int32_t srcBytes, void* dst, int32_t dstChars,
                                                                        uint32_t* outChars);

/** Converts `srcChars` wide characters into at most `dstBytes` bytes, whole characters only; else as its sibling.
 *
 *  A page with shifts starts each text unshifted and ends it so: what stands in the destination, also of a truncated or
 *  an offending text, is the longest run of whole characters that fits together with its closing shift, and the closing
 *  shift is counted. */
__attribute__((visibility("default"))) uint32_t ZVRT_IcuWideToMultibyte(void* converter, const void* src,
                                                                        int32_t srcChars, void* dst, int32_t dstBytes,
                                                                        uint32_t* outBytes);

#ifdef __cplusplus
}
#endif

#endif
