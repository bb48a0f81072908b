// How a code page number and a style find their page among ICU's names, or among the pages that are made of parts.
#ifndef ZVRT_CONVERTER_PAGE_NAMES_H
#define ZVRT_CONVERTER_PAGE_NAMES_H

#include <cstdint>
#include <string>
#include <vector>

#include "../page_tables.h"

namespace zvrt {

// ICU names in the order in which to try them.
std::vector<std::string> page_names(std::uint32_t number, Style style);

// A page that ICU does not have but as a part or a variant of another one.
enum class Part { singles, pairs, latin9 };
struct PartOfPage {
  std::uint32_t number;
  const char* whole;
  Part part;
};
const PartOfPage* part_of_page(std::uint32_t number);

}  // namespace zvrt

#endif
