#include "job.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "records/files/failure.h"
#include "routing.h"

namespace zvrt::records {
namespace {

// Of records that are converted at once. Each may be refused in every field, and the refusals of a block are kept as text.
constexpr std::size_t bytes_of_block = 1 << 17;

std::pair<std::string, std::string> split(const std::string& text, const char* option) {
  const std::size_t at = text.find('=');
  if (at == std::string::npos || at == 0) throw Failure(fmt::format("--{} '{}': there is no =", option, text));
  return {text.substr(0, at), text.substr(at + 1)};
}

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

std::uint64_t number(const std::string& text, const char* option) {
  std::uint64_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec != std::errc{} || read.ptr != text.data() + text.size())
    throw Failure(fmt::format("--{}: '{}' is no number", option, text));
  return value;
}

}  // namespace

LayoutOptions layout_options_of(const Arguments& arguments) {
  LayoutOptions options;
  options.binary_sizes = arguments.binary_size == "2-4-8"     ? BinarySizes::b2_4_8
                         : arguments.binary_size == "1-2-4-8" ? BinarySizes::b1_2_4_8
                                                              : BinarySizes::b1_to_8;
  options.sync_boundary = arguments.sync;
  for (const std::string& text : arguments.replacing) {
    const auto [from, to] = split(text, "replacing");
    options.copybook.replacing.push_back({from, to, Replacement::Part::by_form});
  }
  return options;
}

Layout layout_of(const Arguments& arguments) {
  return read_layout(arguments.layout, layout_options_of(arguments), arguments.folders);
}

Job::Job(const Arguments& told) : Job(told, layout_of(told)) {}

Job::Job(const Arguments& told, Layout made) : arguments(told), layout(std::move(made)) {
  read_codec();
  read_format();
  read_table();
  read_segments();
  read_range();
}

Existing Job::existing() const {
  return arguments.replace ? Existing::replace : arguments.append ? Existing::append : Existing::refuse;
}

void Job::read_codec() {
  std::string page = arguments.code_page;
  if (page.empty() && layout.notes.page) page = layout.notes.page->value;
  const auto known = page.empty() ? std::optional<std::uint32_t>(37) : code_page_number(page);
  if (!known) throw Failure(fmt::format("'{}' is no code page", page));
  std::string newline = arguments.newline;
  if (newline.empty() && layout.notes.newline) newline = layout.notes.newline->value;
  codec.page = code_page(*known, newline == "lf" ? 'N' : '\0');
  codec.trim = arguments.trim == "right" ? Trim::right : arguments.trim == "both" ? Trim::both : Trim::none;
  codec.low_values = arguments.low_values == "blank"  ? LowValues::blank
                     : arguments.low_values == "keep" ? LowValues::keep
                                                      : LowValues::refuse;
  codec.tables_hold_times = arguments.tables_hold_times;
  codec.full_binary = arguments.binary == "full";
  codec.native_big = arguments.native.empty() ? codec.page.ebcdic : arguments.native == "big";
  codec.ibm_floats = arguments.floats.empty() ? codec.page.ebcdic : arguments.floats == "ibm";
  for (const std::string& text : arguments.nulls) {
    const auto [field, form] = split(text, "null");
    codec.nulls[upper(field)] = form;
  }
}

void Job::read_format() {
  const std::string& form = arguments.format;
  format.format = form == "V"    ? RecordFormat::variable
                  : form == "VB" ? RecordFormat::variable_blocked
                  : form == "D"  ? RecordFormat::lines
                                 : RecordFormat::fixed;
  format.words = {arguments.rdw_order == "big", arguments.rdw_includes == "yes", arguments.rdw_adjust};
  format.skip_header = arguments.skip_header;
  format.skip_trailer = arguments.skip_trailer;
  format.record_header = arguments.record_header;
  format.blank = codec.page.blank;
  format.block_bytes = bytes_of_block;
  format.keep_surroundings = arguments.keep_bytes;
  if (codec.page.ebcdic) {
    format.newlines = "\x15\x25";
    format.newline[0] = arguments.newline == "nel" ? '\x25' : '\x15';
  }
}

