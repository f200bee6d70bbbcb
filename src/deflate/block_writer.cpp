// Huffman blocks from pairs, resumable at any byte.
//
// A block is a row of items: header bits, the pieces of the tree description, pairs, the end of the block, the marker's
// bits. Each item is put only when less than a byte waits in the accumulator, so the largest, a pair of 48 bits, always
// fits, and a block stops between items when its room is full. With plenty of room, pairs go out by one 64-bit store
// each, without looking at the room. Bound by the instructions of the look-ups, some thirty a pair.

#include "deflate/dynamic_code.h"
#include "deflate/pair_codes.h"
#include "shared/bits_lsb.h"
#include "shared/code_lengths.h"

namespace zeldc {

namespace {

constexpr PairCodes MakeFixedCodes() {
  // The canonical code of the fixed lengths, bit by bit (BuildReversedCodes is not for compile time).
  uint8_t litLenLengths[kLitLenCodes] = {};
  uint16_t litLenCodes[kLitLenCodes] = {};
  uint8_t distanceLengths[kDistanceCodes] = {};
  uint16_t distanceCodes[kDistanceCodes] = {};
  auto reverse = [](int v, int bits) {
    int r = 0;
    for (int i = 0; i < bits; ++i) r |= ((v >> i) & 1) << (bits - 1 - i);
    return static_cast<uint16_t>(r);
  };
  for (int i = 0; i < kLitLenCodes; ++i) {
    litLenLengths[i] = FixedLitLenLength(i);
    const int code = i < 144 ? 0x30 + i : i < 256 ? 0x190 + i - 144 : i < 280 ? i - 256 : 0xC0 + i - 280;
    litLenCodes[i] = reverse(code, litLenLengths[i]);
  }
  for (int i = 0; i < kDistanceCodes; ++i) {
    distanceLengths[i] = kFixedDistanceLength;
    distanceCodes[i] = reverse(i, kFixedDistanceLength);
  }
  PairCodes t{};
  MakePairCodes(litLenLengths, litLenCodes, distanceLengths, distanceCodes, &t);
  return t;
}

struct PairSource {
  zelLZ77Pair* next;
  zelLZ77Pair* end;
};

// Puts pairs while there is room; zelWarnDstFull when some are left. kChecked: zelErrSize for a pair that is none,
// zelErr for one without a code; else the caller knows that there is no such pair.
template <bool kChecked>
zelStatus PutPairs(const PairCodes& codes, PairSource* pairs, BitWriter* out) {
  BitWriter w = *out;
  zelLZ77Pair* next = pairs->next;
  zelStatus status = zelOk;
  for (; next < pairs->end; ++next) {
    if (ZELDC_LIKELY(w.outEnd - w.out >= 8)) {
      StoreLE(w.out, w.bits);
      w.out += w.count >> 3;
      w.bits >>= w.count & ~7u;
      w.count &= 7;
    } else if (!w.WriteBytes()) {
      status = zelWarnDstFull;
      break;
    }
    const zelLZ77Pair pair = *next;
    const PairPlace at = PlaceOf(pair);
    const BitPiece piece = codes.piece[at.place];
    const DistanceCode distance = codes.distance[at.distance];
    if constexpr (kChecked) {
      if (ZELDC_UNLIKELY(at.excess != 0 || (at.isMatch && at.distance == kNoDistance))) {
        status = zelErrSize;
        break;
      }
      if (ZELDC_UNLIKELY(PieceLength(piece) == 0 || (at.isMatch && distance.allBits == 0))) {
        status = zelErr;
        break;
      }
    }
    const uint64_t distanceBits = distance.code | static_cast<uint64_t>(pair.distance - distance.base)
                                                      << distance.codeBits;
    w.Put(PieceBits(piece) | distanceBits << PieceLength(piece), PieceLength(piece) + distance.allBits);
  }
  pairs->next = next;
  *out = w;
  return status;
}

void MakeDynamicCodes(const EncoderState* s, PairCodes* t) {
  uint16_t litLenCodes[kLitLenSymbols];
  uint16_t distanceCodes[kDistanceSymbols];
  BuildReversedCodes(s->litLenLengths, kLitLenSymbols, litLenCodes);
  BuildReversedCodes(s->distanceLengths, kDistanceSymbols, distanceCodes);
  MakePairCodes(s->litLenLengths, litLenCodes, s->distanceLengths, distanceCodes, t);
}

// Everything of the block that there is room for, step by step.
zelStatus WriteBlock(EncoderState* s, PairSource* pairs, BitWriter* out, zelLZ77FlushMode flush, bool dynamic) {
  PairCodes dynamicCodes;
  const PairCodes* codes = &kFixedCodes;
  bool counted = false;  // all pairs of this call are in the code's statistics

  if (s->blockPhase == kPhaseHeader) {
    const bool final = (dynamic ? s->lastFlush : flush) == zelLZ77FlushFinal && s->srcRemain == 0;
    if (dynamic) {
      PairStatistics statistics;
      if (!CountPairs(pairs->next, static_cast<int32_t>(pairs->end - pairs->next), &statistics)) return zelErrSize;
      BuildDynamicCode(s, statistics);
      s->treeBytesTaken = 0;
      counted = true;
    }
    if (!out->WriteBytes()) return zelWarnDstFull;
    out->Put((dynamic ? 4u : 2u) | (final ? 1u : 0u), 3);
    s->blockPhase = kPhaseOpen;
    s->blockStep = dynamic ? kStepTreeDescription : kStepPairs;
  } else if (pairs->next < pairs->end && s->blockStep != kStepTreeDescription && s->blockStep != kStepPairs) {
    return zelErr;  // pairs behind the end of their block
  }

  if (s->blockStep == kStepTreeDescription) {
    if (!dynamic) return zelErr;
    for (; 8 * s->treeBytesTaken < s->treeBits; ++s->treeBytesTaken) {
      if (!out->WriteBytes()) return zelWarnDstFull;
      const int32_t left = s->treeBits - 8 * s->treeBytesTaken;
      out->Put(s->tree[s->treeBytesTaken], static_cast<uint32_t>(left < 8 ? left : 8));
    }
    s->blockStep = kStepPairs;
  }
  if (s->blockStep == kStepPairs) {
    if (dynamic) {
      MakeDynamicCodes(s, &dynamicCodes);
      codes = &dynamicCodes;
    }
    const zelStatus status = counted ? PutPairs<false>(*codes, pairs, out) : PutPairs<true>(*codes, pairs, out);
    if (status != zelOk) return status;
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
  if (*pDstLen == 0) {
    if (s->blockPhase != kPhaseHeader) s->blockPhase = kPhaseOpen;
    return zelWarnDstFull;
  }
  s->choicePending = 0;
  PairSource pairs{*ppPairs, *ppPairs + *pPairsLen};
  BitWriter out(s->bitBuffer.Get(), s->bitCount, *ppDst, *ppDst + *pDstLen);
  const zelStatus status = WriteBlock(s, &pairs, &out, flush, dynamic);
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
