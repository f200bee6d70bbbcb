// The VLC decoder: bits to values.
//
// The next bits stand uppermost in 64, so a look-up is a shift and a load, and what it found says how far to shift on:
// this chain, some nine cycles for a code of the first level, is what bounds decoding.
//
// Words are loaded one by one, each no earlier than when a code could reach into it: the contract lets no other be
// touched, and a code that is none may end a call anywhere. Only where every pattern is a code there is no such end.
// Then the codes still to come, of a bit at least, vouch for the words ahead, and eight bytes are loaded at a time.

#include <type_traits>

#include "core/alias.h"
#include "core/alloc.h"
#include "core/target.h"
#include "entropy/vlc_decode_state.h"
#include "shared/bits_msb.h"
#include "shared/unaligned.h"

using namespace zeldc;

namespace {

bool IsRecord(const zelVLCDecodeState* s) { return s->magic == zelVLCDecodeState::kMagic; }

// The stream with its next bits.
struct WordReader {
  const uint8_t* next;  // the first byte that is not in `bits`, at a multiple of 4
  uint64_t bits;        // uppermost; zeros below
  uint32_t count;       // how many, below 64

  WordReader(const uint8_t* byte, int32_t bitOffset) {
    const uint32_t byteInWord = reinterpret_cast<uintptr_t>(byte) % 4;
    const uint32_t used = 8 * byteInWord + static_cast<uint32_t>(bitOffset);
    next = byte - byteInWord + 4;
    bits = uint64_t{LoadBE<uint32_t>(next - 4)} << (32 + used);
    count = 32 - used;
  }

  // Makes sure that there are n bits, n <= 32.
  ZELDC_ALWAYS_INLINE void Need(uint32_t n) {
    if (count >= n) return;
    bits |= uint64_t{LoadBE<uint32_t>(next)} << (32 - count);
    next += 4;
    count += 32;
  }

  ZELDC_ALWAYS_INLINE void Consume(uint32_t n) {
    bits <<= n;
    count -= n;
  }

  const uint8_t* Byte() const { return next - (count + 7) / 8; }
  int32_t BitOffset() const { return static_cast<int32_t>((0 - count) % 8); }
};

// The tables of a record, for elements of one width.
template <typename Element>
struct Tables {
  const Element* first;
  uint32_t firstShift;  // of 64 bits, to the index of the first level
  uint32_t lengthMask;
  uint32_t valueShift;

  explicit Tables(const zelVLCDecodeState* s)
      : first(static_cast<const Element*>(s->Table())),
        firstShift(64 - static_cast<uint32_t>(first[0])),
        lengthMask((1u << s->lengthBits) - 1),
        valueShift(static_cast<uint32_t>(s->lengthBits) + 1) {}

  // The entry for the next bits. If it is a link, the leaf that it leads to, or what is unused, and into *passed the
  // bits of the levels before.
  ZELDC_ALWAYS_INLINE int32_t LookUp(uint64_t bits, uint32_t* passed) const {
    *passed = 0;
    const int32_t entry = first[1 + (bits >> firstShift)];
    return ZELDC_LIKELY(entry & 1) ? entry : Descend(bits, entry, passed);
  }

  int32_t Descend(uint64_t bits, int32_t entry, uint32_t* passed) const {
    const Element* table = first;
    while ((entry & 1) == 0 && entry != kVlcUnused) {
      const uint32_t width = static_cast<uint32_t>(table[0]);
      *passed += width;
      bits <<= width;
      table += static_cast<std::make_unsigned_t<Element>>(entry) >> 1;
      entry = table[1 + (bits >> (64 - static_cast<uint32_t>(table[0])))];
    }
    return entry;
  }

