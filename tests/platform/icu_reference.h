// ICU asked directly and naively, one whole text at a time: what the service is compared with.
#pragma once

#include <unicode/ucnv.h>

#include <optional>
#include <string>

namespace zvrt_test {

class IcuReference {
 public:
  explicit IcuReference(const std::string& name);
  ~IcuReference() { ucnv_close(converter_); }
  IcuReference(const IcuReference&) = delete;
  IcuReference& operator=(const IcuReference&) = delete;

  // Nothing for a text that the page does not carry.
  std::optional<std::u32string> decode(const std::string& bytes) const;
  std::optional<std::string> encode(const std::u32string& text) const;

 private:
  UConverter* converter_;
};

// What ICU writes and reads back as the same text. Its other mappings would change the text silently.
inline std::optional<std::string> encode_exactly(const IcuReference& icu, const std::u32string& text) {
  std::optional<std::string> bytes = icu.encode(text);
  return bytes && icu.decode(*bytes) == text ? bytes : std::nullopt;
}

}  // namespace zvrt_test
