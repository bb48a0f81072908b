#include "reading.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>

#include "errors.h"
#include "records/files/failure.h"

namespace zvrt::python {

using records::Extent;
using records::RefusedCell;

LentBytes::~LentBytes() {
  if (buffer.obj == nullptr || Py_IsInitialized() == 0) return;
  PyGILState_STATE state{};
  take_lock([&state] { state = PyGILState_Ensure(); });
  PyBuffer_Release(&buffer);
  PyGILState_Release(state);
}

namespace {

// The copybook of the files that asked and what they asked for, or null.
const Copied* copy_of(const std::vector<Copied>& copies, const std::string& name, const std::string& library,
                      const std::string& asking) {
  for (const Copied& each : copies)
    if (each.name == name && each.library == library && each.asking == asking) return &each;
  return nullptr;
}

std::size_t segment_of(const records::Job& job, const Options& options) {
  const std::size_t count = job.segments.size();
  if (options.table.value_or(0) >= count) throw records::Failure("there is no such segment");
  return options.table.value_or(0);
}

// The columns after the fields, of what stands around them.
std::vector<std::string> kept_of(const records::Segment& segment) {
  std::vector<std::string> names;
  for (std::size_t i = segment.first_field + segment.codec->fields().size(); i < segment.columns.size(); ++i)
    names.push_back(segment.columns[i].name);
  return names;
}

}  // namespace

// The text's own COPY statements are met in the first folder, those of a file beside it too.
void LayoutText::find_copies(const std::vector<std::string>& folders) {
  if (folders.empty()) return static_cast<void>(make());
  const records::FindCopy find = records::copies_in(folders);
  records::LayoutOptions looking = options;
  looking.copybook.find_copy = [&](const std::string& wanted, const std::string& library, const std::string& asking) {
    if (const Copied* const known = copy_of(copies, wanted, library, asking)) return known->found;
    copies.push_back({wanted, library, asking, find(wanted, library, asking == name ? folders.front() + "/" : asking)});
    return copies.back().found;
  };
  static_cast<void>(records::parse_layout(text, name, looking));
}

records::Layout LayoutText::make() const {
  records::LayoutOptions looking = options;
  looking.copybook.find_copy = [this](const std::string& wanted, const std::string& library,
                                      const std::string& asking) {
    const Copied* const known = copy_of(copies, wanted, library, asking);
    return known != nullptr ? known->found : std::nullopt;
  };
  return records::parse_layout(text, name, looking);
}

Reading::Reading(const LayoutText& layout, Options options, std::vector<std::string> files,
                 std::shared_ptr<LentBytes> bytes)
    : options_(std::move(options)),
      files_(std::move(files)),
      bytes_(std::move(bytes)),
      job_(options_.arguments, layout.make()),
      format_(job_.format),
      segment_(segment_of(job_, options_)),
      typed_(*job_.segments[segment_].codec, job_.codec, options_.record_number.value_or(job_.has_segments()),
             kept_of(job_.segments[segment_])) {
  format_.block_bytes = options_.batch_bytes;
}

// Records of one length are found by their number; others by the extent that was told, or by reading those before them.
std::unique_ptr<records::RecordReader> Reading::open(std::uint64_t& before) const {
  before = 0;
  const bool one = bytes_ != nullptr || (files_.size() == 1 && files_.front() != "-");
  const bool by_number = format_.format == records::RecordFormat::fixed && !format_.length_of;
  const bool ranged = options_.first > 1 || options_.count != ~std::uint64_t{0};
  std::optional<Extent> extent = one ? options_.extent : std::nullopt;
  struct stat found {};
  if (!extent && one && by_number && ranged && (bytes_ != nullptr || stat(files_.front().c_str(), &found) == 0)) {
    const std::uint64_t size = bytes_ != nullptr ? bytes_->view().size() : static_cast<std::uint64_t>(found.st_size);
    const std::uint64_t step = format_.record_length + format_.record_header;
    const std::uint64_t around = format_.skip_header + format_.skip_trailer;
    const std::uint64_t room = size > around ? size - around : 0;
    const std::uint64_t skipped = std::min((options_.first - 1), room / step + 1) * step;
    const std::uint64_t left = room > skipped ? room - skipped : 0;
    const std::uint64_t wanted = options_.count > left / step ? left : options_.count * step;
    extent = Extent{format_.skip_header + std::min(skipped, room), wanted};
  }
  records::FormatOptions format = format_;
  if (extent) {
    before = options_.first - 1;
    format.skip_header = 0;
    format.skip_trailer = 0;
  }
  if (bytes_ != nullptr)
    return std::make_unique<records::RecordReader>(
        std::make_unique<records::InputBytes>("bytes", bytes_->view(), extent.value_or(Extent{})), format);
  if (extent)
    return std::make_unique<records::RecordReader>(std::make_unique<records::InputFile>(files_.front(), *extent),
                                                   format);
  return std::make_unique<records::RecordReader>(files_, format);
}

std::vector<records::Cut> Reading::cuts(std::size_t parts) const {
  if (bytes_ == nullptr && (files_.size() != 1 || files_.front() == "-"))
    throw records::Failure("only one file, which has a size, is cut into parts");
  std::uint64_t size = bytes_ != nullptr ? bytes_->view().size() : 0;
  if (bytes_ == nullptr) {
    const std::optional<std::uint64_t> known = records::InputFile(files_.front()).size();
    if (!known) throw records::Failure(files_.front() + ": only a regular file is cut into parts");
    size = *known;
  }
  const std::uint64_t around = format_.skip_header + format_.skip_trailer;
  const Extent records_of{format_.skip_header, size > around ? size - around : 0};
  std::unique_ptr<records::Input> input;
  if (bytes_ != nullptr)
    input = std::make_unique<records::InputBytes>("bytes", bytes_->view(), records_of);
  else
    input = std::make_unique<records::InputFile>(files_.front(), records_of);
  return records::cut_records(std::move(input), size, format_, parts);
}

Pass::Pass(std::shared_ptr<const Reading> reading, std::shared_ptr<Journal> journal)
    : reading_(std::move(reading)), journal_(std::move(journal)), router_(reading_->job()) {
  const Options& options = reading_->options();
  last_ = options.count > ~std::uint64_t{0} - options.first ? ~std::uint64_t{0} : options.first - 1 + options.count;
  reader_ = reading_->open(before_);
}

records::SharedBatch Pass::next() {
  const std::lock_guard<std::mutex> lock(mutex_);
  while (!ended_) {
    if (!reader_->next(block_)) break;
    if (block_.first + before_ > last_) break;
    if (records::SharedBatch batch = take(block_); batch->rows != 0) return batch;
  }
  ended_ = true;
  reader_.reset();
  return nullptr;
}

// What belongs to no table. Of several tables the first one tells it; a segment that is read alone leaves the others be.
std::vector<RefusedCell> Pass::strays(const records::RecordBlock& block,
                                      const std::vector<std::size_t>& unknown) const {
  std::vector<RefusedCell> refusals;
  const Options& options = reading_->options();
  if (options.table.value_or(0) != 0) return refusals;
  for (const records::Damage& damage : block.damages)
    if (const std::uint64_t record = damage.record + before_; wants(record))
      refusals.push_back(
          {record, "", damage.offset, damage.first, records::rx_damage,
           fmt::format("{}, byte {}: {}; {} bytes", damage.file, damage.offset, damage.why, damage.bytes)});
  for (const std::size_t row : unknown)
    if (const std::uint64_t record = block.first + row + before_; options.table && wants(record))
      refusals.push_back(
          {record, reading_->job().segments.front().field, 0,
           std::string(block.bytes.data() + block.starts[row], static_cast<std::size_t>(block.lengths[row])),
           records::rx_unknown_segment, records::text_of(records::rx_unknown_segment)});
  return refusals;
}

// A range that ends in the middle of a file knows nothing of what comes after it.
records::SharedBatch Pass::take(const records::RecordBlock& block) {
  const Options& options = reading_->options();
  const records::Routed routed = router_.route(block);
  std::vector<RefusedCell> refusals = strays(block, routed.unknown);
  records::RowsOfBlock rows;
  rows.data = block.bytes.data();
  for (const std::size_t row : routed.rows[reading_->segment()]) {
    const std::uint64_t number = block.first + row + before_;
    if (!wants(number)) continue;
    rows.starts.push_back(block.starts[row]);
    rows.lengths.push_back(block.lengths[row]);
    rows.numbers.push_back(number);
    if (!block.surroundings.empty()) rows.around.push_back(&block.surroundings[row]);
  }
  const std::uint64_t read = rows.count();
  records::SharedBatch batch =
      reading_->typed().convert(std::move(rows), options.arguments.on_reject != records::OnReject::keep, refusals);
  tell(refusals, read, static_cast<std::uint64_t>(batch->rows));
  return batch;
}

void Pass::tell(std::vector<RefusedCell>& refusals, std::uint64_t read, std::uint64_t carried) {
  const records::Arguments& arguments = reading_->options().arguments;
  const std::lock_guard<std::mutex> lock(journal_->mutex);
  std::stable_sort(refusals.begin(), refusals.end(),
                   [](const RefusedCell& one, const RefusedCell& other) { return one.record < other.record; });
  journal_->read += read;
  journal_->carried += carried;
  journal_->refused += refusals.size();
  const std::string first =
      refusals.empty()
          ? std::string()
          : fmt::format("record {}, {}: {}", refusals.front().record,
                        refusals.front().field.empty() ? "damage" : refusals.front().field, refusals.front().text);
  const std::uint32_t status = refusals.empty() ? ZVRT_RC_OK : refusals.front().status;
  for (RefusedCell& refusal : refusals)
    if (journal_->refusals.size() < Journal::most_kept) journal_->refusals.push_back(std::move(refusal));
  if (status == ZVRT_RC_OK) return;
  if (arguments.on_reject == records::OnReject::stop) check(status, first);
  if (arguments.max_rejects != 0 && journal_->refused >= arguments.max_rejects)
    check(status, fmt::format("stopped after {} refusals; the last batch begins with {}", journal_->refused, first));
}

}  // namespace zvrt::python
