#include "common/messages.h"

#include <cstdio>
#include <cstring>

namespace example {

std::string SystemMessage(const std::string& name, int errorNumber) { return name + ": " + std::strerror(errorNumber); }

void Messages::Error(const std::string& text) {
  Print(text);
  status_ = kExitError;
}

void Messages::Warning(const std::string& text) {
  Remark(text);
  if (status_ == kExitOk) status_ = kExitWarning;
}

void Messages::Remark(const std::string& text) {
  if (!quiet_) Print(text);
}

void Messages::Print(const std::string& text) const {
  std::fprintf(stderr, "%s: %s\n", program_.c_str(), text.c_str());
}

}  // namespace example
