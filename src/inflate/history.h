// The last 32 KiB of output, from call to call.
#pragma once

#include "inflate/decoder_state.h"

namespace zeldc {

// Bytes that a match may reach back before this call's output.
inline size_t HistorySize(const DecoderState* s) {
  return static_cast<size_t>(s->historyFill < kWindowSize ? s->historyFill : kWindowSize);
}

// The end of the history: the byte before this call's first is the one before it.
inline const uint8_t* HistoryEnd(const DecoderState* s) { return s->window + s->historyFill; }

// Copies len bytes from `distance` bytes before `out`, exactly. What lies before outStart comes from the history that
// ends at historyEnd and holds it.
void CopyMatchThroughHistory(const uint8_t* historyEnd, const uint8_t* outStart, uint8_t* out, size_t distance,
                             size_t len);

// The window holds `fill` bytes now. What wide copies read behind them is cleared, so that no old memory gets about.
void SetHistoryFill(DecoderState* s, int32_t fill);

// Enters output into the history.
void AppendToHistory(DecoderState* s, const uint8_t* bytes, size_t len);

}  // namespace zeldc
