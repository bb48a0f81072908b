// A C++17 program that finds the library of plans by its own package; the version is that of the installed header.
#include <ZVRTColumns.h>

#include <cstring>

static_assert(ZVRT_VERSION == ZVRT_VERSION_MAJOR * 10000 + ZVRT_VERSION_MINOR * 100 + ZVRT_VERSION_PATCH);

int main() {
  ZVRTRecordPlanDestroy(nullptr);
  return std::strchr(ZVRT_VERSION_STRING, '.') != nullptr ? 0 : 1;
}
