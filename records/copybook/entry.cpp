// Reads entries: level, name, clauses in any order, period. Each clause is a row of a table: its first word and the
// function that reads the rest of it.
#include "records/copybook/entry.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <string_view>

#include "records/copybook/other_text.h"
#include "records/copybook/token_reader.h"
#include "records/copybook/usage_words.h"
#include "records/copybook/values.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_occurs = 134'217'727;

class EntryReader {
 public:
  EntryReader(const std::vector<Token>& tokens, const std::string& file) : in_(tokens, file) {}

  Entries run() {
    while (take_notes(), !in_.at_end()) {
      if (skip_other_text(in_)) continue;
      read_entry();
    }
    if (made_.list.empty())
      in_.fail({1, 1}, "the copybook has no entry", "an entry begins with a level number, as in 01 CUSTOMER.");
    return std::move(made_);
  }

 private:
  void read_entry() {
    const Token level = in_.next();
    const auto number = level_of(level);
    if (!number)
      in_.fail(level.place, "'" + level.text + "' is not a level number",
               "entries begin with 01 to 49, 66, 77, 78 or 88");
    if (*number == 78) return read_constant();
    entry_ = Entry{};
    entry_.level = *number;
    entry_.place = level.place;
    entry_.name = "FILLER";
    if (in_.at_end()) fail_no_period();
    read_name();
    if (in_.is("CONSTANT")) {
      in_.next();
      in_.skip_word("AS");
      return read_constant_value();
    }
    seen_.clear();
    made_.list.push_back(std::move(entry_));
    while (!ends_entry()) read_clause(made_.list.back());
  }

  static std::optional<unsigned> level_of(const Token& token) {
    const std::string& text = token.text;
    if (token.kind != Token::Kind::word || text.size() > 2 || !std::all_of(text.begin(), text.end(), is_digit))
      return std::nullopt;
    const auto level = static_cast<unsigned>(std::stoul(text));
    const bool known = (level >= 1 && level <= 49) || level == 66 || level == 77 || level == 78 || level == 88;
    return known ? std::optional(level) : std::nullopt;
  }

  void read_name() {
    const Token& token = in_.peek();
    if (token.kind == Token::Kind::literal || token.kind == Token::Kind::picture)
      in_.fail(token.place, "a name is missing", "a name that is to be replaced is given by --replacing OLD=NEW");
    if (token.kind != Token::Kind::word || is_clause(token)) return;
    if (std::all_of(token.text.begin(), token.text.end(), [](char c) { return is_digit(c); }))
      in_.fail(token.place, "'" + token.text + "' is not a name", "the entry before may lack its period");
    entry_.name = in_.next().text;
  }

  // SIGN and VALUE are names where a picture follows them.
  bool is_clause(const Token& token) const {
    if (!clauses().contains(token.text) && !usage_of(token.text)) return false;
    const Token* after = in_.peek_after();
    return after == nullptr || !(after->is("PIC") || after->is("PICTURE")) || token.text == "IS";
  }

  // At the period that ends the entry, which is taken; throws where the entry has none.
  bool ends_entry() {
    take_notes();
    if (in_.at_end()) fail_no_period();
    const Token& token = in_.peek();
    if (token.kind == Token::Kind::period) {
      in_.next();
      take_notes();
      return true;
    }
    if (token.begins_line && level_of(token)) fail_no_period();
    return false;
  }

  [[noreturn]] void fail_no_period() const {
    const Token& last = in_.last();
    in_.fail(last.end, "the entry has no period", "put one after '" + last.text + "'");
  }

  using Clause = void (EntryReader::*)(Entry&);
  static const std::map<std::string_view, Clause>& clauses() {
    using R = EntryReader;
    static const std::map<std::string_view, Clause> table{
        {"PIC", &R::picture},
        {"PICTURE", &R::picture},
        {"REDEFINES", &R::redefines},
        {"OCCURS", &R::occurs},
        {"DEPENDING", &R::depending},
        {"USAGE", &R::usage},
        {"VALUE", &R::value},
        {"VALUES", &R::value},
        {"SIGN", &R::sign},
        {"LEADING", &R::leading},
        {"TRAILING", &R::trailing},
        {"SYNC", &R::synchronized},
        {"SYNCHRONIZED", &R::synchronized},
        {"JUST", &R::justified},
        {"JUSTIFIED", &R::justified},
        {"BLANK", &R::blank},
        {"RENAMES", &R::renames},
        {"INDEXED", &R::indexed},
        {"ASCENDING", &R::key},
        {"DESCENDING", &R::key},
        {"EXTERNAL", &R::external},
        {"GLOBAL", &R::nothing},
        {"VOLATILE", &R::nothing},
        {"IS", &R::nothing},
        {"DATE", &R::date_format},
        {"GROUP-USAGE", &R::usage},
    };
    return table;
  }

