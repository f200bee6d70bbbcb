// The interval coder's containers, with every strategy.

#include "families.h"
#include "zeldc/git.h"

namespace zeldc_digest {

namespace {

// The record has room for 256 streams of the block's size: larger blocks would take more memory than they are worth.
constexpr size_t kLargest = 131073;

constexpr int32_t kStrategies[] = {0, zelGITMoveLeft, zelGITMoveRight, zelGITStatic, 4, -1};

void Encode(Run& run, const Memory<uint8_t>& source, int32_t most, int32_t strategy, zelGITEncodeState* state) {
  const Memory<uint8_t> room(run.conditions, static_cast<size_t>(most));
  int32_t count = -1;
  if (run.Status(zelsEncodeGIT_8u(source.data(), static_cast<int32_t>(source.size()), room.data(), &count, strategy,
                                  state)) == zelOk) {
    run.digest.Bytes(room.data(), static_cast<size_t>(count));
  }
}

}  // namespace

void DigestIntervals(Run& run) {
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    if (data->size() > kLargest) continue;
    const Memory<uint8_t> source(run.conditions, *data);
    const int32_t source_size = static_cast<int32_t>(data->size());
    const int32_t most_source = std::max(source_size, 1), most = std::max(most_source + most_source / 8 + 4096, 8192);
    int32_t size = 0;
    run.Status(zelsEncodeGITGetSize_8u(most_source, most, &size));
    run.digest.Int(size);
    if (++number % 4 == 0) {
      zelGITEncodeState* allocated = nullptr;
      run.Status(zelsEncodeGITInitAlloc_8u(most_source, most, &allocated));
      for (const int32_t strategy : kStrategies) Encode(run, source, most, strategy, allocated);
      run.Status(zelsGITFree_8u(allocated));
      continue;
    }
    const Record<zelGITEncodeState> record(run.conditions, size);
    run.Status(zelsEncodeGITInit_8u(most_source, most, record.get()));
    for (const int32_t strategy : kStrategies) Encode(run, source, most, strategy, record.get());
    // A record for containers that random data does not fit into.
    if (source_size <= 4096) continue;
    run.Status(zelsEncodeGITInit_8u(most_source, most_source, record.get()));
    Encode(run, source, most, zelGITMoveLeft, record.get());
  }
}

}  // namespace zeldc_digest
