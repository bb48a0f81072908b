// Offsets and lengths against a COBOL compiler: generated copybooks, a hundred to a program that prints for every item
// where it stands in its record and how long it is.
//
//   cobol_layout_test NUMBER [SEED]     77 where there is no compiler
//
// The compiler shifts the last item of a table's entry by the entry's slack bytes, or leaves them out where the entry
// ends with a group. The rule is that they stand at the end (so that the entries are alike), so a record with such
// bytes is not compared; no more than one in four may be of that kind.
#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <vector>

#include "records/layout/copybook_generator.h"
#include "records/layout/layout.h"

namespace {

using namespace zvrt::records;
using zvrt_records_test::CopybookGenerator;
using zvrt_records_test::GeneratedCopybook;

constexpr std::size_t copybooks_in_a_program = 100;

struct Expected {
  const Item* item = nullptr;
  const GeneratedCopybook* copybook = nullptr;
};

bool has_slack_in_table(const Item& item) {
  if (item.slack_after != 0) return true;
  for (const auto& child : item.children)
    if (has_slack_in_table(*child)) return true;
  return false;
}

// A program of the copybooks compared, and its items in the order in which it prints them.
class Program {
 public:
  void add(const GeneratedCopybook& copybook, const Item& root) {
    data_ += copybook.cobol;
    fill_tables(root);
    add_item(copybook, root, root, "");
  }

  std::string text() const {
    return "       IDENTIFICATION DIVISION.\n       PROGRAM-ID. PLACES.\n       DATA DIVISION.\n"
           "       WORKING-STORAGE SECTION.\n" +
           data_ +
           "       01 Z-START USAGE POINTER.\n       01 Z-START-N REDEFINES Z-START PIC S9(18) COMP-5.\n"
           "       01 Z-HERE USAGE POINTER.\n       01 Z-HERE-N REDEFINES Z-HERE PIC S9(18) COMP-5.\n"
           "       01 Z-OFFSET PIC S9(18) COMP-5.\n       01 Z-LENGTH PIC S9(18) COMP-5.\n"
           "       PROCEDURE DIVISION.\n" +
           code_ + "           STOP RUN.\n";
  }

  const std::vector<Expected>& items() const { return items_; }

 private:
  void fill_tables(const Item& item) {
    if (item.varies()) code_ += fmt::format("           MOVE {} TO {}\n", item.occurs, item.depends_on_name);
    for (const auto& child : item.children) fill_tables(*child);
  }

  void add_item(const GeneratedCopybook& copybook, const Item& root, const Item& item, std::string subscripts) {
    if (item.is_table) subscripts += " 1";
    if (!item.is_filler()) {
      const std::string reference = subscripts.empty() ? item.name : fmt::format("{} ({})", item.name, subscripts);
      code_ += fmt::format(
          "           SET Z-START TO ADDRESS OF {}\n           SET Z-HERE TO ADDRESS OF {}\n"
          "           COMPUTE Z-OFFSET = Z-HERE-N - Z-START-N\n"
          "           MOVE FUNCTION BYTE-LENGTH ({}) TO Z-LENGTH\n           DISPLAY Z-OFFSET \" \" Z-LENGTH\n",
          root.name, reference, reference);
      items_.push_back({&item, &copybook});
    }
    for (const auto& child : item.children) add_item(copybook, root, *child, subscripts);
  }

  std::string data_;
  std::string code_;
  std::vector<Expected> items_;
};

bool run(const std::string& command) { return std::system(command.c_str()) == 0; }

// Compares one program's output; the number of differences.
std::size_t compare(const Program& program, const std::filesystem::path& folder) {
  const std::string source = (folder / "places.cob").string();
  const std::string binary = (folder / "places").string();
  const std::string output = (folder / "places.out").string();
  std::ofstream(source) << program.text();
  const std::string compile = fmt::format("cobc -x -std=ibm -fcomplex-odo -w -o '{}' '{}'", binary, source);
  if (!run(compile) || !run(fmt::format("'{}' > '{}'", binary, output))) {
    std::cerr << "the program could not be compiled or run\n";
    return 1;
  }
  std::ifstream found(output);
  std::size_t differences = 0;
  for (const Expected& expected : program.items()) {
    long long offset = -1;
    long long length = -1;
    found >> offset >> length;
    const Item& item = *expected.item;
    if (offset == static_cast<long long>(item.offset) && length == static_cast<long long>(item.length)) continue;
    ++differences;
    std::cerr << fmt::format("{}: offset {} length {}, the compiler has {} and {}\n", item.path, item.offset,
                             item.length, offset, length);
    if (differences == 1) std::cerr << expected.copybook->copybook;
  }
  return differences;
}

int compare_all(std::size_t number, unsigned seed, const std::filesystem::path& folder) {
  CopybookGenerator generator(seed);
  std::size_t differences = 0;
  std::size_t items = 0;
  std::size_t with_slack = 0;
  for (std::size_t first = 0; first < number; first += copybooks_in_a_program) {
    std::vector<GeneratedCopybook> copybooks;
    std::vector<Layout> layouts;
    copybooks.reserve(copybooks_in_a_program);
    Program program;
    for (std::size_t k = 0; k < copybooks_in_a_program && first + k < number; ++k) {
      copybooks.push_back(generator.make(fmt::format("C{}", first + k)));
      LayoutOptions options;
      options.sync_boundary = 8;
      layouts.push_back(parse_layout(copybooks.back().copybook, fmt::format("copybook-{}", first + k), options));
      const Item& root = *layouts.back().records.front().root;
      if (has_slack_in_table(root))
        ++with_slack;
      else
        program.add(copybooks.back(), root);
    }
    differences += compare(program, folder);
    items += program.items().size();
  }
  std::cout << fmt::format("{} copybooks, {} items, {} differ; {} with slack bytes in tables not compared\n", number,
                           items, differences, with_slack);
  return differences == 0 && with_slack * 4 <= number ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) {
    std::cerr << "usage: cobol_layout_test NUMBER [SEED]\n";
    return 2;
  }
  if (!run("command -v cobc > /dev/null")) {
    std::cout << "skipped: there is no COBOL compiler (cobc)\n";
    return 77;
  }
  std::string folder = (std::filesystem::temp_directory_path() / "cobol-layout-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) return 2;
  int result = 2;
  try {
    result =
        compare_all(std::stoul(arguments[1]), count > 2 ? static_cast<unsigned>(std::stoul(arguments[2])) : 1, folder);
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
  }
  std::filesystem::remove_all(folder);
  return result;
}
