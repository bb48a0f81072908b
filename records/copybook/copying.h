// COPY and REPLACE: the text of other copybooks in the place where it is asked for, with words replaced.
//
//   COPY CUSTOMER.                                       customer.cpy beside the copybook, or in a folder of -I
//   COPY CUSTOMER OF STOCK SUPPRESS                      the same in the folder STOCK
//        REPLACING ==:TAG:== BY ==OLD==                  words of that text, as --replacing does it
//                  LEADING ==IN== BY ==OUT==             IN-NAME -> OUT-NAME
//                  QTY BY QUANTITY.
//   REPLACE ==:LEN:== BY ==20==.                         of the text from here on, up to
//   REPLACE OFF.
#ifndef ZVRT_RECORDS_COPYBOOK_COPYING_H
#define ZVRT_RECORDS_COPYBOOK_COPYING_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "records/copybook/replacing.h"
#include "records/copybook/tokens.h"

namespace zvrt::records {

struct CopiedText {
  std::string file;
  std::string text;
};

// The text of a copybook by its name as written, its library (OF, IN) or an empty one, and the file that asks for it;
// nothing if there is none.
using FindCopy = std::function<std::optional<CopiedText>(const std::string& name, const std::string& library,
                                                         const std::string& asking)>;

// Beside the file that asks and in `folders`: a file of that name in whatever case, alone or with the ending .cpy, .cbl,
// .cob or .copy.
FindCopy copies_in(std::vector<std::string> folders);

// How to read, and the files that were met; Place::source is an index into them, `files[0]` the copybook itself.
struct CopyContext {
  const FindCopy* find = nullptr;  // null: no copybook is ever found
  Reading reading = Reading::fixed;
  std::vector<std::string> files;
};

// The tokens of a text in which every COPY and REPLACE is done. Throws a CopybookError.
std::vector<Token> tokens_with_copies(std::string_view text, const std::vector<Replacement>& replacing,
                                      CopyContext& context);

}  // namespace zvrt::records

#endif
