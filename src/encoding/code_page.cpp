// The exported bridges to the converter service.
#include "encoding/code_page.h"

#include "ZVRTDataCnvLib.h"
#include "encoding/converter_service.h"

void VerifyCodePageInfo(char* codePageKind, uint32_t* codePage) {
  if (!zvrt::is_utf8_pair(*codePageKind, *codePage)) return;
  *codePageKind = 0;
  *codePage = 0;
}

uint32_t ZVRT_MultiByteToWideChar(const FldDef* fldDef, const void* src, int32_t srcBytes, void* dst, int32_t dstBytes,
                                  uint32_t* outChars) {
  return zvrt::service_decode(*fldDef, src, srcBytes, dst, dstBytes / 4, outChars);
}

uint32_t ZVRT_WideCharToMultiByte(const FldDef* fldDef, const void* src, int32_t srcBytes, void* dst, int32_t dstBytes,
                                  uint32_t* outBytes) {
  return zvrt::service_encode(*fldDef, src, srcBytes / 4, dst, dstBytes, outBytes);
}
