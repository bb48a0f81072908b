// Records as the bytes of a file.
#ifndef ZVRT_TESTS_RECORDS_FORMATS_WRITTEN_FILE_H
#define ZVRT_TESTS_RECORDS_FORMATS_WRITTEN_FILE_H

#include <string>
#include <vector>

#include "records/formats/record_reader.h"
#include "records/formats/record_writer.h"

namespace zvrt::records::testing {

class Collected final : public OutputFile {
 public:
  void write(std::string_view text) override { bytes.append(text); }
  void finish() override {}
  void commit() override {}
  std::string bytes;
};

inline std::string written(const std::vector<std::string>& records, const FormatOptions& options,
                           const std::vector<Surroundings>* around = nullptr) {
  Collected file;
  RecordWriter writer(file, options);
  for (std::size_t i = 0; i < records.size(); ++i)
    writer.write(records[i], around != nullptr ? &(*around)[i] : nullptr);
  writer.finish();
  return file.bytes;
}

}  // namespace zvrt::records::testing

#endif
