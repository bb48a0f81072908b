#include "records/arrow/record_stream.h"

#include <fmt/core.h>

#include <cerrno>
#include <exception>
#include <new>
#include <utility>

namespace zvrt::records {
namespace {

class RecordStream {
 public:
  RecordStream(std::vector<std::string> files, FormatOptions options, RecordPlanHolder plan, std::size_t fields,
               std::size_t record_bytes, ReportBlock report)
      : reader_(std::move(files), std::move(options)),
        plan_(std::move(plan)),
        outcomes_(fields),
        record_bytes_(record_bytes),
        report_(std::move(report)) {}

  int get_schema(ArrowSchema& schema) { return answer(ZVRTRecordSchema(plan_.get(), &schema)); }

  int get_next(ArrowArray& array) {
    array = {};
    RecordBlock block;
    do {
      if (!reader_.next(block)) return 0;
      if (const int error = check(block); error != 0) return error;
    } while (block.count() == 0);
    for (ZVRTOutcome& outcome : outcomes_) outcome.size = sizeof outcome;
    const std::uint32_t status = ZVRTRecordsToArrow(plan_.get(), block.bytes.data(), block.starts.data(),
                                                    static_cast<std::int64_t>(block.count()), &array,
                                                    outcomes_.empty() ? nullptr : outcomes_.data());
    if (status == ZVRT_RC_OK && report_) report_(block, outcomes_);
    return answer(status);
  }

  const char* last_error() const { return error_.empty() ? nullptr : error_.c_str(); }

  int fail(int error, std::string sentence) {
    error_ = std::move(sentence);
    return error;
  }

 private:
  int answer(std::uint32_t status) {
    if (status == ZVRT_RC_OK) return 0;
    return fail(status == ZVRT_RC_NO_MEMORY ? ENOMEM : EIO,
                fmt::format("{}: {}", ZVRTStatusName(status), ZVRTStatusText(status)));
  }

  int check(const RecordBlock& block) {
    if (!block.damages.empty()) {
      const Damage& damage = block.damages.front();
      return fail(EINVAL, fmt::format("{}: {} bytes from byte {} on belong to no record: {}", damage.file, damage.bytes,
                                      damage.offset, damage.why));
    }
    for (std::size_t i = 0; i < block.count(); ++i) {
      if (static_cast<std::size_t>(block.lengths[i]) >= record_bytes_) continue;
      return fail(EINVAL, fmt::format("record {} has {} bytes, and the layout needs {}", block.first + i,
                                      block.lengths[i], record_bytes_));
    }
    return 0;
  }

  RecordReader reader_;
  RecordPlanHolder plan_;
  std::vector<ZVRTOutcome> outcomes_;
  std::size_t record_bytes_;
  ReportBlock report_;
  std::string error_;
};

RecordStream& stream_of(ArrowArrayStream* stream) { return *static_cast<RecordStream*>(stream->private_data); }

// No exception leaves through the C interface.
template <class Work>
int guarded(ArrowArrayStream* stream, Work work) {
  try {
    return work(stream_of(stream));
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  } catch (const std::exception& failure) {
    try {
      return stream_of(stream).fail(EIO, failure.what());
    } catch (...) {
      return EIO;
    }
  }
}

extern "C" int zvrt_stream_schema(ArrowArrayStream* stream, ArrowSchema* schema) {
  return guarded(stream, [schema](RecordStream& records) { return records.get_schema(*schema); });
}
extern "C" int zvrt_stream_next(ArrowArrayStream* stream, ArrowArray* array) {
  return guarded(stream, [array](RecordStream& records) { return records.get_next(*array); });
}
extern "C" const char* zvrt_stream_error(ArrowArrayStream* stream) { return stream_of(stream).last_error(); }
extern "C" void zvrt_stream_release(ArrowArrayStream* stream) {
  delete &stream_of(stream);
  stream->private_data = nullptr;
  stream->release = nullptr;
}

}  // namespace

void make_record_stream(std::vector<std::string> files, FormatOptions options, RecordPlanHolder plan,
                        std::size_t fields, std::size_t record_bytes, ReportBlock report, ArrowArrayStream& stream) {
  auto records = std::make_unique<RecordStream>(std::move(files), std::move(options), std::move(plan), fields,
                                                record_bytes, std::move(report));
  stream.get_schema = zvrt_stream_schema;
  stream.get_next = zvrt_stream_next;
  stream.get_last_error = zvrt_stream_error;
  stream.release = zvrt_stream_release;
  stream.private_data = records.release();
}

}  // namespace zvrt::records
