// VARNUM by plain loops, which the bench has beside the library: a length byte, an exponent in base 100, and digit pairs
// each stored with 1 added.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "peers.h"

namespace zvrt_bench {

using Varnum = std::array<unsigned char, 22>;

// One pass over well-formed text. Digits are paired from the point, so its place decides whether a first one stands
// alone.
template <class Unit>
Varnum encode_in_one_pass(const Unit* text) {
  const std::basic_string_view<Unit> all(text);
  const auto whole = static_cast<std::ptrdiff_t>(std::min(all.find(Unit{'.'}), all.size()));
  Varnum varnum{};
  std::size_t size = 2;
  bool high = whole % 2 == 0;
  int pair = 0;
  for (; *text != 0 && size < varnum.size(); ++text) {
    if (*text == '.') continue;
    pair = pair * 10 + (*text - '0');
    if (!high) {
      varnum[size++] = static_cast<unsigned char>(pair + 1);
      pair = 0;
    }
    high = !high;
  }
  if (!high && size < varnum.size()) varnum[size++] = static_cast<unsigned char>(pair * 10 + 1);
  while (varnum[size - 1] == 1) --size;
  varnum[1] = static_cast<unsigned char>(0xC0 + (whole + 1) / 2);
  varnum[0] = static_cast<unsigned char>(size - 1);
  return varnum;
}

template <class Unit>
std::size_t decode_by_loop(const Varnum& varnum, std::byte* out) {
  const int whole_pairs = varnum[1] - 0xC0;
  auto* const begin = reinterpret_cast<Unit*>(out);
  Unit* to = begin;
  for (int i = 0; i < std::max(whole_pairs, varnum[0] - 1); ++i) {
    const int pair = i < varnum[0] - 1 ? varnum[static_cast<std::size_t>(i + 2)] - 1 : 0;
    if (i == whole_pairs) *to++ = '.';
    if (i > 0 || pair >= 10) *to++ = static_cast<Unit>('0' + pair / 10);
    *to++ = static_cast<Unit>('0' + pair % 10);
  }
  return terminated(begin, static_cast<std::size_t>(to - begin));
}

}  // namespace zvrt_bench
