// Huffman blocks: to pairs, and to bytes through the history.

#include <string.h>

#include "inflate/dynamic_header.h"
#include "inflate/symbol_loop.h"

namespace zeldc {

namespace {

// A block's three header bits, unless GetBlockType has read them. A block of another type is left where it is.
zelStatus ReadBlockHeader(DecoderState* s, BitReader* in, int32_t blockType) {
  if (s->decodeStage != kStageHeader) return zelOk;
  in->Refill();
  if (in->count < 3) return zelWarnSrcShort;
  const unsigned header = static_cast<unsigned>(in->bits) & 7;
  if ((header >> 1) != (blockType == zelLZ77HuffFixed ? 1u : 2u)) return zelErr;
  in->Consume(3);
  s->blockType = blockType;
  s->finalBlock = static_cast<int32_t>(header & 1);
  s->decodeStage = blockType == zelLZ77HuffFixed ? kStageSymbols : kStageDynamicCounts;
  return zelOk;
}

zelStatus EndBlock(DecoderState* s, BitReader* in) {
  s->decodeStage = kStageHeader;
  if (!s->finalBlock) return zelOk;
  s->streamEnded = 1;
  in->Settle();
  in->Consume(in->count & 7);
  return zelWarnStreamEnd;
}

template <typename Sink>
zelStatus DecodeSymbols(DecoderState* s, const SymbolTables& tables, BitReader* in, Sink* sink) {
  for (;;) {
    if (in->srcEnd - in->src > kFastSource && sink->outEnd - sink->out > kFastRoom<Sink>) {
      in->Settle();
      if (in->count < 8) {
        if constexpr (!Sink::kPairs) {
          DecodeFastBytes(tables, in, sink);
        } else {
          DecodeFast<false>(tables, in, sink);
        }
      }
    }
    switch (DecodeOne(s, tables, in, sink)) {
      case Symbol::kDecoded:
        if constexpr (!Sink::kPairs) {
          if (s->pendingLen > 0) return zelWarnDstFull;
        }
        break;
      case Symbol::kBlockEnd:
        return EndBlock(s, in);
      case Symbol::kInvalid:
        // With the output full it is the next call's to tell.
        return sink->out == sink->outEnd ? zelWarnDstFull : zelErrSize;
      case Symbol::kSourceShort:
        return sink->out == sink->outEnd ? zelWarnDstFull : zelWarnSrcShort;
      case Symbol::kRoomShort:
        return zelWarnDstFull;
    }
  }
}

template <typename Sink>
zelStatus DecodeBlock(DecoderState* s, int32_t blockType, BitReader* in, Sink* sink) {
  zelStatus status = ReadBlockHeader(s, in, blockType);
  if (status != zelOk) return status;
  if (blockType == zelLZ77HuffFixed) return DecodeSymbols(s, View(kFixedTables), in, sink);
  if (s->decodeStage > kStageSymbols) return zelErr;  // a stored block was announced
  status = ReadDynamicHeader(s, in);
  if (status != zelOk) return status;
  return DecodeSymbols(s, View(s->tables), in, sink);
}

// Drops input up to and including the four bytes of an empty stored block's LEN and NLEN.
zelStatus ScanForMarker(DecoderState* s, const uint8_t** ppSrc, int32_t* pSrcLen) {
  BytewiseReader in{s->bitBuffer.Get(), s->bitCount, *ppSrc, *pSrcLen};
  in.AlignToByte();
  zelStatus status = zelWarnSrcShort;
  while (in.Gather(32)) {
    if (static_cast<uint32_t>(in.bits) == 0xFFFF0000u) {
      in.Take(32);
      status = zelOk;
      break;
    }
    in.Take(8);
  }
  s->bitBuffer.Set(in.bits);
  s->bitCount = in.count;
  *ppSrc = in.src;
  *pSrcLen = in.left;
  return status;
}

// Hands back what was only looked at. When the source ran out everything stays: the unfinished symbol waits.
void StoreReader(DecoderState* s, BitReader* in, zelStatus status, const uint8_t** ppSrc, int32_t* pSrcLen) {
  if (status != zelWarnSrcShort) in->Settle();
  s->bitBuffer.Set(in->bits);
  s->bitCount = static_cast<int32_t>(in->count);
  *pSrcLen = static_cast<int32_t>(in->srcEnd - in->src);
  *ppSrc = in->src;
}

zelStatus DecodeToPairs(int32_t blockType, const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                        int32_t* pPairsLen, zelLZ77FlushMode flush, zelLZ77State* state) {
  if (!ppSrc || !pSrcLen || !ppPairs || !pPairsLen || !state || !*ppSrc || !*ppPairs) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pPairsLen < 0) return zelErrSize;
  DecoderState* s = Decoder(state);
  const RedzoneGuard guard(s);
  if (flush == zelLZ77FlushSync || flush == zelLZ77FlushFull) return ScanForMarker(s, ppSrc, pSrcLen);
  if (*pPairsLen == 0) return zelWarnDstFull;

