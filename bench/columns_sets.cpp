// The columns that are converted, and the functions for single values that do the same.
#include <array>
#include <cwchar>

#include "columns_values.h"

namespace zvrt_bench {
namespace {

constexpr std::int64_t unit = sizeof(wchar_t);
constexpr std::int32_t text_bytes = 32;         // a narrow slot for any of the numbers
constexpr std::int32_t wide_bytes = 32 * unit;  // a wide one
constexpr std::int64_t record_bytes = 40;

const FldDef* field_37() {
  static const FldDef field = [] {
    FldDef page{};
    page.codePage = 37;
    return page;
  }();
  return &field;
}

// The functions read a model as codes, which live as long as the program.
const FldDef* iso_field() {
  static std::array<FmtCode, 64> codes{};
  static DtFormatDesc format{};
  static const FldDef field = [] {
    DtKind kind = 0;
    ZVRTGetFormatCodes(iso_model, codes.data(), &kind);
    format.model = codes.data();
    format.modelLen = static_cast<std::int32_t>(std::wcslen(iso_model));
    FldDef by_model{};
    by_model.dtFormat = &format;
    return by_model;
  }();
  return &field;
}

// ---- values --------------------------------------------------------------------------------------------------------

// Fields of so many bytes, of any count of digits, in records.
Column packed_column(std::int32_t bytes) {
  return drawn_column(bytes, record_bytes, false, [bytes](Random& random, std::byte* at) -> std::int64_t {
    std::memset(at, 0, static_cast<std::size_t>(bytes));
    const std::int64_t count = uniform(random, 1, 2 * bytes - 1);
    at[bytes - 1] = random() % 4 == 0 ? std::byte{0xD} : std::byte{0xC};
    for (std::int64_t k = 0; k < count; ++k) {
      const std::int64_t nibble = 2 * bytes - 2 - k;
      const std::uint64_t digit = k + 1 == count ? 1 + random() % 9 : random() % 10;
      at[nibble / 2] |= static_cast<std::byte>(nibble % 2 == 0 ? digit << 4 : digit);
    }
    return bytes;
  });
}

Column integer_column() { return column_of<std::int64_t>(of_any_digit_count<std::int64_t>); }

// Words, cut or filled with blanks to 16 bytes of the page whose letters `encode` gives.
template <class Encode>
Column word_column(Encode encode) {
  const NarrowTexts texts = texts_of_bytes(Script::ascii, 12);
  return drawn_column(16, 16, false, [texts, encode](Random& random, std::byte* at) -> std::int64_t {
    const char* text = (*texts)[random() % texts->size()];
    for (std::size_t k = 0; k < 16; ++k) {
      at[k] = static_cast<std::byte>(encode(*text == '\0' ? ' ' : *text));
      text += *text == '\0' ? 0 : 1;
    }
    return 16;
  });
}

char in_page_37(char ascii) {
  const std::array<char, 2> text = {ascii, '\0'};
  std::array<wchar_t, 2> wide{};
  std::array<char, 2> coded{};
  convert_one<ZVRTCnvVarcharSzToWVarcharSz, 1>(text.data(), wide.data(), sizeof wide);
  convert_one<ZVRTCnvWVarcharSzToVarcharSz, 1>(wide.data(), coded.data(), sizeof coded, field_37());
  return coded[0];
}

Column page_column() {
  std::array<char, 128> codes{};
  for (int c = 1; c < 128; ++c) codes[static_cast<std::size_t>(c)] = in_page_37(static_cast<char>(c));
  return word_column([codes](char c) { return codes[static_cast<unsigned char>(c)]; });
}

// Terminated texts of about so many bytes.
Column text_column(Script script, std::size_t bytes, std::int64_t slot) {
  const NarrowTexts texts = texts_of_bytes(script, bytes);
  return drawn_column(slot, slot, false, [texts](Random& random, std::byte* at) -> std::int64_t {
    const char* const text = (*texts)[random() % texts->size()];
    std::memcpy(at, text, std::strlen(text) + 1);
    return 0;
  });
}
Column wide_column(Script script, std::size_t characters, std::int64_t slot) {
  const WideTexts texts = texts_of_characters(script, characters);
  return drawn_column(slot, slot, false, [texts](Random& random, std::byte* at) -> std::int64_t {
    const wchar_t* const text = (*texts)[random() % texts->size()];
    std::memcpy(at, text, (std::wcslen(text) + 1) * sizeof(wchar_t));
    return 0;
  });
}

Column moment_column() {
  return column_of<ZVRTTS>([](Random& random) {
    ZVRTTS ts{};
    ts.year = static_cast<std::int16_t>(uniform(random, 1, 9999));
    ts.month = static_cast<std::uint16_t>(uniform(random, 1, 12));
    ts.day = static_cast<std::uint16_t>(uniform(random, 1, 28));
    ts.hour = static_cast<std::uint16_t>(uniform(random, 0, 23));
    ts.minute = static_cast<std::uint16_t>(uniform(random, 0, 59));
    ts.second = static_cast<std::uint16_t>(uniform(random, 0, 59));
    ts.fraction = static_cast<std::uint32_t>(uniform(random, 0, 999'999));
    return ts;
  });
}

// ---- loops ---------------------------------------------------------------------------------------------------------

template <auto conversion, std::int64_t length_unit>
Loop one_call(std::int32_t slot, const FldDef* field = nullptr, std::int32_t bytes = 0) {
  return each_value([=](const std::byte* value, std::int64_t, std::byte* at) {
    return convert_one<conversion, length_unit>(value, at, slot, field, bytes);
  });
}
// Into a value of one size.
template <auto conversion>
Loop one_call_into(std::int32_t slot, const FldDef* field = nullptr, std::int32_t bytes = 0) {
  return each_value([=](const std::byte* value, std::int64_t, std::byte* at) -> std::int64_t {
    convert_one<conversion, 1>(value, at, slot, field, bytes);
    return slot;
  });
}
// By wide text; `second_unit` 0: into a value of one size.
template <auto first, auto second, std::int64_t second_unit>
Loop two_calls(std::int32_t slot, std::int32_t bytes = 0, const FldDef* from = nullptr, const FldDef* to = nullptr) {
  return each_value([=](const std::byte* value, std::int64_t, std::byte* at) -> std::int64_t {
    std::array<wchar_t, 64> text;
    convert_one<first, 1>(value, text.data(), sizeof text, from, bytes);
    const std::int64_t length = convert_one<second, second_unit>(text.data(), at, slot, to);
    return second_unit == 0 ? slot : length;
  });
}

constexpr auto packed_to_wide = ZVRTCnvDecPackedToWVarcharSz;
constexpr auto wide_to_packed = ZVRTCnvWVarcharSzToDecPacked;
constexpr auto integer_to_wide = ZVRTCnvLongLongToWVarcharSz;
constexpr auto wide_to_integer = ZVRTCnvWVarcharSzToLongLong;
constexpr auto page_to_wide = ZVRTCnvCharToWVarcharSz;
constexpr auto wide_to_narrow = ZVRTCnvWVarcharSzToVarcharSz;
constexpr auto narrow_to_wide = ZVRTCnvVarcharSzToWVarcharSz;

const ZVRTType wide_text = type(ZVRT_KIND_WVARCHAR_SZ, wide_bytes);
const ZVRTType narrow_text = type(ZVRT_KIND_VARCHAR_SZ, text_bytes);
const ZVRTType integer = type(ZVRT_KIND_INT, 8);
const ZVRTType binary_double = type(ZVRT_KIND_FLOAT, 8);
const ZVRTType timestamp = type(ZVRT_KIND_TIMESTAMP, timestamp_bytes);

std::string of_bytes(std::int32_t bytes) { return std::to_string(bytes) + " bytes"; }

void add_packed(std::vector<Comparison>& sets) {
  for (const std::int32_t bytes : {5, 8}) {
    const ZVRTType field = type(ZVRT_KIND_PACKED, bytes);
    sets.push_back({"packed to int64", of_bytes(bytes) + ", in records", 25, field, integer, 0, packed_column(bytes),
                    two_calls<packed_to_wide, wide_to_integer, 0>(8, bytes)});
    sets.push_back({"packed to wide", of_bytes(bytes) + ", in records", 2.5, field, wide_text, 0, packed_column(bytes),
                    one_call<packed_to_wide, unit>(wide_bytes, nullptr, bytes)});
  }
}

void add_pages(std::vector<Comparison>& sets) {
  const ZVRTType field = page37(ZVRT_KIND_CHAR, 16);
  sets.push_back({"page 37 to UTF-8", "16 bytes", 8, field, narrow_text, 0, page_column(),
                  two_calls<page_to_wide, wide_to_narrow, 1>(text_bytes, 16, field_37())});
  sets.push_back({"page 37 to wide", "16 bytes", 7, field, wide_text, 0, page_column(),
                  one_call<page_to_wide, unit>(wide_bytes, field_37(), 16)});
  sets.push_back(
      {"UTF-8 to page 37, padded", "8 bytes", 40, narrow_text, page37(ZVRT_KIND_CHAR, 16, ZVRT_TYPE_PAD), 0,
       text_column(Script::ascii, 8, text_bytes), each_value([](const std::byte* value, std::int64_t, std::byte* at) {
         std::array<wchar_t, 64> text;
         convert_one<narrow_to_wide, 1>(value, text.data(), sizeof text);
         const std::int64_t length = convert_one<ZVRTCnvWVarcharSzToChar, 1>(text.data(), at, 16, field_37());
         return length;
       }),
       false});
}

void add_timestamps(std::vector<Comparison>& sets) {
  const Column moments = moment_column();
  const Loop to_wide = one_call<ZVRTCnvZVRTTSToWVarcharSz, unit>(wide_bytes, iso_field());
  const Loop to_narrow = one_call<ZVRTCnvZVRTTSToVarcharSz, 1>(text_bytes, iso_field());
  sets.push_back({"timestamp to wide", "ISO", 2.8, timestamp, with_model(wide_text, iso_model), 0, moments, to_wide});
  sets.push_back(
      {"timestamp to UTF-8", "ISO", 2.8, timestamp, with_model(narrow_text, iso_model), 0, moments, to_narrow});
  sets.push_back({"wide to timestamp", "ISO", 2.8, with_model(wide_text, iso_model), timestamp, 0,
                  converted(moments, to_wide, wide_bytes),
                  one_call_into<ZVRTCnvDateTimeWSzToZVRTTS>(timestamp_bytes, iso_field())});
  sets.push_back({"UTF-8 to timestamp", "ISO", 2.8, with_model(narrow_text, iso_model), timestamp, 0,
                  converted(moments, to_narrow, text_bytes),
                  one_call_into<ZVRTCnvDateTimeSzToZVRTTS>(timestamp_bytes, iso_field())});
}

void add_numbers(std::vector<Comparison>& sets) {
  const Loop to_wide = one_call<integer_to_wide, unit>(wide_bytes);
  sets.push_back({"int64 to wide", "any count of digits", 1, integer, wide_text, 0, integer_column(), to_wide});
  sets.push_back({"wide to int64", "any count of digits", 1, wide_text, integer, 0,
                  converted(integer_column(), to_wide, wide_bytes), one_call_into<wide_to_integer>(8)});
  const Column prices = column_of<double>(price);
  const Loop double_to_wide = one_call<ZVRTCnvDblToWVarcharSz, unit>(wide_bytes);
  sets.push_back({"double to wide", "prices, shortest", 1, binary_double, wide_text, 0, prices, double_to_wide, false});
  sets.push_back({"double to wide", "prices, 17 digits", 1, binary_double, wide_text, ZVRT_PLAN_SINGLE_FORM, prices,
                  double_to_wide});
  sets.push_back({"double to wide", "any bits, shortest", 1, binary_double, wide_text, 0,
                  column_of<double>(double_bits), double_to_wide, false});
  sets.push_back({"wide to double", "prices, 17 digits", 1, wide_text, binary_double, 0,
                  converted(prices, double_to_wide, wide_bytes), one_call_into<ZVRTCnvWVarcharSzToDbl>(8)});
  const Column short_prices = drawn_column(wide_bytes, wide_bytes, false, [](Random& random, std::byte* at) {
    std::array<wchar_t, 24> text{};
    std::swprintf(text.data(), text.size(), L"%.2f", price(random));
    std::memcpy(at, text.data(), sizeof text);
    return std::int64_t{0};
  });
  sets.push_back({"wide to double", "prices", 1, wide_text, binary_double, 0, short_prices,
                  one_call_into<ZVRTCnvWVarcharSzToDbl>(8)});
}

void add_texts(std::vector<Comparison>& sets) {
  for (const Script script : {Script::ascii, Script::french, Script::russian}) {
    for (const std::size_t bytes : {8U, 32U}) {
      const std::string values = name_of(script) + std::string(", ") + std::to_string(bytes);
      const Column narrow = text_column(script, bytes, 2 * static_cast<std::int64_t>(bytes));
      const Column wide = wide_column(script, bytes, 2 * static_cast<std::int64_t>(bytes * sizeof(wchar_t)));
      const auto slot = static_cast<std::int32_t>(2 * bytes);
      const ZVRTType from = type(ZVRT_KIND_VARCHAR_SZ, slot);
      const ZVRTType into = type(ZVRT_KIND_WVARCHAR_SZ, slot * unit);
      const ZVRTType encoded = type(ZVRT_KIND_VARCHAR_SZ, 2 * slot);
      sets.push_back({"UTF-8 to wide", values, 1, from, into, 0, narrow, one_call<narrow_to_wide, unit>(slot * unit)});
      sets.push_back({"wide to UTF-8", values, 1, into, encoded, 0, wide, one_call<wide_to_narrow, 1>(2 * slot)});
    }
  }
  const Column wide = wide_column(Script::ascii, 16, wide_bytes);
  sets.push_back({"wide to page 37", "16 characters", 1, wide_text, page37(ZVRT_KIND_VARCHAR_SZ, text_bytes), 0, wide,
                  one_call<wide_to_narrow, 1>(text_bytes, field_37())});
}

}  // namespace

std::vector<Comparison> hot_sets() {
  std::vector<Comparison> sets;
  add_packed(sets);
  add_pages(sets);
  add_timestamps(sets);
  add_numbers(sets);
  add_texts(sets);
  return sets;
}

// Pairs that take two calls by way of wide text.
std::vector<Comparison> block_sets() {
  constexpr double of_two = 1.8;
  std::vector<Comparison> sets;
  const ZVRTType packed_field = type(ZVRT_KIND_PACKED, 8);
  sets.push_back({"int64 to packed", "any count of digits", of_two, integer, type(ZVRT_KIND_PACKED, 10), 0,
                  integer_column(), two_calls<integer_to_wide, wide_to_packed, 0>(10)});
  sets.push_back({"packed to UTF-8", "8 bytes", 1, packed_field, narrow_text, 0, packed_column(8),
                  one_call<ZVRTCnvDecPackedToVarcharSz, 1>(text_bytes, nullptr, 8)});
  sets.push_back({"packed to double", "8 bytes", of_two, packed_field, binary_double, 0, packed_column(8),
                  two_calls<packed_to_wide, ZVRTCnvWVarcharSzToDbl, 0>(8, 8)});
  sets.push_back({"wide to packed", "any count of digits", 1, wide_text, type(ZVRT_KIND_PACKED, 10), 0,
                  converted(integer_column(), one_call<integer_to_wide, unit>(wide_bytes), wide_bytes),
                  one_call_into<wide_to_packed>(10)});
  sets.push_back({"int64 to double", "any count of digits", of_two, integer, binary_double, 0, integer_column(),
                  two_calls<integer_to_wide, ZVRTCnvWVarcharSzToDbl, 0>(8)});
  sets.push_back({"double to int64", "whole numbers", of_two, binary_double, integer, 0,
                  column_of<double>(whole_number), two_calls<ZVRTCnvDblToWVarcharSz, wide_to_integer, 0>(8), false});
  sets.push_back({"int64 to UTF-8", "any count of digits", of_two, integer, narrow_text, 0, integer_column(),
                  two_calls<integer_to_wide, wide_to_narrow, 1>(text_bytes)});
  sets.push_back({"UTF-8 to int64", "any count of digits", of_two, narrow_text, integer, 0,
                  converted(integer_column(), two_calls<integer_to_wide, wide_to_narrow, 1>(text_bytes), text_bytes),
                  two_calls<narrow_to_wide, wide_to_integer, 0>(8)});
  sets.push_back(
      {"page 37 to int64", "any count of digits", of_two, page37(ZVRT_KIND_VARCHAR_SZ, text_bytes), integer, 0,
       converted(integer_column(), two_calls<integer_to_wide, wide_to_narrow, 1>(text_bytes, 0, nullptr, field_37()),
                 text_bytes),
       two_calls<narrow_to_wide, wide_to_integer, 0>(8, 0, field_37())});
  return sets;
}

}  // namespace zvrt_bench
