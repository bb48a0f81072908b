// Copybooks: a text is a layout that hangs together, or a fault at a place within it.
#include <algorithm>
#include <set>

#include "input.h"
#include "records/layout/columns.h"
#include "records/layout/print.h"
#include "records/layout/slide.h"

namespace {

using namespace zvrt::records;

constexpr std::string_view words[] = {
    "01 R",
    "05 A",
    "05 B",
    "10 C",
    "15 D",
    "66 E",
    "77 F",
    "88 G",
    "78 H",
    "05 ",
    "10 A",
    " COPY T.\n",
    " COPY T REPLACING ==:T:== BY ==A==.\n",
    " COPY U.\n",
    " COPY",
    " REPLACE ==A== BY ==C==.\n",
    " REPLACE OFF.\n",
    " ==",
    " PIC X",
    " PIC 9(4)",
    " PIC S9(7)V99",
    " PIC ZZ9.99-",
    " PIC N(2)",
    " PIC P(3)9",
    " COMP",
    " COMP-3",
    " COMP-1",
    " COMP-5",
    " BINARY",
    " USAGE IS",
    " SYNC",
    " OCCURS 3",
    " OCCURS 0 TO 4 DEPENDING ON A",
    " INDEXED BY I",
    " REDEFINES A",
    " REDEFINES B",
    " VALUE 'X'",
    " VALUE 1 THRU 5",
    " RENAMES A THRU C",
    " SIGN LEADING SEPARATE",
    " JUST RIGHT",
    " BLANK WHEN ZERO",
    ".",
    ".\n",
    "\n",
    "\n       ",
    "\n      * comment\n       ",
    "\n      -    ",
    "\n000100 ",
    "\n>>SOURCE FREE\n",
    " *>@ null=zeros\n",
    " *>@ indicator=B column=x\n",
    " CONSTANT AS 3",
    " COPY X",
    " EXEC SQL",
    " END-EXEC",
    "'",
    "\"",
    "=",
    "(",
    ")",
    " 9",
    "\t",
};

std::string copybook(zvrt_fuzz::Input& input) {
  if (input.flag()) return input.bytes();
  std::string text = input.flag() ? "       " : "";
  while (!input.is_used_up() && text.size() < 2000) text += input.of(words);
  return text;
}

void require(bool holds) {
  if (!holds) __builtin_trap();
}

void check_item(const Item& item, const Record& record) {
  require(item.length != 0 && item.occurs >= 1 && item.occurs_min <= item.occurs);
  require(item.offset + item.total_length() <= record.length);
  require(item.redefines == nullptr || item.redefines->offset == item.offset);
  std::size_t end = item.offset;
  for (const auto& child : item.children) {
    require(child->parent == &item);
    check_item(*child, record);
    if (child->is_renames()) continue;
    require(child->offset + child->total_length() <= item.offset + item.length);
    if (child->redefines == nullptr) {
      require(child->offset >= end);
      end = child->offset + child->total_length();
    }
  }
}

void check_columns(const Layout& layout) {
  Columns columns;
  try {
    columns = columns_of(layout);
  } catch (const CopybookError&) {
    return;
  }
  std::set<std::string> names;
  Slide slide(columns, !columns.cannot_shift);
  slide.take([](const VariableTable& table, std::size_t) { return table.item->occurs_min; });
  for (const Column& column : columns.list) {
    require(names.insert(column.name).second);
    require(column.offset + column.item->length <= columns.length);
    if (const auto offset = slide.offset_of(column)) require(*offset <= column.offset);
  }
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  LayoutOptions options;
  if (input.flag()) options.copybook.replacing = {{"A", "B-A"}, {":T:", ""}};
  options.binary_sizes = static_cast<BinarySizes>(input.below(3));
  options.sync_boundary = input.flag() ? 8 : 4;
  options.copybook.find_copy = [](const std::string& name, const std::string& /*library*/,
                                  const std::string& /*asking*/) -> std::optional<CopiedText> {
    if (name == "T") return CopiedText{"t", "           05 :T:-B PIC X.\n"};
    if (name == "U") return CopiedText{"u", "           COPY T. COPY U.\n"};
    return std::nullopt;
  };
  const std::string text = copybook(input);
  try {
    const Layout layout = parse_layout(text, "f", options);
    for (const Record& record : layout.records) {
      require(record.min_length <= record.length);
      check_item(*record.root, record);
    }
    require(!layout_as_json(layout).empty() && !layout_as_text(layout).empty());
    check_columns(layout);
  } catch (const CopybookError& error) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    require(error.place.line >= 1 && error.place.column >= 1);
    require(error.place.source != 0 || error.place.line <= lines);
  }
}
