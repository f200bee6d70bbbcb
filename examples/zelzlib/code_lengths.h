// Huffman codes of bounded length, as Deflate wants them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "zeldc.h"

namespace zelzlib {

// Code lengths of at most `limit` bits for symbols with these frequencies: short ones for frequent symbols, 0 for those
// that do not occur. The code is complete, and so has at least two symbols: the first ones join in where fewer occur.
std::vector<uint8_t> MakeCodeLengths(std::span<const int32_t> frequencies, int limit);

// The canonical code for the lengths (RFC 1951 section 3.2.2), with bits in the order of the stream.
std::vector<zelDeflateHuffCode> MakeCode(std::span<const uint8_t> lengths);

}  // namespace zelzlib
