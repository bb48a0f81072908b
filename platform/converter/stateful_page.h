// A stateful page (SO/SI, the mixed EBCDIC pages), by tables: one byte per character, and two bytes per character
// between a shift-out and a shift-in.
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
  // Null when two bytes of the page stand for several characters, or memory is short.
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
