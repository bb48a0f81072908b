#include "journal.h"

#include <csv.h>
#include <fmt/format.h>
#include <unistd.h>

#include <filesystem>

#include "status.h"

namespace record_exchange {
namespace {

constexpr std::uint64_t rows_between_shows = 4096;

std::string hexadecimal(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char byte : bytes) fmt::format_to(std::back_inserter(text), "{:02X}", static_cast<unsigned char>(byte));
  return text;
}

}  // namespace

Progress::Progress(std::string label) : label_(std::move(label)), visible_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (visible_) fmt::print(stderr, "\r\x1b[K");
}

void Progress::show(std::uint64_t rows) {
  if (!visible_) return;
  if (!expected_ || *expected_ == 0) {
    fmt::print(stderr, "\r{} {} rows", label_, rows);
  } else {
    constexpr std::uint64_t width = 30;
    const std::uint64_t done = std::min(rows, *expected_);
    fmt::print(stderr, "\r{} [{:<{}}] {:3}%", label_, std::string(done * width / *expected_, '#'), width,
               done * 100 / *expected_);
  }
  std::fflush(stderr);
}

Journal::Journal(const Layout& layout, std::string label, std::string rejects)
    : layout_(layout), rejects_name_(std::move(rejects)), progress_(std::move(label)) {
  counts_.by_field.resize(layout.fields.size());
  std::error_code ignored;
  std::filesystem::remove(rejects_name_, ignored);  // of an earlier run
}

void Journal::row_read() {
  if (++counts_.rows_read % rows_between_shows == 0) progress_.show(counts_.rows_read);
}

void Journal::cell(std::size_t field, Status status) {
  auto& met = counts_.by_field[field];
  for (auto& [known, count] : met) {
    if (known == status) {
      ++count;
      return;
    }
  }
  met.emplace_back(status, 1);
}

void Journal::refusal(std::uint64_t record, std::size_t field, std::string_view bytes, Status status) {
  const Field& refused = layout_.fields[field];
  refusal(record, refused.name, refused.offset, bytes, status);
}

void Journal::refusal(std::uint64_t record, std::string_view field, std::size_t offset, std::string_view bytes,
                      Status status) {
  ++counts_.refusals;
  if (!rejects_) {
    rejects_.reset(std::fopen(rejects_name_.c_str(), "wb"));
    if (!rejects_) throw Failure(rejects_name_ + ": cannot be written");
    std::fputs("record,field,offset,bytes,status,text\r\n", rejects_.get());
  }
  fmt::print(rejects_.get(), "{},", record);
  csv_fwrite(rejects_.get(), field.data(), field.size());
  fmt::print(rejects_.get(), ",{},{},{},\"{}\"\r\n", offset, hexadecimal(bytes), name_of(status), text_of(status));
}

Counts Journal::finish() {
  if (rejects_ && (std::fflush(rejects_.get()) != 0 || std::ferror(rejects_.get()) != 0))
    throw Failure(rejects_name_ + ": cannot be written");
  counts_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  return std::move(counts_);
}

}  // namespace record_exchange
