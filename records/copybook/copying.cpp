#include "records/copybook/copying.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "records/files/input_file.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_files = 1000;  // of one copybook; more are copies without end
constexpr std::size_t deepest = 30;

using Tokens = std::vector<Token>;

// Reads the statements, whose operands are words, literals and ==pseudo text==.
class StatementReader {
 public:
  StatementReader(const Tokens& tokens, std::size_t at, const std::string& file)
      : tokens_(tokens), at_(at), start_(at), file_(file) {}

  std::size_t at() const { return at_; }
  bool is(std::string_view word) const { return at_ < tokens_.size() && tokens_[at_].is(word); }
  bool skip(std::string_view word) {
    if (!is(word)) return false;
    ++at_;
    return true;
  }
  bool skip_period() {
    if (at_ >= tokens_.size() || tokens_[at_].kind != Token::Kind::period) return false;
    ++at_;
    return true;
  }

  const Token& next() {
    if (at_ >= tokens_.size() || tokens_[at_].kind == Token::Kind::period)
      fail("the " + tokens_[start_].text + " statement is not complete", "it ends with a period");
    return tokens_[at_++];
  }

  // OLD BY NEW pairs up to the period.
  std::vector<Replacement> replacements() {
    std::vector<Replacement> pairs;
    while (!skip_period()) {
      Replacement pair;
      if (skip("LEADING"))
        pair.part = Replacement::Part::leading;
      else if (skip("TRAILING"))
        pair.part = Replacement::Part::trailing;
      pair.from = operand();
      if (!skip("BY")) fail("BY is missing after " + pair.from, "");
      pair.to = operand();
      if (pair.from.empty()) fail("nothing cannot be replaced", "");
      pairs.push_back(std::move(pair));
    }
    return pairs;
  }

  [[noreturn]] void fail(const std::string& message, const std::string& hint) const {
    throw CopybookError(file_, tokens_[start_].place, message, hint);
  }

 private:
  std::string operand() {
    const Token& first = next();
    if (!first.text.starts_with("==") || first.kind == Token::Kind::literal) return text_of(first);
    std::string text = first.text.substr(2);
    while (text.size() < 2 || !text.ends_with("==")) {
      if (at_ >= tokens_.size()) fail("the text has no == at its end", "");
      const Token& token = tokens_[at_++];
      text.append(text.empty() || token.kind == Token::Kind::period ? "" : " ").append(text_of(token));
    }
    text.resize(text.size() - 2);
    while (text.ends_with(' ')) text.pop_back();
    return text;
  }

  static std::string text_of(const Token& token) {
    if (token.kind != Token::Kind::literal) return token.text;
    std::string text = "'";
    for (const char c : token.text) text.append(c == '\'' ? 2 : 1, c);
    return text + "'";
  }

  const Tokens& tokens_;
  std::size_t at_;
  std::size_t start_;
  const std::string& file_;
};

// Copies within copies are read in turn, no deeper than `deepest`.
// NOLINTBEGIN(misc-no-recursion)
class Copier {
 public:
  explicit Copier(CopyContext& context) : context_(context) {}

  Tokens read(std::string_view text, std::size_t source, const std::vector<Replacement>& replacing, std::size_t depth) {
    const std::string file = context_.files[source];
    // A copied text may be of the other form.
    Reading reading = context_.reading;
    if (source != 0 && looks_free(text) != (reading == Reading::free))
      reading = reading == Reading::free ? Reading::fixed : Reading::free;
    std::vector<LogicalLine> lines = logical_lines(text, reading, file);
    for (LogicalLine& line : lines) {
      for (Cell& cell : line.code) cell.source = static_cast<std::uint32_t>(source);
      for (Cell& cell : line.note) cell.source = static_cast<std::uint32_t>(source);
      replace_words(line.code, replacing);
    }
    return with_copies(replaced(lines, file), file, depth);
  }

 private:
  // REPLACE is for the lines after it; each is done and taken out in turn.
  static Tokens replaced(std::vector<LogicalLine>& lines, const std::string& file) {
    Place done;
    for (;;) {
      Tokens tokens = tokens_of(lines, file);
      const auto begins = std::find_if(tokens.begin(), tokens.end(), [&](const Token& token) {
        return token.is("REPLACE") && token.begins_line && token.place.line > done.line;
      });
      if (begins == tokens.end()) {
        remove_statements(tokens);
        return tokens;
      }
      done = begins->place;
      StatementReader statement(tokens, static_cast<std::size_t>(begins - tokens.begin()), file);
      statement.next();
      statement.skip("ALSO");
      if (statement.skip("OFF")) continue;
      const std::vector<Replacement> pairs = statement.replacements();
      const Place end = tokens[statement.at() - 1].place;
      replace_between(lines, tokens, statement.at(), end, pairs);
    }
  }

