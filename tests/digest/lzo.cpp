// LZO: plain streams, and containers for the number of threads that the run has.

#include "zeldc/lzo.h"

#include "families.h"

namespace zeldc_digest {

namespace {

void Compress(Run& run, const Data& data, zelLZOState* state) {
  const Memory<uint8_t> source(run.conditions, data);
  const Memory<uint8_t> room(run.conditions, data.size() + data.size() / 16 + 67 + 4 * 8 + 1);
  uint32_t count = 0;
  run.Status(zelsEncodeLZO_8u(source.data(), static_cast<uint32_t>(data.size()), room.data(), &count, state));
  run.digest.Bytes(room.data(), count);
}

void CompressAll(Run& run, zelLZOMethod method, uint32_t most) {
  int32_t size = 0;
  run.Status(zelsEncodeLZOGetSize(method, most, &size));
  run.digest.Int(size);
  const Record<zelLZOState> record(run.conditions, size);
  run.Status(zelsEncodeLZOInit_8u(method, most, record.get()));
  // The record goes on from input to input.
  for (const Data* data : AllInputs()) Compress(run, *data, record.get());
}

}  // namespace

void DigestLzo(Run& run) {
  int32_t size = 0;
  run.Status(zelsEncodeLZOGetSize(zelLZOMethodSingle, 0, &size));
  run.digest.Int(size);
  for (const Data* data : AllInputs()) {
    const Record<zelLZOState> fresh(run.conditions, size);
    run.Status(zelsEncodeLZOInit_8u(zelLZOMethodSingle, 0, fresh.get()));
    Compress(run, *data, fresh.get());
  }
  CompressAll(run, zelLZOMethodSingle, 1000);
}

void DigestParallelLzo(Run& run) {
  CompressAll(run, zelLZOMethodParallel, 307200);
  // Inputs that are longer than the record is for become plain streams.
  CompressAll(run, zelLZOMethodParallel, 5000);
}

}  // namespace zeldc_digest
