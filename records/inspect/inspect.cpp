#include "records/inspect/inspect.h"

#include <algorithm>
#include <array>

#include "records/formats/framer.h"

namespace zvrt::records {
namespace {

constexpr std::size_t word_bytes = 4;
constexpr std::size_t longest_record = 32760;
constexpr std::size_t compared_bytes = 1 << 16;

unsigned at(std::string_view bytes, std::size_t index) { return static_cast<unsigned char>(bytes[index]); }

bool is_ascii_text(unsigned c) {
  return c == 0x20 || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// Letters stand in three rows of nine: [8|C][1-9], [9|D][1-9], [A|E][2-9]; digits in F0 to F9; the blank is 40.
bool is_ebcdic_text(unsigned c) {
  const unsigned row = c >> 4;
  const unsigned column = c & 15;
  if (c == 0x40) return true;
  if (column > 9) return false;
  if (row == 0x8 || row == 0x9 || row == 0xC || row == 0xD) return column >= 1;
  if (row == 0xA || row == 0xE) return column >= 2;
  return row == 0xF;
}

void find_coding(std::string_view bytes, FileFindings& found) {
  std::array<std::uint64_t, 256> counts{};
  for (std::size_t i = 0; i < bytes.size(); ++i) ++counts[at(bytes, i)];
  std::uint64_t ebcdic = 0;
  std::uint64_t ascii = 0;
  for (unsigned c = 0; c < counts.size(); ++c) {
    if (is_ebcdic_text(c)) ebcdic += counts[c];
    if (is_ascii_text(c)) ascii += counts[c];
  }
  found.ebcdic = static_cast<double>(ebcdic) / static_cast<double>(bytes.size());
  found.ascii = static_cast<double>(ascii) / static_cast<double>(bytes.size());
  // Bytes of any value have a quarter of each: only one and a half times the other says something.
  if (2 * ebcdic > 3 * ascii) found.coding = Coding::ebcdic;
  if (2 * ascii > 3 * ebcdic) found.coding = Coding::ascii;
}

class ChainWalk {
 public:
  ChainWalk(std::string_view bytes, bool whole, std::size_t header) : bytes_(bytes), whole_(whole), header_(header) {}

  bool records(Chain& chain) const { return walk(0, bytes_.size(), whole_, chain); }

  bool blocks(Chain& chain) const {
    for (std::size_t place = 0; place < bytes_.size();) {
      if (bytes_.size() - place < word_bytes) return !whole_ && chain.blocks != 0;
      const std::size_t length = block_length(place, chain);
      if (length < word_bytes) return false;
      if (length > bytes_.size() - place - word_bytes) return !whole_ && chain.blocks != 0;
      if (!walk(place + word_bytes, place + word_bytes + length, true, chain)) return false;
      ++chain.blocks;
      place += word_bytes + length;
    }
    return chain.blocks != 0;
  }

 private:
  // The words between two places lead to the last one, or beyond it where the bytes were cut there.
  bool walk(std::size_t place, std::size_t end, bool is_end, Chain& chain) const {
    std::uint64_t links = 0;
    for (; place < end; ++links) {
      if (end - place < header_ + word_bytes) return !is_end && links != 0;
      const auto length = length_of_word(bytes_.data() + place + header_, chain.words);
      if (!length || *length > longest_record * 2) return false;
      place += header_ + word_bytes;
      if (*length > end - place) return !is_end && links != 0;
      chain.records.add(*length);
      place += *length;
    }
    return links != 0;
  }

  // Bytes after a block's word. One of 32,768 bytes and more has the first bit set and 31 bits.
  std::size_t block_length(std::size_t place, const Chain& chain) const {
    const std::size_t itself = chain.blocks_count_themselves ? word_bytes : 0;
    std::size_t length = 0;
    if (chain.words.big_endian && at(bytes_, place) >= 0x80) {
      length = (at(bytes_, place) & 0x7FU) << 24 | at(bytes_, place + 1) << 16 | at(bytes_, place + 2) << 8 |
               at(bytes_, place + 3);
    } else {
      const LengthWords plain{chain.words.big_endian, false, 0};
      length = length_of_word(bytes_.data() + place, plain).value_or(0);
    }
    return length < itself ? 0 : length - itself;
  }

  std::string_view bytes_;
  bool whole_;
  std::size_t header_;
};

void find_chains(std::string_view bytes, std::size_t header, FileFindings& found) {
  const ChainWalk walk(bytes, found.whole, header);
  for (const bool big_endian : {true, false})
    for (const bool include : {true, false}) {
      Chain plain{RecordFormat::variable, {big_endian, include, 0}, true, 0, {}};
      if (walk.records(plain)) found.chains.push_back(plain);
      for (const bool counts : {true, false}) {
        Chain blocked{RecordFormat::variable_blocked, {big_endian, include, 0}, counts, 0, {}};
        if (walk.blocks(blocked)) found.chains.push_back(blocked);
      }
    }
  // The words of blocks alone chain too: as records, fewer than there are.
  std::stable_sort(found.chains.begin(), found.chains.end(), [](const Chain& one, const Chain& other) {
    const bool blocked = one.format == RecordFormat::variable_blocked;
    if (blocked != (other.format == RecordFormat::variable_blocked)) return blocked;
    return one.records.records > other.records.records;
  });
}

void find_lines(std::string_view bytes, FileFindings& found) {
  if (found.coding == Coding::unknown) return;
  const bool ebcdic = found.coding == Coding::ebcdic;
  Lengths lines;
  std::size_t start = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const unsigned c = at(bytes, i);
    if (ebcdic ? c == 0x15 || c == 0x25 : c == '\n') {
      const bool carriage_return = i > start && at(bytes, i - 1) == 0x0D;
      lines.add(i - start - (carriage_return ? 1 : 0));
      start = i + 1;
    } else if (c < (ebcdic ? 0x40U : 0x20U) && c != 0x0D && c != (ebcdic ? 0x05U : 0x09U)) {
      return;  // no text
    }
  }
  if (lines.records == 0) return;
  if (found.whole && start < bytes.size()) lines.add(bytes.size() - start);
  found.lines = lines;
}

double likeness_of(std::string_view bytes, std::size_t length) {
  if (bytes.size() <= length) return 0;
  const std::size_t count = std::min(bytes.size() - length, compared_bytes);
  std::size_t alike = 0;
  for (std::size_t i = 0; i < count; ++i) alike += at(bytes, i) >> 4 == at(bytes, i + length) >> 4 ? 1U : 0U;
  return static_cast<double>(alike) / static_cast<double>(count);
}

// The right length leaves fewer bytes unlike than others do, and so do its multiples: the shortest that comes near to the
// best is it. Lengths of which less than three records are there say nothing.
void find_lengths(std::string_view bytes, FileFindings& found) {
  for (std::size_t length = 2; length <= longest_record && length <= found.size; ++length)
    if (found.size % length == 0) found.lengths.push_back({length, likeness_of(bytes, length)});
  double best = 1;
  double worst = 0;
  for (const FixedLength& each : found.lengths) {
    if (each.length > bytes.size() / 3) break;
    best = std::min(best, 1 - each.likeness);
    worst = std::max(worst, 1 - each.likeness);
  }
  if (best >= 0.6 * worst) return;
  const auto first = std::find_if(found.lengths.begin(), found.lengths.end(),
                                  [&](const FixedLength& each) { return 1 - each.likeness <= 1.25 * best; });
  found.likely_length = first->length;
}

}  // namespace

void Lengths::add(std::size_t length) {
  shortest = records == 0 ? length : std::min(shortest, length);
  longest = std::max(longest, length);
  ++records;
}

FileFindings inspect(std::string_view bytes, std::uint64_t size, std::size_t record_header) {
  FileFindings found;
  found.size = size;
  found.whole = bytes.size() == size;
  if (bytes.empty()) return found;
  find_coding(bytes, found);
  find_chains(bytes, record_header, found);
  find_lines(bytes, found);
  find_lengths(bytes, found);
  return found;
}

RecordFormat likely_format(const FileFindings& findings) {
  if (!findings.chains.empty()) return findings.chains.front().format;
  return findings.lines.records != 0 ? RecordFormat::lines : RecordFormat::fixed;
}

}  // namespace zvrt::records
