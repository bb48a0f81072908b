// Length words and the framers that read them.
//
// A file is damaged where a length word cannot be one, or where it leads to a place that holds none. Then the next place
// is looked for from which `links_for_sure` words lead from one to the next, or to the end of the file: a few bytes that
// look like one word are common in data, that many in a row are not.
#include <fmt/format.h>

#include "records/files/failure.h"
#include "records/formats/framer.h"

namespace zvrt::records {
namespace {

constexpr std::size_t word_bytes = 4;
constexpr int links_for_sure = 4;
constexpr std::size_t search_bytes = 1 << 20;  // looked through at a time for a place that chains
constexpr std::size_t longest_block = 1 << 26;

unsigned at(const char* bytes, std::size_t index) { return static_cast<unsigned char>(bytes[index]); }

// The 16 bits of a length word. Little-endian ones come as [lo hi 00 00] and as a whole word turned round, [00 00 lo hi].
std::optional<unsigned> value_of_word(const char* word, bool big_endian) {
  const unsigned first = big_endian ? at(word, 0) << 8 | at(word, 1) : at(word, 1) << 8 | at(word, 0);
  const unsigned second = big_endian ? at(word, 2) << 8 | at(word, 3) : at(word, 3) << 8 | at(word, 2);
  if (first != 0 && second == 0) return first;
  if (!big_endian && first == 0 && second != 0) return second;
  return std::nullopt;
}

std::int64_t value_for(std::size_t length, const LengthWords& words) {
  return static_cast<std::int64_t>(length) - words.adjust + (words.include_themselves ? 4 : 0);
}

class WordFramer final : public Framer {
 public:
  explicit WordFramer(const FormatOptions& options)
      : words_(options.words),
        header_(options.record_header),
        overhead_(options.record_header + word_bytes),
        least_(options.least_length),
        greatest_(options.greatest_length) {}

  Frame next(const char* bytes, std::size_t count, bool last) override {
    if (count == 0) return {last ? Frame::Kind::end : Frame::Kind::more};
    if (count < overhead_) return last ? damage(count, "the file ends inside a length word") : Frame{};
    const auto length = word(bytes);
    if (!length) return lost(bytes, count, last, "no length word stands where one must");
    const std::size_t total = overhead_ + *length;
    if (count < total) {
      if (!last) return {};
      return lost(bytes, count, last,
                  fmt::format("a length word says {} bytes, and {} are left", *length, count - overhead_));
    }
    Frame found{Frame::Kind::record, overhead_, *length};
    if (count - total < overhead_) return last ? found : Frame{};
    if (word(bytes + total)) return found;
    // This word or the next one is wrong: this one, if a chain begins before the place it leads to.
    const auto sure = find_chain(bytes, count, last);
    if (!sure) return {};
    if (*sure >= total) return found;
    return damage(*sure, fmt::format("a length word says {} bytes, and no length word follows them", *length));
  }

  // Whether `links` words lead from one to the next from here on, or to the end.
  bool chains(const char* bytes, std::size_t count, bool last, int links) const {
    std::size_t place = 0;
    for (int link = 0; link < links; ++link) {
      if (place == count) return last && link > 0;
      if (count - place < overhead_) return false;
      const auto length = word(bytes + place);
      if (!length || (greatest_ != 0 && (*length < least_ || *length > greatest_))) return false;
      if (count - place - overhead_ < *length) return false;
      place += overhead_ + *length;
    }
    return true;
  }

  std::optional<std::size_t> word(const char* bytes) const { return length_of_word(bytes + header_, words_); }

  // The words from here on lead exactly to the end of `count` bytes.
  bool fills(const char* bytes, std::size_t count) const {
    std::size_t place = 0;
    while (place < count) {
      if (count - place < overhead_) return false;
      const auto length = word(bytes + place);
      if (!length || count - place - overhead_ < *length) return false;
      place += overhead_ + *length;
    }
    return count != 0;
  }

 private:
  static Frame damage(std::size_t bytes, std::string why) { return {Frame::Kind::damage, bytes, 0, 0, std::move(why)}; }

  // The next place after the first byte that chains, or all that is there; nothing: more bytes are needed.
  std::optional<std::size_t> find_chain(const char* bytes, std::size_t count, bool last) const {
    for (std::size_t place = 1; place < count; ++place)
      if (chains(bytes + place, count - place, last, links_for_sure)) return place;
    if (last) return count;
    if (count < search_bytes) return std::nullopt;
    return count / 2;
  }

  Frame lost(const char* bytes, std::size_t count, bool last, std::string why) const {
    const auto place = find_chain(bytes, count, last);
    return place ? damage(*place, std::move(why)) : Frame{};
  }

  LengthWords words_;
  std::size_t header_;
  std::size_t overhead_;
  std::size_t least_;
  std::size_t greatest_;
};

// A block is taken whole, and the records in it by the framer for length words; damage in a block ends with it.
class BlockFramer final : public Framer {
 public:
  explicit BlockFramer(const FormatOptions& options) : words_(options.words), records_(options) {}

