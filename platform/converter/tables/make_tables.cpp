// Writes the tables of all code pages into a folder: make_tables LITTLE|BIG FOLDER. Runs when the library is built.
//
// Every number is looked up under every style; pages that turn out equal stand once. The same ICU gives the same bytes.
#include <unicode/udata.h>
#include <unicode/uversion.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "page_names.h"
#include "table_writer.h"

namespace zvrt {
namespace {

class Collection {
 public:
  explicit Collection(bool little_endian) : little_endian_(little_endian) {}

  std::uint16_t place_of(std::uint32_t number, Style style) {
    if (const PartOfPage* const row = part_of_page(number); row != nullptr)
      return place_of_part(std::string(row->whole) + option_of(style), row->part);
    for (const std::string& name : page_names(number, style))
      if (const IcuPage icu(name); icu) return place_of_page(icu, name);
    return no_page;
  }

  std::uint16_t utf8() { return place_of_page(IcuPage("UTF-8"), "UTF-8"); }
  const TableWriter& writer() const { return writer_; }
  TableWriter& writer() { return writer_; }
  std::size_t size() const { return learned_.size(); }

 private:
  static std::string option_of(Style style) { return style == Style::new_line ? ",swaplfnl" : ""; }

  std::uint16_t place_of_page(const IcuPage& icu, const std::string& name) {
    const std::size_t option = name.find(',');
    const std::string key = icu.canonical_name() + (option == std::string::npos ? "" : name.substr(option));
    return remember(key, [&] { return learn_page(icu, little_endian_); });
  }

  std::uint16_t place_of_part(const std::string& whole, Part part) {
    return remember(whole + " part " + std::to_string(static_cast<int>(part)), [&]() -> std::optional<LearnedPage> {
      return part_of(learn_page(IcuPage(whole), little_endian_).value(), part);
    });
  }

  template <class Learn>
  std::uint16_t remember(const std::string& key, Learn learn) {
    const auto [entry, is_new] = place_of_name_.try_emplace(key, no_page);
    if (!is_new) return entry->second;
    const std::optional<LearnedPage> page = learn();
    if (!page) return no_page;
    for (std::size_t place = 0; place < learned_.size(); ++place)
      if (learned_[place] == *page) return entry->second = static_cast<std::uint16_t>(place);
    learned_.push_back(*page);
    return entry->second = writer_.add(*page);
  }

  bool little_endian_;
  std::vector<LearnedPage> learned_;
  std::map<std::string, std::uint16_t> place_of_name_;
  TableWriter writer_;
};

void make_tables(const std::string& folder, bool little_endian) {
  Collection collection(little_endian);
  for (const Style style : {Style::usual, Style::new_line, Style::ibm}) {
    std::vector<std::uint16_t> places;
    for (std::uint32_t number = 0; number < 0x10000; ++number) places.push_back(collection.place_of(number, style));
    collection.writer().add_numbers(style, places);
  }
  collection.writer().set_utf8(collection.utf8());
  collection.writer().write(folder, little_endian);
  std::printf("%zu code pages, tables of ICU %s\n", collection.size(), U_ICU_VERSION);
}

}  // namespace
}  // namespace zvrt

int main(int count, char** arguments) {
  const std::string order = count == 3 ? arguments[1] : "";
  if (order != "LITTLE" && order != "BIG") {
    std::fprintf(stderr, "usage: make_tables LITTLE|BIG FOLDER\n");
    return 2;
  }
  try {
    UErrorCode error = U_ZERO_ERROR;
    udata_setFileAccess(UDATA_NO_FILES, &error);  // ICU's own data only, whatever the environment names
    if (U_FAILURE(error)) throw std::runtime_error(u_errorName(error));
    zvrt::make_tables(arguments[2], order == "LITTLE");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_tables: %s\n", error.what());
    return 1;
  }
  return 0;
}
