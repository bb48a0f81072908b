#include "records/arrow/record_stream.h"

#include <fmt/core.h>

#include <cerrno>
#include <utility>

namespace zvrt::records {
namespace {

class RecordSource final : public StreamSource {
 public:
  RecordSource(std::vector<std::string> files, FormatOptions options, RecordPlanHolder plan, std::size_t fields,
               std::size_t record_bytes, ReportBlock report)
      : reader_(std::move(files), std::move(options)),
        plan_(std::move(plan)),
        outcomes_(fields),
        record_bytes_(record_bytes),
        report_(std::move(report)) {}

  void schema(ArrowSchema& schema) override { check(ZVRTRecordSchema(plan_.get(), &schema)); }

  void next(ArrowArray& array) override {
    RecordBlock block;
    do {
      if (!reader_.next(block)) return;
      check(block);
    } while (block.count() == 0);
    for (ZVRTOutcome& outcome : outcomes_) outcome.size = sizeof outcome;
    const std::uint32_t status = ZVRTRecordsToArrow(plan_.get(), block.bytes.data(), block.starts.data(),
                                                    static_cast<std::int64_t>(block.count()), &array,
                                                    outcomes_.empty() ? nullptr : outcomes_.data());
    if (status == ZVRT_RC_OK && report_) report_(block, outcomes_);
    check(status);
  }

 private:
  static void check(std::uint32_t status) {
    if (status == ZVRT_RC_OK) return;
    throw StreamError(status == ZVRT_RC_NO_MEMORY ? ENOMEM : EIO,
                      fmt::format("{}: {}", ZVRTStatusName(status), ZVRTStatusText(status)));
  }

  void check(const RecordBlock& block) const {
    if (!block.damages.empty()) {
      const Damage& damage = block.damages.front();
      throw StreamError(EINVAL, fmt::format("{}: {} bytes from byte {} on belong to no record: {}", damage.file,
                                            damage.bytes, damage.offset, damage.why));
    }
    for (std::size_t i = 0; i < block.count(); ++i) {
      if (static_cast<std::size_t>(block.lengths[i]) >= record_bytes_) continue;
      throw StreamError(EINVAL, fmt::format("record {} has {} bytes, and the layout needs {}", block.first + i,
                                            block.lengths[i], record_bytes_));
    }
  }

  RecordReader reader_;
  RecordPlanHolder plan_;
  std::vector<ZVRTOutcome> outcomes_;
  std::size_t record_bytes_;
  ReportBlock report_;
};

}  // namespace

void make_record_stream(std::vector<std::string> files, FormatOptions options, RecordPlanHolder plan,
                        std::size_t fields, std::size_t record_bytes, ReportBlock report, ArrowArrayStream& stream) {
  make_stream(std::make_unique<RecordSource>(std::move(files), std::move(options), std::move(plan), fields,
                                             record_bytes, std::move(report)),
              stream);
}

}  // namespace zvrt::records
