#include "records/tables/odbc_table_manager.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <cstring>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr const char* library_name = "libodbc.so.2";

template <class Function>
void find(void* library, const char* name, Function& function) {
  void* const found = dlsym(library, name);
  if (found == nullptr) throw Failure(fmt::format("{} has no function {}", library_name, name));
  static_assert(sizeof function == sizeof found);
  std::memcpy(&function, &found, sizeof found);
}

// Never unloaded: drivers leave things behind that run at the program's end.
OdbcManager load() {
  void* const library = dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr)
    throw Failure(fmt::format("a table over ODBC needs the driver manager unixODBC (package libodbc2): there is no {}",
                              library_name));
  OdbcManager manager;
#define ZVRT_ODBC_FIND(name) find(library, #name, manager.name);
  ZVRT_ODBC_FUNCTIONS(ZVRT_ODBC_FIND)
#undef ZVRT_ODBC_FIND
  return manager;
}

}  // namespace

const OdbcManager& odbc_manager() {
  static const OdbcManager manager = load();
  return manager;
}

}  // namespace zvrt::records
