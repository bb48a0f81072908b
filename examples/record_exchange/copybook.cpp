#include "copybook.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>

namespace record_exchange {
namespace {

constexpr std::string_view comment_mark = "*>";
constexpr char option_mark = '@';
constexpr std::size_t last_code_column = 72;

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Reads one line after the other. Sequence numbers (digits in the first six columns, or behind column 72) are not code.
class Scanner {
 public:
  Scanner(std::string_view text, const std::string& file) : text_(text), file_(file) {}

  std::vector<Token> run() {
    for (std::size_t start = 0; start < text_.size(); ++place_.line) {
      const std::size_t end = std::min(text_.find('\n', start), text_.size());
      scan_line(text_.substr(start, end - start));
      start = end + 1;
    }
    return std::move(tokens_);
  }

 private:
  void scan_line(std::string_view line) {
    at_ = 0;
    if (line.size() > last_code_column &&
        std::all_of(line.begin() + last_code_column, line.end(), [](char c) { return is_digit(c) || is_blank(c); }))
      line = line.substr(0, last_code_column);
    line_ = line;
    if (line.size() >= 6 && std::all_of(line.begin(), line.begin() + 6, is_digit)) at_ = 6;
    skip_blanks();
    if (at_ == 6 && at_ < line_.size() && (line_[at_] == '*' || line_[at_] == '/') && !begins(comment_mark)) return;
    for (; skip_blanks(), at_ < line_.size();) {
      if (begins(comment_mark)) return scan_comment();
      scan_word();
    }
  }

  // A period ends an entry where a blank or the line's end follows it; elsewhere it is part of its word.
  void scan_word() {
    const std::size_t start = at_;
    while (at_ < line_.size() && !is_blank(line_[at_])) ++at_;
    std::string word(line_.substr(start, at_ - start));
    const bool ends_entry = word.back() == '.';
    if (ends_entry) word.pop_back();
    std::transform(word.begin(), word.end(), word.begin(), upper);
    if (!word.empty()) add(Token::Kind::word, std::move(word), start);
    if (ends_entry) add(Token::Kind::period, ".", at_ - 1);
  }

  void scan_comment() {
    at_ += comment_mark.size();
    if (at_ == line_.size() || line_[at_] != option_mark) return;
    ++at_;
    while (skip_blanks(), at_ < line_.size()) scan_option();
  }

  void scan_option() {
    const std::size_t start = at_;
    while (at_ < line_.size() && !is_blank(line_[at_]) && line_[at_] != '=') ++at_;
    add(Token::Kind::option, std::string(line_.substr(start, at_ - start)), start);
    if (at_ == line_.size() || line_[at_] != '=') return;
    ++at_;
    const bool quoted = at_ < line_.size() && line_[at_] == '"';
    if (quoted) ++at_;
    const std::size_t value = at_;
    while (at_ < line_.size() && (quoted ? line_[at_] != '"' : !is_blank(line_[at_]))) ++at_;
    if (quoted && at_ == line_.size()) fail_at(file_, {place_.line, value}, "the quoted value has no end");
    tokens_.back().value = std::string(line_.substr(value, at_ - value));
    if (quoted) ++at_;
  }

  void skip_blanks() {
    while (at_ < line_.size() && is_blank(line_[at_])) ++at_;
  }
  bool begins(std::string_view with) const { return line_.substr(at_, with.size()) == with; }
  void add(Token::Kind kind, std::string text, std::size_t start) {
    tokens_.push_back({kind, std::move(text), {}, {place_.line, start + 1}});
  }

  std::string_view text_;
  const std::string& file_;
  std::string_view line_;
  std::size_t at_ = 0;
  Place place_{1, 1};
  std::vector<Token> tokens_;
};

// Builds entries from words; options belong to the entry before them.
class EntryReader {
 public:
  EntryReader(const std::vector<Token>& tokens, const std::string& file) : tokens_(tokens), file_(file) {}

  std::vector<Entry> run() {
    for (skip_options(); at_ < tokens_.size(); skip_options()) read_entry();
    if (entries_.empty()) fail_at(file_, {1, 1}, "the layout has no entry");
    for (const Token& option : early_options_) add_option(entries_.front(), option);
    return std::move(entries_);
  }

