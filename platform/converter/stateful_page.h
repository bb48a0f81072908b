// A page of two sets, one byte and two bytes a character, with shifts between them (the mixed EBCDIC pages), by tables.
#ifndef ZVRT_CONVERTER_STATEFUL_PAGE_H
#define ZVRT_CONVERTER_STATEFUL_PAGE_H

#include <memory>

#include "converter.h"
#include "icu_converter.h"
#include "pair_table.h"
#include "reverse_table.h"

namespace zvrt {

class StatefulPage final : public Converter {
 public:
  // Null when the page has several characters behind two bytes, or memory is short.
  static std::unique_ptr<Converter> build(const IcuConverter& icu);

  Outcome decode(Bytes source, WideDestination destination) override;
  Outcome encode(WideText source, ByteDestination destination) override;

 private:
  bool build_singles(const IcuConverter& icu);
  bool build_pairs(const IcuConverter& icu, unsigned char lead);

  PairTable characters_;
  ReverseTable code_of_;
};

}  // namespace zvrt

#endif
