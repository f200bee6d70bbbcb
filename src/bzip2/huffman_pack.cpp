// The description of a block's codes: number of tables, selectors, code lengths.

#include "bzip2/huffman_encode_state.h"
#include "shared/bits_msb.h"

using namespace zeldc;

extern "C" zelStatus zelsPackHuffContext_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, uint8_t* pDst,
                                                   int32_t* pDstLen, zelBZ2HuffEncodeState* pState) {
  if (!pCode || !pCodeLenBits || !pDst || !pDstLen || !pState) return zelErrNullPtr;
  if (*pDstLen < 1) return zelErrSize;
  MsbWriter out(*pCode, *pCodeLenBits, pDst, static_cast<size_t>(*pDstLen));

  out.WriteAndPut(static_cast<uint32_t>(pState->numTables), 3);
  out.WriteAndPut(static_cast<uint32_t>(pState->numSelectors), 15);
  const uint8_t* selectors = pState->Selectors();
  TableOrder order;
  for (int32_t k = 0; k < pState->numSelectors; ++k) {
    const uint32_t place = order.PlaceOf(selectors[k]);
    out.WriteAndPut((2u << place) - 2, place + 1);  // as many ones, and a zero
  }
  for (int t = 0; t < pState->numTables; ++t) {
    const uint8_t* lengths = pState->lengths[t];
    int current = lengths[0];
    out.WriteAndPut(static_cast<uint32_t>(current), 5);
    for (int v = 0; v < pState->alphaSize; ++v) {
      for (; current < lengths[v]; ++current) out.WriteAndPut(2, 2);
      for (; current > lengths[v]; --current) out.WriteAndPut(3, 2);
      out.WriteAndPut(0, 1);
    }
  }

  *pDstLen = static_cast<int32_t>(out.out - pDst);
  *pCode = out.Waiting();
  *pCodeLenBits = out.WaitingCount();
  return out.count > 32 ? zelWarnDstFull : zelOk;
}
