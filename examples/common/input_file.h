// Opening of the files that a user names.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>

#include "common/file_streams.h"

namespace example {

// An open file that is to be worked on, or standard input.
struct InputFile {
  std::string path;  // empty for standard input
  Descriptor descriptor;
  struct stat status;

  std::string name() const { return path.empty() ? "stdin" : path; }
  uint64_t size() const { return S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0; }
};

// Opens a file, of whatever kind. A FIFO is waited for unless it is to be replaced, and a symbolic link is followed
// unless the caller does not want that. Empty, and errno says why, when it can't be opened.
enum class Links { kFollow, kRefuse };
std::optional<InputFile> OpenForReading(const std::string& path);
std::optional<InputFile> OpenForReplacing(const std::string& path, Links links);

// A failure when there is none.
InputFile StandardInput();

// How many names the file has besides the one that it was opened by.
inline nlink_t OtherLinks(const struct stat& status) { return status.st_nlink > 1 ? status.st_nlink - 1 : 0; }

}  // namespace example
