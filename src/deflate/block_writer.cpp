// Huffman blocks from pairs, resumable at any byte.
//
// A block is a row of items: header bits, the pieces of the tree description, pairs, the end of the block, the marker's
// bits. Each item is put only when less than a byte waits in the accumulator, so the largest, a pair of 48 bits, always
// fits, and a block stops between items when its room is full. With plenty of room, pairs are encoded eight at a time
// and go out two at a time, by one 64-bit store. Bound by the instructions, some twenty a pair.
//
// The code of a dynamic block is the one for the pairs of its first call. Behind SelectHuffMode these are most likely
// the pairs that the record has a code for: their fingerprint tells. Should two rows of pairs ever have the same one,
// the block is somewhat longer than it might be, or ends at a pair without a code.

#include <string.h>

#include "deflate/dynamic_code.h"
#include "deflate/pair_codes.h"
#include "deflate/pair_vectors.h"
#include "shared/bits_lsb.h"
#include "shared/code_lengths.h"

namespace zeldc {

namespace {

constexpr PairCodes MakeFixedCodes() {
  uint8_t litLenLengths[kLitLenCodes] = {};
  uint16_t litLenCodes[kLitLenCodes] = {};
  uint8_t distanceLengths[kDistanceCodes] = {};
  uint16_t distanceCodes[kDistanceCodes] = {};
  for (int i = 0; i < kLitLenCodes; ++i) litLenLengths[i] = FixedLitLenLength(i);
  for (int i = 0; i < kDistanceCodes; ++i) distanceLengths[i] = kFixedDistanceLength;
  BuildReversedCodes(litLenLengths, kLitLenCodes, litLenCodes);
  BuildReversedCodes(distanceLengths, kDistanceCodes, distanceCodes);
  PairCodes t{};
  MakePairCodes(litLenLengths, litLenCodes, distanceLengths, distanceCodes, &t);
  return t;
}

struct PairSource {
  zelLZ77Pair* next;
  zelLZ77Pair* end;
};

struct PairBits {
  uint64_t bits;
  uint32_t count;
};

ZELDC_ALWAYS_INLINE PairBits Encode(zelLZ77Pair pair, BitPiece piece, const DistanceCode& distance) {
  const uint64_t distanceBits = distance.code | static_cast<uint64_t>(pair.distance - distance.base)
                                                    << distance.codeBits;
  return {PieceBits(piece) | distanceBits << PieceLength(piece), PieceLength(piece) + distance.allBits};
}

// zelErrSize for a pair that is none, zelErr for one without a code.
ZELDC_ALWAYS_INLINE zelStatus Check(const PairPlace& at, BitPiece piece, const DistanceCode& distance) {
  if (ZELDC_UNLIKELY(at.excess != 0 || (at.isMatch && at.distance == kNoDistance))) return zelErrSize;
  if (ZELDC_UNLIKELY(PieceLength(piece) == 0 || (at.isMatch && distance.allBits == 0))) return zelErr;
  return zelOk;
}

// Puts pairs while there is room; zelWarnDstFull when some are left.
zelStatus PutPairs(const PairCodes& codes, PairSource* pairs, BitWriter* out) {
  for (; pairs->next < pairs->end; ++pairs->next) {
    if (!out->WriteBytes()) return zelWarnDstFull;
    const zelLZ77Pair pair = *pairs->next;
    const PairPlace at = PlaceOf(pair);
    const BitPiece piece = codes.piece[at.place];
    const DistanceCode& distance = codes.distance[at.distance];
    if (const zelStatus status = Check(at, piece, distance); status != zelOk) return status;
    const PairBits p = Encode(pair, piece, distance);
    out->Put(p.bits, p.count);
  }
  return zelOk;
}

// Puts pairs while there is plenty of room, up to the first that has no code.
void PutManyPairs(const PairCodes& codes, PairSource* pairs, BitWriter* out) {
  BitWriter w = *out;
  zelLZ77Pair* next = pairs->next;
  auto putTwo = [&]() ZELDC_LAMBDA_INLINE {
    const PairPlace at0 = PlaceOf(next[0]);
    const PairPlace at1 = PlaceOf(next[1]);
    const BitPiece piece0 = codes.piece[at0.place];
    const BitPiece piece1 = codes.piece[at1.place];
    const DistanceCode& distance0 = codes.distance[at0.distance];
    const DistanceCode& distance1 = codes.distance[at1.distance];
    if (Check(at0, piece0, distance0) != zelOk || Check(at1, piece1, distance1) != zelOk) return false;
    const PairBits p0 = Encode(next[0], piece0, distance0);
    const PairBits p1 = Encode(next[1], piece1, distance1);
    next += 2;
    w.WriteBytesWide();
    w.Put(p0.bits, p0.count);
    if (ZELDC_UNLIKELY(p0.count + p1.count > 56)) w.WriteBytesWide();
    w.Put(p1.bits, p1.count);
    return true;
  };
  bool isCoded = true;
#if ZELDC_AVX2
  FourPieces pieces;
  while (isCoded && pairs->end - next >= 8 && w.outEnd - w.out >= 64) {
    if (ZELDC_LIKELY(EncodeEight(codes, next, &pieces))) {
      for (int i = 0; i < 4; ++i) {
        w.WriteBytesWide();
        w.Put(pieces.bits[i], static_cast<uint32_t>(pieces.counts[i]));
      }
      next += 8;
    } else {
      for (int i = 0; i < 4 && isCoded; ++i) isCoded = putTwo();
    }
  }
#endif
  while (isCoded && pairs->end - next >= 2 && w.outEnd - w.out >= 16) isCoded = putTwo();
  pairs->next = next;
  *out = w;
}

void MakeDynamicCodes(const EncoderState* s, PairCodes* t) {
  uint16_t litLenCodes[kLitLenSymbols];
  uint16_t distanceCodes[kDistanceSymbols];
  BuildReversedCodes(s->litLenLengths, kLitLenSymbols, litLenCodes);
  BuildReversedCodes(s->distanceLengths, kDistanceSymbols, distanceCodes);
  MakePairCodes(s->litLenLengths, litLenCodes, s->distanceLengths, distanceCodes, t);
}

// The rest of the tree description, as far as there is room; false when some is left.
bool PutTreeDescription(EncoderState* s, BitWriter* out) {
  for (; 8 * s->treeBytesTaken < s->treeBits; ++s->treeBytesTaken) {
    if (!out->WriteBytes()) return false;
    const int32_t left = s->treeBits - 8 * s->treeBytesTaken;
    out->Put(s->tree[s->treeBytesTaken], static_cast<uint32_t>(left < 8 ? left : 8));
  }
  return true;
}

// Everything of the block that there is room for, step by step.
zelStatus WriteBlock(EncoderState* s, PairSource* pairs, BitWriter* out, zelLZ77FlushMode flush, bool dynamic,
                     bool chosen) {
  PairCodes dynamicCodes;
  const PairCodes* codes = dynamic ? nullptr : &kFixedCodes;

  if (s->blockPhase == kPhaseHeader) {
    const bool final = (dynamic ? s->lastFlush : flush) == zelLZ77FlushFinal && s->srcRemain == 0;
    if (dynamic) {
      const int32_t n = static_cast<int32_t>(pairs->end - pairs->next);
      if (!chosen || Fingerprint(pairs->next, n) != s->chosenFingerprint) {
        PairStatistics statistics;
        if (!CountPairs(pairs->next, n, &statistics)) return zelErrSize;
        BuildDynamicCode(s, statistics);
      }
      s->treeBytesTaken = 0;
    }
    if (!out->WriteBytes()) return zelWarnDstFull;
    out->Put((dynamic ? 4u : 2u) | (final ? 1u : 0u), 3);
    s->blockStep = dynamic ? kStepTreeDescription : kStepPairs;
    s->blockPhase = kPhaseOpen;
  } else if (pairs->next < pairs->end && s->blockStep != kStepTreeDescription && s->blockStep != kStepPairs) {
    return zelErr;  // pairs behind the end of their block
  }

  if (s->blockStep == kStepTreeDescription) {
    if (!dynamic) return zelErr;
    if (!PutTreeDescription(s, out)) return zelWarnDstFull;
    s->blockStep = kStepPairs;
  }
  if (s->blockStep == kStepPairs) {
    if (codes == nullptr) {
      MakeDynamicCodes(s, &dynamicCodes);
      codes = &dynamicCodes;
    }
    PutManyPairs(*codes, pairs, out);
    if (const zelStatus status = PutPairs(*codes, pairs, out); status != zelOk) return status;
    if (!out->WriteBytes()) return zelWarnDstFull;
    out->Put(PieceBits(codes->endOfBlock), PieceLength(codes->endOfBlock));
    s->blockStep = flush == zelLZ77FlushSync || flush == zelLZ77FlushFull ? kStepMarkerBits : kStepDone;
  }
  if (s->blockStep == kStepMarkerBits) {
    if (!out->WriteBytes()) return zelWarnDstFull;
    out->Put(0, 3);
    out->PadToByte();
    s->blockStep = kStepMarkerBytes;
    s->markerOwed = 4;
  }
  if (s->blockStep == kStepMarkerBytes) {
    for (; s->markerOwed > 0; --s->markerOwed) {
      if (!out->WriteBytes()) return zelWarnDstFull;
      out->Put(s->markerOwed > 2 ? 0x00 : 0xFF, 8);
    }
    s->blockStep = kStepDone;
  }

  if (flush == zelLZ77FlushFinal && s->srcRemain == 0) {
    out->PadToByte();
    if (!out->WriteBytes()) return zelWarnDstFull;
    s->blockPhase = kPhaseFinished;
    return zelWarnStreamEnd;
  }
  if (!out->WriteBytes()) return zelWarnDstFull;
  s->blockPhase = kPhaseClosed;
  return zelOk;
}

zelStatus WriteHuffmanBlock(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst, int32_t* pDstLen,
                            zelLZ77FlushMode flush, zelLZ77State* pState, bool dynamic) {
  if (!ppPairs || !ppDst || !pPairsLen || !pDstLen || !*ppDst || !pState) return zelErrNullPtr;
  if (*pDstLen < 0) return zelErrSize;
  if (*pPairsLen < 0) return zelErrSize;
  if (!*ppPairs && *pPairsLen > 0) return zelErrNullPtr;
  EncoderState* s = Encoder(pState);
  const RedzoneGuard guard(s);
  if (*pDstLen == 0) {
    if (s->blockPhase != kPhaseHeader) s->blockPhase = kPhaseOpen;
    return zelWarnDstFull;
  }
  const bool chosen = s->choicePending != 0;
  s->choicePending = 0;
  PairSource pairs{*ppPairs, *ppPairs + *pPairsLen};
  BitWriter out(s->bitBuffer.Get(), s->bitCount, *ppDst, *ppDst + *pDstLen);
  const zelStatus status = WriteBlock(s, &pairs, &out, flush, dynamic, chosen);
  if (status == zelWarnDstFull && s->blockPhase != kPhaseHeader) s->blockPhase = kPhaseOpen;
  out.WriteBytes();
  s->bitBuffer.Set(out.bits);
  s->bitCount = static_cast<int32_t>(out.count);
  *ppPairs = pairs.next;
  *pPairsLen = static_cast<int32_t>(pairs.end - pairs.next);
  *pDstLen = static_cast<int32_t>(out.outEnd - out.out);
  *ppDst = out.out;
  return status;
}

}  // namespace

constinit const PairCodes kFixedCodes = MakeFixedCodes();

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsEncodeLZ77FixedHuff_8u(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst, int32_t* pDstLen,
                                     zelLZ77FlushMode flush, zelLZ77State* pState) {
  return WriteHuffmanBlock(ppPairs, pPairsLen, ppDst, pDstLen, flush, pState, false);
}

zelStatus zelsEncodeLZ77DynamicHuff_8u(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst, int32_t* pDstLen,
                                       zelLZ77FlushMode flush, zelLZ77State* pState) {
  return WriteHuffmanBlock(ppPairs, pPairsLen, ppDst, pDstLen, flush, pState, true);
}

}  // extern "C"
