// DuckDB over our Arrow arrays: it reads the strikes from CSV, its own arrays become a record file, the stream over that
// file becomes a table again, and the two tables are equal; so is what comes back of Parquet.
//
//   duckdb_test LIBRARY CSV FOLDER
//
// The library comes without a header: what is used of it is declared here.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include "clients/strikes.h"
#include "records/arrow/record_stream.h"

namespace zvrt_test {
namespace {

using Handle = void*;
struct Result {  // as the library lays it out; only handed through
  std::uint64_t words[6];
};

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  std::exit(1);
}

void* library = nullptr;

template <class Function>
Function* symbol(const char* name) {
  void* const found = dlsym(library, name);
  if (found == nullptr) fail(std::string("the library has no ") + name);
  Function* function;
  std::memcpy(&function, &found, sizeof found);
  return function;
}

class Database {
 public:
  Database() {
    if (symbol<int(const char*, Handle*)>("duckdb_open")(nullptr, &database_) != 0) fail("no database");
    if (symbol<int(Handle, Handle*)>("duckdb_connect")(database_, &connection_) != 0) fail("no connection");
  }
  ~Database() {
    symbol<void(Handle*)>("duckdb_disconnect")(&connection_);
    symbol<void(Handle*)>("duckdb_close")(&database_);
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // The first cell of the result, if there is one.
  std::int64_t query(const std::string& sql) {
    Result result{};
    const int state = symbol<int(Handle, const char*, Result*)>("duckdb_query")(connection_, sql.c_str(), &result);
    if (state != 0) fail(sql + ": " + symbol<const char*(Result*)>("duckdb_result_error")(&result));
    const std::int64_t cell =
        symbol<std::int64_t(Result*, std::uint64_t, std::uint64_t)>("duckdb_value_int64")(&result, 0, 0);
    symbol<void(Result*)>("duckdb_destroy_result")(&result);
    return cell;
  }

  void scan(const char* table, ArrowArrayStream& stream) {
    const auto arrow_scan = symbol<int(Handle, const char*, ArrowArrayStream*)>("duckdb_arrow_scan");
    if (arrow_scan(connection_, table, &stream) != 0) fail("the stream was not scanned");
  }

  // Hands every array of a query to `take`.
  template <class Take>
  void arrays(const std::string& sql, Take take) {
    Handle result = nullptr;
    if (symbol<int(Handle, const char*, Handle*)>("duckdb_query_arrow")(connection_, sql.c_str(), &result) != 0) {
      fail(sql + ": " + symbol<const char*(Handle)>("duckdb_query_arrow_error")(result));
    }
    Released<ArrowSchema> schema;
    ArrowSchema* schema_place = &schema.it;
    symbol<int(Handle, ArrowSchema**)>("duckdb_query_arrow_schema")(result, &schema_place);
    for (;;) {
      Released<ArrowArray> array;
      ArrowArray* array_place = &array.it;
      const auto next = symbol<int(Handle, ArrowArray**)>("duckdb_query_arrow_array");
      if (next(result, &array_place) != 0 || array.it.release == nullptr || array.it.length == 0) break;
      take(schema.it, array.it);
    }
    symbol<void(Handle*)>("duckdb_destroy_arrow")(&result);
  }

 private:
  Handle database_ = nullptr;
  Handle connection_ = nullptr;
};

// The arrays of the query `table` as records; every value has to fit.
std::string records_of(Database& database, RecordPlan& plan) {
  std::string records;
  database.arrays("SELECT * FROM csv", [&](const ArrowSchema& schema, const ArrowArray& array) {
    const std::size_t before = records.size();
    records.resize(before + static_cast<std::size_t>(array.length) * strike_bytes, '\x40');
    const std::uint32_t status =
        ZVRTArrowToRecords(plan.plan, &schema, &array, records.data() + before, plan.outcomes.data());
    if (status != ZVRT_RC_OK) fail(std::string("arrays to records: ") + ZVRTStatusName(status));
    for (const ZVRTOutcome& outcome : plan.outcomes) {
      if (outcome.refused > 0) fail(std::string("a value was refused: ") + ZVRTStatusName(outcome.firstStatus));
    }
  });
  return records;
}

void scan_records(Database& database, const std::string& file) {
  RecordPlan plan(strike_fields(), strike_bytes);
  if (plan.status != ZVRT_RC_OK) fail(plan.why.text);
  zvrt::records::FormatOptions options;
  options.record_length = strike_bytes;
  zvrt::records::RecordPlanHolder holder(std::exchange(plan.plan, nullptr));
  std::int64_t refused = 0;
  const auto count = [&refused](const zvrt::records::RecordBlock&, const std::vector<ZVRTOutcome>& outcomes) {
    for (const ZVRTOutcome& outcome : outcomes) refused += outcome.refused;
  };
  ArrowArrayStream stream{};
  zvrt::records::make_record_stream({file}, options, std::move(holder), strike_fields().size(), strike_bytes, count,
                                    stream);
  database.scan("stream", stream);
  database.query("CREATE TABLE strikes AS SELECT * FROM stream");
  if (stream.release != nullptr) stream.release(&stream);
  if (refused > 0) fail("values of the stream were refused");
}

void expect(Database& database, const std::string& sql, std::int64_t expected) {
  const std::int64_t found = database.query(sql);
  if (found != expected) fail(sql + ": " + std::to_string(found) + " instead of " + std::to_string(expected));
  std::printf("%s: %lld\n", sql.c_str(), static_cast<long long>(found));
}

void run(const std::string& csv, const std::string& folder) {
  const std::string records_file = folder + "/strikes.records", parquet = folder + "/strikes.parquet";
  Database database;
  database.query("CREATE TABLE csv AS SELECT * FROM read_csv('" + csv +
                 "', header=true, nullstr='', types={'Cost Other':'BIGINT','Cost Repair':'BIGINT',"
                 "'Cost Total $':'VARCHAR','Speed IAS in knots':'BIGINT','Flight Date':'DATE'})");
  const std::int64_t rows = database.query("SELECT count(*) FROM csv");
  if (rows != 10000) fail("the CSV file has other rows than it had");
  // A trimmed text that is empty is no null: a field of text has none.
  for (const TestField& field : strike_fields()) {
    if (field.type.kind == ZVRT_KIND_CHAR && field.type.model == nullptr) {
      database.query("UPDATE csv SET \"" + field.name + "\" = coalesce(\"" + field.name + "\", '')");
    }
  }
  RecordPlan plan(strike_fields(), strike_bytes);
  if (plan.status != ZVRT_RC_OK) fail(plan.why.text);
  const std::string records = records_of(database, plan);
  std::ofstream(records_file, std::ios::binary) << records;
  scan_records(database, records_file);
  expect(database, "SELECT count(*) FROM strikes", rows);
  expect(database, "SELECT count(*) FROM (SELECT * FROM csv EXCEPT ALL SELECT * FROM strikes)", 0);
  expect(database, "SELECT count(*) FROM (SELECT * FROM strikes EXCEPT ALL SELECT * FROM csv)", 0);
  expect(database, "SELECT count(*) FROM strikes WHERE \"Speed IAS in knots\" IS NULL",
         database.query("SELECT count(*) FROM csv WHERE \"Speed IAS in knots\" IS NULL"));
  database.query("COPY strikes TO '" + parquet + "' (FORMAT parquet)");
  expect(database, "SELECT count(*) FROM (SELECT * FROM '" + parquet + "' EXCEPT ALL SELECT * FROM csv)", 0);

  // The same bytes: records to arrays to records, without DuckDB between.
  Released<ArrowSchema> schema;
  Released<ArrowArray> array;
  std::string back(records.size(), '\x40');
  if (ZVRTRecordSchema(plan.plan, &schema.it) != 0 ||
      ZVRTRecordsToArrow(plan.plan, records.data(), nullptr, rows, &array.it, nullptr) != 0 ||
      ZVRTArrowToRecords(plan.plan, &schema.it, &array.it, back.data(), nullptr) != 0 || back != records) {
    fail("records to arrays to records: other bytes");
  }
}

}  // namespace
}  // namespace zvrt_test

int main(int count, char** arguments) {
  using namespace zvrt_test;
  if (count != 4) fail("usage: duckdb_test LIBRARY CSV FOLDER");
  library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) fail(dlerror());
  std::filesystem::create_directories(arguments[3]);
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) fail("no converter service");
  run(arguments[2], arguments[3]);
  return ZVRTTermDataConversion() == ZVRT_RC_OK ? 0 : 1;
}
