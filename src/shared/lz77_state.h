// The head that the records of the Deflate encoder and decoder share: the pairs array and the status word.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "shared/unaligned.h"
#include "zeldc/lz77.h"

namespace zeldc {

// 64 bits in a record that may stand at any multiple of 4.
struct Wide {
  uint32_t words[2];

  uint64_t Get() const { return LoadNative<uint64_t>(words); }
  void Set(uint64_t v) { StoreNative(words, v); }
};

}  // namespace zeldc

struct zelLZ77State {
  zeldc::Wide callerPairs;  // address of the array that SetPairs gave, 0 while the record's own is in use
  int32_t pairsPos;
  int32_t pairsLen;
  int32_t deflateStatus;
  int32_t checksumKind;  // encoder: zelLZ77ChecksumKind; decoder: Init's mode

  // Encoder and decoder keep their own array, of different sizes, right behind this head.
  zelLZ77Pair* OwnPairs() { return reinterpret_cast<zelLZ77Pair*>(this + 1); }

  zelLZ77Pair* Pairs() {
    const uint64_t address = callerPairs.Get();
    return address ? reinterpret_cast<zelLZ77Pair*>(static_cast<uintptr_t>(address)) : OwnPairs();
  }

  void UseOwnPairs(int32_t len) {
    callerPairs.Set(0);
    pairsPos = 0;
    pairsLen = len;
  }
};
static_assert(sizeof(zelLZ77State) == 24 && alignof(zelLZ77State) == 4);
