// A record to wide text, one pass over the tokenised model.
//
// at_ is where the next character goes, last_ the last address that a terminator may take; every element first checks
// that it fits before last_. visit_code() turns an element's code into a compile-time constant, and write<code>() looks
// up in the table of elements which field it writes and with how many digits.
//
// Each element belongs to a group (year, month ... AM/PM). awaited_ holds the groups that the kind of record still
// requires; when it is empty the text is complete and the rest of the model is ignored. An element of a group that the
// kind does not have writes nothing.
//
// The AM/PM designator may stand before the hour that decides it, so its two characters are reserved (designator_) and
// written at the end. A second designator, a 24-hour element or no 12-hour element leaves blanks in a reserved place.
#include "datetime/formatter.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "datetime/day_period.h"
#include "datetime/elements.h"
#include "datetime/padded_number.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

// The names as wide text.
constexpr auto wide_month_names = [] {
  std::array<std::array<Wide, 10>, 12> names{};
  for (std::size_t month = 0; month < names.size(); ++month) {
    for (std::size_t i = 0; i < month_names[month].size(); ++i) {
      names[month][i] = static_cast<unsigned char>(month_names[month][i]);
    }
  }
  return names;
}();

// Names have 3 to 9 letters; from 4 on they are copied by three overlapping blocks of four, without a branch on the
// length.
void put_name(std::byte* at, const Wide* name, std::size_t length) {
  struct Four {
    Wide letters[4];
  };
  if (length < 4) {
    copy_units<Wide>(at, name, 3);
    return;
  }
  const std::size_t last = length - 4, middle = std::min<std::size_t>(last, 4);
  store(at, 0, load<Four>(name));
  store(at + middle * sizeof(Wide), 0, load<Four>(name + middle));
  store(at + last * sizeof(Wide), 0, load<Four>(name + last));
}

// One pass over a model. Between two entries there is always a place for the terminator.
class Formatter {
 public:
  Formatter(std::byte* begin, std::int32_t capacity, TimestampView ts, std::uint8_t groups)
      : at_(begin), last_(begin + (capacity - 1) * unit), ts_(ts), applicable_(groups), awaited_(groups) {}

  // Inlined with everything it calls, so that the state stays in registers.
  [[gnu::always_inline]] Status run(const FmtCode* entry) {
    Status status = ZVRT_RC_OK;
    do {
      while (__builtin_expect(entry->code == FMT_LITERAL, true)) {
        if (!put_literal(entry->literal)) [[unlikely]]
          return ZVRT_RC_TRUNCATED;
        ++entry;
      }
      status = visit_code(entry->code, [&](auto code) { return write<code>(*entry); });
      ++entry;
    } while (status == ZVRT_RC_OK);
    if (status != ZVRT_RC_END_OF_FORMAT) return status;
    terminate();
    return ZVRT_RC_OK;
  }

  const std::byte* end() const { return at_; }

 private:
  static constexpr std::ptrdiff_t unit = sizeof(Wide);

  // The characters written so far stay even if they leave no place for a terminator.
  bool advance(std::ptrdiff_t count) {
    at_ += count * unit;
    return at_ <= last_;
  }

  bool put_literal(Wide character) {
    store(at_, 0, character);
    return advance(1);
  }

  // Formatting stops when every group that the record kind requires has been written; the rest of the model is ignored,
  // literals included.
  template <std::uint32_t code>
  Status write(const FmtCode& entry) {
    constexpr const Element& element = elements[code];
    if constexpr (element.writes == Writes::end) return ZVRT_RC_END_OF_FORMAT;
    if constexpr (element.writes == Writes::literal) return put_literal(entry.literal) ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
    if ((element.group & applicable_) == 0) [[unlikely]]
      return ZVRT_RC_OK;
    if (const Status status = write_element<code>(); status != ZVRT_RC_OK) return status;
    awaited_ &= static_cast<std::uint8_t>(~element.group);
    return awaited_ != 0 ? ZVRT_RC_OK : ZVRT_RC_END_OF_FORMAT;
  }

