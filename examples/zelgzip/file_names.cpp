#include "zelgzip/file_names.h"

#include <strings.h>
#include <sys/stat.h>

#include <cerrno>

namespace zelgzip {

namespace {

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && strcasecmp(text.c_str() + (text.size() - end.size()), end.c_str()) == 0;
}

}  // namespace

std::string BaseName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::optional<std::string> SuffixOf(const std::string& path, const std::string& suffix) {
  const std::string usual[] = {suffix, ".gz", "-gz", ".z", "-z", "_z", ".tgz", ".taz"};
  for (const std::string& end : usual) {
    if (BaseName(path).size() > end.size() && EndsWith(path, end)) return end;
  }
  return std::nullopt;
}

std::string WithoutSuffix(const std::string& path, const std::string& suffix) {
  const auto end = SuffixOf(path, suffix);
  if (!end) return path;
  const std::string stem = path.substr(0, path.size() - end->size());
  return *end == ".tgz" || *end == ".taz" ? stem + ".tar" : stem;
}

std::optional<std::string> Besides(const std::string& path, const std::string& name) {
  const std::string last = BaseName(name);
  if (last.empty() || last == "." || last == "..") return std::nullopt;
  return path.substr(0, path.size() - BaseName(path).size()) + last;
}

std::string ExistingCompressed(const std::string& path, const std::string& suffix) {
  struct stat status;
  if (lstat(path.c_str(), &status) == 0 || errno != ENOENT || SuffixOf(path, suffix)) return path;
  const std::string extended = path + suffix;
  if (suffix != ".gz" && lstat(extended.c_str(), &status) != 0) return path + ".gz";
  return extended;
}

}  // namespace zelgzip
