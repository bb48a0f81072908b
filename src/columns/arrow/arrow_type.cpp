#include "columns/arrow/arrow_type.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace zvrt::arrow {
namespace {

struct Fixed {
  std::string_view format;
  ArrowType type;
};

constexpr Fixed formats[] = {
    {"n", {.storage = Storage::none}},
    {"b", {.storage = Storage::bits}},
    {"c", {.storage = Storage::signed_integer, .width = 1}},
    {"s", {.storage = Storage::signed_integer, .width = 2}},
    {"i", {.storage = Storage::signed_integer, .width = 4}},
    {"l", {.storage = Storage::signed_integer, .width = 8}},
    {"C", {.storage = Storage::unsigned_integer, .width = 1}},
    {"S", {.storage = Storage::unsigned_integer, .width = 2}},
    {"I", {.storage = Storage::unsigned_integer, .width = 4}},
    {"L", {.storage = Storage::unsigned_integer, .width = 8}},
    {"f", {.storage = Storage::binary_float, .width = 4}},
    {"g", {.storage = Storage::binary_float, .width = 8}},
    {"u", {.storage = Storage::text32}},
    {"U", {.storage = Storage::text64}},
    {"vu", {.storage = Storage::text_views, .width = 16}},
    {"z", {.storage = Storage::binary32}},
    {"Z", {.storage = Storage::binary64}},
    {"vz", {.storage = Storage::binary_views, .width = 16}},
    {"tdD", {.storage = Storage::days, .width = 4}},
    {"tdm", {.storage = Storage::date_millis, .width = 8}},
    {"tts", {.storage = Storage::time_of_day, .width = 4, .units = 1}},
    {"ttm", {.storage = Storage::time_of_day, .width = 4, .units = 1'000}},
    {"ttu", {.storage = Storage::time_of_day, .width = 8, .units = 1'000'000}},
    {"ttn", {.storage = Storage::time_of_day, .width = 8, .units = 1'000'000'000}},
};

// With their colon; the time zone follows.
constexpr Fixed timestamps[] = {
    {"tss:", {.storage = Storage::timestamp, .width = 8, .units = 1}},
    {"tsm:", {.storage = Storage::timestamp, .width = 8, .units = 1'000}},
    {"tsu:", {.storage = Storage::microseconds, .width = 8, .units = 1'000'000}},
    {"tsn:", {.storage = Storage::timestamp, .width = 8, .units = 1'000'000'000}},
};

// A whole number and nothing else.
bool parse_number(std::string_view text, std::int32_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// "precision,scale" or "precision,scale,bits".
bool parse_decimal(std::string_view text, ArrowType& type) {
  struct Size {
    std::int32_t bits;
    std::int32_t max_precision;
    Storage storage;
  };
  static constexpr Size sizes[] = {{32, 9, Storage::signed_integer},
                                   {64, 18, Storage::signed_integer},
                                   {128, 38, Storage::decimal128},
                                   {256, 76, Storage::decimal256}};
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) return false;
  const std::size_t second = text.find(',', comma + 1);
  std::int32_t precision = 0;
  std::int32_t bits = 128;
  if (!parse_number(text.substr(0, comma), precision)) return false;
  if (!parse_number(text.substr(comma + 1, second - comma - 1), type.scale)) return false;
  if (second != std::string_view::npos && !parse_number(text.substr(second + 1), bits)) return false;
  for (const Size& size : sizes) {
    if (size.bits != bits) continue;
    type.storage = size.storage;
    type.width = bits / 8;
    const bool scale_fits = type.scale >= -size.max_precision && type.scale <= size.max_precision;
    return precision >= 1 && precision <= size.max_precision && scale_fits;
  }
  return false;
}

}  // namespace

bool parse_format(const char* format, ArrowType& type) {
  const std::string_view text(format);
  for (const Fixed& fixed : formats) {
    if (text != fixed.format) continue;
    type = fixed.type;
    return true;
  }
  for (const Fixed& fixed : timestamps) {
    if (!text.starts_with(fixed.format)) continue;
    type = fixed.type;
    type.zoned = text.size() > fixed.format.size();
    return true;
  }
  type = {};
  if (text.starts_with("d:")) return parse_decimal(text.substr(2), type);
  if (!text.starts_with("w:")) return false;
  type.storage = Storage::fixed_binary;
  return parse_number(text.substr(2), type.width) && type.width > 0;
}

}  // namespace zvrt::arrow
