#include "records/copybook/source.h"

#include <algorithm>
#include <array>

namespace zvrt::records {
namespace {

constexpr std::size_t indicator_at = 6;  // column 7
constexpr std::size_t code_end = 72;
constexpr std::size_t tab_width = 8;

std::size_t first_code(const Cells& cells, std::size_t from = 0) {
  while (from < cells.size() && is_blank(cells[from].c)) ++from;
  return from;
}

bool begins(const Cells& cells, std::size_t at, std::string_view with) {
  if (cells.size() - at < with.size()) return false;
  return std::equal(with.begin(), with.end(), cells.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char wanted, const Cell& cell) { return wanted == upper(cell.c); });
}

Cells part(const Cells& cells, std::size_t from, std::size_t to = std::string_view::npos) {
  to = std::min(to, cells.size());
  from = std::min(from, to);
  return {cells.begin() + static_cast<std::ptrdiff_t>(from), cells.begin() + static_cast<std::ptrdiff_t>(to)};
}

// The quote of a literal that has no end, else 0.
char open_quote(const Cells& cells) {
  char quote = 0;
  for (const Cell& cell : cells) {
    if (quote != 0) {
      if (cell.c == quote) quote = 0;
    } else if (cell.c == '"' || cell.c == '\'') {
      quote = cell.c;
    }
  }
  return quote;
}

// The last word before a picture: an asterisk that begins the next line is then one of the picture's.
bool awaits_picture(const Cells& cells) {
  std::size_t end = cells.size();
  std::array<std::string, 2> words;
  for (std::string& word : words) {
    while (end > 0 && is_blank(cells[end - 1].c)) --end;
    std::size_t start = end;
    while (start > 0 && !is_blank(cells[start - 1].c)) --start;
    for (std::size_t at = start; at < end; ++at) word += upper(cells[at].c);
    end = start;
  }
  const auto is_picture = [](const std::string& word) { return word == "PIC" || word == "PICTURE"; };
  return is_picture(words[0]) || (words[0] == "IS" && is_picture(words[1]));
}

class LineReader {
 public:
  LineReader(std::string_view text, Reading reading, const std::string& file)
      : text_(text), reading_(reading), file_(file), numbered_(reading == Reading::free && is_numbered(text)) {}

  std::vector<LogicalLine> run() {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF") text_.remove_prefix(3);
    while (!text_.empty()) {
      ++number_;
      const std::size_t end = text_.find('\n');
      read_line(cells_of(text_.substr(0, end)));
      text_.remove_prefix(end == std::string_view::npos ? text_.size() : end + 1);
    }
    return std::move(lines_);
  }

 private:
  // Lines of the free form may be numbered too, but then all of them are.
  static bool is_numbered(std::string_view text) {
    bool some = false;
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      const std::string_view line = text.substr(0, end);
      if (!std::all_of(line.begin(), line.end(), is_blank)) {
        if (line.size() < indicator_at || !std::all_of(line.begin(), line.begin() + indicator_at, is_digit))
          return false;
        some = true;
      }
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    return some;
  }

  // Tabs become blanks up to the next stop; blanks at the end go.
  Cells cells_of(std::string_view line) const {
    Cells cells;
    cells.reserve(line.size());
    for (std::size_t at = 0; at < line.size(); ++at) {
      const auto column = static_cast<std::uint32_t>(at + 1);
      if (line[at] == '\t') {
        do cells.push_back({' ', number_, column});
        while (cells.size() % tab_width != 0);
      } else {
        cells.push_back({is_blank(line[at]) ? ' ' : line[at], number_, column});
      }
    }
    while (!cells.empty() && cells.back().c == ' ') cells.pop_back();
    return cells;
  }

  void read_line(const Cells& line) {
    const std::size_t first = first_code(line);
    if (first == line.size()) return;
    if (begins(line, first, ">>") || begins(line, first, "$SET") || begins(line, first, "$IF"))
      return directive(line, first);
    if (reading_ == Reading::free) return free_line(line, first);
    fixed_line(line, first);
  }

  void free_line(const Cells& line, std::size_t first) {
    if (numbered_) first = first_code(line, std::max(first, indicator_at));
    if (first == line.size() || line[first].c == '/' || is_comment(line, first, true)) return;
    add_code(part(line, first));
  }

  void fixed_line(const Cells& line, std::size_t first) {
    if (first <= indicator_at && is_comment(line, first, false)) return;
    if (line.size() <= indicator_at) return;
    const char indicator = upper(line[indicator_at].c);
    const Cells text = part(line, indicator_at + 1, reading_ == Reading::wide ? line.size() : code_end);
    switch (indicator) {
      case '*':
      case '/': note_in(part(line, indicator_at)); return;
      case 'D': return;
      case '-': return continue_line(text);
      case ' ': break;
      default:
        if (reading_ != Reading::fixed)
          return add_code(part(line, indicator_at, reading_ == Reading::wide ? line.size() : code_end));
        fail(line[indicator_at], std::string("column 7 holds '") + line[indicator_at].c + "'",
             "it is blank, * or / for a comment, - for a continued line, D for a debugging line");
    }
    const std::size_t start = first_code(text);
    if (start == text.size()) return;
    if (begins(text, start, ">>")) return directive(text, start);
    if (is_comment(text, start, true)) return;
    add_code(text);
  }

