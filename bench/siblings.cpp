// The functions that no other family times, each beside a sibling of its own that does the same work on the same values,
// or beside what the C library has for it. No figure is set: a ratio that stands out is what this is for.
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "harness.h"
#include "inputs.h"
#include "peers.h"

namespace zvrt_bench {
namespace {

// Registered by the names of the two. What a function writes in a form of its own, `canonical` renders as the sibling's.
template <class Values, class Ours, class Others, class Theirs, class Canonical = AsWritten>
void beside(const char* variant, const Values& values, Ours ours, const char* name, const Others& others, Theirs theirs,
            Canonical canonical = {}) {
  compete({"beside a sibling", 0}, variant,
          {contender("ours", values, ours, canonical), contender(name, others, theirs)});
}

// ---- the kinds of text ---------------------------------------------------------------------------------------------

// A conversion of one kind of text to another; `unit` is the out-length's.
template <auto conversion, std::size_t unit>
constexpr auto by = [](const auto* text, std::byte* out) { return call<conversion, unit>(text, out); };

// The same from text after its length, and from text of a given length.
template <auto conversion, std::size_t unit>
constexpr auto from_prefixed =
    [](const std::string& value, std::byte* out) { return call<conversion, unit>(value.data(), out); };
template <auto conversion, std::size_t unit>
constexpr auto from_counted = [](const std::string& value, std::byte* out, const FldDef* field = nullptr) {
  auto bytes = static_cast<std::int32_t>(value.size());
  std::uint32_t length = 0;
  conversion(value.data(), &bytes, out, static_cast<std::int32_t>(output_size), &length, field);
  return length * unit;
};

// A counted destination's text without the length that precedes it.
std::string without_prefix(const std::byte* written, std::size_t bytes) {
  return {reinterpret_cast<const char*>(written) + 2, bytes - 2};
}

template <class Char>
Set<std::string> counted(const Set<const Char*>& texts) {
  return rendered(texts, [](const Char* text) {
    return std::string(reinterpret_cast<const char*>(text), std::char_traits<Char>::length(text) * sizeof(Char));
  });
}
Set<std::string> prefixed(const Set<std::string>& texts) {
  return rendered(texts, [](const std::string& text) {
    const auto bytes = static_cast<std::uint16_t>(text.size());
    return std::string(reinterpret_cast<const char*>(&bytes), sizeof bytes) + text;
  });
}

void register_kinds() {
  const NarrowTexts narrows = texts_of_bytes(Script::french, 32);
  const WideTexts wides = texts_of_characters(Script::french, 32);
  const auto* const copy = "ours, VarcharSz to VarcharSz";
  const auto* const wide_copy = "ours, WVarcharSz to WVarcharSz";
  const auto* const decoding = "ours, VarcharSz to WVarcharSz";
  const auto* const encoding = "ours, WVarcharSz to VarcharSz";
  constexpr auto copied = by<ZVRTCnvVarcharSzToVarcharSz, 1>;
  constexpr auto wide_copied = by<ZVRTCnvWVarcharSzToWVarcharSz, 4>;
  constexpr auto decoded = by<ZVRTCnvVarcharSzToWVarcharSz, 4>;
  constexpr auto encoded = by<ZVRTCnvWVarcharSzToVarcharSz, 1>;
  beside("Varchar to VarcharSz", prefixed(counted(narrows)), from_prefixed<ZVRTCnvVarcharToVarcharSz, 1>, copy, narrows,
         copied);
  beside("VarcharSz to Char", narrows, by<ZVRTCnvVarcharSzToChar, 1>, copy, narrows, copied);
  beside("WVarchar to WVarcharSz", prefixed(counted(wides)), from_prefixed<ZVRTCnvWVarcharToWVarcharSz, 4>, wide_copy,
         wides, wide_copied);
  beside("WVarcharSz to WChar", wides, by<ZVRTCnvWVarcharSzToWChar, 1>, wide_copy, wides, wide_copied);
  beside("VarcharSz to WChar", narrows, by<ZVRTCnvVarcharSzToWChar, 1>, decoding, narrows, decoded);
  beside("VarcharSz to WVarchar", narrows, by<ZVRTCnvVarcharSzToWVarchar, 1>, decoding, narrows, decoded,
         without_prefix);
  beside("WVarcharSz to Char", wides, by<ZVRTCnvWVarcharSzToChar, 1>, encoding, wides, encoded);
  beside("WVarcharSz to Varchar", wides, by<ZVRTCnvWVarcharSzToVarchar, 1>, encoding, wides, encoded, without_prefix);
}

// Code point by code point, as a program's own loop would call them.
void register_characters() {
  const NarrowTexts narrows = texts_of_bytes(Script::french, 32);
  const WideTexts wides = texts_of_characters(Script::french, 32);
  beside(
      "ConvertFrom8 in a loop", counted(narrows),
      [](const std::string& text, std::byte* out) {
        const char* at = text.data();
        const char* const end = at + text.size();
        std::uint32_t* point = reinterpret_cast<std::uint32_t*>(out);
        std::uint32_t status = 0;
        for (std::uint32_t used = 0; at < end; ++point)
          ConvertFrom8(point, &at, static_cast<std::int32_t>(end - at), &status, &used);
        return static_cast<std::size_t>(reinterpret_cast<std::byte*>(point) - out);
      },
      "ours, VarcharSz to WVarcharSz", narrows, by<ZVRTCnvVarcharSzToWVarcharSz, 4>);
  beside(
      "ConvertTo8 in a loop", wides,
      [](const wchar_t* text, std::byte* out) {
        char* at = narrow(out);
        std::uint32_t status = 0;
        std::uint32_t needed = 0;
        for (; *text != L'\0'; ++text) ConvertTo8(&at, 4, static_cast<std::uint32_t>(*text), &status, &needed);
        return static_cast<std::size_t>(needed);
      },
      "ours, WVarcharSz to VarcharSz", wides, by<ZVRTCnvWVarcharSzToVarcharSz, 1>);
}

void register_bridges() {
  ZVRTInitDataConversion();
  static const FldDef page = [] {
    FldDef field{};
    field.codePage = 1252;
    return field;
  }();
  const WideTexts wides = texts_of_characters(Script::french, 32);
  const auto narrows = rendered(counted(wides), [](const std::string& text) {
    std::array<std::byte, 512> bytes;
    std::uint32_t length = 0;
    ZVRT_WideCharToMultiByte(&page, text.data(), static_cast<std::int32_t>(text.size()), bytes.data(), bytes.size(),
                             &length);
    return std::string(reinterpret_cast<const char*>(bytes.data()), length);
  });
  constexpr auto room = static_cast<std::int32_t>(output_size);
  beside(
      "ZVRT_MultiByteToWideChar, 1252", narrows,
      [](const std::string& text, std::byte* out) {
        std::uint32_t length = 0;
        ZVRT_MultiByteToWideChar(&page, text.data(), static_cast<std::int32_t>(text.size()), out, room, &length);
        return length * sizeof(wchar_t);
      },
      "ours, Char to WVarcharSz", narrows,
      [](const std::string& text, std::byte* out) {
        return from_counted<ZVRTCnvCharToWVarcharSz, 4>(text, out, &page);
      });
  beside(
      "ZVRT_WideCharToMultiByte, 1252", counted(wides),
      [](const std::string& text, std::byte* out) {
        std::uint32_t length = 0;
        ZVRT_WideCharToMultiByte(&page, text.data(), static_cast<std::int32_t>(text.size()), out, room, &length);
        return static_cast<std::size_t>(length);
      },
      "ours, WChar to VarcharSz", counted(wides),
      [](const std::string& text, std::byte* out) {
        return from_counted<ZVRTCnvWCharToVarcharSz, 1>(text, out, &page);
      });
}

// Blanks at both ends of narrow text; copied first, as trimming changes it.
void register_narrow_trims() {
  const auto texts = drawn([](Random& random) {
    const auto blanks = [&random] { return std::string(static_cast<std::size_t>(uniform(random, 0, 6)), ' '); };
    return blanks() + digits(random, uniform(random, 8, 24)) + blanks();
  });
  const auto copied = [](const std::string& text, std::byte* out) {
    std::memcpy(out, text.c_str(), text.size() + 1);
    return static_cast<std::int32_t>(text.size());
  };
  const auto by_bytes = [copied](const std::string& text, std::byte* out) {
    std::int32_t length = copied(text, out);
    TrimSpacesA(narrow(out), &length, 1, 1);
    return static_cast<std::size_t>(length);
  };
  beside("TrimSpacesA", texts, by_bytes, "loops, memmove", texts, [copied](const std::string& text, std::byte* out) {
    std::int32_t count = copied(text, out);
    char* const at = narrow(out);
    std::int32_t first = 0;
    while (first < count && at[first] == ' ') ++first;
    while (count > first && at[count - 1] == ' ') --count;
    const auto kept = static_cast<std::size_t>(count - first);
    std::memmove(at, at + first, kept);
    return terminated(at, kept);
  });
  beside(
      "TrimSpaces in UTF-8", texts,
      [copied](const std::string& text, std::byte* out) {
        std::int32_t length = copied(text, out);
        TrimSpaces(narrow(out), &length, 1, 1, 1208, '2');
        return static_cast<std::size_t>(length);
      },
      "ours, TrimSpacesA", texts, by_bytes);
}

// ---- numbers -------------------------------------------------------------------------------------------------------

std::size_t to_chars(std::int32_t value, std::byte* out) {
  char* const end = std::to_chars(narrow(out), narrow(out) + 16, value).ptr;
  return terminated(narrow(out), static_cast<std::size_t>(end - narrow(out)));
}

void register_integers_by_value() {
  const auto values = drawn(of_any_digit_count<std::int32_t>);
  const auto* const to_wide = "ours, int32 to WVarcharSz";
  constexpr auto wide_text = [](const std::int32_t& value, std::byte* out) {
    return call<ZVRTCnvIntToWVarcharSz1, 4>(&value, out);
  };
  beside(
      "ZVRTCnvIntToWVarcharSz", values,
      [](std::int32_t value, std::byte* out) {
        std::uint32_t length = 0;
        ZVRTCnvIntToWVarcharSz(value, wide(out), &length);
        return length * sizeof(wchar_t);
      },
      to_wide, values, wide_text);
  beside(
      "ZVRTCnvIntToUni", values,
      [](std::int32_t value, std::byte* out) {
        std::uint32_t length = 0;
        ZVRTCnvIntToUni(wide(out), 64, "%d", value, &length);
        return length * sizeof(wchar_t);
      },
      "swprintf", values,
      [](std::int32_t value, std::byte* out) {
        return static_cast<std::size_t>(std::swprintf(wide(out), 16, L"%d", value)) * sizeof(wchar_t);
      });
  beside(
      "ZVRTCnvIntToVarcharSz", values,
      [](std::int32_t value, std::byte* out) {
        std::int32_t length = 16;
        ZVRTCnvIntToVarcharSz(value, narrow(out), &length, 0, '\0');
        return static_cast<std::size_t>(length);
      },
      "to_chars", values, to_chars);
}

void register_integers_in_records() {
  const auto values = drawn(of_any_digit_count<std::int32_t>);
  const WideTexts wides = packed(*rendered(values, [](std::int32_t value) { return std::to_wstring(value); }));
  const auto fields = rendered(values, [](std::int32_t value) { return std::to_string(value); });
  const auto positive = rendered(values, [](std::int32_t value) { return std::to_string(std::abs(value)); });
  const auto* const from_wide = "ours, WVarcharSz to int32";
  constexpr auto read = by<ZVRTCnvWVarcharSzToInt1, 1>;
  constexpr std::int32_t most = 11;
  beside(
      "ZVRTCnvWVarcharSzToInt", wides,
      [](const wchar_t* text, std::byte* out) {
        std::int32_t value = 0;
        ZVRTCnvWVarcharSzToInt(text, &value, 0, most);
        return stored(value, out);
      },
      from_wide, wides, read);
  beside(
      "ZVRTCnvWVarcharSzToInt2", wides,
      [](const wchar_t* text, std::byte* out) {
        std::int32_t value = 0;
        std::int32_t end = 0;
        ZVRTCnvWVarcharSzToInt2(text, &end, &value, 0, most);
        return stored(value, out);
      },
      from_wide, wides, read);
  const auto by_from_chars = [](const std::string& text, std::byte* out) {
    std::int32_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return stored(value, out);
  };
  beside(
      "ZVRTCnvVarcharSzToInt", fields,
      [](const std::string& text, std::byte* out) {
        std::int32_t value = 0;
        ZVRTCnvVarcharSzToInt(text.data(), &value, 0, static_cast<std::int32_t>(text.size()), 0, '\0');
        return stored(value, out);
      },
      "from_chars", fields, by_from_chars);
  beside(
      "ZVRTCnvCharToInt", positive,
      [](const std::string& text, std::byte* out) {
        std::uint32_t value = 0;
        ZVRTCnvCharToInt(text.data(), static_cast<std::int32_t>(text.size()), &value);
        return stored(value, out);
      },
      "from_chars", positive, by_from_chars);
}

void register_other_numbers() {
  const auto prices = drawn(price);
  beside(
      "FloatToString, 16 digits", prices,
      [](double value, std::byte* out) {
        FloatToString(wide(out), 32, 16, value);
        return std::wcslen(wide(out)) * sizeof(wchar_t);
      },
      "ours, double to WVarcharSz", prices,
      [](const double& value, std::byte* out) { return call<ZVRTCnvDblToWVarcharSz, 4>(&value, out); });
  const auto texts = drawn([](Random& random) { return digits(random, 2 * uniform(random, 1, 9)); });
  const auto pairs = rendered(texts, [](const std::string& text) {
    std::string number;
    for (std::size_t i = 0; i < text.size(); i += 2)
      number += static_cast<char>((text[i] - '0') * 10 + text[i + 1] - '0');
    return number;
  });
  beside(
      "ConvertBCDToOraVarNum", pairs,
      [](const std::string& number, std::byte* out) {
        // Callers may not rely on it, but the digits stay as they are: no copy is timed.
        auto* pairs_of_digits = reinterpret_cast<std::uint8_t*>(const_cast<char*>(number.data()));
        auto* varnum = reinterpret_cast<std::uint8_t*>(out);
        ConvertBCDToOraVarNum(varnum, pairs_of_digits, static_cast<std::int16_t>(number.size()), 0, '+');
        return std::size_t{1} + varnum[0];
      },
      "ours, VarcharSz to VARNUM", texts,
      [](const std::string& text, std::byte* out) {
        call<ZVRTCnvVarcharSz_UnsignedToOraVarnum, 1>(text.c_str(), out);
        return std::size_t{1} + static_cast<std::size_t>(*out);
      });
}

}  // namespace

void register_siblings() {
  register_kinds();
  register_characters();
  register_bridges();
  register_narrow_trims();
  register_integers_by_value();
  register_integers_in_records();
  register_other_numbers();
  register_date_siblings();
}

}  // namespace zvrt_bench
