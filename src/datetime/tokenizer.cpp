#include "datetime/tokenizer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "datetime/elements.h"
#include "support/units.h"

namespace zvrt {

namespace {

// An element is recognised by one comparison under a mask.
struct Spelling {
  Letters letters;
  Letters mask;
  std::uint32_t code;
  std::uint16_t length;
  std::uint16_t describes;
};

constexpr Spelling spelling_of(std::uint32_t code) {
  const Element& element = elements[code];
  return {letters_of({element.letters, element.length}), first_letters(element.length), code, element.length,
          element.describes};
}

constexpr std::size_t spelling_count = static_cast<std::size_t>(
    std::count_if(elements.begin(), elements.end(), [](const Element& element) { return element.length > 0; }));

// By descending length, so that an element is compared before its own prefixes.
constexpr auto spellings = [] {
  std::array<Spelling, spelling_count> sorted{};
  std::size_t count = 0;
  for (std::uint32_t code = 0; code < elements.size(); ++code) {
    if (elements[code].length > 0) sorted[count++] = spelling_of(code);
  }
  std::sort(sorted.begin(), sorted.end(), [](const Spelling& a, const Spelling& b) { return a.length > b.length; });
  return sorted;
}();

// The element that these letters begin with, or null. One branch per spelling: models repeat, so the processor predicts
// the element, and with it the address of the next one, before the comparison is done.
template <std::size_t... indices>
const Spelling* find_element(Letters letters, std::index_sequence<indices...>) {
  const Spelling* found = nullptr;
  static_cast<void>(((((letters & spellings[indices].mask) == spellings[indices].letters) &&
                      (found = &spellings[indices]) != nullptr) ||
                     ...));
  return found;
}

}  // namespace

Status tokenise(const wchar_t* model_text, FmtCode* codes, DtKind& kind) {
  std::uint32_t described = 0;  // the kinds with a date (1), with a time (2) and with both (3) add up as bits
  Status status = ZVRT_RC_OK;
  // Fields that an entry does not use are left alone.
  for (const wchar_t* text = model_text;; ++codes) {
    const Wide character = load<Wide>(text);
    if (character == 0) {
      codes->code = FMT_END;
      break;
    }
    if (character != '%') {
      codes->literal = character;
      codes->code = FMT_LITERAL;
      ++text;
      continue;
    }
    const Spelling* element = find_element(letters_at(text + 1), std::make_index_sequence<spelling_count>{});
    if (element == nullptr) {
      status = ZVRT_RC_INVALID_FORMAT;
      break;
    }
    codes->code = element->code;
    codes->len = element->length;
    codes->pos = static_cast<std::uint32_t>(text - model_text);
    described |= element->describes;
    text += 1 + element->length;
  }
  if (described != 0) {
    const bool known = kind >= ZVRT_DT_DATE && kind <= ZVRT_DT_TIMESTAMP;
    kind = (known ? kind : 0) | static_cast<DtKind>(described);
  }
  return status;
}

}  // namespace zvrt

uint32_t ZVRTGetFormatCodes(const wchar_t* modelText, FmtCode* codes, DtKind* kind) {
  return zvrt::tokenise(modelText, codes, *kind);
}
