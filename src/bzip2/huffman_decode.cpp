// Bits to symbols: each group of 50 with the code that its selector names.
//
// The inner part decodes whole groups while the source has what a group can take and the destination has its room: the
// next bits stay in local variables, filled up by eight bytes at once, several symbols a filling, as many as the
// table's longest code allows. The careful part looks at every bit and byte.

#include "bzip2/huffman_decode_state.h"
#include "shared/bits_msb.h"

using namespace zeldc;

namespace {

// Bits that must be there before a symbol is decoded, whatever its length: part of the contract.
constexpr uint32_t kBitsPerSymbol = kMaxReadLength;

// What a group can take, and what a filling reads beyond it.
constexpr ptrdiff_t kSourceOfGroup = kGroupSize * kMaxReadLength / 8 + 16;

// Decodes one symbol, of whose code all bits are there. Answers its length.
ZELDC_ALWAYS_INLINE uint32_t DecodeSymbol(const DecodeTable& table, uint64_t bits, uint32_t* symbol) {
  const uint32_t index = static_cast<uint32_t>(bits >> (64 - DecodeTable::kFastBits));
  if (ZELDC_LIKELY(index < table.fastEnd)) {
    const uint16_t entry = table.fast[index];
    *symbol = DecodeTable::SymbolOf(entry);
    return DecodeTable::LengthOf(entry);
  }
  const uint32_t code = static_cast<uint32_t>(bits >> (64 - kMaxReadLength));
  uint32_t level = 1;
  while (code >= table.ends[level]) ++level;
  const uint32_t length = DecodeTable::kFastBits + level;
  const uint32_t place = table.bases[level] + (code >> (kMaxReadLength - length));
  *symbol = table.longSymbols[place < table.lastLong ? place : table.lastLong];
  return length;
}

struct Decoder {
  MsbReader in;
  uint16_t* out;
  uint16_t* outEnd;
  int32_t group;
  int32_t inGroup;  // symbols of the group decoded so far
  uint32_t keep;    // see MsbReader::Settle: bits that whoever loads byte by byte holds behind the last symbol
};

// Decodes `left` symbols, kPerFilling of which surely take at most 56 bits. True at the end of the block.
template <int kPerFilling>
ZELDC_ALWAYS_INLINE bool DecodeFast(const DecodeTable& table, uint32_t endOfBlock, int left, Decoder* d) {
  MsbReader in = d->in;
  uint16_t* out = d->out;
  uint32_t length = 0;
  bool ended = false;
  auto one = [&]() ZELDC_LAMBDA_INLINE {
    uint32_t symbol;
    length = DecodeSymbol(table, in.bits, &symbol);
    in.Consume(length);
    *out = static_cast<uint16_t>(symbol);
    ended = symbol == endOfBlock;
    out += !ended;
    return ended;
  };
  while (left > 0 && !ended) {
    in.RefillWide();
    if (left >= kPerFilling) {
      for (int i = 0; i < kPerFilling; ++i) {
        if (one()) break;
      }
      left -= kPerFilling;
    } else {
      for (; left > 0 && !one(); --left) {
      }
    }
  }
  d->in = in;
  d->out = out;
  d->keep = kBitsPerSymbol - length;
  return ended;
}

zelStatus ownDecodeSymbols(const zelBZ2HuffDecodeState* s, const uint8_t* selectors, Decoder* d) {
  const uint32_t endOfBlock = static_cast<uint32_t>(s->alphaSize - 1);
  while (d->out < d->outEnd) {
    const int32_t known = d->group < s->numSelectors ? d->group : s->numSelectors - 1;
    const DecodeTable& table = s->tables[selectors[known]];
    int left = kGroupSize - d->inGroup;

    if (ZELDC_LIKELY(d->in.srcEnd - d->in.src >= kSourceOfGroup && d->outEnd - d->out >= left)) {
      const bool ended = table.longest <= 11   ? DecodeFast<5>(table, endOfBlock, left, d)
                         : table.longest <= 14 ? DecodeFast<4>(table, endOfBlock, left, d)
                         : table.longest <= 18 ? DecodeFast<3>(table, endOfBlock, left, d)
                                               : DecodeFast<2>(table, endOfBlock, left, d);
      if (ended) return zelOk;
    } else {
      if (d->outEnd - d->out < left) left = static_cast<int>(d->outEnd - d->out);
      for (; left > 0; --left) {
        if (!d->in.Has(kBitsPerSymbol)) return zelWarnSrcShort;
        uint32_t symbol;
        const uint32_t length = DecodeSymbol(table, d->in.bits, &symbol);
        d->in.Consume(length);
        d->keep = kBitsPerSymbol - length;
        *d->out = static_cast<uint16_t>(symbol);
        if (symbol == endOfBlock) return zelOk;
        ++d->out;
        ++d->inGroup;
      }
    }
    // A group that the destination cuts short counts as done, too.
    if (d->group < s->numSelectors) ++d->group;
    d->inGroup = 0;
  }
  return zelWarnDstFull;
}

}  // namespace

extern "C" zelStatus zelsDecodeHuff_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                              int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                              zelBZ2HuffDecodeState* pState) {
  if (!pCode || !pCodeLenBits || !ppSrc || !pSrcLen) return zelErrNullPtr;
  if (!*ppSrc || !pDst || !pDstLen || !pState) return zelErrNullPtr;
  if (*pDstLen < 1 || *pSrcLen < 0) return zelErrSize;
  if (!pState->isReady) return zelErr;
  Decoder d = {MsbReader(*pCode, *pCodeLenBits, *ppSrc, static_cast<size_t>(*pSrcLen)),
               pDst,
               pDst + *pDstLen,
               pState->position,
               pState->positionInGroup,
               0};

  zelStatus status = ownDecodeSymbols(pState, pState->Selectors(), &d);

  // Short of source, all of it has been taken.
  if (status != zelWarnSrcShort) d.in.Settle(d.keep);
  *pSrcLen -= static_cast<int32_t>(d.in.src - *ppSrc);
  *ppSrc = d.in.src;
  *pDstLen = static_cast<int32_t>(d.out - pDst);
  *pCode = d.in.Waiting();
  *pCodeLenBits = static_cast<int32_t>(d.in.count);
  if (status == zelWarnDstFull && *pSrcLen == 0) status = zelWarnSrcShort;
  const bool ended = status == zelOk;
  pState->position = ended ? 0 : d.group;
  pState->positionInGroup = ended ? 0 : d.inGroup;
  return status;
}
