#include "records/copybook/replacing.h"

#include <algorithm>

namespace zvrt::records {
namespace {

bool in_word(char c) {
  return is_digit(c) || (upper(c) >= 'A' && upper(c) <= 'Z') || c == '-' || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool joins_words(char c) { return in_word(c) && c != '-'; }

// Whether `from` stands at `at`, and as much of a word as it has to be.
bool fits(const Cells& code, std::size_t at, const std::string& from) {
  if (from.empty() || code.size() - at < from.size()) return false;
  for (std::size_t k = 0; k < from.size(); ++k)
    if (upper(code[at + k].c) != upper(from[k])) return false;
  const std::size_t end = at + from.size();
  const bool starts_word = at == 0 || !in_word(code[at - 1].c);
  const bool ends_word = end == code.size() || !in_word(code[end].c);
  return (starts_word || !joins_words(from.front())) && (ends_word || !joins_words(from.back()));
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
    const auto found = std::find_if(replacements.begin(), replacements.end(),
                                    [&](const Replacement& replacement) { return fits(code, at, replacement.from); });
    if (found == replacements.end()) {
      made.push_back(cell);
      ++at;
      continue;
    }
    for (const char c : found->to) made.push_back({c, cell.line, cell.column});
    at += found->from.size();
  }
  code = std::move(made);
}

}  // namespace zvrt::records
