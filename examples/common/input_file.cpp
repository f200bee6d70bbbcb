#include "common/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "common/messages.h"

namespace example {

namespace {

std::optional<InputFile> Open(const std::string& path, int flags) {
  InputFile file{path, Descriptor(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC | flags)), {}};
  if (file.descriptor.number() < 0 || fstat(file.descriptor.number(), &file.status) != 0) return std::nullopt;
  return file;
}

}  // namespace

std::optional<InputFile> OpenForReading(const std::string& path) { return Open(path, 0); }

std::optional<InputFile> OpenForReplacing(const std::string& path, Links links) {
  // Without O_NONBLOCK, opening a FIFO would wait for its writer.
  return Open(path, O_NONBLOCK | (links == Links::kRefuse ? O_NOFOLLOW : 0));
}

InputFile StandardInput() {
  // The number is the process's own; a copy of it can be closed as that of any other file.
  InputFile file{"", Descriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)), {}};
  if (file.descriptor.number() < 0 || fstat(file.descriptor.number(), &file.status) != 0) {
    throw Failure(SystemMessage(file.name(), errno));
  }
  return file;
}

}  // namespace example
