// Record files of every form, damaged ones too: records and damage stand side by side in the file, what has no damage is
// written as it was, and a layout's records come back from their own bytes.
#include <array>
#include <memory>

#include "input.h"
#include "memory_file.h"
#include "records/codec/whole_records.h"
#include "records/formats/written_file.h"

namespace {

using namespace zvrt::records;

void require(bool condition) {
  if (!condition) std::abort();
}

constexpr const char* plain = "01 R.\n 05 A PIC X(2).\n 05 B PIC S9(3) COMP-3.\n 05 C REDEFINES B PIC 9(2).\n";
constexpr const char* table =
    "01 R.\n 05 N PIC 9.\n 05 T OCCURS 0 TO 4 DEPENDING ON N.\n 10 A PIC S99.\n 10 B PIC X.\n 05 Z PIC 9(4) COMP.\n";
constexpr const char* tables_in_a_table =
    "01 R.\n 05 N PIC 9.\n 05 O OCCURS 2.\n 10 M PIC 9.\n 10 T PIC X(2) OCCURS 0 TO 3 DEPENDING ON M.\n 05 E PIC "
    "Z9.9-.\n";
constexpr const char* wide = "01 R.\n 05 G PIC G(2) DISPLAY-1.\n 05 N PIC N(2).\n 05 F COMP-1.\n 05 X PIC X(3).\n";
constexpr const char* copybooks[] = {plain, table, tables_in_a_table, wide};

RecordCodec codec_of(const char* copybook, bool shift) {
  static std::vector<std::unique_ptr<Layout>> layouts;
  layouts.push_back(std::make_unique<Layout>(parse_layout(copybook, "f")));
  CodecOptions options;
  options.page = code_page(930, '\0');
  RecordOptions form;
  form.shift = form.lengths_vary = form.may_be_short = shift;
  return {columns_of(*layouts.back()), options, form, {}};
}

const RecordCodec& codec_of(std::size_t copybook, bool shift) {
  static const std::array<RecordCodec, 8> codecs{codec_of(copybooks[0], false), codec_of(copybooks[1], false),
                                                 codec_of(copybooks[2], false), codec_of(copybooks[3], false),
                                                 codec_of(copybooks[0], true),  codec_of(copybooks[1], true),
                                                 codec_of(copybooks[2], true),  codec_of(copybooks[3], true)};
  return codecs[copybook + (shift ? 4 : 0)];
}

FormatOptions options_of(zvrt_fuzz::Input& input, const RecordCodec& codec, bool shift) {
  FormatOptions options;
  options.format = static_cast<RecordFormat>(input.below(4));
  options.words = {input.flag(), input.flag(), input.between(-3, 3)};
  options.record_length = codec.length();
  options.least_length = input.flag() ? codec.columns().records.front()->min_length : 0;
  options.greatest_length = input.flag() ? codec.length() : 0;
  options.skip_header = input.below(4);
  options.skip_trailer = input.below(4);
  options.record_header = input.below(3);
  options.newlines = input.flag() ? "\n" : "\x15\x25";
  options.keep_surroundings = true;
  options.block_bytes = 1 + input.below(800);  // so that records stand across blocks
  if (shift && options.format == RecordFormat::fixed)
    options.length_of = [&codec](const char* bytes, std::size_t available) -> std::optional<OwnLength> {
      OwnLength length;
      const auto own = codec.own_length(bytes, available, length.why);
      if (!own) return std::nullopt;
      length.bytes = *own;
      return length;
    };
  return options;
}

// The records, one after the other; whether the file is whole.
bool read(const std::string& file, const std::string& bytes, const FormatOptions& options,
          std::vector<std::string>& records, std::vector<Surroundings>& around) {
  RecordReader reader({file}, options);
  RecordBlock block;
  std::uint64_t end = 0;
  std::uint64_t damaged = 0;
  while (reader.next(block)) {
    require(block.first == records.size() + 1 || block.count() == 0);
    for (std::size_t i = 0; i < block.count(); ++i) {
      const std::uint64_t start = block.offset + static_cast<std::uint64_t>(block.starts[i]);
      const auto length = static_cast<std::size_t>(block.lengths[i]);
      require(start >= end && start + length <= bytes.size());
      records.emplace_back(block.bytes.data() + block.starts[i], length);
      require(records.back() == bytes.substr(start, length));
      end = start + length;
    }
    for (const Damage& damage : block.damages) {
      require(damage.bytes != 0 && damage.offset + damage.bytes <= bytes.size() && !damage.why.empty());
      require(damage.first == bytes.substr(damage.offset, damage.first.size()));
      damaged += damage.bytes;
    }
    around.insert(around.end(), block.surroundings.begin(), block.surroundings.end());
  }
  require(damaged <= bytes.size() && around.size() == records.size());
  return damaged == 0;
}

void check_codec(const RecordCodec& codec, const std::vector<std::string>& records) {
  DecodedRecords decoded;
  testing::decode(codec, records, decoded);
  EncodedRecords encoded;
  codec.encode(testing::cells_of(decoded), records.size(), &records, encoded);
  for (std::size_t row = 0; row < records.size(); ++row) require(encoded.records[row] == records[row]);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  static const MemoryFile file;
  const bool shift = input.flag();
  const RecordCodec& codec = codec_of(input.below(4), shift);
  const FormatOptions options = options_of(input, codec, shift);
  const std::string bytes = input.bytes();
  std::vector<std::string> records;
  std::vector<Surroundings> around;
  const std::string name = file.hold(bytes);
  const bool whole = read(name, bytes, options, records, around);
  if (!records.empty()) check_codec(codec, records);
  if (!whole || records.empty()) return;
  // Of a whole file the blocks that it is read in change nothing.
  FormatOptions one_block = options;
  one_block.block_bytes = 4096;
  std::vector<std::string> again;
  std::vector<Surroundings> around_again;
  require(read(name, bytes, one_block, again, around_again) && again == records);
  // Little-endian length words and those of blocks have several forms, and are written in one.
  const bool one_form = options.format == RecordFormat::fixed || options.format == RecordFormat::lines ||
                        (options.format == RecordFormat::variable && options.words.big_endian);
  if (one_form) require(testing::written(records, options, &around) == bytes);
}
