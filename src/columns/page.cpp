#include "columns/page.h"

#include <new>

#include "ZVRTICULib.h"
#include "encoding/code_page.h"
#include "encoding/converter_service.h"

namespace zvrt::columns {

namespace {

// What bytes mean as a whole text of at most one character.
struct Meaning {
  Status status;
  std::uint32_t count;
  std::uint32_t character;
};

Meaning decode_bytes(void* converter, const std::uint8_t* bytes, std::int32_t length) {
  Meaning meaning{0, 0, 0};
  meaning.status = ZVRT_IcuMultibyteToWide(converter, bytes, length, &meaning.character, 1, &meaning.count);
  return meaning;
}

Status begins_pair(void* converter, std::uint8_t lead, bool& begins) {
  begins = false;
  for (std::uint32_t trail = 0; trail < 256 && !begins; ++trail) {
    const std::uint8_t pair[2] = {lead, static_cast<std::uint8_t>(trail)};
    const Meaning meaning = decode_bytes(converter, pair, 2);
    if (is_service_failure(meaning.status)) return meaning.status;
    begins = meaning.status != ZVRT_ICU_RC_INVALID_CHAR;
  }
  return ZVRT_RC_OK;
}

// Asks for every byte. A byte that is no character may begin one, or shift; then the page is none of single bytes.
Status learn(void* converter, PageTables& tables, bool& is_single) {
  bool has_any = false;
  is_single = false;
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    const auto code = static_cast<std::uint8_t>(byte);
    const Meaning meaning = decode_bytes(converter, &code, 1);
    if (is_service_failure(meaning.status)) return meaning.status;
    if (meaning.status == ZVRT_RC_OK && meaning.count == 1 && meaning.character <= 0xFFFF) {
      tables.character_of[byte] = meaning.character;
      has_any = true;
      continue;
    }
    bool begins = meaning.status != ZVRT_ICU_RC_INVALID_CHAR;
    const Status status = begins ? ZVRT_RC_OK : begins_pair(converter, code, begins);
    if (status != ZVRT_RC_OK || begins) return status;
    tables.character_of[byte] = undefined_character;
  }
  is_single = has_any;
  return ZVRT_RC_OK;
}

// The way back, as the service goes it: of two bytes with one meaning it writes one.
Status learn_codes(void* converter, PageTables& tables, bool& is_single) {
  for (const std::uint32_t character : tables.character_of) {
    if (character == undefined_character) continue;
    std::uint8_t code = 0;
    std::uint32_t bytes = 0;
    const Status status = ZVRT_IcuWideToMultibyte(converter, &character, 1, &code, 1, &bytes);
    if (is_service_failure(status)) return status;
    if (status != ZVRT_RC_OK || bytes != 1) continue;
    is_single = tables.character_of[code] == character && tables.add_code(character, code);
    if (!is_single) break;
  }
  return ZVRT_RC_OK;
}

void learn_ascii(PageTables& tables) {
  for (std::size_t byte = 0; byte < 256; ++byte) {
    const std::uint32_t character = tables.character_of[byte];
    tables.ascii_of[byte] = static_cast<std::uint8_t>(character < 0x80 ? character : 0x80);
  }
  tables.has_all_ascii = true;
  for (std::uint32_t character = 0; character < 0x80; ++character) {
    std::uint8_t code = 0;
    if (!tables.find_code(character, code)) tables.has_all_ascii = false;
    tables.code_of_ascii[character] = code;
  }
}

// A character's bytes; 0 where the page lacks it.
Status encode_one(void* converter, std::uint32_t character, std::array<std::byte, 4>& bytes, std::uint8_t& count) {
  std::uint32_t needed = 0;
  const Status status = ZVRT_IcuWideToMultibyte(converter, &character, 1, bytes.data(), 4, &needed);
  count = static_cast<std::uint8_t>(status == ZVRT_RC_OK && needed <= 4 ? needed : 0);
  return is_service_failure(status) ? status : ZVRT_RC_OK;
}

// Every name of UTF-8: the text is the same, whoever reads it.
bool is_utf8_page(std::uint32_t number, char kind) {
  return number == 0 || number == 1208 || number == 65001 || number == UINT32_MAX || is_utf8_pair(kind, number);
}

}  // namespace

bool is_service_failure(Status status) {
  return status != ZVRT_RC_OK && status != ZVRT_ICU_RC_INVALID_CHAR && status != ZVRT_ICU_RC_TRUNCATED;
}

bool PageTables::add_code(std::uint32_t character, std::uint8_t code) {
  std::uint8_t& row = row_of[character >> 8];
  if (row == 0) {
    if (row_count == rows.size()) return false;
    row = row_count++;
  }
  rows[row][character & 0xFF] = code;
  return true;
}

Status find_page(std::uint32_t number, char kind, Page& page, void** found) {
  page = Page{};
  return is_utf8_page(number, kind) ? ZVRT_RC_OK : find_service_page(number, kind, page, found);
}

Status find_service_page(std::uint32_t number, char kind, Page& page, void** found) {
  void* converter = nullptr;
  page.field = field_of(number, kind);
  page.how = PageKind::service;
  if (const Status status = find_converter(page.field, converter); status != ZVRT_RC_OK) return status;
  Status status = encode_one(converter, 0x20, page.blank, page.blank_bytes);
  if (status == ZVRT_RC_OK) status = encode_one(converter, '0', page.zero, page.zero_bytes);
  if (status != ZVRT_RC_OK) return status;
  if (found != nullptr) *found = converter;
  return ZVRT_RC_OK;
}

Status open_page(std::uint32_t number, char kind, Page& page, std::unique_ptr<PageTables>& tables) {
  void* converter = nullptr;
  const Status status = find_page(number, kind, page, &converter);
  if (status != ZVRT_RC_OK || page.is_utf8()) return status;
  std::unique_ptr<PageTables> learnt(new (std::nothrow) PageTables);
  if (learnt == nullptr) return ZVRT_RC_NO_MEMORY;
  bool is_single = false;
  Status learning = learn(converter, *learnt, is_single);
  if (learning == ZVRT_RC_OK && is_single) learning = learn_codes(converter, *learnt, is_single);
  if (learning != ZVRT_RC_OK || !is_single) return learning;
  learn_ascii(*learnt);
  page.how = PageKind::table;
  page.tables = learnt.get();
  tables = std::move(learnt);
  return ZVRT_RC_OK;
}

}  // namespace zvrt::columns
