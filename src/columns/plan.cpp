// Making plans: types checked, pages opened, models compiled, the path of the pair chosen.
#include "columns/plan.h"

#include <array>
#include <cstring>
#include <new>

#include "columns/direct.h"
#include "columns/floats.h"
#include "columns/joined.h"
#include "columns/moments.h"
#include "columns/numbers.h"
#include "columns/structures.h"
#include "columns/text.h"

namespace zvrt::columns {

namespace {

// The canonical form that a kind is read into and written from, by reader and writer.
struct KindPath {
  std::uint32_t kind;
  Read* read;
  Write* write;
};

constexpr std::array kind_paths = {
    KindPath{ZVRT_KIND_INT, read_integer, write_integer},
    KindPath{ZVRT_KIND_UINT, read_integer, write_integer},
    KindPath{ZVRT_KIND_PACKED, read_packed, write_packed},
    KindPath{ZVRT_KIND_ZONED, read_zoned, write_zoned},
    KindPath{ZVRT_KIND_DECIMAL, read_decimal, write_decimal},
    KindPath{ZVRT_KIND_BOOL, read_bool, write_bool},
    KindPath{ZVRT_KIND_VARNUM, read_varnum, write_varnum},
    KindPath{ZVRT_KIND_NUMERIC, read_numeric, write_numeric},
    KindPath{ZVRT_KIND_FLOAT, read_float, write_float},
    KindPath{ZVRT_KIND_HEX_FLOAT, read_hex_float, write_hex_float},
    KindPath{ZVRT_KIND_BYTES, read_bytes, write_bytes},
    KindPath{ZVRT_KIND_TIMESTAMP, read_record, write_record},
    KindPath{ZVRT_KIND_DATE, read_record, write_record},
    KindPath{ZVRT_KIND_TIME, read_record, write_record},
    KindPath{ZVRT_KIND_CLI_TIMESTAMP, read_record, write_record},
    KindPath{ZVRT_KIND_CLI_DATE, read_record, write_record},
    KindPath{ZVRT_KIND_CLI_TIME, read_record, write_record},
    KindPath{ZVRT_KIND_DAYS, read_since_1970, write_since_1970},
    KindPath{ZVRT_KIND_MICROS, read_since_1970, write_since_1970},
};

Read* reader_of(const Type& type) {
  if (type.form == Form::text) return text_reader(type);
  for (const KindPath& path : kind_paths) {
    if (path.kind == type.kind) return path.read;
  }
  return nullptr;
}

Write* writer_of(const Type& type) {
  if (type.form == Form::text) return text_writer(type);
  for (const KindPath& path : kind_paths) {
    if (path.kind == type.kind) return path.write;
  }
  return nullptr;
}

// The steps from one form to another.
struct FormStep {
  Form from;
  Form to;
  Step* step;
};

constexpr std::array form_steps = {
    FormStep{Form::text, Form::text, nullptr},
    FormStep{Form::text, Form::decimal, step_text_to_decimal},
    FormStep{Form::decimal, Form::decimal, nullptr},
    FormStep{Form::decimal, Form::boolean, nullptr},
    FormStep{Form::boolean, Form::decimal, nullptr},
    FormStep{Form::boolean, Form::boolean, nullptr},
    FormStep{Form::decimal, Form::text, step_decimal_to_text},
    FormStep{Form::binary, Form::binary, nullptr},
    FormStep{Form::binary, Form::decimal, step_binary_to_decimal},
    FormStep{Form::binary, Form::boolean, step_binary_to_decimal},
    FormStep{Form::decimal, Form::binary, step_decimal_to_binary},
    FormStep{Form::boolean, Form::binary, step_decimal_to_binary},
    FormStep{Form::binary, Form::text, step_binary_to_text},
    FormStep{Form::text, Form::binary, step_text_to_binary},
    FormStep{Form::text, Form::boolean, step_text_to_bool},
    FormStep{Form::boolean, Form::text, step_bool_to_text},
    FormStep{Form::moment, Form::moment, nullptr},
    FormStep{Form::moment, Form::text, step_moment_to_text},
    FormStep{Form::moment, Form::decimal, step_moment_to_decimal},
    FormStep{Form::text, Form::moment, step_text_to_moment},
    FormStep{Form::decimal, Form::moment, step_decimal_to_moment},
    FormStep{Form::bytes, Form::bytes, nullptr},
    FormStep{Form::text, Form::bytes, step_text_to_bytes},
    FormStep{Form::bytes, Form::text, step_bytes_to_text},
};

// False where one form does not become the other.
bool find_step(Form from, Form to, Step*& found) {
  for (const FormStep& step : form_steps) {
    if (step.from != from || step.to != to) continue;
    found = step.step;
    return true;
  }
  return false;
}

constexpr std::uint32_t roundings = ZVRT_PLAN_ROUND_HALF_EVEN | ZVRT_PLAN_ROUND_HALF_AWAY | ZVRT_PLAN_CUT_FRACTION;

Rounding rounding_of(std::uint32_t options) {
  switch (options & roundings) {
    case ZVRT_PLAN_ROUND_HALF_EVEN: return Rounding::half_even;
    case ZVRT_PLAN_ROUND_HALF_AWAY: return Rounding::half_away;
    case ZVRT_PLAN_CUT_FRACTION: return Rounding::cut;
    default: return Rounding::exact;
  }
}

bool has_one_rounding(std::uint32_t options) {
  const std::uint32_t chosen = options & roundings;
  return (chosen & (chosen - 1)) == 0;
}

// Which byte a blank is where the slot is no narrow text: mainframe numbers have EBCDIC neighbours.
std::byte blank_of_kind(const Type& type) {
  const bool is_ebcdic = type.kind == ZVRT_KIND_PACKED || type.kind == ZVRT_KIND_HEX_FLOAT ||
                         (type.kind == ZVRT_KIND_ZONED && !type.has(ZVRT_TYPE_ASCII));
  return std::byte{static_cast<std::uint8_t>(is_ebcdic ? 0x40 : 0x20)};
}

// Says of each value that is good whether it is an empty text.
void write_nothing(const Type& type, Block& block) {
  for_each(block, [&](std::int32_t i) {
    block.length[i] = 1;
    if (type.model == nullptr && type.form == Form::text) block.length[i] = block.text[i].count;
    if (type.form == Form::bytes) block.length[i] = block.bytes[i].bytes;
  });
}

bool needs_page(const Type& type) {
  return type.is_narrow() || (type.form != Form::text && type.has(ZVRT_TYPE_NULL_BLANKS));
}

Status open_model(const wchar_t* text, Side& side, Reason& reason) {
  side.model.reset(new (std::nothrow) DateModel);
  reason.status = ZVRT_RC_NO_MEMORY;
  reason.sentence = "There is not enough memory for the plan.";
  if (side.model == nullptr) return reason.status;
  reason.status = compile_model(text, side.type, *side.model, reason.sentence);
  side.type.model = side.model.get();
  side.type.parts = side.model->parts;
  side.type.date_digits = side.model->fraction_digits;
  return reason.status;
}

// Text without a model is a date in ISO form where the other side is a date.
Status complete_model(const Side& other, Side& side) {
  if (other.type.value_form() != Form::moment || side.type.value_form() != Form::text) return ZVRT_RC_OK;
  side.model.reset(new (std::nothrow) DateModel);
  if (side.model == nullptr) return ZVRT_RC_NO_MEMORY;
  make_iso_model(other.type.parts, other.type.date_digits, *side.model);
  side.type.model = side.model.get();
  side.type.parts = side.model->parts;
  return ZVRT_RC_OK;
}

// Whether a date can be had of one: a date is a timestamp at midnight, and a timestamp at midnight a date.
constexpr bool has_parts(Parts from, Parts to) {
  return from == to || (from == Parts::date && to == Parts::both) || (from == Parts::both && to == Parts::date);
}

}  // namespace

Status open_side(const ZVRTType& given, Role role, Side& side, Reason& reason) {
  reason.side = role == Role::source ? 0 : 1;
  reason.status = check_type(given, role, side.type, reason.sentence);
  if (reason.status != ZVRT_RC_OK) return reason.status;
  Type& type = side.type;
  if (needs_page(type)) {
    reason.status = open_page(given.codePage, given.codePageKind, type.page, side.tables);
    reason.sentence = "The code page has no converter, or conversions are not initialised.";
    if (reason.status != ZVRT_RC_OK) return reason.status;
    if (type.form != Form::text && given.codePage == 0) type.page.blank[0] = blank_of_kind(type);
  }
  return given.model != nullptr ? open_model(given.model, side, reason) : ZVRT_RC_OK;
}

bool choose_path(const Type& from, const Type& to, Path& path) {
  path = {reader_of(from), nullptr, nullptr, writer_of(to)};
  if (from.value_form() != Form::moment || to.value_form() != Form::moment) {
    // A date is nothing but a date.
    const bool has_date = from.value_form() == Form::moment || to.value_form() == Form::moment;
    return !has_date && find_step(from.form, to.form, path.step);
  }
  if (!has_parts(from.parts, to.parts)) return false;
  return find_step(from.form, Form::moment, path.step) && find_step(Form::moment, to.form, path.second_step);
}

Status open_checked_type(const ZVRTType& given, Type& type, DateModel& model) {
  const char* reason = nullptr;
  if (const Status status = check_type(given, Role::source, type, reason); status != ZVRT_RC_OK) return status;
  if (needs_page(type)) {
    const Status status = find_page(given.codePage, given.codePageKind, type.page, nullptr);
    if (status != ZVRT_RC_OK) return status;
    if (type.form != Form::text && given.codePage == 0) type.page.blank[0] = blank_of_kind(type);
  }
  if (given.model == nullptr) return ZVRT_RC_OK;
  type.model = &model;
  return compile_model(given.model, type, model, reason);
}

void choose_check_path(const Type& type, Path& path) {
  path = {reader_of(type), nullptr, nullptr, write_nothing};
  if (type.value_form() == Form::moment && type.form != Form::moment) find_step(type.form, Form::moment, path.step);
}

std::uint32_t fitting_options(const Type& from, const Type& to) {
  std::uint32_t options = 0;
  const bool is_date = from.value_form() == Form::moment;
  const bool is_text = from.form == Form::text || from.form == Form::bytes;
  if (is_text && !is_date && (to.form == Form::text || to.form == Form::bytes)) options |= ZVRT_PLAN_CUT_TEXT;
  if (from.form == Form::text || to.form == Form::text) options |= ZVRT_PLAN_SUBSTITUTE;
  if (is_date || (to.form == Form::decimal && from.form != Form::boolean)) options |= roundings;
  if (to.form == Form::binary) options |= ZVRT_PLAN_EXACT_FLOAT;
  if (from.kind == ZVRT_KIND_FLOAT && to.form == Form::text) options |= ZVRT_PLAN_SINGLE_FORM;
  return options;
}

std::unique_ptr<ZVRTPlan> make_plan(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, Reason& reason) {
  std::unique_ptr<ZVRTPlan> plan(new (std::nothrow) ZVRTPlan);
  reason = {ZVRT_RC_NO_MEMORY, -1, "There is not enough memory for the plan."};
  if (plan == nullptr) return nullptr;
  if ((options & ZVRT_PLAN_AS_SINGLE_CALL) != 0) {
    if (options == ZVRT_PLAN_AS_SINGLE_CALL && open_single_call(from, to, *plan, reason)) return plan;
    if (options != ZVRT_PLAN_AS_SINGLE_CALL) reason = {ZVRT_RC_INVALID_PAIR, -1, "No option goes with AS_SINGLE_CALL."};
    return nullptr;
  }
  if (open_side(from, Role::source, plan->from, reason) != ZVRT_RC_OK) return nullptr;
  if (open_side(to, Role::target, plan->to, reason) != ZVRT_RC_OK) return nullptr;
  const bool has_models =
      complete_model(plan->from, plan->to) == ZVRT_RC_OK && complete_model(plan->to, plan->from) == ZVRT_RC_OK;
  reason = {ZVRT_RC_NO_MEMORY, -1, "There is not enough memory for the plan."};
  if (!has_models) return nullptr;
  reason = {ZVRT_RC_INVALID_PAIR, -1, "There is no conversion between these kinds."};
  if (!choose_path(plan->from.type, plan->to.type, plan->path)) return nullptr;
  reason.sentence = "An option does not fit the pair, or two of them exclude each other.";
  const std::uint32_t fitting = fitting_options(plan->from.type, plan->to.type);
  if ((options & ~fitting) != 0 || !has_one_rounding(options)) return nullptr;
  plan->options = options;
  for (Type* const type : {&plan->from.type, &plan->to.type}) {
    type->options = options;
    type->rounding = rounding_of(options);
  }
  plan->direct = find_direct(*plan);
  plan->joined = find_joined(*plan);
  reason = {};
  return plan;
}

void convert_block(const ZVRTPlan& plan, Block& block) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  plan.path.read(from, block);
  if (plan.path.step != nullptr) plan.path.step(from, to, block);
  if (plan.path.second_step != nullptr) plan.path.second_step(from, to, block);
  plan.path.write(to, block);
}

namespace {

void explain_plan(const Reason& reason, ZVRTProblem* why) {
  ZVRTProblem problem{};
  problem.status = reason.status;
  problem.field = reason.side;
  problem.offset = -1;
  std::strncpy(problem.text, reason.sentence, sizeof problem.text - 1);
  write_structure(problem, why);
}

}  // namespace

}  // namespace zvrt::columns

using namespace zvrt::columns;

uint32_t ZVRTPlanCreate(const ZVRTType* from, const ZVRTType* to, uint32_t options, ZVRTPlan** plan, ZVRTProblem* why) {
  if (plan != nullptr) *plan = nullptr;
  Reason reason{ZVRT_RC_ERROR, -1, "An argument is null."};
  if (from != nullptr && to != nullptr && plan != nullptr) {
    ZVRTType source;
    ZVRTType target;
    const bool source_known = read_structure(from, source);
    reason = {ZVRT_RC_INVALID_TYPE, source_known ? 1 : 0, "The structure says more than this library knows."};
    if (source_known && read_structure(to, target)) *plan = make_plan(source, target, options, reason).release();
  }
  explain_plan(reason, why);
  return reason.status;
}

void ZVRTPlanDestroy(ZVRTPlan* plan) { delete plan; }
