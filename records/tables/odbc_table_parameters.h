// The cells of a column as a driver takes them: arrays that plans fill and that parameters are bound to, once.
//
//   a column's          bound as                             refused before the driver sees it
//   type in the table
//   ------------------  -----------------------------------  ------------------------------------------------
//   whole numbers       SQL_C_SBIGINT                        what is no whole number of 64 bits
//   floats              SQL_C_DOUBLE                         what does not read back as the same number
//   exact decimals      text                                 digits that the described precision or scale lacks
//   dates               SQL_C_TYPE_DATE                      what is no ISO date
//   times, timestamps   text                                 no ISO form; digits that the described fraction lacks
//   bytes               SQL_C_BINARY                         what is not hexadecimal
//   anything else       SQL_C_WCHAR, UTF-16                  a zero character
//
// A driver or server that rounds, cuts or guesses what it is given therefore gets nothing of that kind.
#ifndef ZVRT_RECORDS_TABLES_ODBC_TABLE_PARAMETERS_H
#define ZVRT_RECORDS_TABLES_ODBC_TABLE_PARAMETERS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "records/tables/odbc_table_connection.h"
#include "records/tables/odbc_table_text.h"
#include "records/tables/table.h"

namespace zvrt::records {

class OdbcParameters {
 public:
  // `what` names the column in messages.
  OdbcParameters(const TableColumn& column, const OdbcColumn& described, std::size_t capacity, std::string what);

  // Puts the cells of these rows into the slots from the first on; `status` has one entry a row, of which those that
  // are refused are set. True if the slots moved, so that they have to be bound again.
  bool take(const CellColumn& cells, std::span<const std::uint32_t> rows, std::vector<std::uint32_t>& status);
  // Binds slot `row` to a parameter, which counts from 1.
  SQLRETURN bind(const OdbcHandle& statement, std::size_t parameter, std::size_t row);
  // Bytes that a row's slot takes.
  std::size_t slot() const { return slot_; }

 private:
  void choose(const OdbcColumn& described);
  void choose_checked_text(const ZVRTType& check);
  void gather(const CellColumn& cells, std::span<const std::uint32_t> rows);
  bool make_room(std::size_t longest, std::size_t count);
  void run(const OdbcPlan& plan, const CellColumn& cells, const ZVRTArray& to, std::size_t count);

  std::string what_;
  std::size_t capacity_;
  SQLSMALLINT bound_as_ = SQL_C_WCHAR;
  SQLSMALLINT sql_type_ = SQL_WVARCHAR;
  SQLSMALLINT digits_ = 0;
  std::uint32_t kind_ = 0;           // of the slots
  std::size_t units_of_a_byte_ = 0;  // bytes of a slot for a byte of UTF-8; 0: slots of one size
  OdbcPlan check_;                   // of text that is sent as it stands
  OdbcPlan send_;
  std::size_t slot_ = 0;
  std::vector<char> data_;
  std::vector<SQLLEN> lengths_;
  std::vector<char> checked_;         // values of the check, which nobody reads
  std::vector<std::int64_t> starts_;  // of the cells that are taken
  std::vector<std::int32_t> sizes_;
  std::vector<std::uint32_t> status_;
};

}  // namespace zvrt::records

#endif