  ZELDC_ALWAYS_INLINE uint32_t LengthOf(int32_t entry) const {
    return (static_cast<uint32_t>(entry) >> 1) & lengthMask;
  }
  ZELDC_ALWAYS_INLINE int32_t ValueOf(int32_t entry) const { return entry >> valueShift; }
};

// Decoders return how many codes they decoded before they met bits that are none.

template <typename Element>
int32_t DecodeValues(int16_t* dst, int32_t n, WordReader* reader, const zelVLCDecodeState* s) {
  const Tables<Element> tables(s);
  const uint32_t maxLen = static_cast<uint32_t>(s->maxLen);
  WordReader in = *reader;
  int32_t i = 0;
  for (; i < n; ++i) {
    in.Need(maxLen);
    uint32_t passed;
    const int32_t entry = tables.LookUp(in.bits, &passed);
    if (ZELDC_UNLIKELY(entry == kVlcUnused)) break;
    dst[i] = static_cast<int16_t>(tables.ValueOf(entry));
    in.Consume(passed + tables.LengthOf(entry));
  }
  *reader = in;
  return i;
}

template <typename Element>
int32_t DecodeTuples(int16_t* dst, int32_t n, WordReader* reader, const zelVLCDecodeState* s) {
  const Tables<Element> tables(s);
  const uint32_t maxLen = static_cast<uint32_t>(s->maxLen);
  const uint32_t tupleSize = static_cast<uint32_t>(s->tupleSize);
  const uint32_t elementBits = static_cast<uint32_t>(s->elementBits);
  const uint32_t mask = ~uint32_t{0} >> (32 - elementBits);
  const uint32_t firstElement = static_cast<uint32_t>(s->packedBits) - elementBits;  // where it begins
  WordReader in = *reader;
  int32_t i = 0;
  for (; i < n; ++i) {
    in.Need(maxLen);
    uint32_t passed;
    const int32_t entry = tables.LookUp(in.bits, &passed);
    if (ZELDC_UNLIKELY(entry == kVlcUnused)) break;
    in.Consume(passed + tables.LengthOf(entry));
    in.Need(tupleSize);
    const uint32_t packed = static_cast<uint32_t>(tables.ValueOf(entry));
    for (uint32_t k = 0; k < tupleSize; ++k) {
      const uint32_t element = (packed >> (firstElement - k * elementBits)) & mask;
      const uint32_t minus = element != 0 ? static_cast<uint32_t>(in.bits >> 63) : 0;
      *dst++ = static_cast<int16_t>((element ^ (0 - minus)) + minus);
      in.Consume(element != 0);
    }
  }
  *reader = in;
  return i;
}

int32_t ownDecodeValues(int16_t* dst, int32_t n, WordReader* reader, const zelVLCDecodeState* s) {
  if (s->elementWidth == 8) return DecodeValues<int8_t>(dst, n, reader, s);
  if (s->elementWidth == 16) return DecodeValues<int16_t>(dst, n, reader, s);
  return DecodeValues<int32_t>(dst, n, reader, s);
}

int32_t ownDecodeTuples(int16_t* dst, int32_t n, WordReader* reader, const zelVLCDecodeState* s) {
  if (s->elementWidth == 8) return DecodeTuples<int8_t>(dst, n, reader, s);
  if (s->elementWidth == 16) return DecodeTuples<int16_t>(dst, n, reader, s);
  return DecodeTuples<int32_t>(dst, n, reader, s);
}

// Both kinds of tables, checks behind those of null pointers.

zelStatus ownGetSize(const VlcTable& table, const VlcTuple& tuple, int32_t* pSize) {
  VlcLayout layout;
  const zelStatus status = PlanVlcTable(table, tuple, &layout);
  if (status == zelOk) *pSize = layout.size;
  return status;
}

zelStatus ownInit(const VlcTable& table, const VlcTuple& tuple, zelVLCDecodeState* memory) {
  VlcLayout layout;
  const zelStatus status = PlanVlcTable(table, tuple, &layout);
  if (status == zelOk) BuildVlcTable(table, tuple, layout, 0, memory);
  return status;
}

zelStatus ownInitAlloc(const VlcTable& table, const VlcTuple& tuple, zelVLCDecodeState** memory) {
  VlcLayout layout;
  const zelStatus status = PlanVlcTable(table, tuple, &layout);
  if (status != zelOk) return status;
  auto* const allocated = static_cast<zelVLCDecodeState*>(zelAllocState(layout.size));
  if (!allocated) return zelErrNoMem;
  *memory = allocated;
  BuildVlcTable(table, tuple, layout, 1, allocated);
  return zelOk;
}

// The decoding exports, checks behind those of null pointers.

using Decoder = int32_t(int16_t*, int32_t, WordReader*, const zelVLCDecodeState*);

ZELDC_ALWAYS_INLINE zelStatus ownDecode(Decoder decode, uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                        int32_t dstLen, const zelVLCDecodeState* s) {
  WordReader reader(*ppBitStream, *pBitOffset);
  const int32_t decoded = decode(pDst, dstLen, &reader, s);
  *ppBitStream = const_cast<uint8_t*>(reader.Byte());
  *pBitOffset = reader.BitOffset();
  return decoded == dstLen ? zelOk : zelErrVlcInput;
}

}  // namespace

extern "C" {

zelStatus zelsVLCDecodeGetSize_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                   const int32_t* pSubTablesSizes, int32_t numSubTables, int32_t* pSize) {
  if (!pInputTable || !pSubTablesSizes || !pSize) return zelErrNullPtr;
  return ownGetSize({pInputTable, inputTableSize, pSubTablesSizes, numSubTables}, {}, pSize);
}

zelStatus zelsVLCDecodeInit_32s(const zelVLCCode* pInputTable, int32_t inputTableSize, const int32_t* pSubTablesSizes,
                                int32_t numSubTables, zelVLCDecodeState* pVLCSpec) {
  if (!pInputTable || !pSubTablesSizes || !pVLCSpec) return zelErrNullPtr;
  return ownInit({pInputTable, inputTableSize, pSubTablesSizes, numSubTables}, {}, pVLCSpec);
}

