// A page of one or two bytes a character, the first byte telling which, by tables.
#ifndef ZVRT_CONVERTER_DOUBLE_BYTE_PAGE_H
#define ZVRT_CONVERTER_DOUBLE_BYTE_PAGE_H

#include <memory>

#include "converter.h"
#include "icu_converter.h"
#include "pair_table.h"
#include "reverse_table.h"

namespace zvrt {

class DoubleBytePage final : public Converter {
 public:
  // Null when the page has longer or several characters behind two bytes, or memory is short.
  static std::unique_ptr<Converter> build(const IcuConverter& icu);

  Outcome decode(Bytes source, WideRoom room) override;
  Outcome encode(WideText source, ByteRoom room) override;

 private:
  bool learn(const IcuConverter& icu);
  bool learn_pairs(const IcuConverter& icu, unsigned char lead);

  struct Run {
    std::size_t characters;
    std::size_t bytes;
  };
  Run write_run(WideText source, ByteRoom room) const;

  PairTable characters_;
  ReverseTable code_of_;
  Ascii ascii_ = Ascii::no;
};

}  // namespace zvrt

#endif
