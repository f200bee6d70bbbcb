// A block's way from bits to bytes.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "zelbzip2/format.h"

namespace zelbzip2 {

enum class Verdict {
  kGood,
  kDamaged,  // these bits are no block
  kShort     // the block does not end within these bits
};

struct DecodedBlock {
  std::vector<uint8_t> data;  // still run-length coded; not empty
  uint32_t crc = 0;           // of what it stands for, as the block says: nobody has checked it
  uint64_t bits = 0;          // the block's length in the file, its mark included
};

// The stages up to the run-length code, and the memory for them.
class BlockDecoder {
 public:
  BlockDecoder();

  // Decodes the block whose mark starts at bit `start` (0 to 7, from the most significant on) of `bytes`. What
  // follows a block in a file, another mark, must be there, too.
  Verdict Decode(const uint8_t* bytes, size_t size, int start, DecodedBlock& block);

 private:
  // What stands before the tables.
  struct Header {
    bool randomised;
    int32_t origin;
    std::array<uint8_t, 256> inUse;
    int32_t used;
  };

  struct Bits;

  static Verdict ReadHeader(Bits& bits, Header& header, DecodedBlock& block);
  Verdict ReadSymbols(Bits& bits, int32_t alphabet);
  Verdict ExpandSymbols(const Header& header, DecodedBlock& block);

  template <class Item>
  using Array = std::unique_ptr<Item[]>;

  Array<uint8_t> codeMemory_;
  Array<uint16_t> symbols_;
  int32_t symbolCount_ = 0;
  Array<uint8_t> column_;
  Array<uint8_t> linkMemory_;
};

}  // namespace zelbzip2
