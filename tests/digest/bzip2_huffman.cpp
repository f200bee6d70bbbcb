// The bzip2 Huffman stage: the descriptions of blocks' codes, which hold all code lengths and selectors, and the
// blocks.

#include "zeldc/bzip2_huffman.h"

#include "families.h"
#include "zeldc/bzip2.h"

namespace zeldc_digest {

namespace {

struct Block {
  std::vector<uint16_t> symbols;
  int32_t alphabet;
  std::vector<uint32_t> frequencies;
};

// Bytes as the symbols of a block with its end; zero bytes become runs.
Block MakeBlock(const Data& data) {
  Block block = {std::vector<uint16_t>(data.size() + 2), 258, std::vector<uint32_t>(258)};
  std::vector<int32_t> counts(257);
  Data bytes = data;
  uint8_t* next = bytes.data();
  int32_t left = static_cast<int32_t>(bytes.size()), room = left + 1;
  if (bytes.empty() || zelsEncodeZ1Z2_BZ2_8u16u(&next, &left, block.symbols.data(), &room, counts.data()) != zelOk) {
    room = 0;
  }
  block.symbols.resize(static_cast<size_t>(room));
  block.symbols.push_back(257);
  for (const uint16_t symbol : block.symbols) ++block.frequencies[symbol];
  return block;
}

// Bits that wait, of which only so many mean something.
void DigestBits(Run& run, uint32_t code, int32_t count) {
  run.digest.Int(count);
  const int32_t held = std::min(count, 32);
  run.digest.Number(held <= 0 ? 0 : code >> (32 - held));
}

void Write(Run& run, const Memory<uint16_t>& symbols, size_t room_size, zelBZ2HuffEncodeState* state) {
  uint32_t code = 0xA5C00000;
  int32_t code_bits = 10;
  const Memory<uint8_t> room(run.conditions, room_size);
  int32_t count = static_cast<int32_t>(room_size);
  run.Status(zelsPackHuffContext_BZ2_16u8u(&code, &code_bits, room.data(), &count, state));
  run.digest.Bytes(room.data(), static_cast<size_t>(count));
  DigestBits(run, code, code_bits);
  const uint16_t* next = symbols.data();
  int32_t left = static_cast<int32_t>(symbols.size());
  count = static_cast<int32_t>(room_size);
  run.Status(zelsEncodeHuff_BZ2_16u8u(&code, &code_bits, &next, &left, room.data(), &count, state));
  run.digest.Int(left);
  run.digest.Bytes(room.data(), static_cast<size_t>(count));
  DigestBits(run, code, code_bits);
}

void DigestBlock(Run& run, const Block& block) {
  const Memory<uint16_t> symbols(run.conditions, block.symbols);
  const Memory<uint32_t> frequencies(run.conditions, block.frequencies);
  const int32_t count = static_cast<int32_t>(symbols.size());
  // Always enough; and so little that bits are lost, with another block than the smallest.
  const size_t rooms[] = {2 * symbols.size() + symbols.size() / 50 + 8000, 20};
  int32_t size = 0;
  run.Status(zelsEncodeHuffGetSize_BZ2_16u8u(count, &size));
  run.digest.Int(size);
  const Record<zelBZ2HuffEncodeState> record(run.conditions, size);
  if (run.Status(zelsEncodeHuffInit_BZ2_16u8u(block.alphabet, frequencies.data(), symbols.data(), count,
                                              record.get())) == zelOk) {
    for (const size_t room : rooms) Write(run, symbols, room, record.get());
  }
  zelBZ2HuffEncodeState* allocated = nullptr;
  if (run.Status(zelsEncodeHuffInitAlloc_BZ2_16u8u(count, block.alphabet, frequencies.data(), symbols.data(), count,
                                                   &allocated)) == zelOk) {
    Write(run, symbols, rooms[0], allocated);
  }
  run.Status(zelsEncodeHuffFree_BZ2_16u8u(allocated));
}

}  // namespace

void DigestBzip2Huffman(Run& run) {
  for (const Data* data : AllInputs()) DigestBlock(run, MakeBlock(*data));
  // Small alphabets, sizes on both sides of each step in the number of tables, and frequencies that are not the
  // block's.
  for (const int32_t size : {1, 49, 50, 51, 199, 200, 599, 600, 1199, 1200, 2399, 2400, 5000}) {
    for (const int32_t alphabet : {1, 2, 3, 6, 40, 257}) {
      Numbers numbers(static_cast<uint64_t>(size * 300 + alphabet));
      Block block = {{}, alphabet, std::vector<uint32_t>(static_cast<size_t>(alphabet))};
      for (int32_t i = 0; i < size; ++i) {
        const uint32_t limit = 1 + numbers.Below(static_cast<uint32_t>(alphabet));
        block.symbols.push_back(static_cast<uint16_t>(numbers.Below(limit)));
        ++block.frequencies[block.symbols.back()];
      }
      DigestBlock(run, block);
      for (uint32_t& frequency : block.frequencies) frequency = numbers.Below(1 + 2 * frequency);
      DigestBlock(run, block);
    }
  }
}

}  // namespace zeldc_digest
