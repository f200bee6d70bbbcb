// The last 32 KiB of a decoder's output, from call to call.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "shared/deflate_format.h"
#include "shared/match_copy.h"

namespace zeldc {

struct History {
  int32_t fill;                                  // bytes in the window, of which the last 32768 count
  uint8_t window[2 * kWindowSize + kCopySlack];  // and what wide copies may read behind it
};

// Whether the window can hold so much. All else that may stand in a history does no harm.
inline bool IsSound(const History& h) { return h.fill >= 0 && h.fill <= 2 * kWindowSize; }

// Bytes that a match may reach back before this call's output.
inline size_t HistorySize(const History& h) { return static_cast<size_t>(h.fill < kWindowSize ? h.fill : kWindowSize); }

// The end of the history: the byte before this call's first is the one before it.
inline const uint8_t* HistoryEnd(const History& h) { return h.window + h.fill; }

// Copies len bytes from `distance` bytes before `out`, exactly. What lies before outStart comes from the history that
// ends at historyEnd and holds it.
void CopyMatchThroughHistory(const uint8_t* historyEnd, const uint8_t* outStart, uint8_t* out, size_t distance,
                             size_t len);

// The window holds `fill` bytes now. What wide copies read behind them is cleared, so that no old memory gets about.
void SetHistoryFill(History* h, int32_t fill);

// Enters output into the history.
void AppendToHistory(History* h, const uint8_t* bytes, size_t len);

}  // namespace zeldc
