#include "records/tables/odbc_table_parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr std::size_t least_slot = 32;
constexpr std::size_t checked_bytes = 32;  // the longest value of a check
constexpr int most_digits = 38;
constexpr std::size_t most_bytes = 1 << 22;  // of slots for all rows of a statement

ZVRTType decimal_of(const OdbcColumn& described) {
  ZVRTType decimal = odbc_type(ZVRT_KIND_DECIMAL, 16);
  decimal.precision = static_cast<std::int16_t>(std::min<SQLULEN>(described.size, most_digits));
  decimal.scale = described.digits;
  return decimal;
}

// A timestamp's text is `2024-02-29 12:34:56.` and its fraction; some drivers tell the whole size alone.
ZVRTType time_of(const OdbcColumn& described) {
  if (described.type == SQL_TYPE_TIME) return odbc_type(ZVRT_KIND_CLI_TIME);
  constexpr int before_fraction = 20;
  ZVRTType time = odbc_type(ZVRT_KIND_TIMESTAMP);
  const int digits =
      std::max<int>(described.digits, static_cast<int>(std::min<SQLULEN>(described.size, 64)) - before_fraction);
  time.scale = static_cast<std::int16_t>(digits <= 0 ? ZVRT_SCALE_NONE : std::min(digits, 9));
  return time;
}

}  // namespace

OdbcParameters::OdbcParameters(const TableColumn& column, const OdbcColumn& described, std::size_t capacity,
                               std::string what)
    : what_(std::move(what)), capacity_(capacity), lengths_(capacity) {
  choose(described);
  if ((described.type == SQL_BINARY || described.type == SQL_VARBINARY || described.type == SQL_LONGVARBINARY) &&
      column.type != TableColumn::Type::bytes)
    throw Failure(fmt::format("{} holds bytes, and the field is none", what_));
  if (units_of_a_byte_ == 0) {
    data_.resize(slot_ * capacity_);
    send_ = odbc_plan(odbc_type(ZVRT_KIND_CHAR), odbc_type(kind_, kind_ == ZVRT_KIND_CLI_DATE ? 0 : slot_), what_,
                      kind_ == ZVRT_KIND_FLOAT ? ZVRT_PLAN_EXACT_FLOAT : 0);
  }
}

void OdbcParameters::choose_checked_text(const ZVRTType& check) {
  bound_as_ = SQL_C_CHAR;
  sql_type_ = SQL_VARCHAR;
  kind_ = ZVRT_KIND_VARCHAR_SZ;
  units_of_a_byte_ = 1;
  check_ = odbc_plan(odbc_type(ZVRT_KIND_CHAR), check, what_);
}

void OdbcParameters::choose(const OdbcColumn& described) {
  const auto fixed = [&](SQLSMALLINT bound_as, SQLSMALLINT sql_type, std::uint32_t kind, std::size_t slot) {
    bound_as_ = bound_as;
    sql_type_ = sql_type;
    kind_ = kind;
    slot_ = slot;
  };
  switch (described.type) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT: return fixed(SQL_C_SBIGINT, described.type, ZVRT_KIND_INT, sizeof(std::int64_t));
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE: return fixed(SQL_C_DOUBLE, SQL_DOUBLE, ZVRT_KIND_FLOAT, sizeof(double));
    case SQL_TYPE_DATE: return fixed(SQL_C_TYPE_DATE, SQL_TYPE_DATE, ZVRT_KIND_CLI_DATE, sizeof(SQL_DATE_STRUCT));
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      fixed(SQL_C_BINARY, described.type, ZVRT_KIND_BYTES, 0);
      units_of_a_byte_ = 1;
      return;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      if (described.size != 0) return choose_checked_text(decimal_of(described));
      break;
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP: return choose_checked_text(time_of(described));
    default: break;
  }
  kind_ = ZVRT_KIND_UTF16_SZ;
  units_of_a_byte_ = sizeof(SQLWCHAR);
}

void OdbcParameters::gather(const CellColumn& cells, std::span<const std::uint32_t> rows) {
  starts_.resize(rows.size());
  sizes_.resize(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::uint32_t row = rows[i];
    starts_[i] = cells.starts != nullptr ? cells.starts[row] : static_cast<std::int64_t>(row) * cells.stride;
    sizes_[i] = cells.lengths[row];
  }
}

// Slots for so many cells of so many bytes, and a terminator. Slots that became large for single cells become small again.
bool OdbcParameters::make_room(std::size_t longest, std::size_t count) {
  const std::size_t needed = std::bit_ceil(std::max(least_slot, (longest + 1) * units_of_a_byte_));
  const bool is_large = slot_ * capacity_ > most_bytes;
  if (needed <= slot_ && !(is_large && needed < slot_) && slot_ * count <= data_.size()) return false;
  if (needed != slot_) send_ = odbc_plan(odbc_type(ZVRT_KIND_CHAR), odbc_type(kind_, needed), what_);
  slot_ = needed;
  data_.resize(slot_ * (slot_ * capacity_ > most_bytes ? count : capacity_));
  data_.shrink_to_fit();
  return true;
}

void OdbcParameters::run(const OdbcPlan& plan, const CellColumn& cells, const ZVRTArray& to, std::size_t count) {
  ZVRTArray from{};
  from.size = sizeof from;
  from.data = const_cast<char*>(cells.data);
  from.starts = starts_.data();
  from.lengths = sizes_.data();
  from.lengthBytes = sizeof(std::int32_t);
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  ZVRTPlanRun(plan.get(), &from, &to, static_cast<std::int64_t>(count), &outcome);
}

bool OdbcParameters::take(const CellColumn& cells, std::span<const std::uint32_t> rows,
                          std::vector<std::uint32_t>& status) {
  gather(cells, rows);
  const std::int32_t longest = std::max(0, *std::max_element(sizes_.begin(), sizes_.end()));
  const bool moved = units_of_a_byte_ != 0 && make_room(static_cast<std::size_t>(longest), rows.size());
  status_.assign(rows.size(), ZVRT_RC_OK);
  ZVRTArray to{};
  to.size = sizeof to;
  to.status = status_.data();
  to.lengthBytes = to.indicatorBytes = sizeof(SQLLEN);
  to.lengths = to.indicators = lengths_.data();
  const auto settle = [&] {
    for (std::size_t i = 0; i < rows.size(); ++i)
      if (status[i] == ZVRT_RC_OK) status[i] = status_[i];
  };
  if (check_) {
    checked_.resize(checked_bytes * rows.size());
    to.data = checked_.data();
    to.stride = checked_bytes;
    run(check_, cells, to, rows.size());
    settle();
  }
  to.data = data_.data();
  to.stride = static_cast<std::int64_t>(slot_);
  run(send_, cells, to, rows.size());
  settle();
  return moved;
}

SQLRETURN OdbcParameters::bind(const OdbcHandle& statement, std::size_t parameter, std::size_t row) {
  // The size of a text parameter says no more than that it is a text: the driver describes columns, not values.
  const SQLULEN size = units_of_a_byte_ == 0 ? slot_ : slot_ / units_of_a_byte_;
  return odbc_manager().SQLBindParameter(statement.get(), static_cast<SQLUSMALLINT>(parameter), SQL_PARAM_INPUT,
                                         bound_as_, sql_type_, size, digits_, data_.data() + row * slot_,
                                         static_cast<SQLLEN>(slot_), &lengths_[row]);
}

}  // namespace zvrt::records
