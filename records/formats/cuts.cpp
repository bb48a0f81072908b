#include "records/formats/cuts.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/files/failure.h"
#include "records/formats/framer.h"

namespace zvrt::records {
namespace {

constexpr std::size_t window_bytes = 1 << 20;

std::vector<Cut> equal_cuts(std::uint64_t begin, std::uint64_t end, std::uint64_t step, std::size_t parts) {
  const std::uint64_t records = (end - begin) / step;
  const std::uint64_t per_part = std::max<std::uint64_t>((records + parts - 1) / parts, 1);
  std::vector<Cut> cuts;
  for (std::uint64_t first = 0; first < records; first += per_part) {
    const std::uint64_t count = std::min(per_part, records - first);
    cuts.push_back({first + 1, count, {begin + first * step, count * step}});
  }
  // Bytes that are no whole record are told by the part that comes last.
  if (!cuts.empty()) cuts.back().extent.bytes = end - cuts.back().extent.offset;
  return cuts;
}

// Moves a window of the file under a framer, record by record.
class Cutter {
 public:
  Cutter(std::unique_ptr<Input> input, const FormatOptions& options, std::uint64_t end, std::uint64_t part_bytes)
      : input_(std::move(input)), framer_(make_framer(options)), end_(end), part_bytes_(part_bytes) {
    blocked_ = options.format == RecordFormat::variable_blocked;
  }

  std::vector<Cut> run() {
    framer_->begin_file();
    for (;;) {
      const Frame frame = framer_->next(window_.data() + place_, window_.size() - place_, ended_);
      if (frame.kind == Frame::Kind::end) break;
      if (frame.kind == Frame::Kind::more) {
        load();
        continue;
      }
      if (frame.kind == Frame::Kind::damage)
        throw Failure(fmt::format("{}, byte {}: {}; a damaged file has no parts", input_->name(), offset(), frame.why));
      if (frame.kind == Frame::Kind::skip || !blocked_) begin_part();
      if (frame.kind == Frame::Kind::record) ++records_;
      place_ += frame.total();
    }
    if (!cuts_.empty()) close(cuts_.back(), end_);
    return std::move(cuts_);
  }

 private:
  std::uint64_t offset() const { return input_->offset() - (window_.size() - place_); }

  void load() {
    window_.erase(window_.begin(), window_.begin() + static_cast<std::ptrdiff_t>(place_));
    place_ = 0;
    const std::size_t kept = window_.size();
    window_.resize(std::max(2 * kept, window_bytes));
    const std::size_t count = input_->read(window_.data() + kept, window_.size() - kept);
    ended_ = count < window_.size() - kept;
    window_.resize(kept + count);
  }

  void begin_part() {
    if (!cuts_.empty() && offset() - cuts_.back().extent.offset < part_bytes_) return;
    if (!cuts_.empty()) close(cuts_.back(), offset());
    cuts_.push_back({records_ + 1, 0, {offset(), 0}});
  }

  void close(Cut& cut, std::uint64_t end) const {
    cut.count = records_ + 1 - cut.first;
    cut.extent.bytes = end - cut.extent.offset;
  }

  std::unique_ptr<Input> input_;
  std::unique_ptr<Framer> framer_;
  std::uint64_t end_;
  std::uint64_t part_bytes_;
  bool blocked_;
  bool ended_ = false;
  std::vector<char> window_;
  std::size_t place_ = 0;
  std::uint64_t records_ = 0;
  std::vector<Cut> cuts_;
};

}  // namespace

std::vector<Cut> cut_records(std::unique_ptr<Input> input, std::uint64_t size, const FormatOptions& options,
                             std::size_t parts) {
  const std::uint64_t begin = std::min<std::uint64_t>(options.skip_header, size);
  const std::uint64_t end = std::max(begin, size - std::min<std::uint64_t>(options.skip_trailer, size));
  if (options.format == RecordFormat::fixed && !options.length_of)
    return equal_cuts(begin, end, options.record_length + options.record_header, parts);
  return Cutter(std::move(input), options, end, std::max<std::uint64_t>((end - begin + parts - 1) / parts, 1)).run();
}

}  // namespace zvrt::records
