// What the service hands out: one code page, both ways.
#ifndef ZVRT_CONVERTER_CONVERTER_H
#define ZVRT_CONVERTER_CONVERTER_H

#include "text.h"

namespace zvrt {

// Statuses and counts are those of ZVRTICULib.h. A page of tables never changes and serves all threads; a streamed one
// has a state and serves one.
class Converter {
 public:
  Converter() = default;
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  virtual ~Converter() = default;

  virtual Outcome decode(Bytes source, WideRoom room) = 0;
  virtual Outcome encode(WideText source, ByteRoom room) = 0;
};

}  // namespace zvrt

#endif
