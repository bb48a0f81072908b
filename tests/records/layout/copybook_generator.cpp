#include "records/layout/copybook_generator.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace zvrt_records_test {
namespace {

constexpr std::size_t deepest = 4;
constexpr std::size_t most_dimensions = 3;

std::string indented(std::size_t depth, const std::string& text) {
  return fmt::format("{}{:02} {}", std::string(2 * depth, ' '), depth == 0 ? 1 : 5 * depth, text);
}

// Lines of at most `width` characters, broken at a blank; but not before a picture if `keeps_pictures`, since GnuCOBOL
// takes no picture at the beginning of a line.
std::vector<std::string> wrapped(std::string line, std::size_t width, bool keeps_pictures) {
  std::vector<std::string> lines;
  while (line.size() > width) {
    std::size_t blank = line.rfind(' ', width);
    const std::size_t picture = line.rfind(" PIC", blank);
    if (keeps_pictures && picture != std::string::npos && blank < picture + 12) blank = picture;
    lines.push_back(line.substr(0, blank));
    line = "     " + line.substr(blank);
  }
  lines.push_back(line);
  return lines;
}

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

GeneratedCopybook CopybookGenerator::make(const std::string& prefix) {
  prefix_ = prefix;
  names_ = 0;
  entries_.clear();
  add(0, prefix + "R");
  const std::size_t items = between(1, 8);
  for (std::size_t k = 0; k < items; ++k) add_item(1, true, 0);
  if (chance(25)) add_variable_table(1, true, 0);
  return {as_cobol(), as_copybook()};
}

std::string CopybookGenerator::next_name() { return fmt::format("{}I{}", prefix_, ++names_); }

void CopybookGenerator::add(std::size_t depth, const std::string& text, const std::string& cobol) {
  entries_.push_back({text, cobol.empty() ? text : cobol, depth});
}

std::string CopybookGenerator::binary_form() {
  // GnuCOBOL gives COMP-5 of one or two digits one byte, a mainframe two.
  const std::size_t digits = between(3, 18);
  const std::size_t decimals = chance(30) ? below(digits) : 0;
  std::string picture = fmt::format("{}9({})", chance(60) ? "S" : "", digits - decimals);
  if (decimals != 0) picture += fmt::format("V9({})", decimals);
  const std::string usage = pick({"COMP", "BINARY", "COMP-4", "COMP-5", "COMPUTATIONAL", "USAGE IS COMPUTATIONAL-4"});
  const std::string sync = chance(30) ? pick({" SYNC", " SYNCHRONIZED", " SYNC RIGHT"}) : "";
  return fmt::format("PIC {} {}{}", picture, usage, sync);
}

std::string CopybookGenerator::number_form() {
  const std::size_t digits = between(1, 30);
  switch (below(7)) {
    case 0: return fmt::format("PIC 9({})", digits);
    case 1: return fmt::format("PICTURE IS S9({})V99", digits);
    case 2: return fmt::format("PIC S9({}) {}", digits, pick({"COMP-3", "PACKED-DECIMAL", "USAGE COMPUTATIONAL-3"}));
    case 3: return fmt::format("PIC 9({}) COMP-6", digits);
    case 4:
      return fmt::format("PIC S9({}) SIGN IS {}", digits,
                         pick({"LEADING", "TRAILING", "LEADING SEPARATE", "TRAILING SEPARATE CHARACTER"}));
    case 5: return pick({"PIC S9(3)P(4)", "PIC VP(3)9(4)", "PIC 9(5)PP COMP", "PIC SVPP9(6) COMP-3", "PIC PPP9(2)"});
    default: return fmt::format("PIC 9({}) BLANK WHEN ZERO", digits);
  }
}

std::string CopybookGenerator::form() {
  switch (below(9)) {
    case 0:
    case 1: return fmt::format("PIC X({})", between(1, 40));
    case 2:
      return pick({"PIC X", "PIC XXX", "PIC A(5)", "PIC X(9) JUST RIGHT", "PIC XXBXX", "PIC 9X9", "PIC X(3)/X(3)"});
    case 3: return number_form();
    case 4: return binary_form();
    case 5:
      return pick({"COMP-1", "COMP-2", "USAGE COMP-1 SYNC", "COMPUTATIONAL-2 SYNC", "INDEX", "BINARY-CHAR UNSIGNED",
                   "BINARY-SHORT", "BINARY-LONG", "BINARY-DOUBLE"});
    case 6:
      return pick({"PIC ZZ,ZZ9.99-", "PIC $$$,$$9.99", "PIC *(7)9", "PIC 99/99/9999", "PIC +(5)9", "PIC Z(4)9.99CR",
                   "PIC 9(3)B99", "PIC ---,--9.9(3)", "PIC ZZZ9DB"});
    case 7: return fmt::format("PIC {}9({}) COMP-X", chance(50) ? "S" : "", between(1, 18));
    default: return number_form();
  }
}

void CopybookGenerator::add_conditions(std::size_t depth) {
  if (!chance(15)) return;
  entries_.push_back({fmt::format("88 {} VALUE ZERO", next_name()), {}, depth + 1});
  entries_.back().cobol = entries_.back().text;
}

void CopybookGenerator::add_elementary(std::size_t depth, const std::string& clauses) {
  add(depth, chance(10) ? fmt::format("FILLER {}", form()) : fmt::format("{}{} {}", next_name(), clauses, form()));
}

void CopybookGenerator::add_item(std::size_t depth, bool may_repeat, std::size_t dimensions) {
  std::string clauses;
  if (may_repeat && dimensions < most_dimensions && chance(20)) {
    clauses = fmt::format(" OCCURS {}{}", between(1, 5), chance(50) ? " TIMES" : "");
    if (chance(30)) clauses += fmt::format(" INDEXED BY {}", next_name());
    ++dimensions;
  }
  if (depth < deepest && chance(30)) return add_group(depth, clauses, dimensions);
  if (clauses.empty() && depth < deepest && chance(8)) return add_usage_group(depth);
  if (clauses.empty() && depth < deepest && dimensions < most_dimensions && chance(5))
    return add_variable_table(depth, false, dimensions);
  if (!clauses.empty() || !chance(20)) return add_elementary(depth, clauses);
  const std::string name = next_name();
  add(depth, fmt::format("{} PIC X({})", name, between(1, 30)));
  add_redefinitions(depth, name, dimensions);
}

void CopybookGenerator::add_group(std::size_t depth, const std::string& clauses, std::size_t dimensions) {
  const std::string name = next_name();
  add(depth, name + clauses);
  const std::size_t items = between(1, 4);
  for (std::size_t k = 0; k < items; ++k) add_item(depth + 1, true, dimensions);
  if (clauses.empty() && chance(20)) add_redefinitions(depth, name, dimensions);
}

// The usage or the sign of a group is its items'.
void CopybookGenerator::add_usage_group(std::size_t depth) {
  const std::string clause = pick({"COMP-3", "USAGE IS BINARY", "COMP-5", "SIGN LEADING SEPARATE"});
  add(depth, fmt::format("{} {}", next_name(), clause));
  const std::size_t items = between(1, 3);
  for (std::size_t k = 0; k < items; ++k) add(depth + 1, fmt::format("{} PIC S9({})", next_name(), between(3, 18)));
}

void CopybookGenerator::add_redefinitions(std::size_t depth, const std::string& name, std::size_t dimensions) {
  const std::size_t count = between(1, 3);
  for (std::size_t k = 0; k < count; ++k) {
    const std::string clause = fmt::format(" REDEFINES {}", name);
    if (depth < deepest && chance(50)) {
      add(depth, next_name() + clause);
      const std::size_t items = between(1, 3);
      for (std::size_t n = 0; n < items; ++n) add_item(depth + 1, true, dimensions);
    } else {
      add(depth, fmt::format("{}{} PIC X({})", next_name(), clause, between(1, 40)));
    }
  }
}

void CopybookGenerator::add_variable_table(std::size_t depth, bool last, std::size_t dimensions) {
  const std::string count = next_name();
  const std::string table = next_name();
  const std::size_t most = between(2, 6);
  add(depth, fmt::format("{} PIC 9(2)", count));
  const std::string variable = fmt::format("{} OCCURS {} TO {} TIMES DEPENDING ON {}", table, below(2), most, count);
  add(depth, variable, last ? variable : fmt::format("{} OCCURS {} TIMES", table, most));
  const std::size_t items = between(1, 3);
  for (std::size_t k = 0; k < items; ++k) add_item(depth + 1, !last, dimensions + 1);
}

std::string CopybookGenerator::as_cobol() const {
  std::string text;
  for (const Entry& entry : entries_) {
    const bool condition = entry.text.substr(0, 3) == "88 ";
    const std::string line = condition ? entry.cobol : indented(entry.depth, entry.cobol);
    for (const std::string& part : wrapped(line + ".", 65, true)) text += fmt::format("       {}\n", part);
  }
  return text;
}

std::string CopybookGenerator::as_copybook() {
  const bool free_form = chance(20);
  const bool tags = !free_form && chance(60);
  const bool small_letters = chance(30);
  std::string text = free_form && chance(30) ? ">>SOURCE FORMAT IS FREE\n" : "";
  for (const Entry& entry : entries_) {
    std::string line = (entry.text.substr(0, 3) == "88 " ? entry.text : indented(entry.depth, entry.text)) + ".";
    if (small_letters) line = lower(line);
    if (chance(10))
      text +=
          free_form
              ? "*> a comment\n"
              : pick({"      * a comment\n", "      / a new page\n", "   *** beside column 7\n", "      *\n", "\n"});
    const std::size_t width = chance(15) ? line.size() / 2 + 15 : 65;
    for (const std::string& part : wrapped(line, width, false))
      text += free_form ? part + "\n" : dressed_line(part, tags);
    if (chance(2)) text += free_form ? "" : "           EJECT\n";
  }
  return text;
}

std::string CopybookGenerator::dressed_line(const std::string& line, bool tags) {
  if (!tags) return fmt::format("       {}{}\n", line, chance(5) ? "\r" : "");
  const std::string before = pick({"000100", "ABC-01", "      ", "123   "});
  const std::string after = pick({"00000010", "NEW 2001", "05 X PIC", "*"});
  return fmt::format("{} {:<65}{}\n", before, line, line.size() <= 65 ? after : "");
}

}  // namespace zvrt_records_test
