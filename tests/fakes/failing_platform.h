// Stand-ins for the platform libraries: they record the order of calls and fail where asked.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zvrt_test {

struct FakePlatform {
  std::vector<std::string> calls;
  std::map<std::string, std::uint32_t> failing;  // the statuses of calls that fail
  std::optional<std::uint32_t> reported;         // by the converter; else what it was given
  const std::int32_t* counter = nullptr;         // the reference count, seen when it is incremented

  void reset() { *this = FakePlatform{}; }
  std::uint32_t called(const std::string& operation) {
    calls.push_back(operation);
    const auto failure = failing.find(operation);
    return failure == failing.end() ? 0 : failure->second;
  }
};

FakePlatform& fake_platform();

}  // namespace zvrt_test