 private:
  void read_entry() {
    Entry entry;
    const Token& level = next_word("a level number");
    entry.level = static_cast<unsigned>(number(level, 1, 49, "a level number from 1 to 49"));
    entry.place = level.place;
    entry.name = next_word("a name").text;
    entries_.push_back(std::move(entry));
    while (at_ < tokens_.size() && tokens_[at_].kind != Token::Kind::period) read_clause();
    if (at_ == tokens_.size()) fail_at(file_, level.place, "the entry has no period");
    ++at_;
  }

  void read_clause() {
    const Token& token = tokens_[at_];
    if (token.kind == Token::Kind::option) return skip_options();
    ++at_;
    Entry& entry = entries_.back();
    if (is(token, {"PIC", "PICTURE"})) {
      skip_word("IS");
      const Token& picture = next_word("a picture");
      entry.picture = picture.text;
      entry.picture_place = picture.place;
    } else if (is(token, {"OCCURS"})) {
      entry.occurs = number(next_word("a count"), 1, 9999, "a count from 1 to 9999");
      skip_word("TIMES");
    } else if (is(token, {"USAGE"})) {
      skip_word("IS");
    } else if (is(token, {"COMP-3", "COMPUTATIONAL-3", "PACKED-DECIMAL"})) {
      entry.usage = "COMP-3";
    } else if (is(token, {"COMP", "COMP-4", "COMPUTATIONAL", "COMPUTATIONAL-4", "BINARY"})) {
      entry.usage = "COMP";
    } else if (is(token, {"DISPLAY"})) {
      entry.usage.clear();
    } else {
      fail_at(file_, token.place, fmt::format("'{}' is not understood here", token.text));
    }
  }

  void skip_options() {
    for (; at_ < tokens_.size() && tokens_[at_].kind == Token::Kind::option; ++at_) {
      if (entries_.empty())
        early_options_.push_back(tokens_[at_]);
      else
        add_option(entries_.back(), tokens_[at_]);
    }
  }

  void add_option(Entry& entry, const Token& option) {
    if (!entry.options.try_emplace(option.text, Option{option.value, option.place}).second)
      fail_at(file_, option.place, fmt::format("'{}' is given twice", option.text));
  }

  const Token& next_word(std::string_view what) {
    skip_options();
    const Place end = tokens_.back().place;
    if (at_ == tokens_.size()) fail_at(file_, end, fmt::format("{} is missing at the end", what));
    if (tokens_[at_].kind != Token::Kind::word) fail_at(file_, tokens_[at_].place, fmt::format("{} is missing", what));
    return tokens_[at_++];
  }

  void skip_word(std::string_view word) {
    if (at_ < tokens_.size() && tokens_[at_].kind == Token::Kind::word && tokens_[at_].text == word) ++at_;
  }

  std::size_t number(const Token& token, std::size_t least, std::size_t most, std::string_view what) const {
    std::size_t value = 0;
    const char* const end = token.text.data() + token.text.size();
    const auto [stop, error] = std::from_chars(token.text.data(), end, value);
    if (error != std::errc{} || stop != end || value < least || value > most)
      fail_at(file_, token.place, fmt::format("'{}' is not {}", token.text, what));
    return value;
  }

  static bool is(const Token& token, std::initializer_list<std::string_view> words) {
    return token.kind == Token::Kind::word && std::find(words.begin(), words.end(), token.text) != words.end();
  }

  const std::vector<Token>& tokens_;
  const std::string& file_;
  std::size_t at_ = 0;
  std::vector<Entry> entries_;
  std::vector<Token> early_options_;
};

}  // namespace

void fail_at(const std::string& file, Place place, const std::string& message) {
  throw Failure(fmt::format("{}:{}:{}: {}", file, place.line, place.column, message));
}

std::vector<Token> tokens_of(std::string_view text, const std::string& file) { return Scanner(text, file).run(); }

std::vector<Entry> entries_of(const std::vector<Token>& tokens, const std::string& file) {
  return EntryReader(tokens, file).run();
}

}  // namespace record_exchange
