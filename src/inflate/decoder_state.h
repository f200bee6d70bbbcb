// The decoder's record.
#pragma once

#include "core/redzone.h"
#include "inflate/decode_tables.h"
#include "shared/deflate_format.h"
#include "shared/history.h"
#include "shared/lz77_state.h"
#include "zeldc/inflate.h"

namespace zeldc {

inline constexpr int kDecoderPairs = 8192;
inline constexpr int kDecoderRecordSize = 112896;

// Where the decoder stands within a block. 1 and 4 mean one thing to the Huffman decoders and another to
// zelsDecodeLZ77StoredHuff_8u, by contract.
enum DecodeStage : int32_t {
  kStageHeader = 0,           // a block header is expected
  kStageDynamicCounts = 1,    // HLIT, HDIST, HCLEN
  kStageDynamicCodeCode = 2,  // the lengths of the code-length code
  kStageDynamicLengths = 3,   // the code lengths
  kStageSymbols = 4,          // Huffman symbols
  kStageStoredAnnounced = 8,  // a stored block, not yet aligned
  kStageStoredLength = 9,     // LEN and NLEN
  kStageStoredBuffered = 10,  // bytes that wait in the bit buffer
  kStageStoredCopy = 11,      // bytes from the input
  kStagePairsStoredLength = 1,
  kStagePairsStoredBytes = 4,
};

struct DecoderState : zelLZ77State {
  zelLZ77Pair ownPairs[kDecoderPairs];
  ZELDC_REDZONE(behindPairs)

  History history;
  ZELDC_REDZONE(behindHistory)

  Wide bitBuffer;           // input bits taken but not consumed, the next one lowest; zero above bitCount
  int32_t bitCount;         // 0..56
  int32_t decodeStage;      // DecodeStage
  int32_t storedRemaining;  // bytes of the stored block still to deliver
  int32_t finalBlock;       // BFINAL of the current block
  int32_t streamEnded;      // a Huffman decoder has met the end of the last block
  int32_t blockType;        // zelLZ77HuffMode of the current block
  int32_t pendingLen;       // a match that the last call could not finish
  int32_t pendingDist;

  int32_t codeLengthCodes;  // HCLEN + 4
  int32_t litLenCodes;      // HLIT + 257
  int32_t distanceCodes;    // HDIST + 1
  int32_t lengthsRead;      // code lengths read so far
  CodeLengthTable codeLengthTable;
  ZELDC_REDZONE(behindCodeLengthTable)
  uint8_t codeLengths[kLitLenCodes + kDistanceCodes];
  ZELDC_REDZONE(behindCodeLengths)

  BlockTables tables;  // of the current dynamic block
  ZELDC_REDZONE(behindTables)

#if ZELDC_REDZONES
  template <typename F>
  void ForEachRedzone(F f) const {
    f(behindPairs, behindHistory, behindCodeLengthTable, behindCodeLengths, tables.behindLitLen, behindTables);
  }
#endif
};
static_assert(sizeof(DecoderState) <= kDecoderRecordSize && alignof(DecoderState) == 4);

inline DecoderState* Decoder(zelLZ77State* state) { return static_cast<DecoderState*>(state); }

}  // namespace zeldc
