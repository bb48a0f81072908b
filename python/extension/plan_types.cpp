#include "plan_types.h"

#include <fmt/format.h>

#include <array>

#include "records/codec/codec_options.h"

namespace zvrt::python {
namespace {

struct Kind {
  const char* name;
  std::uint32_t kind;
  std::int64_t bytes;  // of kinds of one size
};
constexpr std::array kinds{
    Kind{"char", ZVRT_KIND_CHAR, 0},
    Kind{"varchar", ZVRT_KIND_VARCHAR, 0},
    Kind{"varchar_sz", ZVRT_KIND_VARCHAR_SZ, 0},
    Kind{"wchar", ZVRT_KIND_WCHAR, 0},
    Kind{"wvarchar", ZVRT_KIND_WVARCHAR, 0},
    Kind{"wvarchar_sz", ZVRT_KIND_WVARCHAR_SZ, 0},
    Kind{"utf16", ZVRT_KIND_UTF16, 0},
    Kind{"utf16_sz", ZVRT_KIND_UTF16_SZ, 0},
    Kind{"bytes", ZVRT_KIND_BYTES, 0},
    Kind{"bool", ZVRT_KIND_BOOL, 1},
    Kind{"int", ZVRT_KIND_INT, 0},
    Kind{"uint", ZVRT_KIND_UINT, 0},
    Kind{"float", ZVRT_KIND_FLOAT, 0},
    Kind{"hex_float", ZVRT_KIND_HEX_FLOAT, 0},
    Kind{"packed", ZVRT_KIND_PACKED, 0},
    Kind{"zoned", ZVRT_KIND_ZONED, 0},
    Kind{"varnum", ZVRT_KIND_VARNUM, 22},
    Kind{"decimal", ZVRT_KIND_DECIMAL, 16},
    Kind{"numeric", ZVRT_KIND_NUMERIC, sizeof(ZVRTNumeric)},
    Kind{"timestamp", ZVRT_KIND_TIMESTAMP, sizeof(ZVRTTS)},
    Kind{"date", ZVRT_KIND_DATE, sizeof(ZVRTDate)},
    Kind{"time", ZVRT_KIND_TIME, sizeof(ZVRTTime)},
    Kind{"cli_timestamp", ZVRT_KIND_CLI_TIMESTAMP, sizeof(ZVRTCliTimestamp)},
    Kind{"cli_date", ZVRT_KIND_CLI_DATE, sizeof(ZVRTDate)},
    Kind{"cli_time", ZVRT_KIND_CLI_TIME, sizeof(ZVRTTime)},
    Kind{"days", ZVRT_KIND_DAYS, 4},
    Kind{"micros", ZVRT_KIND_MICROS, 8},
};

struct Bit {
  const char* name;
  std::uint32_t bit;
};
constexpr std::array flags{
    Bit{"big_endian", ZVRT_TYPE_BIG_ENDIAN},
    Bit{"trim", ZVRT_TYPE_TRIM},
    Bit{"trim_left", ZVRT_TYPE_TRIM_LEFT},
    Bit{"trim_wide", ZVRT_TYPE_TRIM_WIDE},
    Bit{"pad", ZVRT_TYPE_PAD},
    Bit{"pad_left", ZVRT_TYPE_PAD_LEFT},
    Bit{"low_as_blank", ZVRT_TYPE_LOW_AS_BLANK},
    Bit{"null_blanks", ZVRT_TYPE_NULL_BLANKS},
    Bit{"null_zeros", ZVRT_TYPE_NULL_ZEROS},
    Bit{"null_low", ZVRT_TYPE_NULL_LOW},
    Bit{"null_high", ZVRT_TYPE_NULL_HIGH},
    Bit{"unsigned", ZVRT_TYPE_UNSIGNED},
    Bit{"no_sign", ZVRT_TYPE_NO_SIGN},
    Bit{"sign_leading", ZVRT_TYPE_SIGN_LEADING},
    Bit{"sign_separate", ZVRT_TYPE_SIGN_SEPARATE},
    Bit{"ascii", ZVRT_TYPE_ASCII},
};
constexpr std::array options{
    Bit{"round_half_even", ZVRT_PLAN_ROUND_HALF_EVEN}, Bit{"round_half_away", ZVRT_PLAN_ROUND_HALF_AWAY},
    Bit{"cut_fraction", ZVRT_PLAN_CUT_FRACTION},       Bit{"cut_text", ZVRT_PLAN_CUT_TEXT},
    Bit{"substitute", ZVRT_PLAN_SUBSTITUTE},           Bit{"exact_float", ZVRT_PLAN_EXACT_FLOAT},
    Bit{"single_form", ZVRT_PLAN_SINGLE_FORM},         Bit{"as_single_call", ZVRT_PLAN_AS_SINGLE_CALL},
};

template <class Table>
std::uint32_t bits_of(PyObject* words, const Table& table, const char* what) {
  const Ref list = owned(PySequence_List(words));
  std::uint32_t bits = 0;
  for (Py_ssize_t i = 0; i < PyList_Size(list.get()); ++i) {
    const std::string word = text_of_object(PyList_GetItem(list.get(), i), what);
    const std::uint32_t before = bits;
    std::string known;
    for (const Bit& each : table) {
      if (word == each.name) bits |= each.bit;
      known += (known.empty() ? "" : ", ") + std::string(each.name);
    }
    if (bits == before && known.find(word) == std::string::npos)
      raise(PyExc_ValueError, fmt::format("'{}' is no {}; there are {}", word, what, known));
  }
  return bits;
}

void take_page(PyObject* page, PyObject* newline, ZVRTType& type) {
  const std::string name = text_of_object(owned(PyObject_Str(page)).get(), "code_page");
  const auto number = name == "0" ? std::optional<std::uint32_t>(0) : records::code_page_number(name);
  if (!number) raise(PyExc_ValueError, fmt::format("'{}' is no code page", name));
  type.codePage = *number == 65001 ? 0 : *number;
  if (newline == Py_None) return;
  const std::string word = text_of_object(newline, "newline");
  if (word != "nel" && word != "lf") raise(PyExc_ValueError, "newline: 'nel' or 'lf' is wanted");
  type.codePageKind = word == "lf" ? 'N' : '\0';
}

}  // namespace

std::int64_t TypeWords::slot() const {
  for (const Kind& each : kinds)
    if (each.kind == type.kind && each.bytes != 0 && type.length == 0) return each.bytes;
  return type.length;
}

bool TypeWords::is_counted() const {
  return type.kind == ZVRT_KIND_CHAR || type.kind == ZVRT_KIND_WCHAR || type.kind == ZVRT_KIND_UTF16 ||
         type.kind == ZVRT_KIND_BYTES;
}

void take_type(PyObject* words, TypeWords& made) {
  const char* kind = nullptr;
  int length = 0;
  PyObject* names = nullptr;
  PyObject* page = nullptr;
  PyObject* newline = nullptr;
  short precision = 0;
  short scale = 0;
  PyObject* model = nullptr;
  short first_year = 0;
  if (PyArg_ParseTuple(words, "siOOOhhOh", &kind, &length, &names, &page, &newline, &precision, &scale, &model,
                       &first_year) == 0)
    throw ErrorIsSet();
  ZVRTType& type = made.type;
  type.size = sizeof type;
  std::string known;
  for (const Kind& each : kinds) {
    if (std::string_view(each.name) == kind) type.kind = each.kind;
    known += (known.empty() ? "" : ", ") + std::string(each.name);
  }
  if (type.kind == 0) raise(PyExc_ValueError, fmt::format("'{}' is no kind; there are {}", kind, known));
  type.length = length;
  type.flags = bits_of(names, flags, "flag");
  take_page(page, newline, type);
  type.precision = precision;
  type.scale = scale;
  type.firstYear = first_year;
  if (model == Py_None) return;
  const std::string text = text_of_object(model, "model");
  made.model.assign(text.begin(), text.end());
  type.model = made.model.c_str();
}

std::uint32_t plan_options(PyObject* words) { return bits_of(words, options, "option"); }

}  // namespace zvrt::python
