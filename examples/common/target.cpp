#include "common/target.h"

#include <unistd.h>

#include <cstdio>

#include "common/messages.h"

namespace example {

namespace {

// Whether the user, if there is one at the terminal, agrees.
bool Confirms(const std::string& question) {
  if (isatty(STDIN_FILENO) != 1) return false;
  std::fprintf(stderr, "%s", question.c_str());
  const int first = std::getchar();
  for (int c = first; c != '\n' && c != EOF;) c = std::getchar();
  return first == 'y' || first == 'Y';
}

}  // namespace

Target::Target() : name_("stdout") {}

Target::Target(std::string path, const std::string& sourcePath, const struct stat& source, bool force)
    : name_(std::move(path)) {
  struct stat existing;
  if (lstat(name_.c_str(), &existing) == 0) {
    if (existing.st_dev == source.st_dev && existing.st_ino == source.st_ino) {
      throw Failure(sourcePath + " and " + name_ + " are the same file");
    }
    if (!force && !Confirms(name_ + " already exists; do you wish to overwrite (y or n)? ")) {
      throw Skipped(name_ + " already exists;\tnot overwritten");
    }
    replaces_ = true;
  }
  file_ = std::make_unique<NewFile>(name_);
}

int Target::descriptor() const { return file_ ? file_->descriptor() : STDOUT_FILENO; }

void Target::Complete(const struct stat& source, time_t modificationTime) {
  if (!file_) return;
  file_->CopyAttributes(source, modificationTime);
  file_->Commit(replaces_);
}

}  // namespace example
