#include "records/arrow/stream.h"

#include <cerrno>
#include <exception>
#include <new>
#include <utility>

namespace zvrt::records {
namespace {

struct Stream {
  std::unique_ptr<StreamSource> source;
  std::string error;

  int fail(int number, const char* sentence) {
    try {
      error = sentence;
    } catch (...) {
      error.clear();
    }
    return number;
  }
};

// Released unless it was taken.
struct MadeArray {
  MadeArray() = default;
  MadeArray(const MadeArray&) = delete;
  MadeArray& operator=(const MadeArray&) = delete;
  ~MadeArray() {
    if (array.release != nullptr) array.release(&array);
  }
  ArrowArray array{};
};

Stream& stream_of(ArrowArrayStream* stream) { return *static_cast<Stream*>(stream->private_data); }

template <class Work>
int guarded(ArrowArrayStream* given, Work work) {
  Stream& stream = stream_of(given);
  try {
    work(*stream.source);
    return 0;
  } catch (const std::bad_alloc&) {
    return stream.fail(ENOMEM, "there is not enough memory");
  } catch (const StreamError& failure) {
    return stream.fail(failure.number(), failure.what());
  } catch (const std::exception& failure) {
    return stream.fail(EIO, failure.what());
  } catch (...) {
    return stream.fail(EIO, "the source failed");
  }
}

extern "C" int zvrt_stream_schema(ArrowArrayStream* stream, ArrowSchema* schema) {
  return guarded(stream, [schema](StreamSource& source) { source.schema(*schema); });
}
extern "C" int zvrt_stream_next(ArrowArrayStream* stream, ArrowArray* array) {
  return guarded(stream, [array](StreamSource& source) {
    *array = {};
    MadeArray made;
    source.next(made.array);
    *array = std::exchange(made.array, {});
  });
}
extern "C" const char* zvrt_stream_error(ArrowArrayStream* stream) {
  const std::string& error = stream_of(stream).error;
  return error.empty() ? nullptr : error.c_str();
}
extern "C" void zvrt_stream_release(ArrowArrayStream* stream) {
  delete &stream_of(stream);
  stream->private_data = nullptr;
  stream->release = nullptr;
}

}  // namespace

void make_stream(std::unique_ptr<StreamSource> source, ArrowArrayStream& stream) {
  auto made = std::make_unique<Stream>(Stream{std::move(source), {}});
  stream.get_schema = zvrt_stream_schema;
  stream.get_next = zvrt_stream_next;
  stream.get_last_error = zvrt_stream_error;
  stream.release = zvrt_stream_release;
  stream.private_data = made.release();
}

}  // namespace zvrt::records
