// Where the result of a file goes.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>

#include "common/new_file.h"

namespace example {

class Target {
 public:
  // Standard output.
  Target();

  // A new file in place of the source. If there is one of that name already, `force` replaces it, else the user is
  // asked if there is one at the terminal, else the source is Skipped.
  Target(std::string path, const std::string& sourcePath, const struct stat& source, bool force);

  const std::string& name() const { return name_; }
  int descriptor() const;

  // All is written: the file takes over the source's attributes and gets its name. modificationTime, unless 0, takes
  // the place of the source's. Nothing happens to standard output.
  void Complete(const struct stat& source, time_t modificationTime);

 private:
  std::string name_;
  bool replaces_ = false;
  std::unique_ptr<NewFile> file_;
};

}  // namespace example
