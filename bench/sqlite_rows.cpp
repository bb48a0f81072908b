// What SQLite itself needs for the rows of a table: sqlite_rows FROM.db TABLE TO.db
//
// The bare loops beside which imports and exports are measured: all cells of a table are fetched as text, then inserted into
// a new database in one transaction, without a journal, as zvrt-records does. Prints processor seconds of both loops.
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace {

double seconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

[[noreturn]] void fail(sqlite3* database) {
  std::fprintf(stderr, "%s\n", sqlite3_errmsg(database));
  std::exit(2);
}

sqlite3* opened(const char* file) {
  sqlite3* database = nullptr;
  if (sqlite3_open(file, &database) != SQLITE_OK) fail(database);
  return database;
}

sqlite3_stmt* prepared(sqlite3* database, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) fail(database);
  return statement;
}

struct Cells {
  int columns = 0;
  std::string text;
  std::vector<std::size_t> ends;
};

Cells fetch(sqlite3* database, const std::string& table) {
  Cells cells;
  sqlite3_stmt* const rows = prepared(database, "SELECT * FROM " + table);
  cells.columns = sqlite3_column_count(rows);
  while (sqlite3_step(rows) == SQLITE_ROW)
    for (int i = 0; i < cells.columns; ++i) {
      const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(rows, i));
      cells.text.append(text == nullptr ? "" : text, static_cast<std::size_t>(sqlite3_column_bytes(rows, i)));
      cells.ends.push_back(cells.text.size());
    }
  sqlite3_finalize(rows);
  return cells;
}

void insert(sqlite3* database, const Cells& cells) {
  for (const char* const sql : {"PRAGMA journal_mode=OFF", "PRAGMA synchronous=OFF", "PRAGMA locking_mode=EXCLUSIVE"})
    sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
  std::string columns = "a0";
  std::string marks = "?";
  for (int i = 1; i < cells.columns; ++i) columns += ",a" + std::to_string(i), marks += ",?";
  sqlite3_exec(database, ("CREATE TABLE t (" + columns + "); BEGIN").c_str(), nullptr, nullptr, nullptr);
  sqlite3_stmt* const row = prepared(database, "INSERT INTO t VALUES (" + marks + ")");
  std::size_t start = 0;
  for (std::size_t i = 0; i < cells.ends.size(); ++i) {
    const int column = static_cast<int>(i % static_cast<std::size_t>(cells.columns)) + 1;
    sqlite3_bind_text64(row, column, cells.text.data() + start, cells.ends[i] - start, SQLITE_STATIC, SQLITE_UTF8);
    start = cells.ends[i];
    if (column != cells.columns) continue;
    if (sqlite3_step(row) != SQLITE_DONE) fail(database);
    sqlite3_reset(row);
  }
  sqlite3_finalize(row);
  if (sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) fail(database);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("sqlite_rows FROM.db TABLE TO.db\n", stderr);
    return 2;
  }
  sqlite3* const from = opened(argv[1]);
  sqlite3* const to = opened(argv[3]);
  const double start = seconds();
  const Cells cells = fetch(from, argv[2]);
  const double fetched = seconds();
  insert(to, cells);
  sqlite3_close(to);
  std::printf("%.3f %.3f\n", fetched - start, seconds() - fetched);
  sqlite3_close(from);
  return 0;
}
