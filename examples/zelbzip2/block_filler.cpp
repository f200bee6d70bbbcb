#include "zelbzip2/block_filler.h"

#include <utility>

namespace zelbzip2 {

namespace {

// What the format's encoders leave free in a block; some decoders may count on it.
constexpr int32_t kUnusedBytes = 19;

}  // namespace

BlockFiller::BlockFiller(int level) : capacity_(Capacity(level)) { Begin(); }

int32_t BlockFiller::Capacity(int level) { return BlockBytes(level) - kUnusedBytes; }

bool BlockFiller::Add(const uint8_t*& next, int32_t& left) {
  // One byte stays free for the count of a run that ends the block.
  const size_t filled = block_.data.size();
  const int32_t room = capacity_ - 1 - static_cast<int32_t>(filled);
  if (room == 0 || left == 0) return room == 0;
  block_.data.resize(static_cast<size_t>(capacity_));
  const uint8_t* const begin = next;
  uint8_t* from = const_cast<uint8_t*>(begin);  // which is only read
  int32_t written = room;
  const zelStatus status = zelsEncodeRLE_BZ2_8u(&from, &left, block_.data.data() + filled, &written, &runs_);
  if (status != zelWarnDstFull) Expect(status, "zelsEncodeRLE_BZ2_8u");
  block_.data.resize(filled + static_cast<size_t>(written));
  next = from;
  if (next > begin) {
    Expect(zelsCRC32_BZ2_8u(begin, static_cast<int32_t>(next - begin), &block_.crc), "zelsCRC32_BZ2_8u");
  }
  return written == room;
}

Block BlockFiller::Finish() {
  uint8_t count;
  int32_t written = 1;
  Expect(zelsEncodeRLEFlush_BZ2_8u(&count, &written, &runs_), "zelsEncodeRLEFlush_BZ2_8u");
  if (written == 1) block_.data.push_back(count);
  Expect(zelsRLEGetInUseTable_8u(block_.inUse.data(), &runs_), "zelsRLEGetInUseTable_8u");
  Block block = std::move(block_);
  Begin();
  return block;
}

void BlockFiller::Begin() {
  block_ = Block();
  block_.data.reserve(static_cast<size_t>(capacity_));
  Expect(zelsEncodeRLEInit_BZ2_8u(&runs_), "zelsEncodeRLEInit_BZ2_8u");
}

}  // namespace zelbzip2