void Job::read_table() {
  table.delimiter = arguments.delimiter == "tab" || arguments.delimiter == "\\t" ? '\t'
                    : arguments.delimiter.empty()                                ? '\0'
                                                                                 : arguments.delimiter[0];
  if ((arguments.delimiter.size() != 1 && table.delimiter != '\t') || table.delimiter == '"' ||
      table.delimiter == '\n' || table.delimiter == '\r')
    throw Failure(
        fmt::format("--delimiter '{}': one character, and no quotation mark or end of line", arguments.delimiter));
  if (arguments.null_text_told) table.null_text = arguments.null_text;
  table.byte_order_mark = arguments.bom;
  table.create = arguments.create;
  table.order_by = arguments.order_by;
  rejects = arguments.rejects;
  if (arguments.rejects_told && (rejects.empty() || rejects == "-"))
    throw Failure("--rejects needs the name of a file");
}

void Job::read_segments() {
  RecordOptions options;
  const bool variable = format.format != RecordFormat::fixed;
  options.shift = arguments.odo.empty() ? variable : arguments.odo == "shift";
  options.pads_blanks = format.format == RecordFormat::lines;
  options.lengths_vary = variable || !arguments.length_field.empty();
  options.may_be_short = variable && format.format != RecordFormat::lines;
  options.record_length = arguments.record_length;
  options.length_field = upper(arguments.length_field);
  options.length_adjust = arguments.rdw_adjust;
  if (arguments.segments.empty()) add_segment("", options);
  for (const std::string& text : arguments.segments) add_segment(text, options);
  if (has_segments()) table.order_by = "RECORD_NUMBER";
  const RecordCodec& leading = *segments.front().codec;
  for (const Segment& segment : segments) {
    const Columns& columns = segment.codec->columns();
    if (options.shift && columns.cannot_shift) throw CopybookError(*columns.cannot_shift);
    format.record_length = std::max(format.record_length, segment.codec->length());
  }
  if (variable) return;
  if (!arguments.length_field.empty()) {
    const std::size_t field = leading.find(upper(arguments.length_field));
    if (field == no_index) throw Failure(fmt::format("--length-field: there is no field '{}'", arguments.length_field));
    const int adjust = arguments.rdw_adjust;
    format.length_of = [&leading, field, adjust](const char* bytes, std::size_t available) -> std::optional<OwnLength> {
      const Field& holder = *leading.fields()[field];
      if (available < holder.column().offset + holder.length()) return std::nullopt;
      DecodedCells cell;
      holder.decode({const_cast<char*>(bytes) + holder.column().offset, 0, 1}, nullptr, cell);
      std::int64_t length = 0;
      if (cell.lengths[0] > 0) std::from_chars(cell.slots.data(), cell.slots.data() + cell.lengths[0], length);
      length += adjust;
      if (length <= 0 || length > (1 << 24)) return OwnLength{0, "the length field holds no length"};
      return OwnLength{static_cast<std::size_t>(length), ""};
    };
  } else if (options.shift && std::any_of(segments.begin(), segments.end(), [](const Segment& segment) {
               return !segment.codec->columns().tables.empty();
             })) {
    format.length_of = length_by_tables();
  }
}

void Job::add_segment(const std::string& text, const RecordOptions& options) {
  Segment segment;
  ColumnOptions wanted;
  wanted.record = upper(arguments.record);
  wanted.first_meaning_only = arguments.redefines == "first";
  segment.table = {arguments.table_file, arguments.table};
  if (!text.empty()) {
    const auto [field, rest] = split(text, "segment");
    const std::size_t colon = rest.rfind(':');
    if (colon == std::string::npos) throw Failure(fmt::format("--segment '{}': there is no :NAME", text));
    segment.field = upper(field);
    segment.name = rest.substr(colon + 1);
    if (segment.name.empty()) throw Failure(fmt::format("--segment '{}': there is no name after the colon", text));
    std::vector<std::string> values;
    for (std::size_t at = 0; at <= colon;) {
      const std::size_t end = std::min(rest.find(',', at), colon);
      values.push_back(rest.substr(at, end - at));
      at = end + 1;
    }
    if (add_values(segment.name, segment.field, values)) return;
    wanted.record = upper(segment.name);
    segment.selector = selector_of(text, segment.field, wanted);
    for (const std::string& value : values) segment.values.insert(segment_value(*segment.selector, value));
    if (segment.table.kind() == TableName::Kind::odbc ||
        (segment.table.kind() == TableName::Kind::sqlite && !std::filesystem::is_directory(arguments.table_file) &&
         !arguments.table.empty()))
      segment.table.table = arguments.table + segment.name;
    else
      segment.table = {(std::filesystem::path(arguments.table_file) / (segment.name + ".csv")).string(), ""};
    segment.columns.push_back({"RECORD_NUMBER", TableColumn::Type::integer});
  }
  segment.first_field = segment.columns.size();
  segment.codec = std::make_unique<RecordCodec>(columns_of(layout, wanted), codec, options, arguments.columns);
  for (const auto& field : segment.codec->fields()) segment.columns.push_back(field->table_column());
  if (arguments.keep_bytes) add_bytes_columns(segment);
  segments.push_back(std::move(segment));
}

