// OLD=NEW in the words of a copybook, as COPY ... REPLACING does it.
//
// An OLD of letters, digits and hyphens stands for whole words. One that begins or ends with another character, or with
// a hyphen, is also found as a part of words:
//
//   :TAG:=CUST     :TAG:-NAME   ->  CUST-NAME
//   OLD-=NEW-      OLD-NAME     ->  NEW-NAME       at the start of words alone
//   -OLD=-NEW      NAME-OLD     ->  NAME-NEW       at their end alone
//   X-5=X(7)       PIC X-5      ->  PIC X(7)
//
// Upper and lower case are one, and so are any number of blanks in a row. Literals stay as they are.
#ifndef ZVRT_RECORDS_COPYBOOK_REPLACING_H
#define ZVRT_RECORDS_COPYBOOK_REPLACING_H

#include <string>
#include <vector>

#include "records/copybook/source.h"

namespace zvrt::records {

struct Replacement {
  enum class Part { by_form, leading, trailing };  // the last two: the beginning or the end of words
  std::string from;
  std::string to;
  Part part = Part::by_form;
};

// Each place is replaced once, by the first of `replacements` that fits; what comes of it is not looked at again.
void replace_words(Cells& code, const std::vector<Replacement>& replacements);

}  // namespace zvrt::records

#endif
