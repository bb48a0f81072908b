// An output that either comes whole or leaves what was there before.
//
//   out.csv              what stood there stays until commit()
//   .out.csv.zvrt-tmp    beside it: written, synchronised, then renamed to out.csv, and the folder synchronised
//
// The temporary has a known name, so that the next run can remove what a killed one left; a lock on it (flock) tells a
// killed run from one that still writes. Nothing but a regular file is ever replaced, and without Existing::replace or
// append nothing is: the rename itself refuses a file that came up meanwhile.
#ifndef ZVRT_RECORDS_FILES_OUTPUT_FILE_H
#define ZVRT_RECORDS_FILES_OUTPUT_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "records/files/file_roles.h"

namespace zvrt::records {

// A file that gets its name when it is complete; see above. Removed by its destructor if that never comes.
class Temporary {
 public:
  Temporary(const std::string& path, Existing existing);
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;
  ~Temporary();

  int descriptor() const { return descriptor_; }
  const std::string& path() const { return path_; }            // where it will stand
  const std::string& temporary() const { return temporary_; }  // where it stands now
  bool replaces() const { return replaces_; }                  // a file stands at path()
  void synchronise() const;
  void rename();

 private:
  void take();
  void release() noexcept;

  std::string path_;
  std::string folder_;
  std::string temporary_;
  Existing existing_;
  bool replaces_ = false;
  bool renamed_ = false;
  int descriptor_ = -1;
};

class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  virtual ~OutputFile() = default;

  virtual void write(std::string_view bytes) = 0;
  // Everything is on the disk, under the temporary's name still.
  virtual void finish() = 0;
  // What was finished takes its place.
  virtual void commit() = 0;
  // Where it stands until then; empty where that is no file.
  virtual std::string temporary() const { return {}; }
  std::uint64_t written() const { return written_; }

 protected:
  void write_to(int descriptor, std::string_view bytes, const std::string& name);

 private:
  std::uint64_t written_ = 0;
};

class RegularOutput final : public OutputFile {
 public:
  // With Existing::append the temporary begins as a copy of the file.
  RegularOutput(const std::string& path, Existing existing);
  void write(std::string_view bytes) override;
  void finish() override;
  void commit() override { file_.rename(); }
  std::string temporary() const override { return file_.temporary(); }
  // Bytes that were copied from the file that is appended to.
  std::uint64_t copied() const { return copied_; }

 private:
  void copy();

  Temporary file_;
  std::uint64_t copied_ = 0;
};

// Standard output: what was written cannot be taken back.
class StandardOutput final : public OutputFile {
 public:
  void write(std::string_view bytes) override;
  void finish() override;
  void commit() override {}
};

}  // namespace zvrt::records

#endif
