// The Burrows-Wheeler transform of blocks as bzip2 has them, beside libdivsufsort, which sorts the suffixes of a string
// with an end of its own: the same work. The walk of one byte a step is how most decoders of bzip2 streams invert it.

#include <divsufsort.h>

#include <utility>

#include "bench.h"

namespace {

constexpr size_t kBlock = 900000;

// The file's blocks, transformed or not.
struct Blocks {
  explicit Blocks(const Bytes& data) : blocks(CutIntoBlocks(data, kBlock)), indexes(blocks.size()) {}

  std::vector<Bytes> blocks;
  std::vector<int32_t> indexes;
};

int32_t Length(const Bytes& block) { return static_cast<int32_t>(block.size()); }

int32_t Forward(const Bytes& block, Bytes& column, Bytes& buffer) {
  int32_t index = 0;
  Check(zelsBWTFwd_8u(block.data(), column.data(), Length(block), &index, buffer.data()), "zelsBWTFwd_8u");
  return index;
}

void Inverse(const Bytes& column, int32_t index, Bytes& block, Bytes& buffer) {
  Check(zelsBWTInv_8u(column.data(), block.data(), Length(column), index, buffer.data()), "zelsBWTInv_8u");
}

void PlainInverse(const Bytes& column, int32_t index, Bytes& block, Bytes& buffer) {
  uint32_t* const words = reinterpret_cast<uint32_t*>(buffer.data());
  uint32_t next[256] = {};
  const size_t size = column.size();
  for (size_t i = 0; i < size; ++i) ++next[column[i]];
  uint32_t sum = 0;
  for (uint32_t& n : next) sum += std::exchange(n, sum);
  for (size_t i = 0; i < size; ++i) words[next[column[i]]++] = static_cast<uint32_t>(i << 8) | column[i];
  uint32_t row = static_cast<uint32_t>(index);
  for (size_t i = 0; i < size; ++i) {
    const uint32_t word = words[row];
    block[i] = static_cast<uint8_t>(word);
    row = word >> 8;
  }
}

Blocks TransformAll(const Bytes& data) {
  Blocks all(data);
  Bytes buffer(6 * kBlock + 70145), column(kBlock);
  for (size_t i = 0; i < all.blocks.size(); ++i) {
    all.indexes[i] = Forward(all.blocks[i], column, buffer);
    std::copy_n(column.begin(), all.blocks[i].size(), all.blocks[i].begin());
  }
  return all;
}

}  // namespace

void RegisterBwt(Sample& sample) {
  const Bytes& data = sample.data();
  Register(Name("bwt", "forward", "zeldc", sample.name()), data.size(), [&data]() -> Task {
    const Blocks all(data), columns = TransformAll(data);
    Bytes back(kBlock), buffer(6 * kBlock + 70145);
    for (size_t i = 0; i < all.blocks.size(); ++i) {
      PlainInverse(columns.blocks[i], columns.indexes[i], back, buffer);
      if (!std::equal(all.blocks[i].begin(), all.blocks[i].end(), back.begin())) Fail("a block does not come back");
    }
    return {[all, column = Bytes(kBlock), buffer]() mutable {
      for (const Bytes& block : all.blocks) Forward(block, column, buffer);
    }};
  });
  Register(Name("bwt", "forward", "libdivsufsort", sample.name()), data.size(), [&data]() -> Task {
    return {[all = Blocks(data), column = Bytes(kBlock), order = std::vector<saidx_t>(kBlock + 1)]() mutable {
      for (const Bytes& block : all.blocks) {
        if (divbwt(block.data(), column.data(), order.data(), Length(block)) < 0) Fail("divbwt");
      }
    }};
  });

  auto registerInverse = [&](const char* coder, auto inverse) {
    Register(Name("bwt", "inverse", coder, sample.name()), data.size(), [&data, inverse]() -> Task {
      return {
          [columns = TransformAll(data), block = Bytes(kBlock), buffer = Bytes(4 * kBlock + 1024), inverse]() mutable {
            for (size_t i = 0; i < columns.blocks.size(); ++i) {
              inverse(columns.blocks[i], columns.indexes[i], block, buffer);
            }
          }};
    });
  };
  registerInverse("zeldc", Inverse);
  registerInverse("one-byte-a-step", PlainInverse);
  Register(Name("bwt", "inverse", "libdivsufsort", sample.name()), data.size(), [&data]() -> Task {
    Blocks all(data);
    std::vector<saidx_t> order(kBlock + 1);
    for (size_t i = 0; i < all.blocks.size(); ++i) {
      Bytes& block = all.blocks[i];
      all.indexes[i] = divbwt(block.data(), block.data(), order.data(), Length(block));
    }
    return {[all, block = Bytes(kBlock), order]() mutable {
      for (size_t i = 0; i < all.blocks.size(); ++i) {
        if (inverse_bw_transform(all.blocks[i].data(), block.data(), order.data(), Length(all.blocks[i]),
                                 all.indexes[i]) < 0) {
          Fail("inverse_bw_transform");
        }
      }
    }};
  });
}
