/* A first conversion: a number from a database column into text, and text into wide text and back.
 * UTF-8 needs no initialisation. */
#include <stdio.h>
#include <wchar.h>

#include "ZVRTDataCnvLib.h"

int main(void) {
  const int64_t population = 8849020;
  wchar_t wide[32];
  char narrow[32];
  uint32_t length = 0;

  /* An integer to wide text: the length is in characters, the size in bytes. */
  uint32_t status = ZVRTCnvLongLongToWVarcharSz(&population, NULL, wide, sizeof wide, &length, NULL);
  printf("integer to wide text: status %u, %u characters\n", (unsigned)status, (unsigned)length);

  /* Wide text to UTF-8: the length is in bytes. */
  status = ZVRTCnvWVarcharSzToVarcharSz(wide, NULL, narrow, sizeof narrow, &length, NULL);
  printf("wide text to UTF-8: status %u, %u bytes: %s\n", (unsigned)status, (unsigned)length, narrow);

  /* UTF-8 to wide text: one character for the two bytes of the u with its umlaut. */
  int32_t source_bytes = 0; /* 0 asks for the length measured */
  status = ZVRTCnvVarcharSzToWVarcharSz("Z\xC3\xBCrich", &source_bytes, wide, sizeof wide, &length, NULL);
  printf("UTF-8 to wide text: status %u, %d bytes are %u characters, the second is U+%04X\n", (unsigned)status,
         (int)source_bytes, (unsigned)length, (unsigned)wide[1]);

  /* Zero has no digits: its text is empty, and the status says so. It is no failure. */
  const int64_t zero = 0;
  status = ZVRTCnvLongLongToWVarcharSz(&zero, NULL, wide, sizeof wide, &length, NULL);
  printf("zero to wide text: status %u (%s), %u characters\n", (unsigned)status,
         status == ZVRT_RC_EMPTY_RESULT ? "ZVRT_RC_EMPTY_RESULT" : "?", (unsigned)length);
  return 0;
}
