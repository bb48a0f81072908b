// Every other page: through an ICU converter of the thread's own.
#ifndef ZVRT_CONVERTER_STREAMED_PAGE_H
#define ZVRT_CONVERTER_STREAMED_PAGE_H

#include <utility>

#include "converter.h"
#include "icu_converter.h"

namespace zvrt {

class StreamedPage final : public Converter {
 public:
  explicit StreamedPage(IcuConverter icu) : icu_(std::move(icu)) {}

  Outcome decode(Bytes source, WideDestination destination) override;
  Outcome encode(WideText source, ByteDestination destination) override;

 private:
  struct Attempt {
    UErrorCode error;
    std::size_t needed;
  };
  Attempt write_all(WideText source, ByteDestination sink) const;
  bool round_trips(WideText character);
  std::size_t longest_fitting(WideText source, std::size_t capacity) const;

  IcuConverter icu_;
};

}  // namespace zvrt

#endif
