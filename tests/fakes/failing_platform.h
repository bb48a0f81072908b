// Stand-ins for the platform libraries: they record the order of calls and fail where told.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zvrt_test {

struct FakePlatform {
  std::vector<std::string> calls;
  // The status an operation returns at its nth call (from 1); 0 in all other calls.
  std::map<std::pair<std::string, int>, std::uint32_t> failures;
  std::map<std::string, int> counts;
  const std::int32_t* counter = nullptr;  // the reference count, seen when it is incremented

  void reset() { *this = FakePlatform{}; }
  void fail(const std::string& operation, std::uint32_t status, int nth = 1) { failures[{operation, nth}] = status; }
  std::uint32_t called(const std::string& operation);
};

FakePlatform& fake_platform();

}  // namespace zvrt_test
