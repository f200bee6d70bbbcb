// The Burrows-Wheeler transform: blocks come back from both variants, which agree, and the inverse of any column stays
// in its buffers and follows the links.

#include <string.h>

#include <algorithm>
#include <vector>

#include "fuzz_support.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using zeldc_fuzz::Bytes;
using zeldc_fuzz::Check;
using zeldc_fuzz::Input;
using zeldc_test::GuardedBuffer;

namespace {

constexpr size_t kSmallBlock = 32768;

// Some bytes of the input, repeated with changes: what makes sorting hard.
Bytes ReadBlock(Input& input) {
  const size_t repeats = 1 + input.Byte() % 64;
  const size_t changes = input.Byte() % 4;
  std::vector<uint16_t> places;
  for (size_t i = 0; i < changes; ++i) places.push_back(input.Word());
  const Bytes piece = input.Rest();
  Bytes block;
  for (size_t i = 0; i < repeats && block.size() < 3 * kSmallBlock; ++i) {
    block.insert(block.end(), piece.begin(), piece.end());
  }
  for (const uint16_t place : places) {
    if (!block.empty()) block[place % block.size()] ^= 1;
  }
  return block;
}

Bytes Inverse(const Bytes& column, int32_t index, bool small) {
  const GuardedBuffer block(column.size()), buffer(column.size() * 4 + (small ? 2080 : 1024));
  const auto inverse = small ? zelsBWTInv_SmallBlock_8u : zelsBWTInv_8u;
  Check(inverse(column.data(), block.data(), static_cast<int32_t>(column.size()), index, buffer.data()) == zelOk,
        "inverse");
  return block.ToBytes();
}

void CheckLinks(const Bytes& column, size_t row) {
  std::vector<uint32_t> links(column.size());
  uint32_t next[257] = {};
  for (const uint8_t c : column) ++next[c + 1];
  for (int c = 0; c < 256; ++c) next[c + 1] += next[c];
  for (size_t i = 0; i < column.size(); ++i) links[next[column[i]]++] = static_cast<uint32_t>(i);
  const Bytes block = Inverse(column, static_cast<int32_t>(row), false);
  for (const uint8_t byte : block) {
    row = links[row];
    Check(byte == column[row], "the inverse leaves its links");
  }
  if (column.size() <= kSmallBlock) {
    Check(Inverse(column, static_cast<int32_t>(row), true).size() == column.size(), "size");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint16_t row = input.Word();
  const Bytes block = ReadBlock(input);
  if (block.size() < 2) return 0;
  CheckLinks(block, row % block.size());

  const int32_t length = static_cast<int32_t>(block.size());
  const GuardedBuffer column(block.size()), buffer(6 * block.size() + 70145);
  int32_t index = -1;
  Check(zelsBWTFwd_8u(block.data(), column.data(), length, &index, buffer.data()) == zelOk, "forward");
  Check(Inverse(column.ToBytes(), index, false) == block, "the block does not come back");
  if (block.size() > kSmallBlock) return 0;
  const GuardedBuffer small(block.size()), smallBuffer(4 * block.size() + 2080);
  Check(zelsBWTFwd_SmallBlock_8u(block.data(), small.data(), length, &index, smallBuffer.data()) == zelOk, "small");
  Check(small.ToBytes() == column.ToBytes(), "the variants differ");
  Check(Inverse(small.ToBytes(), index, true) == block, "the block does not come back from the small variant");
  return 0;
}
