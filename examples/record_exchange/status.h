// Statuses by name and text: the library's own, and the tool's for what a record cannot hold or does not say.
#ifndef RECORD_EXCHANGE_STATUS_H
#define RECORD_EXCHANGE_STATUS_H

#include <cstdint>
#include <string>

namespace record_exchange {

// Beside the library's codes, never among them.
enum ToolStatus : std::uint32_t {
  rx_null = 0x52580000,  // not a refusal: the cell is null
  rx_null_not_allowed,
  rx_reads_as_null,
  rx_not_text,
  rx_zero_inside,
  rx_not_a_number,
  rx_too_many_digits,
  rx_fraction_lost,
  rx_negative,
  rx_not_kept,
  rx_not_in_model,
  rx_part_lost,
  rx_broken_number,
  rx_broken_indicator,
  rx_cut_record,
  rx_different,
  rx_trailing_blanks,
  rx_missing_row,
  rx_surplus_row,
};

std::string name_of(std::uint32_t status);
std::string text_of(std::uint32_t status);
std::string describe(std::uint32_t status);  // both

}  // namespace record_exchange

#endif
