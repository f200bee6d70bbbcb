// What the one-call search shares: the caller's tables, and where a call's input stands.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/target.h"
#include "deflate/hash_salt.h"
#include "shared/deflate_format.h"

namespace zeldc {

// The first level with chains, and the first with the thorough search.
inline constexpr int32_t kFirstChainedLevel = 4;
inline constexpr int32_t kFirstThoroughLevel = 8;

inline constexpr int32_t kMinOneCallWindow = 256;
inline constexpr int32_t kMinOneCallHash = 256;
inline constexpr int32_t kMaxOneCallHash = 65536;

// The caller's tables, of positions counted through the stream. An entry is good for a position p when it is not below
// 0 and 1 .. winSize - 1 before p.
struct OneCallTables {
  int32_t* head;
  int32_t* chain;  // by position modulo winSize
  uint32_t hashMask;
  uint32_t winSize;
};

// The rolling hash of the fast search before the third byte of its first position.
ZELDC_ALWAYS_INLINE uint32_t StartRollingHash(const uint8_t* p) { return uint32_t{p[0]} << 5 ^ p[1]; }
ZELDC_ALWAYS_INLINE uint32_t Roll(uint32_t hash, uint8_t byte, uint32_t mask) { return (hash << 5 ^ byte) & mask; }

}  // namespace zeldc
