// The encoder's record.
#pragma once

#include "core/redzone.h"
#include "shared/deflate_format.h"
#include "shared/lz77_state.h"
#include "shared/match_call.h"
#include "zeldc/deflate.h"

namespace zeldc {

inline constexpr int kEncoderRecordSize = 598948;

// Where the block writer stands in the stream. The numbers are the contract's.
enum BlockPhase : int32_t {
  kPhaseNone = 0,
  kPhaseHeader = 2,    // a block header is to be written
  kPhaseOpen = 3,      // a block, or output of it, is pending
  kPhaseClosed = 4,    // the block is complete
  kPhaseFinished = 5,  // so is the stream, or its trailer
};

// What a Huffman block still has to come, in order.
enum BlockStep : int32_t {
  kStepDone = 0,
  kStepTreeDescription = 1,
  kStepPairs = 2,
  kStepEndOfBlock = 3,
  kStepMarkerBits = 4,
  kStepMarkerBytes = 5,
};

// What a stored block still has to come. The numbers are the contract's.
enum StoredStep : int32_t {
  kStoredBegin = 0,
  kStoredHeader = 1,
  kStoredLength = 2,
  kStoredCopy = 3,
};

// How often the symbols of a block occur.
struct PairStatistics {
  uint32_t litLen[kLitLenSymbols];  // the end of the block counts once
  uint32_t distance[kDistanceSymbols];
  Wide bytes;  // that the pairs stand for
};

// Tables of the match search, by level: see search_levels.h.
struct FastTables {
  uint16_t head[kHashSize];
};

struct BestTables {
  uint16_t head3[kHashSize];  // newest position with a hash of three bytes
  ZELDC_REDZONE(behindHead3)
  uint16_t head4[kHashSize];  // of four bytes
  ZELDC_REDZONE(behindHead4)
  uint16_t chain4[kWindowSize];  // LongestLink may look at what stands behind
  uint16_t rank[kWindowSize];    // number of the position in its three-byte chain
  ZELDC_REDZONE(behindRank)
  uint16_t chain3[4096];
  ZELDC_REDZONE(behindChain3)
  uint32_t chained;  // positions before this one stand in the four-byte chains
  uint32_t ranked;   // and positions before this one have their rank
};

union MatchTables {
  FastTables fast;
  NormalTables normal;
  BestTables best;
};

struct EncoderState : zelLZ77State {
  zelLZ77Pair ownPairs[zelLZ77MaxPairs];
  ZELDC_REDZONE(behindPairs)

  // Match search.
  int32_t level;        // zelLZ77Level, normalised
  int32_t srcRemain;    // bytes of the last zelsEncodeLZ77_8u call not yet consumed
  int32_t lastFlush;    // its zelLZ77FlushMode
  uint32_t historyPos;  // running position of the next byte, counting the dictionary
  uint32_t checksum;    // running value over all consumed bytes, started from 0
  Wide totalIn;         // bytes consumed

  // Block writer.
  Wide bitBuffer;  // bits not yet written, the first one lowest
  int32_t bitCount;
  int32_t blockPhase;          // BlockPhase
  int32_t blockStep;           // BlockStep
  int32_t markerOwed;          // bytes of the flush marker still to be written
  int32_t storedStep;          // StoredStep
  int32_t storedLeft;          // bytes of the stored block still to be copied
  int32_t choicePending;       // SelectHuffMode's answer stands
  int32_t chosenMode;          // zelLZ77HuffMode
  uint32_t chosenFingerprint;  // of the pairs that it is for
  int32_t trailerWritten;
  uint8_t trailer[8];
  int32_t codeBuilt;  // the dynamic code is the one for the statistics
  PairStatistics statistics;
  int32_t treeBits;        // length of the tree description
  int32_t treeBytesTaken;  // how much of it has gone to the bit buffer
  uint8_t tree[292];
  ZELDC_REDZONE(behindTree)
  uint8_t litLenLengths[kLitLenSymbols];  // of the dynamic code
  ZELDC_REDZONE(behindLitLenLengths)
  uint8_t distanceLengths[kDistanceSymbols];
  ZELDC_REDZONE(behindDistanceLengths)

  SearchWindow window;
  ZELDC_REDZONE(behindWindow)
  MatchTables tables;
  ZELDC_REDZONE(behindTables)

#if ZELDC_REDZONES
  // Of the tables, those of the record's level.
  template <typename F>
  void ForEachRedzone(F f) const {
    f(behindPairs, behindTree, behindLitLenLengths, behindDistanceLengths, behindWindow, behindTables);
    if (level == zelLZ77LevelFast) return;
    if (level == zelLZ77LevelNormal) return f(tables.normal.behindHead);
    const BestTables& t = tables.best;
    f(t.behindHead3, t.behindHead4, t.behindRank, t.behindChain3);
  }
#endif
};
static_assert(sizeof(EncoderState) <= kEncoderRecordSize && alignof(EncoderState) == 4);

inline EncoderState* Encoder(zelLZ77State* state) { return static_cast<EncoderState*>(state); }

// Forgets all positions and the history.
void ClearSearch(EncoderState* s);

// Makes the dictionary, which is all of the history, known to the search.
void InsertDictionary(EncoderState* s);

}  // namespace zeldc
