// Compressing: how the library's Deflate encoder is driven.
#pragma once

#include "common/file_streams.h"
#include "zelgzip/member_header.h"

namespace zelgzip {

// Writes the whole input as one gzip member and flushes the output. Returns the bytes of header and trailer.
uint64_t Compress(example::Input& input, const MemberHeader& header, zelLZ77Level level, example::Output& output);

}  // namespace zelgzip
