// Which pairs have a direct kernel, and which runs it may take.
#include "columns/direct.h"

#include <algorithm>

#include "support/cpu.h"

namespace zvrt::columns {

namespace {

const DirectKernels& kernels = *choose_version(
    Versions<const DirectKernels>{.baseline = &direct_kernels_baseline ZVRT_X86(, .avx512 = &direct_kernels_avx512)});

bool holds_all_digits(const Type& to, const Type& from) {
  return to.scale == from.scale && to.model == nullptr && !to.is_swapped() &&
         (!to.declares_precision || to.precision >= 2 * from.length - 1);
}

Direct* find_packed(const Type& from, const Type& to) {
  if (!is_short_packed(from) || !holds_all_digits(to, from)) return nullptr;
  if (to.kind == ZVRT_KIND_INT && to.length == 8) return kernels.packed_to_int64;
  if (to.kind == ZVRT_KIND_DECIMAL && to.precision >= 2 * from.length - 1) return kernels.packed_to_decimal;
  return nullptr;
}

Direct* find_text(const Type& from, const Type& to) {
  const bool known = is_plain_text(from, ZVRT_TYPE_TRIM | ZVRT_TYPE_LOW_AS_BLANK) && is_plain_text(to, ZVRT_TYPE_PAD) &&
                     from.extent != Extent::prefixed && from.unit == 1 && to.unit != 2;
  if (!known || (to.unit == 4 && to.has(ZVRT_TYPE_PAD))) return nullptr;
  const PageKind into = to.page.how;
  if (from.page.how == PageKind::table) {
    if (to.unit == 4) return kernels.page_to_wide;
    return into == PageKind::utf8 ? kernels.page_to_narrow : nullptr;
  }
  const bool is_tabled = to.unit == 1 && into == PageKind::table && to.page.tables->has_all_ascii;
  if (from.page.is_utf8() && to.unit == 4) return kernels.utf8_to_wide;
  return from.page.is_utf8() && is_tabled && to.page.blank_bytes == 1 ? kernels.utf8_to_page : nullptr;
}

}  // namespace

const DirectKernels& direct_kernels() { return kernels; }

bool is_short_packed(const Type& type) {
  return type.kind == ZVRT_KIND_PACKED && type.length <= 8 && !type.has(ZVRT_TYPE_NO_SIGN) &&
         type.precision >= 2 * type.length - 1 && type.model == nullptr;
}

bool is_plain_text(const Type& type, std::uint32_t flags) {
  return type.form == Form::text && type.model == nullptr && (type.flags & ~(flags | Type::null_forms)) == 0;
}

Direct* find_direct(ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  Direct* found = find_direct_transcoding(plan);
  if (found == nullptr) found = from.form == Form::text ? find_text(from, to) : find_packed(from, to);
  if (found == nullptr) found = find_direct_number(plan);
  return found != nullptr ? found : find_direct_date(plan);
}

bool suits_direct(const ZVRTPlan& plan, const Places& from, const Places& to) {
  const Type& type = plan.from.type;
  if (from.starts != nullptr || to.starts != nullptr) return false;
  if (from.lengths.at == nullptr) return type.length > 0;
  if (type.extent == Extent::counted) return type.form == Form::text;
  // Elsewhere lengths say no more than which rows are null, but for terminated text.
  return type.extent == Extent::fixed || type.extent == Extent::varnum;
}

TextSlot text_slot(const Type& type) {
  const bool is_prefixed = type.extent == Extent::prefixed;
  const bool is_terminated = type.extent == Extent::terminated;
  const std::int32_t overhead = is_prefixed ? 2 : is_terminated ? type.unit : 0;
  const std::int32_t bytes = std::max(type.length - overhead, 0);
  const std::int32_t room = is_prefixed ? std::min(bytes, 32767) : bytes;
  return {is_prefixed ? 2 : 0, room - room % type.unit, is_terminated, type.has(ZVRT_TYPE_PAD), is_prefixed};
}

}  // namespace zvrt::columns
