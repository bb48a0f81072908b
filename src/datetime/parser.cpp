// Wide text to a record, one pass over the text and the tokenised model together.
//
// The parser alternates two steps until the text, its character limit or the model ends:
//
// 1. Literals. The run of literals before the next element is compared with the text where it stands. If it differs
//    there, the text is searched for its first occurrence, so that "on 5/3" matches the model "/%MM" at the slash. A
//    run that is not found is an error, unless the model ends with it.
// 2. An element. visit_code() turns its code into a compile-time constant; read<code>() looks up in the table of
//    elements how that element is read. Digits are read as the element has: usually exactly its width, checked without
//    a loop that depends on the text; otherwise a run of digits of at most the width, with one minus sign anywhere in
//    it.
//
// An hour of the 12-hour clock and the AM/PM designator may come in either order: the first to arrive waits in
// pending_hour_ or day_period_, and resolve_hour() combines them. An hour without a designator is taken as it is.
//
// Nothing is read after the terminator: each read stops at the first character that does not belong, and zero never
// does.
#include "datetime/parser.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "datetime/day_period.h"
#include "datetime/elements.h"
#include "numeric/integer/text_to_integer.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

constexpr std::size_t unit = sizeof(Wide);

constexpr auto month_letters = [] {
  std::array<Letters, month_names.size()> letters{};
  for (std::size_t month = 0; month < letters.size(); ++month) letters[month] = letters_of(month_names[month]);
  return letters;
}();

struct DigitRun {
  std::uint32_t value;   // wraps around
  std::uint32_t length;  // digits, and a minus sign anywhere among them
  bool rejected;         // ended by an invalid character, not by the limit or the end of the text
};

// At most `limit` characters. A run that an invalid character ends is read again up to that character, and marked.
[[gnu::noinline]] DigitRun read_digits(const std::byte* text, std::uint32_t limit) {
  const auto max_chars = static_cast<std::int32_t>(std::min(limit, static_cast<std::uint32_t>(INT32_MAX)));
  NumberRun run = read_run(text, 0, max_chars);
  const bool rejected = !run.valid;
  if (rejected) run = read_run(text, 0, run.end);
  return {static_cast<std::uint32_t>(run.value), static_cast<std::uint32_t>(run.end), rejected};
}

// The usual case: exactly `count` digits. No character is read after the first one that is not a digit.
template <std::size_t count>
ZVRT_WRAPS bool read_fixed_digits(const std::byte* text, std::uint32_t& value) {
  value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const Wide digit = load<Wide>(text, i) - '0';
    if (digit > 9) return false;
    value = value * 10 + digit;
  }
  return true;
}

// Whether the first `limit` characters equal the letters, regardless of case; `letters` are lower case and terminated.
bool same_letters(const std::byte* text, const char* letters, std::size_t limit) {
  for (std::size_t i = 0; i < limit; ++i) {
    const auto letter = static_cast<unsigned char>(letters[i]);
    const Wide character = load<Wide>(text, i);
    if (letter == 0) return character == 0;
    if (folded(character) != letter) return false;
  }
  return true;
}

// Advances by `count` characters, but not beyond the terminator.
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

const FmtCode* after_literals(const FmtCode* entry) {
  while (is_literal(*entry)) ++entry;
  return entry;
}