  // A line that begins with an asterisk, in whatever column, unless it is where a picture is to come.
  bool is_comment(const Cells& line, std::size_t first, bool in_text) {
    if (line[first].c != '*') return false;
    if (in_text && !lines_.empty() && awaits_picture(lines_.back().code)) return false;
    note_in(part(line, first));
    return true;
  }

  void note_in(const Cells& comment) {
    if (begins(comment, 0, "*>@")) lines_.push_back({{}, part(comment, 3)});
  }

  // Code up to a comment that stands after it.
  void add_code(const Cells& text) {
    if (!lines_.empty() && open_quote(lines_.back().code) != 0) fail_open();
    lines_.push_back(without_comment(text, 0));
  }

  static LogicalLine without_comment(const Cells& text, char quote) {
    for (std::size_t at = 0; at < text.size(); ++at) {
      const char c = text[at].c;
      if (quote != 0) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (begins(text, at, "*>") && (at == 0 || is_blank(text[at - 1].c))) {
        return {part(text, 0, at), begins(text, at, "*>@") ? part(text, at + 3) : Cells{}};
      }
    }
    return {text, {}};
  }

  // A word goes on with the first character that is not blank. A literal goes on after its quote is repeated, and the
  // line before counts up to column 72.
  void continue_line(const Cells& text) {
    const std::size_t start = first_code(text);
    if (start == text.size()) return;
    const auto last =
        std::find_if(lines_.rbegin(), lines_.rend(), [](const LogicalLine& l) { return !l.code.empty(); });
    if (last == lines_.rend()) fail(text[start], "the line continues another one, but there is none", "");
    Cells& code = last->code;
    const char quote = open_quote(code);
    std::size_t from = start;
    if (quote == 0) {
      while (!code.empty() && is_blank(code.back().c)) code.pop_back();
    } else {
      if (text[start].c != quote)
        fail(text[start], std::string("the literal goes on without its ") + quote,
             "a continued literal begins with its quote");
      if (reading_ != Reading::wide)
        while (code.size() < code_end - indicator_at - 1) code.push_back({' ', code.back().line, code.back().column});
      ++from;
    }
    LogicalLine more = without_comment(part(text, from), quote);
    code.insert(code.end(), more.code.begin(), more.code.end());
    if (!more.note.empty()) last->note = std::move(more.note);
  }

  void directive(const Cells& line, std::size_t first) {
    std::string text;
    for (std::size_t at = first; at < line.size(); ++at) text += upper(line[at].c);
    const auto has = [&](std::string_view word) { return text.find(word) != std::string::npos; };
    if (has(">>SOURCE") || has(">> SOURCE") || has("SOURCEFORMAT")) {
      reading_ = has("FREE") ? Reading::free : has("VARIABLE") ? Reading::wide : Reading::fixed;
      return;
    }
    for (const std::string_view word : {">>IF", ">>ELSE", ">>END-IF", ">>ELIF", ">>EVALUATE", ">>WHEN", "$IF"})
      if (text.substr(0, word.size()) == word)
        fail(line[first], "conditional compilation is not understood",
             "keep the lines that apply and remove the others");
  }

  void fail_open() const {
    const Cells& code = lines_.back().code;
    const char quote = open_quote(code);
    const auto start = std::find_if(code.rbegin(), code.rend(), [&](const Cell& cell) { return cell.c == quote; });
    fail(*start, "the literal has no end", "a line that continues it has - in column 7");
  }

  [[noreturn]] void fail(const Cell& at, const std::string& message, const std::string& hint) const {
    throw CopybookError(file_, at.place(), message, hint);
  }

  std::string_view text_;
  Reading reading_;
  const std::string& file_;
  const bool numbered_;
  std::uint32_t number_ = 0;
  std::vector<LogicalLine> lines_;
};

}  // namespace

bool looks_free(std::string_view text) {
  std::size_t fitting = 0;
  std::size_t others = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    if (line.size() > 6 && line.substr(0, 6).find('\t') == std::string_view::npos)
      ++(std::string_view(" */-Dd\t$>").find(line[6]) != std::string_view::npos ? fitting : others);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return others > fitting;
}

// Control characters count as blanks: carriage return, form feed, the end mark of old editors.
bool is_blank(char c) { return c == ' ' || (c >= '\0' && c < ' '); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
std::string upper(std::string_view text) {
  std::string made(text);
  for (char& c : made) c = upper(c);
  return made;
}

std::vector<LogicalLine> logical_lines(std::string_view text, Reading reading, const std::string& file) {
  return LineReader(text, reading, file).run();
}

}  // namespace zvrt::records
