#include "columns/differential.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <optional>
#include <sstream>

#include "columns/reference/fault.h"
#include "columns/reference/write.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

using zvrt_reference::Result;

std::string hexadecimal(const std::string& bytes) {
  std::ostringstream text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text << "0123456789ABCDEF"[value >> 4] << "0123456789ABCDEF"[value & 15];
  }
  return text.str();
}

// Where the slots of one side stand in a guarded buffer, the last byte of the last one before the guard page.
struct Places {
  std::unique_ptr<GuardedBuffer> memory;
  std::vector<std::int64_t> starts;  // from `data`
  std::byte* data = nullptr;
  std::int64_t stride = 0;
  bool by_starts = false;

  std::size_t at(std::size_t row) const {
    return static_cast<std::size_t>(data - memory->as<std::byte>() + starts[row]);
  }
};

Places place(const std::vector<std::size_t>& sizes, Random& random) {
  Places places;
  const std::size_t rows = sizes.size(), most = *std::max_element(sizes.begin(), sizes.end());
  const bool same = std::all_of(sizes.begin(), sizes.end(), [&](std::size_t size) { return size == most; });
  const std::size_t gap = random() % 3 == 0 ? random() % 17 : 0;
  places.by_starts = !same || random() % 4 == 0;
  std::vector<std::size_t> order(rows);
  std::iota(order.begin(), order.end(), 0U);
  if (places.by_starts) std::shuffle(order.begin(), order.end(), random);
  const bool backwards = !places.by_starts && random() % 3 == 0;
  if (backwards) std::reverse(order.begin(), order.end());
  std::vector<std::size_t> offsets(rows);
  std::size_t used = random() % 5;
  for (std::size_t i = 0; i < rows; ++i) {
    if (i > 0) used += gap;
    offsets[order[i]] = used;
    used += sizes[order[i]];
  }
  places.memory = std::make_unique<GuardedBuffer>(used);
  const std::size_t origin = places.by_starts ? random() % (used + 1) : offsets[0];
  places.data = places.memory->as<std::byte>() + origin;
  for (const std::size_t offset : offsets) {
    places.starts.push_back(static_cast<std::int64_t>(offset) - static_cast<std::int64_t>(origin));
  }
  places.stride = rows > 1 ? places.starts[1] : static_cast<std::int64_t>(most);
  return places;
}

// Entries of 1 to 8 bytes some bytes apart: lengths, indicators, statuses.
struct Entries {
  std::size_t bytes = 0, stride = 0;
  std::unique_ptr<GuardedBuffer> memory;

  Entries(std::size_t entry_bytes, std::size_t rows, Random& random)
      : bytes(entry_bytes), stride(entry_bytes + (random() % 3 == 0 ? random() % 9 : 0)) {
    memory = std::make_unique<GuardedBuffer>(rows == 0 ? 0 : stride * (rows - 1) + bytes);
  }
  void put(std::string& image, std::size_t row, std::int64_t value) const {
    image.replace(row * stride, bytes, integer_bytes(static_cast<std::uint64_t>(value), bytes));
  }
  void fill(std::size_t row, std::int64_t value) const {
    std::memcpy(memory->as<char>() + row * stride, integer_bytes(static_cast<std::uint64_t>(value), bytes).data(),
                bytes);
  }
};

std::size_t entry_size(Random& random) { return std::size_t{2} << (random() % 3); }

std::int64_t fit_entry(std::int64_t value, std::size_t bytes) {
  return bytes == 2   ? std::min<std::int64_t>(value, INT16_MAX)
         : bytes == 4 ? std::min<std::int64_t>(value, INT32_MAX)
                      : value;
}

class Comparison {
 public:
  Comparison(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, const std::vector<Given>& values,
             Random& random)
      : from_(from), to_(to), options_(options), values_(values), random_(random) {}

