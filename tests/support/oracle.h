// Independent decoders and encoders for what the library writes and reads.
#pragma once

#include <stddef.h>

#include "gtest/gtest.h"
#include "support/bytes.h"

namespace zeldc_test {

// What a decoder made of a raw Deflate stream.
struct Inflated {
  bool complete = false;  // the stream is well-formed up to its last block
  Bytes data;             // the output, as far as it goes
  size_t consumed = 0;    // input bytes taken; behind the stream's last byte when complete
};

// zlib. Output beyond max_size counts as malformed.
Inflated InflateWithZlib(const Bytes& stream, size_t max_size, const Bytes& dictionary = {});

// libdeflate, which wants the exact size of the output.
Inflated InflateWithLibdeflate(const Bytes& stream, size_t size, const Bytes& dictionary = {});

// Both decoders make exactly `expected` of the stream and consume all of it.
testing::AssertionResult DecodesTo(const Bytes& stream, const Bytes& expected, const Bytes& dictionary = {});

// zlib reads the bytes as a whole zlib or gzip file, its header and trailer included.
testing::AssertionResult UnzipsTo(const Bytes& file, const Bytes& expected);

// A raw Deflate stream by zlib, with zlib's parameters.
struct ZlibOptions {
  int level = 6;
  int window_bits = 15;
  int memory_level = 8;
  int strategy = 0;
  // A Z_..._FLUSH value that is applied after every `flush_every` bytes of input; 0: none.
  int flush = 0;
  size_t flush_every = 0;
};
Bytes DeflateWithZlib(const Bytes& data, const ZlibOptions& options = {}, const Bytes& dictionary = {});

// A raw Deflate stream by libdeflate, levels 0 to 12.
Bytes DeflateWithLibdeflate(const Bytes& data, int level);

uint32_t ZlibAdler32(const Bytes& data, uint32_t start = 1);
uint32_t ZlibCrc32(const Bytes& data, uint32_t start = 0);

}  // namespace zeldc_test
