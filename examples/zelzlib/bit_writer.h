// The bits of a Deflate stream on their way out: those of a byte go lowest first.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "common/file_streams.h"
#include "zeldc.h"

namespace zelzlib {

// What the library writes with a Huffman code: each a literal (distance 0) or a match's length less 3.
struct Items {
  std::span<const uint8_t> values;
  std::span<const uint16_t> distances;
};

class BitWriter {
 public:
  explicit BitWriter(example::Output& output) : output_(output) {}

  // Up to 24 bits.
  void Put(uint32_t bits, int count);
  void Put(const zelDeflateHuffCode& code) { Put(code.code, code.lenBits); }
  void Put(const Items& items, const std::vector<zelDeflateHuffCode>& litLenCodes,
           const std::vector<zelDeflateHuffCode>& distanceCodes);

  // Fills up a begun byte with zeros.
  void PadToByte() { Put(0, -count_ & 7); }
  // Behind PadToByte.
  void PutBytes(std::span<const uint8_t> bytes) { output_.Put(bytes.data(), bytes.size()); }

 private:
  example::Output& output_;
  uint16_t bits_ = 0;  // that do not fill a byte
  int32_t count_ = 0;
  std::vector<uint8_t> buffer_;
};

}  // namespace zelzlib
