#include "zelbzip2/compress.h"

#include <omp.h>

#include <memory>
#include <vector>

#include "common/ordered_work.h"
#include "zelbzip2/bit_joiner.h"
#include "zelbzip2/block_encoder.h"
#include "zelbzip2/block_filler.h"

namespace zelbzip2 {

namespace {

using example::Input;
using example::Output;

constexpr size_t kPieceBytes = 256 << 10;

std::unique_ptr<BlockEncoder> MakeEncoder(int level) {
  // Blocks are what the threads share: a function that would start more of them stays in this one.
  omp_set_num_threads(1);
  return std::make_unique<BlockEncoder>(BlockFiller::Capacity(level));
}

}  // namespace

void Compress(Input& input, int level, unsigned threads, Output& output) {
  const uint8_t header[] = {'B', 'Z', 'h', static_cast<uint8_t>('0' + level)};
  output.Put(header, sizeof header);

  example::InputCursor cursor(input, kPieceBytes);
  BlockFiller filler(level);
  BitJoiner joiner;
  uint32_t combinedCrc = 0;
  std::vector<uint8_t> joined;
  example::OrderedWork<Block, BlockEncoder> work(threads, [level] { return MakeEncoder(level); });
  for (bool more = true; more || !work.IsEmpty();) {
    while (more && !work.IsFull()) {
      while ((more = cursor.More()) && !filler.Add(cursor.next, cursor.left)) {
      }
      if (!filler.IsEmpty()) work.Submit(std::make_unique<Block>(filler.Finish()));
    }
    if (work.IsEmpty()) break;
    const std::unique_ptr<Block> block = work.Take();
    joined.clear();
    joiner.Put(block->coded, block->bits, joined);
    output.Put(joined.data(), joined.size());
    combinedCrc = CombinedCrc(combinedCrc, block->crc);
  }
  joined.clear();
  joiner.Put(kStreamEnd, kMarkBits, joined);
  joiner.Put(combinedCrc, 32, joined);
  joiner.Finish(joined);
  output.Put(joined.data(), joined.size());
  output.Flush();
}

}  // namespace zelbzip2