  template <std::uint32_t code>
  Status write_element() {
    constexpr const Element& element = elements[code];
    switch (element.writes) {
      case Writes::field: return number<element.width>(ts_.field(element.field));
      case Writes::bare_field: return bare_number(ts_.field(element.field));
      case Writes::year: return number<element.width>(ts_.year());
      case Writes::year_of_century: return number<element.width>(ts_.year() % 100);
      case Writes::fraction: return number<element.width>(static_cast<std::int32_t>(ts_.fraction()));
      case Writes::hour_24: {
        const Status status = number<element.width>(ts_.hour());
        if (status == ZVRT_RC_OK) blank_designator();
        return status;
      }
      case Writes::hour_12: {
        const TwelveHour clock = twelve_hour(ts_.hour());
        day_period_ = clock.period;
        return number<element.width>(clock.hour);
      }
      case Writes::month_name: return month_name(Name::full);
      case Writes::month_abbreviation: return month_name(Name::abbreviated);
      case Writes::designator: return reserve_designator(element.width);
      case Writes::literal:
      case Writes::end: break;
    }
    return ZVRT_RC_ERROR;
  }

  // A capacity below the width of the element is a truncation; a capacity below the actual digits and the terminator is
  // an error.
  template <std::int32_t min_digits>
  Status number(std::int32_t value) {
    const std::int32_t count = put_number<Wide, min_digits>(at_, last_, value);
    if (count == 0) [[unlikely]]
      return last_ - at_ < (min_digits - 1) * unit ? ZVRT_RC_TRUNCATED : ZVRT_RC_ERROR;
    advance(count);
    return ZVRT_RC_OK;
  }

  // A capacity of two digits is required whatever the number.
  Status bare_number(std::int32_t value) {
    if (last_ - at_ < unit) return ZVRT_RC_TRUNCATED;
    return value < 10 ? number<1>(value) : number<2>(value);
  }

  enum class Name : bool { full, abbreviated };

  ZVRT_WRAPS Status month_name(Name form) {
    const std::size_t month = static_cast<std::size_t>(ts_.month()) - 1;
    if (month >= month_names.size()) return ZVRT_RC_ERROR;
    const auto length =
        static_cast<std::ptrdiff_t>(form == Name::full ? month_names[month].size() : abbreviation_length);
    if (last_ - at_ < (length - 1) * unit) return ZVRT_RC_TRUNCATED;
    put_name(at_, wide_month_names[month].data(), static_cast<std::size_t>(length));
    return advance(length) ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
  }

  Status reserve_designator(std::ptrdiff_t width) {
    if (last_ - at_ < width * unit) return ZVRT_RC_TRUNCATED;
    blank_designator();
    designator_ = at_;
    advance(width);
    return ZVRT_RC_OK;
  }

  // A reserved place that gets no designator is filled with blanks.
  void blank_designator() {
    if (designator_ != nullptr) put_designator(' ', ' ');
    designator_ = nullptr;
  }

  void put_designator(Wide first, Wide second) {
    store(designator_, 0, first);
    store(designator_, 1, second);
  }

  void terminate() {
    store(at_, 0, Wide{0});
    if (designator_ == nullptr) return;
    if (day_period_ == DayPeriod::none) return blank_designator();
    put_designator(day_period_ == DayPeriod::am ? 'A' : 'P', 'M');
  }

  std::byte* at_;
  std::byte* const last_;
  const TimestampView ts_;
  const std::uint8_t applicable_;
  std::uint8_t awaited_;
  DayPeriod day_period_ = DayPeriod::none;
  std::byte* designator_ = nullptr;
};

}  // namespace

[[gnu::noinline]] Status format(Destination<Wide> destination, const FmtCode* model, TimestampView ts, DtKind kind,
                                std::uint32_t& length) {
  const std::uint8_t groups = groups_expected(kind);
  if (model == nullptr || groups == Group::none) return ZVRT_RC_ERROR;
  if (destination.capacity < 1) return ZVRT_RC_TRUNCATED;
  Formatter formatter(destination.at, destination.capacity, ts, groups);
  const Status status = formatter.run(model);
  if (status == ZVRT_RC_OK) {
    length = static_cast<std::uint32_t>(static_cast<std::size_t>(formatter.end() - destination.at) / sizeof(Wide));
  }
  return status;
}

}  // namespace zvrt

uint32_t ZVRTTSToWVarcharSz(wchar_t* dst, int32_t dstChars, const FmtCode* model, const ZVRTTS* ts, DtKind kind,
                            uint32_t* outLen) {
  return zvrt::format({reinterpret_cast<std::byte*>(dst), dstChars}, model, zvrt::TimestampView(ts), kind, *outLen);
}
