// zlib files made by hand (RFC 1950 section 2.2) around Deflate streams of zlib's.
#pragma once

#include "support/bytes.h"
#include "support/oracle.h"

namespace zeldc_test {

// The two bytes, and the dictionary's checksum.
Bytes ZlibHeader(int window_bits = 15, const Bytes& dictionary = {});

Bytes ZlibFile(const Bytes& data, const ZlibOptions& options = {}, const Bytes& dictionary = {});

// The same around a stream that is given, with the trailer of `data`.
Bytes ZlibFileAround(const Bytes& stream, const Bytes& data);

}  // namespace zeldc_test
