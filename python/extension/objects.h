// Values of columns as Python objects: str, int, float, Decimal, date, time, datetime, None.
#pragma once

#include "columns.h"

namespace zvrt::python {

// Makes the objects of one column. Equal texts and decimals that are near each other are one object.
class ObjectMaker {
 public:
  explicit ObjectMaker(const ColumnBody& column);
  // A new reference.
  PyObject* make(std::int64_t row);

 private:
  struct Remembered {
    std::string_view bytes;
    Ref object;
  };
  PyObject* text(std::int64_t row);
  PyObject* decimal(std::int64_t row);
  PyObject* moment(std::int64_t row);
  template <class Make>
  PyObject* remembered(std::string_view bytes, Make make);

  const ColumnBody& column_;
  char kind_;  // the format's first letter; for dates and times its second
  int scale_ = 0;
  Ref class_;  // Decimal; of dates and times what makes one
  Ref epoch_;
  std::vector<Remembered> recent_;
};

}  // namespace zvrt::python