  // Up to the next REPLACE statement.
  static void replace_between(std::vector<LogicalLine>& lines, const Tokens& tokens, std::size_t from, Place start,
                              const std::vector<Replacement>& pairs) {
    std::size_t last = ~std::size_t{0};
    for (std::size_t k = from; k < tokens.size(); ++k)
      if (tokens[k].is("REPLACE") && tokens[k].begins_line) {
        last = tokens[k].place.line;
        break;
      }
    for (LogicalLine& line : lines)
      if (!line.code.empty() && line.code.front().line > start.line && line.code.front().line < last)
        replace_words(line.code, pairs);
  }

  static void remove_statements(Tokens& tokens) {
    Tokens kept;
    for (std::size_t k = 0; k < tokens.size(); ++k) {
      if (tokens[k].is("REPLACE") && tokens[k].begins_line)
        while (k + 1 < tokens.size() && tokens[k].kind != Token::Kind::period) ++k;
      else
        kept.push_back(std::move(tokens[k]));
    }
    tokens = std::move(kept);
  }

  Tokens with_copies(Tokens tokens, const std::string& file, std::size_t depth) {
    Tokens made;
    for (std::size_t k = 0; k < tokens.size();) {
      const bool begins = tokens[k].begins_line || k == 0 || tokens[k - 1].kind == Token::Kind::period;
      if (!tokens[k].is("COPY") || !begins) {
        made.push_back(std::move(tokens[k++]));
        continue;
      }
      StatementReader statement(tokens, k, file);
      Tokens copied = copy(statement, file, depth);
      if (!copied.empty()) copied.front().begins_line = true;  // an entry before it that has no period is found
      made.insert(made.end(), std::make_move_iterator(copied.begin()), std::make_move_iterator(copied.end()));
      k = statement.at();
    }
    return made;
  }

  Tokens copy(StatementReader& statement, const std::string& file, std::size_t depth) {
    statement.next();
    const std::string name = statement.next().text;
    std::string library;
    if (statement.skip("OF") || statement.skip("IN")) library = statement.next().text;
    while (statement.skip("SUPPRESS") || statement.skip("PRINTING")) continue;
    std::vector<Replacement> replacing;
    if (statement.skip("REPLACING"))
      replacing = statement.replacements();
    else if (!statement.skip_period())
      statement.fail("the COPY statement is not complete", "it ends with a period");
    auto found = context_.find != nullptr ? (*context_.find)(name, library, file) : std::nullopt;
    if (!found)
      statement.fail("the copybook " + name + " is not found",
                     "it stands beside this one, or in an include folder (-I, include=)");
    if (depth == deepest || context_.files.size() == most_files)
      statement.fail("copybooks ask for each other without end", "");
    context_.files.push_back(found->file);
    return read(found->text, context_.files.size() - 1, replacing, depth + 1);
  }

  CopyContext& context_;
};
// NOLINTEND(misc-no-recursion)

std::optional<CopiedText> read_file(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  return CopiedText{path.string(), text_of_file(path.string())};
}

// The first of the endings counts; of names that differ in case the one as written, else the first.
std::optional<CopiedText> find_in(const std::filesystem::path& folder, const std::string& name) {
  static constexpr std::array endings{"", ".CPY", ".CBL", ".COB", ".COPY"};
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator at(folder.empty() ? "." : folder, error), end; !error && at != end;
       at.increment(error))
    names.push_back(at->path().filename().string());
  std::sort(names.begin(), names.end());
  for (const char* const ending : endings)
    for (const bool as_written : {true, false})
      for (const std::string& each : names)
        if (as_written ? each == name + ending : upper(each) == upper(name) + ending)
          if (auto found = read_file(folder / each)) return found;
  return std::nullopt;
}

}  // namespace

FindCopy copies_in(std::vector<std::string> folders) {
  return [folders = std::move(folders)](const std::string& name, const std::string& library,
                                        const std::string& asking) -> std::optional<CopiedText> {
    std::vector<std::filesystem::path> places{std::filesystem::path(asking).parent_path()};
    places.insert(places.end(), folders.begin(), folders.end());
    for (const std::filesystem::path& place : places)
      if (auto found = find_in(library.empty() ? place : place / library, name)) return found;
    for (const std::filesystem::path& place : places)  // libraries may all stand in one folder
      if (auto found = find_in(place, name)) return found;
    return std::nullopt;
  };
}

std::vector<Token> tokens_with_copies(std::string_view text, const std::vector<Replacement>& replacing,
                                      CopyContext& context) {
  return Copier(context).read(text, 0, replacing, 0);
}

}  // namespace zvrt::records
