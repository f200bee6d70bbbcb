// The LZO coders in their plainest form: what the library's are held against.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <optional>

#include "support/bytes.h"

namespace zeldc_test {

// Row by row the hash's values for each of four bytes.
uint16_t LzoSalt(int row, int byte);

// One chunk without its end marker.
Bytes LzoModelChunk(const Bytes& in);

// A whole input, cut among so many threads; 1 for the single method.
Bytes LzoModelEncode(const Bytes& in, size_t threads = 1);

// The output of plain streams one after the other; nothing if they are broken or make more than `room` bytes.
std::optional<Bytes> LzoModelDecode(const Bytes& in, size_t room);

}  // namespace zeldc_test
