// Numbers as edited pictures show them: `ZZ,ZZ9.99-`, `$$$,$$9.99`, `**9.99CR`.
#ifndef ZVRT_RECORDS_CODEC_EDITED_H
#define ZVRT_RECORDS_CODEC_EDITED_H

#include <optional>
#include <string>
#include <string_view>

#include "records/copybook/picture.h"

namespace zvrt::records {

class EditedPicture {
 public:
  EditedPicture(const Picture& picture, bool blank_when_zero);

  // The number that the characters show, as plain decimal text of the picture's scale; nothing if they show none. Also
  // one that is not edited as the picture says, as "  789.09" in 9(5).99.
  std::optional<std::string> number(std::string_view shown) const;
  // The characters that show the number; nothing if it does not fit the picture.
  std::optional<std::string> shown(std::string_view number) const;

 private:
  bool shows_the_same(std::string_view one, std::string_view other) const;
  std::optional<std::string> loose_number(std::string_view shown) const;
  std::optional<std::string> digits_of(std::string_view number, bool& negative) const;
  std::string edit(const std::string& digits, bool negative) const;

  std::string symbols_;  // one a position; C and D stand for CR and DB
  std::size_t digits_;
  std::size_t scale_;
  bool signed_;
  bool blank_when_zero_;
  char floating_ = 0;  // $, + or - where it stands more than once
};

}  // namespace zvrt::records

#endif
