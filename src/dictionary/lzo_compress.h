// Compression of one chunk to one LZO1X stream.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "dictionary/lzo_state.h"

namespace zeldc {

// The most that LzoCompress writes for n bytes, with the end marker behind it.
constexpr uint64_t LzoBound(uint32_t n) { return uint64_t{n} + n / 16 + 67; }

// Makes a dictionary fit for its first use.
void LzoInitDictionary(LzoDictionary* dictionary);

// Writes the stream of n bytes, n above 0, without its end marker; answers its length. The room is LzoBound(n), all of
// which may be written to.
size_t LzoCompress(const uint8_t* in, uint32_t n, uint8_t* out, LzoDictionary* dictionary);

}  // namespace zeldc
