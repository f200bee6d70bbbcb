#include "zelbzip2/file_names.h"

namespace zelbzip2 {

namespace {

struct Suffix {
  std::string compressed;
  std::string decompressed;
};

const Suffix kSuffixes[] = {{".bz2", ""}, {".bz", ""}, {".tbz2", ".tar"}, {".tbz", ".tar"}};

const Suffix* Find(const std::string& path) {
  for (const Suffix& suffix : kSuffixes) {
    const std::string& end = suffix.compressed;
    if (path.size() > end.size() && path.ends_with(end) && path[path.size() - end.size() - 1] != '/') return &suffix;
  }
  return nullptr;
}

}  // namespace

std::optional<std::string> SuffixOf(const std::string& path) {
  const Suffix* const suffix = Find(path);
  return suffix ? std::optional(suffix->compressed) : std::nullopt;
}

std::string DecompressedPath(const std::string& path) {
  const Suffix* const suffix = Find(path);
  if (!suffix) return path + ".out";
  return path.substr(0, path.size() - suffix->compressed.size()) + suffix->decompressed;
}

}  // namespace zelbzip2
