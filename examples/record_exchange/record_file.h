// A file of records of one length, nothing between them.
#ifndef RECORD_EXCHANGE_RECORD_FILE_H
#define RECORD_EXCHANGE_RECORD_FILE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace record_exchange {

class RecordFile {
 public:
  enum class Mode { read, write };

  RecordFile(const std::string& name, Mode mode, std::size_t record_length);

  // The bytes read: the record's length, fewer where the file ends inside a record, 0 behind the last one.
  std::size_t read(char* record);
  void write(const char* record);
  void finish();

  std::uint64_t records() const;  // whole records of a file that is read

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string name_;
  std::size_t record_length_;
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace record_exchange

#endif
