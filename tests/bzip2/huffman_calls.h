// Blocks of symbols, records between guard pages, and the calls of the Huffman stage.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "bzip2/huffman_model.h"
#include "support/bytes.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

// A block; its last symbol is the end of the block, which stands nowhere else.
struct Block {
  std::string name;
  int alpha_size = 0;
  Symbols symbols;

  std::vector<uint32_t> Frequencies() const;
};

// `count` symbols, the last of them the end of the block. Smaller symbols are the more frequent the larger `skew` is.
Block RandomBlock(int alpha_size, size_t count, unsigned skew, uint64_t seed);

// Stretches of different distributions, so that tables specialise.
Block ChangingBlock(int alpha_size, size_t count, uint64_t seed);

// Symbol v occurs 2^v times, evenly spread: with 20 of them codes would become longer than 17 bits.
Block DoublingBlock(int symbols, int alpha_size);

// One of each kind.
std::vector<Block> AllBlocks();

// Memory for a record of a size that is no multiple of 4: what stands behind it up to the guard page must stay. It held
// something else before.
class RecordMemory {
 public:
  explicit RecordMemory(int32_t size, uint8_t fill = 0xA5);
  // A copy at another place; the old one is made useless.
  RecordMemory(RecordMemory&& from);

  void* get() const { return memory_->data(); }
  size_t size() const { return size_; }
  bool IsTailIntact() const;

 private:
  size_t size_;
  std::unique_ptr<GuardedBuffer> memory_;
};

class EncodeRecord : public RecordMemory {
 public:
  explicit EncodeRecord(int32_t max_symbols, uint8_t fill = 0xA5) : RecordMemory(Size(max_symbols), fill) {}
  zelBZ2HuffEncodeState* get() const { return static_cast<zelBZ2HuffEncodeState*>(RecordMemory::get()); }

 private:
  static int32_t Size(int32_t max_symbols);
};

class DecodeRecord : public RecordMemory {
 public:
  explicit DecodeRecord(int32_t max_symbols, uint8_t fill = 0xA5) : RecordMemory(Size(max_symbols), fill) {}
  zelBZ2HuffDecodeState* get() const { return static_cast<zelBZ2HuffDecodeState*>(RecordMemory::get()); }

 private:
  static int32_t Size(int32_t max_symbols);
};

zelStatus InitEncoder(const Block& block, zelBZ2HuffEncodeState* record);

// What a writing call gives.
struct WriteResult {
  zelStatus status = zelOk;
  Bytes bytes;
  uint32_t code = 0;
  int32_t code_bits = 0;
};

// One call, behind bits that wait, into `room` bytes before a guard page.
WriteResult Pack(zelBZ2HuffEncodeState* record, size_t room, uint32_t code = 0, int32_t code_bits = 0);
WriteResult EncodeSymbols(zelBZ2HuffEncodeState* record, const Symbols& symbols, size_t room, uint32_t code = 0,
                          int32_t code_bits = 0);

// The whole block: description and symbols.
BitString Encode(const Block& block);

// One call from memory before a guard page.
CallResult Unpack(zelBZ2HuffDecodeState* record, uint32_t code, int32_t code_bits, const Bytes& source);
CallResult DecodeSymbols(zelBZ2HuffDecodeState* record, uint32_t code, int32_t code_bits, const Bytes& source,
                         size_t room);

// What a series of calls comes to.
struct Decoded {
  zelStatus status = zelOk;  // the last call's
  Symbols symbols;
};

// Unpacks and decodes a stream in pieces of at most `piece` bytes into rooms of `room` symbols. Each call must leave
// behind what the model's does. seed: not 0 for pieces of random size.
Decoded DecodeBesideModel(int alpha_size, const Bytes& stream, size_t piece, size_t room, uint64_t seed = 0);

}  // namespace zeldc_test
