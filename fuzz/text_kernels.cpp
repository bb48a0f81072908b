// Every version of the text kernels against the definition: what a kernel took is what the definition makes of it.
#include "encoding/text_runs.h"

#include <gtest/gtest.h>

#include <functional>

#include "encoding/reference.h"
#include "frame/cpu.h"
#include "input.h"

namespace {

using namespace zvrt_test;
using zvrt_fuzz::Source;

std::string wide(const CodePoints& text) { return {reinterpret_cast<const char*>(text.data()), text.size() * 4}; }

// What the definition makes of the units that a kernel took.
std::string decoded(const std::string& src) {
  const Decoded text = decode(src);
  EXPECT_FALSE(text.cut_off);
  return wide(text.characters);
}
std::string encoded(const CodePoints& text) {
  std::string bytes;
  for (const std::uint32_t character : text) {
    EXPECT_TRUE(character >= 1 && character <= 0x1FFFFF);
    bytes += encode(character);
  }
  return bytes;
}

// Runs a kernel into so much room, ending at a page that cannot be touched.
template <class Kernel>
void check_run(Kernel kernel, std::size_t unit, std::size_t count, std::size_t room,
               const std::function<std::string(std::size_t)>& definition) {
  static GuardedBuffer page(1 << 14);
  unsigned char* const dst = page.tail(room * unit);
  std::memset(dst - 16, GuardedBuffer::mark, room * unit + 16);
  const zvrt::Run run = kernel(static_cast<void*>(dst), room);
  ASSERT_LE(run.read, count);
  ASSERT_LE(run.written, room);
  ASSERT_EQ(std::string(dst, dst + run.written * unit), definition(run.read));
  const auto marked = [](unsigned char byte) { return byte == GuardedBuffer::mark; };
  ASSERT_TRUE(std::all_of(dst + run.written * unit, dst + room * unit, marked) && std::all_of(dst - 16, dst, marked));
}

void check_decoding(const zvrt::TextKernels& kernels, const std::string& text, std::size_t room) {
  static Source source;
  const auto definition = [&text](std::size_t read) { return decoded(text.substr(0, read)); };
  const char* counted = source.put_as<char>(text);
  check_run([&](void* dst, std::size_t units) { return kernels.decode(counted, text.size(), dst, units); }, 4,
            text.size(), room, definition);
  const zvrt::Run all = kernels.count_decoded(counted, text.size());
  ASSERT_LE(all.read, text.size());
  ASSERT_EQ(all.written * 4, definition(all.read).size());
  const char* terminated = source.put_as<char>(text + '\0');
  check_run([&](void* dst, std::size_t units) { return kernels.decode_terminated(terminated, dst, units); }, 4,
            std::min(text.find('\0'), text.size()), room, definition);
}

void check_encoding(const zvrt::TextKernels& kernels, const CodePoints& text, std::size_t room) {
  static Source source;
  const auto definition = [&text](std::size_t read) {
    return encoded(CodePoints(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(read)));
  };
  const void* counted = source.put(wide(text));
  check_run([&](void* dst,
                std::size_t units) { return kernels.encode(counted, text.size(), static_cast<char*>(dst), units); },
            1, text.size(), room, definition);
  const zvrt::Run all = kernels.count_encoded(counted, text.size());
  ASSERT_LE(all.read, text.size());
  ASSERT_EQ(all.written, definition(all.read).size());
  const void* terminated = source.put(wide(text) + std::string(4, '\0'));
  const auto end = static_cast<std::size_t>(std::find(text.begin(), text.end(), 0U) - text.begin());
  check_run([&](void* dst,
                std::size_t units) { return kernels.encode_terminated(terminated, static_cast<char*>(dst), units); },
            1, end, room, definition);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const bool decodes = input.flag();
  const std::size_t room = input.below(1200);
  const std::string bytes = decodes ? input.bytes() : "";
  const CodePoints characters = decodes ? CodePoints{} : input.characters();
  for (const auto& [level, kernels] : {std::pair{zvrt::CpuLevel::baseline, &zvrt::text_kernels_baseline},
                                       std::pair{zvrt::CpuLevel::avx2, &zvrt::text_kernels_avx2},
                                       std::pair{zvrt::CpuLevel::avx512, &zvrt::text_kernels_avx512}}) {
    if (zvrt::cpu_level() < level) continue;
    decodes ? check_decoding(*kernels, bytes, room) : check_encoding(*kernels, characters, room);
  }
}
