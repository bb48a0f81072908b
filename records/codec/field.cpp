#include "records/codec/field.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "records/files/failure.h"
#include "records/layout/ddl.h"

namespace zvrt::records {
namespace {

constexpr std::size_t number_slot = 176;  // the longest number as text: a VARNUM of 10^-130 with 40 digits
constexpr std::size_t signs_slot = 4;     // beside a number's digits: sign, zero, point
constexpr std::size_t integer_slot = 20;  // the digits of 64 bits
constexpr std::size_t float_slot = 128;
constexpr std::size_t date_slot = 64;

// Of a file, on whatever machine it is read.
std::uint32_t byte_order(bool big_endian) { return big_endian ? ZVRT_TYPE_BIG_ENDIAN : ZVRT_TYPE_LITTLE_ENDIAN; }

bool is_integer_length(std::size_t length) { return length == 1 || length == 2 || length == 4 || length == 8; }

std::wstring widened(const std::string& text) { return {text.begin(), text.end()}; }

// ISO's form of what the record's model tells: a date, a time of day, or both.
std::string model_of_table(const std::string& of_record) {
  const bool has_time = of_record.find("%HH") != std::string::npos;
  const bool has_date = of_record.find("%Y") != std::string::npos;
  std::string model = has_date || !has_time ? "%YYYY-%MM-%DD" : "";
  if (has_time) model += has_date ? " %HH24:%MI:%SS" : "%HH24:%MI:%SS";
  const std::size_t fraction = of_record.find("%F");
  if (fraction == std::string::npos) return model;
  const std::size_t end = of_record.find_first_not_of('F', fraction + 1);
  return model + "." + of_record.substr(fraction, end == std::string::npos ? end : end - fraction);
}

}  // namespace

ZVRTArray array_of(const char* data, std::int64_t stride) {
  ZVRTArray array{};
  array.size = sizeof array;
  array.data = const_cast<char*>(data);
  array.stride = stride;
  return array;
}

void DecodedCells::resize(std::size_t count, std::size_t slot_bytes) {
  slot = slot_bytes;
  if (slots.size() < count * slot) slots.resize(count * slot);
  lengths.resize(count);
  status.assign(count, ZVRT_RC_OK);
}

Plan make_plan(const ZVRTType& from, const ZVRTType& to, const std::string& field) {
  ZVRTPlan* plan = nullptr;
  ZVRTProblem why{};
  why.size = sizeof why;
  if (ZVRTPlanCreate(&from, &to, 0, &plan, &why) != ZVRT_RC_OK)
    throw Failure(fmt::format("field {}: {}", field, why.text));
  return Plan(plan);
}

Status convert_one(const ZVRTPlan& plan, const char* from, const std::int32_t* length, char* to,
                   std::int32_t* written) {
  Status status = ZVRT_RC_OK;
  ZVRTArray source = array_of(from, 0);
  source.lengths = const_cast<std::int32_t*>(length);
  source.lengthBytes = length == nullptr ? 0 : sizeof *length;
  ZVRTArray target = array_of(to, 0);
  target.lengths = written;
  target.lengthBytes = written == nullptr ? 0 : sizeof *written;
  target.status = &status;
  const Status result = ZVRTPlanRun(&plan, &source, &target, 1, nullptr);
  return result != ZVRT_RC_OK ? result : status;
}

Field::Field(const Column& column, const CodecOptions& options) : column_(column) {
  table_column_.name = column.name;
  table_column_.sql_type = postgresql_type(column);
  make_types(options);
  if (!single_) {
    decode_ = make_plan(reads_, text_, column.field);
    ZVRTType from = text_;
    from.length = 0;
    encode_ = make_plan(from, writes_, column.field);
    make_gathering();
  }
  const bool is_number =
      table_column_.type != TableColumn::Type::text && table_column_.type != TableColumn::Type::bytes;
  blanks_ =
      column_.item->usage == Usage::national ? repeated('\0', ' ') : repeated(options.page.blank, options.page.blank);
  empty_ = is_number ? encoded("0") : blanks_;
  if (empty_.empty()) empty_ = blanks_;
  make_null(options);
}

void Field::make_types(const CodecOptions& options) {
  const Item& item = *column_.item;
  reads_.size = text_.size = sizeof(ZVRTType);
  reads_.length = static_cast<std::int32_t>(item.length);
  text_.kind = ZVRT_KIND_CHAR;
  const Category category = item.picture.category;
  if (item.notes.number) {
    reads_.kind = ZVRT_KIND_VARNUM;
    table_column_.type = TableColumn::Type::number;
  } else if (category == Category::numeric_edited) {
    single_ = make_edited(column_, options);
    table_column_.type = TableColumn::Type::number;
  } else if (category == Category::numeric || category == Category::none) {
    make_number(options);
  } else {
    make_text(options);
  }
  if (!single_ && reads_.kind == ZVRT_KIND_VARNUM) writes_ = reads_;
  if (item.notes.date) make_date(options);
  if (text_.length == 0) text_.length = number_slot;
}

void Field::make_text(const CodecOptions& options) {
  const Item& item = *column_.item;
  const bool wide = item.usage == Usage::national;
  refuses_low_ = options.low_values == LowValues::refuse;
  if (item.usage == Usage::dbcs || (options.page.unit == 2 && !wide)) {
    single_ = make_graphic(column_, options);
    text_.length = reads_.length * 3 + 1;
    return;
  }
  reads_.kind = wide ? ZVRT_KIND_UTF16 : ZVRT_KIND_CHAR;
  if (wide) {
    reads_.flags = ZVRT_TYPE_BIG_ENDIAN;
  } else {
    reads_.codePage = options.page.number == 65001 ? 0 : options.page.number;
    reads_.codePageKind = options.page.kind;
  }
  writes_ = reads_;
  writes_.flags |= ZVRT_TYPE_PAD | (item.justified ? ZVRT_TYPE_PAD_LEFT : 0);
  if (options.trim != Trim::none) reads_.flags |= ZVRT_TYPE_TRIM;
  if (options.trim == Trim::both || (item.justified && options.trim != Trim::none)) reads_.flags |= ZVRT_TYPE_TRIM_LEFT;
  if (options.low_values == LowValues::blank) reads_.flags |= ZVRT_TYPE_LOW_AS_BLANK;
  text_.length = reads_.length * (options.page.number == 65001 ? 1 : 3);
}

void Field::make_number(const CodecOptions& options) {
  const Item& item = *column_.item;
  const auto precision = static_cast<std::int16_t>(item.digits);
  reads_.scale = static_cast<std::int16_t>(item.scale);
  table_column_.type =
      item.scale <= 0 && item.digits - item.scale <= 18 ? TableColumn::Type::integer : TableColumn::Type::number;
  const std::uint32_t has_no_sign = item.is_signed ? 0 : ZVRT_TYPE_UNSIGNED;
  bool whole_range = options.full_binary;
  bool big_endian = true;
  switch (item.usage) {
    case Usage::comp_1:
    case Usage::comp_2:
      reads_.kind = options.ibm_floats ? ZVRT_KIND_HEX_FLOAT : ZVRT_KIND_FLOAT;
      reads_.scale = 0;
      if (!options.ibm_floats) reads_.flags = byte_order(options.native_big);
      // A hexadecimal float of 8 bytes has more digits than a double: it stays text.
      table_column_.type =
          options.ibm_floats && item.usage == Usage::comp_2 ? TableColumn::Type::number : TableColumn::Type::real;
      text_.length = float_slot;
      writes_ = reads_;
      return;
    case Usage::packed:
    case Usage::unsigned_packed:
      fit_slot();
      reads_.kind = ZVRT_KIND_PACKED;
      reads_.flags = item.usage == Usage::packed ? has_no_sign : ZVRT_TYPE_NO_SIGN;
      reads_.precision = precision;
      writes_ = reads_;
      return;
    case Usage::national: single_ = make_national_number(column_); return;
    case Usage::display:
      fit_slot();
      reads_.kind = ZVRT_KIND_ZONED;
      reads_.flags = has_no_sign | (options.page.ebcdic ? 0 : ZVRT_TYPE_ASCII);
      if (item.sign_leading) reads_.flags |= ZVRT_TYPE_SIGN_LEADING;
      if (item.sign_separate) reads_.flags |= ZVRT_TYPE_SIGN_SEPARATE;
      reads_.precision = precision;
      writes_ = reads_;
      return;
    case Usage::native:
      whole_range = true;
      big_endian = options.native_big;
      break;
    case Usage::comp_x:
    case Usage::pointer:
    case Usage::index: whole_range = true; break;
    default: break;
  }
  if (!is_integer_length(item.length)) {
    single_ = make_odd_binary(column_, big_endian, whole_range);
    if (item.length >= 8) table_column_.type = TableColumn::Type::number;
    return;
  }
  fit_slot();
  if (item.length == 8 && !item.is_signed) table_column_.type = TableColumn::Type::number;
  reads_.kind = item.is_signed ? ZVRT_KIND_INT : ZVRT_KIND_UINT;
  reads_.flags = byte_order(big_endian);
  writes_ = reads_;
  if (!whole_range) writes_.precision = precision;
}

// The slot of a number by what its bytes can hold: small slots keep a block of records in the processor's cache.
void Field::fit_slot() {
  const Item& item = *column_.item;
  const std::size_t digits = std::max(2 * item.length, integer_slot);
  text_.length = static_cast<std::int32_t>(digits + static_cast<std::size_t>(std::abs(item.scale)) + signs_slot);
}

// A date stands in text or digits by the model of its note; in the table by another one.
void Field::make_date(const CodecOptions& options) {
  const ItemNotes& notes = column_.item->notes;
  if (single_) throw Failure(fmt::format("field {}: a date cannot have this form", column_.field));
  model_ = widened(notes.date->value);
  table_model_ = widened(notes.table_date            ? notes.table_date->value
                         : options.tables_hold_times ? model_of_table(notes.date->value)
                                                     : "%YYYY-%MM-%DD");
  reads_.model = writes_.model = model_.c_str();
  reads_.scale = writes_.scale = 0;
  text_.model = table_model_.c_str();
  text_.length = date_slot;
  table_column_.type = TableColumn::Type::text;
}

std::string Field::encoded(std::string_view text) const {
  std::string bytes(length(), '\0');
  const std::int64_t start = 0;
  const auto size = static_cast<std::int32_t>(text.size());
  std::vector<Status> status(1);
  encode_plan({text.data(), 0, &start, &size}, nullptr, {bytes.data(), 0, 1}, status);
  return status[0] == ZVRT_RC_OK ? bytes : std::string();
}

std::string Field::repeated(char first, char second) const {
  std::string bytes(length(), first);
  for (std::size_t i = 1; i < bytes.size(); i += 2) bytes[i] = second;
  return bytes;
}

// A character of zeros: of two bytes in national and graphic items.
bool Field::holds_low_value(const char* bytes) const {
  const Usage usage = column_.item->usage;
  const std::size_t unit = usage == Usage::national || usage == Usage::dbcs ? 2 : 1;
  for (std::size_t i = 0; i + unit <= length(); i += unit)
    if (bytes[i] == 0 && bytes[i + unit - 1] == 0) return true;
  return false;
}

void Field::make_null(const CodecOptions& options) {
  const ItemNotes& notes = column_.item->notes;
  std::string word = notes.null_form ? notes.null_form->value : "";
  for (const std::string& name : {column_.item->name, column_.name})
    if (const auto found = options.nulls.find(name); found != options.nulls.end()) word = found->second;
  if (word.empty()) return;
  if (word == "blanks")
    null_form_ = blanks_;
  else if (word == "low-values")
    null_form_.assign(length(), '\0');
  else if (word == "high-values")
    null_form_.assign(length(), '\xFF');
  else
    null_form_ = encoded(word == "zeros" ? std::string_view("0") : std::string_view(word));
  if (word == "zeros" && column_.item->usage == Usage::display && table_column_.type == TableColumn::Type::text)
    null_form_ = options.page.ebcdic ? std::string(length(), '\xF0') : std::string(length(), '0');
  if (null_form_.empty()) throw Failure(fmt::format("field {}: '{}' cannot be a null of it", column_.field, word));
}

void Field::decode(const FieldBytes& bytes, const std::uint8_t* present, DecodedCells& cells) const {
  cells.resize(bytes.count, static_cast<std::size_t>(text_.length));
  if (null_form_.empty() && !refuses_low_) return decode_plan(bytes, present, cells);
  std::vector<std::uint8_t> chosen(bytes.count, 1);
  for (std::size_t i = 0; i < bytes.count; ++i) {
    if (present != nullptr) chosen[i] = present[i];
    if (chosen[i] == 0) continue;
    if (!null_form_.empty() && std::memcmp(bytes.at(i), null_form_.data(), null_form_.size()) == 0)
      chosen[i] = 0;
    else if (refuses_low_ && holds_low_value(bytes.at(i)))
      cells.status[i] = rx_low_value, chosen[i] = 0;
  }
  std::vector<Status> refused = cells.status;
  decode_plan(bytes, chosen.data(), cells);
  for (std::size_t i = 0; i < bytes.count; ++i)
    if (refused[i] != ZVRT_RC_OK) cells.status[i] = refused[i];
}

void Field::decode_plan(const FieldBytes& bytes, const std::uint8_t* chosen, DecodedCells& cells) const {
  const std::size_t count = bytes.count;
  if (chosen != nullptr) std::fill(cells.lengths.begin(), cells.lengths.end(), null_cell);
  if (single_) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
      if (chosen != nullptr && chosen[i] == 0) continue;
      cells.status[i] = single_->read(bytes.at(i), text);
      if (text.size() > cells.slot) cells.status[i] = ZVRT_RC_TRUNCATED;
      if (cells.status[i] != ZVRT_RC_OK) text.clear();
      cells.lengths[i] = static_cast<std::int32_t>(text.size());
      std::memcpy(cells.slots.data() + i * cells.slot, text.data(), text.size());
    }
  } else {
    ZVRTArray from = array_of(bytes.records, bytes.stride);
    from.select = chosen;
    ZVRTArray to = array_of(cells.slots.data(), static_cast<std::int64_t>(cells.slot));
    to.lengths = cells.lengths.data();
    to.lengthBytes = sizeof(std::int32_t);
    to.status = cells.status.data();
    const Status status = ZVRTPlanRun(decode_.get(), &from, &to, static_cast<std::int64_t>(count), nullptr);
    if (status != ZVRT_RC_OK) throw Failure(fmt::format("field {}: {}", column_.field, text_of(status)));
  }
  for (std::size_t i = 0; i < count; ++i)
    if (cells.status[i] != ZVRT_RC_OK) cells.lengths[i] = null_cell;
}

}  // namespace zvrt::records
