// The exports of the VLC decoder.

#include "core/alias.h"
#include "core/alloc.h"
#include "core/target.h"
#include "entropy/vlc_decode_kernels.h"
#include "entropy/vlc_decode_state.h"

using namespace zeldc;

namespace {

bool IsRecord(const zelVLCDecodeState* s) { return s->magic == zelVLCDecodeState::kMagic; }

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

using Decoder = int32_t(int16_t*, int32_t, VlcPosition*, const zelVLCDecodeState*);

ZELDC_ALWAYS_INLINE zelStatus ownDecode(Decoder decode, uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                        int32_t dstLen, const zelVLCDecodeState* s) {
  VlcPosition position = {*ppBitStream, static_cast<uint32_t>(*pBitOffset)};
  const int32_t decoded = decode(pDst, dstLen, &position, s);
  *ppBitStream = const_cast<uint8_t*>(position.byte);
  *pBitOffset = static_cast<int32_t>(position.bit);
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
