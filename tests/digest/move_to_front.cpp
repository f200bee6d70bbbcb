// Move-to-front and the coding of zero runs behind it.

#include "families.h"
#include "zeldc/bzip2.h"

namespace zeldc_digest {

namespace {

Data Ranks(Run& run, const Data& data, zelMTFState* state, uint32_t split) {
  const Memory<uint8_t> source(run.conditions, data);
  const Memory<uint8_t> ranks(run.conditions, data.size());
  Split pieces(split);
  for (size_t done = 0; done < data.size();) {
    const size_t piece = pieces.Next(data.size() - done);
    // Every other split works in place.
    const uint8_t* from = source.data() + done;
    if (split % 2 == 1) {
      std::copy_n(from, piece, ranks.data() + done);
      from = ranks.data() + done;
    }
    run.Status(zelsMTFFwd_8u(from, ranks.data() + done, static_cast<int32_t>(piece), state));
    done += piece;
  }
  run.digest.Bytes(ranks.data(), ranks.size());
  run.digest.Bytes(state->table, sizeof(state->table));
  return Data(ranks.data(), ranks.data() + ranks.size());
}

void ZeroRuns(Run& run, const Data& ranks, uint32_t split) {
  const Memory<uint8_t> source(run.conditions, ranks);
  const Memory<int32_t> frequencies(run.conditions, std::vector<int32_t>(257));
  Split pieces(split), rooms(split / Split::kWays);
  for (size_t done = 0; done < ranks.size();) {
    const size_t piece = pieces.Next(ranks.size() - done);
    uint8_t* next = source.data() + done;
    int32_t left = static_cast<int32_t>(piece);
    while (left > 0) {
      const size_t room = rooms.Next(static_cast<size_t>(left) + 1);
      const Memory<uint16_t> symbols(run.conditions, room + 1);
      int32_t count = static_cast<int32_t>(room);
      run.Status(zelsEncodeZ1Z2_BZ2_8u16u(&next, &left, symbols.data(), &count, frequencies.data()));
      run.digest.Int(left);
      run.digest.Shorts(symbols.data(), static_cast<size_t>(count));
    }
    done += piece;
  }
  run.digest.Ints(frequencies.data(), frequencies.size());
}

}  // namespace

void DigestMoveToFront(Run& run) {
  int32_t size = 0;
  run.Status(zelsMTFGetSize_8u(&size));
  run.digest.Int(size);
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    const Memory<uint8_t> state_bytes(run.conditions, static_cast<size_t>(size));
    zelMTFState* const state = reinterpret_cast<zelMTFState*>(state_bytes.data());
    for (const uint32_t split : {0u, ++number}) {
      run.Status(zelsMTFInit_8u(state));
      const Data ranks = Ranks(run, *data, state, split);
      ZeroRuns(run, ranks, split);
      ZeroRuns(run, ranks, split * 5);
    }
    zelMTFState* allocated = nullptr;
    run.Status(zelsMTFInitAlloc_8u(&allocated));
    Ranks(run, *data, allocated, number * 3);
    run.Status(zelsMTFFree_8u(allocated));
  }
}

}  // namespace zeldc_digest
