// Bits to symbols: each group of 50 with the code that its selector names.
//
// Much input is decoded by tables that the call makes for itself: a look-up of ten bits gives two symbols where their
// codes fit, in one store and one step of the bits. So one wait for memory serves nearly two symbols of usual data,
// where the tables of the record, a quarter of the size, make each symbol wait. Making them costs as much as some
// thousand symbols, so small calls do without. Codes that are longer, and the end of the block, are left to the
// record's tables.

#include <algorithm>

#include "bzip2/huffman_decode_state.h"
#include "core/assert.h"
#include "shared/bits_msb.h"

using namespace zeldc;

namespace {

// Bits that must be there before a symbol is decoded, whatever its length: part of the contract.
constexpr uint32_t kBitsPerSymbol = kMaxReadLength;

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
  *symbol = table.longSymbols[std::min<uint32_t>(place, table.lastLong)];
  return length;
}

// What the next ten bits hold: up to two symbols, none of them the end of the block.
class PairTable {
 public:
  static constexpr uint32_t kBits = 10;
  static constexpr int kPerFilling = 56 / kBits;  // look-ups

  // From bit 0 the first symbol, from bit 9 the number of symbols, from bit 16 the second symbol, from bit 26 the bits
  // of all. 0: neither.
  using Entry = uint32_t;
  static constexpr Entry MakeEntry(uint32_t symbol, uint32_t length) { return symbol | 1u << 9 | length << 26; }
  static constexpr Entry Join(Entry a, Entry b) {
    return (a & 511) | 2u << 9 | (b & 511) << 16 | (LengthOf(a) + LengthOf(b)) << 26;
  }
  static constexpr uint32_t CountOf(Entry entry) { return entry >> 9 & 3; }
  static constexpr uint32_t LengthOf(Entry entry) { return entry >> 26; }
  static ZELDC_ALWAYS_INLINE void StoreBoth(Entry entry, uint16_t* out) {
    if constexpr (std::endian::native == std::endian::little) {
      StoreNative<uint32_t>(out, entry & 0x01FF01FF);
    } else {
      out[0] = entry & 511;
      out[1] = entry >> 16 & 511;
    }
  }

  void Make(const DecodeTable& table, uint32_t endOfBlock) {
    constexpr uint32_t kSize = 1u << kBits;
    Entry single[kSize];
    for (uint32_t i = 0; i < kSize;) {
      uint32_t symbol;
      const uint32_t length = DecodeSymbol(table, uint64_t{i} << (64 - kBits), &symbol);
      const bool isShort = length <= kBits;
      const uint32_t n = isShort ? 1u << (kBits - length) : 1;
      std::fill_n(single + i, n, isShort && symbol != endOfBlock ? MakeEntry(symbol, length) : 0);
      i += n;
    }
    for (uint32_t i = 0; i < kSize; ++i) {
      const Entry first = single[i];
      const Entry second = single[i << LengthOf(first) & (kSize - 1)];
      const bool fit = first != 0 && second != 0 && LengthOf(first) + LengthOf(second) <= kBits;
      entries_[i] = fit ? Join(first, second) : first;
    }
  }

  Entry At(uint64_t bits) const { return entries_[bits >> (64 - kBits)]; }

 private:
  Entry entries_[1 << kBits];
};

struct Decoder {
  MsbReader in;
  uint16_t* out;
  uint16_t* outEnd;
  int32_t group;
  int32_t inGroup;  // symbols of the group decoded so far
  uint32_t keep;    // see MsbReader::Settle: bits that whoever loads byte by byte holds behind the last symbol

  // Decodes one symbol, whose bits are there. True at the end of the block, which is not counted.
  ZELDC_ALWAYS_INLINE bool One(const DecodeTable& table, uint32_t endOfBlock) {
    uint32_t symbol;
    const uint32_t length = DecodeSymbol(table, in.bits, &symbol);
    in.Consume(length);
    keep = kBitsPerSymbol - length;
    *out = static_cast<uint16_t>(symbol);
    if (symbol == endOfBlock) return true;
    ++out;
    return false;
  }
};

