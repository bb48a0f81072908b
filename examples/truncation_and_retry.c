/* A destination that is too small: what it holds, and how to ask again with enough room. */
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "ZVRTDataCnvLib.h"

static const char* name_of(uint32_t status) {
  switch (status) {
    case ZVRT_RC_OK: return "ZVRT_RC_OK";
    case ZVRT_RC_TRUNCATED: return "ZVRT_RC_TRUNCATED";
    default: return "another status";
  }
}

/* Wide text to UTF-8 in memory of the right size; the caller frees it. */
static char* to_utf8(const wchar_t* wide) {
  char guess[16];
  uint32_t bytes = 0;
  uint32_t status = ZVRTCnvWVarcharSzToVarcharSz(wide, NULL, guess, sizeof guess, &bytes, NULL);
  printf("%d bytes of room: %s, the text needs %u bytes and a terminator\n", (int)sizeof guess, name_of(status),
         (unsigned)bytes);
  /* Status 0 leaves a text that fills its room exactly without a terminator, so room is made for one. */
  char* text = malloc(bytes + 1);
  if (text == NULL) return NULL;
  status = ZVRTCnvWVarcharSzToVarcharSz(wide, NULL, text, (int32_t)bytes + 1, &bytes, NULL);
  printf("%u bytes of room: %s\n", (unsigned)bytes + 1, name_of(status));
  return text;
}

int main(void) {
  char* text = to_utf8(L"na\u00EFve caf\u00E9, 5 \u20AC");
  if (text == NULL) return 1;
  printf("%s\n", text);
  free(text);

  /* Fixed fields hold whole characters: the euro sign does not fit its last two bytes and is left out. */
  char field[4] = {'.', '.', '.', '.'};
  uint32_t bytes = 0;
  uint32_t status = ZVRTCnvWVarcharSzToChar(L"ab\u20AC", NULL, field, sizeof field, &bytes, NULL);
  printf("a field of 4 bytes: %s, holds \"%.4s\", the text needs %u bytes\n", name_of(status), field, (unsigned)bytes);

  /* A wide text that fills its room gives its last character to the terminator. */
  const int32_t year = 2024;
  wchar_t room[4];
  uint32_t characters = 0;
  status = ZVRTCnvIntToWVarcharSz1(&year, NULL, room, sizeof room, &characters, NULL);
  printf("4 characters of room for %d: %s, holds %u characters of %u\n", (int)year, name_of(status),
         (unsigned)wcslen(room), (unsigned)characters);
  return 0;
}
