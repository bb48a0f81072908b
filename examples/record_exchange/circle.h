// The whole circle on the sample data: CSV, SQLite, record file, SQLite, and every cell compared.
#ifndef RECORD_EXCHANGE_CIRCLE_H
#define RECORD_EXCHANGE_CIRCLE_H

#include <filesystem>

#include "report.h"

namespace record_exchange {

// True when every cell of the real table came back. The second sample is made to meet refusals; they do not count.
bool run_circle(const std::filesystem::path& data, const std::filesystem::path& work, Report& report);

}  // namespace record_exchange

#endif
