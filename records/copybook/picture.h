// Pictures: `S9(7)V99`, `X(20)`, `ZZ,ZZ9.99-`, `PPP99`, `N(4)`.
//
// A picture is read into runs of equal symbols, and from the runs come its category, its digits and its length:
//
//   picture      category         length  digits  scale  signed
//   S9(7)V99     numeric               9       9      2  yes     S, V and P take no character
//   PPP99        numeric               2       2      5  no      .00099 at most: P counts for the scale alone
//   99PPP        numeric               2       2     -3  no      a multiple of 1000
//   ZZ,ZZ9.99-   numeric_edited       10       7      2  yes
//   $$$,$$9.99   numeric_edited       10       7      2  no      the first $ of several never holds a digit
//   S9(3).99     numeric_edited        6       5      2  yes     S stands over a digit, as in a number
//   +9.99E+99    external_float        9       3      2  yes
//   XXBXX        alphanumeric_edited   5       0      0  no
#ifndef ZVRT_RECORDS_COPYBOOK_PICTURE_H
#define ZVRT_RECORDS_COPYBOOK_PICTURE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zvrt::records {

enum class Category {
  none,  // no picture: a group, or an item whose usage says all (COMP-1, POINTER, INDEX)
  alphabetic,
  alphanumeric,
  alphanumeric_edited,
  numeric,
  numeric_edited,
  external_float,
  national,         // N
  national_edited,  // N with B, 0 or /
  dbcs,             // G, with B or not
};

// Equal symbols in a row: `9(7)` is {'9', 7}. Letters in upper case; CR and DB are the symbols 'C' and 'D', of two
// characters each.
struct PictureRun {
  char symbol = 0;
  std::size_t count = 1;
};

struct Picture {
  std::string text;  // in upper case, as it stands in the copybook: S9(7)V99
  std::vector<PictureRun> runs;
  Category category = Category::none;
  std::size_t length = 0;  // characters of the item under USAGE DISPLAY, a separate sign not counted
  int digits = 0;          // of a number: positions that hold a digit
  int scale = 0;           // of a number: digits after the decimal point; negative if it ends in P
  bool is_signed = false;
};

// What is wrong with a picture: `at` is the place of the symbol in its text, from 0.
struct PictureFault {
  std::size_t at = 0;
  std::string message;
  std::string hint;
};

// Throws a PictureFault. `text` in upper case.
Picture parse_picture(const std::string& text);

}  // namespace zvrt::records

#endif
