// The runs of a single-byte page that kernels convert.
#ifndef ZVRT_CONVERTER_SINGLE_BYTE_KERNELS_H
#define ZVRT_CONVERTER_SINGLE_BYTE_KERNELS_H

#include <cstddef>

#include "page_tables.h"

namespace zvrt {

// Convert a leading part of `count` units and say how many. Reading stops before the first byte that the page does not
// define; writing before the first character that it does not have, at the latest: 0 is always allowed. Nothing is
// written for it or after it.
struct SingleByteKernels {
  std::size_t (*read)(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to);
  std::size_t (*write)(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to);
};

extern const SingleByteKernels single_byte_baseline;
extern const SingleByteKernels single_byte_avx512;

// The version for this machine, chosen when the library is loaded.
extern const SingleByteKernels single_byte_kernels;

}  // namespace zvrt

#endif
