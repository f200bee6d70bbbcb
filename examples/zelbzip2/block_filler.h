// The first stage of compression: the run-length code, which fills the blocks.
#pragma once

#include <cstdint>

#include "zelbzip2/block_encoder.h"

namespace zelbzip2 {

// Takes bytes until a block is full.
class BlockFiller {
 public:
  // level: 1 to 9
  explicit BlockFiller(int level);

  // Bytes in a block, at most.
  static int32_t Capacity(int level);

  // Takes bytes as long as there is room. True when the block is full.
  bool Add(const uint8_t*& next, int32_t& left);

  bool IsEmpty() const { return block_.data.empty(); }

  // The block, full or the last, which may not be empty; the next is begun.
  Block Finish();

 private:
  void Begin();

  int32_t capacity_;
  Block block_;
  zelRLEState_BZ2 runs_;
};

}  // namespace zelbzip2