  void read_clause(Entry& entry) {
    const Token token = in_.next();
    clause_ = token;
    if (token.kind == Token::Kind::word) {
      if (const auto usage = usage_of(token.text)) return set_usage(entry, *usage);
      if (const auto found = clauses().find(token.text); found != clauses().end()) return (this->*found->second)(entry);
      if (fail_on_known_word(in_, token)) return;
    }
    in_.fail(token.place, "'" + token.text + "' is not understood here", "of entry " + entry.name);
  }

  void once(std::string_view clause) {
    if (!seen_.insert(std::string(clause)).second) in_.fail(clause_.place, std::string(clause) + " is given twice", "");
  }

  void picture(Entry& entry) {
    once("PICTURE");
    in_.skip_word("IS");
    if (in_.at_end() || in_.peek().kind != Token::Kind::picture) in_.fail(clause_.place, "the picture is missing", "");
    const Token& text = in_.next();
    entry.picture = PictureClause{text.text, text.place};
    if (!in_.at_end() && in_.peek().text.front() == '(' && in_.peek().kind == Token::Kind::word)
      in_.fail(in_.peek().place, "a picture has no blanks", "write " + text.text + in_.peek().text);
  }

  void redefines(Entry& entry) {
    once("REDEFINES");
    entry.redefines = in_.reference();
  }

  void occurs(Entry& entry) {
    once("OCCURS");
    OccursClause occurs;
    occurs.place = clause_.place;
    occurs.most = count();
    occurs.least = occurs.most;
    if (in_.skip_word("TO")) {
      if (in_.is("UNBOUNDED"))
        in_.fail(in_.peek().place, "a table without a greatest size has no layout",
                 "write the greatest number of its entries");
      occurs.most = count();
      if (occurs.most < occurs.least) in_.fail(clause_.place, "OCCURS goes from more to less", "");
    }
    if (occurs.most == 0) in_.fail(clause_.place, "a table has at least one entry", "");
    in_.skip_word("TIMES");
    entry.occurs = occurs;
  }

  // The number of entries; where one number alone depends on an item, the least is 1.
  void depending(Entry& entry) {
    in_.skip_word("ON");
    if (!entry.occurs) in_.fail(clause_.place, "DEPENDING ON stands without OCCURS", "");
    once("DEPENDING ON");
    if (entry.occurs->least == entry.occurs->most) entry.occurs->least = std::min<std::size_t>(1, entry.occurs->most);
    entry.occurs->depends_on = in_.reference();
  }

  std::size_t count() {
    const Token token = in_.next();
    if (const auto found = constants_.find(token.text); found != constants_.end()) return found->second;
    std::size_t number = 0;
    const char* const end = token.text.data() + token.text.size();
    const auto [stop, error] = std::from_chars(token.text.data(), end, number);
    if (token.kind != Token::Kind::word || error != std::errc{} || stop != end || number > most_occurs)
      in_.fail(token.place, "'" + token.text + "' is not a number of entries", "it is a number up to 134217727");
    return number;
  }

  void usage(Entry& entry) {
    in_.skip_word("IS");
    const Token token = in_.next();
    const auto found = usage_of(token.text);
    if (token.kind != Token::Kind::word || !found) {
      fail_on_known_word(in_, token);
      in_.fail(token.place, "'" + token.text + "' is not a usage",
               "as DISPLAY, COMP, COMP-1 to COMP-6, NATIONAL, POINTER, INDEX");
    }
    set_usage(entry, *found);
  }

  void set_usage(Entry& entry, UsageClause usage) {
    once("USAGE");
    usage.place = clause_.place;
    if (in_.skip_word("UNSIGNED")) usage.is_signed = false;
    in_.skip_word("SIGNED");
    entry.usage = std::move(usage);
  }

