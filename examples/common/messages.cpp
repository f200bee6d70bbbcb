#include "common/messages.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace example {

std::string SystemMessage(const std::string& name, int errorNumber) { return name + ": " + std::strerror(errorNumber); }

void Messages::Error(const std::string& text, int exitStatus) {
  Print(text);
  error_ = std::max(error_, exitStatus);
}

void Messages::Warning(const std::string& text, int exitStatus) {
  Remark(text);
  warning_ = std::max(warning_, exitStatus);
}

void Messages::Remark(const std::string& text) {
  if (!quiet_) Print(text);
}

void Messages::Print(const std::string& text) const {
  std::fprintf(stderr, "%s: %s\n", program_.c_str(), text.c_str());
}

}  // namespace example
