#include "records/copybook/tokens.h"

namespace zvrt::records {
namespace {

bool is_quote(char c) { return c == '"' || c == '\''; }
bool is_separator(char c) { return c == ',' || c == ';'; }

class Scanner {
 public:
  explicit Scanner(const std::string& file) : file_(file) {}

  std::vector<Token> run(const std::vector<LogicalLine>& lines) {
    for (const LogicalLine& line : lines) {
      cells_ = &line.code;
      at_ = 0;
      for (bool first = true; skip_blanks(), at_ < cells_->size(); first = false) {
        const std::size_t start = tokens_.size();
        scan();
        if (first && start < tokens_.size()) tokens_[start].begins_line = true;
      }
      cells_ = &line.note;
      at_ = 0;
      while (skip_blanks(), at_ < cells_->size()) scan_note();
    }
    return std::move(tokens_);
  }

 private:
  void scan() {
    if (is_quote(here())) return scan_literal("");
    if (is_separator(here()) && (ends_word(at_ + 1) || is_quote((*cells_)[at_ + 1].c))) {
      ++at_;
      return;
    }
    if (awaits_picture()) return scan_until_blank(Token::Kind::picture);
    scan_until_blank(Token::Kind::word);
  }

  // PIC, or PIC IS.
  bool awaits_picture() const {
    const auto is_picture = [](const Token& token) { return token.is("PIC") || token.is("PICTURE"); };
    const std::size_t count = tokens_.size();
    if (count > 0 && is_picture(tokens_[count - 1])) return !word_is("IS");
    return count > 1 && tokens_[count - 1].is("IS") && is_picture(tokens_[count - 2]);
  }

  bool word_is(std::string_view word) const {
    for (std::size_t k = 0; k < word.size(); ++k)
      if (at_ + k >= cells_->size() || upper((*cells_)[at_ + k].c) != word[k]) return false;
    return ends_word(at_ + word.size());
  }

  // A word ends at a blank; a quote ends it too, and is a literal's if what is before it is one of its prefixes.
  void scan_until_blank(Token::Kind kind) {
    const std::size_t start = at_;
    std::string text;
    while (!ends_word(at_) && !is_quote(here())) text += upper((*cells_)[at_++].c);
    const bool quoted = !ends_word(at_);
    if (quoted && kind == Token::Kind::word &&
        (text == "X" || text == "N" || text == "G" || text == "Z" || text == "NX" || text == "GX")) {
      at_ = start + text.size();
      return scan_literal(text);
    }
    bool period = false;
    if (!quoted && text.back() == '.') {
      period = true;
      text.pop_back();
    }
    if (!quoted)
      while (!text.empty() && is_separator(text.back())) text.pop_back();
    if (!text.empty()) add(kind, text, start, start + text.size());
    if (period) add(Token::Kind::period, ".", at_ - 1, at_);
  }

  // Two quotes within a literal are one. X'..' keeps its form, so that it is not taken for its characters.
  void scan_literal(const std::string& prefix) {
    const std::size_t start = at_ - prefix.size();
    const char quote = here();
    std::string text;
    for (++at_;; ++at_) {
      if (at_ == cells_->size())
        throw CopybookError(file_, (*cells_)[start].place(), "the literal has no end",
                            "a line that continues it has - in column 7");
      if (here() == quote) {
        if (at_ + 1 == cells_->size() || (*cells_)[at_ + 1].c != quote) break;
        ++at_;
      }
      text += here();
    }
    ++at_;
    const bool hexadecimal = prefix.find('X') != std::string::npos;
    add(Token::Kind::literal, hexadecimal ? prefix + "'" + text + "'" : text, start, at_);
    if (at_ < cells_->size() && here() == '.' && ends_word(at_ + 1)) {
      add(Token::Kind::period, ".", at_, at_ + 1);
      ++at_;
    }
  }

  // key, key=value or key="a value"
  void scan_note() {
    const std::size_t start = at_;
    std::string key;
    while (!ends_word(at_) && here() != '=') key += (*cells_)[at_++].c;
    add(Token::Kind::note, key, start, at_ == start ? at_ + 1 : at_);
    if (ends_word(at_)) return;
    ++at_;
    std::string& value = tokens_.back().value;
    const std::size_t value_start = at_;
    if (ends_word(at_) || here() != '"') {
      while (!ends_word(at_)) value += (*cells_)[at_++].c;
      return;
    }
    for (++at_; at_ < cells_->size() && here() != '"'; ++at_) value += here();
    if (at_ == cells_->size())
      throw CopybookError(file_, (*cells_)[value_start].place(), "the quoted value has no end");
    ++at_;
  }

  char here() const { return (*cells_)[at_].c; }
  bool ends_word(std::size_t at) const { return at >= cells_->size() || is_blank((*cells_)[at].c); }
  void skip_blanks() {
    while (at_ < cells_->size() && is_blank(here())) ++at_;
  }
  void add(Token::Kind kind, std::string text, std::size_t start, std::size_t end) {
    tokens_.push_back({kind, std::move(text), {}, (*cells_)[start].place(), (*cells_)[end - 1].place(), false});
  }

  const std::string& file_;
  const Cells* cells_ = nullptr;
  std::size_t at_ = 0;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> tokens_of(const std::vector<LogicalLine>& lines, const std::string& file) {
  return Scanner(file).run(lines);
}

}  // namespace zvrt::records