// What a group can take, and what a filling reads beyond it.
constexpr ptrdiff_t kSourceOfGroup = kGroupSize * kMaxReadLength / 8 + 16;

// Decodes to the end of a group, or to that of the block: true. There is source for a group, and room for more than it.
// Behind a group, `keep` is not known.
ZELDC_ALWAYS_INLINE bool DecodeByPairs(const DecodeTable& table, const PairTable& pairs, uint32_t endOfBlock,
                                       uint16_t* groupEnd, Decoder* decoder) {
  Decoder d = *decoder;
  bool ended = false;
  while (groupEnd - d.out >= 2 && !ended) {
    d.in.RefillWide();
    // No look-up can pass the group's end.
    int lookUps = static_cast<int>(std::min<ptrdiff_t>((groupEnd - d.out) / 2, PairTable::kPerFilling));
    do {
      const PairTable::Entry entry = pairs.At(d.in.bits);
      if (ZELDC_UNLIKELY(entry == 0)) {
        d.in.RefillWide();
        ended = d.One(table, endOfBlock);
        break;
      }
      PairTable::StoreBoth(entry, d.out);
      d.out += PairTable::CountOf(entry);
      d.in.Consume(PairTable::LengthOf(entry));
    } while (--lookUps > 0);
  }
  if (d.out < groupEnd && !ended) {
    d.in.RefillWide();
    ended = d.One(table, endOfBlock);
  }
  *decoder = d;
  return ended;
}

// Less output or input than this is not worth the making of tables.
constexpr ptrdiff_t kManySymbols = 16384;
constexpr ptrdiff_t kMuchSource = 8192;

const DecodeTable& TableOf(const zelBZ2HuffDecodeState* s, const uint8_t* selectors, int32_t group) {
  const uint8_t table = selectors[std::min(group, s->numSelectors - 1)];
  ZELDC_ASSERT(table < s->numTables);
  return s->tables[table];
}

void NextGroup(const zelBZ2HuffDecodeState* s, Decoder* d) {
  if (d->group < s->numSelectors) ++d->group;
  d->inGroup = 0;
}

// Whole groups, as long as there is plenty of source, and room for at least one symbol more. True at the block's end.
ZELDC_NOINLINE bool ownDecodeMany(const zelBZ2HuffDecodeState* s, const uint8_t* selectors, Decoder* decoder) {
  const uint32_t endOfBlock = static_cast<uint32_t>(s->alphaSize - 1);
  PairTable pairs[kMaxHuffTables];
  for (int t = 0; t < s->numTables; ++t) pairs[t].Make(s->tables[t], endOfBlock);
  Decoder d = *decoder;
  bool ended = false;
  while (!ended && d.in.srcEnd - d.in.src >= kSourceOfGroup && d.outEnd - d.out > kGroupSize) {
    const DecodeTable& table = TableOf(s, selectors, d.group);
    ended = DecodeByPairs(table, pairs[&table - s->tables], endOfBlock, d.out + (kGroupSize - d.inGroup), &d);
    NextGroup(s, &d);
  }
  *decoder = d;
  return ended;
}

zelStatus ownDecodeSymbols(const zelBZ2HuffDecodeState* s, const uint8_t* selectors, Decoder* d) {
  const uint32_t endOfBlock = static_cast<uint32_t>(s->alphaSize - 1);
  if (d->outEnd - d->out >= kManySymbols && d->in.srcEnd - d->in.src >= kMuchSource &&
      s->numSelectors - d->group >= kManySymbols / kGroupSize) {
    if (ownDecodeMany(s, selectors, d)) return zelOk;
  }
  while (d->out < d->outEnd) {
    const DecodeTable& table = TableOf(s, selectors, d->group);
    const int left = static_cast<int>(std::min<ptrdiff_t>(d->outEnd - d->out, kGroupSize - d->inGroup));
    for (int i = 0; i < left; ++i) {
      if (!d->in.Has(kBitsPerSymbol)) {
        d->inGroup += i;
        return zelWarnSrcShort;
      }
      if (d->One(table, endOfBlock)) return zelOk;
    }
    NextGroup(s, d);  // a group that the destination cuts short counts as done, too
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
  const RedzoneGuard guard(pState);
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
