// The bridges to the converter service, for narrow text in a code page other than UTF-8.
#include "encoding/code_page.h"

#include "ZVRTDataCnvLib.h"
#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "frame/units.h"

namespace zvrt {
namespace {

// The service's converter for a field; asked for on every call, since it belongs to the calling thread's block.
Status find_converter(const FldDef& field, void*& converter) {
  void* anchor = nullptr;
  void* thread = nullptr;
  if (const Status status = ZVRTGetAncBlk(&anchor); status != ZVRT_RC_OK) return status;
  if (const Status status = ZVRTGetThreadBlock(&thread); status != ZVRT_RC_OK) return status;
  converter = ZVRT_GetICUConverterInfo(anchor, thread, field.codePage, field.codePageKind);
  return converter == nullptr ? ZVRT_RC_NO_CONVERTER : ZVRT_RC_OK;
}

}  // namespace
}  // namespace zvrt

void VerifyCodePageInfo(char* codePageKind, uint32_t* codePage) {
  if (!zvrt::is_utf8_pair(*codePageKind, *codePage)) return;
  *codePageKind = 0;
  *codePage = 0;
}

uint32_t ZVRT_MultiByteToWideChar(const FldDef* fldDef, const void* src, int32_t srcBytes, void* dst, int32_t dstBytes,
                                  uint32_t* outChars) {
  void* converter = nullptr;
  if (const zvrt::Status status = zvrt::find_converter(*fldDef, converter); status != ZVRT_RC_OK) return status;
  return ZVRT_IcuMultibyteToWide(converter, src, srcBytes, dst, dstBytes / 4, outChars);
}

uint32_t ZVRT_WideCharToMultiByte(const FldDef* fldDef, const void* src, int32_t srcBytes, void* dst, int32_t dstBytes,
                                  uint32_t* outBytes) {
  void* converter = nullptr;
  if (const zvrt::Status status = zvrt::find_converter(*fldDef, converter); status != ZVRT_RC_OK) return status;
  return ZVRT_IcuWideToMultibyte(converter, src, srcBytes / 4, dst, dstBytes, outBytes);
}
