#include "zellzop/file_names.h"

#include "zellzop/parallel_file.h"

namespace zellzop {

bool HasSuffix(const std::string& path, const std::string& suffix) {
  return path.size() > suffix.size() && path.ends_with(suffix) && path[path.size() - suffix.size() - 1] != '/';
}

std::optional<std::string> DecompressedPath(const std::string& path, const std::string& suffix) {
  for (const std::string& end : {suffix, std::string(".lzo"), std::string(kParallelSuffix)}) {
    if (HasSuffix(path, end)) return path.substr(0, path.size() - end.size());
  }
  if (HasSuffix(path, ".tzo")) return path.substr(0, path.size() - 4) + ".tar";
  return std::nullopt;
}

std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::optional<std::string> Besides(const std::string& path, const std::string& name) {
  std::string last = BaseName(name);
  last = last.substr(0, last.find('\0'));
  if (last.empty() || last == "." || last == "..") return std::nullopt;
  return path.substr(0, path.rfind('/') + 1) + last;
}

}  // namespace zellzop
