#include "page_store.h"

#include <cstdio>
#include <new>
#include <string_view>

#include "double_byte_page.h"
#include "gb18030_page.h"
#include "single_byte_page.h"
#include "stateful_page.h"
#include "streamed_page.h"
#include "utf8_page.h"

namespace zvrt {

namespace {

// Null when no table type fits the page, or memory is short; it is streamed then.
std::unique_ptr<Converter> build_tables(const IcuConverter& icu) {
  switch (ucnv_getType(icu.get())) {
    case UCNV_SBCS:
    case UCNV_LATIN_1:
    case UCNV_US_ASCII: return SingleBytePage::build(icu);
    case UCNV_DBCS:
    case UCNV_MBCS:
      if (ucnv_getMaxCharSize(icu.get()) <= 2) return DoubleBytePage::build(icu);
      return std::string_view(icu.canonical_name()) == "gb18030" ? Gb18030Page::build(icu) : nullptr;
    case UCNV_EBCDIC_STATEFUL: return StatefulPage::build(icu);
    case UCNV_UTF8: return std::unique_ptr<Converter>(new (std::nothrow) Utf8Page);
    default: return nullptr;
  }
}

}  // namespace

// The page in the list, added with its tables when it is new; null when memory is short.
PageStore::Page* PageStore::page_of(const IcuConverter& icu, Style style) {
  std::array<char, 96> name{};
  std::snprintf(name.data(), name.size(), "%s%s", icu.canonical_name(), style == Style::new_line ? ",swaplfnl" : "");
  for (Page* page = pages_.get(); page != nullptr; page = page->next.get())
    if (page->name == name) return page;
  std::unique_ptr<Page> page(new (std::nothrow) Page{name, nullptr, nullptr});
  if (page == nullptr) return nullptr;
  page->tables = build_tables(icu);
  page->next = std::move(pages_);
  pages_ = std::move(page);
  return pages_.get();
}

PageStore::Opened PageStore::open(std::uint32_t number, Style style) {
  for (const PageName& name : page_names(number, style)) {
    if (name[0] == '\0') break;
    IcuConverter icu(name.data());
    if (icu.lacked_memory()) return {Opened::Result::no_memory, nullptr, nullptr};  // the next name is another page's
    if (!icu) continue;
    const Page* const page = page_of(icu, style);
    if (page == nullptr) return {Opened::Result::no_memory, nullptr, nullptr};
    if (page->tables != nullptr) return {Opened::Result::found, page->tables.get(), nullptr};
    std::unique_ptr<Converter> owned(new (std::nothrow) StreamedPage(std::move(icu)));
    const auto result = owned != nullptr ? Opened::Result::found : Opened::Result::no_memory;
    Converter* const converter = owned.get();
    return {result, converter, std::move(owned)};
  }
  return {Opened::Result::unknown, nullptr, nullptr};
}

}  // namespace zvrt
