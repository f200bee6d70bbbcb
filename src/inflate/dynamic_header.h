// The header of a dynamic block (RFC 1951 section 3.2.7).
#pragma once

#include "inflate/decoder_state.h"
#include "shared/bits_lsb.h"

namespace zeldc {

// Reads on in the header, from the stage where the record stands, until the block's tables are built (zelOk, stage
// kStageSymbols) or the source ends (zelWarnSrcShort, the bits of the unfinished step held).
zelStatus ReadDynamicHeader(DecoderState* s, BitReader* in);

}  // namespace zeldc
