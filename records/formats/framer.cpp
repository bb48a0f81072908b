// Framers of records without length words, and the choice among all.
#include "records/formats/framer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace zvrt::records {

std::unique_ptr<Framer> make_word_framer(const FormatOptions& options);

namespace {

class FixedFramer final : public Framer {
 public:
  explicit FixedFramer(const FormatOptions& options) : before_(options.record_header), length_(options.record_length) {}

  Frame next(const char* /*bytes*/, std::size_t count, bool last) override {
    const std::size_t total = before_ + length_;
    if (count >= total) return {Frame::Kind::record, before_, length_};
    if (!last) return {};
    if (count == 0) return {Frame::Kind::end};
    return {Frame::Kind::damage, count, 0, 0,
            fmt::format("the file ends inside a record: {} of {} bytes", count, total)};
  }

 private:
  std::size_t before_;
  std::size_t length_;
};

// Records that tell their own length, by a field or by the counts of their tables.
class OwnLengthFramer final : public Framer {
 public:
  explicit OwnLengthFramer(const FormatOptions& options)
      : before_(options.record_header), length_of_(options.length_of) {}

  Frame next(const char* bytes, std::size_t count, bool last) override {
    if (count == 0) return {last ? Frame::Kind::end : Frame::Kind::more};
    const auto length = count > before_ ? length_of_(bytes + before_, count - before_) : std::nullopt;
    // Nothing tells where the next record begins once a length is wrong.
    if (length && !length->why.empty())
      return last ? Frame{Frame::Kind::damage, count, 0, 0, length->why}
                  : Frame{Frame::Kind::damage, count / 2 + 1, 0, 0, length->why};
    if (length && count - before_ >= length->bytes) return {Frame::Kind::record, before_, length->bytes};
    if (!last) return {};
    return {Frame::Kind::damage, count, 0, 0,
            fmt::format("the file ends inside a record, {} bytes after its start", count)};
  }

 private:
  std::size_t before_;
  LengthOfRecord length_of_;
};

class LineFramer final : public Framer {
 public:
  explicit LineFramer(const FormatOptions& options)
      : before_(options.record_header), candidates_(options.newlines), newline_(one(candidates_)) {}

  void begin_file() override { newline_ = one(candidates_); }

  Frame next(const char* bytes, std::size_t count, bool last) override {
    if (count == 0) return {last ? Frame::Kind::end : Frame::Kind::more};
    const std::string_view text(bytes, count);
    const std::size_t end = newline_ ? text.find(*newline_) : text.find_first_of(candidates_);
    if (end == std::string_view::npos) return last ? line(count, 0) : Frame{};
    newline_ = text[end];
    const bool carriage_return = *newline_ == '\n' && end > 0 && text[end - 1] == '\r';
    return carriage_return ? line(end - 1, 2) : line(end, 1);
  }

 private:
  static std::optional<char> one(const std::string& candidates) {
    return candidates.size() == 1 ? std::optional(candidates[0]) : std::nullopt;
  }
  Frame line(std::size_t bytes, std::size_t after) const {
    const std::size_t before = std::min(before_, bytes);
    return {Frame::Kind::record, before, bytes - before, after};
  }

  std::size_t before_;
  std::string candidates_;
  std::optional<char> newline_;
};

}  // namespace

std::unique_ptr<Framer> make_framer(const FormatOptions& options) {
  switch (options.format) {
    case RecordFormat::variable:
    case RecordFormat::variable_blocked: return make_word_framer(options);
    case RecordFormat::lines: return std::make_unique<LineFramer>(options);
    case RecordFormat::fixed: break;
  }
  if (options.length_of) return std::make_unique<OwnLengthFramer>(options);
  return std::make_unique<FixedFramer>(options);
}

}  // namespace zvrt::records
