#include "page_data.h"

#include <cstddef>
#include <cstdint>

namespace zvrt {

void put_two(char32_t character, WideDestination destination, std::size_t made) {
  const std::uint32_t place = character & ~Decoded::two;
  for (std::size_t i = 0; i < 2; ++i)
    if (made + i < destination.count) destination.put(made + i, zvrt_words[place + i]);
}

Code composition(const Page& page, char32_t first, char32_t second) {
  const std::uint32_t* const list = zvrt_words + page.compositions;
  std::uint32_t begin = 0;
  for (std::uint32_t end = page.composition_count; begin < end;) {
    const std::uint32_t middle = (begin + end) / 2;
    const std::uint32_t* const row = list + 3 * static_cast<std::size_t>(middle);
    if (row[0] == first && row[1] == second) return row[2];
    if (row[0] < first || (row[0] == first && row[1] < second))
      begin = middle + 1;
    else
      end = middle;
  }
  return 0;
}

}  // namespace zvrt
