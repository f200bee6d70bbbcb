#include "bzip2/huffman_calls.h"

#include <string.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "gtest/gtest.h"

namespace zeldc_test {

std::vector<uint32_t> Block::Frequencies() const {
  std::vector<uint32_t> frequencies(static_cast<size_t>(alpha_size), 0);
  for (uint16_t symbol : symbols) ++frequencies[symbol];
  return frequencies;
}

namespace {

// Of the symbols below the end of the block.
uint16_t RandomSymbol(int alpha_size, unsigned skew, Random& random) {
  size_t symbol = static_cast<size_t>(alpha_size) - 2;
  for (unsigned i = 0; i <= skew; ++i) symbol = Uniform(random, 0, symbol);
  return static_cast<uint16_t>(symbol);
}

void End(Block* block) { block->symbols.push_back(static_cast<uint16_t>(block->alpha_size - 1)); }

}  // namespace

Block RandomBlock(int alpha_size, size_t count, unsigned skew, uint64_t seed) {
  Random random(seed);
  Block block;
  block.name = std::to_string(alpha_size) + " symbols, " + std::to_string(count) + " long, skew " +
               std::to_string(skew) + ", seed " + std::to_string(seed);
  block.alpha_size = alpha_size;
  while (alpha_size > 1 && block.symbols.size() + 1 < count) {
    block.symbols.push_back(RandomSymbol(alpha_size, skew, random));
  }
  End(&block);
  return block;
}

Block ChangingBlock(int alpha_size, size_t count, uint64_t seed) {
  Random random(seed);
  Block block;
  block.name = std::to_string(alpha_size) + " symbols, " + std::to_string(count) + " long, changing, seed " +
               std::to_string(seed);
  block.alpha_size = alpha_size;
  const size_t most = static_cast<size_t>(alpha_size) - 2;
  while (block.symbols.size() + 1 < count) {
    const unsigned skew = static_cast<unsigned>(Uniform(random, 0, 4));
    const size_t shift = Uniform(random, 0, most);
    for (size_t left = Uniform(random, 1, 400); left > 0 && block.symbols.size() + 1 < count; --left) {
      block.symbols.push_back(static_cast<uint16_t>((RandomSymbol(alpha_size, skew, random) + shift) % (most + 1)));
    }
  }
  End(&block);
  return block;
}

Block DoublingBlock(int symbols, int alpha_size) {
  Symbols sorted;
  for (int v = 0; v < symbols; ++v) sorted.insert(sorted.end(), size_t{1} << v, static_cast<uint16_t>(v));
  Block block;
  block.name = std::to_string(symbols) + " symbols of doubling frequency, of " + std::to_string(alpha_size);
  block.alpha_size = alpha_size;
  constexpr uint64_t kStride = 49999;  // has no divisor in common with the sizes
  for (uint64_t i = 0; i < sorted.size(); ++i)
    block.symbols.push_back(sorted[static_cast<size_t>(i * kStride % sorted.size())]);
  End(&block);
  return block;
}

std::vector<Block> AllBlocks() {
  std::vector<Block> blocks;
  blocks.push_back(RandomBlock(1, 1, 0, 1));
  for (int alpha_size : {2, 3, 9, 10, 11, 100, 257, 258}) {
    for (unsigned skew : {0u, 2u, 6u}) blocks.push_back(RandomBlock(alpha_size, 3000, skew, 2));
  }
  for (size_t count : {1, 2, 49, 50, 51, 99, 100, 101, 199, 200, 599, 600, 1199, 1200, 2399, 2400, 2401, 20001}) {
    blocks.push_back(RandomBlock(60, count, 3, 3));
  }
  blocks.push_back(ChangingBlock(258, 40000, 4));
  blocks.push_back(ChangingBlock(40, 9999, 5));
  blocks.push_back(DoublingBlock(12, 13));
  blocks.push_back(DoublingBlock(16, 258));
  Block same = {"one symbol all along", 5, Symbols(5000, 3)};
  same.symbols.push_back(4);
  blocks.push_back(same);
  return blocks;
}

RecordMemory::RecordMemory(int32_t size, uint8_t fill) : size_(static_cast<size_t>(size)) {
  memory_ = std::make_unique<GuardedBuffer>((size_ + 3) / 4 * 4);
  memset(memory_->data(), fill, memory_->size());
  memset(memory_->data() + size_, 0x5A, memory_->size() - size_);
}

RecordMemory::RecordMemory(RecordMemory&& from) : RecordMemory(static_cast<int32_t>(from.size_)) {
  memcpy(memory_->data(), from.memory_->data(), size_);
  memset(from.memory_->data(), 0xC3, size_);
  from.memory_.reset();
}

bool RecordMemory::IsTailIntact() const {
  return std::all_of(memory_->data() + size_, memory_->end(), [](uint8_t byte) { return byte == 0x5A; });
}

int32_t EncodeRecord::Size(int32_t max_symbols) {
  int32_t size = 0;
  if (zelsEncodeHuffGetSize_BZ2_16u8u(max_symbols, &size) != zelOk) throw std::runtime_error("no size");
  return size;
}

int32_t DecodeRecord::Size(int32_t max_symbols) {
  int32_t size = 0;
  if (zelsDecodeHuffGetSize_BZ2_8u16u(max_symbols, &size) != zelOk) throw std::runtime_error("no size");
  return size;
}

namespace {

// A copy of the symbols that ends at a guard page.
class GuardedSymbols {
 public:
  explicit GuardedSymbols(const Symbols& symbols) : memory_(symbols.size() * 2), size_(symbols.size()) {
    if (size_ > 0) memcpy(memory_.data(), symbols.data(), memory_.size());
    memory_.MakeReadOnly();
  }
  const uint16_t* data() const { return reinterpret_cast<const uint16_t*>(memory_.data()); }
  int32_t size() const { return static_cast<int32_t>(size_); }

