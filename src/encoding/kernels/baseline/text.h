// The kernels for every processor that stand in a file of their own.
#pragma once

#include <cstddef>

#include "encoding/text_kernels.h"

namespace zvrt::baseline {

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity);
Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity);
Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity);
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity);

Progress drop_blanks(void* text, std::size_t count);
void copy_counted(const void* src, void* dst, std::size_t count);
std::size_t leading_blanks(const void* text, std::size_t count);
std::size_t trailing_blanks(const void* text, std::size_t count);

}  // namespace zvrt::baseline
