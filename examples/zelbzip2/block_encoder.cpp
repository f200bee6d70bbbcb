#include "zelbzip2/block_encoder.h"

#include <algorithm>

namespace zelbzip2 {

namespace {

// The zero-run coder writes one symbol past its room, and is faster while there is plenty.
constexpr int32_t kSlackSymbols = 32;

constexpr int32_t kLongestCode = 17;

// The block's header, its tables and its selectors, generously.
constexpr int32_t kDescriptionBytes = 64 << 10;

// Bits from the most significant on, the last of them in the form that the library's writers go on from.
class BitWriter {
 public:
  explicit BitWriter(uint8_t* to) : next(to) {}

  // At most 24 bits.
  void Put(uint32_t value, int32_t bits) {
    pending |= value << (32 - pendingBits - bits);
    pendingBits += bits;
    for (; pendingBits >= 8; pendingBits -= 8, pending <<= 8) *next++ = static_cast<uint8_t>(pending >> 24);
  }

  uint8_t* next;
  uint32_t pending = 0;  // left-aligned
  int32_t pendingBits = 0;
};

// Sixteen bits for the groups of sixteen bytes that have any in use, then sixteen for each of those.
void PutInUse(const std::array<uint8_t, 256>& inUse, BitWriter& writer) {
  uint32_t groups = 0;
  uint32_t members[16] = {};
  for (size_t value = 0; value < 256; ++value) {
    if (!inUse[value]) continue;
    members[value / 16] |= 0x8000u >> value % 16;
    groups |= 0x8000u >> value / 16;
  }
  writer.Put(groups, 16);
  for (const uint32_t bits : members) {
    if (bits != 0) writer.Put(bits, 16);
  }
}

}  // namespace

BlockEncoder::BlockEncoder(int32_t capacity)
    : symbolsCapacity_(capacity + kSlackSymbols),
      codedCapacity_(kDescriptionBytes + (capacity + 1) / 8 * kLongestCode + kLongestCode) {
  int32_t sortBytes = 0;
  int32_t codeBytes = 0;
  Expect(zelsBWTFwdGetSize_8u(capacity, &sortBytes), "zelsBWTFwdGetSize_8u");
  Expect(zelsEncodeHuffGetSize_BZ2_16u8u(capacity + 1, &codeBytes), "zelsEncodeHuffGetSize_BZ2_16u8u");
  sortMemory_ = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(sortBytes));
  column_ = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(capacity));
  symbols_ = std::make_unique_for_overwrite<uint16_t[]>(static_cast<size_t>(symbolsCapacity_) + 1);
  codeMemory_ = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(codeBytes));
  coded_ = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(codedCapacity_));
}

void BlockEncoder::Do(Block& block) {
  const int32_t size = static_cast<int32_t>(block.data.size());
  const int32_t origin = Transform(block);

  // The ranks are those of an alphabet without the bytes that do not occur.
  int32_t used = 0;
  Expect(zelsReduceDictionary_8u_I(block.inUse.data(), column_.get(), size, &used), "zelsReduceDictionary_8u_I");
  zelMTFState ranks;
  Expect(zelsMTFInit_8u(&ranks), "zelsMTFInit_8u");
  Expect(zelsMTFFwd_8u(column_.get(), column_.get(), size, &ranks), "zelsMTFFwd_8u");

  // Two symbols code the runs of rank 0, one ends the block.
  const int32_t alphabet = used + 2;
  CountSymbols(size, alphabet - 1);
  Write(origin, alphabet, block);
}

int32_t BlockEncoder::Transform(const Block& block) {
  int32_t origin = 0;
  Expect(zelsBWTFwd_8u(block.data.data(), column_.get(), static_cast<int32_t>(block.data.size()), &origin,
                       sortMemory_.get()),
         "zelsBWTFwd_8u");
  return origin;
}

void BlockEncoder::CountSymbols(int32_t size, int32_t endOfBlock) {
  frequencies_.fill(0);
  uint8_t* from = column_.get();
  symbolCount_ = symbolsCapacity_;
  Expect(zelsEncodeZ1Z2_BZ2_8u16u(&from, &size, symbols_.get(), &symbolCount_, frequencies_.data()),
         "zelsEncodeZ1Z2_BZ2_8u16u");
  symbols_[static_cast<size_t>(symbolCount_++)] = static_cast<uint16_t>(endOfBlock);
  frequencies_[static_cast<size_t>(endOfBlock)] = 1;
}

void BlockEncoder::Write(int32_t origin, int32_t alphabet, Block& block) {
  uint32_t frequencies[kLargestAlphabet];
  std::copy(frequencies_.begin(), frequencies_.end(), frequencies);
  auto* const codes = reinterpret_cast<zelBZ2HuffEncodeState*>(codeMemory_.get());
  Expect(zelsEncodeHuffInit_BZ2_16u8u(alphabet, frequencies, symbols_.get(), symbolCount_, codes),
         "zelsEncodeHuffInit_BZ2_16u8u");

  BitWriter writer(coded_.get());
  writer.Put(kBlockMark >> 24, 24);
  writer.Put(kBlockMark & 0xFFFFFF, 24);
  writer.Put(block.crc >> 16, 16);
  writer.Put(block.crc & 0xFFFF, 16);
  writer.Put(0, 1);  // not randomised
  writer.Put(static_cast<uint32_t>(origin), 24);
  PutInUse(block.inUse, writer);

  const auto room = [&] { return codedCapacity_ - static_cast<int32_t>(writer.next - coded_.get()); };
  int32_t written = room();
  Expect(zelsPackHuffContext_BZ2_16u8u(&writer.pending, &writer.pendingBits, writer.next, &written, codes),
         "zelsPackHuffContext_BZ2_16u8u");
  writer.next += written;

  const uint16_t* from = symbols_.get();
  written = room();
  Expect(zelsEncodeHuff_BZ2_16u8u(&writer.pending, &writer.pendingBits, &from, &symbolCount_, writer.next, &written,
                                  codes),
         "zelsEncodeHuff_BZ2_16u8u");
  writer.next += written;

  block.bits = static_cast<uint64_t>(writer.next - coded_.get()) * 8 + static_cast<uint64_t>(writer.pendingBits);
  for (; writer.pendingBits > 0; writer.pendingBits -= 8, writer.pending <<= 8) {
    *writer.next++ = static_cast<uint8_t>(writer.pending >> 24);
  }
  block.coded.assign(coded_.get(), writer.next);
}

}  // namespace zelbzip2
