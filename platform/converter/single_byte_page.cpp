#include "single_byte_page.h"

#include "support/cpu.h"

namespace zvrt {

namespace {

constexpr std::uint32_t undefined = SingleByteTables::undefined;

const SingleByteKernels& best_kernels = *choose_version(
    Versions<const SingleByteKernels>{.baseline = &single_byte_baseline, .avx512 = &single_byte_avx512});

}  // namespace

std::unique_ptr<Converter> SingleBytePage::build(const IcuConverter& icu) { return build(icu, best_kernels); }

std::unique_ptr<Converter> SingleBytePage::build(const IcuConverter& icu, const SingleByteKernels& kernels) {
  std::unique_ptr<SingleBytePage> page(new (std::nothrow) SingleBytePage(kernels));
  if (page == nullptr || !page->build_tables(icu)) return nullptr;
  page->lay_out_for_kernels();
  return page;
}

bool SingleBytePage::build_tables(const IcuConverter& icu) {
  if (!tables_.code_of.prepare()) return false;
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.decode({byte});
    const bool defined = answer == IcuConverter::Answer::character && character < 0xFFFF;
    if (!defined && answer != IcuConverter::Answer::undefined) return false;
    tables_.character_of[value] = defined ? character : undefined;
    if (defined && icu.encodes_to(character, {byte}) && !tables_.code_of.add(character, {byte})) return false;
  }
  tables_.ascii = ascii_of([&](std::uint32_t byte) { return tables_.character_of[byte]; });
  return tables_.character_of[0] == 0;
}

void SingleBytePage::lay_out_for_kernels() {
  std::array<int, 256> members{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    const std::uint32_t character = tables_.character_of[byte];
    tables_.low_half[byte] = static_cast<unsigned char>(character == undefined ? 0xFF : character);
    tables_.high_half[byte] = static_cast<unsigned char>(character == undefined ? 0xFF : character >> 8);
    if (character != undefined && character > 0xFF) ++members[character >> 8];
  }
  const auto* const fullest = std::ranges::max_element(members);
  tables_.other_window_number = static_cast<std::uint32_t>(fullest - members.data());
  const auto fill = [&](unsigned char(&window)[256], std::uint32_t number) {
    for (std::uint32_t i = 0; i < 256; ++i) {
      const Code code = tables_.code_of[number << 8 | i];
      window[i] = static_cast<unsigned char>(code == no_code ? 0 : code);
    }
  };
  fill(tables_.first_window, 0);
  fill(tables_.other_window, tables_.other_window_number);
}

Outcome SingleBytePage::decode(Bytes source, WideDestination destination) {
  const std::size_t end = std::min(source.size(), destination.count);
  const std::size_t written = kernels_.read(tables_, source.data(), end, destination.data);
  for (const unsigned char byte : source.subspan(written))
    if (tables_.character_of[byte] == undefined) return rejected(written);
  return converted(source.size(), destination.count);
}

// Writes up to the first character that the page does not have, as far as source and destination reach. Where the
// kernel stops, a few characters are written one by one before it is tried again.
std::size_t SingleBytePage::encode_prefix(WideText source, ByteDestination destination) const {
  constexpr std::size_t singly = 8;
  const std::size_t end = std::min(source.count, destination.size());
  std::size_t done = 0;
  while (done < end) {
    done += kernels_.write(tables_, source.data + done * wide_size, end - done, destination.data() + done);
    for (const std::size_t stop = std::min(done + singly, end); done < stop; ++done) {
      const Code code = tables_.code_of[source[done]];
      if (code > 0xFF) return done;
      destination[done] = static_cast<unsigned char>(code);
    }
  }
  return done;
}

Outcome SingleBytePage::encode(WideText source, ByteDestination destination) {
  const std::size_t written = encode_prefix(source, destination);
  for (std::size_t i = written; i < source.count; ++i)
    if (tables_.code_of[source[i]] > 0xFF) return rejected(written);
  return converted(source.count, destination.size());
}

}  // namespace zvrt
