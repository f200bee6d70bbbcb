// The size of the processor's largest cache, from the cache descriptors of its identification query.
#pragma once

#include <stdint.h>

struct CpuidRegisters {
  uint32_t eax, ebx, ecx, edx;
};

// Bytes of the largest cache that the descriptors name, 0 when they tell nothing.
//   identity     the query's answer to leaf 0, whose ebx, edx, ecx hold the vendor's identification string
//   descriptors  the answer to leaf 2: one descriptor a byte; the lowest byte of eax counts the queries needed
// A pure function of its arguments.
int64_t ownCacheSizeFromDescriptors(const CpuidRegisters& identity, const CpuidRegisters& descriptors);

// The same for the processor that runs this; 0 where there is no such query.
int64_t ownQueryCacheSize();
