#include "records/copybook/replacing.h"

#include <algorithm>

namespace zvrt::records {
namespace {

bool in_word(char c) {
  return is_digit(c) || (upper(c) >= 'A' && upper(c) <= 'Z') || c == '-' || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool joins_words(char c) { return in_word(c) && c != '-'; }

// Where `from` ends that stands at `at`, and is as much of a word as it has to be; else 0.
std::size_t end_of(const Cells& code, std::size_t at, const Replacement& replacement) {
  const std::string& from = replacement.from;
  if (from.empty()) return 0;
  std::size_t end = at;
  for (const char c : from) {
    if (end == code.size() || (is_blank(c) ? !is_blank(code[end].c) : upper(code[end].c) != upper(c))) return 0;
    ++end;
    while (is_blank(c) && end < code.size() && is_blank(code[end].c)) ++end;
  }
  const bool starts_word = at == 0 || !in_word(code[at - 1].c);
  const bool ends_word = end == code.size() || !in_word(code[end].c);
  using Part = Replacement::Part;
  if (replacement.part == Part::leading) return starts_word ? end : 0;
  if (replacement.part == Part::trailing) return ends_word ? end : 0;
  return (starts_word || !joins_words(from.front())) && (ends_word || !joins_words(from.back())) ? end : 0;
}

}  // namespace

void replace_words(Cells& code, const std::vector<Replacement>& replacements) {
  if (replacements.empty()) return;
  Cells made;
  made.reserve(code.size());
  char quote = 0;
  for (std::size_t at = 0; at < code.size();) {
    const Cell cell = code[at];
    if (quote != 0 || cell.c == '"' || cell.c == '\'') {
      quote = quote == 0 ? cell.c : quote == cell.c ? '\0' : quote;
      made.push_back(cell);
      ++at;
      continue;
    }
    std::size_t end = 0;
    const auto found = std::find_if(replacements.begin(), replacements.end(), [&](const Replacement& replacement) {
      end = end_of(code, at, replacement);
      return end != 0;
    });
    if (found == replacements.end()) {
      made.push_back(cell);
      ++at;
      continue;
    }
    for (const char c : found->to) made.push_back({c, cell.line, cell.column, cell.source});
    at = end;
  }
  code = std::move(made);
}

}  // namespace zvrt::records
