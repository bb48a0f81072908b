#include "options.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>

namespace zvrt::python {
namespace {

using records::Arguments;
using Choices = std::vector<std::string_view>;

std::string joined(const Choices& choices) { return fmt::format("{}", fmt::join(choices, ", ")); }

// One of some words, or any text. True and False are yes and no; a number is its digits.
void take_text(PyObject* value, const char* name, const Choices& choices, std::string& target) {
  std::string text;
  if (PyBool_Check(value))
    text = value == Py_True ? "yes" : "no";
  else if (PyLong_Check(value))
    text = text_of_object(owned(PyObject_Str(value)).get(), name);
  else
    text = text_of_object(value, name);
  if (!choices.empty() && std::find(choices.begin(), choices.end(), text) == choices.end())
    raise(PyExc_ValueError, fmt::format("{}='{}': one of {} is wanted", name, text, joined(choices)));
  target = std::move(text);
}

std::uint64_t number_of(PyObject* value, const char* name, std::uint64_t least, std::uint64_t most) {
  if (!PyLong_Check(value) || PyBool_Check(value)) raise(PyExc_TypeError, fmt::format("{}: an int is wanted", name));
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(value, &overflow);
  if (overflow != 0 || number < 0 || static_cast<std::uint64_t>(number) < least ||
      static_cast<std::uint64_t>(number) > most)
    raise(PyExc_ValueError, fmt::format("{}: out of range, {} is the least{}", name, least,
                                        most < ~std::uint64_t{0} ? fmt::format(", {} the greatest", most) : ""));
  return static_cast<std::uint64_t>(number);
}

// A str, a sequence of them, or a dict, whose items become KEY=VALUE.
void take_texts(PyObject* value, const char* name, std::vector<std::string>& target) {
  if (PyUnicode_Check(value)) {
    target.push_back(text_of_object(value, name));
    return;
  }
  const bool is_dict = PyDict_Check(value);
  const Ref items = is_dict ? owned(PyDict_Items(value)) : owned(PySequence_List(value));
  for (Py_ssize_t i = 0; i < PyList_Size(items.get()); ++i) {
    PyObject* const item = PyList_GetItem(items.get(), i);
    target.push_back(is_dict ? text_of_object(PyTuple_GetItem(item, 0), name) + "=" +
                                   text_of_object(PyTuple_GetItem(item, 1), name)
                             : text_of_object(item, name));
  }
}

struct TextOption {
  const char* name;
  std::string Arguments::*member;
  Choices choices;
};
const std::vector<TextOption>& text_options() {
  static const std::vector<TextOption> all{
      {"record_format", &Arguments::format, {"F", "FB", "V", "VB", "D"}},
      {"rdw_order", &Arguments::rdw_order, {"big", "little"}},
      {"rdw_includes_itself", &Arguments::rdw_includes, {"yes", "no"}},
      {"length_field", &Arguments::length_field, {}},
      {"record", &Arguments::record, {}},
      {"redefines", &Arguments::redefines, {"all", "first"}},
      {"odo", &Arguments::odo, {"shift", "max"}},
      {"low_values", &Arguments::low_values, {"blank", "refuse", "keep"}},
      {"trim", &Arguments::trim, {"right", "both", "none"}},
      {"binary", &Arguments::binary, {"std", "full"}},
      {"binary_size", &Arguments::binary_size, {"2-4-8", "1-2-4-8", "1--8"}},
      {"native", &Arguments::native, {"big", "little"}},
      {"float", &Arguments::floats, {"ibm", "ieee"}},
      {"code_page", &Arguments::code_page, {}},
      {"newline", &Arguments::newline, {"nel", "lf"}},
  };
  return all;
}

struct SizeOption {
  const char* name;
  std::size_t Arguments::*member;
  std::uint64_t least;
};
constexpr std::uint64_t most_bytes = std::numeric_limits<std::int32_t>::max();
constexpr std::array size_options{
    SizeOption{"record_length", &Arguments::record_length, 1}, SizeOption{"skip_header", &Arguments::skip_header, 0},
    SizeOption{"skip_trailer", &Arguments::skip_trailer, 0}, SizeOption{"record_header", &Arguments::record_header, 0}};

struct TextsOption {
  const char* name;
  std::vector<std::string> Arguments::*member;
};
constexpr std::array texts_options{TextsOption{"replacing", &Arguments::replacing},
                                   TextsOption{"segment", &Arguments::segments},
                                   TextsOption{"include", &Arguments::folders},
                                   TextsOption{"columns", &Arguments::columns}, TextsOption{"null", &Arguments::nulls}};

// True where the name is one of the tables above.
bool take_by_table(std::string_view name, PyObject* value, Arguments& arguments) {
  for (const TextOption& option : text_options())
    if (name == option.name) return take_text(value, option.name, option.choices, arguments.*option.member), true;
  for (const SizeOption& option : size_options)
    if (name == option.name)
      return arguments.*option.member = number_of(value, option.name, option.least, most_bytes), true;
  for (const TextsOption& option : texts_options)
    if (name == option.name) return take_texts(value, option.name, arguments.*option.member), true;
  return false;
}

void take_on_reject(PyObject* value, Arguments& arguments) {
  std::string text;
  take_text(value, "on_reject", {"skip", "keep", "stop"}, text);
  arguments.on_reject = text == "skip"   ? records::OnReject::skip
                        : text == "keep" ? records::OnReject::keep
                                         : records::OnReject::stop;
}

void take_extent(PyObject* value, Options& options) {
  unsigned long long offset = 0;
  unsigned long long bytes = 0;
  if (!PyTuple_Check(value) || PyArg_ParseTuple(value, "KK", &offset, &bytes) == 0)
    raise(PyExc_TypeError, "extent: a tuple of two int is wanted");
  options.extent = records::Extent{offset, bytes};
}

void take(std::string_view name, PyObject* value, Options& options) {
  constexpr std::uint64_t any = ~std::uint64_t{0};
  Arguments& arguments = options.arguments;
  if (take_by_table(name, value, arguments)) return;
  if (name == "on_reject")
    take_on_reject(value, arguments);
  else if (name == "max_rejects")
    arguments.max_rejects = number_of(value, "max_rejects", 0, any);
  else if (name == "sync")
    arguments.sync = static_cast<unsigned>(number_of(value, "sync", 4, 8));
  else if (name == "rdw_adjust") {
    const long number = PyLong_AsLong(value);
    if (number == -1 && PyErr_Occurred() != nullptr) throw ErrorIsSet();
    if (number < -0xFFFF || number > 0xFFFF) raise(PyExc_ValueError, "rdw_adjust: out of range");
    arguments.rdw_adjust = static_cast<int>(number);
  } else if (name == "first")
    options.first = number_of(value, "first", 1, any);
  else if (name == "count")
    options.count = number_of(value, "count", 0, any);
  else if (name == "extent")
    take_extent(value, options);
  else if (name == "record_number")
    options.record_number = PyObject_IsTrue(value) == 1;
  else if (name == "table")
    options.table = number_of(value, "table", 0, most_bytes);
  else if (name == "keep_bytes")
    arguments.keep_bytes = PyObject_IsTrue(value) == 1;
  else if (name == "replace")
    arguments.replace = PyObject_IsTrue(value) == 1;
  else if (name == "append")
    arguments.append = PyObject_IsTrue(value) == 1;
  else if (name == "batch_bytes")
    options.batch_bytes = number_of(value, "batch_bytes", 1, 1 << 26);
  else
    raise(PyExc_TypeError, fmt::format("there is no option '{}'", name));
}

}  // namespace

void take_options(PyObject* keywords, Options& options) {
  if (!PyDict_Check(keywords)) raise(PyExc_TypeError, "the options are a dict");
  options.arguments.tables_hold_times = true;
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  Py_ssize_t at = 0;
  while (PyDict_Next(keywords, &at, &key, &value) != 0)
    if (value != Py_None) take(text_of_object(key, "an option's name"), value, options);
  if (options.arguments.sync != 4 && options.arguments.sync != 8) raise(PyExc_ValueError, "sync: 4 or 8 is wanted");
  if (options.arguments.segments.size() > 1 && !options.table)
    raise(PyExc_ValueError, "segment: one of them is a table; read_segments() reads all");
  if (options.arguments.replace && options.arguments.append)
    raise(PyExc_ValueError, "replace and append exclude each other");
}

}  // namespace zvrt::python
