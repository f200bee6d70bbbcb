// Where the records of the VLC coder stand.
#pragma once

#include <stdint.h>

namespace zeldc {

// A record begins at the first multiple of 32 of the memory that the caller gives for it.
inline constexpr uintptr_t kVlcRecordAlignment = 32;
inline constexpr int32_t kVlcRecordSlack = kVlcRecordAlignment - 1;

template <typename Record>
Record* AlignedVlcRecord(Record* memory) {
  const uintptr_t past = reinterpret_cast<uintptr_t>(memory) % kVlcRecordAlignment;
  const uintptr_t skip = (kVlcRecordAlignment - past) % kVlcRecordAlignment;
  return reinterpret_cast<Record*>(reinterpret_cast<uintptr_t>(memory) + skip);
}

}  // namespace zeldc
