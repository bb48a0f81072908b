// Copybooks of any shape: groups, tables in tables, redefinitions, synchronized items, every usage.
//
// The same entries are written twice: as a COBOL compiler takes them (`cobol`: fixed form, upper case) and as copybooks
// come (`copybook`: tags in columns 1 to 6 and 73 to 80, comments, lower case, entries over several lines, free form). A
// table of variable length stands in `cobol` at its greatest size unless it ends its record, since GnuCOBOL 3.1 places
// some of the others wrongly and refuses some.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace zvrt_records_test {

struct GeneratedCopybook {
  std::string cobol;
  std::string copybook;
};

class CopybookGenerator {
 public:
  explicit CopybookGenerator(unsigned seed) : random_(seed) {}

  // Names begin with `prefix`, so that several copybooks make one program.
  GeneratedCopybook make(const std::string& prefix);

 private:
  struct Entry {
    std::string text;   // without its period
    std::string cobol;  // where it differs
    std::size_t depth = 0;
  };

  std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }
  std::size_t between(std::size_t low, std::size_t high) { return low + below(high - low + 1); }
  bool chance(std::size_t percent) { return below(100) < percent; }
  std::string pick(const std::vector<std::string>& choices) { return choices[below(choices.size())]; }

  std::string next_name();
  std::string number_form();
  std::string binary_form();
  std::string form();
  void add(std::size_t depth, const std::string& text, const std::string& cobol = {});
  void add_conditions(std::size_t depth);
  void add_item(std::size_t depth, bool may_repeat, std::size_t dimensions);
  void add_elementary(std::size_t depth, const std::string& clauses);
  void add_group(std::size_t depth, const std::string& clauses, std::size_t dimensions);
  void add_usage_group(std::size_t depth);
  void add_redefinitions(std::size_t depth, const std::string& name, std::size_t dimensions);
  void add_variable_table(std::size_t depth, bool last, std::size_t dimensions);

  std::string as_cobol() const;
  std::string as_copybook();
  std::string dressed_line(const std::string& line, bool tags);

  std::mt19937 random_;
  std::string prefix_;
  std::size_t names_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace zvrt_records_test
