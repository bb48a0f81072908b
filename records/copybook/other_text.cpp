#include "records/copybook/other_text.h"

#include <algorithm>
#include <array>
#include <string>

namespace zvrt::records {
namespace {

struct Row {
  std::string_view word;
  std::string_view message;
  std::string_view hint;
};

constexpr std::string_view put_text = "put the text of that copybook in its place";

constexpr std::array unsupported{
    Row{"COPY", "another copybook belongs here", put_text},
    Row{"-INC", "another copybook belongs here", put_text},
    Row{"++INCLUDE", "another copybook belongs here", put_text},
    Row{"%INCLUDE", "another copybook belongs here", put_text},
    Row{"INCLUDE", "another copybook belongs here", put_text},
    Row{"REPLACE", "REPLACE is not understood", "give its words by --replacing OLD=NEW"},
    Row{"PROCEDURE", "the entries end where the program begins", "remove what follows them"},
    Row{"SQL", "SQL types take the form that a precompiler gives them", "write the items that it makes of this one"},
    Row{"ANY", "an item of ANY LENGTH has no layout", "write its length"},
    Row{"DYNAMIC", "an item of DYNAMIC length has no layout", "write its length"},
    Row{"TYPE", "user types are not understood", "write the items of the type"},
    Row{"TYPEDEF", "user types are not understood", "write the items of the type where it is used"},
    Row{"SAME", "SAME AS is not understood", "write the items of the other group"},
    Row{"LIKE", "LIKE is not understood", "write the items of the other one"},
    Row{"OBJECT", "object references are not understood", "they are no data of a file"},
    Row{"BIT", "bits are not understood", ""},
};

void skip_sentence(TokenReader& in) {
  while (in.next().kind != Token::Kind::period) continue;
}

// EXEC SQL ... END-EXEC says nothing about a record unless it takes in another text.
void skip_exec(TokenReader& in) {
  const Token exec = in.next();
  while (!in.is("END-EXEC")) {
    const Token& token = in.next();
    if (token.is("INCLUDE")) in.fail(exec.place, "another copybook belongs here", std::string(put_text));
  }
  in.next();
}

}  // namespace

bool skip_other_text(TokenReader& in) {
  const Token& token = in.peek();
  if (token.kind == Token::Kind::period || token.is("EJECT") || token.is("SKIP1") || token.is("SKIP2") ||
      token.is("SKIP3")) {
    in.next();
  } else if (token.is("TITLE")) {
    in.next();
    in.next();
  } else if (token.is("FD") || token.is("SD")) {
    skip_sentence(in);
  } else if (token.is("EXEC")) {
    skip_exec(in);
  } else if (const Token* after = in.peek_after(); after != nullptr && !is_digit(token.text.front()) &&
                                                   (after->is("SECTION") || after->is("DIVISION")) &&
                                                   !token.is("PROCEDURE")) {
    skip_sentence(in);
  } else {
    return fail_on_known_word(in, token);
  }
  return true;
}

bool fail_on_known_word(const TokenReader& in, const Token& token) {
  const auto found =
      std::find_if(unsupported.begin(), unsupported.end(), [&](const Row& row) { return token.is(row.word); });
  if (found != unsupported.end()) in.fail(token.place, std::string(found->message), std::string(found->hint));
  return false;
}

}  // namespace zvrt::records
