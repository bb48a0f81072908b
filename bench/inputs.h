// The values that are converted: what databases hold, drawn anew for every set from a fixed seed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace zvrt_bench {

// So many values that a branch predictor does not learn a set by heart. One branch a value is learnt up to some 30,000
// times, so the shortest values need more.
inline constexpr std::size_t set_size = 30'000;
inline constexpr std::size_t large_set_size = 60'000;

template <class Value>
using Set = std::shared_ptr<const std::vector<Value>>;
using NarrowTexts = Set<const char*>;  // NUL-terminated, one after the other
using WideTexts = Set<const wchar_t*>;
using Random = std::mt19937_64;

// A set of values that `draw(random)` gives one by one.
template <class Draw>
auto drawn(Draw draw, std::size_t count = set_size) {
  Random random(20240305);
  std::vector<decltype(draw(random))> values;
  values.reserve(count);
  while (values.size() < count) values.push_back(draw(random));
  return std::make_shared<const std::vector<decltype(draw(random))>>(std::move(values));
}

// The same values in another form: what a contender takes, made before anything is timed.
template <class Value, class Render>
auto rendered(const Set<Value>& values, Render render) {
  std::vector<decltype(render(values->front()))> forms;
  forms.reserve(values->size());
  for (const Value& value : *values) forms.push_back(render(value));
  return std::make_shared<const std::vector<decltype(render(values->front()))>>(std::move(forms));
}

// Texts, packed one after the other.
template <class Char>
Set<const Char*> packed(const std::vector<std::basic_string<Char>>& texts) {
  struct Pool {
    std::basic_string<Char> characters;
    std::vector<const Char*> texts;
  };
  const auto pool = std::make_shared<Pool>();
  for (const auto& text : texts) (pool->characters += text) += Char{};
  pool->texts.reserve(texts.size());
  const Char* next = pool->characters.data();
  for (const auto& text : texts) {
    pool->texts.push_back(next);
    next += text.size() + 1;
  }
  return {pool, &pool->texts};
}

inline std::int64_t uniform(Random& random, std::int64_t least, std::int64_t most) {
  return std::uniform_int_distribution<std::int64_t>(least, most)(random);
}

// ---- text ----------------------------------------------------------------------------------------------------------

enum class Script { ascii, french, russian, chinese, emoji, japanese };
const char* name_of(Script script);

inline constexpr Script unicode_scripts[] = {Script::ascii, Script::french, Script::russian, Script::chinese,
                                             Script::emoji};
inline constexpr std::size_t text_lengths[] = {8, 16, 32, 64, 256, 4096};

// Words of the script, UTF-8, of about `bytes` bytes, from three quarters to five quarters of it. Sets of long texts
// are smaller, so that a set stays near the processor: a long text's own branches are too many to be learnt.
NarrowTexts texts_of_bytes(Script script, std::size_t bytes);
// The same by length in characters, wide.
WideTexts texts_of_characters(Script script, std::size_t characters);

std::wstring widened(const std::string& utf8);

// ---- numbers -------------------------------------------------------------------------------------------------------

// Integers whose count of digits is uniform, the sign of signed ones at random; never zero, whose text is empty here.
template <class Integer>
Integer of_any_digit_count(Random& random) {
  const auto most = static_cast<std::uint64_t>(std::numeric_limits<Integer>::max());
  std::uint64_t limit = 10;
  for (auto digits = uniform(random, 1, std::numeric_limits<Integer>::digits10); digits > 1; --digits) limit *= 10;
  const std::uint64_t above = limit / 10;
  const auto magnitude = above + static_cast<std::uint64_t>(random()) % (std::min(limit, most) - above);
  const auto value = static_cast<Integer>(magnitude);
  return std::numeric_limits<Integer>::is_signed && (random() & 1) != 0 ? static_cast<Integer>(-value) : value;
}

// The keys of small tables: positive, of one to six digits.
template <class Integer>
Integer key(Random& random) {
  std::int64_t limit = 10;
  for (auto digits = uniform(random, 1, 6); digits > 1; --digits) limit *= 10;
  return static_cast<Integer>(uniform(random, limit / 10, limit - 1));
}

double price(Random& random);        // two decimals, to a few thousand
double measurement(Random& random);  // three to six significant digits about zero
double whole_number(Random& random);

// Any finite number but zero, by its bits; without the magnitudes at which a rendering of 17 or 8 digits often lies
// halfway between two, because one peer rounds those up.
double double_bits(Random& random);
float float_bits(Random& random);

std::string digits(Random& random, std::int64_t count);  // no leading zero

}  // namespace zvrt_bench
