#include "streamed_page.h"

#include <unicode/utf16.h>

#include <array>

namespace zvrt {

namespace {

constexpr std::size_t chunk = 256;

constexpr bool is_private_use(char32_t c) { return (c >= 0xE000 && c <= 0xF8FF) || c >= 0xF0000; }

// Joins UTF-16 units to characters; a surrogate pair may be divided by the end of a chunk.
class Utf16Joiner {
 public:
  explicit Utf16Joiner(WideDestination destination) : destination_(destination) {}

  // False at a surrogate without its partner.
  bool add(UChar unit) {
    if (U16_IS_TRAIL(unit) != (lead_ != 0)) return false;
    if (U16_IS_LEAD(unit)) {
      lead_ = unit;
      return true;
    }
    const char32_t character = lead_ == 0 ? unit : static_cast<char32_t>(U16_GET_SUPPLEMENTARY(lead_, unit));
    lead_ = 0;
    if (made_ < destination_.count) destination_.put(made_, character);
    ++made_;
    return true;
  }

  bool complete() const { return lead_ == 0; }
  std::size_t made() const { return made_; }
  std::size_t written() const { return std::min(made_, destination_.count); }

 private:
  WideDestination destination_;
  std::size_t made_ = 0;
  UChar lead_ = 0;
};

Outcome failed(UErrorCode error, std::size_t written) {
  return error == U_MEMORY_ALLOCATION_ERROR ? Outcome{ZVRT_ICU_RC_ICU_FAILED, written} : rejected(written);
}

}  // namespace

Outcome StreamedPage::decode(Bytes source, WideDestination destination) {
  ucnv_resetToUnicode(icu_.get());
  Utf16Joiner joiner(destination);
  const char* from = reinterpret_cast<const char*>(source.data());
  const char* const end = from + source.size();
  UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
  while (error == U_BUFFER_OVERFLOW_ERROR) {
    std::array<UChar, chunk> units;
    UChar* to = units.data();
    error = U_ZERO_ERROR;
    ucnv_toUnicode(icu_.get(), &to, units.data() + units.size(), &from, end, nullptr, true, &error);
    for (const UChar* unit = units.data(); unit != to; ++unit)
      if (!joiner.add(*unit)) return rejected(joiner.written());
  }
  if (U_FAILURE(error)) return failed(error, joiner.written());
  return joiner.complete() ? converted(joiner.made(), destination.count) : rejected(joiner.written());
}

// Encodes the source, all of it scalar values, as a complete text with its closing shift: into `sink` as far as it
// fits, counting the rest.
StreamedPage::Attempt StreamedPage::write_all(WideText source, ByteDestination sink) const {
  ucnv_resetFromUnicode(icu_.get());
  std::size_t needed = 0;
  std::size_t taken = 0;
  do {
    std::array<UChar, chunk> units;
    std::size_t filled = 0;
    for (; taken < source.count && filled + 2 <= units.size(); ++taken)
      U16_APPEND_UNSAFE(units, filled, static_cast<UChar32>(source[taken]));
    const UChar* from = units.data();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
      std::array<char, chunk> bytes;
      char* to = bytes.data();
      error = U_ZERO_ERROR;
      ucnv_fromUnicode(icu_.get(), &to, bytes.data() + bytes.size(), &from, units.data() + filled, nullptr,
                       taken == source.count, &error);
      const auto made = static_cast<std::size_t>(to - bytes.data());
      if (needed + made <= sink.size()) std::copy_n(bytes.data(), made, sink.data() + needed);
      needed += made;
    }
    if (U_FAILURE(error)) return {error, needed};
  } while (taken < source.count);
  return {U_ZERO_ERROR, needed};
}

// ICU reports neither where complete characters end nor how many bytes close a text there, so a binary search finds the
// place: a prefix is valid and fits, or not, and a longer one than one that does not fit does not either.
std::size_t StreamedPage::longest_fitting(WideText source, std::size_t capacity) const {
  std::size_t fits = 0;
  std::size_t too_long = source.count + 1;
  while (too_long - fits > 1) {
    const std::size_t middle = fits + (too_long - fits) / 2;
    const Attempt attempt = write_all(source.first(middle), {});
    (U_SUCCESS(attempt.error) && attempt.needed <= capacity ? fits : too_long) = middle;
  }
  return fits;
}

// ICU always uses fallback mappings for private-use characters, whatever its settings; such a character must decode to
// itself again.
bool StreamedPage::round_trips(WideText character) {
  if (!is_scalar_value(character[0])) return false;
  if (!is_private_use(character[0])) return true;
  std::array<unsigned char, 32> bytes;
  const Attempt attempt = write_all(character, bytes);
  if (U_FAILURE(attempt.error) || attempt.needed > bytes.size()) return false;
  std::array<unsigned char, wide_size> again;
  const Outcome outcome = decode({bytes.data(), attempt.needed}, {again.data(), 1});
  return outcome.status == 0 && outcome.count == 1 && WideText{again.data(), 1}[0] == character[0];
}

Outcome StreamedPage::encode(WideText source, ByteDestination destination) {
  std::size_t kept = 0;
  while (kept < source.count && round_trips(source.at(kept))) ++kept;
  const WideText text = source.first(kept);
  std::array<unsigned char, chunk> bytes;
  const Attempt all = write_all(text, bytes);
  const bool valid = U_SUCCESS(all.error) && kept == source.count;
  const bool fits = U_SUCCESS(all.error) && all.needed <= destination.size();
  std::size_t written = fits ? all.needed : 0;
  if (fits && written <= bytes.size()) {
    std::copy_n(bytes.data(), written, destination.data());
  } else {
    const std::size_t characters = fits ? kept : longest_fitting(text, destination.size());
    const Attempt part = write_all(text.first(characters), destination);
    written = part.needed <= destination.size() ? part.needed : 0;
  }
  if (valid) return converted(all.needed, destination.size());
  return failed(all.error, written);
}

}  // namespace zvrt
