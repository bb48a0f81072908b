// A code page of ICU's, asked what its bytes mean and how it writes characters.
#ifndef ZVRT_CONVERTER_ICU_PAGE_H
#define ZVRT_CONVERTER_ICU_PAGE_H

#include <unicode/ucnv.h>

#include <memory>
#include <string>

namespace zvrt {

class IcuPage {
 public:
  // Opens nothing when ICU does not know the name.
  explicit IcuPage(const std::string& name);

  explicit operator bool() const { return converter_ != nullptr; }
  std::string canonical_name() const;
  UConverterType type() const { return ucnv_getType(converter_.get()); }
  int longest_character() const { return ucnv_getMaxCharSize(converter_.get()); }

  // What these bytes mean as a complete text. An incomplete text is the beginning of others.
  enum class Answer { text, undefined, incomplete };
  struct Meaning {
    Answer answer;
    std::u32string text;
  };
  Meaning meaning(const std::string& bytes) const;

  // True when the text is written as exactly these bytes.
  bool writes(const std::u32string& text, const std::string& bytes) const;

 private:
  struct Close {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
  };
  std::unique_ptr<UConverter, Close> converter_;
};

}  // namespace zvrt

#endif
