// What every part of the tool needs of the conversion library: its life span, wide text, descriptors and date models.
#ifndef RECORD_EXCHANGE_LIBRARY_H
#define RECORD_EXCHANGE_LIBRARY_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ZVRTDataCnvLib.h"

namespace record_exchange {

using Status = std::uint32_t;

// What ends the tool: no file, no table, a layout that cannot be used. What a single cell runs into is a Status.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The library's converter service, in force while the object lives.
class Library {
 public:
  Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library();
};

// A code page as the library wants it told: a number and a kind letter.
struct CodePage {
  std::uint32_t number = 37;
  char kind = '\0';
};

// A field descriptor for narrow text in `page`, with a date model where the text is a date.
FldDef descriptor(CodePage page, const DtFormatDesc* format = nullptr);

// UTF-8 by way of the converter service: it refuses malformed text, where the built-in transform ends the text there.
FldDef strict_utf8();

// Wide text that keeps its memory from value to value. The characters are followed by a zero.
class WideText {
 public:
  // Makes room for `characters` and a terminator; the content is then whatever the library writes.
  wchar_t* room(std::size_t characters);
  // Bytes that the library may write.
  std::int32_t size_in_bytes() const { return static_cast<std::int32_t>(units_.size() * sizeof(wchar_t)); }
  void set_length(std::size_t characters);
  void assign(std::wstring_view text);

  const wchar_t* c_str() const { return units_.data(); }
  wchar_t* data() { return units_.data(); }
  std::size_t length() const { return length_; }
  std::wstring_view view() const { return {units_.data(), length_}; }

 private:
  std::vector<wchar_t> units_ = std::vector<wchar_t>(64);
  std::size_t length_ = 0;
};

// A tokenised date model that outlives the descriptors pointing to it.
class DateModel {
 public:
  explicit DateModel(std::string_view text);
  DateModel(const DateModel&) = delete;
  DateModel& operator=(const DateModel&) = delete;

  const DtFormatDesc* format() const { return &format_; }
  const std::string& text() const { return text_; }
  bool readable() const;                // every element can be parsed as well as written
  std::size_t fraction_digits() const;  // of the seconds; 0 without such an element

 private:
  std::string text_;
  std::vector<FmtCode> codes_;
  DtFormatDesc format_{};
};

// UTF-8 to wide text, strictly; refuses a zero inside.
Status from_utf8(std::string_view text, WideText& wide);
// Wide text to UTF-8.
Status to_utf8(const WideText& wide, std::string& text);

}  // namespace record_exchange

#endif
