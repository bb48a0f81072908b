// What a cell can run into beside the statuses of the conversion libraries.
#ifndef ZVRT_RECORDS_CODEC_STATUS_H
#define ZVRT_RECORDS_CODEC_STATUS_H

#include <cstdint>
#include <string>
#include <vector>

namespace zvrt::records {

using Status = std::uint32_t;

enum RecordStatus : Status {
  rx_reads_as_null = 30001,
  rx_low_value,
  rx_broken_indicator,
  rx_not_edited,
  rx_count,
  rx_not_there,
  rx_cut_field,
  rx_unknown_segment,
  rx_damage,
  rx_different,
  rx_missing_row,
  rx_surplus_row,
  rx_two_meanings,
  rx_bytes,
  rx_table,
  rx_length,
  rx_newline,
};

// Whether one of them is anything but ZVRT_RC_OK, by one loop without a branch: nearly always none is.
inline bool is_any_refused(const std::vector<Status>& statuses) {
  Status any = 0;
  for (const Status status : statuses) any |= status;
  return any != 0;
}

std::string name_of(Status status);
std::string text_of(Status status);

}  // namespace zvrt::records

#endif
