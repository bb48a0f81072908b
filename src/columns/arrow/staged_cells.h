// Elements of types that no plan reads, one at a time as cells that one does.
#pragma once

#include "columns/arrow/imported_column.h"
#include "core/call.h"

namespace zvrt::arrow {

constexpr std::int64_t max_staged_bytes = 16;

// The kind of these cells, or 0 where plans read the elements as they are.
std::uint32_t staged_kind(Storage storage);

// Writes the cell of an element, or says why there is none. `cut` drops times of day and fractions that have no place.
Status stage(const ImportedColumn& column, std::int64_t element, bool cut, std::byte* cell);

}  // namespace zvrt::arrow
