// Timestamps to wide text and back by four models, the fixed layout, and the tokenising of models.
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <cwchar>

#include "dates.h"
#include "harness.h"
#include "inputs.h"
#include "peers.h"

#if ZVRT_BENCH_WITH_FMT
#include <fmt/chrono.h>
#include <fmt/compile.h>
#include <fmt/format.h>
#include <fmt/xchar.h>
#endif
#if ZVRT_BENCH_WITH_ABSEIL
#include <absl/strings/str_format.h>
#include <absl/time/civil_time.h>
#include <absl/time/time.h>
#endif
#if ZVRT_BENCH_WITH_PGTYPES
#include <pgtypes_timestamp.h>
#endif

namespace zvrt_bench {
namespace {

// ---- models --------------------------------------------------------------------------------------------------------

// One model in the language of each contender. The C library knows no fractions of a second: theirs are added by hand.
struct Model {
  const char* name;
  const wchar_t* text;
  const char* strftime;
  const wchar_t* wcsftime;
  const char* abseil;
  bool has_fraction;
  wchar_t* (*write_fields)(const ZVRTTS& ts, wchar_t* to);  // the layout fixed when the program is compiled
};

#if ZVRT_BENCH_WITH_FMT
constexpr const wchar_t* months[] = {L"January", L"February", L"March",     L"April",   L"May",      L"June",
                                     L"July",    L"August",   L"September", L"October", L"November", L"December"};

wchar_t* write_micro_seconds(const ZVRTTS& ts, wchar_t* to) {
  return fmt::format_to(to, FMT_COMPILE(L"{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:06}"), ts.year, ts.month, ts.day,
                        ts.hour, ts.minute, ts.second, ts.fraction);
}
wchar_t* write_seconds(const ZVRTTS& ts, wchar_t* to) {
  return fmt::format_to(to, FMT_COMPILE(L"{:04}-{:02}-{:02} {:02}:{:02}:{:02}"), ts.year, ts.month, ts.day, ts.hour,
                        ts.minute, ts.second);
}
wchar_t* write_short_month(const ZVRTTS& ts, wchar_t* to) {
  return fmt::format_to(to, FMT_COMPILE(L"{:02}-{}-{:04}"), ts.day, std::wstring_view(months[ts.month - 1], 3),
                        ts.year);
}
wchar_t* write_long_month(const ZVRTTS& ts, wchar_t* to) {
  const int hour = ts.hour % 12 == 0 ? 12 : ts.hour % 12;
  return fmt::format_to(to, FMT_COMPILE(L"{} {:02}, {:04} {:02}:{:02}:{:02} {}"),
                        std::wstring_view(months[ts.month - 1]), ts.day, ts.year, hour, ts.minute, ts.second,
                        std::wstring_view(ts.hour < 12 ? L"AM" : L"PM"));
}
wchar_t* write_fixed_layout(const ZVRTTS& ts, wchar_t* to) {
  return fmt::format_to(to, FMT_COMPILE(L"{:02}/{:02}/{:04} {:02}:{:02}:{:02}:{:06}"), ts.day, ts.month, ts.year,
                        ts.hour, ts.minute, ts.second, ts.fraction);
}
#define BY_FMT(function) function
#else
#define BY_FMT(function) nullptr
#endif

constexpr Model models[] = {
    {"micro-seconds", L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", "%Y-%m-%d %H:%M:%S", L"%Y-%m-%d %H:%M:%S",
     "%Y-%m-%d %H:%M:%E6S", true, BY_FMT(write_micro_seconds)},
    {"seconds", L"%YYYY-%MM-%DD %HH24:%MI:%SS", "%Y-%m-%d %H:%M:%S", L"%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M:%S", false,
     BY_FMT(write_seconds)},
    {"05-Mar-2024", L"%DD-%MMM-%YYYY", "%d-%b-%Y", L"%d-%b-%Y", "%d-%b-%Y", false, BY_FMT(write_short_month)},
    {"long month with PM", L"%MONTH %DD, %YYYY %HH:%MI:%SS %PM", "%B %d, %Y %I:%M:%S %p", L"%B %d, %Y %I:%M:%S %p",
     "%B %d, %Y %I:%M:%S %p", false, BY_FMT(write_long_month)},
};

// ---- to text -------------------------------------------------------------------------------------------------------

std::size_t write_strftime(const Model& model, const BrokenDown& moment, char* text) {
  const std::size_t length = std::strftime(text, 64, model.strftime, &moment.time);
  return terminated(text, model.has_fraction ? append_fraction(text, length, moment.fraction) : length);
}

std::size_t write_strftime_widened(const Model& model, const BrokenDown& moment, std::byte* output) {
  std::array<char, 64> text;
  return widen({text.data(), write_strftime(model, moment, text.data())}, wide(output));
}

std::size_t write_wcsftime(const Model& model, const BrokenDown& moment, std::byte* output) {
  std::size_t length = std::wcsftime(wide(output), 64, model.wcsftime, &moment.time);
  if (model.has_fraction) length = append_fraction(wide(output), length, moment.fraction);
  return terminated(wide(output), length);
}

#if ZVRT_BENCH_WITH_PGTYPES
std::size_t write_pgtypes(const Model& model, ::timestamp moment, std::byte* output) {
  if (model.has_fraction) {
    char* text = PGTYPEStimestamp_to_asc(moment);
    const std::size_t bytes = widen(text, wide(output));
    std::free(text);
    return bytes;
  }
  std::array<char, 64> text;
  PGTYPEStimestamp_fmt_asc(&moment, text.data(), static_cast<int>(text.size()), model.strftime);
  return widen(text.data(), wide(output));
}
#endif

void register_formatting(const Model& model, const Set<ZVRTTS>& records) {
  constexpr Operation formatting{"timestamp to wide text, by model", 0.35};
  const auto field = std::make_shared<ModelField>(model.text);
  const auto moments = rendered(records, broken_down);
  const Contender ours = contender("ours", records, [field](const ZVRTTS& ts, std::byte* out) {
    return call<ZVRTCnvZVRTTSToWVarcharSz, sizeof(wchar_t)>(&ts, out, field->get());
  });
  std::vector<Contender> contenders = {
      ours,
      contender(
          "strftime, widened", moments,
          [&model](const BrokenDown& moment, std::byte* out) { return write_strftime_widened(model, moment, out); }),
      contender("wcsftime", moments,
                [&model](const BrokenDown& moment, std::byte* out) { return write_wcsftime(model, moment, out); })};
#if ZVRT_BENCH_WITH_FMT
  const std::wstring chrono = L"{:" + std::wstring(model.wcsftime) + L"}";
  contenders.push_back(contender("fmt::chrono", moments, [&model, chrono](const BrokenDown& moment, std::byte* out) {
    const wchar_t* end = fmt::vformat_to(wide(out), fmt::wstring_view(chrono), fmt::make_wformat_args(moment.time));
    auto length = static_cast<std::size_t>(end - wide(out));
    if (model.has_fraction) length = append_fraction(wide(out), length, moment.fraction);
    return terminated(wide(out), length);
  }));
#endif
#if ZVRT_BENCH_WITH_ABSEIL
  const auto times = rendered(records, [](const ZVRTTS& ts) {
    const absl::CivilSecond second(ts.year, ts.month, ts.day, ts.hour, ts.minute, ts.second);
    return absl::FromCivil(second, absl::UTCTimeZone()) + absl::Microseconds(ts.fraction);
  });
  contenders.push_back(contender("Abseil, widened", times, [&model](absl::Time time, std::byte* out) {
    return widen(absl::FormatTime(model.abseil, time, absl::UTCTimeZone()), wide(out));
  }));
#endif
#if ZVRT_BENCH_WITH_PGTYPES
  if (std::wcsstr(model.text, L"%PM") == nullptr) {  // its 12-hour clock writes 00 for 12
    const auto stamps = rendered(moments, [](const BrokenDown& moment) {
      std::array<char, 64> text;
      const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &moment.time);
      text[append_fraction(text.data(), length, moment.fraction)] = '\0';
      return PGTYPEStimestamp_from_asc(text.data(), nullptr);
    });
    contenders.push_back(contender("pgtypes, widened", stamps, [&model](::timestamp stamp, std::byte* out) {
      return write_pgtypes(model, stamp, out);
    }));
  }
#endif
  compete(formatting, model.name, std::move(contenders));
  compete({"timestamp to narrow text, by model", 0.5}, model.name,
          {contender("ours", records,
                     [field](const ZVRTTS& ts, std::byte* out) {
                       return call<ZVRTCnvZVRTTSToVarcharSz, 1>(&ts, out, field->get());
                     }),
           contender("strftime", moments, [&model](const BrokenDown& moment, std::byte* out) {
             return write_strftime(model, moment, narrow(out));
           })});
#if ZVRT_BENCH_WITH_FMT
  // Not what a model is for, but the mark to aim at: no model at run time at all.
  constexpr Operation beside_fixed{"timestamp to wide text, by model beside a layout compiled in", 0};
  compete(beside_fixed, model.name,
          {ours, contender("fmt, layout compiled", records, [&model](const ZVRTTS& ts, std::byte* out) {
             return terminated(wide(out), static_cast<std::size_t>(model.write_fields(ts, wide(out)) - wide(out)));
           })});
#endif
}

void register_fixed_layout(const Set<ZVRTTS>& records) {
  constexpr Operation formatting{"timestamp to wide text, fixed layout", 0.25};
  std::vector<Contender> contenders = {contender("ours", records,
                                                 [](const ZVRTTS& ts, std::byte* out) {
                                                   std::uint32_t length = 0;
                                                   ZVRTGetStringFromTS(&ts, wide(out), 64, &length);
                                                   return length * sizeof(wchar_t);
                                                 }),
                                       contender("swprintf", records, [](const ZVRTTS& ts, std::byte* out) {
                                         const int length = std::swprintf(
                                             wide(out), 64, L"%.2d/%.2d/%.4d %.2d:%.2d:%.2d:%.6d", ts.day, ts.month,
                                             ts.year, ts.hour, ts.minute, ts.second, ts.fraction);
                                         return static_cast<std::size_t>(length) * sizeof(wchar_t);
                                       })};
#if ZVRT_BENCH_WITH_FMT
  contenders.push_back(contender("fmt, layout compiled", records, [](const ZVRTTS& ts, std::byte* out) {
    return terminated(wide(out), static_cast<std::size_t>(write_fixed_layout(ts, wide(out)) - wide(out)));
  }));
#endif
  compete(formatting, "05/03/2024 07:08:09:001234", std::move(contenders));
}

// ---- from text -----------------------------------------------------------------------------------------------------

ZVRTTS read_strptime(const Model& model, const char* text) {
  std::tm time{};
  const char* rest = strptime(text, model.strftime, &time);
  ZVRTTS ts{};
  if (rest == nullptr) return ts;
  ts.year = static_cast<std::int16_t>(time.tm_year + 1900);
  ts.month = static_cast<std::uint16_t>(time.tm_mon + 1);
  ts.day = static_cast<std::uint16_t>(time.tm_mday);
  ts.hour = static_cast<std::uint16_t>(time.tm_hour);
  ts.minute = static_cast<std::uint16_t>(time.tm_min);
  ts.second = static_cast<std::uint16_t>(time.tm_sec);
  if (model.has_fraction && *rest == '.') std::from_chars(rest + 1, rest + 7, ts.fraction);
  return ts;
}

#if ZVRT_BENCH_WITH_ABSEIL
ZVRTTS read_abseil(const Model& model, const wchar_t* text) {
  const Narrowed narrowed(text);
  absl::Time time;
  std::string error;
  ZVRTTS ts{};
  if (!absl::ParseTime(model.abseil, absl::string_view(narrowed.begin(), narrowed.size()), &time, &error)) return ts;
  const absl::TimeZone::CivilInfo civil = absl::UTCTimeZone().At(time);
  ts.year = static_cast<std::int16_t>(civil.cs.year());
  ts.month = static_cast<std::uint16_t>(civil.cs.month());
  ts.day = static_cast<std::uint16_t>(civil.cs.day());
  ts.hour = static_cast<std::uint16_t>(civil.cs.hour());
  ts.minute = static_cast<std::uint16_t>(civil.cs.minute());
  ts.second = static_cast<std::uint16_t>(civil.cs.second());
  ts.fraction = static_cast<std::uint32_t>(absl::ToInt64Microseconds(civil.subsecond));
  return ts;
}
#endif

void register_parsing(const Model& model, const Set<ZVRTTS>& records) {
  constexpr Operation parsing{"wide text to timestamp, by model", 0.45};
  const auto field = std::make_shared<ModelField>(model.text);
  const WideTexts texts = wide_texts(records, *field);
  std::vector<Contender> contenders = {
      contender("ours", texts,
                [field](const wchar_t* text, std::byte* out) {
                  return call<ZVRTCnvDateTimeWSzToZVRTTS, 1>(text, out, field->get());
                }),
      contender("narrowed, strptime", texts, [&model](const wchar_t* text, std::byte* out) {
        return stored(read_strptime(model, Narrowed(text).begin()), out);
      })};
#if ZVRT_BENCH_WITH_ABSEIL
  contenders.push_back(contender("narrowed, Abseil", texts, [&model](const wchar_t* text, std::byte* out) {
    return stored(read_abseil(model, text), out);
  }));
#endif
  compete(parsing, model.name, std::move(contenders));
  const NarrowTexts narrow_texts = packed(*rendered(texts, narrowed));
  compete({"narrow text to timestamp, by model", 0.5}, model.name,
          {contender("ours", narrow_texts,
                     [field](const char* text, std::byte* out) {
                       return call<ZVRTCnvDateTimeSzToZVRTTS, 1>(text, out, field->get());
                     }),
           contender("strptime", narrow_texts,
                     [&model](const char* text, std::byte* out) { return stored(read_strptime(model, text), out); })});
}

// ---- models to tokens ----------------------------------------------------------------------------------------------

// What each contender compiles a model to is its own: compared is whether it takes it.
std::string accepted(const std::byte* written, std::size_t bytes) {
  return bytes == 1 && *written == std::byte{1} ? "accepted" : "refused";
}

#if ZVRT_BENCH_WITH_ABSEIL
// Formats of as many elements, compiled at run time.
bool compile_abseil(std::size_t model) {
  switch (model) {
    case 0:
      return absl::ParsedFormat<'d', 'd', 'd', 'd', 'd', 'd', 'd'>::New("%04d-%02d-%02d %02d:%02d:%02d.%06d") !=
             nullptr;
    case 1: return absl::ParsedFormat<'d', 'd', 'd', 'd', 'd', 'd'>::New("%04d-%02d-%02d %02d:%02d:%02d") != nullptr;
    case 2: return absl::ParsedFormat<'d', 's', 'd'>::New("%02d-%s-%04d") != nullptr;
    default:
      return absl::ParsedFormat<'s', 'd', 'd', 'd', 'd', 'd', 's'>::New("%s %02d, %04d %02d:%02d:%02d %s") != nullptr;
  }
}
#endif

void register_tokenising() {
  constexpr Operation tokenising{"tokenising a model", 0.3};
  const auto numbers = drawn([](Random& random) { return static_cast<std::size_t>(random() % std::size(models)); });
  const auto codes = std::make_shared<std::array<FmtCode, 64>>();
  std::vector<Contender> contenders = {contender(
      "ours", numbers,
      [codes](std::size_t model, std::byte* out) {
        DtKind kind = 0;
        const bool taken = ZVRTGetFormatCodes(models[model].text, codes->data(), &kind) == ZVRT_RC_OK;
        return stored(taken, out);
      },
      accepted)};
#if ZVRT_BENCH_WITH_ABSEIL
  contenders.push_back(contender(
      "Abseil", numbers, [](std::size_t model, std::byte* out) { return stored(compile_abseil(model), out); },
      accepted));
#endif
  compete(tokenising, "four models by turns", std::move(contenders));
}

}  // namespace

void register_timestamps() {
  const auto moments = drawn(moment);
  for (const Model& model : models) {
    register_formatting(model, moments);
    register_parsing(model, moments);
  }
  register_fixed_layout(moments);
  register_tokenising();
}

}  // namespace zvrt_bench
