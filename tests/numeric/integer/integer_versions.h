// Every version of the integer conversions beside the documented rules.
#pragma once

#include <string>
#include <vector>

#include "numeric/integer/integer_cases.h"
#include "numeric/integer/integers.h"
#include "numeric/integer/text_to_integer_model.h"
#include "support/cpu.h"

namespace zvrt_test {

struct Version {
  const char* name;
  const zvrt::IntegerConversions* conversions;
};

inline std::vector<Version> versions() {
  std::vector<Version> all{{"plain", &zvrt::integers_baseline}, {"portable", &zvrt::integers_portable}};
#if defined(__x86_64__)
  if (zvrt::cpu_level() >= zvrt::CpuLevel::sse41) all.push_back({"sse41", &zvrt::integers_sse41});
  if (zvrt::cpu_level() >= zvrt::CpuLevel::avx512) all.push_back({"avx512", &zvrt::integers_avx512});
#endif
  return all;
}

// Terminated wide text, whatever it holds, read by every version.
template <class Int>
void check_text(const void* src, const std::u32string& text) {
  for (const Version& version : versions()) {
    SCOPED_TRACE(version.name);
    ZVRTConversion* const parse = version.conversions->parse[zvrt::type_index<Int>];
    if (is_number(text, std::is_signed_v<Int>)) {
      check_parsed<Int>(parse, src, std::string(text.begin(), text.end()));
    } else {
      check_refused(parse, sizeof(Int), src, ZVRT_RC_INVALID_INTEGER);
    }
  }
}

}  // namespace zvrt_test
