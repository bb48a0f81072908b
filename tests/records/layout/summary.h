// A layout in one line a record: `R 0+3: A 0+1, B 1+2`; FILLER and level 66 included, conditions not.
#pragma once

#include <fmt/format.h>

#include <string>

#include "records/layout/layout.h"

namespace zvrt_records_test {

inline void add_items(const zvrt::records::Item& item, std::string& text) {
  for (const auto& child : item.children) {
    text += fmt::format("{}{} {}+{}", text.back() == ':' ? " " : ", ", child->name, child->offset, child->length);
    if (child->is_table) text += fmt::format("*{}", child->occurs);
    add_items(*child, text);
  }
}

inline std::string summary(const zvrt::records::Layout& layout) {
  std::string text;
  for (const zvrt::records::Record& record : layout.records) {
    if (!text.empty()) text += "\n";
    std::string line = fmt::format("{} {}+{}:", record.name, record.root->offset, record.length);
    add_items(*record.root, line);
    if (line.back() == ':') line.pop_back();
    text += line;
  }
  return text;
}

}  // namespace zvrt_records_test
