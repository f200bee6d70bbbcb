#include "common/target.h"

#include <unistd.h>

#include <utility>

namespace example {

Target::Target() : name_("stdout") {}

Target::Target(std::string path, bool replace)
    : name_(std::move(path)), replace_(replace), file_(std::make_unique<NewFile>(name_)) {}

int Target::descriptor() const { return file_ ? file_->descriptor() : STDOUT_FILENO; }

void Target::Complete(const struct stat& source, time_t modificationTime) {
  if (!file_) return;
  file_->CopyAttributes(source, modificationTime);
  file_->Commit(replace_);
}

}  // namespace example