// A name told before gets more values; its table stays one.
bool Job::add_values(const std::string& name, const std::string& field, const std::vector<std::string>& values) {
  for (Segment& segment : segments) {
    if (upper(segment.name) != upper(name)) continue;
    if (segment.field != field)
      throw Failure(
          fmt::format("--segment: {} is told by {} and by {}; one field tells it", name, segment.field, field));
    for (const std::string& value : values) segment.values.insert(segment_value(*segment.selector, value));
    return true;
  }
  return false;
}

// The field is the segment's own, or one of another 01 record of the same area.
std::unique_ptr<Field> Job::selector_of(const std::string& option, const std::string& field,
                                        const ColumnOptions& wanted) const {
  for (const ColumnOptions& where : {wanted, ColumnOptions{}})
    for (const Column& column : columns_of(layout, where).list)
      if (column.name == field || column.item->name == field) return std::make_unique<Field>(column, codec);
  throw Failure(fmt::format("--segment '{}': there is no field '{}'", option, field));
}

// By the tables of the segment that the record's first bytes tell; of the first one where they tell none.
LengthOfRecord Job::length_by_tables() const {
  return [this](const char* bytes, std::size_t available) -> std::optional<OwnLength> {
    const std::size_t found = segment_of(segments, {bytes, available});
    OwnLength length;
    const auto bytes_of = segments[found == no_index ? 0 : found].codec->own_length(bytes, available, length.why);
    if (!bytes_of) return std::nullopt;
    length.bytes = *bytes_of;
    return length;
  };
}

// Beside the record's bytes, what the form of the file lets stand around them.
void Job::add_bytes_columns(Segment& segment) const {
  segment.columns.push_back({"RECORD_BYTES", TableColumn::Type::bytes});
  if (arguments.skip_header != 0 || arguments.record_header != 0)
    segment.columns.push_back({"BYTES_BEFORE", TableColumn::Type::bytes, true});
  if (arguments.skip_trailer != 0 || format.format == RecordFormat::lines)
    segment.columns.push_back({"BYTES_AFTER", TableColumn::Type::bytes, true});
  if (format.format == RecordFormat::variable_blocked)
    segment.columns.push_back({"BLOCK_NUMBER", TableColumn::Type::integer, true});
}

// FIRST:COUNT, FIRST:COUNT@BYTE or FIRST:COUNT@BYTE:BLOCK.
void Job::read_range() {
  if (!arguments.range.empty()) {
    const std::string& text = arguments.range;
    const std::size_t at = text.find('@');
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || colon > at)
      throw Failure(fmt::format("--range '{}': FIRST:COUNT is wanted", text));
    first = std::max<std::uint64_t>(1, number(text.substr(0, colon), "range"));
    count = number(text.substr(colon + 1, at == std::string::npos ? at : at - colon - 1), "range");
    if (at != std::string::npos) {
      if (arguments.verb != Verb::import_records)
        throw Failure(fmt::format("--range '{}': only import begins at a byte", text));
      const std::size_t second = text.find(':', at);
      start = ReadingPlace{first - 1,
                           number(text.substr(at + 1, second == std::string::npos ? second : second - at - 1), "range"),
                           second == std::string::npos ? 0 : number(text.substr(second + 1), "range")};
    }
  }
  if (arguments.limit != 0) count = std::min(count, arguments.limit);
}

}  // namespace zvrt::records
