#include "records/tables/odbc_table_text.h"

#include <fmt/format.h>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

ZVRTArray one_value(const void* data, std::size_t slot, std::int64_t& length) {
  ZVRTArray array{};
  array.size = sizeof array;
  array.data = const_cast<void*>(data);
  array.stride = static_cast<std::int64_t>(slot);
  array.lengths = &length;
  array.lengthBytes = sizeof length;
  return array;
}

std::uint32_t convert(const ZVRTPlan* plan, const void* from, std::size_t bytes, void* to, std::size_t room,
                      std::int64_t& written) {
  auto length = static_cast<std::int64_t>(bytes);
  const ZVRTArray source = one_value(from, bytes, length);
  const ZVRTArray target = one_value(to, room, written);
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  ZVRTPlanRun(plan, &source, &target, 1, &outcome);
  return outcome.firstStatus;
}

}  // namespace

ZVRTType odbc_type(std::uint32_t kind, std::size_t length, std::uint32_t flags) {
  ZVRTType type{};
  type.size = sizeof type;
  type.kind = kind;
  type.length = static_cast<std::int32_t>(length);
  type.flags = flags;
  return type;
}

OdbcPlan odbc_plan(const ZVRTType& from, const ZVRTType& to, const std::string& what, std::uint32_t options) {
  ZVRTPlan* plan = nullptr;
  ZVRTProblem why{};
  why.size = sizeof why;
  if (ZVRTPlanCreate(&from, &to, options, &plan, &why) != ZVRT_RC_OK)
    throw Failure(fmt::format("{}: {}", what, why.text));
  return OdbcPlan(plan);
}

std::vector<SQLWCHAR> odbc_text(std::string_view text) {
  std::vector<SQLWCHAR> units(text.size() + 1);
  const std::size_t room = units.size() * sizeof(SQLWCHAR);
  const OdbcPlan plan = odbc_plan(odbc_type(ZVRT_KIND_CHAR), odbc_type(ZVRT_KIND_UTF16_SZ, room), "ODBC");
  std::int64_t bytes = 0;
  if (convert(plan.get(), text.data(), text.size(), units.data(), room, bytes) != ZVRT_RC_OK)
    throw Failure("a name or a connection string over ODBC is UTF-8 without zero characters");
  units.resize(static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR) + 1);
  return units;
}

static std::string narrowed(const SQLWCHAR* units, std::size_t count, std::uint32_t options) {
  std::string text(3 * count + 1, '\0');
  const OdbcPlan plan = odbc_plan(odbc_type(ZVRT_KIND_UTF16), odbc_type(ZVRT_KIND_CHAR, text.size()), "ODBC", options);
  std::int64_t bytes = 0;
  const std::uint32_t status = convert(plan.get(), units, count * sizeof(SQLWCHAR), text.data(), text.size(), bytes);
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("a text over ODBC: {}", ZVRTStatusText(status)));
  text.resize(static_cast<std::size_t>(bytes));
  return text;
}

std::string from_odbc_text(const SQLWCHAR* units, std::size_t count) {
  return narrowed(units, count, ZVRT_PLAN_SUBSTITUTE);
}

std::string exact_from_odbc_text(const SQLWCHAR* units, std::size_t count) { return narrowed(units, count, 0); }

}  // namespace zvrt::records
