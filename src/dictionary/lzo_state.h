// The LZO encoder's record.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "zeldc/lzo.h"

namespace zeldc {

inline constexpr uint32_t kLzoDictionarySize = 16384;

// What one thread searches with.
struct LzoDictionary {
  uint32_t entries[kLzoDictionarySize];  // see lzo_compress.cpp
  uint32_t next;                         // the number of the first position of the next input
  uint32_t unused;
  uint32_t buffer;  // where the thread's output goes: bytes from the start of the record
};
static_assert(sizeof(LzoDictionary) == 65548);

}  // namespace zeldc

// In memory: this, the dictionaries of the other threads, and with the parallel method a buffer for each thread.
struct zelLZOState {
  int32_t method;
  int32_t threads;       // parallel method only
  uint32_t buffer_size;  // of each thread; parallel method only
  zeldc::LzoDictionary first;
};
static_assert(sizeof(zelLZOState) == 65560 && alignof(zelLZOState) == 4);
