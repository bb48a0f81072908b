// Walks the tokens of a copybook; notes stand aside, since they may come between any two words.
#ifndef ZVRT_RECORDS_COPYBOOK_TOKEN_READER_H
#define ZVRT_RECORDS_COPYBOOK_TOKEN_READER_H

#include <string>
#include <string_view>
#include <vector>

#include "records/copybook/entry.h"
#include "records/copybook/tokens.h"

namespace zvrt::records {

class TokenReader {
 public:
  TokenReader(const std::vector<Token>& tokens, const std::string& file);

  bool at_end() const { return at_ == words_.size(); }
  bool is(std::string_view word) const { return !at_end() && words_[at_].is(word); }
  const Token& peek() const;              // throws at the end
  const Token* peek_after() const;        // the one after peek(), or null
  const Token& next();                    // throws at the end
  const Token& last() const;              // the one that next() gave last
  bool skip_word(std::string_view word);  // whether it was there
  Reference reference();                  // NAME {OF|IN NAME}

  // Notes that stand before peek().
  bool at_note() const { return note_ < notes_.size() && notes_[note_].before <= at_; }
  const Token& note() const { return notes_[note_].token; }
  void next_note() { ++note_; }

  [[noreturn]] void fail(Place place, const std::string& message, const std::string& hint) const;

 private:
  struct PlacedNote {
    std::size_t before = 0;
    Token token;
  };

  const std::string& file_;
  std::vector<Token> words_;
  std::vector<PlacedNote> notes_;
  std::size_t at_ = 0;
  std::size_t note_ = 0;
};

}  // namespace zvrt::records

#endif
