// Decoding of variable-length codes.
#pragma once

#include <stdint.h>

#include "entropy/vlc_decode_state.h"

namespace zeldc {

// A bit in a stream, 0 the most significant of its byte.
struct VlcPosition {
  const uint8_t* byte;
  uint32_t bit;  // below 8
};

// Decode n codes, n >= 1, of a record without or with tuples, and move the position behind them. Where bits are no code
// they stop there. They return the number of codes.
int32_t ownDecodeValues(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s);
int32_t ownDecodeTuples(int16_t* dst, int32_t n, VlcPosition* position, const zelVLCDecodeState* s);

}  // namespace zeldc
