// Tells where the next record is, from the bytes that are there. It keeps no bytes itself, so that each form is a few
// lines, and the reader moves all of them by one loop.
#ifndef ZVRT_RECORDS_FORMATS_FRAMER_H
#define ZVRT_RECORDS_FORMATS_FRAMER_H

#include <memory>

#include "records/formats/format.h"

namespace zvrt::records {

struct Frame {
  enum class Kind {
    more,    // cannot be told before more bytes are there
    end,     // nothing is left
    record,  // `before` bytes, `length` bytes of the record, `after` bytes
    skip,    // `before` bytes belong to no record
    damage,  // `before` bytes make no sense; `why` says it
  };
  Kind kind = Kind::more;
  std::size_t before = 0;
  std::size_t length = 0;
  std::size_t after = 0;
  std::string why{};

  std::size_t total() const { return before + length + after; }
};

class Framer {
 public:
  Framer() = default;
  Framer(const Framer&) = delete;
  Framer& operator=(const Framer&) = delete;
  virtual ~Framer() = default;

  // `last`: the file has nothing after these bytes. Nothing left is Kind::end; with `last` never Kind::more.
  virtual Frame next(const char* bytes, std::size_t count, bool last) = 0;
  // Before the first record of a file.
  virtual void begin_file() {}
};

std::unique_ptr<Framer> make_framer(const FormatOptions& options);

// What an RDW says of the record's bytes after it; nothing where it can be no length word.
std::optional<std::size_t> length_of_word(const char* word, const LengthWords& words);
// Whether a length word can say that much.
bool has_word(std::size_t length, const LengthWords& words);
// The length word of a record; throws a Failure if it cannot say that much.
std::string word_of_length(std::size_t length, const LengthWords& words);

}  // namespace zvrt::records

#endif
