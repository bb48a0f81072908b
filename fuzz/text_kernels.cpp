// Every version of the text kernels against the definition: what a kernel took is what the definition makes of it.
#include "encoding/text_versions.h"
#include "input.h"

void zvrt_fuzz::check(Input input) {
  using namespace zvrt_test;
  const bool decodes = input.flag();
  const std::size_t capacity = input.below(1200);
  const std::size_t where = input.below(60);
  const std::size_t spare = input.below(4);
  const auto characters = decodes ? std::vector<std::uint32_t>{} : input.characters();
  const std::string text =
      decodes ? input.bytes() : std::string(reinterpret_cast<const char*>(characters.data()), characters.size() * 4);
  const KernelText prepared(decodes ? decoding : encoding, text, where, spare);
  for (const Version& version : versions()) {
    prepared.check_count(version, false);
    prepared.check_capacity(version, capacity, spare, false);
    check_copy(version, decodes ? 1 : 4, text, where, capacity, spare);
  }
}
