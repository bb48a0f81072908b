#include "datetime/parser.h"

#include <algorithm>
#include <optional>

#include "datetime/elements.h"
#include "datetime/meridiem.h"
#include "frame/units.h"

namespace zvrt {

namespace {

constexpr std::size_t unit = sizeof(Wide);

// Decimal digits, and among them, at any place, one minus sign: the longest such run of at most so many characters.
struct DigitRun {
  std::uint32_t value;  // wraps around
  std::uint32_t length;
  bool refused;  // ended by a character that does not belong, not by the limit or the end of the text
};

DigitRun read_digits(const std::byte* text, std::uint32_t limit) {
  DigitRun run{0, 0, false};
  bool negative = false;
  for (; run.length < limit; ++run.length) {
    const Wide character = load<Wide>(text, run.length);
    if (character == 0) break;
    if (character == '-' && !negative) {
      negative = true;
    } else if (character - '0' > 9) {
      run.refused = true;
      break;
    } else {
      run.value = run.value * 10 + (character - '0');
    }
  }
  if (negative) run.value = 0 - run.value;
  return run;
}

// Equal over so many characters, in either case; `letters` are lower-case ones, terminated.
bool same_letters(const std::byte* text, const char* letters, std::size_t limit) {
  for (std::size_t i = 0; i < limit; ++i) {
    const auto letter = static_cast<unsigned char>(letters[i]);
    const Wide character = load<Wide>(text, i);
    if (letter == 0) return character == 0;
    if (folded(character) != letter) return false;
  }
  return true;
}

// The month, 1 to 12, whose name stands here in full or by its first letters, or 0.
std::uint16_t read_month(const std::byte* text, Reads reads, std::uint32_t& length) {
  for (std::size_t month = 0; month < month_names.size(); ++month) {
    const std::string_view name = month_names[month];
    length = static_cast<std::uint32_t>(reads == Reads::month_name ? name.size() : abbreviation_length);
    bool same = true;
    for (std::uint32_t i = 0; same && i < length; ++i) {
      same = folded(load<Wide>(text, i)) == folded(static_cast<unsigned char>(name[i]));
    }
    if (same) return static_cast<std::uint16_t>(month + 1);
  }
  return 0;
}

// What is read ends at the terminator, however far it was meant to go.
const std::byte* advanced(const std::byte* text, std::uint32_t count) {
  for (; count > 0 && load<Wide>(text) != 0; --count) text += unit;
  return text;
}

bool is_literal(const FmtCode& entry) { return entry.code == FMT_LITERAL; }

bool starts_with(const std::byte* text, const FmtCode* run, const FmtCode* run_end) {
  for (; run != run_end && run->literal != 0; ++run, text += unit) {
    if (load<Wide>(text) != run->literal) return false;
  }
  return true;  // a literal zero ends the run as it would end a string
}

// Behind the first occurrence of a run of literals, or null.
const std::byte* find_run(const std::byte* text, const FmtCode* run, const FmtCode* run_end) {
  for (;; text += unit) {
    if (starts_with(text, run, run_end)) return advanced(text, static_cast<std::uint32_t>(run_end - run));
    if (load<Wide>(text) == 0) return nullptr;
  }
}

class Parser {
 public:
  Parser(const std::byte* text, std::int32_t chars, const FmtCode* model, ZVRTTS& ts)
      : text_(text), remaining_(chars), entry_(model), ts_(ts) {}

  Status run() {
    while (load<Wide>(text_) != 0 && remaining_ > 0) {
      if (const Status status = pass_literals(); status != ZVRT_RC_OK) {
        if (status == ZVRT_RC_END_OF_FORMAT) break;
        return status;
      }
      if (const Status status = read(element_of(entry_->code)); status != ZVRT_RC_OK) return status;
      ++entry_;
    }
    if (pending_hour_ != none_pending) set(Field::hour, static_cast<std::uint32_t>(pending_hour_));
    return ZVRT_RC_OK;
  }

 private:
  static constexpr std::int32_t none_pending = -1;

  // To the next element, and behind the literals before it.
  Status pass_literals() {
    const FmtCode* const run = entry_;
    while (is_literal(*entry_)) ++entry_;
    if (entry_->code == FMT_END) return ZVRT_RC_END_OF_FORMAT;
    text_ = find_run(text_, run, entry_);
    return text_ == nullptr || load<Wide>(text_) == 0 ? ZVRT_RC_INVALID_DATETIME : ZVRT_RC_OK;
  }

  Status read(const Element& element) {
    switch (element.reads) {
      case Reads::field: return field(element);
      case Reads::year: return year();
      case Reads::month_name:
      case Reads::month_abbreviation: return month(element.reads);
      case Reads::hour_24: return hour_24();
      case Reads::hour_12: return hour_12();
      case Reads::fraction: return fraction();
      case Reads::marker: return marker();
      case Reads::nothing: return ZVRT_RC_OK;
      case Reads::refused: break;
    }
    return ZVRT_RC_INVALID_DATETIME;
  }

