// The four functions of Arrow's stream interface over a class of ours.
//
// A stream belongs to one thread at a time, as the interface has it. No exception leaves through it: what a source throws
// becomes an error number, EIO but for a StreamError's own and ENOMEM, and the sentence of get_last_error().
#ifndef ZVRT_RECORDS_ARROW_STREAM_H
#define ZVRT_RECORDS_ARROW_STREAM_H

#include <memory>
#include <stdexcept>
#include <string>

#include "columns/arrow/abi.h"

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

struct ArrowArrayStream {
  // 0, or an error number; then get_last_error() has a sentence.
  int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* schema);
  int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* array);  // a released array is the end
  const char* (*get_last_error)(struct ArrowArrayStream*);
  void (*release)(struct ArrowArrayStream*);
  void* private_data;
};

#endif

namespace zvrt::records {

class StreamError : public std::runtime_error {
 public:
  StreamError(int number, const std::string& sentence) : std::runtime_error(sentence), number_(number) {}
  int number() const { return number_; }

 private:
  int number_;
};

class StreamSource {
 public:
  StreamSource() = default;
  StreamSource(const StreamSource&) = delete;
  StreamSource& operator=(const StreamSource&) = delete;
  virtual ~StreamSource() = default;
  virtual void schema(ArrowSchema& schema) = 0;
  // Leaves the array as it is, released, at the end.
  virtual void next(ArrowArray& array) = 0;
};

// The stream owns the source.
void make_stream(std::unique_ptr<StreamSource> source, ArrowArrayStream& stream);

}  // namespace zvrt::records

#endif
