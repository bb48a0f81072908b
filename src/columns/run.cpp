// Runs: rows cut into blocks, what became of each value written to its places.
#include <algorithm>

#include "columns/arena.h"
#include "columns/direct.h"
#include "columns/plan.h"
#include "columns/structures.h"
#include "encoding/converter_service.h"

namespace zvrt::columns {

namespace {

class Run {
 public:
  Run(const ZVRTPlan& plan, const Places& from, const Places& to) : plan_(plan), from_(from), to_(to), block_(arena_) {
    outcome_.firstRefused = -1;
  }

  Status run(std::int64_t count) {
    const bool is_direct = plan_.direct != nullptr && suits_direct(plan_, from_, to_);
    const bool is_plain = has_plain_rows();
    has_gaps_ = has_gaps();
    while (outcome_.done < count) {
      if (is_direct && convert_directly(count)) continue;
      arena_.reset();
      const std::int64_t end = is_plain ? gather_plain(count) : gather(count);
      const std::int32_t gathered = block_.count;
      if (gathered > 0) convert();
      report_block(is_plain);
      outcome_.done = block_.count == gathered ? end : rows_[block_.count];
      if (block_.failure != ZVRT_RC_OK) return block_.failure;
    }
    return ZVRT_RC_OK;
  }

  const ZVRTOutcome& outcome() const { return outcome_; }

 private:
  void convert() { convert_block(plan_, block_); }

  // Whether rows may be null, or left out: kernels take the stretches between such rows.
  bool has_gaps() const {
    const bool is_text_of_lengths = from_.lengths.at == nullptr || plan_.from.type.extent == Extent::counted;
    return from_.select != nullptr || from_.indicators.at != nullptr || plan_.from.type.has_null_form() ||
           !is_text_of_lengths;
  }

  bool is_selected(std::int64_t row) const { return from_.select == nullptr || from_.select[row] != 0; }

  // What a row holds, as far as a kernel has to know: `refused` is for a block to look at.
  Content look_at(std::int64_t row) const {
    if (from_.lengths.at != nullptr) {
      const std::int64_t given = from_.lengths.load(row);
      if (given < 0) return given == ZVRT_NULL_DATA ? Content::null : Content::refused;
    }
    if (from_.indicators.at != nullptr && !from_.is_one_array && from_.indicators.load(row) < 0) return Content::null;
    if (!plan_.from.type.has_null_form()) return Content::value;
    Value value;
    Status status = ZVRT_RC_OK;
    return find_value(plan_.from.type, from_, row, value, status);
  }

  // Rows that hold values from the next one on, at most `most`.
  std::int32_t count_values(std::int32_t most) const {
    std::int32_t values = 0;
    for (std::int64_t row = outcome_.done; values < most; ++values, ++row) {
      if (!is_selected(row) || look_at(row) != Content::value) break;
    }
    return values;
  }

  // A row that is left out or null; false where it is neither.
  bool pass_gap() {
    const std::int64_t row = outcome_.done;
    if (is_selected(row)) {
      if (look_at(row) != Content::null) return false;
      report_null(row);
    }
    ++outcome_.done;
    return true;
  }

  // Whether the next row was a gap, or the plan's kernel took a row at least.
  bool convert_directly(std::int64_t count) {
    auto most = static_cast<std::int32_t>(std::min<std::int64_t>(count - outcome_.done, direct_rows));
    if (has_gaps_) most = count_values(most);
    return most > 0 ? convert_stretch(most) : pass_gap();
  }

  bool convert_stretch(std::int32_t count) {
    const std::int64_t row = outcome_.done;
    std::int64_t lengths[direct_rows];
    Entries source_lengths = from_.lengths;
    if (source_lengths.at != nullptr) source_lengths.at += row * source_lengths.stride;
    const Rows rows{from_.slot(row), from_.stride, &source_lengths, to_.slot(row), to_.stride, count, lengths};
    const std::int32_t done = plan_.direct(plan_, rows);
    const bool varies = plan_.to.type.form == Form::text || plan_.to.type.extent == Extent::varnum;
    report_good(row, done, [&](std::int32_t i) { return varies ? lengths[i] : plan_.to.type.length; });
    outcome_.done += done;
    return done > 0;
  }

  // Direct rows fit, and so do their lengths.
  template <class ValueOf>
  static void store_entries(const Entries& entries, std::int64_t row, std::int32_t count, ValueOf value_of) {
    if (entries.at == nullptr) return;
    const auto store_all = [&](auto zero) {
      using Entry = decltype(zero);
      std::byte* at = entries.at + row * entries.stride;
      if (entries.stride == sizeof(Entry)) {
        for (std::int32_t i = 0; i < count; ++i) {
          store(at, static_cast<std::size_t>(i), static_cast<Entry>(value_of(i)));
        }
        return;
      }
      for (std::int32_t i = 0; i < count; ++i, at += entries.stride) store(at, 0, static_cast<Entry>(value_of(i)));
    };
    switch (entries.bytes) {
      case 2: return store_all(std::int16_t{});
      case 4: return store_all(std::int32_t{});
      default: return store_all(std::int64_t{});
    }
  }

