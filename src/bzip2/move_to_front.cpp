// Move-to-front: the loops over chunks, and the exports.

#include "bzip2/move_to_front.h"

#include <string.h>

#include "bzip2/front_list.h"
#include "bzip2/heads.h"
#include "bzip2/value_ranks.h"
#include "core/alloc.h"
#include "core/target.h"
#include "zeldc/bzip2.h"

namespace {

using namespace zeldc;

#if ZELDC_SSE41

class ForwardCoder {
 public:
  explicit ForwardCoder(const uint8_t* ranks) {
    for (int i = 0; i < 256; ++i) ranks_[i] = static_cast<int8_t>(ranks[i] ^ kRankFlip);
  }

  void Code(Chunk* chunk, uint8_t* dst) {
    RankHeads(chunk, ranks_);
    PutCodes<Direction::kForward>(*chunk, kRankFlip, dst);
  }

  void CopyTo(uint8_t* ranks) const {
    for (int i = 0; i < 256; ++i) ranks[i] = static_cast<uint8_t>(ranks_[i] ^ kRankFlip);
  }

 private:
  int8_t ranks_[256];
};

#else

// Without shuffles a search of the list is faster than comparisons with all ranks.
class ForwardCoder {
 public:
  explicit ForwardCoder(const uint8_t* ranks) : list_(Inverse(ranks).table) {}

  void Code(Chunk* chunk, uint8_t* dst) {
    for (int k = 0; k < chunk->count; ++k) {
      const uint8_t value = chunk->heads[k];
      const int r = list_.RankOf(value);
      list_.MoveToFront(r, value);
      chunk->codes[1 + k] = static_cast<uint8_t>(r);
    }
    PutCodes<Direction::kForward>(*chunk, 0, dst);
  }

  void CopyTo(uint8_t* ranks) {
    zelMTFState list;
    list_.CopyTo(list.table);
    memcpy(ranks, Inverse(list.table).table, 256);
  }

 private:
  static zelMTFState Inverse(const uint8_t* permutation) {
    zelMTFState inverse = {};
    for (int i = 0; i < 256; ++i) inverse.table[permutation[i]] = static_cast<uint8_t>(i);
    return inverse;
  }

  FrontList list_;
};

#endif

}  // namespace

void ownMTFFwd(const uint8_t* src, uint8_t* dst, int32_t len, uint8_t* ranks) {
  ForwardCoder coder(ranks);
  uint8_t last = static_cast<uint8_t>(~src[0]);  // any other value: the first byte is taken for a head
  while (len > 0) {
    Chunk chunk;
    CollectHeads<Direction::kForward>(src, len, last, &chunk);
    last = src[chunk.bytes - 1];
    if (chunk.count == 0) {
      memset(dst, 0, static_cast<size_t>(chunk.bytes));
    } else {
      coder.Code(&chunk, dst);
    }
    src += chunk.bytes;
    dst += chunk.bytes;
    len -= chunk.bytes;
  }
  coder.CopyTo(ranks);
}

void ownMTFInv(const uint8_t* src, uint8_t* dst, int32_t len, uint8_t* list) {
  FrontList values(list);
  while (len > 0) {
    Chunk chunk;
    CollectHeads<Direction::kInverse>(src, len, 0, &chunk);
    chunk.codes[0] = values.First();
    for (int k = 0; k < chunk.count; ++k) {
      values.MoveToFront(chunk.heads[k]);
      values.StoreFirst(chunk.codes + 1 + k);
    }
    PutCodes<Direction::kInverse>(chunk, 0, dst);
    src += chunk.bytes;
    dst += chunk.bytes;
    len -= chunk.bytes;
  }
  values.CopyTo(list);
}

extern "C" {

zelStatus zelsMTFGetSize_8u(int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = sizeof(zelMTFState);
  return zelOk;
}

zelStatus zelsMTFInit_8u(zelMTFState* pMTFState) {
  if (!pMTFState) return zelErrNullPtr;
  for (int i = 0; i < 256; ++i) pMTFState->table[i] = static_cast<uint8_t>(i);
  return zelOk;
}

zelStatus zelsMTFInitAlloc_8u(zelMTFState** ppMTFState) {
  if (!ppMTFState) return zelErrNullPtr;
  *ppMTFState = static_cast<zelMTFState*>(zelAllocState(sizeof(zelMTFState)));
  if (!*ppMTFState) return zelErrNoMem;
  return zelsMTFInit_8u(*ppMTFState);
}

zelStatus zelsMTFFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, zelMTFState* pMTFState) {
  if (!pSrc || !pDst || !pMTFState) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  ownMTFFwd(pSrc, pDst, len, pMTFState->table);
  return zelOk;
}

zelStatus zelsMTFInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, zelMTFState* pMTFState) {
  if (!pSrc || !pDst || !pMTFState) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  ownMTFInv(pSrc, pDst, len, pMTFState->table);
  return zelOk;
}

}  // extern "C"
