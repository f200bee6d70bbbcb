// Which name a file has after its work.
#pragma once

#include <optional>
#include <string>

namespace zelbzip2 {

// The end of the path that tells a compressed file. Empty when it has none, or when the name is nothing else.
std::optional<std::string> SuffixOf(const std::string& path);

// The path without that end, x.tbz2 and x.tbz as x.tar; with ".out" when it has none.
std::string DecompressedPath(const std::string& path);

}  // namespace zelbzip2
