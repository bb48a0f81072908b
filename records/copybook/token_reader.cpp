#include "records/copybook/token_reader.h"

namespace zvrt::records {

TokenReader::TokenReader(const std::vector<Token>& tokens, const std::string& file) : file_(file) {
  for (const Token& token : tokens) {
    if (token.kind == Token::Kind::note)
      notes_.push_back({words_.size(), token});
    else
      words_.push_back(token);
  }
}

const Token& TokenReader::peek() const {
  if (at_end()) fail(last().end, "the copybook ends within an entry", "an entry ends with a period");
  return words_[at_];
}

const Token* TokenReader::peek_after() const { return at_ + 1 < words_.size() ? &words_[at_ + 1] : nullptr; }

const Token& TokenReader::next() {
  const Token& token = peek();
  ++at_;
  return token;
}

const Token& TokenReader::last() const {
  static const Token none{Token::Kind::word, {}, {}, {1, 1}, {1, 1}, false};
  return at_ == 0 ? none : words_[at_ - 1];
}

bool TokenReader::skip_word(std::string_view word) {
  if (!is(word)) return false;
  ++at_;
  return true;
}

Reference TokenReader::reference() {
  const Token& token = next();
  if (token.kind != Token::Kind::word) fail(token.place, "the name of an item is missing", "");
  Reference reference{token.text, {}, token.place};
  while (skip_word("OF") || skip_word("IN")) reference.qualifiers.push_back(next().text);
  return reference;
}

void TokenReader::fail(Place place, const std::string& message, const std::string& hint) const {
  throw CopybookError(file_, place, message, hint);
}

}  // namespace zvrt::records