  // Rows that follow each other, none of them refused or null.
  template <class LengthOf>
  void report_good(std::int64_t row, std::int32_t count, LengthOf length_of) {
    const bool may_be_empty = plan_.to.type.form == Form::text || plan_.to.type.form == Form::bytes;
    std::int64_t empty = 0;
    for (std::int32_t i = 0; may_be_empty && i < count; ++i) empty += static_cast<std::int64_t>(length_of(i) == 0);
    outcome_.empty += empty;
    store_entries(to_.lengths, row, count, length_of);
    if (!to_.is_one_array) store_entries(to_.indicators, row, count, [](std::int32_t) -> std::int64_t { return 0; });
    store_entries(to_.status, row, count, [](std::int32_t) -> std::int64_t { return ZVRT_RC_OK; });
  }

  void report_block(bool is_plain) {
    Status all = ZVRT_RC_OK;
    for (std::int32_t i = 0; i < block_.count; ++i) all |= block_.status[i];
    if (is_plain && all == ZVRT_RC_OK && plan_.single_call == nullptr) [[likely]] {
      return report_good(rows_[0], block_.count, [this](std::int32_t i) { return block_.length[i]; });
    }
    for (std::int32_t i = 0; i < block_.count; ++i) report(i);
  }

  // Slots that hold a value each and say nothing of it: no nulls, no lengths, no row left out.
  bool has_plain_rows() const {
    const Type& type = plan_.from.type;
    const bool is_sized = type.extent == Extent::fixed || (type.extent == Extent::counted && type.length > 0);
    return is_sized && from_.lengths.at == nullptr && from_.indicators.at == nullptr && from_.select == nullptr &&
           !type.has_null_form();
  }

  std::int64_t gather_plain(std::int64_t count) {
    const std::int64_t row = outcome_.done;
    block_.failure = ZVRT_RC_OK;
    block_.count = static_cast<std::int32_t>(std::min<std::int64_t>(count - row, block_size));
    for (std::int32_t i = 0; i < block_.count; ++i) {
      rows_[i] = row + i;
      is_null_[i] = false;
      block_.status[i] = ZVRT_RC_OK;
      block_.slot[i] = to_.slot(row + i);
      block_.source[i] = {from_.slot(row + i), plan_.from.type.length};
    }
    return row + block_.count;
  }

  // Takes rows until the block is full and returns the row after them. A null is passed over like a refused value.
  std::int64_t gather(std::int64_t count) {
    block_.count = 0;
    block_.failure = ZVRT_RC_OK;
    std::int64_t row = outcome_.done;
    for (; row < count && block_.count < block_size; ++row) {
      if (from_.select != nullptr && from_.select[row] == 0) continue;
      const std::int32_t i = block_.count++;
      rows_[i] = row;
      block_.status[i] = ZVRT_RC_OK;
      block_.length[i] = -1;
      block_.slot[i] = to_.slot(row);
      const Content content = find_value(plan_.from.type, from_, row, block_.source[i], block_.status[i]);
      is_null_[i] = content == Content::null;
      if (is_null_[i]) block_.status[i] = ZVRT_RC_NULL_REFUSED;
    }
    return row;
  }

  void report(std::int32_t i) {
    const std::int64_t row = rows_[i];
    if (is_null_[i]) return report_null(row);
    const Status status = block_.status[i];
    if (plan_.single_call != nullptr) return report_single_call(i, row);
    store_status(row, status);
    if (status != ZVRT_RC_OK) [[unlikely]]
      return refuse(row, status, block_.length[i]);
    tell_length(row, block_.length[i], 0);
    const Form form = plan_.to.type.form;
    if (block_.length[i] == 0 && (form == Form::text || form == Form::bytes)) ++outcome_.empty;
  }

  void report_null(std::int64_t row) {
    const Status status = pass_null(row, to_.slot(row));
    store_status(row, status);
    if (status != ZVRT_RC_OK) count_refused(row, status);
  }

  void store_status(std::int64_t row, Status status) const {
    if (to_.status.at != nullptr) store<Status>(to_.status.at + row * to_.status.stride, 0, status);
  }

  // A length is told whatever the status, where the function told one; an empty result is no refusal.
  void report_single_call(std::int32_t i, std::int64_t row) {
    const Status status = block_.status[i];
    const std::int64_t length = block_.length[i];
    store_status(row, status);
    if (length >= 0) tell_length(row, length, status == ZVRT_RC_TRUNCATED ? length : 0);
    if (status == ZVRT_RC_EMPTY_RESULT) {
      ++outcome_.empty;
    } else if (status != ZVRT_RC_OK) {
      count_refused(row, status);
    }
  }

