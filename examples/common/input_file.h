// Opening of the files that a user names.
#pragma once

#include <sys/stat.h>

#include <string>

#include "common/file_streams.h"

namespace example {

struct InputFile {
  Descriptor descriptor;
  struct stat status;
};

// Opens a file that is to be replaced by its compressed or decompressed form. What must not be replaced is Skipped:
// all but regular files, and set-user-ID, set-group-ID or (unless forced) sticky and multiply linked ones. A symbolic
// link is followed only when forced.
InputFile OpenForReplacing(const std::string& path, bool force);

// Opens a file that is only read: anything but a directory.
InputFile OpenForReading(const std::string& path);

}  // namespace example
