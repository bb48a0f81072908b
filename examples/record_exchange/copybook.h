// The words of a copybook and its entries, before they are given places in a record.
#ifndef RECORD_EXCHANGE_COPYBOOK_H
#define RECORD_EXCHANGE_COPYBOOK_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "layout.h"

namespace record_exchange {

struct Place {
  std::size_t line = 0;
  std::size_t column = 0;
};

// A word, a period that ends an entry, or one option of a structured comment (key=value).
struct Token {
  enum class Kind { word, period, option };
  Kind kind = Kind::word;
  std::string text;   // words in upper case, options' keys as they are
  std::string value;  // of an option
  Place place;
};

struct Option {
  std::string value;
  Place place;
};

struct Entry {
  unsigned level = 0;
  std::string name;
  Place place;
  std::string picture;  // empty for a group
  Place picture_place;
  std::string usage;  // empty, COMP or COMP-3
  std::size_t occurs = 1;
  std::map<std::string, Option> options;
};

[[noreturn]] void fail_at(const std::string& file, Place place, const std::string& message);

std::vector<Token> tokens_of(std::string_view text, const std::string& file);
std::vector<Entry> entries_of(const std::vector<Token>& tokens, const std::string& file);

}  // namespace record_exchange

#endif
