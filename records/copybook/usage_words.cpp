#include "records/copybook/usage_words.h"

#include <algorithm>
#include <array>
#include <string>

namespace zvrt::records {
namespace {

struct Row {
  std::string_view word;
  Usage usage;
  std::string_view short_word;
  std::size_t bytes;  // 0: by the picture
};

// COMPUTATIONAL-n is read as COMP-n.
constexpr std::array rows{
    Row{"DISPLAY", Usage::display, "DISPLAY", 0},
    Row{"COMP", Usage::binary, "COMP", 0},
    Row{"BINARY", Usage::binary, "COMP", 0},
    Row{"COMP-4", Usage::binary, "COMP-4", 0},
    Row{"COMP-0", Usage::binary, "COMP", 0},
    Row{"COMP-1", Usage::comp_1, "COMP-1", 4},
    Row{"FLOAT-SHORT", Usage::comp_1, "COMP-1", 4},
    Row{"COMP-2", Usage::comp_2, "COMP-2", 8},
    Row{"FLOAT-LONG", Usage::comp_2, "COMP-2", 8},
    Row{"COMP-3", Usage::packed, "COMP-3", 0},
    Row{"PACKED-DECIMAL", Usage::packed, "COMP-3", 0},
    Row{"COMP-5", Usage::native, "COMP-5", 0},
    Row{"COMP-6", Usage::unsigned_packed, "COMP-6", 0},
    Row{"COMP-X", Usage::comp_x, "COMP-X", 0},
    Row{"COMP-N", Usage::native, "COMP-N", 0},
    Row{"BINARY-CHAR", Usage::native, "BINARY-CHAR", 1},
    Row{"BINARY-SHORT", Usage::native, "BINARY-SHORT", 2},
    Row{"BINARY-LONG", Usage::native, "BINARY-LONG", 4},
    Row{"BINARY-INT", Usage::native, "BINARY-INT", 4},
    Row{"BINARY-DOUBLE", Usage::native, "BINARY-DOUBLE", 8},
    Row{"BINARY-LONG-LONG", Usage::native, "BINARY-LONG-LONG", 8},
    Row{"SIGNED-SHORT", Usage::native, "SIGNED-SHORT", 2},
    Row{"SIGNED-INT", Usage::native, "SIGNED-INT", 4},
    Row{"SIGNED-LONG", Usage::native, "SIGNED-LONG", 8},
    Row{"UNSIGNED-SHORT", Usage::native, "UNSIGNED-SHORT", 2},
    Row{"UNSIGNED-INT", Usage::native, "UNSIGNED-INT", 4},
    Row{"UNSIGNED-LONG", Usage::native, "UNSIGNED-LONG", 8},
    Row{"NATIONAL", Usage::national, "NATIONAL", 0},
    Row{"DISPLAY-1", Usage::dbcs, "DISPLAY-1", 0},
    Row{"POINTER", Usage::pointer, "POINTER", 4},
    Row{"POINTER-32", Usage::pointer, "POINTER", 4},
    Row{"FUNCTION-POINTER", Usage::pointer, "FUNCTION-POINTER", 4},
    Row{"PROCEDURE-POINTER", Usage::pointer, "PROCEDURE-POINTER", 8},
    Row{"INDEX", Usage::index, "INDEX", 4},
};

}  // namespace

std::optional<UsageClause> usage_of(std::string_view word) {
  constexpr std::string_view long_form = "COMPUTATIONAL";
  std::string wanted(word);
  if (word.substr(0, long_form.size()) == long_form) wanted = "COMP" + std::string(word.substr(long_form.size()));
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.word == wanted; });
  if (found == rows.end()) return std::nullopt;
  const bool is_signed = found->usage == Usage::comp_1 || found->usage == Usage::comp_2 ||
                         (found->bytes != 0 && found->usage == Usage::native && wanted.substr(0, 2) != "UN");
  return UsageClause{found->usage, std::string(found->short_word), found->bytes, is_signed, {}};
}

}  // namespace zvrt::records
