#include "records/copybook/values.h"

#include <algorithm>
#include <array>

namespace zvrt::records {
namespace {

constexpr std::array figuratives{"SPACE", "SPACES", "ZERO",       "ZEROS",       "ZEROES", "LOW-VALUE", "LOW-VALUES",
                                 "NULL",  "NULLS",  "HIGH-VALUE", "HIGH-VALUES", "QUOTE",  "QUOTES"};

// Digits with a sign, a point or commas; also the exponent of a floating-point literal.
bool is_number(const Token& token) {
  return token.kind == Token::Kind::word && token.text.find_first_of("0123456789") != std::string::npos &&
         std::all_of(token.text.begin(), token.text.end(),
                     [](char c) { return is_digit(c) || c == '+' || c == '-' || c == '.' || c == ',' || c == 'E'; });
}

bool is_figurative(const Token& token) {
  return token.kind == Token::Kind::word &&
         std::find(figuratives.begin(), figuratives.end(), token.text) != figuratives.end();
}

bool is_value(const Token& token) {
  return token.kind == Token::Kind::literal || token.is("ALL") || is_number(token) || is_figurative(token);
}

// A level number at the beginning of a line, with a name after it: the entry before has no period.
bool begins_entry(const TokenReader& in) {
  const Token& token = in.peek();
  const Token* after = in.peek_after();
  return token.begins_line && token.text.size() <= 2 && after != nullptr && after->kind == Token::Kind::word &&
         !is_value(*after) && !after->is("THRU") && !after->is("THROUGH") && !after->is("WHEN");
}

Literal read_literal(TokenReader& in) {
  Literal literal;
  literal.all = in.skip_word("ALL");
  const Token token = in.next();
  literal.text = token.text;
  if (is_number(token)) {
    literal.kind = Literal::Kind::number;
  } else if (is_figurative(token)) {
    literal.kind = Literal::Kind::figurative;
  } else if (token.kind == Token::Kind::word) {  // the name of a constant, or a literal of another compiler
    while (!in.at_end() && in.peek().kind == Token::Kind::literal) literal.text += in.next().text;
  } else if (token.kind != Token::Kind::literal) {
    in.fail(token.place, "the value is missing", "");
  }
  while (in.skip_word("&")) literal.text += in.next().text;
  return literal;
}

// WHEN SET TO FALSE IS 'N': what SET ... TO FALSE moves; no value of the condition.
void skip_false_value(TokenReader& in) {
  in.skip_word("WHEN");
  in.skip_word("SET");
  in.skip_word("TO");
  if (!in.skip_word("FALSE")) return;
  in.skip_word("IS");
  read_literal(in);
}

}  // namespace

std::vector<ValueRange> read_values(TokenReader& in, bool of_condition) {
  std::vector<ValueRange> values;
  do {
    const Literal low = read_literal(in);
    const bool range = in.skip_word("THRU") || in.skip_word("THROUGH");
    values.emplace_back(low, range ? read_literal(in) : low);
  } while (of_condition && !in.at_end() && is_value(in.peek()) && !begins_entry(in));
  if (of_condition) skip_false_value(in);
  return values;
}

}  // namespace zvrt::records
