// ZVRTPlanExplain() of each value, flush against a guard page, beside the slow search.
#include <cstring>

#include "columns/differential.h"
#include "columns/reference/fault.h"
#include "columns/reference/write.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

std::string tell(const zvrt_reference::Fault& fault) {
  return std::to_string(fault.status) + " at " + std::to_string(fault.offset) + " unit " + std::to_string(fault.unit) +
         " needed " + std::to_string(fault.needed);
}

// The length as an entry of lengths gives it.
std::int64_t length_of(const ZVRTType& type, const Given& value) {
  if (value.null) return ZVRT_NULL_DATA;
  if (value.length) return *value.length;
  const bool terminated =
      type.kind == ZVRT_KIND_VARCHAR_SZ || type.kind == ZVRT_KIND_WVARCHAR_SZ || type.kind == ZVRT_KIND_UTF16_SZ;
  return terminated ? ZVRT_TERMINATED : static_cast<std::int64_t>(value.slot.size());
}

}  // namespace

std::string find_wrong_reason(const ZVRTPlan* plan, const ZVRTType& from, const ZVRTType& to, std::uint32_t options,
                              const Given& value) {
  const zvrt_reference::Fault expected = zvrt_reference::find_fault(from, to, options, value);
  GuardedBuffer slot(value.slot.size());
  std::memcpy(slot.as<>(), value.slot.data(), value.slot.size());
  ZVRTProblem why{};
  why.size = sizeof why;
  const std::uint32_t status = ZVRTPlanExplain(plan, slot.as<>(), length_of(from, value), &why);
  const zvrt_reference::Fault found{why.status, why.offset, why.unit, why.needed};
  const bool has_sentence = std::memchr(why.text, 0, sizeof why.text) != nullptr && why.text[0] != '\0';
  if (status == 0 && why.field == -1 && has_sentence && tell(found) == tell(expected)) return {};
  return "explained as " + tell(found) + " for " + tell(expected) + ": " +
         std::string(why.text, strnlen(why.text, 111));
}

}  // namespace zvrt_test
