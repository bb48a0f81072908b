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

bool begins_pair(void* converter, std::uint8_t lead) {
  for (std::uint32_t trail = 0; trail < 256; ++trail) {
    const std::uint8_t pair[2] = {lead, static_cast<std::uint8_t>(trail)};
    const Meaning meaning = decode_bytes(converter, pair, 2);
    if (meaning.status != ZVRT_ICU_RC_INVALID_CHAR) return true;
  }
  return false;
}

enum class Learnt : std::uint8_t { tables, several_bytes };

// Asks for every byte. A byte that is no character may begin one, or shift; then the page is none of single bytes.
Learnt learn(void* converter, PageTables& tables) {
  bool has_any = false;
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    const auto code = static_cast<std::uint8_t>(byte);
    const Meaning meaning = decode_bytes(converter, &code, 1);
    if (meaning.status == ZVRT_RC_OK && meaning.count == 1 && meaning.character <= 0xFFFF) {
      tables.character_of[byte] = meaning.character;
      has_any = true;
    } else if (meaning.status == ZVRT_ICU_RC_INVALID_CHAR && !begins_pair(converter, code)) {
      tables.character_of[byte] = undefined_character;
    } else {
      return Learnt::several_bytes;
    }
  }
  return has_any ? Learnt::tables : Learnt::several_bytes;
}

// The way back, as the service goes it: of two bytes with one meaning it writes one.
bool learn_codes(void* converter, PageTables& tables) {
  for (const std::uint32_t character : tables.character_of) {
    if (character == undefined_character) continue;
    std::uint8_t code = 0;
    std::uint32_t bytes = 0;
    const Status status = ZVRT_IcuWideToMultibyte(converter, &character, 1, &code, 1, &bytes);
    if (status != ZVRT_RC_OK || bytes != 1) continue;
    if (tables.character_of[code] != character || !tables.add_code(character, code)) return false;
  }
  return true;
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

// Every name of UTF-8: the text is the same, whoever reads it.
bool is_utf8_page(std::uint32_t number, char kind) {
  return number == 0 || number == 1208 || number == 65001 || number == UINT32_MAX || is_utf8_pair(kind, number);
}

}  // namespace

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
  constexpr std::uint32_t blank = 0x20;
  constexpr std::uint32_t zero = '0';
  std::uint32_t bytes = 0;
  const Status status = ZVRT_IcuWideToMultibyte(converter, &blank, 1, page.blank.data(), 4, &bytes);
  page.blank_bytes = static_cast<std::uint8_t>(status == ZVRT_RC_OK && bytes <= 4 ? bytes : 0);
  ZVRT_IcuWideToMultibyte(converter, &zero, 1, &page.zero, 1, &bytes);
  if (found != nullptr) *found = converter;
  return ZVRT_RC_OK;
}

Status open_page(std::uint32_t number, char kind, Page& page, std::unique_ptr<PageTables>& tables) {
  void* converter = nullptr;
  const Status status = find_page(number, kind, page, &converter);
  if (status != ZVRT_RC_OK || page.is_utf8()) return status;
  std::unique_ptr<PageTables> learnt(new (std::nothrow) PageTables);
  if (learnt == nullptr) return ZVRT_RC_NO_MEMORY;
  if (learn(converter, *learnt) != Learnt::tables || !learn_codes(converter, *learnt)) return ZVRT_RC_OK;
  learn_ascii(*learnt);
  page.how = PageKind::table;
  page.tables = learnt.get();
  tables = std::move(learnt);
  return ZVRT_RC_OK;
}

}  // namespace zvrt::columns
