// A cell as text, through the library.
#ifndef RECORD_EXCHANGE_CELL_TEXT_H
#define RECORD_EXCHANGE_CELL_TEXT_H

#include <string>

#include "library.h"
#include "table.h"

namespace record_exchange {

// The cell's text: its own, an integer's digits, or the fewest digits that read back as the same double.
Status to_wide(const Cell& cell, WideText& wide);

// The same in UTF-8; what has no text gives its bytes.
class CellText {
 public:
  std::string_view of(const Cell& cell);

 private:
  WideText wide_;
  std::string text_;
};

}  // namespace record_exchange

#endif