  void begin_file() override {
    left_ = 0;
    counts_itself_.reset();
  }

  Frame next(const char* bytes, std::size_t count, bool last) override {
    if (left_ != 0) return inside(bytes, count);
    if (count == 0) return {last ? Frame::Kind::end : Frame::Kind::more};
    if (count < word_bytes) return last ? damage(count, "the file ends inside a block's length word") : Frame{};
    const auto length = block_length(bytes, count, last);
    if (!length && !last && count < search_bytes && might_be_block(bytes)) return {};
    if (!length) return lost(bytes, count, last);
    if (count < *length) return {};
    left_ = *length - word_bytes;
    return {Frame::Kind::skip, word_bytes};
  }

 private:
  static Frame damage(std::size_t bytes, std::string why) { return {Frame::Kind::damage, bytes, 0, 0, std::move(why)}; }

  Frame inside(const char* bytes, std::size_t count) {
    if (count < left_) return {};  // cannot be: the block was there whole, and is carried on whole
    Frame frame = records_.next(bytes, left_, true);
    left_ -= frame.total();
    return frame;
  }

  // What the word says, itself included as `counts_itself` has it.
  std::optional<std::size_t> value(const char* bytes, bool counts_itself) const {
    std::size_t length = 0;
    if (words_.big_endian && (at(bytes, 0) & 0x80) != 0) {
      length = (at(bytes, 0) & 0x7FU) << 24 | at(bytes, 1) << 16 | at(bytes, 2) << 8 | at(bytes, 3);
    } else if (const auto word = value_of_word(bytes, words_.big_endian)) {
      length = *word;
    }
    if (!counts_itself) length += word_bytes;
    if (length < 2 * word_bytes || length > longest_block) return std::nullopt;
    return length;
  }

  bool might_be_block(const char* bytes) const { return value(bytes, true) || value(bytes, false); }

  // A block begins here: its records fill it, or at least another block or the end follows it.
  bool is_block(const char* bytes, std::size_t count, bool last, bool counts_itself) const {
    const auto length = value(bytes, counts_itself);
    if (!length || *length > count) return false;
    if (records_.fills(bytes + word_bytes, *length - word_bytes)) return true;
    if (!counts_itself_) return false;
    const std::size_t rest = count - *length;
    return rest == 0 ? last : rest >= word_bytes && value(bytes + *length, counts_itself).has_value();
  }

  // The first block of a file tells whether the words of its blocks count themselves.
  std::optional<std::size_t> block_length(const char* bytes, std::size_t count, bool last) {
    for (const bool counts :
         {counts_itself_.value_or(words_.include_themselves), counts_itself_.value_or(!words_.include_themselves)}) {
      if (!is_block(bytes, count, last, counts)) continue;
      counts_itself_ = counts;
      return value(bytes, counts);
    }
    return std::nullopt;
  }

  Frame lost(const char* bytes, std::size_t count, bool last) const {
    const bool counts = counts_itself_.value_or(words_.include_themselves);
    for (std::size_t place = 1; place + word_bytes < count; ++place) {
      const auto length = value(bytes + place, counts);
      if (length && *length <= count - place && records_.fills(bytes + place + word_bytes, *length - word_bytes))
        return damage(place, "no block of records stands where one must");
    }
    if (!last && count < search_bytes) return {};
    return damage(last ? count : count / 2, "no block of records stands where one must");
  }

  LengthWords words_;
  WordFramer records_;
  std::size_t left_ = 0;               // of the block that is being read
  std::optional<bool> counts_itself_;  // known once a block was met
};

}  // namespace

std::optional<std::size_t> length_of_word(const char* word, const LengthWords& words) {
  const auto value = value_of_word(word, words.big_endian);
  if (!value) return std::nullopt;
  const int length =
      static_cast<int>(*value) + words.adjust - (words.include_themselves ? static_cast<int>(word_bytes) : 0);
  if (length < 0) return std::nullopt;
  return static_cast<std::size_t>(length);
}

bool has_word(std::size_t length, const LengthWords& words) {
  const std::int64_t value = value_for(length, words);
  return value > 0 && value <= 0xFFFF;
}

std::string word_of_length(std::size_t length, const LengthWords& words) {
  if (!has_word(length, words)) throw Failure(fmt::format("a length word cannot say {} bytes", length));
  const std::int64_t value = value_for(length, words);
  const auto high = static_cast<char>(value >> 8);
  const auto low = static_cast<char>(value & 0xFF);
  return words.big_endian ? std::string{high, low, 0, 0} : std::string{0, 0, low, high};
}

std::unique_ptr<Framer> make_word_framer(const FormatOptions& options);
std::unique_ptr<Framer> make_word_framer(const FormatOptions& options) {
  if (options.format == RecordFormat::variable_blocked) return std::make_unique<BlockFramer>(options);
  return std::make_unique<WordFramer>(options);
}

}  // namespace zvrt::records
