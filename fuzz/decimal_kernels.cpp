// Every version of the decimal kernels against the definitions.
#include "input.h"
#include "numeric/decimal/decimal_versions.h"

namespace {

std::string wide(const std::string& text) {
  std::string bytes;
  for (const char character : text) bytes += std::string{character, '\0', '\0', '\0'};
  return bytes + std::string(4, '\0');
}

std::string until_zero(const std::string& text) { return text.substr(0, text.find('\0')); }

}  // namespace

void zvrt_fuzz::check(Input input) {
  using namespace zvrt_test;
  const std::uint32_t way = input.below(5);
  const std::string following(input.below(256), '7');
  const std::string text = way == 3 ? input.text_over("0123456789.00000-").substr(0, 100)
                                    : until_zero(way == 2 ? input.bytes().substr(0, 100) : "");
  const std::string raw = way < 2 || way == 4 ? input.bytes().substr(0, 100) : "";
  for (const Version& version : versions()) {
    switch (way) {
      case 0:
        if (!raw.empty()) check_packed(version, raw);
        break;
      case 1: {
        std::string value = raw.empty() ? std::string(1, '\0') : raw;
        value.resize(static_cast<unsigned char>(value[0]) + 1U, '\x02');
        check_varnum(version, value);
        break;
      }
      case 4: {
        const std::string units = raw.substr(0, raw.size() / 4 * 4);
        check_text(version, units + std::string(4, '\0') + following);
        break;
      }
      default:
        check_text(version, wide(text) + following);
        check_varnum_text(version, text + '\0' + following, wide(text) + following);
    }
  }
}
