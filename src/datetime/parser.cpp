#include "datetime/parser.h"

#include <algorithm>

#include "datetime/elements.h"
#include "datetime/meridiem.h"
#include "frame/units.h"

namespace zvrt {

namespace {

constexpr std::size_t unit = sizeof(Wide);

constexpr bool is_digit(Wide character) { return character - '0' <= 9; }

// Decimal digits, and among them, at any place, one minus sign: the longest such run of at most so many characters.
struct DigitRun {
  std::uint32_t value;  // wraps around
  std::uint32_t length;
  bool refused;  // ended by a character that does not belong, not by the limit or the end of the text
};

[[gnu::noinline]] DigitRun read_signed_digits(const std::byte* text, std::uint32_t limit) {
  DigitRun run{0, 0, false};
  bool negative = false;
  for (; run.length < limit; ++run.length) {
    const Wide character = load<Wide>(text, run.length);
    if (character == 0) break;
    if (character == '-' && !negative) {
      negative = true;
    } else if (is_digit(character)) {
      run.value = run.value * 10 + (character - '0');
    } else {
      run.refused = true;
      break;
    }
  }
  if (negative) run.value = 0 - run.value;
  return run;
}

// The same, quick for what nearly every text holds: as many digits as there may be, or fewer and no minus sign.
inline DigitRun read_digits(const std::byte* text, std::uint32_t limit) {
  DigitRun run{0, 0, false};
  for (; run.length < limit; ++run.length) {
    const Wide character = load<Wide>(text, run.length);
    if (!is_digit(character)) {
      if (character == '-') return read_signed_digits(text, limit);
      run.refused = character != 0;
      break;
    }
    run.value = run.value * 10 + (character - '0');
  }
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

const FmtCode* behind_literals(const FmtCode* entry) {
  while (is_literal(*entry)) ++entry;
  return entry;
}

// Behind the first occurrence of a run of literals, or null.
[[gnu::noinline]] const std::byte* find_run(const std::byte* text, const FmtCode* run, const FmtCode* run_end) {
  for (;; text += unit) {
    if (starts_with(text, run, run_end)) return advanced(text, static_cast<std::uint32_t>(run_end - run));
    if (load<Wide>(text) == 0) return nullptr;
  }
}

class Parser {
 public:
  Parser(const std::byte* text, std::int32_t chars, const FmtCode* model, ZVRTTS& ts)
      : text_(text), remaining_(chars), entry_(model), ts_(ts) {}

  // Inlined with all it calls, so that the state lives in registers.
  [[gnu::always_inline]] Status run() {
    Status status = ZVRT_RC_OK;
    while (status == ZVRT_RC_OK && load<Wide>(text_) != 0 && remaining_ > 0) {
      status = pass_literals();
      if (status != ZVRT_RC_OK) break;
      status = visit_code(entry_->code, [this](auto code) { return read<code>(); });
      ++entry_;
    }
    if (status != ZVRT_RC_OK && status != ZVRT_RC_END_OF_FORMAT) return status;
    if (pending_hour_ != none_pending) ts_.hour = static_cast<std::uint16_t>(pending_hour_);
    return ZVRT_RC_OK;
  }

 private:
  static constexpr std::int32_t none_pending = -1;

  // To the next element, and behind the literals before it: nearly always they stand right here.
  Status pass_literals() {
    const FmtCode* const run = entry_;
    const std::byte* at = text_;
    for (; is_literal(*entry_); ++entry_, at += unit) {
      const Wide character = load<Wide>(at);
      if (character == entry_->literal && character != 0) [[likely]]
        continue;
      entry_ = behind_literals(entry_);
      if (entry_->code == FMT_END) return ZVRT_RC_END_OF_FORMAT;
      at = find_run(text_, run, entry_);
      if (at == nullptr) return ZVRT_RC_INVALID_DATETIME;
      break;
    }
    text_ = at;
    return at_element();
  }

  // Text must not end between literals and an element, but the model may.
  Status at_element() const {
    return load<Wide>(text_) != 0 || entry_->code == FMT_END ? ZVRT_RC_OK : ZVRT_RC_INVALID_DATETIME;
  }

  // There is at least one character to read.
  template <std::uint32_t code>
  Status read() {
    constexpr const Element& element = elements[code];
    if constexpr (code == FMT_END) return ZVRT_RC_END_OF_FORMAT;
    switch (element.reads) {
      case Reads::field: return field(element.field);
      case Reads::year: return year();
      case Reads::month_name: return month(Name::whole);
      case Reads::month_abbreviation: return month(Name::abbreviated);
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

  // A failure to read two digits is retried with one, which makes it the longest run that has anything.
  bool two_digits(std::uint32_t& value) {
    const Wide tens = load<Wide>(text_) - '0', ones = load<Wide>(text_, 1) - '0';
    if (tens <= 9 && ones <= 9) [[likely]] {
      value = tens * 10 + ones;
      consume(2);
      return true;
    }
    const DigitRun run = read_signed_digits(text_, 2);
    value = run.value;
    consume(run.length);
    return run.length > 0;
  }

  Status field(std::size_t offset) {
    std::uint32_t value = 0;
    if (!two_digits(value)) return ZVRT_RC_INVALID_DATETIME;
    store(reinterpret_cast<std::byte*>(&ts_) + offset, 0, static_cast<std::uint16_t>(value));
    return ZVRT_RC_OK;
  }

  Status year() {
    const DigitRun run = read_digits(text_, entry_->len);
    if (run.refused) return ZVRT_RC_INVALID_DATETIME;
    ts_.year = static_cast<std::int16_t>(run.value);
    consume(run.length);
    return ZVRT_RC_OK;
  }

  enum class Name : bool { whole, abbreviated };

  Status month(Name form) {
    const std::uint32_t month = month_by_abbreviation(text_);
    if (month == 0) return ZVRT_RC_INVALID_DATETIME;
    std::uint32_t length = abbreviation_length;
    if (form == Name::whole) {
      const std::string_view name = month_names[month - 1];
      for (; length < name.size(); ++length) {
        if (folded(load<Wide>(text_, length)) != static_cast<unsigned char>(name[length])) {
          return ZVRT_RC_INVALID_DATETIME;
        }
      }
    }
    ts_.month = static_cast<std::uint16_t>(month);
    consume(length);
    return ZVRT_RC_OK;
  }

  // 1 to 12, or 0.
  static std::uint32_t month_by_abbreviation(const std::byte* text) {
    std::uint32_t letters = 0;
    for (std::size_t i = 0; i < abbreviation_length; ++i) {
      const Wide letter = folded(load<Wide>(text, i));
      if (letter < 'a' || letter > 'z') return 0;
      letters |= letter << (8 * i);
    }
    return month_of(letters);
  }

  Status hour_24() {
    std::uint32_t hour = 0;
    if (!two_digits(hour)) return ZVRT_RC_INVALID_DATETIME;
    if (hour > 23) return ZVRT_RC_HOUR_OUT_OF_RANGE;  // a negative one too
    ts_.hour = static_cast<std::uint16_t>(hour);
    return ZVRT_RC_OK;
  }

  Status hour_12() {
    std::uint32_t hour = 0;
    if (!two_digits(hour)) return ZVRT_RC_INVALID_DATETIME;
    if (hour < 1 || hour > 12) return ZVRT_RC_HOUR_OUT_OF_RANGE;
    pending_hour_ = static_cast<std::int32_t>(hour);
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
    if (width == 2 && folded(load<Wide>(text_, 1)) == 'm') [[likely]] {
      const Wide letter = folded(load<Wide>(text_));
      half_ = letter == 'p' ? Meridiem::pm : letter == 'a' ? Meridiem::am : Meridiem::none;
      consume(width);
    } else {
      half_ = same_letters(text_, "pm", width)   ? Meridiem::pm
              : same_letters(text_, "am", width) ? Meridiem::am
                                                 : Meridiem::none;
      consume(static_cast<std::uint32_t>(static_cast<std::size_t>(advanced(text_, width) - text_) / unit));
    }
    resolve_hour();
    return ZVRT_RC_OK;
  }

  // Once both an hour of the 12-hour clock and its half of the day are known.
  void resolve_hour() {
    if (pending_hour_ == none_pending || half_ == Meridiem::none) return;
    ts_.hour = static_cast<std::uint16_t>(hour_of_day({pending_hour_, half_}));
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

[[gnu::noinline]] Status parse(const void* text, std::int32_t chars, const FmtCode* model, std::int32_t model_length,
                               ZVRTTS& ts) {
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
