#include "inputs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <span>
#include <string_view>

namespace zvrt_bench {
namespace {

constexpr std::string_view ascii_words[] = {
    "Smith",   "Anna",  "Johnson", "Karl",     "Street", "invoice",  "the",      "order",  "of",       "Springfield",
    "account", "paid",  "Miller",  "customer", "and",    "Portland", "delivery", "42",     "B.",       "Garcia",
    "north",   "Brown", "payment", "to",       "Avenue", "received", "is",       "number", "Thompson", "2024"};
constexpr std::string_view french_words[] = {
    "Élodie", "Lefèvre", "rue",    "de",      "la",      "République", "François", "à",      "été",  "commande",
    "livrée", "Hélène",  "le",     "château", "facture", "payée",      "Noël",     "garçon", "où",   "Besançon",
    "client", "d'août",  "réglée", "Léa",     "forêt",   "très",       "Benoît",   "hiver",  "reçu", "Orléans"};
constexpr std::string_view russian_words[] = {
    "Иванов",  "Анна",     "улица",  "Москва",   "заказ",  "и",    "Екатерина", "оплачен", "счёт",   "на",
    "Петров",  "дом",      "клиент", "доставка", "Сергей", "в",    "Смирнова",  "номер",   "Казань", "получен",
    "Дмитрий", "Новгород", "по",     "договор",  "Ольга",  "банк", "сумма",     "рублей",  "за",     "июль"};
constexpr std::string_view chinese_words[] = {
    "王伟", "北京市", "朝阳区",   "订单", "已付款", "李娜",   "上海", "发票", "客户", "张三丰",
    "中华", "人民",   "路",       "地址", "电话",   "广州市", "送货", "数量", "金额", "银行",
    "账户", "深圳",   "有限公司", "合同", "编号",   "刘洋",   "重庆", "收到", "付款", "日期"};
constexpr std::string_view emoji_words[] = {"😀", "🎉🎂", "🚀", "😂😂😂", "🐶", "🌍", "🔥🔥", "🍕",
                                            "👍", "🎵🎶", "🏠", "🚗💨",  "💡", "🐱", "🌸🌺", "⚽"};
constexpr std::string_view japanese_words[] = {"田中", "東京都", "注文", "ありがとう", "株式会社", "さくら",  "カメラ",
                                               "大阪", "支払い", "鈴木", "ビール",     "電話",     "番号",    "お客様",
                                               "住所", "ホテル", "佐藤", "京都",       "日本",     "サービス"};

struct Words {
  const char* name;
  std::span<const std::string_view> words;
  bool spaced;  // words are set apart by blanks
};

const Words& words_of(Script script) {
  static constexpr std::array<Words, 6> all = {{{"ASCII", ascii_words, true},
                                                {"French", french_words, true},
                                                {"Russian", russian_words, true},
                                                {"Chinese", chinese_words, false},
                                                {"emoji", emoji_words, false},
                                                {"Japanese", japanese_words, false}}};
  return all[static_cast<std::size_t>(script)];
}

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// The longest run of complete characters within `bytes` bytes, at least one character.
std::string_view cut_to_bytes(std::string_view text, std::size_t bytes) {
  std::size_t end = std::min(bytes, text.size());
  while (end > 0 && end < text.size() && is_continuation(text[end])) --end;
  if (end == 0) {
    ++end;
    while (end < text.size() && is_continuation(text[end])) ++end;
  }
  return text.substr(0, end);
}

// Words until there are `bytes` bytes.
std::string words_of_bytes(Random& random, const Words& script, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) {
    if (script.spaced && !text.empty()) text += ' ';
    text += script.words[random() % script.words.size()];
  }
  return text;
}

std::size_t about(Random& random, std::size_t length) {
  return static_cast<std::size_t>(
      uniform(random, static_cast<std::int64_t>(length * 3 / 4), static_cast<std::int64_t>(length * 5 / 4)));
}

// Short texts come in their thousands. Of long ones a megabyte is enough.
std::size_t texts_in_set(std::size_t bytes) {
  return std::clamp<std::size_t>((1 << 20) / bytes, bytes <= 256 ? set_size / 3 : 64, set_size);
}

// Any bits that are a finite number but zero, its magnitude not within the gap.
template <class Float, class Bits>
Float bits_without(Random& random, Float gap_begin, Float gap_end) {
  for (;;) {
    const auto value = std::bit_cast<Float>(static_cast<Bits>(random()));
    const Float magnitude = std::fabs(value);
    if (std::isfinite(value) && value != 0 && !(magnitude >= gap_begin && magnitude < gap_end)) return value;
  }
}

}  // namespace

const char* name_of(Script script) { return words_of(script).name; }

std::wstring widened(const std::string& utf8) {
  std::wstring wide(utf8.size() + 1, L'\0');
  wide.resize(std::mbstowcs(wide.data(), utf8.c_str(), wide.size()));
  return wide;
}

NarrowTexts texts_of_bytes(Script script, std::size_t bytes) {
  const auto draw = [&](Random& random) {
    const std::size_t length = about(random, bytes);
    return std::string(cut_to_bytes(words_of_bytes(random, words_of(script), length), length));
  };
  return packed(*drawn(draw, texts_in_set(bytes)));
}

WideTexts texts_of_characters(Script script, std::size_t characters) {
  const auto draw = [&](Random& random) {
    const std::size_t length = about(random, characters);
    return widened(words_of_bytes(random, words_of(script), 4 * length + 4)).substr(0, length);
  };
  return packed(*drawn(draw, texts_in_set(4 * characters)));
}

double price(Random& random) { return static_cast<double>(uniform(random, 100, 999'999)) / 100; }

double measurement(Random& random) {
  const double scale = std::pow(10.0, static_cast<double>(uniform(random, 1, 4)));
  const double value = std::round(std::normal_distribution<double>(20, 15)(random) * scale) / scale;
  return value == 0 ? 1 / scale : value;
}

double whole_number(Random& random) { return static_cast<double>(of_any_digit_count<std::int32_t>(random)); }

double double_bits(Random& random) { return bits_without<double, std::uint64_t>(random, 0x1p30, 0x1p60); }

float float_bits(Random& random) { return bits_without<float, std::uint32_t>(random, 0x1p8F, 0x1p27F); }

std::string digits(Random& random, std::int64_t count) {
  std::string text(static_cast<std::size_t>(count), '0');
  for (char& digit : text) digit = static_cast<char>('0' + random() % 10);
  if (text.front() == '0') text.front() = '7';
  return text;
}

}  // namespace zvrt_bench
