#include "objects.h"

#include <fmt/format.h>

#include <cstring>

namespace zvrt::python {
namespace {

__extension__ using Int128 = __int128;
__extension__ using Magnitude = unsigned __int128;
constexpr std::size_t recent_objects = 1 << 12;
constexpr long days_to_1970 = 719163;  // of 0001-01-01 as day 1, which Python calls ordinals

template <class Value>
Value value_at(const ColumnBody& column, std::int64_t row) {
  Value value;
  std::memcpy(&value, static_cast<const char*>(column.column().buffers[1]) + row * std::int64_t{sizeof value},
              sizeof value);
  return value;
}

std::string_view text_at(const ColumnBody& column, std::int64_t row) {
  const auto* const offsets = static_cast<const char*>(column.column().buffers[1]);
  std::int32_t ends[2];
  std::memcpy(ends, offsets + row * std::int64_t{sizeof(std::int32_t)}, sizeof ends);
  return {static_cast<const char*>(column.column().buffers[2]) + ends[0], static_cast<std::size_t>(ends[1] - ends[0])};
}

// The digits of a 128-bit integer, with a point before the last `scale` of them.
std::string decimal_text(Int128 value, int scale) {
  const bool negative = value < 0;
  auto magnitude = static_cast<Magnitude>(value);
  if (negative) magnitude = -magnitude;
  std::string digits;
  while (magnitude != 0 || static_cast<int>(digits.size()) <= scale) {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
    magnitude /= 10;
  }
  if (scale > 0) digits.insert(digits.size() - static_cast<std::size_t>(scale), 1, '.');
  return negative ? "-" + digits : digits;
}

Ref attribute_of(const char* module, const char* name) {
  const Ref found = owned(PyImport_ImportModule(module));
  return owned(PyObject_GetAttrString(found.get(), name));
}

}  // namespace

ObjectMaker::ObjectMaker(const ColumnBody& column) : column_(column), kind_(column.type().format[0]) {
  const std::string& format = column.type().format;
  if (kind_ == 'd') {
    scale_ = std::stoi(format.substr(format.find(',') + 1));
    class_ = attribute_of("decimal", "Decimal");
  }
  if (kind_ == 't') {
    kind_ = format[1] == 'd' ? 'D' : format[1] == 't' ? 'T' : 'M';
    class_ = attribute_of("datetime", kind_ == 'D' ? "date" : kind_ == 'T' ? "time" : "timedelta");
    const Ref datetime = attribute_of("datetime", "datetime");
    epoch_ = owned(PyObject_CallFunction(datetime.get(), "iii", 1970, 1, 1));
  }
  recent_.resize(recent_objects);
}

template <class Make>
PyObject* ObjectMaker::remembered(std::string_view bytes, Make make) {
  Remembered& place = recent_[std::hash<std::string_view>{}(bytes) % recent_objects];
  if (!place.object || place.bytes != bytes) {
    place.object = owned(make());
    place.bytes = bytes;
  }
  PyObject* const object = place.object.get();
  Py_INCREF(object);
  return object;
}

PyObject* ObjectMaker::text(std::int64_t row) {
  const std::string_view bytes = text_at(column_, row);
  return remembered(
      bytes, [bytes] { return PyUnicode_FromStringAndSize(bytes.data(), static_cast<Py_ssize_t>(bytes.size())); });
}

PyObject* ObjectMaker::decimal(std::int64_t row) {
  const std::string_view bytes(static_cast<const char*>(column_.column().buffers[1]) + row * 16, 16);
  return remembered(bytes, [&] {
    const std::string text = decimal_text(value_at<Int128>(column_, row), scale_);
    return PyObject_CallFunction(class_.get(), "s#", text.data(), static_cast<Py_ssize_t>(text.size()));
  });
}

PyObject* ObjectMaker::moment(std::int64_t row) {
  constexpr std::int64_t second = 1'000'000;
  if (kind_ == 'D')
    return PyObject_CallMethod(class_.get(), "fromordinal", "l",
                               static_cast<long>(value_at<std::int32_t>(column_, row)) + days_to_1970);
  const auto micros = value_at<std::int64_t>(column_, row);
  if (kind_ == 'T')
    return PyObject_CallFunction(class_.get(), "iiii", static_cast<int>(micros / (3600 * second)),
                                 static_cast<int>(micros / (60 * second) % 60), static_cast<int>(micros / second % 60),
                                 static_cast<int>(micros % second));
  const Ref after = owned(PyObject_CallFunction(class_.get(), "iiL", 0, 0, static_cast<long long>(micros)));
  return PyNumber_Add(epoch_.get(), after.get());
}

PyObject* ObjectMaker::make(std::int64_t row) {
  if (column_.column().is_null(row)) return none();
  switch (kind_) {
    case 'u': return text(row);
    case 'z': {
      const std::string_view bytes = text_at(column_, row);
      return PyBytes_FromStringAndSize(bytes.data(), static_cast<Py_ssize_t>(bytes.size()));
    }
    case 'd': return owned(decimal(row)).release();
    case 'c': return PyLong_FromLong(value_at<std::int8_t>(column_, row));
    case 's': return PyLong_FromLong(value_at<std::int16_t>(column_, row));
    case 'i': return PyLong_FromLong(value_at<std::int32_t>(column_, row));
    case 'l': return PyLong_FromLongLong(value_at<std::int64_t>(column_, row));
    case 'C': return PyLong_FromLong(value_at<std::uint8_t>(column_, row));
    case 'S': return PyLong_FromLong(value_at<std::uint16_t>(column_, row));
    case 'I': return PyLong_FromLong(value_at<std::uint32_t>(column_, row));
    case 'L': return PyLong_FromUnsignedLongLong(value_at<std::uint64_t>(column_, row));
    case 'f': return PyFloat_FromDouble(static_cast<double>(value_at<float>(column_, row)));
    case 'g': return PyFloat_FromDouble(value_at<double>(column_, row));
    case 'D':
    case 'T':
    case 'M': return owned(moment(row)).release();
    default: break;
  }
  raise(PyExc_TypeError, "no Python object is made of the Arrow format '" + column_.type().format + "'");
}

}  // namespace zvrt::python
