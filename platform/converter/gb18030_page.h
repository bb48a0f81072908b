// GB18030: one and two bytes as in a double-byte page, four bytes for every other character.
#ifndef ZVRT_CONVERTER_GB18030_PAGE_H
#define ZVRT_CONVERTER_GB18030_PAGE_H

#include <array>
#include <memory>

#include "converter.h"
#include "double_byte_tables.h"

namespace zvrt {

// Four-byte sequences are numbered from 81308130. The first 39420 are the characters below U+10000 without a shorter
// code, in order but for a few: a table. Those from 90308130 on are U+10000 to U+10FFFF in order: computed.
class Gb18030Page final : public Converter {
 public:
  // Null when ICU's page is another one than this, or memory is short.
  static std::unique_ptr<Converter> build(const IcuConverter& icu);

  Outcome decode(Bytes source, WideDestination destination) override;
  Outcome encode(WideText source, ByteDestination destination) override;

 private:
  static constexpr std::uint32_t tabled = 39420;

  bool build_four_byte_codes(const IcuConverter& icu);
  Decoded read(const unsigned char* text, std::size_t available) const;
  Encoded write(char32_t character) const;

  DoubleByteTables tables_;                                   // with the codes of four bytes below U+10000
  std::array<std::uint16_t, tabled> four_byte_characters_{};  // 0: undefined, as U+0000 is a single byte
};

}  // namespace zvrt

#endif
