// What stands in copybooks beside entries: directives for the listing, file descriptions, SQL, other copybooks.
#ifndef ZVRT_RECORDS_COPYBOOK_OTHER_TEXT_H
#define ZVRT_RECORDS_COPYBOOK_OTHER_TEXT_H

#include "records/copybook/token_reader.h"

namespace zvrt::records {

// Takes what says nothing about a record (EJECT, SKIP1, TITLE, FD, section headings, SQL declarations). Throws where the
// text of another copybook belongs, which is not here. Whether something was taken.
bool skip_other_text(TokenReader& in);

// Throws with a hint for words within an entry that are known and not supported; else false.
bool fail_on_known_word(const TokenReader& in, const Token& token);

}  // namespace zvrt::records

#endif
