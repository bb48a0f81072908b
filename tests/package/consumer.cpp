// A C++17 program that goes through the converter service: the platform libraries have to be found from the prefix too.
#include <ZVRTDataCnvLib.h>

#include <cstdio>
#include <cstring>

int main() {
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) return 1;
  FldDef field{};
  field.codePage = 37;
  char record[4];
  uint32_t bytes = 0;
  uint32_t status = InitializeCharBufferWithSpaces(record, sizeof record, &field);
  if (status == ZVRT_RC_OK) status = ZVRTCnvWVarcharSzToChar(L"ABC", nullptr, record, sizeof record, &bytes, &field);
  std::printf("status %u, %u bytes\n", static_cast<unsigned>(status), static_cast<unsigned>(bytes));
  const bool right = status == ZVRT_RC_OK && bytes == 3 && std::memcmp(record, "\xC1\xC2\xC3\x40", 4) == 0;
  return ZVRTTermDataConversion() == ZVRT_RC_OK && right ? 0 : 1;
}
