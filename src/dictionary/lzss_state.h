// The records of the LZSS coder.
#pragma once

#include <stdint.h>

#include "core/redzone.h"
#include "shared/history.h"
#include "shared/match_call.h"
#include "zeldc/lzss.h"

namespace zeldc {

inline constexpr int kLzssRecordSize = 327724;

inline constexpr uint32_t kLzssLiteralBits = 9;
inline constexpr uint32_t kLzssMatchBits = 24;

enum LzssKind : int32_t { kLzssEncoder = 0x4C5A5345, kLzssDecoder = 0x4C5A5344 };

}  // namespace zeldc

// What both directions begin with.
struct zelLZSSState {
  int32_t kind;      // zeldc::LzssKind
  uint32_t waiting;  // bits of the stream that wait, the first one uppermost
  int32_t waitingCount;
};

namespace zeldc {

struct LzssEncoder : zelLZSSState {
  SearchWindow window;
  ZELDC_REDZONE(behindWindow)
  NormalTables tables;
  ZELDC_REDZONE(behindTables)

#if ZELDC_REDZONES
  template <typename F>
  void ForEachRedzone(F f) const {
    f(behindWindow, tables.behindHead, behindTables);
  }
#endif
};
static_assert(sizeof(LzssEncoder) <= kLzssRecordSize && alignof(LzssEncoder) == 4);

struct LzssDecoder : zelLZSSState {
  int32_t pendingLen;  // a match that the last call could not finish
  int32_t pendingDist;
  History history;
  ZELDC_REDZONE(behindHistory)

#if ZELDC_REDZONES
  template <typename F>
  void ForEachRedzone(F f) const {
    f(behindHistory);
  }
#endif
};
static_assert(sizeof(LzssDecoder) <= kLzssRecordSize && alignof(LzssDecoder) == 4);

}  // namespace zeldc
