// Why a cell was refused: the sentence of the plan, else that of the status.
#include "records/codec/field.h"

namespace zvrt::records {
namespace {

std::string explain(const ZVRTPlan* plan, std::string_view value, Status status) {
  ZVRTProblem why{};
  why.size = sizeof why;
  if (plan != nullptr && status < rx_reads_as_null &&
      ZVRTPlanExplain(plan, value.data(), static_cast<std::int64_t>(value.size()), &why) == ZVRT_RC_OK &&
      why.status != 0)
    return why.text;
  return text_of(status);
}

}  // namespace

std::string Field::explain_decode(std::string_view bytes, Status status) const {
  return explain(decode_.get(), bytes, status);
}
std::string Field::explain_encode(std::string_view text, Status status) const {
  return explain(encode_.get(), text, status);
}

}  // namespace zvrt::records