  BitReader in(s->bitBuffer.Get(), s->bitCount, *ppSrc, static_cast<size_t>(*pSrcLen));
  PairSink sink{*ppPairs, *ppPairs + *pPairsLen};
  const zelStatus status = DecodeBlock(s, blockType, &in, &sink);
  StoreReader(s, &in, status, ppSrc, pSrcLen);
  *pPairsLen = static_cast<int32_t>(sink.outEnd - sink.out);
  *ppPairs = sink.out;
  return status;
}

zelStatus DecodeToBytes(int32_t blockType, const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                        zelLZ77FlushMode flush, zelLZ77State* state) {
  if (!ppSrc || !pSrcLen || !ppDst || !pDstLen || !state || !*ppSrc || !*ppDst) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pDstLen < 0) return zelErrSize;
  DecoderState* s = Decoder(state);
  const RedzoneGuard guard(s);
  if (flush == zelLZ77FlushSync || flush == zelLZ77FlushFull) return ScanForMarker(s, ppSrc, pSrcLen);
  if (*pDstLen == 0) return zelWarnDstFull;

  BitReader in(s->bitBuffer.Get(), s->bitCount, *ppSrc, static_cast<size_t>(*pSrcLen));
  ByteSink sink{*ppDst, *ppDst, *ppDst + *pDstLen, HistoryEnd(s->history), HistorySize(s->history)};
  if (s->pendingLen > 0) {
    // The pair path may have left a match behind that reaches further.
    if (static_cast<size_t>(s->pendingDist) > sink.Reach()) return zelErrSize;
    const int32_t n = s->pendingLen < *pDstLen ? s->pendingLen : *pDstLen;
    CopyMatchThroughHistory(sink.historyEnd, sink.outStart, sink.out, static_cast<size_t>(s->pendingDist),
                            static_cast<size_t>(n));
    sink.out += n;
    s->pendingLen -= n;
  }
  const zelStatus status = s->pendingLen > 0 ? zelWarnDstFull : DecodeBlock(s, blockType, &in, &sink);
  StoreReader(s, &in, status, ppSrc, pSrcLen);
  AppendToHistory(&s->history, sink.outStart, static_cast<size_t>(sink.out - sink.outStart));
  *pDstLen = static_cast<int32_t>(sink.outEnd - sink.out);
  *ppDst = sink.out;
  return status;
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsDecodeLZ77FixedHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs, int32_t* pPairsLen,
                                     zelLZ77FlushMode flush, zelLZ77State* pLZ77State) {
  return DecodeToPairs(zelLZ77HuffFixed, ppSrc, pSrcLen, ppPairs, pPairsLen, flush, pLZ77State);
}

zelStatus zelsDecodeLZ77DynamicHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                                       int32_t* pPairsLen, zelLZ77FlushMode flush, zelLZ77State* pLZ77State) {
  return DecodeToPairs(zelLZ77HuffDynamic, ppSrc, pSrcLen, ppPairs, pPairsLen, flush, pLZ77State);
}

zelStatus zelsDecodeLZ77FixedHuffFull_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                         zelLZ77FlushMode flush, zelLZ77State* pLZ77State) {
  return DecodeToBytes(zelLZ77HuffFixed, ppSrc, pSrcLen, ppDst, pDstLen, flush, pLZ77State);
}

zelStatus zelsDecodeLZ77DynamicHuffFull_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                           zelLZ77FlushMode flush, zelLZ77State* pLZ77State) {
  return DecodeToBytes(zelLZ77HuffDynamic, ppSrc, pSrcLen, ppDst, pDstLen, flush, pLZ77State);
}

}  // extern "C"
