// Both run-length coders, with every split of source and room.

#include "families.h"
#include "zeldc/bzip2.h"

namespace zeldc_digest {

namespace {

void DigestState(Run& run, zelRLEState_BZ2* state, const Memory<uint8_t>& state_bytes) {
  const Memory<uint8_t> in_use(run.conditions, 256);
  run.Status(zelsRLEGetInUseTable_8u(in_use.data(), state));
  run.digest.Bytes(in_use.data(), in_use.size());
  // The state's fields, copied from an address that may be odd.
  const zelRLEState_BZ2 copy = [&] {
    zelRLEState_BZ2 fields;
    std::copy_n(state_bytes.data(), sizeof(fields), reinterpret_cast<uint8_t*>(&fields));
    return fields;
  }();
  run.digest.Bytes(copy.inUse, sizeof(copy.inUse));
  run.digest.Int(copy.lastByte);
  run.digest.Int(copy.runLen);
}

void Bzip2RunLength(Run& run, const Memory<uint8_t>& source, zelRLEState_BZ2* state, uint32_t split) {
  Split pieces(split), rooms(split / Split::kWays);
  for (size_t done = 0; done < source.size();) {
    const size_t piece = pieces.Next(source.size() - done);
    uint8_t* next = source.data() + done;
    int32_t left = static_cast<int32_t>(piece);
    while (left > 0) {
      const Memory<uint8_t> room(run.conditions, rooms.Next(static_cast<size_t>(left) * 5 / 4 + 2));
      int32_t count = static_cast<int32_t>(room.size());
      run.Status(zelsEncodeRLE_BZ2_8u(&next, &left, room.data(), &count, state));
      run.digest.Int(left);
      run.digest.Bytes(room.data(), static_cast<size_t>(count));
    }
    done += piece;
  }
  const Memory<uint8_t> last(run.conditions, 1);
  int32_t count = 1;
  run.Status(zelsEncodeRLEFlush_BZ2_8u(last.data(), &count, state));
  run.digest.Bytes(last.data(), static_cast<size_t>(count));
}

// A room of less than 3 bytes may never be enough, and a call with it gets nowhere.
void PlainRunLength(Run& run, const Memory<uint8_t>& source, uint32_t split) {
  Split rooms(split);
  uint8_t* next = source.data();
  int32_t left = static_cast<int32_t>(source.size());
  do {
    const size_t most = static_cast<size_t>(left) * 3 / 2 + 3;
    const Memory<uint8_t> room(run.conditions, std::max<size_t>(3, rooms.Next(most)));
    int32_t count = static_cast<int32_t>(room.size());
    if (run.Status(zelsEncodeRLE_8u(&next, &left, room.data(), &count)) < zelOk) break;
    run.digest.Int(left);
    run.digest.Bytes(room.data(), static_cast<size_t>(count));
  } while (left > 0);
}

}  // namespace

void DigestRunLength(Run& run) {
  int32_t size = 0;
  run.Status(zelsRLEGetSize_BZ2_8u(&size));
  run.digest.Int(size);
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    const Memory<uint8_t> source(run.conditions, *data);
    const Memory<uint8_t> state_bytes(run.conditions, static_cast<size_t>(size));
    zelRLEState_BZ2* const state = reinterpret_cast<zelRLEState_BZ2*>(state_bytes.data());
    for (const uint32_t split : {0u, ++number}) {
      run.Status(zelsEncodeRLEInit_BZ2_8u(state));
      Bzip2RunLength(run, source, state, split);
      DigestState(run, state, state_bytes);
      PlainRunLength(run, source, split);
    }
    zelRLEState_BZ2* allocated = nullptr;
    run.Status(zelsEncodeRLEInitAlloc_BZ2_8u(&allocated));
    Bzip2RunLength(run, source, allocated, number * 5);
    run.digest.Int(allocated->runLen);
    run.Status(zelsRLEFree_BZ2_8u(allocated));
  }
}

}  // namespace zeldc_digest
