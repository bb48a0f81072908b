// The code page of a type's narrow text.
//
// UTF-8 is the library's own. A page of one byte per character is asked for, byte by byte, when the plan is made, and
// becomes two tables that the plan owns; its runs then convert without the converter service, but still ask it for the
// page once per run, so that a service that is gone is reported. All other pages go through the service, value by value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/call.h"

namespace zvrt::columns {

constexpr std::uint32_t undefined_character = 0x80000000;
constexpr std::uint32_t substitute_character = 0x1A;
constexpr std::uint32_t replacement_character = 0xFFFD;

struct PageTables {
  std::array<std::uint32_t, 256> character_of;  // undefined_character where the page defines none
  std::array<std::uint8_t, 256> ascii_of;       // 80 where the byte is no ASCII character
  std::array<std::uint8_t, 128> code_of_ascii;
  bool has_all_ascii = false;
  std::array<std::uint8_t, 256> row_of{};                // by a character's upper half
  std::array<std::array<std::uint8_t, 256>, 33> rows{};  // as many as 256 characters can need in practice
  std::uint8_t row_count = 1;                            // row 0 belongs to upper halves that the page lacks

  // The byte of a character; whether the page has it.
  bool find_code(std::uint32_t character, std::uint8_t& code) const {
    if (character > 0xFFFF) return false;
    code = rows[row_of[character >> 8]][character & 0xFF];
    return character_of[code] == character;
  }
  // False when the characters lie too far apart for the rows there are.
  bool add_code(std::uint32_t character, std::uint8_t code);
};

// A status of the service that says nothing of the text: it is gone, or lacks memory.
bool is_service_failure(Status status);

enum class PageKind : std::uint8_t { utf8, table, service };

struct Page {
  PageKind how = PageKind::utf8;
  std::uint8_t blank_bytes = 1;
  std::array<std::byte, 4> blank{std::byte{0x20}};
  std::uint8_t zero_bytes = 1;
  std::array<std::byte, 4> zero{std::byte{0x30}};  // the digit
  const PageTables* tables = nullptr;
  FldDef field{};  // names the page to the service

  bool is_utf8() const { return how == PageKind::utf8; }
};

// Finds a page as the service has it; `found` receives its converter, unless null.
Status find_page(std::uint32_t number, char kind, Page& page, void** found);

// As find_page(), UTF-8 by the service's own numbers too.
Status find_service_page(std::uint32_t number, char kind, Page& page, void** found);

// Finds out what a code page is. The tables, if it has any, are the caller's to keep.
Status open_page(std::uint32_t number, char kind, Page& page, std::unique_ptr<PageTables>& tables);

}  // namespace zvrt::columns