  Status pass_null(std::int64_t row, std::byte* slot) {
    const Type& type = plan_.to.type;
    if (plan_.is_check) {
      ++outcome_.nulls;
      return ZVRT_RC_OK;
    }
    if (to_.indicators.at != nullptr) {
      to_.indicators.store(row, ZVRT_NULL_DATA);
    } else if (type.has_null_form()) {
      write_null_form(type, slot);
    } else {
      return ZVRT_RC_NULL_REFUSED;
    }
    ++outcome_.nulls;
    return ZVRT_RC_OK;
  }

  void refuse(std::int64_t row, Status status, std::int64_t needed) {
    if (status == ZVRT_RC_TRUNCATED) tell_length(row, needed, needed);
    count_refused(row, status);
  }

  void count_refused(std::int64_t row, Status status) {
    if (outcome_.refused++ > 0) return;
    outcome_.firstRefused = row;
    outcome_.firstStatus = status;
  }

  void tell_length(std::int64_t row, std::int64_t length, std::int64_t indicator) {
    if (to_.lengths.at != nullptr) to_.lengths.store(row, length);
    if (to_.indicators.at != nullptr && !to_.is_one_array) to_.indicators.store(row, indicator);
  }

  const ZVRTPlan& plan_;
  const Places& from_;
  const Places& to_;
  ZVRTOutcome outcome_{};
  Arena arena_;
  Block block_;
  bool has_gaps_ = false;
  bool is_null_[block_size];
  std::int64_t rows_[block_size];
};

Status find_service(const Type& type) {
  if (type.page.is_utf8()) return ZVRT_RC_OK;
  void* converter = nullptr;
  return find_converter(type.page.field, converter);
}

Status run_plan(const ZVRTPlan& plan, const ZVRTArray& from, const ZVRTArray& to, std::int64_t count,
                ZVRTOutcome& outcome) {
  ZVRTArray source;
  ZVRTArray target;
  if (!read_structure(&from, source) || !read_structure(&to, target)) return ZVRT_RC_INVALID_TYPE;
  Places source_places;
  Places target_places;
  Status status = check_places(source, plan.from.type, Role::source, count, source_places);
  if (status == ZVRT_RC_OK) status = check_places(target, plan.to.type, Role::target, count, target_places);
  if (status == ZVRT_RC_OK) status = find_services(plan);
  if (status != ZVRT_RC_OK) return status;
  Run run(plan, source_places, target_places);
  status = run.run(count);
  outcome = run.outcome();
  return status;
}

Status check_values(const ZVRTType& type, const ZVRTArray& values, std::int64_t count, ZVRTOutcome& outcome) {
  ZVRTType given;
  ZVRTArray array;
  if (!read_structure(&type, given) || !read_structure(&values, array)) return ZVRT_RC_INVALID_TYPE;
  ZVRTPlan plan;
  DateModel model;
  plan.is_check = true;
  if (const Status status = open_checked_type(given, plan.from.type, model); status != ZVRT_RC_OK) return status;
  plan.to.type = plan.from.type;
  choose_check_path(plan.from.type, plan.path);
  plan.direct = find_direct_check(plan.from.type);
  Places places;
  const Status status = check_places(array, plan.from.type, Role::source, count, places);
  if (status != ZVRT_RC_OK) return status;
  // Nothing is stored but statuses.
  Places statuses;
  statuses.data = places.data;
  statuses.status = status_entries(array);
  Run run(plan, places, statuses);
  const Status result = run.run(count);
  outcome = run.outcome();
  return result;
}

}  // namespace

Status find_services(const ZVRTPlan& plan) {
  const Status status = find_service(plan.from.type);
  return status == ZVRT_RC_OK ? find_service(plan.to.type) : status;
}

}  // namespace zvrt::columns

uint32_t ZVRTCheck(const ZVRTType* type, const ZVRTArray* values, int64_t count, ZVRTOutcome* outcome) {
  ZVRTOutcome result{};
  result.firstRefused = -1;
  zvrt::Status status = ZVRT_RC_ERROR;
  if (type != nullptr && values != nullptr) status = zvrt::columns::check_values(*type, *values, count, result);
  zvrt::columns::write_structure(result, outcome);
  return status;
}

uint32_t ZVRTPlanRun(const ZVRTPlan* plan, const ZVRTArray* from, const ZVRTArray* to, int64_t count,
                     ZVRTOutcome* outcome) {
  ZVRTOutcome result{};
  result.firstRefused = -1;
  zvrt::Status status = ZVRT_RC_ERROR;
  if (plan != nullptr && from != nullptr && to != nullptr) {
    status = zvrt::columns::run_plan(*plan, *from, *to, count, result);
  }
  zvrt::columns::write_structure(result, outcome);
  return status;
}
