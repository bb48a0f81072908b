/* A C11 program that knows nothing but the installed header. */
#include <ZVRTDataCnvLib.h>
#include <stdio.h>
#include <wchar.h>

int main(void) {
  wchar_t wide[8];
  uint32_t characters = 0;
  const uint32_t status = ZVRTCnvVarcharSzToWVarcharSz("caf\xC3\xA9", NULL, wide, sizeof wide, &characters, NULL);
  printf("status %u, %u characters, last U+%04X\n", (unsigned)status, (unsigned)characters, (unsigned)wide[3]);
  return status == ZVRT_RC_OK && characters == 4 && wide[3] == 0xE9 && wide[4] == 0 ? 0 : 1;
}
