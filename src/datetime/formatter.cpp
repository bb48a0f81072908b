#include "datetime/formatter.h"

#include "datetime/elements.h"
#include "datetime/meridiem.h"
#include "datetime/padded_number.h"

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

// One pass over a model. Between two entries there is always room for the terminator.
class Formatter {
 public:
  Formatter(Place<Wide> place, const ZVRTTS& ts, std::uint8_t groups) : at_(place.at), room_(place.room), ts_(ts) {
    awaited_ = applicable_ = groups;
  }

  Status run(const FmtCode* entry) {
    for (;; ++entry) {
      const Element& element = element_of(entry->code);
      if (element.writes == Writes::literal) {
        store(at_, 0, entry->literal);
        if (!advance(1)) return ZVRT_RC_TRUNCATED;
        continue;
      }
      if (element.writes == Writes::end) break;
      if ((element.group & applicable_) == 0) continue;
      if (const Status status = write(element); status != ZVRT_RC_OK) return status;
      awaited_ &= static_cast<std::uint8_t>(~element.group);
      if (awaited_ == 0) break;  // what follows in the model is not written, literals included
    }
    finish();
    return ZVRT_RC_OK;
  }

  const std::byte* end() const { return at_; }

 private:
  // The characters placed up to now stay also where they leave no room for a terminator.
  bool advance(std::int32_t count) {
    at_ += static_cast<std::ptrdiff_t>(count) * 4;
    room_ -= count;
    return room_ > 0;
  }

  Status write(const Element& element) {
    switch (element.writes) {
      case Writes::field: return number(element, load<std::uint16_t>(offset(&ts_, element.field)));
      case Writes::year: return number(element, ts_.year);
      case Writes::year_of_century: return number(element, ts_.year % 100);
      case Writes::fraction: return number(element, static_cast<std::int32_t>(ts_.fraction));
      case Writes::hour_24: {
        const Status status = number(element, ts_.hour);
        if (status == ZVRT_RC_OK) give_up_marker();
        return status;
      }
      case Writes::hour_12: {
        const TwelveHour clock = twelve_hour(ts_.hour);
        half_ = clock.half;
        return number(element, clock.hour);
      }
      case Writes::month_name:
      case Writes::month_abbreviation: return month_name(element.writes);
      case Writes::marker: return reserve_marker(element);
      case Writes::literal:
      case Writes::end: break;
    }
    return ZVRT_RC_ERROR;
  }

  static const std::byte* offset(const ZVRTTS* ts, std::uint8_t field) {
    return reinterpret_cast<const std::byte*>(ts) + field;
  }

  // Too little room for the element's own width is a truncation, too little for the digits there really are, and the
  // terminator, a failure.
  Status number(const Element& element, std::int32_t value) {
    if (room_ < element.room) return ZVRT_RC_TRUNCATED;
    const std::int32_t count = put_number<Wide>(at_, room_, value, element.least);
    if (count == 0) return ZVRT_RC_ERROR;
    advance(count);
    return ZVRT_RC_OK;
  }

  Status month_name(Writes writes) {
    const std::size_t month = ts_.month - std::size_t{1};
    if (month >= month_names.size()) return ZVRT_RC_ERROR;
    const auto count =
        static_cast<std::int32_t>(writes == Writes::month_name ? month_names[month].size() : abbreviation_length);
    if (room_ < count) return ZVRT_RC_TRUNCATED;
    copy_units<Wide>(at_, wide_month_names[month].data(), count);
    return advance(count) ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
  }

  Status reserve_marker(const Element& element) {
    if (room_ <= element.room) return ZVRT_RC_TRUNCATED;
    give_up_marker();
    marker_ = at_;
    advance(element.room);
    return ZVRT_RC_OK;
  }

  // A place that the marker will not come to is blank.
  void give_up_marker() {
    if (marker_ != nullptr) put_marker(' ', ' ');
    marker_ = nullptr;
  }

  void put_marker(Wide first, Wide second) {
    store(marker_, 0, first);
    store(marker_, 1, second);
  }

  void finish() {
    store(at_, 0, Wide{0});
    if (marker_ == nullptr) return;
    if (half_ == Meridiem::none) return give_up_marker();
    put_marker(half_ == Meridiem::am ? 'A' : 'P', 'M');
  }

  std::byte* at_;
  std::int32_t room_;
  const ZVRTTS& ts_;
  std::uint8_t applicable_;
  std::uint8_t awaited_;
  Meridiem half_ = Meridiem::none;
  std::byte* marker_ = nullptr;
};

}  // namespace

Status format(Place<Wide> place, const FmtCode* model, const ZVRTTS& ts, DtKind kind, std::uint32_t& length) {
  const std::uint8_t groups = groups_expected(kind);
  if (model == nullptr || groups == Group::none) return ZVRT_RC_ERROR;
  if (place.room < 1) return ZVRT_RC_TRUNCATED;
  Formatter formatter(place, ts, groups);
  const Status status = formatter.run(model);
  if (status == ZVRT_RC_OK) length = static_cast<std::uint32_t>((formatter.end() - place.at) / 4);
  return status;
}

}  // namespace zvrt

uint32_t ZVRTTSToWVarcharSz(wchar_t* dst, int32_t dstChars, const FmtCode* model, const ZVRTTS* ts, DtKind kind,
                            uint32_t* outLen) {
  return zvrt::format({reinterpret_cast<std::byte*>(dst), dstChars}, model, *ts, kind, *outLen);
}
