#include "page_names.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace zvrt {

namespace {

struct ListedPage {
  std::uint32_t number;
  std::string_view name;
};

// Numbers whose page ICU does not know under ibm-, windows- or cp-, or knows as a different page.
constexpr ListedPage listed_pages[] = {
    {0, "UTF-8"},           {874, "windows-874"},   {919, "ISO-8859-10"},   {932, "windows-932"},
    {936, "windows-936"},   {949, "windows-949"},   {950, "windows-950"},   {1200, "UTF-16LE"},
    {1250, "windows-1250"}, {1251, "windows-1251"}, {1252, "windows-1252"}, {1253, "windows-1253"},
    {1254, "windows-1254"}, {1255, "windows-1255"}, {1256, "windows-1256"}, {1257, "windows-1257"},
    {1258, "windows-1258"}, {12000, "UTF-32LE"},    {12001, "UTF-32BE"},    {20273, "ibm-273"},
    {20277, "ibm-277"},     {20278, "ibm-278"},     {20280, "ibm-280"},     {20284, "ibm-284"},
    {20285, "ibm-285"},     {20290, "ibm-290"},     {20297, "ibm-297"},     {20420, "ibm-420"},
    {20424, "ibm-424"},     {20838, "ibm-838"},     {20871, "ibm-871"},     {20932, "EUC-JP"},
    {20936, "GB2312"},      {20949, "EUC-KR"},      {21025, "ibm-1025"},    {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},  {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},  {28599, "ISO-8859-9"},
    {28600, "ISO-8859-10"}, {28601, "ISO-8859-11"}, {28603, "ISO-8859-13"}, {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"}, {38598, "ISO-8859-8"},  {50220, "ISO-2022-JP"}, {50225, "ISO-2022-KR"},
    {50227, "ISO-2022-CN"}, {51932, "EUC-JP"},      {51936, "GB2312"},      {52936, "HZ"},
    {0xFFFFFFFF, "UTF-8"},
};

std::string_view listed(std::uint32_t number) {
  const auto* page = std::ranges::lower_bound(listed_pages, number, {}, &ListedPage::number);
  return page != std::end(listed_pages) && page->number == number ? page->name : std::string_view();
}

static_assert(std::ranges::is_sorted(listed_pages, {}, &ListedPage::number));

}  // namespace

PageNames page_names(std::uint32_t number, Style style) {
  PageNames names{};
  std::size_t count = 0;
  const char* const option = style == Style::new_line ? ",swaplfnl" : "";
  const auto add = [&](std::string_view prefix, bool numbered) {
    if (prefix.empty()) return;
    PageName& name = names[count++];
    const int length = static_cast<int>(prefix.size());
    if (numbered)
      std::snprintf(name.data(), name.size(), "%.*s%u%s", length, prefix.data(), number, option);
    else
      std::snprintf(name.data(), name.size(), "%.*s%s", length, prefix.data(), option);
  };
  if (style == Style::ibm) add("ibm-", true);
  if (style == Style::windows) add("windows-", true);
  add(listed(number), false);
  if (style != Style::ibm) add("ibm-", true);
  if (style != Style::windows) add("windows-", true);
  add("cp", true);
  return names;
}

}  // namespace zvrt