  std::string run(const ZVRTPlan* plan) {
    place_source();
    place_target();
    expect();
    ZVRTOutcome outcome{};
    outcome.size = sizeof outcome;
    const std::uint32_t status =
        ZVRTPlanRun(plan, &source_, &target_, static_cast<std::int64_t>(values_.size()), &outcome);
    if (status != 0) return "the run returned " + std::to_string(status);
    std::string difference = compare(outcome);
    if (difference.empty()) difference = compare_check();
    // Every refused value has its reason, and some of the others have none.
    for (std::size_t row = 0; row < values_.size() && difference.empty(); ++row) {
      if (results_[row].status == 0 && random_() % 8 != 0) continue;
      difference = find_wrong_reason(plan, from_, to_, options_, values_[row]);
      if (!difference.empty()) difference = tell_value(row) + difference;
    }
    return difference;
  }

 private:
  void place_source() {
    std::vector<std::size_t> sizes;
    for (const Given& value : values_) sizes.push_back(value.slot.size());
    from_places_ = place(sizes, random_);
    for (std::size_t row = 0; row < values_.size(); ++row) {
      std::memcpy(from_places_.memory->as<char>() + from_places_.at(row), values_[row].slot.data(), sizes[row]);
    }
    source_ = array_of(from_places_);
    const bool has_lengths =
        std::any_of(values_.begin(), values_.end(), [](const Given& v) { return v.length.has_value(); });
    const bool has_nulls = std::any_of(values_.begin(), values_.end(), [](const Given& v) { return v.null; });
    const bool is_one = has_lengths && has_nulls && random_() % 2 == 0;
    const bool has_indicators = !is_one || random_() % 2 == 0;
    if (has_lengths) {
      from_lengths_ = std::make_unique<Entries>(entry_size(random_), values_.size(), random_);
      for (std::size_t row = 0; row < values_.size(); ++row) {
        from_lengths_->fill(row, is_one && values_[row].null ? ZVRT_NULL_DATA : *values_[row].length);
      }
      set(*from_lengths_, source_.lengths, source_.lengthBytes, source_.lengthStride);
    }
    if (is_one && has_indicators) {
      set(*from_lengths_, source_.indicators, source_.indicatorBytes, source_.indicatorStride);
    } else if (has_nulls && !is_one) {
      from_indicators_ = std::make_unique<Entries>(entry_size(random_), values_.size(), random_);
      for (std::size_t row = 0; row < values_.size(); ++row) {
        const std::int64_t shown = values_[row].null ? -1 - static_cast<std::int64_t>(random_() % 3) : 0;
        from_indicators_->fill(row, shown);
      }
      set(*from_indicators_, source_.indicators, source_.indicatorBytes, source_.indicatorStride);
    }
    if (random_() % 3 != 0) return;
    for (std::size_t row = 0; row < values_.size(); ++row) select_ += random_() % 4 == 0 ? '\0' : '\1';
    source_.select = reinterpret_cast<const std::uint8_t*>(select_.data());
  }

  void place_target() {
    to_places_ = place(std::vector<std::size_t>(values_.size(), zvrt_reference::slot_bytes(to_)), random_);
    target_ = array_of(to_places_);
    const std::uint64_t choice = random_() % 8;
    if ((choice & 1) != 0 || choice == 0) {
      to_lengths_ = std::make_unique<Entries>(entry_size(random_), values_.size(), random_);
      set(*to_lengths_, target_.lengths, target_.lengthBytes, target_.lengthStride);
    }
    if (choice == 0) {
      set(*to_lengths_, target_.indicators, target_.indicatorBytes, target_.indicatorStride);
    } else if ((choice & 2) != 0) {
      to_indicators_ = std::make_unique<Entries>(entry_size(random_), values_.size(), random_);
      set(*to_indicators_, target_.indicators, target_.indicatorBytes, target_.indicatorStride);
    }
    is_one_ = choice == 0;
    statuses_ = std::make_unique<Entries>(4, values_.size(), random_);
    target_.status = statuses_->memory->as<std::uint32_t>();
    target_.statusStride = static_cast<std::int64_t>(statuses_->stride);
  }

