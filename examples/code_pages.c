/* Code pages: the same text in EBCDIC and in UTF-8, blanks, and what a page does not have. */
#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include "ZVRTDataCnvLib.h"

static void print_bytes(const char* what, const unsigned char* bytes, uint32_t count) {
  printf("%s:", what);
  for (uint32_t i = 0; i < count; ++i) printf(" %02X", bytes[i]);
  printf("\n");
}

int main(void) {
  /* Code pages other than UTF-8 go through the converter service, which is started once. */
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) return 1;

  const wchar_t* text = L"Caf\u00E9";
  unsigned char field[8];
  uint32_t bytes = 0;
  FldDef page;

  /* A fixed field: its blanks first, in its own code page, then the text over them. */
  memset(&page, 0, sizeof page);
  page.codePage = 37; /* EBCDIC, United States */
  uint32_t status = InitializeCharBufferWithSpaces(field, sizeof field, &page);
  if (status == ZVRT_RC_OK) status = ZVRTCnvWVarcharSzToChar(text, NULL, field, sizeof field, &bytes, &page);
  printf("code page 37: status %u\n", (unsigned)status);
  print_bytes("  the field", field, sizeof field);

  /* And back: decoded, then the blanks trimmed. */
  wchar_t wide[16];
  int32_t length = sizeof field;
  uint32_t characters = 0;
  status = ZVRTCnvCharToWVarcharSz(field, &length, wide, sizeof wide, &characters, &page);
  int32_t kept = (int32_t)characters;
  TrimSpacesW(wide, &kept, 0, 1);
  printf("  back: status %u, %u characters, %d without blanks, %s\n", (unsigned)status, (unsigned)characters, (int)kept,
         wcscmp(wide, text) == 0 ? "the same text" : "another text");

  /* Nothing is substituted: page 37 has no euro sign, page 1140 has it in the place of the currency sign. */
  status = ZVRTCnvWVarcharSzToChar(L"5 \u20AC", NULL, field, sizeof field, &bytes, &page);
  printf("the euro sign in page 37: status %u (%s), %u bytes before it\n", (unsigned)status,
         status == ZVRT_RC_INVALID_CHAR ? "ZVRT_RC_INVALID_CHAR" : "?", (unsigned)bytes);
  page.codePage = 1140;
  status = ZVRTCnvWVarcharSzToChar(L"5 \u20AC", NULL, field, sizeof field, &bytes, &page);
  printf("the euro sign in page 1140: status %u\n", (unsigned)status);
  print_bytes("  the bytes", field, bytes);

  /* Pages that shift between one and two bytes a character begin and end unshifted (0E in, 0F out). */
  page.codePage = 939;
  status = ZVRTCnvWVarcharSzToChar(L"a\u6771b", NULL, field, sizeof field, &bytes, &page);
  printf("page 939: status %u\n", (unsigned)status);
  print_bytes("  the bytes", field, bytes);

  page.codePage = 4242;
  status = ZVRTCnvWVarcharSzToChar(text, NULL, field, sizeof field, &bytes, &page);
  printf("page 4242: status %u (%s)\n", (unsigned)status,
         status == ZVRT_RC_NO_CONVERTER ? "ZVRT_RC_NO_CONVERTER" : "?");

  return ZVRTTermDataConversion() == ZVRT_RC_OK ? 0 : 1;
}
