// The account of a run, as a table for people or as JSON for programs.
#ifndef RECORD_EXCHANGE_REPORT_H
#define RECORD_EXCHANGE_REPORT_H

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "exchange.h"

namespace record_exchange {

// 1234567 as 1,234,567.
std::string grouped(std::uint64_t value);

class Report {
 public:
  explicit Report(bool json) : json_(json) {}

  // A line of its own between runs; not in JSON.
  void say(const std::string& line) const;
  // `what` is the run, `way` says from where to where. A brief account leaves out the fields when nothing was refused.
  void add(const std::string& what, const std::string& way, const Job& job, const Counts& counts, bool brief = false);
  // Prints the reject file of a run, which is known to be short.
  void show_rejects(const Job& job) const;
  void finish() const;

 private:
  static void print_fields(const Job& job, const Counts& counts, bool compares);
  void add_json(const std::string& what, const std::string& way, const Job& job, const Counts& counts);

  bool json_;
  nlohmann::ordered_json runs_ = nlohmann::ordered_json::array();
};

}  // namespace record_exchange

#endif
