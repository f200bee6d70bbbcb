// Tables of codes, and the VLC coder bit by bit, as its contract describes it.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "support/bytes.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

using Codes = std::vector<zelVLCCode>;
using Values = std::vector<int16_t>;

// A code for each of n different values from `low` to `high`, 1 to max_length bits long and in no order. Codes are of
// every shape, some tables short of codes, so that patterns stay that are none.
struct CodesShape {
  size_t n = 100;
  int32_t max_length = 20;
  int32_t low = -300;
  int32_t high = 300;
  bool complete = true;
};
Codes RandomCodes(const CodesShape& shape, Random& random);

// n values of the table: shorter codes are more frequent, each by its length.
Values RandomValues(const Codes& codes, size_t n, Random& random);

// A record of the encoder or the decoder that ends at a guard page, `offset` bytes behind a multiple of 32.
class VlcEncoder {
 public:
  explicit VlcEncoder(const Codes& codes, size_t offset = 0);
  zelVLCEncodeState* get() const { return reinterpret_cast<zelVLCEncodeState*>(record_); }
  // Nothing has been written before the record or behind its size.
  bool IsInside() const;

 private:
  GuardedBuffer memory_;
  size_t size_;
  uint8_t* record_;
};

class VlcDecoder {
 public:
  VlcDecoder(const Codes& codes, const std::vector<int32_t>& widths, size_t offset = 0);
  VlcDecoder(const Codes& codes, const std::vector<int32_t>& widths, int32_t tuple_size, int32_t element_bits,
             size_t offset = 0);
  zelVLCDecodeState* get() const { return reinterpret_cast<zelVLCDecodeState*>(record_); }
  // Nothing has been written before the record or behind its size.
  bool IsInside() const;

 private:
  GuardedBuffer memory_;
  size_t size_;
  uint8_t* record_;
};

// A place in a stream of bits.
struct Place {
  uint8_t* byte = nullptr;
  int32_t bit = 0;

  friend bool operator==(const Place&, const Place&) = default;
};
Place PlaceOf(uint8_t* base, size_t bits);

// A buffer of whole words whose last one touches a guard page, or whose first one does.
class Words {
 public:
  explicit Words(size_t bits, Guard guard = Guard::kBehind, uint64_t seed = 1);
  uint8_t* data() const { return buffer_.data(); }
  Bytes ToBytes() const { return buffer_.ToBytes(); }
  void MakeReadOnly() { buffer_.MakeReadOnly(); }

 private:
  GuardedBuffer buffer_;
};

bool BitOf(const Bytes& bytes, size_t at);
void SetBit(Bytes& bytes, size_t at, bool bit);

// Writes the codes of values from the bit `at` on, to the rules of words. Returns the bit behind them; stops at a value
// that has no code. *written says how many had one.
size_t EncodeByModel(const Codes& codes, const Values& values, Bytes& words, size_t at, size_t* written = nullptr);

// The entry whose code stands at the bit `at`, or null. Bits beyond the stream are zeros.
const zelVLCCode* DecodeByModel(const Codes& codes, const Bytes& stream, size_t at);

}  // namespace zeldc_test
