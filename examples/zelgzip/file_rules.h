// Which files gzip works on, and which it replaces.
#pragma once

#include <string>

#include "common/input_file.h"
#include "common/target.h"

namespace zelgzip {

// Opens a file that is only read: anything but a directory.
example::InputFile OpenForReading(const std::string& path);

// Opens a file that is to be replaced by its compressed or decompressed form. What must not be replaced is Skipped:
// all but regular files, and set-user-ID, set-group-ID or (unless forced) sticky and multiply linked ones. A symbolic
// link is followed only when forced.
example::InputFile OpenForReplacing(const std::string& path, bool force);

// A new file in place of the source. If there is one of that name already, `force` replaces it, else the user is asked
// if there is one at the terminal, else the source is Skipped.
example::Target ReplacementOf(const example::InputFile& source, const std::string& path, bool force);

}  // namespace zelgzip