 private:
  GuardedBuffer memory_;
  size_t size_;
};

}  // namespace

zelStatus InitEncoder(const Block& block, zelBZ2HuffEncodeState* record) {
  const GuardedSymbols source(block.symbols);
  return zelsEncodeHuffInit_BZ2_16u8u(block.alpha_size, block.Frequencies().data(), source.data(), source.size(),
                                      record);
}

WriteResult Pack(zelBZ2HuffEncodeState* record, size_t room, uint32_t code, int32_t code_bits) {
  const GuardedBuffer dst(room);
  WriteResult result;
  result.code = code;
  result.code_bits = code_bits;
  int32_t len = static_cast<int32_t>(room);
  result.status = zelsPackHuffContext_BZ2_16u8u(&result.code, &result.code_bits, dst.data(), &len, record);
  result.bytes.assign(dst.data(), dst.data() + len);
  return result;
}

WriteResult EncodeSymbols(zelBZ2HuffEncodeState* record, const Symbols& symbols, size_t room, uint32_t code,
                          int32_t code_bits) {
  const GuardedSymbols source(symbols);
  const GuardedBuffer dst(room);
  WriteResult result;
  result.code = code;
  result.code_bits = code_bits;
  const uint16_t* src = source.data();
  int32_t src_len = source.size(), len = static_cast<int32_t>(room);
  result.status = zelsEncodeHuff_BZ2_16u8u(&result.code, &result.code_bits, &src, &src_len, dst.data(), &len, record);
  if (result.status >= 0) {
    EXPECT_EQ(src, source.data() + source.size());
    EXPECT_EQ(src_len, 0);
  }
  result.bytes.assign(dst.data(), dst.data() + len);
  return result;
}

BitString Encode(const Block& block) {
  const EncodeRecord record(static_cast<int32_t>(block.symbols.size()));
  EXPECT_EQ(InitEncoder(block, record.get()), zelOk);
  const WriteResult packed = Pack(record.get(), 100000);
  EXPECT_EQ(packed.status, zelOk);
  const WriteResult coded =
      EncodeSymbols(record.get(), block.symbols, 3 * block.symbols.size() + 8, packed.code, packed.code_bits);
  EXPECT_EQ(coded.status, zelOk);
  BitString all = BitsOf(packed.bytes.data(), packed.bytes.size());
  return all.Put(BitsOf(coded.bytes.data(), coded.bytes.size(), coded.code, coded.code_bits).bits);
}

CallResult Unpack(zelBZ2HuffDecodeState* record, uint32_t code, int32_t code_bits, const Bytes& source) {
  const GuardedBuffer memory(source);
  CallResult result;
  result.code = code;
  result.code_bits = code_bits;
  const uint8_t* src = memory.data();
  int32_t src_len = static_cast<int32_t>(source.size());
  result.status = zelsUnpackHuffContext_BZ2_8u16u(&result.code, &result.code_bits, &src, &src_len, record);
  result.consumed = static_cast<size_t>(src - memory.data());
  EXPECT_EQ(result.consumed + static_cast<size_t>(src_len), source.size());
  return result;
}

CallResult DecodeSymbols(zelBZ2HuffDecodeState* record, uint32_t code, int32_t code_bits, const Bytes& source,
                         size_t room) {
  const GuardedBuffer memory(source);
  const GuardedBuffer dst(room * 2);
  CallResult result;
  result.code = code;
  result.code_bits = code_bits;
  const uint8_t* src = memory.data();
  int32_t src_len = static_cast<int32_t>(source.size()), len = static_cast<int32_t>(room);
  uint16_t* const symbols = reinterpret_cast<uint16_t*>(dst.data());
  result.status = zelsDecodeHuff_BZ2_8u16u(&result.code, &result.code_bits, &src, &src_len, symbols, &len, record);
  result.consumed = static_cast<size_t>(src - memory.data());
  EXPECT_EQ(result.consumed + static_cast<size_t>(src_len), source.size());
  if (result.status >= 0) result.symbols.assign(symbols, symbols + len);
  return result;
}

Decoded DecodeBesideModel(int alpha_size, const Bytes& stream, size_t piece, size_t room, uint64_t seed) {
  const DecodeRecord record(1638350);
  EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(alpha_size, record.get()), zelOk);
  ModelDecoder model(alpha_size);
  Random random(seed);
  Decoded decoded;
  uint32_t code = 0;
  int32_t code_bits = 0;
  size_t at = 0;
  bool unpacked = false;
  for (;;) {
    size_t size = std::min(stream.size() - at, seed != 0 ? Uniform(random, 1, piece) : piece);
    if (unpacked && seed != 0 && random() % 8 == 0) size = 0;
    const Bytes source(stream.begin() + static_cast<ptrdiff_t>(at), stream.begin() + static_cast<ptrdiff_t>(at + size));
    if (!unpacked && source.empty()) {
      decoded.status = zelWarnSrcShort;
      return decoded;
    }
    const CallResult got = unpacked ? DecodeSymbols(record.get(), code, code_bits, source, room)
                                    : Unpack(record.get(), code, code_bits, source);
    const CallResult expected =
        unpacked ? model.Decode(code, code_bits, source, room) : model.Unpack(code, code_bits, source);
    decoded.status = got.status;
    EXPECT_EQ(got.status, expected.status);
    if (got.status == zelErrBadData || testing::Test::HasFailure()) return decoded;
    EXPECT_TRUE(got == expected) << "consumed " << got.consumed << " and " << expected.consumed << ", bits "
                                 << got.code_bits << " and " << expected.code_bits << ", symbols " << got.symbols.size()
                                 << " and " << expected.symbols.size();
    if (testing::Test::HasFailure()) return decoded;
    decoded.symbols.insert(decoded.symbols.end(), got.symbols.begin(), got.symbols.end());
    at += got.consumed;
    code = got.code;
    code_bits = got.code_bits;
    if (unpacked && got.status == zelOk) return decoded;
    if (got.status == zelWarnSrcShort && at == stream.size()) return decoded;
    unpacked |= got.status == zelOk;
  }
}

}  // namespace zeldc_test
