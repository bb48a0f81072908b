// Direct kernels of numbers: short numbers between any two kinds, and packed fields straight to text.
#include <algorithm>

#include "columns/short_numbers.h"
#include "support/cpu.h"

namespace zvrt::columns {

namespace {

const NumberKernels& kernels = *choose_version(
    Versions<const NumberKernels>{.baseline = &number_kernels_portable ZVRT_X86(, .avx512 = &number_kernels_avx512)});

}  // namespace

std::int32_t convert_short_numbers(const ZVRTPlan& plan, const Rows& rows) {
  ShortNumbers numbers;
  for (std::int32_t done = 0; done < rows.count;) {
    Entries lengths;
    Rows part = rows_after(rows, done, lengths);
    const std::int32_t wanted = std::min(part.count, short_rows);
    part.count = wanted;
    part.count = plan.read_short(plan, part, numbers);
    const std::int32_t written = plan.write_short(plan, part, numbers);
    done += written;
    if (written < wanted) return done;
  }
  return rows.count;
}

const NumberKernels& number_kernels() { return kernels; }

bool is_number_text(const Type& type, Role role) {
  const std::uint32_t flags = role == Role::source ? ZVRT_TYPE_TRIM : ZVRT_TYPE_PAD;
  if (!is_plain_text(type, flags) || type.unit == 2) return false;
  // A terminated text that is trimmed is rare.
  if (role == Role::source && type.extent == Extent::terminated && type.flags != 0) return false;
  if (type.unit == 4 || type.page.is_utf8()) return true;
  return type.page.how == PageKind::table && type.page.tables->has_all_ascii && type.page.blank_bytes == 1;
}

Direct* find_direct_number(ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  const auto is_number = [](Form form) { return form == Form::decimal || form == Form::binary; };
  if (!is_number(from.form) && !is_number(to.form)) return nullptr;
  // Between floats there is no decimal.
  if (from.form == Form::binary && to.form == Form::binary) return nullptr;
  plan.read_short = find_short_reader(from, plan.options);
  plan.write_short = find_short_writer(to, plan.options);
  if (Direct* const found = find_direct_float(plan); found != nullptr) return found;
  if (plan.read_short == nullptr || plan.write_short == nullptr) return nullptr;
  if (from.form == Form::text && to.kind == ZVRT_KIND_PACKED) return kernels.text_to_packed;
  const bool is_packed_text = from.kind == ZVRT_KIND_PACKED && to.form == Form::text;
  return is_packed_text ? kernels.packed_to_text : convert_short_numbers;
}

}  // namespace zvrt::columns
