// Records that stand by themselves, to cells.
#ifndef ZVRT_TESTS_RECORDS_CODEC_WHOLE_RECORDS_H
#define ZVRT_TESTS_RECORDS_CODEC_WHOLE_RECORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "records/codec/record_codec.h"

namespace zvrt::records::testing {

inline std::vector<CellColumn> cells_of(const DecodedRecords& decoded) {
  std::vector<CellColumn> cells;
  for (const DecodedCells& field : decoded.fields) cells.push_back(field.cells());
  return cells;
}

// `records`: a vector of strings, or a RecordList.
template <class Records>
void decode(const RecordCodec& codec, const Records& records, DecodedRecords& decoded) {
  std::string bytes;
  std::vector<std::int64_t> starts;
  std::vector<std::int32_t> lengths;
  for (std::size_t row = 0; row < records.size(); ++row) {
    const std::string_view record = records[row];
    starts.push_back(static_cast<std::int64_t>(bytes.size()));
    lengths.push_back(static_cast<std::int32_t>(record.size()));
    bytes += record;
  }
  codec.decode({bytes.data(), 0, starts.data(), lengths.data(), records.size()}, decoded);
}

}  // namespace zvrt::records::testing

#endif
