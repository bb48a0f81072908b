// A record file for measurements: record_file MEGABYTES COPYBOOK RECORDS [F|V|VB]
//
// Records of 204 bytes in page 37, ten texts and four packed numbers, filled as the files of a business are: names and
// cities padded with blanks, some texts empty, prices of any size, a tenth of them negative. A generator with a fixed seed
// makes them, so that every run measures the same bytes.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

namespace {

constexpr const char* copybook = R"(       01  CUSTOMER.
           05  CUSTOMER-ID     PIC X(8).
           05  FULL-NAME       PIC X(30).
           05  STREET          PIC X(30).
           05  CITY            PIC X(20).
           05  COUNTRY         PIC X(2).
           05  BALANCE         PIC S9(7)V99 COMP-3.
           05  CREDIT-LIMIT    PIC S9(7)V99 COMP-3.
           05  PHONE           PIC X(16).
           05  EMAIL           PIC X(30).
           05  STATUS-CODE     PIC X(4).
           05  LAST-ORDER      PIC X(24).
           05  ORDER-COUNT     PIC S9(9) COMP-3.
           05  POINTS          PIC S9(9) COMP-3.
           05  REMARKS         PIC X(20).
)";

constexpr std::array<std::string_view, 24> words = {
    "anna",  "miller", "north", "garden", "station", "river", "old",   "market", "stone", "bridge", "hill", "park",
    "green", "fields", "lake",  "forest", "maria",   "jones", "smith", "clark",  "west",  "union",  "mill", "upper"};

class Random {
 public:
  std::uint32_t below(std::uint32_t limit) {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::uint32_t>((state_ >> 33) * limit >> 31);
  }

 private:
  std::uint64_t state_ = 42;
};

char ebcdic(char c) {
  if (c >= '0' && c <= '9') return static_cast<char>(0xF0 + (c - '0'));
  const bool small = c >= 'a' && c <= 'z';
  if (!small && !(c >= 'A' && c <= 'Z')) return c == '.' ? '\x4B' : c == '@' ? '\x7C' : '\x40';
  const int place = c - (small ? 'a' : 'A');
  const int row = place < 9 ? 0xC1 + place : place < 18 ? 0xD1 + place - 9 : 0xE2 + place - 18;
  return static_cast<char>(row - (small ? 0x40 : 0));
}

void text(std::string& record, std::string_view value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) record += i < value.size() ? ebcdic(value[i]) : '\x40';
}

void packed(std::string& record, std::uint64_t value, bool negative) {
  std::string digits = std::to_string(value);
  digits.insert(0, 9 - digits.size(), '0');
  for (std::size_t i = 0; i < 8; i += 2) record += static_cast<char>((digits[i] - '0') << 4 | (digits[i + 1] - '0'));
  record += static_cast<char>((digits[8] - '0') << 4 | (negative ? 0xD : 0xC));
}

std::string some_words(Random& random, std::uint32_t most) {
  std::string value;
  for (std::uint32_t i = random.below(most + 1); i > 0; --i)
    value.append(value.empty() ? "" : " ").append(words[random.below(words.size())]);
  return value;
}

void number(std::string& record, Random& random) {
  std::uint32_t limit = 10;
  for (std::uint32_t i = random.below(8); i > 0; --i) limit *= 10;
  const std::uint32_t value = random.below(limit);
  packed(record, value, value != 0 && random.below(10) == 0);
}

void one_record(std::string& record, Random& random, std::uint64_t row) {
  const std::string first(words[random.below(words.size())]);
  const std::string last(words[random.below(words.size())]);
  record.clear();
  text(record, std::to_string(10000000 + row % 90000000), 8);
  text(record, first + " " + last, 30);
  text(record, std::to_string(random.below(300)) + " " + some_words(random, 3), 30);
  text(record, some_words(random, 2), 20);
  text(record, random.below(2) == 0 ? "US" : "DE", 2);
  number(record, random);
  number(record, random);
  text(record, "0" + std::to_string(random.below(2000000000)), 16);
  text(record, first + "." + last + "@mail.com", 30);
  text(record, random.below(3) == 0 ? "OPEN" : "A", 4);
  text(record, some_words(random, 3), 24);
  number(record, random);
  number(record, random);
  text(record, random.below(2) == 0 ? "" : some_words(random, 2), 20);
}

std::string word(std::size_t length) {
  return {static_cast<char>(length >> 8), static_cast<char>(length & 0xFF), '\0', '\0'};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::cerr << "record_file MEGABYTES COPYBOOK RECORDS [F|V|VB]\n";
    return 2;
  }
  const std::uint64_t rows = std::strtoull(argv[1], nullptr, 10) * 1000000 / 204;
  const std::string format = argc > 4 ? argv[4] : "F";
  std::ofstream(argv[2]) << copybook;
  std::ofstream out(argv[3], std::ios::binary);
  Random random;
  std::string record;
  std::string block;
  for (std::uint64_t row = 0; row < rows; ++row) {
    one_record(record, random, row);
    if (format != "F") block += word(record.size() + 4);
    block += record;
    const bool full = block.size() > 30000 || row + 1 == rows;
    if (!full && row + 1 != rows) continue;
    if (format == "VB") out << word(block.size() + 4);
    out << block;
    block.clear();
  }
  return out.flush() ? 0 : 1;
}
