// Booleans and raw bytes as text, both ways.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "columns/arena.h"
#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

// Leading characters that text and word share.
std::int64_t count_common(const Text& text, std::string_view word) {
  const auto size = std::min(text.count, static_cast<std::int64_t>(word.size()));
  std::int64_t k = 0;
  while (k < size && text[k] == static_cast<unsigned char>(word[static_cast<std::size_t>(k)])) ++k;
  return k;
}

// The words of a boolean; the true ones come first.
constexpr std::array<std::string_view, 4> words = {"true", "1", "false", "0"};
constexpr std::size_t true_words = 2;

// The word that the text is, else where it stops to be one.
std::size_t find_word(const Text& text, Fault& fault) {
  std::int64_t longest = 0;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::int64_t common = count_common(text, words[i]);
    if (common == text.count && common == static_cast<std::int64_t>(words[i].size())) return i;
    longest = std::max(longest, common);
  }
  fault = {.character = longest, .unit = longest < text.count ? text[longest] : 0};
  return words.size();
}

// ASCII that lives as long as the program.
Text constant_text(std::string_view word) {
  return {reinterpret_cast<const std::byte*>(word.data()), static_cast<std::int64_t>(word.size()), true, false};
}

// The value of a hexadecimal digit, 16 for any other character.
std::uint32_t hex_value(std::uint32_t character) {
  if (character >= '0' && character <= '9') return character - '0';
  const std::uint32_t letter = character | 0x20;
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : 16;
}

// Two digits per byte; one alone ends too early.
bool read_hex(const Text& text, std::byte* out, Fault& fault) {
  for (std::int64_t k = 0; k + 1 < text.count; k += 2) {
    const std::uint32_t high = hex_value(text[k]);
    const std::uint32_t low = hex_value(text[k + 1]);
    if (high > 15 || low > 15) {
      const std::int64_t bad = high > 15 ? k : k + 1;
      fault = {.character = bad, .unit = text[bad]};
      return false;
    }
    out[k / 2] = static_cast<std::byte>(high << 4 | low);
  }
  if (text.count % 2 == 0) return true;
  const std::int64_t last = text.count - 1;
  fault = {.character = text.count, .unit = 0};
  if (hex_value(text[last]) > 15) fault = {.character = last, .unit = text[last]};
  return false;
}

}  // namespace

void step_text_to_bool(const Type& /*from*/, const Type& /*to*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Text text = block.text[i];
    Fault fault;
    const std::size_t word = find_word(text, fault);
    if (word == words.size()) return block.refuse(i, ZVRT_RC_INVALID_VALUE, fault);
    block.decimal[i] = {{word < true_words ? 1U : 0U, 0}, 0, false, Tail::zero};
  });
}

void step_bool_to_text(const Type& /*from*/, const Type& /*to*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const bool is_true = !block.decimal[i].magnitude.is_zero();
    block.text[i] = constant_text(is_true ? "true" : "false");
  });
}

void step_text_to_bytes(const Type& /*from*/, const Type& /*to*/, Block& block) {
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i)) continue;
    const Text text = block.text[i];
    // A byte never stands after the digits that it is made of: a text in the arena makes room for its own bytes.
    std::byte* const out =
        text.is_own ? const_cast<std::byte*>(text.at) : room_for(block, i, static_cast<std::size_t>(text.count / 2));
    if (out == nullptr) return;
    Fault fault;
    if (!read_hex(text, out, fault)) {
      block.refuse(i, ZVRT_RC_INVALID_VALUE, fault);
      continue;
    }
    block.bytes[i] = {out, text.count / 2};
  }
}

void step_bytes_to_text(const Type& /*from*/, const Type& /*to*/, Block& block) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i)) continue;
    const Value value = block.bytes[i];
    std::byte* const out = room_for(block, i, static_cast<std::size_t>(value.bytes) * 2);
    if (out == nullptr) return;
    for (std::int64_t k = 0; k < value.bytes; ++k) {
      const auto byte = static_cast<std::size_t>(value.at[k]);
      out[2 * k] = static_cast<std::byte>(digits[byte >> 4]);
      out[2 * k + 1] = static_cast<std::byte>(digits[byte & 0xF]);
    }
    block.text[i] = {out, value.bytes * 2, true, true};
  }
}

void read_bytes(const Type& /*type*/, Block& block) {
  for_each(block, [&](std::int32_t i) { block.bytes[i] = block.source[i]; });
}

void write_bytes(const Type& type, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Value value = block.bytes[i];
    const std::int64_t rest = type.length - value.bytes;
    block.length[i] = value.bytes;
    const bool fits = rest >= 0;
    if (!fits) block.refuse(i, ZVRT_RC_TRUNCATED);
    if (!fits && (type.options & ZVRT_PLAN_CUT_TEXT) == 0) return;
    const std::int64_t placed = fits ? value.bytes : type.length;
    const std::int64_t padding = fits && type.has(ZVRT_TYPE_PAD) ? rest : 0;
    const bool leads = type.has(ZVRT_TYPE_PAD_LEFT);
    std::memset(block.slot[i] + (leads ? 0 : placed), 0, static_cast<std::size_t>(padding));
    std::memcpy(block.slot[i] + (leads ? padding : 0), value.at, static_cast<std::size_t>(placed));
  });
}

}  // namespace zvrt::columns
