#include "datetime/tokenizer.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "datetime/elements.h"
#include "frame/units.h"

namespace zvrt {

namespace {

constexpr std::size_t longest_element = 6;
constexpr std::uint32_t first_letter = 'a', letter_count = 26;

// Letters folded and packed, the first one lowest: an element is recognised by one comparison under a mask.
struct Spelling {
  std::uint64_t letters;
  std::uint64_t mask;
  std::uint32_t code;
  std::uint32_t length;
};

constexpr std::uint64_t folded_byte(std::uint32_t character) {
  // Digits are not letters: only characters from 40 on have a case.
  return character < 0x40 ? character : folded(character);
}

constexpr Spelling spelling_of(std::uint32_t code) {
  const Element& element = elements[code];
  Spelling spelling{0, 0, code, element.length};
  for (std::size_t i = 0; i < element.length; ++i) {
    spelling.letters |= folded_byte(static_cast<unsigned char>(element.letters[i])) << (8 * i);
    spelling.mask |= UINT64_C(0xFF) << (8 * i);
  }
  return spelling;
}

constexpr std::size_t spelling_count = static_cast<std::size_t>(
    std::count_if(elements.begin(), elements.end(), [](const Element& element) { return element.length > 0; }));

// By first letter and, because a longer element stands before those that begin it, by falling length.
constexpr auto spellings = [] {
  std::array<Spelling, spelling_count> sorted{};
  std::size_t count = 0;
  for (std::uint32_t code = 0; code < elements.size(); ++code) {
    if (elements[code].length > 0) sorted[count++] = spelling_of(code);
  }
  std::sort(sorted.begin(), sorted.end(), [](const Spelling& a, const Spelling& b) {
    const auto a_first = a.letters & 0xFF, b_first = b.letters & 0xFF;
    return a_first != b_first ? a_first < b_first : a.length > b.length;
  });
  return sorted;
}();

struct Range {
  std::uint8_t begin;
  std::uint8_t end;
};

constexpr auto ranges_by_letter = [] {
  std::array<Range, letter_count> ranges{};
  for (std::size_t i = spelling_count; i-- > 0;) {
    Range& range = ranges[(spellings[i].letters & 0xFF) - first_letter];
    range = {static_cast<std::uint8_t>(i), range.end == 0 ? static_cast<std::uint8_t>(i + 1) : range.end};
  }
  return ranges;
}();

// The element whose letters stand here, or null.
const Spelling* find_element(const wchar_t* text) {
  std::uint64_t letters = 0;
  for (std::size_t i = 0; i < longest_element; ++i) {
    const Wide character = load<Wide>(text, i);
    if (character == 0 || character >= 0x80) break;
    letters |= folded_byte(character) << (8 * i);
  }
  const std::uint64_t letter = (letters & 0xFF) - first_letter;
  if (letter >= letter_count) return nullptr;
  const Range range = ranges_by_letter[letter];
  for (std::size_t i = range.begin; i < range.end; ++i) {
    if ((letters & spellings[i].mask) == spellings[i].letters) return &spellings[i];
  }
  return nullptr;
}

// The kinds with a date (1), with a time (2) and with both (3) add up as bits.
DtKind joined(DtKind kind, DtKind described) {
  if (described == 0) return kind;
  return (kind >= ZVRT_DT_DATE && kind <= ZVRT_DT_TIMESTAMP ? kind : 0) | described;
}

}  // namespace

Status tokenise(const wchar_t* model_text, FmtCode* codes, DtKind& kind) {
  // Fields that an entry does not use are left as the caller prepared them.
  for (const wchar_t* text = model_text;; ++codes) {
    const Wide character = load<Wide>(text);
    if (character == 0) {
      codes->code = FMT_END;
      return ZVRT_RC_OK;
    }
    if (character != '%') {
      codes->literal = character;
      codes->code = FMT_LITERAL;
      ++text;
      continue;
    }
    const Spelling* element = find_element(text + 1);
    if (element == nullptr) return ZVRT_RC_INVALID_FORMAT;
    codes->code = element->code;
    codes->len = element->length;
    codes->pos = static_cast<std::uint32_t>(text - model_text);
    kind = joined(kind, elements[element->code].describes);
    text += 1 + element->length;
  }
}

}  // namespace zvrt

uint32_t ZVRTGetFormatCodes(const wchar_t* modelText, FmtCode* codes, DtKind* kind) {
  return zvrt::tokenise(modelText, codes, *kind);
}