// The address after the first occurrence of a run of literals, or null.
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

  // Inlined with everything it calls, so that the state stays in registers.
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

  // Advances to the next element, past the literals before it: usually the text has them right here.
  Status pass_literals() {
    const FmtCode* const run = entry_;
    const std::byte* at = text_;
    for (; is_literal(*entry_); ++entry_, at += unit) {
      const Wide character = load<Wide>(at);
      if (character == entry_->literal && character != 0) [[likely]]
        continue;
      entry_ = after_literals(entry_);
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
    if constexpr (code == FMT_END) {
      return ZVRT_RC_END_OF_FORMAT;
    } else {
      switch (element.reads) {
        case Reads::field: return field(element.field);
        case Reads::year: return year<element.length>();
        case Reads::month_name: return month(Name::full);
        case Reads::month_abbreviation: return month(Name::abbreviated);
        case Reads::hour_24: return hour_24();
        case Reads::hour_12: return hour_12();
        case Reads::fraction: return fraction<element.length>();
        case Reads::designator: return designator();
        case Reads::nothing: return ZVRT_RC_OK;
        case Reads::rejected: break;
      }
      return ZVRT_RC_INVALID_DATETIME;
    }
  }

  void consume(std::uint32_t count) {
    text_ += count * unit;
    remaining_ -= count;
  }

  // Two digits, or else one.
  bool two_digits(std::uint32_t& value) {
    std::uint32_t length = 2;
    if (!read_fixed_digits<2>(text_, value)) [[unlikely]] {
      const DigitRun run = read_digits(text_, 2);
      value = run.value;
      length = run.length;
    }
    consume(length);
    return length > 0;
  }

  Status field(std::size_t offset) {
    std::uint32_t value = 0;
    if (!two_digits(value)) return ZVRT_RC_INVALID_DATETIME;
    store(reinterpret_cast<std::byte*>(&ts_) + offset, 0, static_cast<std::uint16_t>(value));
    return ZVRT_RC_OK;
  }

  template <std::uint32_t width>
  Status year() {
    DigitRun run{0, width, false};
    if (entry_->len != width || !read_fixed_digits<width>(text_, run.value)) [[unlikely]] {
      run = read_digits(text_, entry_->len);
      if (run.rejected) return ZVRT_RC_INVALID_DATETIME;
    }
    ts_.year = static_cast<std::int16_t>(run.value);
    consume(run.length);
    return ZVRT_RC_OK;
  }

  enum class Name : bool { full, abbreviated };

  Status month(Name form) {
    const Letters letters = letters_at(text_);
    const std::uint32_t month = month_of(static_cast<std::uint32_t>(letters & first_letters(abbreviation_length)));
    if (month == 0) return ZVRT_RC_INVALID_DATETIME;
    if (form == Name::full && !is_name_of(month - 1, letters)) return ZVRT_RC_INVALID_DATETIME;
    ts_.month = static_cast<std::uint16_t>(month);
    consume(static_cast<std::uint32_t>(form == Name::full ? month_names[month - 1].size() : abbreviation_length));
    return ZVRT_RC_OK;
  }

  // One name has a ninth letter.
  bool is_name_of(std::size_t month, Letters letters) const {
    const std::string_view name = month_names[month];
    if ((letters & first_letters(name.size())) != month_letters[month]) return false;
    return name.size() <= letters_at_once ||
           folded(load<Wide>(text_, letters_at_once)) == static_cast<unsigned char>(name[letters_at_once]);
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

  template <std::uint32_t width>
  Status fraction() {
    std::uint32_t length = width;
    std::uint32_t value = 0;
    if (entry_->len != width || !read_fixed_digits<width>(text_, value)) {
      const DigitRun run = read_digits(text_, entry_->len);
      if (run.length == 0) return ZVRT_RC_INVALID_DATETIME;
      length = run.length;
      value = scaled(run, entry_->len);
    }
    ts_.fraction = value;
    consume(length);
    return ZVRT_RC_OK;
  }

  // Fewer digits than the element has are its leading ones.
  ZVRT_WRAPS static std::uint32_t scaled(const DigitRun& run, std::uint32_t width) {
    constexpr std::uint32_t all_bits_gone = 32;  // ten to this power is a multiple of 2^32
    std::uint32_t value = run.value;
    for (auto missing = std::min(width - run.length, all_bits_gone); missing > 0; --missing) value *= 10;
    return value;
  }

  Status designator() {
    const std::uint32_t width = entry_->len;
    if (width == 2 && folded(load<Wide>(text_, 1)) == 'm') [[likely]] {
      const Wide letter = folded(load<Wide>(text_));
      day_period_ = letter == 'p' ? DayPeriod::pm : letter == 'a' ? DayPeriod::am : DayPeriod::none;
      consume(width);
    } else {
      day_period_ = same_letters(text_, "pm", width)   ? DayPeriod::pm
                    : same_letters(text_, "am", width) ? DayPeriod::am
                                                       : DayPeriod::none;
      consume(static_cast<std::uint32_t>(static_cast<std::size_t>(advanced(text_, width) - text_) / unit));
    }
    resolve_hour();
    return ZVRT_RC_OK;
  }

  // Once both an hour of the 12-hour clock and its day period are known.
  void resolve_hour() {
    if (pending_hour_ == none_pending || day_period_ == DayPeriod::none) return;
    ts_.hour = static_cast<std::uint16_t>(hour_of_day({pending_hour_, day_period_}));
    pending_hour_ = none_pending;
  }

  const std::byte* text_;
  std::int64_t remaining_;
  const FmtCode* entry_;
  ZVRTTS& ts_;
  std::int32_t pending_hour_ = none_pending;
  DayPeriod day_period_ = DayPeriod::none;
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
  if (model == nullptr || modelLen <= 0) return ZVRT_RC_ERROR;
  ZVRTTS parsed;
  const zvrt::Status status = zvrt::parse(src, srcChars, model, modelLen, parsed);
  zvrt::store(ts, 0, parsed);
  return status;
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
