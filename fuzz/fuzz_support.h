// What the fuzz targets share. Each input starts with bytes of options; what is left is a stream or data.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "inflate/decode.h"
#include "support/bytes.h"

namespace zeldc_fuzz {

using zeldc_test::Bytes;

// Ends the process, which the fuzzer reports, unless the condition holds.
void Check(bool holds, const char* what);

// Reads the input from its start; behind its end there are zeros.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), left_(size) {}

  bool IsEmpty() const { return left_ == 0; }
  uint8_t Byte();
  uint16_t Word();
  // A size of a piece: any number from 1 to 127, larger ones in steps, or SIZE_MAX for 0.
  size_t Piece();
  Bytes Take(size_t size);
  Bytes Rest() { return Take(left_); }

 private:
  const uint8_t* data_;
  size_t left_;
};

// The input's rest behind 3 bytes that tell how it is repeated, at near and far distances, so that short inputs have
// long matches, too.
Bytes ReadRepeatedData(Input& input);

// A dictionary by one byte; none for 0.
Bytes Dictionary(uint8_t kind);

// A split for the decoder: 5 bytes of the input.
zeldc_test::DecodeOptions ReadSplit(Input& input, zeldc_test::Path path);

// Both outcomes must be the same.
void CheckAlike(const zeldc_test::Decoded& a, const zeldc_test::Decoded& b);

// What zlib makes of a raw Deflate stream, or of a gzip or zlib file.
struct Oracle {
  bool complete = false;
  Bytes data;
  size_t consumed = 0;
};
Oracle InflateRaw(const Bytes& stream, size_t max_size, const Bytes& dictionary);
Oracle InflateFile(const Bytes& file, size_t max_size);

}  // namespace zeldc_fuzz
