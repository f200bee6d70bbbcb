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

  // A new file. `replace` says that a file of that name may lose it.
  Target(std::string path, bool replace);

  const std::string& name() const { return name_; }
  int descriptor() const;

  // All is written: the file takes over the source's attributes and gets its name. modificationTime, unless 0, takes
  // the place of the source's. Nothing happens to standard output.
  void Complete(const struct stat& source, time_t modificationTime);

 private:
  std::string name_;
  bool replace_ = false;
  std::unique_ptr<NewFile> file_;
};

}  // namespace example
