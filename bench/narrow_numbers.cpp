// Numbers to and from narrow text in UTF-8.
#include <charconv>
#include <cstring>

#include "harness.h"
#include "inputs.h"
#include "peers.h"
#include "varnums.h"

#if ZVRT_BENCH_WITH_FAST_FLOAT
#include <fast_float/fast_float.h>
#endif
#if ZVRT_BENCH_WITH_JEAIII
#include <jeaiii/jeaiii_to_text.h>
#endif

namespace zvrt_bench {
namespace {

template <auto conversion, class Integer>
void register_rendering(const char* name, double at_most, const char* variant, const Set<Integer>& values) {
  std::vector<Contender> contenders = {
      contender("ours", values, [](const Integer& value, std::byte* out) { return call<conversion, 1>(&value, out); }),
      contender("to_chars", values, [](Integer value, std::byte* out) {
        char* const end = std::to_chars(narrow(out), narrow(out) + 24, value).ptr;
        return terminated(narrow(out), static_cast<std::size_t>(end - narrow(out)));
      })};
#if ZVRT_BENCH_WITH_JEAIII
  contenders.push_back(contender("jeaiii", values, [](Integer value, std::byte* out) {
    char* const end = jeaiii::to_text_from_integer(narrow(out), value);
    return terminated(narrow(out), static_cast<std::size_t>(end - narrow(out)));
  }));
#endif
  compete({name, at_most}, variant, std::move(contenders));
}

// A text and its length, which the peers are given.
struct Text {
  const char* begin;
  const char* end;
};

template <auto conversion, class Integer>
void register_reading(const char* name, double at_most, const char* variant, const Set<Integer>& values) {
  std::vector<std::string> strings;
  for (const Integer value : *values) strings.push_back(std::to_string(value));
  const NarrowTexts terminated_texts = packed(strings);
  const auto texts = rendered(terminated_texts, [](const char* text) { return Text{text, text + std::strlen(text)}; });
  std::vector<Contender> contenders = {contender("ours", terminated_texts,
                                                 [](const char* text, std::byte* out) {
                                                   std::uint32_t size = 0;
                                                   conversion(text, nullptr, out, sizeof(Integer), &size, nullptr);
                                                   return static_cast<std::size_t>(size);
                                                 }),
                                       contender("from_chars", texts, [](const Text& text, std::byte* out) {
                                         Integer value = 0;
                                         std::from_chars(text.begin, text.end, value);
                                         return stored(value, out);
                                       })};
#if ZVRT_BENCH_WITH_FAST_FLOAT
  contenders.push_back(contender("fast_float", texts, [](const Text& text, std::byte* out) {
    Integer value = 0;
    fast_float::from_chars(text.begin, text.end, value);
    return stored(value, out);
  }));
#endif
  compete({name, at_most}, variant, std::move(contenders));
}

template <class Integer, auto render, auto read>
void register_integers_of(const char* to_text, const char* from_text, const char* keys_to_text,
                          const char* keys_from_text) {
  const auto any = drawn(of_any_digit_count<Integer>);
  const auto keys = drawn(key<Integer>, large_set_size);
  register_rendering<render>(to_text, 1.4, "any digit count", any);
  register_rendering<render>(keys_to_text, 1.6, "1 to 6 digits", keys);
  register_reading<read>(from_text, 1.4, "any digit count", any);
  register_reading<read>(keys_from_text, 1.6, "1 to 6 digits", keys);
}

// ---- packed decimal and VARNUM -------------------------------------------------------------------------------------

// A loop over half-bytes, the usual way by hand.
std::size_t render_packed(const std::string& field, std::byte* out) {
  const std::size_t count = 2 * field.size() - 1;
  const auto half = [&field](std::size_t i) {
    const auto byte = static_cast<unsigned char>(field[i / 2]);
    return i % 2 == 0 ? byte >> 4 : byte & 0xF;
  };
  char* to = narrow(out);
  if (half(count) == 0xD) *to++ = '-';
  std::size_t at = 0;
  while (at + 1 < count && half(at) == 0) ++at;
  for (; at < count; ++at) *to++ = static_cast<char>('0' + half(at));
  return terminated(narrow(out), static_cast<std::size_t>(to - narrow(out)));
}

std::size_t pack_text(const char* text, std::size_t bytes, std::byte* out) {
  std::memset(out, 0, bytes);
  const bool negative = *text == '-';
  const char* const first = text + (negative ? 1 : 0);
  auto* byte = reinterpret_cast<unsigned char*>(out) + bytes - 1;
  *byte = negative ? 0xD : 0xC;
  bool high = true;
  for (const char* at = first + std::strlen(first); at > first; high = !high) {
    const auto digit = static_cast<unsigned char>(*--at - '0');
    if (high) {
      *byte = static_cast<unsigned char>(*byte | digit << 4);
    } else {
      *--byte = digit;
    }
  }
  return bytes;
}

void register_packed(std::size_t bytes) {
  const auto draw = [bytes](Random& random) {
    const std::string text = digits(random, uniform(random, 1, static_cast<std::int64_t>(2 * bytes - 1)));
    return random() % 2 == 0 ? text : "-" + text;
  };
  const auto strings = drawn(draw);
  const NarrowTexts texts = packed(*strings);
  const auto fields = rendered(texts, [bytes](const char* text) {
    std::array<std::byte, 32> field;
    pack_text(text, bytes, field.data());
    return std::string(reinterpret_cast<const char*>(field.data()), bytes);
  });
  const std::string variant = std::to_string(bytes) + " bytes";
  compete({"packed decimal to narrow", 0.6}, variant,
          {contender("ours", fields,
                     [](const std::string& field, std::byte* out) {
                       auto length = static_cast<std::int32_t>(field.size());
                       std::uint32_t written = 0;
                       ZVRTCnvDecPackedToVarcharSz(field.data(), &length, out, 64, &written, nullptr);
                       return static_cast<std::size_t>(written);
                     }),
           contender("a loop", fields, render_packed)});
  compete(
      {"narrow to packed decimal", 0.6}, variant,
      {contender("ours", texts,
                 [bytes](const char* text, std::byte* out) {
                   std::uint32_t written = 0;
                   ZVRTCnvVarcharSzToDecPacked(text, nullptr, out, static_cast<std::int32_t>(bytes), &written, nullptr);
                   return static_cast<std::size_t>(written);
                 }),
       contender("a loop", texts, [bytes](const char* text, std::byte* out) { return pack_text(text, bytes, out); })});
}

// ---- VARNUM ----

// The bytes that count of a VARNUM's 22.
std::string used_bytes(const std::byte* written, std::size_t /*bytes*/) {
  return {reinterpret_cast<const char*>(written), std::size_t{1} + static_cast<std::size_t>(*written)};
}

void register_varnum(const char* variant, std::string (*draw)(Random&)) {
  const NarrowTexts texts = packed(*drawn(draw));
  const auto varnums = rendered(texts, encode_in_one_pass<char>);
  compete({"VARNUM to narrow", 0.8}, variant,
          {contender("ours", varnums,
                     [](const Varnum& varnum, std::byte* out) {
                       return call<ZVRTCnvOraVarnumToVarcharSz_Unsigned, 1>(varnum.data(), out);
                     }),
           contender("a loop", varnums, decode_by_loop<char>)});
  compete(
      {"narrow to VARNUM", 0.8}, variant,
      {contender(
           "ours", texts,
           [](const char* text, std::byte* out) { return call<ZVRTCnvVarcharSz_UnsignedToOraVarnum, 1>(text, out); },
           used_bytes),
       contender(
           "one-pass loop", texts,
           [](const char* text, std::byte* out) { return stored(encode_in_one_pass(text), out); }, used_bytes)});
}

}  // namespace

void register_narrow_numbers() {
  register_integers_of<std::uint64_t, ZVRTCnvULONGLONGToVarcharSz, ZVRTCnvVarcharSzToULONGLONG>(
      "64 bits to narrow", "narrow to 64 bits", "64-bit keys to narrow", "narrow to 64-bit keys");
  register_integers_of<std::uint32_t, ZVRTCnvUIntToVarcharSz, ZVRTCnvVarcharSzToUInt>(
      "32 bits to narrow", "narrow to 32 bits", "32-bit keys to narrow", "narrow to 32-bit keys");
  for (const std::size_t bytes : {3, 5, 8, 16}) register_packed(bytes);
  register_varnum("prices",
                  [](Random& random) { return digits(random, uniform(random, 1, 5)) + "." + digits(random, 2); });
  register_varnum("keys to 18 digits", [](Random& random) { return digits(random, uniform(random, 1, 18)); });
  register_varnum("30 to 38 digits", [](Random& random) { return digits(random, uniform(random, 30, 38)); });
}

}  // namespace zvrt_bench
