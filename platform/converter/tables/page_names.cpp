#include "page_names.h"

#include <algorithm>

namespace zvrt {

namespace {

struct Row {
  std::uint32_t number;
  const char* name;
};

// Numbers whose page ICU does not know under ibm-, windows- or cp-, or knows as another one than meant.
constexpr Row listed_pages[] = {
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
};
static_assert(std::ranges::is_sorted(listed_pages, {}, &Row::number));

// The mixed EBCDIC pages consist of a page of one byte and a page of two bytes per character. 924 is 1047 with the
// characters of ISO 8859-15.
constexpr PartOfPage parts_of_pages[] = {
    {300, "ibm-930", Part::pairs},   {833, "ibm-933", Part::singles},  {834, "ibm-933", Part::pairs},
    {835, "ibm-937", Part::pairs},   {836, "ibm-935", Part::singles},  {837, "ibm-935", Part::pairs},
    {924, "ibm-1047", Part::latin9}, {1027, "ibm-939", Part::singles}, {20924, "ibm-1047", Part::latin9},
};
static_assert(std::ranges::is_sorted(parts_of_pages, {}, &PartOfPage::number));

}  // namespace

std::vector<std::string> page_names(std::uint32_t number, Style style) {
  std::vector<std::string> names;
  const std::string decimal = std::to_string(number);
  if (style == Style::ibm) names.push_back("ibm-" + decimal);
  const auto* const row = std::ranges::lower_bound(listed_pages, number, {}, &Row::number);
  if (row != std::end(listed_pages) && row->number == number) names.emplace_back(row->name);
  for (const char* const prefix : {"ibm-", "windows-", "cp"}) names.push_back(prefix + decimal);
  if (style == Style::new_line)
    for (std::string& name : names) name += ",swaplfnl";
  return names;
}

const PartOfPage* part_of_page(std::uint32_t number) {
  const auto* const row = std::ranges::lower_bound(parts_of_pages, number, {}, &PartOfPage::number);
  return row != std::end(parts_of_pages) && row->number == number ? row : nullptr;
}

}  // namespace zvrt
