// The pages: tables are built once and shared by all threads; a page without tables has a converter per thread.
#ifndef ZVRT_CONVERTER_PAGE_STORE_H
#define ZVRT_CONVERTER_PAGE_STORE_H

#include <array>
#include <memory>

#include "converter.h"
#include "icu_converter.h"
#include "page_names.h"

namespace zvrt {

// To be used by one thread at a time.
class PageStore {
 public:
  struct Opened {
    enum class Result { found, unknown, no_memory } result;
    Converter* converter;
    std::unique_ptr<Converter> owned;  // set when the converter is not shared
  };

  // Opens the page by the first of its names that ICU knows.
  Opened open(std::uint32_t number, Style style);

 private:
  struct Page {
    std::array<char, 96> name;          // ICU's, and the option
    std::unique_ptr<Converter> tables;  // null: the page has none and is streamed
    std::unique_ptr<Page> next;
  };

  Page* page_of(const IcuConverter& icu, Style style);

  std::unique_ptr<Page> pages_;
};

}  // namespace zvrt

#endif
