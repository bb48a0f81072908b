#include "columns/single_call.h"

#include <array>
#include <cwchar>
#include <limits>
#include <new>

#include "columns/places.h"
#include "columns/plan.h"
#include "datetime/tokenizer.h"
#include "encoding/code_page.h"

namespace zvrt::columns {

namespace {

struct Row {
  std::uint32_t from;
  std::uint32_t to;
  ZVRTConversion* function;
  std::int32_t length_unit;
};

// clang-format off
constexpr std::array rows = {
  Row{ZVRT_KIND_CHAR,        ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvCharToVarcharSz,         1},
  Row{ZVRT_KIND_CHAR,        ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvCharToWVarcharSz,        1},
  Row{ZVRT_KIND_WCHAR,       ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvWCharToVarcharSz,        1},
  Row{ZVRT_KIND_WCHAR,       ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvWCharToWVarcharSz,       1},
  Row{ZVRT_KIND_VARCHAR,     ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvVarcharToVarcharSz,      0},
  Row{ZVRT_KIND_VARCHAR,     ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvVarcharToWVarcharSz,     0},
  Row{ZVRT_KIND_WVARCHAR,    ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvWVarcharToVarcharSz,     0},
  Row{ZVRT_KIND_WVARCHAR,    ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvWVarcharToWVarcharSz,    0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvVarcharSzToVarcharSz,    0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvVarcharSzToWVarcharSz,   0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_CHAR,        ZVRTCnvVarcharSzToChar,         0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_WCHAR,       ZVRTCnvVarcharSzToWChar,        0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_VARCHAR,     ZVRTCnvVarcharSzToVarchar,      0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_WVARCHAR,    ZVRTCnvVarcharSzToWVarchar,     0},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvWVarcharSzToVarcharSz,   0},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvWVarcharSzToWVarcharSz,  0},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_CHAR,        ZVRTCnvWVarcharSzToChar,        0},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WCHAR,       ZVRTCnvWVarcharSzToWChar,       0},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_VARCHAR,     ZVRTCnvWVarcharSzToVarchar,     0},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WVARCHAR,    ZVRTCnvWVarcharSzToWVarchar,    0},
  Row{ZVRT_KIND_PACKED,      ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvDecPackedToWVarcharSz,   1},
  Row{ZVRT_KIND_TIMESTAMP,   ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvZVRTTSToWVarcharSz,      0},
  Row{ZVRT_KIND_TIMESTAMP,   ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvZVRTTSToVarcharSz,       0},
  Row{ZVRT_KIND_CHAR,        ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeCharToZVRTTS,    1},
  Row{ZVRT_KIND_VARCHAR,     ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeVarcharToZVRTTS, 0},
  Row{ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeSzToZVRTTS,      0},
  Row{ZVRT_KIND_WCHAR,       ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeWcharToZVRTTS,   4},
  Row{ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeWSzToZVRTTS,     0},
};
// clang-format on

const Row* find_row(std::uint32_t from, std::uint32_t to) {
  for (const Row& row : rows) {
    if (row.from == from && row.to == to) return &row;
  }
  return nullptr;
}

// The values stay where they are.
void read_nothing(const Type& /*type*/, Block& /*block*/) {}

// A function looks for the terminator itself: there has to be one.
bool is_terminated(const Type& type, const Value& value, Status& status) {
  Value measured{};
  return type.extent != Extent::terminated || measure(type, value.at, not_given, measured, status) == Content::value;
}

void call_each(const Type& from, const Type& to, Block& block) {
  constexpr std::uint32_t not_told = std::numeric_limits<std::uint32_t>::max();
  const SingleCall& call = *to.single_call;
  for_each(block, [&](std::int32_t i) {
    const Value& value = block.source[i];
    Status status = ZVRT_RC_OK;
    if (!is_terminated(from, value, status)) return block.refuse(i, status);
    const std::byte* const source = value.at - (from.extent == Extent::prefixed ? 2 : 0);
    std::int32_t length = call.length_unit == 0 ? 0 : static_cast<std::int32_t>(value.bytes) / call.length_unit;
    std::uint32_t told = not_told;
    status = call.function(source, &length, block.slot[i], to.length, &told, &call.field);
    block.length[i] = told == not_told ? -1 : static_cast<std::int64_t>(told);
    if (status != ZVRT_RC_OK) block.refuse(i, status);
  });
}

