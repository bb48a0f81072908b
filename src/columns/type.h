// A ZVRTType after it was checked: what readers, writers and places ask of it, with the defaults filled in.
#pragma once

#include <bit>
#include <cstdint>

#include "ZVRTColumns.h"
#include "columns/decimal.h"
#include "columns/page.h"
#include "support/inlined.h"

namespace zvrt::columns {

struct DateModel;
struct SingleCall;

// The canonical form that a kind is read into and written from.
enum class Form : std::uint8_t { text, bytes, boolean, decimal, binary, moment };

// How a slot tells where its value ends.
enum class Extent : std::uint8_t { fixed, counted, prefixed, terminated, varnum };

// Which parts of a moment a type has.
enum class Parts : std::uint8_t { none = 0, date = 1, time = 2, both = 3 };

struct Type {
  std::uint32_t kind = 0;
  std::uint32_t flags = 0;
  std::int32_t length = 0;  // bytes of a slot; 0: a source whose values end by themselves
  Form form = Form::bytes;
  Extent extent = Extent::fixed;
  Parts parts = Parts::none;
  std::uint8_t unit = 1;         // bytes of a unit of text
  std::int32_t precision = 0;    // digits that a number may have; of base-100 numbers 40
  std::int32_t scale = 0;        // of moments the digits of the fraction, 0 to 9
  std::int32_t date_digits = 0;  // of the fraction of a second
  bool declares_precision = false;
  std::int32_t first_year = 0;
  Page page;  // of narrow text; also says what a blank is
  const DateModel* model = nullptr;
  const SingleCall* single_call = nullptr;  // of a target that is written by a function for single values
  std::uint32_t options = 0;                // of the plan
  Rounding rounding = Rounding::exact;

  // Inlined, as kernels for other processors use it.
  ZVRT_INLINED bool has(std::uint32_t flag) const { return (flags & flag) != 0; }
  // What the values are, whatever they are stored as.
  Form value_form() const { return model != nullptr ? Form::moment : form; }
  // Text whose bytes are characters by a table.
  bool has_table() const { return is_narrow() && page.how == PageKind::table; }
  bool is_narrow() const { return form == Form::text && unit == 1; }
  // Multi-byte values stand in the other byte order than the machine's. A flag that names the machine's own is not kept.
  bool is_swapped() const { return has(byte_orders); }
  // Nulls stand in the slot itself.
  bool has_null_form() const { return has(null_forms); }

  static constexpr std::uint32_t byte_orders = ZVRT_TYPE_BIG_ENDIAN | ZVRT_TYPE_LITTLE_ENDIAN;
  static constexpr std::uint32_t native_order =
      std::endian::native == std::endian::big ? ZVRT_TYPE_BIG_ENDIAN : ZVRT_TYPE_LITTLE_ENDIAN;
  static constexpr std::uint32_t null_forms =
      ZVRT_TYPE_NULL_BLANKS | ZVRT_TYPE_NULL_ZEROS | ZVRT_TYPE_NULL_LOW | ZVRT_TYPE_NULL_HIGH;
};

// Whether a type is read or written.
enum class Role : std::uint8_t { source, target };

// Checks a caller's type and takes over what it says, but for its page and its model. A sentence in `reason` says what
// is wrong with one that is refused.
Status check_type(const ZVRTType& given, Role role, Type& type, const char*& reason);

}  // namespace zvrt::columns
