// Columns of values, and single calls in short.
#pragma once

#include <cstring>

#include "columns.h"

namespace zvrt_bench {

inline constexpr std::int32_t timestamp_bytes = sizeof(ZVRTTS);
inline constexpr const wchar_t* iso_model = L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF";

inline ZVRTType type(std::uint32_t kind, std::int32_t length, std::uint32_t flags = 0) {
  ZVRTType type{};
  type.size = sizeof type;
  type.kind = kind;
  type.length = length;
  type.flags = flags;
  return type;
}
inline ZVRTType page37(std::uint32_t kind, std::int32_t length, std::uint32_t flags = 0) {
  ZVRTType text = type(kind, length, flags);
  text.codePage = 37;
  return text;
}
inline ZVRTType with_model(ZVRTType type, const wchar_t* model) {
  type.model = model;
  return type;
}
inline ZVRTType with_scale(ZVRTType type, std::int16_t scale, std::int16_t precision = 0) {
  type.scale = scale;
  type.precision = precision;
  return type;
}

// Slots of `slot` bytes at `stride`, each filled by `fill(random, at)`, whose result is the value's length.
template <class Fill>
Column drawn_column(std::int64_t slot, std::int64_t stride, bool tells_lengths, Fill fill) {
  Random random(20240305);
  Column column;
  column.rows = static_cast<std::int64_t>(set_size);
  column.stride = stride;
  column.bytes.resize(static_cast<std::size_t>((column.rows - 1) * stride + slot));
  for (std::int64_t row = 0; row < column.rows; ++row) {
    const std::int64_t length = fill(random, column.bytes.data() + row * stride);
    if (tells_lengths) column.lengths.push_back(length);
  }
  return column;
}

template <class Value, class Draw>
Column column_of(Draw draw) {
  return drawn_column(sizeof(Value), sizeof(Value), false, [draw](Random& random, std::byte* at) -> std::int64_t {
    const Value value = draw(random);
    std::memcpy(at, &value, sizeof value);
    return sizeof value;
  });
}

// What a loop over single calls makes of another column: the source of the way back.
inline Column converted(const Column& from, const Loop& loop, std::int32_t slot) {
  Target target(from.rows, slot);
  loop(from, 0, from.rows, target);
  Column column;
  column.bytes = std::move(target.bytes);
  column.stride = slot;
  column.rows = from.rows;
  return column;
}

// A conversion without a source length; the bytes of its result.
template <auto conversion, std::int64_t unit>
std::int64_t convert_one(const void* source, void* slot, std::int32_t slot_bytes, const FldDef* field = nullptr,
                         std::int32_t source_bytes = 0) {
  std::uint32_t length = 0;
  conversion(source, &source_bytes, slot, slot_bytes, &length, field);
  return static_cast<std::int64_t>(length) * unit;
}

}  // namespace zvrt_bench