  void consume(std::uint32_t count) {
    text_ += count * unit;
    remaining_ -= count;
  }

  void set(std::uint8_t field, std::uint32_t value) {
    store(&ts_, field / sizeof(std::uint16_t), static_cast<std::uint16_t>(value));
  }

  // A failure to read two digits is retried with one: the longest run that has anything.
  std::optional<std::uint32_t> two_digits() {
    const DigitRun run = read_digits(text_, 2);
    if (run.length == 0) return std::nullopt;
    consume(run.length);
    return run.value;
  }

  Status field(const Element& element) {
    const auto value = two_digits();
    if (!value) return ZVRT_RC_INVALID_DATETIME;
    set(element.field, *value);
    return ZVRT_RC_OK;
  }

  Status year() {
    const DigitRun run = read_digits(text_, entry_->len);
    if (run.refused) return ZVRT_RC_INVALID_DATETIME;
    set(Field::year, run.value);
    consume(run.length);
    return ZVRT_RC_OK;
  }

  Status month(Reads reads) {
    std::uint32_t length = 0;
    const std::uint16_t month = read_month(text_, reads, length);
    if (month == 0) return ZVRT_RC_INVALID_DATETIME;
    set(Field::month, month);
    consume(length);
    return ZVRT_RC_OK;
  }

  Status hour_24() {
    const auto hour = two_digits();
    if (!hour) return ZVRT_RC_INVALID_DATETIME;
    if (*hour > 23) return ZVRT_RC_HOUR_OUT_OF_RANGE;  // a negative one too
    set(Field::hour, *hour);
    return ZVRT_RC_OK;
  }

  Status hour_12() {
    const auto hour = two_digits();
    if (!hour) return ZVRT_RC_INVALID_DATETIME;
    if (*hour < 1 || *hour > 12) return ZVRT_RC_HOUR_OUT_OF_RANGE;
    pending_hour_ = static_cast<std::int32_t>(*hour);
    resolve_hour();
    return ZVRT_RC_OK;
  }

  Status fraction() {
    constexpr std::uint32_t all_bits_gone = 32;  // so many times ten is a multiple of 2^32
    const std::uint32_t width = entry_->len;
    DigitRun run = read_digits(text_, width);
    if (run.length == 0) return ZVRT_RC_INVALID_DATETIME;
    for (auto missing = std::min(width - run.length, all_bits_gone); missing > 0; --missing) run.value *= 10;
    ts_.fraction = run.value;
    consume(run.length);
    return ZVRT_RC_OK;
  }

  Status marker() {
    const std::uint32_t width = entry_->len;
    half_ = same_letters(text_, "pm", width)   ? Meridiem::pm
            : same_letters(text_, "am", width) ? Meridiem::am
                                               : Meridiem::none;
    const std::byte* const begin = text_;
    text_ = advanced(text_, width);
    remaining_ -= (text_ - begin) / static_cast<std::ptrdiff_t>(unit);
    resolve_hour();
    return ZVRT_RC_OK;
  }

  // Once both an hour of the 12-hour clock and its half of the day are known.
  void resolve_hour() {
    if (pending_hour_ == none_pending || half_ == Meridiem::none) return;
    set(Field::hour, static_cast<std::uint32_t>(hour_of_day({pending_hour_, half_})));
    pending_hour_ = none_pending;
  }

  const std::byte* text_;
  std::int64_t remaining_;
  const FmtCode* entry_;
  ZVRTTS& ts_;
  std::int32_t pending_hour_ = none_pending;
  Meridiem half_ = Meridiem::none;
};

}  // namespace

Status parse(const void* text, std::int32_t chars, const FmtCode* model, std::int32_t model_length, ZVRTTS& ts) {
  if (model == nullptr || model_length <= 0) return ZVRT_RC_ERROR;
  ts = ZVRTTS{};
  return Parser(static_cast<const std::byte*>(text), chars, model, ts).run();
}

}  // namespace zvrt

uint32_t ZVRTWVarcharSzToTS(const wchar_t* src, int32_t srcChars, const FmtCode* model, int32_t modelLen, ZVRTTS* ts,
                            [[maybe_unused]] DtKind kind) {
  return zvrt::parse(src, srcChars, model, modelLen, *ts);
}

uint32_t ZVRTGetNextCodePosInSourceW(const FmtCode** modelCursor, const wchar_t** textCursor, wchar_t* scratch) {
  using namespace zvrt;
  const FmtCode* const run = *modelCursor;
  const FmtCode* run_end = run;
  for (; is_literal(*run_end); ++run_end) *scratch++ = static_cast<wchar_t>(run_end->literal);
  *scratch = 0;
  *modelCursor = run_end;
  if (run_end->code == FMT_END) return ZVRT_RC_END_OF_FORMAT;
  const std::byte* found = find_run(reinterpret_cast<const std::byte*>(*textCursor), run, run_end);
  *textCursor = static_cast<const wchar_t*>(static_cast<const void*>(found));
  return found == nullptr ? ZVRT_RC_ERROR : ZVRT_RC_OK;
}
