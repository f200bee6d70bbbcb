// Which name a file has after its work.
#pragma once

#include <optional>
#include <string>

namespace zellzop {

// Whether the path ends so, and is not that suffix alone.
bool HasSuffix(const std::string& path, const std::string& suffix);

// x for x.lzo, x.zlzo and x with the user's suffix, x.tar for x.tzo; empty when it has no such end.
std::optional<std::string> DecompressedPath(const std::string& path, const std::string& suffix);

// The file called `name` beside `path`. Only the last part of a stored name counts, so that it never leads elsewhere;
// empty when there is no such part.
std::optional<std::string> Besides(const std::string& path, const std::string& name);

std::string BaseName(const std::string& path);

}  // namespace zellzop
