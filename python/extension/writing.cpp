#include "writing.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "capsules.h"
#include "errors.h"
#include "reading.h"
#include "records/arrow/text_cells.h"
#include "records/files/failure.h"
#include "records/formats/record_writer.h"
#include "tables.h"

namespace zvrt::python {
namespace {

using records::RefusedCell;

// Rows of arrays into a file that takes its place when all of them are there.
class Writing {
 public:
  Writing(const LayoutText& layout, const Options& options, const std::string& path)
      : job_(options.arguments, layout.make()),
        codec_(*job_.segments.front().codec),
        file_(path, job_.existing()),
        writer_(file_, job_.format) {}

  void take(const ArrowSchema& schema, const ArrowArray& array) {
    if (!cells_) cells_ = std::make_unique<records::TextCells>(codec_, schema);
    for (std::int64_t first = 0; first < array.length; first += cells_->rows_at_a_time()) {
      const std::int64_t count = std::min(cells_->rows_at_a_time(), array.length - first);
      cells_->load(schema, array, first, count);
      encode(count);
    }
  }

  void finish() {
    writer_.finish();
    file_.finish();
    file_.commit();
  }

  // An array of no rows tells the columns all the same.
  void check(const ArrowSchema& schema) {
    if (!cells_) cells_ = std::make_unique<records::TextCells>(codec_, schema);
  }

  std::uint64_t read = 0;
  std::uint64_t written = 0;
  std::uint64_t refused = 0;
  std::vector<RefusedCell> refusals;

 private:
  void encode(std::int64_t count) {
    records::EncodedRecords encoded;
    codec_.encode(cells_->cells(), static_cast<std::size_t>(count), nullptr, encoded);
    for (std::int64_t row = 0; row < count; ++row) {
      ++read;
      const bool good = judge(encoded, row);
      if (!good && job_.arguments.on_reject != records::OnReject::keep) continue;
      writer_.write(encoded.records[static_cast<std::size_t>(row)]);
      ++written;
    }
  }

  bool judge(const records::EncodedRecords& encoded, std::int64_t row) {
    const auto at = static_cast<std::size_t>(row);
    bool good = true;
    for (std::size_t i = 0; i < codec_.fields().size(); ++i) {
      const std::uint32_t staged = cells_->status(i, row);
      const std::uint32_t status = staged != ZVRT_RC_OK ? staged : encoded.status[i][at];
      if (status == ZVRT_RC_OK) continue;
      good = false;
      refuse(*codec_.fields()[i], cells_->cells()[i], at, status);
    }
    return good;
  }

  void refuse(const records::Field& field, const records::CellColumn& cells, std::size_t row, std::uint32_t status) {
    const std::string text(cells.is_null(row) ? std::string_view() : cells.at(row));
    RefusedCell refusal{read, field.column().field, field.column().offset, text, status, ""};
    refusal.text = cells.is_null(row) ? records::text_of(status) : field.explain_encode(text, status);
    ++refused;
    const records::Arguments& arguments = job_.arguments;
    const std::string sentence = fmt::format("row {}, {}: {}", read, refusal.field, refusal.text);
    if (arguments.on_reject == records::OnReject::stop) python::check(status, sentence);
    if (arguments.max_rejects != 0 && refused >= arguments.max_rejects)
      python::check(status, fmt::format("stopped after {} refusals; the last is {}", refused, sentence));
    if (refusals.size() < Journal::most_kept) refusals.push_back(std::move(refusal));
  }

  records::Job job_;
  const records::RecordCodec& codec_;
  records::RegularOutput file_;
  records::RecordWriter writer_;
  std::unique_ptr<records::TextCells> cells_;
};

template <class Structure>
Structure* pointer_of(PyObject* capsule, const char* name) {
  auto* const found = static_cast<Structure*>(PyCapsule_GetPointer(capsule, name));
  if (found == nullptr) throw ErrorIsSet();
  if (found->release == nullptr) raise(PyExc_ValueError, fmt::format("the capsule {} was used before", name));
  return found;
}

void take_stream(ArrowArrayStream& stream, Writing& writing) {
  const auto checked = [&stream](int error) {
    if (error == 0) return;
    const char* const why = stream.get_last_error(&stream);
    throw records::Failure(fmt::format("the data's stream: {}", why != nullptr ? why : records::reason_of(error)));
  };
  Released<ArrowSchema> schema;
  checked(stream.get_schema(&stream, &schema.it));
  writing.check(schema.it);
  for (;;) {
    Released<ArrowArray> array;
    checked(stream.get_next(&stream, &array.it));
    if (array.it.release == nullptr) break;
    writing.take(schema.it, array.it);
  }
}

}  // namespace

PyObject* write_records(PyObject* /*module*/, PyObject* arguments) {
  return guarded([&] {
    PyObject* layout = nullptr;
    PyObject* path = nullptr;
    PyObject* data = nullptr;
    PyObject* given = nullptr;
    if (PyArg_ParseTuple(arguments, "O!OOO", types().layout, &layout, &path, &data, &given) == 0) throw ErrorIsSet();
    Options options;
    take_options(given, options);
    const std::string file = path_of(path);
    Released<ArrowArrayStream> stream;
    Released<ArrowSchema> schema;
    Released<ArrowArray> array;
    if (PyTuple_Check(data)) {
      PyObject* first = nullptr;
      PyObject* second = nullptr;
      if (PyArg_ParseTuple(data, "OO", &first, &second) == 0) throw ErrorIsSet();
      schema.take(pointer_of<ArrowSchema>(first, "arrow_schema"));
      array.take(pointer_of<ArrowArray>(second, "arrow_array"));
    } else {
      stream.take(pointer_of<ArrowArrayStream>(data, "arrow_array_stream"));
    }
    std::unique_ptr<Writing> writing;
    unlocked([&] {
      writing = std::make_unique<Writing>(body_of<LayoutText>(layout), options, file);
      if (stream.it.release != nullptr) {
        take_stream(stream.it, *writing);
      } else {
        writing->check(schema.it);
        writing->take(schema.it, array.it);
      }
      writing->finish();
    });
    const Ref refusals = refusals_as_list(writing->refusals);
    return Py_BuildValue("(KKKO)", static_cast<unsigned long long>(writing->read),
                         static_cast<unsigned long long>(writing->written),
                         static_cast<unsigned long long>(writing->refused), refusals.get());
  });
}

}  // namespace zvrt::python
