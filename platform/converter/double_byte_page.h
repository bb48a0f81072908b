// A page of one or two bytes per character, by tables; the first byte decides the length.
#ifndef ZVRT_CONVERTER_DOUBLE_BYTE_PAGE_H
#define ZVRT_CONVERTER_DOUBLE_BYTE_PAGE_H

#include <memory>

#include "converter.h"
#include "double_byte_tables.h"

namespace zvrt {

class DoubleBytePage final : public Converter {
 public:
  // Null when two bytes of the page stand for several characters, or memory is short.
  static std::unique_ptr<Converter> build(const IcuConverter& icu);

  Outcome decode(Bytes source, WideDestination destination) override;
  Outcome encode(WideText source, ByteDestination destination) override;

 private:
  DoubleByteTables tables_;
};

}  // namespace zvrt

#endif
