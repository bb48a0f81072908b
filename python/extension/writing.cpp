#include "writing.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "errors.h"
#include "given_rows.h"
#include "reading.h"
#include "records/files/failure.h"
#include "records/formats/record_writer.h"
#include "tables.h"

namespace zvrt::python {
namespace {

using records::RefusedCell;

// Rows of tables, one of each segment, into a file that takes its place when all of them are there.
class Writing {
 public:
  Writing(const LayoutText& layout, const Options& options, const std::string& path,
          const std::vector<std::unique_ptr<GivenTable>>& tables)
      : job_(options.arguments, layout.make()), file_(path, job_.existing()), writer_(file_, job_.format) {
    if (tables.size() != job_.segments.size())
      throw records::Failure(fmt::format("{} tables for {} segments", tables.size(), job_.segments.size()));
    for (std::size_t i = 0; i < tables.size(); ++i)
      sources_.push_back(std::make_unique<GivenRows>(job_, job_.segments[i], *tables[i]));
  }

  void run() {
    std::erase_if(sources_, [](const auto& source) { return !source->next(); });
    while (!sources_.empty()) {
      const auto first = std::min_element(sources_.begin(), sources_.end(), [](const auto& one, const auto& other) {
        return one->number() < other->number();
      });
      take(**first);
      if (!(*first)->next()) sources_.erase(first);
    }
    writer_.finish();
    file_.finish();
    file_.commit();
  }

  std::uint64_t read = 0;
  std::uint64_t written = 0;
  std::uint64_t refused = 0;
  std::vector<RefusedCell> refusals;

 private:
  void take(const GivenRows& row) {
    ++read;
    const bool is_broken = !row.broken().empty();
    if (is_broken)
      refuse({read, std::string(row.broken()), 0, "", records::rx_bytes, records::text_of(records::rx_bytes)});
    const bool is_good = judge(row);
    if (is_broken || (!is_good && job_.arguments.on_reject != records::OnReject::keep)) return;
    const records::Status form = writer_.refusal(row.record(), row.around());
    if (form != ZVRT_RC_OK) return refuse({read, "", 0, std::string(row.record()), form, records::text_of(form)});
    writer_.write(row.record(), row.around());
    ++written;
  }

  bool judge(const GivenRows& row) {
    const auto& fields = row.segment().codec->fields();
    bool good = true;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const std::uint32_t status = row.status(i);
      if (status == ZVRT_RC_OK) continue;
      good = false;
      const std::string text(row.is_null(i) ? std::string_view() : row.text(i));
      refuse({read, fields[i]->column().field, fields[i]->column().offset, text, status,
              row.is_null(i) ? records::text_of(status) : fields[i]->explain_encode(text, status)});
    }
    return good;
  }

  void refuse(RefusedCell refusal) {
    ++refused;
    const records::Arguments& arguments = job_.arguments;
    const std::string field = refusal.field.empty() ? "" : ", " + refusal.field;
    const std::string sentence = fmt::format("row {}{}: {}", read, field, refusal.text);
    if (arguments.on_reject == records::OnReject::stop) check(refusal.status, sentence);
    if (arguments.max_rejects != 0 && refused >= arguments.max_rejects)
      check(refusal.status, fmt::format("stopped after {} refusals; the last is {}", refused, sentence));
    if (refusals.size() < Journal::most_kept) refusals.push_back(std::move(refusal));
  }

  records::Job job_;
  records::RegularOutput file_;
  records::RecordWriter writer_;
  std::vector<std::unique_ptr<GivenRows>> sources_;
};

}  // namespace

PyObject* write_records(PyObject* /*module*/, PyObject* arguments) {
  return guarded([&] {
    PyObject* layout = nullptr;
    PyObject* path = nullptr;
    PyObject* data = nullptr;
    PyObject* given = nullptr;
    if (PyArg_ParseTuple(arguments, "O!OO!O", types().layout, &layout, &path, &PyList_Type, &data, &given) == 0)
      throw ErrorIsSet();
    Options options;
    take_options(given, options);
    const std::string file = path_of(path);
    std::vector<std::unique_ptr<GivenTable>> tables;
    for (Py_ssize_t i = 0; i < PyList_Size(data); ++i)
      tables.emplace_back(std::make_unique<GivenTable>())->take(PyList_GetItem(data, i));
    std::unique_ptr<Writing> writing;
    unlocked([&] {
      writing = std::make_unique<Writing>(body_of<LayoutText>(layout), options, file, tables);
      writing->run();
    });
    const Ref refusals = refusals_as_list(writing->refusals);
    return Py_BuildValue("(KKKO)", static_cast<unsigned long long>(writing->read),
                         static_cast<unsigned long long>(writing->written),
                         static_cast<unsigned long long>(writing->refused), refusals.get());
  });
}

}  // namespace zvrt::python
