// A block's way from bytes to bits.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "zelbzip2/format.h"

namespace zelbzip2 {

struct Block {
  std::vector<uint8_t> data;       // run-length coded; at least one byte
  std::array<uint8_t, 256> inUse;  // which bytes there are in it
  uint32_t crc = 0;                // of what it stands for

  // What the encoder makes of it: this many bits, from the first byte's most significant on.
  std::vector<uint8_t> coded;
  uint64_t bits = 0;
};

// The stages behind the run-length code, and the memory for them.
class BlockEncoder {
 public:
  // capacity: bytes in a block, at most
  explicit BlockEncoder(int32_t capacity);

  void Do(Block& block);

 private:
  int32_t Transform(const Block& block);
  void CountSymbols(int32_t size, int32_t endOfBlock);
  void Write(int32_t origin, int32_t alphabet, Block& block);

  template <class Item>
  using Array = std::unique_ptr<Item[]>;

  Array<uint8_t> sortMemory_;
  Array<uint8_t> column_;  // the transform, then its move-to-front ranks
  Array<uint16_t> symbols_;
  int32_t symbolCount_ = 0;
  std::array<int32_t, kLargestAlphabet> frequencies_;
  Array<uint8_t> codeMemory_;
  Array<uint8_t> coded_;
  int32_t symbolsCapacity_;
  int32_t codedCapacity_;
};

}  // namespace zelbzip2