  void value(Entry& entry) {
    once("VALUE");
    in_.skip_word("IS");
    in_.skip_word("ARE");
    entry.values = read_values(in_, entry.level == 88);
  }

  void sign(Entry& entry) {
    in_.skip_word("IS");
    if (in_.skip_word("LEADING")) return leading(entry);
    if (in_.skip_word("TRAILING")) return trailing(entry);
    in_.fail(clause_.place, "SIGN is LEADING or TRAILING", "");
  }
  void leading(Entry& entry) { set_sign(entry, true); }
  void trailing(Entry& entry) { set_sign(entry, false); }
  void set_sign(Entry& entry, bool is_leading) {
    once("SIGN");
    const bool separate = in_.skip_word("SEPARATE");
    in_.skip_word("CHARACTER");
    entry.sign = SignClause{is_leading, separate, clause_.place};
  }

  void synchronized(Entry& entry) {
    if (!in_.skip_word("LEFT")) in_.skip_word("RIGHT");
    entry.synchronized = true;
  }
  void justified(Entry& entry) {
    in_.skip_word("RIGHT");
    entry.justified = true;
  }
  void blank(Entry& entry) {
    in_.skip_word("WHEN");
    if (!in_.skip_word("ZERO") && !in_.skip_word("ZEROS") && !in_.skip_word("ZEROES"))
      in_.fail(clause_.place, "BLANK is BLANK WHEN ZERO", "");
    entry.blank_when_zero = true;
  }

  void renames(Entry& entry) {
    if (entry.level != 66) in_.fail(clause_.place, "only level 66 renames", "");
    entry.renames_from = in_.reference();
    if (in_.skip_word("THROUGH") || in_.skip_word("THRU")) entry.renames_through = in_.reference();
  }

  void indexed(Entry&) {
    in_.skip_word("BY");
    skip_names();
  }
  void key(Entry&) {
    in_.skip_word("KEY");
    in_.skip_word("IS");
    skip_names();
  }
  void skip_names() {
    do in_.reference();
    while (!in_.at_end() && in_.peek().kind == Token::Kind::word && !is_clause(in_.peek()) &&
           !(in_.peek().begins_line && level_of(in_.peek())));
  }

  void external(Entry&) {
    if (in_.skip_word("AS")) in_.next();
  }
  void date_format(Entry&) {
    if (!in_.skip_word("FORMAT")) in_.fail(clause_.place, "'DATE' is not understood here", "the clause is DATE FORMAT");
    in_.skip_word("IS");
    in_.next();
  }
  void nothing(Entry&) {}

  // 78 NAME VALUE 10. and 01 NAME CONSTANT AS 10. stand for their numbers in OCCURS.
  void read_constant() {
    entry_.name = in_.next().text;
    while (in_.skip_word("IS") || in_.skip_word("GLOBAL")) continue;
    if (!in_.skip_word("VALUE") && !in_.skip_word("VALUES")) in_.fail(in_.last().place, "a constant has a VALUE", "");
    in_.skip_word("IS");
    read_constant_value();
  }
  void read_constant_value() {
    const Token value = in_.next();
    std::size_t number = 0;
    const char* const end = value.text.data() + value.text.size();
    const auto [stop, error] = std::from_chars(value.text.data(), end, number);
    if (error == std::errc{} && stop == end && in_.peek().kind == Token::Kind::period) constants_[entry_.name] = number;
    while (in_.next().kind != Token::Kind::period) continue;
  }

  void take_notes() {
    for (; in_.at_note(); in_.next_note()) {
      const Token& note = in_.note();
      if (std::optional<Note>* slot = made_.note_slot(note.text)) {
        if (*slot) in_.fail(note.place, "'" + note.text + "' is given twice", "");
        *slot = Note{note.value, note.place};
      } else {
        in_.fail(note.place, "'" + note.text + "' is not an option of a field",
                 "options are column, null, indicator, date, table-date, number; page and newline of a file");
      }
    }
  }

  TokenReader in_;
  Entries made_;
  Entry entry_;
  Token clause_;
  std::set<std::string> seen_;
  std::map<std::string, std::size_t> constants_;
};

}  // namespace

Entries entries_of(const std::vector<Token>& tokens, const std::string& file) {
  return EntryReader(tokens, file).run();
}

}  // namespace zvrt::records
