// The forward Burrows-Wheeler transform in both variants.

#include "families.h"
#include "zeldc/bwt.h"

namespace zeldc_digest {

namespace {

void Transform(Run& run, const Data& data, zelStatus (*get_size)(int32_t, int32_t*),
               zelStatus (*transform)(const uint8_t*, uint8_t*, int32_t, int32_t*, uint8_t*)) {
  const int32_t size = static_cast<int32_t>(data.size());
  int32_t buffer_size = 0;
  if (run.Status(get_size(size, &buffer_size)) != zelOk) return;
  run.digest.Int(buffer_size);
  const Memory<uint8_t> source(run.conditions, data);
  const Memory<uint8_t> column(run.conditions, data.size());
  const Memory<uint8_t> buffer(run.conditions, static_cast<size_t>(buffer_size));
  int32_t index = -1;
  run.Status(transform(source.data(), column.data(), size, &index, buffer.data()));
  run.digest.Int(index);
  run.digest.Bytes(column.data(), column.size());
}

}  // namespace

void DigestBurrowsWheeler(Run& run) {
  for (const Data* data : AllInputs()) {
    Transform(run, *data, zelsBWTFwdGetSize_8u, zelsBWTFwd_8u);
    Transform(run, *data, zelsBWTGetSize_SmallBlock_8u, zelsBWTFwd_SmallBlock_8u);
  }
  // Blocks that hold one period several times over, and the blocks just beside them.
  for (size_t period = 1; period < 40; ++period) {
    const Data once = Make(Kind::kRandom, period, period);
    Data block;
    while (block.size() < 700) block.insert(block.end(), once.begin(), once.end());
    Transform(run, block, zelsBWTFwdGetSize_8u, zelsBWTFwd_8u);
    Transform(run, block, zelsBWTGetSize_SmallBlock_8u, zelsBWTFwd_SmallBlock_8u);
    block.push_back(once[0]);
    Transform(run, block, zelsBWTFwdGetSize_8u, zelsBWTFwd_8u);
  }
}

}  // namespace zeldc_digest
