// A page of one byte a character, by tables.
#ifndef ZVRT_CONVERTER_SINGLE_BYTE_PAGE_H
#define ZVRT_CONVERTER_SINGLE_BYTE_PAGE_H

#include <array>
#include <memory>

#include "converter.h"
#include "icu_converter.h"
#include "reverse_table.h"

namespace zvrt {

class SingleBytePage final : public Converter {
 public:
  // Null when a byte of the page is more than one character, or memory is short.
  static std::unique_ptr<Converter> build(const IcuConverter& icu);

  Outcome decode(Bytes source, WideRoom room) override;
  Outcome encode(WideText source, ByteRoom room) override;

 private:
  bool learn(const IcuConverter& icu);
  std::size_t read_run(Bytes source, WideRoom room) const;
  std::size_t write_run(WideText source, ByteRoom room) const;

  std::array<std::uint32_t, 256> character_of_;  // undefined where the page defines none
  ReverseTable code_of_;
  bool is_ascii_ = true;  // bytes 00 to 7F are ASCII
};

}  // namespace zvrt

#endif
