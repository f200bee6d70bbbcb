#include "common/input_file.h"

#include <fcntl.h>

#include <cerrno>

#include "common/messages.h"

namespace example {

namespace {

InputFile OpenFile(const std::string& path, int flags) {
  InputFile file{Descriptor(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC | flags)), {}};
  if (file.descriptor.number() < 0 || fstat(file.descriptor.number(), &file.status) != 0) {
    throw Failure(SystemMessage(path, errno));
  }
  if (S_ISDIR(file.status.st_mode)) throw Skipped(path + " is a directory -- ignored");
  return file;
}

}  // namespace

InputFile OpenForReplacing(const std::string& path, bool force) {
  // Without O_NONBLOCK, opening a FIFO would wait for its writer.
  InputFile file = OpenFile(path, O_NONBLOCK | (force ? 0 : O_NOFOLLOW));
  const struct stat& status = file.status;
  if (!S_ISREG(status.st_mode)) throw Skipped(path + " is not a directory or a regular file - ignored");
  if (status.st_mode & S_ISUID) throw Skipped(path + " is set-user-ID on execution - ignored");
  if (status.st_mode & S_ISGID) throw Skipped(path + " is set-group-ID on execution - ignored");
  if (!force) {
    if (status.st_mode & S_ISVTX) throw Skipped(path + " has the sticky bit set - file ignored");
    if (status.st_nlink > 1) {
      const std::string others = std::to_string(status.st_nlink - 1);
      throw Skipped(path + " has " + others + " other link" + (others == "1" ? "" : "s") + " -- file ignored");
    }
  }
  return file;
}

InputFile OpenForReading(const std::string& path) { return OpenFile(path, 0); }

}  // namespace example
