/* Date models: a model's text is made into tokens once; records are then written and read by it. */
#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include "ZVRTDataCnvLib.h"

enum { longest_model = 63 };

/* A model with everything that a field descriptor needs of it. */
typedef struct Model {
  FmtCode codes[longest_model + 1]; /* at most one for each character, and the end */
  DtFormatDesc format;
  FldDef field;
  DtKind kind;
} Model;

static uint32_t make_model(Model* model, const wchar_t* text) {
  memset(model, 0, sizeof *model); /* the tokens have to start as zeros */
  model->kind = ZVRT_DT_DATE;
  model->format.model = model->codes;
  model->format.modelLen = (int32_t)wcslen(text);
  model->field.dtFormat = &model->format;
  return ZVRTGetFormatCodes(text, model->codes, &model->kind);
}

static void show(const wchar_t* model_text, const ZVRTTS* moment) {
  Model model;
  char text[80] = "";
  uint32_t length = 0;
  uint32_t status = make_model(&model, model_text);
  if (status == ZVRT_RC_OK) status = ZVRTCnvZVRTTSToVarcharSz(moment, NULL, text, sizeof text, &length, &model.field);
  printf("%-36ls %4u  %s\n", model_text, (unsigned)status, text);
}

static void read(const wchar_t* model_text, const char* text) {
  Model model;
  ZVRTTS moment;
  uint32_t size = 0;
  uint32_t status = make_model(&model, model_text);
  if (status == ZVRT_RC_OK) status = ZVRTCnvDateTimeSzToZVRTTS(text, NULL, &moment, sizeof moment, &size, &model.field);
  printf("%-24ls %-24s %4u", model_text, text, (unsigned)status);
  if (status == ZVRT_RC_OK)
    printf("  %04d-%02u-%02u %02u:%02u:%02u, fraction %u", moment.year, (unsigned)moment.month, (unsigned)moment.day,
           (unsigned)moment.hour, (unsigned)moment.minute, (unsigned)moment.second, (unsigned)moment.fraction);
  printf("\n");
}

int main(void) {
  const ZVRTTS moment = {.year = 2024, .month = 3, .day = 5, .hour = 13, .minute = 45, .second = 10, .fraction = 1234};

  printf("written by a model, with the status\n");
  show(L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", &moment);
  show(L"%DD-%MMM-%YYYY", &moment);
  show(L"%MONTH %D, %YYYY at %HH:%MI %PM", &moment);
  show(L"%YY%MM%DD", &moment);
  show(L"%YYYY-%Q", &moment); /* no such element */

  printf("\nread by a model, with the status\n");
  read(L"%YYYY-%MM-%DD", "2024-03-05");
  read(L"%DD-%MMM-%YYYY", "05-MAR-2024");
  read(L"%DD/%MM/%YYYY", "5/3/2024");
  read(L"%HH:%MI %PM", "12:30 AM"); /* a time is no timestamp: the date is missing */
  read(L"%YYYY%MM%DD%HH24%MI", "202403051345");
  read(L"%YYYY-%MM-%DD", "2023-02-29"); /* no such day */
  read(L"%YYYY-%MM-%DD", "yesterday");
  read(L"%SS.%FFF", "7.5");
  return 0;
}
