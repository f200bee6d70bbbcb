// Which name a file has after its work.
#pragma once

#include <optional>
#include <string>

namespace zelgzip {

// The end of the path that tells a compressed file: `suffix` or one of the usual ones, in upper or lower case. Empty
// when it has none, or when the name is nothing else.
std::optional<std::string> SuffixOf(const std::string& path, const std::string& suffix);

// The path without that end; x.tgz becomes x.tar.
std::string WithoutSuffix(const std::string& path, const std::string& suffix);

// The path's last part.
std::string BaseName(const std::string& path);

// The path of a file called `name` in the directory of `path`. Only the last part of `name` counts, so that a stored
// name never leads elsewhere; empty when there is no such part.
std::optional<std::string> Besides(const std::string& path, const std::string& name);

// The file that is meant when a compressed one is looked for: the path as it is, or with the suffix when only that
// exists.
std::string ExistingCompressed(const std::string& path, const std::string& suffix);

}  // namespace zelgzip
