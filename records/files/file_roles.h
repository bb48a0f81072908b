// Which files a run reads and writes, compared before anything is opened for writing.
//
// Two names are one file where device and inode are the same, links followed. A name that does not exist yet is known by
// its folder's device and inode and its last part, so that `out.csv` and `./out.csv` meet too. The same file twice is an
// error: a run never reads what it writes, and never writes two things to one place.
#ifndef ZVRT_RECORDS_FILES_FILE_ROLES_H
#define ZVRT_RECORDS_FILES_FILE_ROLES_H

#include <sys/stat.h>

#include <string>
#include <vector>

namespace zvrt::records {

// What happens to a file that stands where one is to be written.
enum class Existing { refuse, replace, append };

class FileRoles {
 public:
  // `role` is the word a message uses: "the layout", "the rejects".
  void reads(const std::string& path, const std::string& role);
  // Fails if a file stands there that may not be replaced. With `Existing::append` it is read as well.
  void writes(const std::string& path, const std::string& role, Existing existing);
  // A folder that holds files to be written; it may exist.
  void writes_into(const std::string& folder, const std::string& role);
  // Standard input, output or error, where it is a regular file.
  void standard(int descriptor, const std::string& role);
  // Throws a Failure if the same file stands twice among what was told.
  void check() const;

 private:
  struct Known {
    std::string path;
    std::string role;
    dev_t device = 0;
    ino_t inode = 0;
    std::string name;  // of a file that does not exist yet, in the folder `inode`
    bool same_as(const Known& other) const;
  };
  void remember(const std::string& path, const std::string& role);

  std::vector<Known> known_;
};

// Fails unless a file can be written at `path` under `existing`: nothing stands there, or a regular file that may go.
void check_place(const std::string& path, Existing existing);

// "a folder", "a pipe", "a device": what stands at a place that holds no regular file.
std::string kind_of(mode_t mode);

// A name that is not taken: `path`, or with a number before its extension, `x.rejects.2.csv`.
std::string free_name(const std::string& path);

}  // namespace zvrt::records

#endif
