#include "manifest.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

#include "records/files/failure.h"
#include "records/files/input_file.h"

namespace zvrt::records {
namespace {

constexpr std::size_t chunk_bytes = 1 << 20;

class Hash {
 public:
  Hash() : state_(XXH3_createState()) {
    if (!state_ || XXH3_128bits_reset(state_.get()) != XXH_OK) throw Failure("out of memory");
  }
  void add(std::string_view bytes) { XXH3_128bits_update(state_.get(), bytes.data(), bytes.size()); }
  std::string text() const {
    const XXH128_hash_t hash = XXH3_128bits_digest(state_.get());
    return fmt::format("{:016x}{:016x}", hash.high64, hash.low64);
  }

 private:
  struct Free {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
  };
  std::unique_ptr<XXH3_state_t, Free> state_;
};

void add_file(Hash& hash, const std::string& path) {
  InputFile file(path);
  std::vector<char> chunk(chunk_bytes);
  for (std::size_t count = 1; (count = file.read(chunk.data(), chunk.size())) != 0;) hash.add({chunk.data(), count});
}

std::string fingerprint_of(const Job& job) {
  Hash hash;
  for (const std::string& word : job.arguments.words) hash.add(word + '\0');
  add_file(hash, job.arguments.layout);
  for (const std::string& file : job.arguments.records) {
    struct stat found {};
    if (stat(file.c_str(), &found) != 0) fail_with_errno(file);
    hash.add(fmt::format("{} {} {}.{}\n", file, found.st_size, found.st_mtim.tv_sec, found.st_mtim.tv_nsec));
  }
  return hash.text();
}

bool stands(const PartFile& part) {
  struct stat found {};
  return stat(part.file.c_str(), &found) == 0 && S_ISREG(found.st_mode) && hash_of_file(part.file) == part.hash;
}

// Nothing where the line is none of ours, or was not written to its end.
std::optional<DonePart> part_of(const std::string& line, const std::string& range, const std::string& fingerprint) {
  const nlohmann::json told = nlohmann::json::parse(line, nullptr, false);
  try {
    if (told.at("range") != range || told.at("job") != fingerprint) return std::nullopt;
    DonePart part{told.at("read"), told.at("rows"), told.at("left_out"), told.at("refused"), told.at("bytes"), {}};
    for (const auto& file : told.at("files")) part.files.push_back({file.at("file"), file.at("xxh128")});
    return part;
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;
  }
}

// A line that a killed process left without its end gets one.
bool ends_in_newline(int descriptor) {
  const off_t size = lseek(descriptor, 0, SEEK_END);
  char last = '\n';
  return size <= 0 || (pread(descriptor, &last, 1, size - 1) == 1 && last == '\n');
}

}  // namespace

std::string hash_of_file(const std::string& path) {
  Hash hash;
  add_file(hash, path);
  return hash.text();
}

Manifest::Manifest(const Job& job) : job_(job), fingerprint_(fingerprint_of(job)) {}

std::optional<DonePart> Manifest::find() const {
  std::ifstream lines(job_.arguments.manifest);
  std::optional<DonePart> found;
  for (std::string line; std::getline(lines, line);)
    if (auto part = part_of(line, job_.arguments.range, fingerprint_)) found = std::move(part);
  if (found && !std::all_of(found->files.begin(), found->files.end(), stands)) found.reset();
  return found;
}

void Manifest::add(const DonePart& part) const {
  nlohmann::ordered_json line{{"range", job_.arguments.range},
                              {"read", part.read},
                              {"rows", part.rows},
                              {"left_out", part.left_out},
                              {"refused", part.refused},
                              {"bytes", part.bytes},
                              {"job", fingerprint_},
                              {"files", nlohmann::ordered_json::array()}};
  for (const PartFile& each : part.files) line["files"].push_back({{"file", each.file}, {"xxh128", each.hash}});
  const std::string& path = job_.arguments.manifest;
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (descriptor < 0) fail_with_errno(path);
  bool written = flock(descriptor, LOCK_EX) == 0;
  if (written) {
    std::string text = ends_in_newline(descriptor) ? "" : "\n";
    text += line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    written =
        write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && fsync(descriptor) == 0;
  }
  const int error = errno;
  close(descriptor);
  if (!written) throw Failure(fmt::format("{}: cannot be written: {}", path, reason_of(error)));
}

}  // namespace zvrt::records
