#include "zelgzip/file_rules.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "common/messages.h"

namespace zelgzip {

namespace {

using example::Failure;
using example::InputFile;
using example::Links;
using example::Skipped;
using example::Target;

InputFile NoDirectory(std::optional<InputFile> file, const std::string& path) {
  if (!file) throw Failure(example::SystemMessage(path, errno));
  if (S_ISDIR(file->status.st_mode)) throw Skipped(path + " is a directory -- ignored");
  return std::move(*file);
}

// Whether the user, if there is one at the terminal, agrees.
bool Confirms(const std::string& question) {
  if (isatty(STDIN_FILENO) != 1) return false;
  std::fprintf(stderr, "%s", question.c_str());
  const int first = std::getchar();
  for (int c = first; c != '\n' && c != EOF;) c = std::getchar();
  return first == 'y' || first == 'Y';
}

}  // namespace

InputFile OpenForReading(const std::string& path) { return NoDirectory(example::OpenForReading(path), path); }

InputFile OpenForReplacing(const std::string& path, bool force) {
  InputFile file = NoDirectory(example::OpenForReplacing(path, force ? Links::kFollow : Links::kRefuse), path);
  const struct stat& status = file.status;
  if (!S_ISREG(status.st_mode)) throw Skipped(path + " is not a directory or a regular file - ignored");
  if (status.st_mode & S_ISUID) throw Skipped(path + " is set-user-ID on execution - ignored");
  if (status.st_mode & S_ISGID) throw Skipped(path + " is set-group-ID on execution - ignored");
  if (!force) {
    if (status.st_mode & S_ISVTX) throw Skipped(path + " has the sticky bit set - file ignored");
    if (const auto others = example::OtherLinks(status); others > 0) {
      throw Skipped(path + " has " + std::to_string(others) + " other link" + (others == 1 ? "" : "s") +
                    " -- file ignored");
    }
  }
  return file;
}

Target ReplacementOf(const InputFile& source, const std::string& path, bool force) {
  struct stat existing;
  if (lstat(path.c_str(), &existing) != 0) return Target(path, false);
  if (existing.st_dev == source.status.st_dev && existing.st_ino == source.status.st_ino) {
    throw Failure(source.path + " and " + path + " are the same file");
  }
  if (!force && !Confirms(path + " already exists; do you wish to overwrite (y or n)? ")) {
    throw Skipped(path + " already exists;\tnot overwritten");
  }
  return Target(path, true);
}

}  // namespace zelgzip