  ZVRTArray array_of(const Places& places) const {
    ZVRTArray array{};
    array.size = sizeof array;
    array.data = places.data;
    array.stride = places.by_starts ? 0 : places.stride;
    array.starts = places.by_starts ? places.starts.data() : nullptr;
    return array;
  }
  static void set(const Entries& entries, void*& at, std::uint8_t& bytes, std::int64_t& stride) {
    at = entries.memory->as<>();
    bytes = static_cast<std::uint8_t>(entries.bytes);
    stride = entries.stride == entries.bytes ? 0 : static_cast<std::int64_t>(entries.stride);
  }

  bool is_selected(std::size_t row) const { return select_.empty() || select_[row] != '\0'; }

  // The target's memory as it has to be afterwards.
  void expect() {
    slots_ = to_places_.memory->bytes();
    status_image_ = statuses_->memory->bytes();
    if (to_lengths_) length_image_ = to_lengths_->memory->bytes();
    if (to_indicators_) indicator_image_ = to_indicators_->memory->bytes();
    expected_.size = sizeof expected_;
    expected_.firstRefused = -1;
    expected_.done = static_cast<std::int64_t>(values_.size());
    const std::size_t size = zvrt_reference::slot_bytes(to_);
    for (std::size_t row = 0; row < values_.size(); ++row) {
      results_.emplace_back();
      if (!is_selected(row)) continue;
      const Result result =
          zvrt_reference::convert(from_, to_, options_, values_[row], slots_.substr(to_places_.at(row), size),
                                  to_indicators_ != nullptr || is_one_);
      results_.back() = result;
      slots_.replace(to_places_.at(row), size, result.slot);
      statuses_->put(status_image_, row, result.status);
      if (to_lengths_ && result.length)
        to_lengths_->put(length_image_, row, fit_entry(*result.length, to_lengths_->bytes));
      if (is_one_ && result.null) to_lengths_->put(length_image_, row, ZVRT_NULL_DATA);
      if (to_indicators_ && result.indicator) {
        to_indicators_->put(indicator_image_, row, fit_entry(*result.indicator, to_indicators_->bytes));
      }
      count(row, result, expected_);
    }
  }

  static void count(std::size_t row, const Result& result, ZVRTOutcome& outcome) {
    if (result.null) ++outcome.nulls;
    if (result.status == 0 && result.empty) ++outcome.empty;
    if (result.status == 0 || outcome.refused++ > 0) return;
    outcome.firstRefused = static_cast<std::int64_t>(row);
    outcome.firstStatus = result.status;
  }

  std::string tell_value(std::size_t row) const {
    const std::optional<std::int64_t> length = values_[row].length;
    return "value " + hexadecimal(values_[row].slot) + (length ? " of " + std::to_string(*length) + " bytes: " : ": ");
  }

  // ZVRTCheck() of the same column.
  std::string compare_check() {
    const Entries statuses(4, values_.size(), random_);
    ZVRTArray column = source_;
    column.status = statuses.memory->as<std::uint32_t>();
    column.statusStride = static_cast<std::int64_t>(statuses.stride);
    std::string expected_statuses = statuses.memory->bytes();
    ZVRTOutcome expected{}, outcome{};
    expected.size = outcome.size = sizeof outcome;
    expected.done = static_cast<std::int64_t>(values_.size());
    expected.firstRefused = -1;
    for (std::size_t row = 0; row < values_.size(); ++row) {
      if (!is_selected(row)) continue;
      const Result result = zvrt_reference::check(from_, values_[row]);
      statuses.put(expected_statuses, row, result.status);
      count(row, result, expected);
    }
    const std::uint32_t status = ZVRTCheck(&from_, &column, expected.done, &outcome);
    if (status != 0) return "the check returned " + std::to_string(status);
    if (statuses.memory->bytes() != expected_statuses) {
      return tell_value(0) + "check: statuses " + hexadecimal(statuses.memory->bytes()) + " for " +
             hexadecimal(expected_statuses);
    }
    return compare_outcomes(outcome, expected);
  }

