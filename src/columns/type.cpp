#include "columns/type.h"

#include <algorithm>
#include <array>

namespace zvrt::columns {

namespace {

constexpr std::uint32_t trims = ZVRT_TYPE_TRIM | ZVRT_TYPE_TRIM_LEFT | ZVRT_TYPE_TRIM_WIDE;
constexpr std::uint32_t pads = ZVRT_TYPE_PAD | ZVRT_TYPE_PAD_LEFT;
constexpr std::uint32_t nulls = Type::null_forms;
constexpr std::uint32_t order = Type::byte_orders;
constexpr std::uint32_t low = ZVRT_TYPE_LOW_AS_BLANK;
constexpr std::uint32_t zoned = ZVRT_TYPE_UNSIGNED | ZVRT_TYPE_SIGN_LEADING | ZVRT_TYPE_SIGN_SEPARATE | ZVRT_TYPE_ASCII;

// What a kind is; the sizes are in bytes.
struct Kind {
  std::uint32_t kind;
  Form form;
  Extent extent;
  Parts parts;
  std::uint8_t unit;
  std::int32_t size;      // of kinds of one size, else 0
  std::int32_t min_size;  // of the others
  std::int32_t max_size;
  std::uint32_t flags;
};

constexpr std::int32_t any = INT32_MAX;

// clang-format off
constexpr std::array<Kind, 27> kinds = {{
  {ZVRT_KIND_CHAR,          Form::text,    Extent::counted,    Parts::none, 1, 0,  0, any, trims | pads | nulls | low},
  {ZVRT_KIND_VARCHAR,       Form::text,    Extent::prefixed,   Parts::none, 1, 0,  2, any, trims | low},
  {ZVRT_KIND_VARCHAR_SZ,    Form::text,    Extent::terminated, Parts::none, 1, 0,  0, any, trims},
  {ZVRT_KIND_WCHAR,         Form::text,    Extent::counted,    Parts::none, 4, 0,  0, any, trims | pads | nulls | low},
  {ZVRT_KIND_WVARCHAR,      Form::text,    Extent::prefixed,   Parts::none, 4, 0,  2, any, trims | low},
  {ZVRT_KIND_WVARCHAR_SZ,   Form::text,    Extent::terminated, Parts::none, 4, 0,  0, any, trims},
  {ZVRT_KIND_UTF16,         Form::text,    Extent::counted,    Parts::none, 2, 0,  0, any, trims | pads | nulls | low | order},
  {ZVRT_KIND_UTF16_SZ,      Form::text,    Extent::terminated, Parts::none, 2, 0,  0, any, trims | order},
  {ZVRT_KIND_BYTES,         Form::bytes,   Extent::counted,    Parts::none, 1, 0,  0, any, pads | nulls},
  {ZVRT_KIND_BOOL,          Form::boolean, Extent::fixed,      Parts::none, 1, 1,  1, 1,   0},
  {ZVRT_KIND_INT,           Form::decimal, Extent::fixed,      Parts::none, 1, 0,  1, 8,   nulls | order},
  {ZVRT_KIND_UINT,          Form::decimal, Extent::fixed,      Parts::none, 1, 0,  1, 8,   nulls | order},
  {ZVRT_KIND_FLOAT,         Form::binary,  Extent::fixed,      Parts::none, 1, 0,  4, 8,   nulls | order},
  {ZVRT_KIND_HEX_FLOAT,     Form::binary,  Extent::fixed,      Parts::none, 1, 0,  4, 8,   nulls},
  {ZVRT_KIND_PACKED,        Form::decimal, Extent::fixed,      Parts::none, 1, 0,  1, 20,  nulls | ZVRT_TYPE_UNSIGNED | ZVRT_TYPE_NO_SIGN},
  {ZVRT_KIND_ZONED,         Form::decimal, Extent::fixed,      Parts::none, 1, 0,  1, 41,  nulls | zoned},
  {ZVRT_KIND_VARNUM,        Form::decimal, Extent::varnum,     Parts::none, 1, 0,  2, 22,  0},
  {ZVRT_KIND_DECIMAL,       Form::decimal, Extent::fixed,      Parts::none, 1, 16, 16, 16, nulls | order},
  {ZVRT_KIND_NUMERIC,       Form::decimal, Extent::fixed,      Parts::none, 1, 19, 19, 19, 0},
  {ZVRT_KIND_TIMESTAMP,     Form::moment,  Extent::fixed,      Parts::both, 1, 24, 24, 24, nulls},
  {ZVRT_KIND_DATE,          Form::moment,  Extent::fixed,      Parts::date, 1, 6,  6, 6,   nulls},
  {ZVRT_KIND_TIME,          Form::moment,  Extent::fixed,      Parts::time, 1, 6,  6, 6,   nulls},
  {ZVRT_KIND_CLI_TIMESTAMP, Form::moment,  Extent::fixed,      Parts::both, 1, 16, 16, 16, nulls},
  {ZVRT_KIND_CLI_DATE,      Form::moment,  Extent::fixed,      Parts::date, 1, 6,  6, 6,   nulls},
  {ZVRT_KIND_CLI_TIME,      Form::moment,  Extent::fixed,      Parts::time, 1, 6,  6, 6,   nulls},
  {ZVRT_KIND_DAYS,          Form::moment,  Extent::fixed,      Parts::date, 1, 4,  4, 4,   nulls | order},
  {ZVRT_KIND_MICROS,        Form::moment,  Extent::fixed,      Parts::both, 1, 8,  8, 8,   nulls | order},
}};
// clang-format on

const Kind* find_kind(std::uint32_t kind) { return kind >= 1 && kind <= kinds.size() ? &kinds[kind - 1] : nullptr; }

constexpr bool is_integer_size(std::int32_t bytes) { return bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8; }

const char* check_length(const ZVRTType& type, const Kind& kind, Role role) {
  if (kind.size != 0) return type.length == 0 || type.length == kind.size ? nullptr : "The kind has another length.";
  if (kind.extent == Extent::varnum && type.length == 0) return nullptr;
  if (type.length < kind.min_size || type.length > kind.max_size) return "The kind cannot have this length.";
  if (kind.kind == ZVRT_KIND_INT || kind.kind == ZVRT_KIND_UINT) {
    return is_integer_size(type.length) ? nullptr : "An integer has 1, 2, 4 or 8 bytes.";
  }
  if (kind.form == Form::binary) return type.length % 4 == 0 ? nullptr : "A float has 4 or 8 bytes.";
  const bool is_prefixed = kind.extent == Extent::prefixed;
  if (!is_prefixed && type.length % kind.unit != 0) return "The length is no whole number of code units.";
  if (role == Role::target && type.length < kind.unit && !is_prefixed) return "A target needs a length.";
  return nullptr;
}

const char* check_flags(const ZVRTType& type, const Kind& kind) {
  if ((type.flags & ~kind.flags) != 0) return "A flag has no meaning for the kind.";
  const auto has = [&type](std::uint32_t flag) { return (type.flags & flag) != 0; };
  if (has(ZVRT_TYPE_BIG_ENDIAN) && has(ZVRT_TYPE_LITTLE_ENDIAN)) return "A value has one byte order.";
  if (has(ZVRT_TYPE_PAD_LEFT) && !has(ZVRT_TYPE_PAD)) return "PAD_LEFT goes with PAD.";
  if (has(ZVRT_TYPE_TRIM_WIDE) && !has(ZVRT_TYPE_TRIM | ZVRT_TYPE_TRIM_LEFT)) return "TRIM_WIDE goes with TRIM.";
  if (has(ZVRT_TYPE_UNSIGNED) && has(ZVRT_TYPE_SIGN_LEADING | ZVRT_TYPE_SIGN_SEPARATE)) {
    return "An unsigned number has no place of a sign.";
  }
  return nullptr;
}

std::int32_t digits_of_slot(const ZVRTType& type) {
  switch (type.kind) {
    case ZVRT_KIND_INT:
    case ZVRT_KIND_UINT: return 20;
    case ZVRT_KIND_PACKED: return 2 * type.length - ((type.flags & ZVRT_TYPE_NO_SIGN) != 0 ? 0 : 1);
    case ZVRT_KIND_ZONED: return type.length - ((type.flags & ZVRT_TYPE_SIGN_SEPARATE) != 0 ? 1 : 0);
    case ZVRT_KIND_VARNUM: return 40;
    case ZVRT_KIND_DECIMAL:
    case ZVRT_KIND_NUMERIC: return 38;
    default: return 0;
  }
}

const char* check_digits(const ZVRTType& type, const Kind& kind) {
  if (type.kind == ZVRT_KIND_TIMESTAMP) {
    const bool is_good = type.scale >= ZVRT_SCALE_NONE && type.scale <= 9 && type.precision == 0;
    return is_good ? nullptr : "A fraction of a second has 0 to 9 digits.";
  }
  const std::int32_t most = digits_of_slot(type);
  if (kind.form != Form::decimal) {
    return type.precision == 0 && type.scale == 0 ? nullptr : "The kind has neither precision nor scale.";
  }
  if (most < 1 || most > max_digits) return "The slot cannot hold a number of 1 to 40 digits.";
  if (type.precision < 0 || type.precision > most) return "The slot has fewer digits than the precision.";
  if (type.scale < -127 || type.scale > 127) return "A scale is -127 to 127.";
  if (type.kind == ZVRT_KIND_VARNUM && type.precision == 0 && type.scale != 0) return "The scale needs a precision.";
  return nullptr;
}

const char* check_model(const ZVRTType& type, const Kind& kind) {
  if (type.firstYear < 0 || type.firstYear > 9900) return "The first year of two-digit years is 1 to 9900.";
  if (type.model == nullptr) return nullptr;
  const bool has_digits = kind.form == Form::decimal && kind.extent == Extent::fixed && kind.kind != ZVRT_KIND_NUMERIC;
  if (kind.form != Form::text && !has_digits) return "The kind has no format model.";
  return type.scale == 0 ? nullptr : "A date in digits has no scale.";
}

const char* find_fault(const ZVRTType& type, const Kind& kind, Role role) {
  const bool reserved =
      type.reserved[0] != 0 || type.reserved[1] != 0 || type.reserved[2] != 0 || type.reservedYear != 0;
  if (reserved) return "A reserved member is not zero.";
  if (const char* const reason = check_flags(type, kind); reason != nullptr) return reason;
  if (const char* const reason = check_length(type, kind, role); reason != nullptr) return reason;
  if (const char* const reason = check_digits(type, kind); reason != nullptr) return reason;
  return check_model(type, kind);
}

std::int32_t fraction_digits(const ZVRTType& given) {
  switch (given.kind) {
    case ZVRT_KIND_TIMESTAMP: return given.scale == 0 ? ZVRT_SCALE_DEFAULT : std::max<std::int32_t>(given.scale, 0);
    case ZVRT_KIND_CLI_TIMESTAMP: return 9;
    case ZVRT_KIND_MICROS: return 6;
    default: return 0;
  }
}

}  // namespace

Status check_type(const ZVRTType& given, Role role, Type& type, const char*& reason) {
  const Kind* const kind = find_kind(given.kind);
  reason = kind == nullptr ? "There is no such kind." : find_fault(given, *kind, role);
  if (reason != nullptr) return ZVRT_RC_INVALID_TYPE;
  type.kind = given.kind;
  type.flags = given.flags & ~Type::native_order;
  type.length = kind->size != 0 ? kind->size : given.length;
  if (kind->extent == Extent::varnum && given.length == 0) type.length = kind->max_size;
  type.form = kind->form;
  type.extent = kind->extent;
  type.parts = kind->parts;
  type.unit = kind->unit;
  type.declares_precision = given.precision > 0;
  type.precision = given.precision > 0 ? given.precision : digits_of_slot(given);
  type.scale = kind->form == Form::moment ? 0 : given.scale;
  type.date_digits = fraction_digits(given);
  type.first_year = given.firstYear;
  return ZVRT_RC_OK;
}

}  // namespace zvrt::columns
