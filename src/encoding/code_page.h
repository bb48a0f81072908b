// Whether a field's narrow text is UTF-8.
#pragma once

#include <cstdint>

#include "core/call.h"

namespace zvrt {

// The pairs of vendor letter and code page that mean UTF-8 and need no converter.
constexpr bool is_utf8_pair(char kind, std::uint32_t code_page) {
  switch (kind) {
    case '2':
    case 'C': return code_page == 1208;
    case 'I': return code_page == 57372;
    case 'O': return code_page >= 870 && code_page <= 873;
    case 'S': return code_page == 190;
    case 'T': return code_page == 63;
    case 'Z': return code_page == 2;
    default: return false;
  }
}

constexpr bool is_utf8(char kind, std::uint32_t code_page) { return code_page == 0 || is_utf8_pair(kind, code_page); }

inline bool is_utf8(const FldDef* fldDef) {
  return fldDef == nullptr || is_utf8(fldDef->codePageKind, fldDef->codePage);
}

}  // namespace zvrt
