// Files that appear only when they are complete.
#pragma once

#include <sys/stat.h>

#include <string>

namespace example {

// A file being written. Until commit gives it its name it is a hidden temporary one in the same directory, and it is
// removed when the object goes or a signal ends the program: whoever looks never finds half a file.
// There can be one at a time.
class NewFile {
 public:
  explicit NewFile(std::string path);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  int descriptor() const { return descriptor_; }

  // Gives the file the times, the owner and the permissions of another one. modificationTime, unless 0, takes the
  // place of the other's.
  void CopyAttributes(const struct stat& other, time_t modificationTime);

  // Gives the file its name. Without `replace`, a file that has the name meanwhile is a failure.
  void Commit(bool replace);

 private:
  std::string path_;
  std::string temporaryPath_;
  int descriptor_ = -1;
};

// Makes the signals that end a program from outside remove the temporary file first, and a file-size limit a plain
// write error. Called once.
void RemoveNewFileOnSignals();

}  // namespace example
