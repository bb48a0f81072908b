// A code page as ICU knows it: every sequence of bytes that it defines, in the form in which it becomes tables.
#ifndef ZVRT_CONVERTER_LEARNED_PAGE_H
#define ZVRT_CONVERTER_LEARNED_PAGE_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "../page_tables.h"
#include "icu_page.h"
#include "page_names.h"

namespace zvrt {

struct Mapping {
  std::string bytes;    // without what stands before them: a prefix, a shift
  std::u32string text;  // one character or two
  bool written;         // the page writes the text so; else it only reads it, and writes other bytes or none

  bool operator==(const Mapping&) const = default;
};

struct LearnedPage {
  Form form;
  bool little_endian = false;
  bool marked = false;
  std::vector<Mapping> singles = {};
  std::map<std::string, std::vector<Mapping>> pairs = {};  // by their prefix; without one by ""
  std::vector<Mapping> quadruples = {};                    // GB18030's below U+10000

  bool operator==(const LearnedPage&) const = default;
};

// Nothing when the page is of no form that there are tables for. Throws when a page of such a form departs from it.
std::optional<LearnedPage> learn_page(const IcuPage& icu, bool native_little_endian);

// A page made of a part of another one.
LearnedPage part_of(const LearnedPage& whole, Part part);

}  // namespace zvrt

#endif
