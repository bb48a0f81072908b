// Packed decimal and VARNUM to wide text and back.
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "harness.h"
#include "inputs.h"
#include "peers.h"
#include "varnums.h"

#if ZVRT_BENCH_WITH_LIBCOB
#include <libcob.h>
#endif
#if ZVRT_BENCH_WITH_PGTYPES
#include <pgtypes.h>
#include <pgtypes_numeric.h>
#endif
#if ZVRT_BENCH_WITH_MPDECIMAL
#include <mpdecimal.h>
#endif

namespace zvrt_bench {
namespace {

// ---- packed decimal ------------------------------------------------------------------------------------------------

template <std::size_t bytes>
using Packed = std::array<unsigned char, bytes>;

template <std::size_t bytes>
constexpr std::size_t most_digits = 2 * bytes - 1;

// A number of any count of digits that the field can hold, every other one negative.
template <std::size_t bytes>
std::string packed_text(Random& random) {
  const std::string number = digits(random, uniform(random, 1, static_cast<std::int64_t>(most_digits<bytes>)));
  return (random() & 1) != 0 ? "-" + number : number;
}

template <std::size_t bytes>
Packed<bytes> pack_by_loop(const wchar_t* text) {
  Packed<bytes> field{};
  const bool negative = *text == L'-';
  if (negative) ++text;
  field[bytes - 1] = negative ? 0x0D : 0x0C;
  std::size_t half = 1;  // halves of bytes from the right, the sign's being the first
  for (const wchar_t* digit = text + std::wcslen(text); digit != text; ++half) {
    const auto value = static_cast<unsigned>(*--digit) & 0x0F;
    field[bytes - 1 - half / 2] |= static_cast<unsigned char>(value << (half % 2 * 4));
  }
  return field;
}

template <std::size_t bytes>
std::size_t unpack_by_loop(const Packed<bytes>& field, std::byte* output) {
  wchar_t* to = wide(output);
  if ((field[bytes - 1] & 0x0F) == 0x0D) *to++ = L'-';
  wchar_t* const first = to;
  for (std::size_t half = 0; half < most_digits<bytes>; ++half) {
    const int digit = field[half / 2] >> (half % 2 == 0 ? 4 : 0) & 0x0F;
    if (digit > 9) return 0;
    if (digit != 0 || to != first) *to++ = L'0' + digit;
  }
  return terminated(wide(output), static_cast<std::size_t>(to - wide(output)));
}

// Two digits of each byte at once, the leading zeros skipped in the whole.
template <std::size_t bytes>
std::size_t unpack_by_table(const Packed<bytes>& field, std::byte* output) {
  using Pair = std::array<wchar_t, 2>;
  static const std::array<Pair, 256> pairs = [] {
    std::array<Pair, 256> all{};
    for (int byte = 0; byte < 256; ++byte)
      all[static_cast<std::size_t>(byte)] = {L'0' + (byte >> 4), L'0' + (byte & 15)};
    return all;
  }();
  std::array<wchar_t, 2 * bytes> area;
  for (std::size_t i = 0; i < bytes; ++i) std::memcpy(&area[2 * i], &pairs[field[i]], sizeof(Pair));
  const wchar_t* first = area.data();
  const wchar_t* const end = area.data() + most_digits<bytes>;
  while (first != end && *first == L'0') ++first;
  wchar_t* to = wide(output);
  if ((field[bytes - 1] & 0x0F) == 0x0D) *to++ = L'-';
  std::memcpy(to, first, static_cast<std::size_t>(end - first) * sizeof(wchar_t));
  return terminated(wide(output), static_cast<std::size_t>(to - wide(output) + (end - first)));
}

#if ZVRT_BENCH_WITH_LIBCOB
template <std::size_t bytes>
constexpr cob_field_attr packed_attributes{COB_TYPE_NUMERIC_PACKED, most_digits<bytes>, 0, COB_FLAG_HAVE_SIGN, nullptr};
template <std::size_t bytes>
constexpr cob_field_attr display_attributes{COB_TYPE_NUMERIC_DISPLAY, most_digits<bytes>, 0,
                                            COB_FLAG_HAVE_SIGN | COB_FLAG_SIGN_SEPARATE | COB_FLAG_SIGN_LEADING,
                                            nullptr};

// A number in digits, all of the field's, after its sign.
template <std::size_t bytes>
using Display = std::array<unsigned char, most_digits<bytes> + 1>;

template <std::size_t bytes>
std::size_t unpack_by_cob_move(const Packed<bytes>& field, std::byte* output) {
  Display<bytes> display;
  Packed<bytes> source = field;  // libcob takes its sources as ones that may be written
  cob_field from{source.size(), source.data(), &packed_attributes<bytes>};
  cob_field to{display.size(), display.data(), &display_attributes<bytes>};
  cob_move(&from, &to);
  std::size_t first = 1;
  while (display[first] == '0') ++first;
  if (display[0] == '-') display[--first] = '-';
  return widen({reinterpret_cast<const char*>(&display[first]), display.size() - first}, wide(output));
}

template <std::size_t bytes>
std::size_t unpack_by_cob_get(const Packed<bytes>& field, std::byte* output) {
  Packed<bytes> source = field;
  std::array<char, 24> text;
  const auto value = static_cast<std::int64_t>(cob_get_s64_comp3(source.data(), static_cast<int>(bytes)));
  const char* end = std::to_chars(text.begin(), text.end(), value).ptr;
  return widen({text.data(), static_cast<std::size_t>(end - text.data())}, wide(output));
}

template <std::size_t bytes>
std::size_t pack_by_cob_move(const wchar_t* text, std::byte* output) {
  const wchar_t* digit = text;
  Display<bytes> display;
  display.fill('0');
  display[0] = *digit == L'-' ? '-' : '+';
  if (*digit == L'-') ++digit;
  for (std::size_t at = display.size() - std::wcslen(digit); *digit != L'\0'; ++digit) {
    display[at++] = static_cast<unsigned char>(*digit);
  }
  Packed<bytes> field;
  cob_field from{display.size(), display.data(), &display_attributes<bytes>};
  cob_field to{field.size(), field.data(), &packed_attributes<bytes>};
  cob_move(&from, &to);
  return stored(field, output);
}
#endif

template <std::size_t bytes>
void register_packed() {
  constexpr Operation unpacking{"packed decimal to wide text", 0.4};
  constexpr Operation packing{"wide text to packed decimal", 0.5};
  const std::string variant = std::to_string(bytes) + " bytes";
  const WideTexts texts = packed(*rendered(drawn(packed_text<bytes>), widened));
  const auto fields = rendered(texts, [](const wchar_t* text) { return pack_by_loop<bytes>(text); });

  std::vector<Contender> unpackers = {
      contender("ours", fields,
                [](const Packed<bytes>& field, std::byte* out) {
                  auto size = static_cast<std::int32_t>(bytes);
                  std::uint32_t length = 0;
                  ZVRTCnvDecPackedToWVarcharSz(field.data(), &size, out, output_size, &length, nullptr);
                  return length * sizeof(wchar_t);
                }),
      contender("loop", fields, unpack_by_loop<bytes>), contender("table of bytes", fields, unpack_by_table<bytes>)};
  std::vector<Contender> packers = {
      contender("ours", texts,
                [](const wchar_t* text, std::byte* out) {
                  std::uint32_t length = 0;
                  ZVRTCnvWVarcharSzToDecPacked(text, nullptr, out, bytes, &length, nullptr);
                  return static_cast<std::size_t>(length);
                }),
      contender("loop", texts,
                [](const wchar_t* text, std::byte* out) { return stored(pack_by_loop<bytes>(text), out); })};
#if ZVRT_BENCH_WITH_LIBCOB
  unpackers.push_back(contender("libcob's move, widened", fields, unpack_by_cob_move<bytes>));
  if (most_digits<bytes> <= 18) {
    unpackers.push_back(contender("libcob's getter, to_chars, widened", fields, unpack_by_cob_get<bytes>));
  }
  packers.push_back(contender("narrowed, libcob's move", texts, pack_by_cob_move<bytes>));
#endif
  compete(unpacking, variant, std::move(unpackers));
  compete(packing, variant, std::move(packers));
}

// ---- VARNUM --------------------------------------------------------------------------------------------------------

// Prices have cents: a number's text comes back as it was.
std::string price_text(Random& random) {
  const std::string cents = digits(random, 2);
  return digits(random, uniform(random, 1, 5)) + "." + cents;
}
std::string key_text(Random& random) { return digits(random, uniform(random, 1, 18)); }
std::string long_text(Random& random) { return digits(random, uniform(random, 30, 38)); }

// A number as its text, by our own decoding: peers have formats of their own.
std::string varnum_text(const std::byte* written, std::size_t /*bytes*/) {
  std::array<std::byte, 1024> text;
  const std::size_t bytes = call<ZVRTCnvOraVarnumToVarcharSz_Unsigned, 1>(written, text.data());
  return {reinterpret_cast<const char*>(text.data()), bytes};
}

#if ZVRT_BENCH_WITH_PGTYPES
struct NumericDeleter {
  void operator()(numeric* number) const { PGTYPESnumeric_free(number); }
};
using Numeric = std::unique_ptr<numeric, NumericDeleter>;

Numeric to_numeric(const wchar_t* text) {
  Narrowed digits(text);
  return Numeric(PGTYPESnumeric_from_asc(digits.begin(), nullptr));
}

std::string numeric_text(const numeric* number) {
  numeric copy = *number;  // its digits stay shared
  char* text = PGTYPESnumeric_to_asc(&copy, copy.dscale);
  std::string result = text;
  std::free(text);
  return result;
}
#endif

#if ZVRT_BENCH_WITH_MPDECIMAL
struct MpdDeleter {
  void operator()(mpd_t* number) const { mpd_del(number); }
};
using Mpd = std::unique_ptr<mpd_t, MpdDeleter>;

void set_mpd(mpd_t& number, const wchar_t* text) {
  static const mpd_context_t context = [] {
    mpd_context_t fresh;
    mpd_init(&fresh, 40);
    return fresh;
  }();
  std::uint32_t status = 0;
  const Narrowed digits(text);
  mpd_qset_string(&number, digits.begin(), &context, &status);
}

std::string mpd_text(const mpd_t* number) {
  char* text = mpd_to_sci(number, 1);
  std::string result = text;
  mpd_free(text);
  return result;
}
#endif

std::vector<Contender> varnum_encoders(const WideTexts& texts) {
  std::vector<Contender> contenders = {
      contender(
          "ours", texts,
          [](const wchar_t* text, std::byte* out) { return call<ZVRTCnvWVarcharSz_UnsignedToOraVarnum, 1>(text, out); },
          varnum_text),
      contender(
          "one-pass loop", texts,
          [](const wchar_t* text, std::byte* out) { return stored(encode_in_one_pass(text), out); }, varnum_text)};
#if ZVRT_BENCH_WITH_PGTYPES
  const auto held = std::make_shared<Numeric>();  // the last number, freed when the next one comes
  contenders.push_back(contender(
      "narrowed, pgtypes", texts,
      [held](const wchar_t* text, std::byte* /*out*/) -> std::size_t {
        *held = to_numeric(text);
        return 0;
      },
      [held](const std::byte*, std::size_t) { return numeric_text(held->get()); }));
#endif
#if ZVRT_BENCH_WITH_MPDECIMAL
  const std::shared_ptr<mpd_t> last(mpd_qnew(), mpd_del);
  contenders.push_back(contender(
      "narrowed, mpdecimal", texts,
      [last](const wchar_t* text, std::byte* /*out*/) -> std::size_t {
        set_mpd(*last, text);
        return 0;
      },
      [last](const std::byte*, std::size_t) { return mpd_text(last.get()); }));
#endif
  return contenders;
}

std::vector<Contender> varnum_decoders(const WideTexts& texts) {
  const auto varnums = rendered(texts, encode_in_one_pass<wchar_t>);
  std::vector<Contender> contenders = {contender("ours", varnums,
                                                 [](const Varnum& varnum, std::byte* out) {
                                                   return call<ZVRTCnvOraVarnumToWVarcharSz_Unsigned, sizeof(wchar_t)>(
                                                       varnum.data(), out);
                                                 }),
                                       contender("loop", varnums, decode_by_loop<wchar_t>)};
#if ZVRT_BENCH_WITH_PGTYPES
  const auto numerics = rendered(texts, to_numeric);
  contenders.push_back(contender("pgtypes, widened", numerics, [](const Numeric& number, std::byte* out) {
    char* text = PGTYPESnumeric_to_asc(number.get(), number->dscale);
    const std::size_t bytes = widen(text, wide(out));
    std::free(text);
    return bytes;
  }));
#endif
#if ZVRT_BENCH_WITH_MPDECIMAL
  const auto mpds = rendered(texts, [](const wchar_t* text) {
    Mpd number(mpd_qnew());
    set_mpd(*number, text);
    return number;
  });
  contenders.push_back(contender("mpdecimal, widened", mpds, [](const Mpd& number, std::byte* out) {
    char* text = mpd_to_sci(number.get(), 1);
    const std::size_t bytes = widen(text, wide(out));
    mpd_free(text);
    return bytes;
  }));
#endif
  return contenders;
}

void register_varnum(const char* variant, std::string (*draw)(Random&)) {
  const WideTexts texts = packed(*rendered(drawn(draw), widened));
  compete({"wide text to VARNUM", 0.5}, variant, varnum_encoders(texts));
  compete({"VARNUM to wide text", 0.7}, variant, varnum_decoders(texts));
}

}  // namespace

void register_decimals() {
  register_packed<3>();
  register_packed<5>();
  register_packed<8>();
  register_packed<16>();
  register_varnum("prices", price_text);
  register_varnum("keys to 18 digits", key_text);
  register_varnum("30 to 38 digits", long_text);
}

}  // namespace zvrt_bench
