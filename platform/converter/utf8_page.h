// UTF-8 as Unicode defines it: shortest forms only, no surrogates, nothing above U+10FFFF.
#ifndef ZVRT_CONVERTER_UTF8_PAGE_H
#define ZVRT_CONVERTER_UTF8_PAGE_H

#include "converter.h"

namespace zvrt {

class Utf8Page final : public Converter {
 public:
  Outcome decode(Bytes source, WideDestination destination) override;
  Outcome encode(WideText source, ByteDestination destination) override;
};

}  // namespace zvrt

#endif