void write_nothing(const Type& /*type*/, Block& /*block*/) {}

bool is_plain(const ZVRTType& type) { return type.flags == 0 && type.scale == 0 && type.precision == 0; }

// The tokenised model, as the functions want it.
Status open_format(const wchar_t* model, SingleCall& call) {
  constexpr std::size_t max_length = 32766;
  const std::size_t length = wcsnlen(model, max_length + 1);
  if (length > max_length) return ZVRT_RC_INVALID_FORMAT;
  call.codes.reset(new (std::nothrow) FmtCode[length + 1]{});
  if (call.codes == nullptr) return ZVRT_RC_NO_MEMORY;
  DtKind kind = 0;
  if (const Status status = tokenise(model, call.codes.get(), kind); status != ZVRT_RC_OK) return status;
  call.format.model = call.codes.get();
  call.format.modelLen = static_cast<std::int32_t>(length);
  call.field.dtFormat = &call.format;
  return ZVRT_RC_OK;
}

// Checks one side but for its model, which the functions read in their own way.
bool open_type(const ZVRTType& given, Role role, Type& type, Reason& reason) {
  ZVRTType without_model = given;
  without_model.model = nullptr;
  reason = {ZVRT_RC_INVALID_PAIR, role == Role::source ? 0 : 1,
            "A plan as single calls has no flags, precision or scale."};
  if (!is_plain(given)) return false;
  reason.status = check_type(without_model, role, type, reason.sentence);
  if (reason.status != ZVRT_RC_OK || !type.is_narrow()) return reason.status == ZVRT_RC_OK;
  // The functions know other names of UTF-8 than plans do.
  const bool by_service = given.codePage != 0 && !is_utf8_pair(given.codePageKind, given.codePage);
  if (by_service) reason.status = find_service_page(given.codePage, given.codePageKind, type.page, nullptr);
  reason.sentence = "The code page has no converter, or conversions are not initialised.";
  return reason.status == ZVRT_RC_OK;
}

}  // namespace

bool open_single_call(const ZVRTType& from, const ZVRTType& to, ZVRTPlan& plan, Reason& reason) {
  if (!open_type(from, Role::source, plan.from.type, reason)) return false;
  if (!open_type(to, Role::target, plan.to.type, reason)) return false;
  reason = {ZVRT_RC_INVALID_PAIR, -1, "No function for single values is offered for this pair."};
  const Row* const row = find_row(from.kind, to.kind);
  if (row == nullptr) return false;
  const bool is_date = from.kind == ZVRT_KIND_TIMESTAMP || to.kind == ZVRT_KIND_TIMESTAMP;
  const wchar_t* const model = from.kind == ZVRT_KIND_TIMESTAMP ? to.model : from.model;
  reason = {ZVRT_RC_INVALID_FORMAT, -1, "The text of a date needs a format model that the functions know."};
  if (is_date && model == nullptr) return false;
  reason = {ZVRT_RC_NO_MEMORY, -1, "There is not enough memory for the plan."};
  plan.single_call.reset(new (std::nothrow) SingleCall);
  if (plan.single_call == nullptr) return false;
  SingleCall& call = *plan.single_call;
  call.function = row->function;
  call.length_unit = row->length_unit;
  const ZVRTType& narrow = plan.from.type.is_narrow() ? from : to;
  if (plan.from.type.is_narrow() || plan.to.type.is_narrow()) {
    call.field.codePage = narrow.codePage;
    call.field.codePageKind = narrow.codePageKind;
  }
  if (is_date) {
    reason = {open_format(model, call), -1, "The text of a date needs a format model that the functions know."};
    if (reason.status != ZVRT_RC_OK) return false;
  }
  plan.to.type.single_call = plan.single_call.get();
  plan.path = {read_nothing, call_each, nullptr, write_nothing};
  reason = {};
  return true;
}

}  // namespace zvrt::columns