  std::string compare(const ZVRTOutcome& outcome) const {
    const std::string slots = to_places_.memory->bytes();
    for (std::size_t row = 0; row < values_.size(); ++row) {
      const std::size_t size = zvrt_reference::slot_bytes(to_), at = to_places_.at(row);
      std::uint32_t status = 0, expected = 0;
      std::memcpy(&status, statuses_->memory->as<char>() + row * statuses_->stride, 4);
      std::memcpy(&expected, status_image_.data() + row * statuses_->stride, 4);
      if (status == expected && slots.compare(at, size, slots_, at, size) == 0) continue;
      return tell_value(row) + "status " + std::to_string(status) + " for " + std::to_string(expected) + ", slot " +
             hexadecimal(slots.substr(at, size)) + " for " + hexadecimal(slots_.substr(at, size));
    }
    if (slots != slots_) return "bytes between the slots";
    if (!to_places_.memory->untouched_from(slots.size())) return "bytes before the slots";
    if (statuses_->memory->bytes() != status_image_) return "bytes between the statuses";
    if (to_lengths_ && to_lengths_->memory->bytes() != length_image_) {
      return "lengths " + hexadecimal(to_lengths_->memory->bytes()) + " for " + hexadecimal(length_image_);
    }
    if (to_indicators_ && to_indicators_->memory->bytes() != indicator_image_) {
      return "indicators " + hexadecimal(to_indicators_->memory->bytes()) + " for " + hexadecimal(indicator_image_);
    }
    return compare_outcomes(outcome, expected_);
  }

  static std::string compare_outcomes(const ZVRTOutcome& outcome, const ZVRTOutcome& expected) {
    if (std::memcmp(&outcome, &expected, sizeof outcome) == 0) return {};
    std::ostringstream text;
    const auto tell = [&text](const ZVRTOutcome& o) {
      text << " done " << o.done << " refused " << o.refused << " first " << o.firstRefused << " with " << o.firstStatus
           << " nulls " << o.nulls << " empty " << o.empty;
    };
    text << "outcome";
    tell(outcome);
    text << " for";
    tell(expected);
    return text.str();
  }

  const ZVRTType &from_, &to_;
  std::uint32_t options_;
  const std::vector<Given>& values_;
  Random& random_;
  Places from_places_, to_places_;
  std::unique_ptr<Entries> from_lengths_, from_indicators_, to_lengths_, to_indicators_, statuses_;
  bool is_one_ = false;  // lengths and indicators of the target
  std::string select_;
  ZVRTArray source_{}, target_{};
  std::string slots_, status_image_, length_image_, indicator_image_;
  std::vector<Result> results_;
  ZVRTOutcome expected_{};
};

}  // namespace

std::string describe(const ZVRTType& type) {
  std::ostringstream text;
  text << "kind " << type.kind << ", " << type.length << " bytes, flags " << std::hex << type.flags << std::dec
       << ", page " << type.codePage << ", (" << type.precision << "," << type.scale << ")";
  return text.str();
}

std::string find_difference(const ZVRTType& from, const ZVRTType& to, std::uint32_t options,
                            const std::vector<Given>& values, Random& random, int* made) {
  ZVRTPlan* plan = nullptr;
  if (ZVRTPlanCreate(&from, &to, options, &plan, nullptr) != 0) return {};
  if (made != nullptr) ++*made;
  std::string difference = Comparison(from, to, options, values, random).run(plan);
  ZVRTPlanDestroy(plan);
  if (difference.empty()) return {};
  return describe(from) + " to " + describe(to) + ", options " + std::to_string(options) + ": " + difference;
}

}  // namespace zvrt_test
