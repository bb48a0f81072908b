// From a code page number and a vendor letter to the names of its ICU converter.
#ifndef ZVRT_CONVERTER_PAGE_NAMES_H
#define ZVRT_CONVERTER_PAGE_NAMES_H

#include <array>
#include <cstdint>

namespace zvrt {

// What a vendor letter asks for.
enum class Style : std::uint32_t { usual, new_line, ibm, windows };
constexpr Style style_of(std::int32_t kind) {
  if (kind == 'N') return Style::new_line;
  if (kind == 'B') return Style::ibm;
  if (kind == 'W') return Style::windows;
  return Style::usual;
}

using PageName = std::array<char, 32>;

// ICU names in the order in which to try them; an empty one ends the list.
using PageNames = std::array<PageName, 5>;
PageNames page_names(std::uint32_t number, Style style);

}  // namespace zvrt

#endif
