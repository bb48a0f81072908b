// Stand-ins for the platform libraries: they record the order of calls and fail where told.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zvrt_test {

struct FakePlatform {
  std::vector<std::string> calls;
  std::map<std::size_t, std::uint32_t> failures;  // the status of the nth call (from 0); that of all others is 0
  std::optional<std::uint32_t> reported;          // by the converter; else what it was given
  const std::int32_t* counter = nullptr;          // the reference count, seen when it is incremented

  void reset() { *this = FakePlatform{}; }
  std::uint32_t called(const std::string& operation) {
    const auto failure = failures.find(calls.size());
    calls.push_back(operation);
    return failure == failures.end() ? 0 : failure->second;
  }
};

FakePlatform& fake_platform();

}  // namespace zvrt_test
