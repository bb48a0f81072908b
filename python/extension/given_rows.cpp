#include "given_rows.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/files/failure.h"

namespace zvrt::python {
namespace {

constexpr std::size_t longest_record = 32767;  // of records with length words
constexpr std::int32_t number_digits = 20;
constexpr std::string_view record_number = "RECORD_NUMBER";

template <class Structure>
Structure* pointer_of(PyObject* capsule, const char* name) {
  auto* const found = static_cast<Structure*>(PyCapsule_GetPointer(capsule, name));
  if (found == nullptr) throw ErrorIsSet();
  if (found->release == nullptr) raise(PyExc_ValueError, fmt::format("the capsule {} was used before", name));
  return found;
}

void check(ArrowArrayStream& stream, int error) {
  if (error == 0) return;
  const char* const why = stream.get_last_error(&stream);
  throw records::Failure(fmt::format("the data's stream: {}", why != nullptr ? why : records::reason_of(error)));
}

// The columns of the segment's table that are no fields. RECORD_NUMBER is passed over where nothing is merged.
std::vector<records::OtherColumn> others_of(const records::Job& job, const records::Segment& segment) {
  std::vector<records::OtherColumn> others;
  const auto bytes = static_cast<std::int32_t>(2 * std::max(longest_record, segment.codec->length()));
  const std::size_t fields_end = segment.first_field + segment.codec->fields().size();
  if (job.has_segments()) others.push_back({std::string(record_number), number_digits, false});
  for (std::size_t i = fields_end; i < segment.columns.size(); ++i) {
    const std::string& name = segment.columns[i].name;
    others.push_back({name, name == "BLOCK_NUMBER" ? number_digits : bytes, name != "RECORD_BYTES"});
  }
  return others;
}

const ArrowSchema& schema_of(GivenTable& table) {
  if (table.stream.it.release != nullptr)
    check(table.stream.it, table.stream.it.get_schema(&table.stream.it, &table.schema.it));
  return table.schema.it;
}

}  // namespace

void GivenTable::take(PyObject* data) {
  if (!PyTuple_Check(data)) return stream.take(pointer_of<ArrowArrayStream>(data, "arrow_array_stream"));
  PyObject* first = nullptr;
  PyObject* second = nullptr;
  if (PyArg_ParseTuple(data, "OO", &first, &second) == 0) throw ErrorIsSet();
  schema.take(pointer_of<ArrowSchema>(first, "arrow_schema"));
  array.take(pointer_of<ArrowArray>(second, "arrow_array"));
}

GivenRows::GivenRows(const records::Job& job, const records::Segment& segment, GivenTable& table)
    : segment_(segment),
      table_(table),
      numbered_(job.has_segments()),
      keeps_(job.arguments.keep_bytes),
      cells_(*segment.codec, schema_of(table), others_of(job, segment)) {}

bool GivenRows::next() {
  if (++row_ >= count_ && !load()) return false;
  find_number();
  return true;
}

// The next chunk that has rows.
bool GivenRows::load() {
  first_ += count_;
  count_ = 0;
  while (table_.array.it.release == nullptr || first_ >= table_.array.it.length)
    if (!next_array()) return false;
  row_ = 0;
  count_ = std::min(cells_.rows_at_a_time(), table_.array.it.length - first_);
  cells_.load(table_.schema.it, table_.array.it, first_, count_);
  if (keeps_) read_kept();
  segment_.codec->encode(cells_.cells(), static_cast<std::size_t>(count_), kept_ ? &kept_->records : nullptr, encoded_);
  return true;
}

// A table that is no stream has no more than the array that it was given with.
bool GivenRows::next_array() {
  first_ = 0;
  ArrowArray& array = table_.array.it;
  if (array.release != nullptr) array.release(&array);
  array = {};
  if (table_.stream.it.release != nullptr)
    check(table_.stream.it, table_.stream.it.get_next(&table_.stream.it, &array));
  return array.release != nullptr;
}

void GivenRows::read_kept() {
  kept_.emplace(static_cast<std::size_t>(count_));
  const std::size_t fields = segment_.codec->fields().size();
  for (std::size_t i = segment_.first_field + fields; i < segment_.columns.size(); ++i) {
    const std::size_t cell = i - segment_.first_field + (numbered_ ? 1 : 0);
    kept_->take(segment_.columns[i].name, cells_.cells()[cell],
                [&](std::size_t row) { return cells_.status(cell, static_cast<std::int64_t>(row)) == ZVRT_RC_OK; });
  }
}

void GivenRows::find_number() {
  ++rows_;
  number_ = numbered_ ? records::record_number(segment_.name, cells_.cells()[segment_.codec->fields().size()],
                                               static_cast<std::size_t>(row_), rows_, number_)
                      : rows_;
}

std::uint32_t GivenRows::status(std::size_t field) const {
  const std::uint32_t staged = cells_.status(field, row_);
  return staged != ZVRT_RC_OK ? staged : encoded_.status[field][static_cast<std::size_t>(row_)];
}

}  // namespace zvrt::python
