// An ICU converter that refuses instead of substituting, and the questions from which pages of tables are built.
#ifndef ZVRT_CONVERTER_ICU_CONVERTER_H
#define ZVRT_CONVERTER_ICU_CONVERTER_H

#include <unicode/ucnv.h>

#include <cstdint>
#include <initializer_list>
#include <utility>

#include "text.h"

namespace zvrt {

class IcuConverter {
 public:
  // Opens nothing when ICU does not know the name, or lacks the memory.
  explicit IcuConverter(const char* name);
  IcuConverter(IcuConverter&& other) noexcept
      : converter_(std::exchange(other.converter_, nullptr)), error_(other.error_) {}
  IcuConverter(const IcuConverter&) = delete;
  IcuConverter& operator=(const IcuConverter&) = delete;
  ~IcuConverter() { ucnv_close(converter_); }

  explicit operator bool() const { return converter_ != nullptr; }
  bool lacked_memory() const { return error_ == U_MEMORY_ALLOCATION_ERROR; }
  UConverter* get() const { return converter_; }

  // Of a name that is open: ICU's own name of the page, without options.
  const char* canonical_name() const;

  enum class Answer { character, undefined, incomplete, multi_character };
  struct DecodedSequence {
    Answer answer;
    char32_t character;
  };
  // What these bytes decode to as a complete text.
  DecodedSequence decode(std::initializer_list<unsigned char> bytes) const;

  // True when the character as a complete text encodes to exactly these bytes.
  bool encodes_to(char32_t character, std::initializer_list<unsigned char> bytes) const;

 private:
  UConverter* converter_;
  UErrorCode error_ = U_ZERO_ERROR;  // of opening it
};

}  // namespace zvrt

#endif