zelStatus zelsVLCDecodeInitAlloc_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                     const int32_t* pSubTablesSizes, int32_t numSubTables,
                                     zelVLCDecodeState** ppVLCSpec) {
  if (!pInputTable || !pSubTablesSizes || !ppVLCSpec) return zelErrNullPtr;
  return ownInitAlloc({pInputTable, inputTableSize, pSubTablesSizes, numSubTables}, {}, ppVLCSpec);
}

zelStatus zelsVLCDecodeUTupleGetSize_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                         const int32_t* pSubTablesSizes, int32_t numSubTables, int32_t tupleSize,
                                         int32_t elementBits, int32_t* pSize) {
  if (!pInputTable || !pSubTablesSizes || !pSize) return zelErrNullPtr;
  return ownGetSize({pInputTable, inputTableSize, pSubTablesSizes, numSubTables}, {tupleSize, elementBits, true},
                    pSize);
}

zelStatus zelsVLCDecodeUTupleInit_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                      const int32_t* pSubTablesSizes, int32_t numSubTables, int32_t tupleSize,
                                      int32_t elementBits, zelVLCDecodeState* pVLCSpec) {
  if (!pInputTable || !pSubTablesSizes || !pVLCSpec) return zelErrNullPtr;
  return ownInit({pInputTable, inputTableSize, pSubTablesSizes, numSubTables}, {tupleSize, elementBits, true},
                 pVLCSpec);
}

zelStatus zelsVLCDecodeUTupleInitAlloc_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                           const int32_t* pSubTablesSizes, int32_t numSubTables, int32_t tupleSize,
                                           int32_t elementBits, zelVLCDecodeState** ppVLCSpec) {
  if (!pInputTable || !pSubTablesSizes || !ppVLCSpec) return zelErrNullPtr;
  return ownInitAlloc({pInputTable, inputTableSize, pSubTablesSizes, numSubTables}, {tupleSize, elementBits, true},
                      ppVLCSpec);
}

void zelsVLCDecodeFree_32s(zelVLCDecodeState* pVLCSpec) {
  if (!pVLCSpec) return;
  zelVLCDecodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (!IsRecord(s)) return;
  s->magic = 0;
  if (s->isAllocated == 1) zelFreeState(pVLCSpec);
}

ZELDC_ALIAS(zelsVLCDecodeUTupleFree_32s, zelsVLCDecodeFree_32s);

zelStatus zelsVLCDecodeOne_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                 const zelVLCDecodeState* pVLCSpec) {
  if (!ppBitStream || !pBitOffset || !pDst || !pVLCSpec || !*ppBitStream) return zelErrNullPtr;
  const zelVLCDecodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (*pBitOffset < 0 || *pBitOffset > 7 || !IsRecord(s)) return zelErrVlcInput;
  return ownDecode(ownDecodeValues, ppBitStream, pBitOffset, pDst, 1, s);
}

zelStatus zelsVLCDecodeBlock_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t dstLen,
                                   const zelVLCDecodeState* pVLCSpec) {
  if (!ppBitStream || !pBitOffset || !pDst || !pVLCSpec || !*ppBitStream) return zelErrNullPtr;
  const zelVLCDecodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (*pBitOffset < 0 || *pBitOffset > 7 || dstLen < 1 || !IsRecord(s)) return zelErrVlcInput;
  return ownDecode(ownDecodeValues, ppBitStream, pBitOffset, pDst, dstLen, s);
}

zelStatus zelsVLCDecodeUTupleOne_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                       const zelVLCDecodeState* pVLCSpec) {
  if (!ppBitStream || !pBitOffset || !pDst || !pVLCSpec || !*ppBitStream) return zelErrNullPtr;
  const zelVLCDecodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (*pBitOffset < 0 || *pBitOffset > 7 || !IsRecord(s) || s->tupleSize == 0) return zelErrVlcInput;
  return ownDecode(ownDecodeTuples, ppBitStream, pBitOffset, pDst, 1, s);
}

zelStatus zelsVLCDecodeUTupleBlock_1u16s(uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t dstLen,
                                         const zelVLCDecodeState* pVLCSpec) {
  if (!ppBitStream || !pBitOffset || !pDst || !pVLCSpec || !*ppBitStream) return zelErrNullPtr;
  const zelVLCDecodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (*pBitOffset < 0 || *pBitOffset > 7 || dstLen < 1 || !IsRecord(s) || s->tupleSize == 0) return zelErrVlcInput;
  return ownDecode(ownDecodeTuples, ppBitStream, pBitOffset, pDst, dstLen, s);
}

}  // extern "C"
