// A page of one byte per character, by tables.
#ifndef ZVRT_CONVERTER_SINGLE_BYTE_PAGE_H
#define ZVRT_CONVERTER_SINGLE_BYTE_PAGE_H

#include <memory>

#include "converter.h"
#include "icu_converter.h"
#include "single_byte_tables.h"

namespace zvrt {

class SingleBytePage final : public Converter {
 public:
  // Null when a byte of the page is not a single UTF-16 unit, or memory is short.
  static std::unique_ptr<Converter> build(const IcuConverter& icu);

  // With kernels of the caller's choice, for comparing them.
  static std::unique_ptr<Converter> build(const IcuConverter& icu, const SingleByteKernels& kernels);

  Outcome decode(Bytes source, WideDestination destination) override;
  Outcome encode(WideText source, ByteDestination destination) override;

 private:
  explicit SingleBytePage(const SingleByteKernels& kernels) : Converter({&tables_, &kernels}), kernels_(kernels) {}
  bool build_tables(const IcuConverter& icu);
  void lay_out_for_kernels();
  std::size_t encode_prefix(WideText source, ByteDestination destination) const;

  SingleByteTables tables_;
  const SingleByteKernels& kernels_;
};

}  // namespace zvrt

#endif
