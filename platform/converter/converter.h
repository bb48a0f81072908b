// What the service hands out: one code page, both ways.
#ifndef ZVRT_CONVERTER_CONVERTER_H
#define ZVRT_CONVERTER_CONVERTER_H

#include "text.h"

namespace zvrt {

struct SingleByteKernels;
struct SingleByteTables;

// The tables and kernels of a single-byte page; null for the others.
struct SingleBytes {
  const SingleByteTables* tables = nullptr;
  const SingleByteKernels* kernels = nullptr;
};

// Statuses and counts are those of ZVRTICULib.h. A page of tables never changes and serves all threads; a streamed page
// has a state and serves one thread.
class Converter {
 public:
  explicit Converter(SingleBytes single_bytes = {}) : single_bytes_(single_bytes) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  virtual ~Converter() = default;

  virtual Outcome decode(Bytes source, WideDestination destination) = 0;
  virtual Outcome encode(WideText source, ByteDestination destination) = 0;

  SingleBytes single_bytes() const { return single_bytes_; }

 private:
  SingleBytes single_bytes_;
};

}  // namespace zvrt

#endif
