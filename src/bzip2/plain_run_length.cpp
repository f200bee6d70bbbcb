// Plain run-length coding: two equal bytes are followed by the number of further ones, 0 to 255.
//
// The stream must read the same however the calls were cut. So no call may end between a pair and its count, nor within
// a pair: a pair for which there is not all the room stays in the source.

#include <string.h>

#include <algorithm>

#include "bzip2/run_search.h"
#include "zeldc/bzip2.h"

namespace zeldc {
namespace {

constexpr int32_t kPair = 2;
constexpr int32_t kLargestCount = 255;

struct Cursor {
  const uint8_t* src;
  int32_t left;
  uint8_t* dst;
  int32_t room;
};

void Advance(Cursor* cursor, int32_t bytes) {
  cursor->src += bytes;
  cursor->left -= bytes;
  cursor->dst += bytes;
  cursor->room -= bytes;
}

// Copies up to the end of a pair, of the source or of the room. Returns whether behind a pair.
bool CopyToPair(Cursor* cursor) {
  const int32_t len = std::min(cursor->left, cursor->room);
  const Copied copied = CopyUntilRun<kPair>(cursor->src, cursor->dst, static_cast<size_t>(len));
  Advance(cursor, static_cast<int32_t>(copied.bytes));
  if (copied.found) return true;
  // The room ends within a pair.
  if (cursor->left > 0 && *cursor->src == cursor->src[-1]) Advance(cursor, -1);
  return false;
}

// Encodes up to the end of the source, or to where the room is too small.
void Encode(Cursor* cursor) {
  while (cursor->left > 0 && cursor->room > 0) {
    if (!CopyToPair(cursor)) return;
    if (cursor->room == 0) {
      Advance(cursor, -kPair);
      return;
    }
    const auto len = static_cast<size_t>(std::min(cursor->left, kLargestCount));
    const size_t count = CountRepeats(cursor->src, len, cursor->src[-1]);
    cursor->src += count;
    cursor->left -= static_cast<int32_t>(count);
    *cursor->dst++ = static_cast<uint8_t>(count);
    --cursor->room;
  }
}

// Decodes up to the end of the source, or to where the room is too small.
void Decode(Cursor* cursor) {
  while (cursor->left > 0 && cursor->room > 0) {
    if (!CopyToPair(cursor)) return;
    if (cursor->left == 0) return;
    const int32_t count = *cursor->src;
    if (count > cursor->room) {
      Advance(cursor, -kPair);
      return;
    }
    ++cursor->src;
    --cursor->left;
    memset(cursor->dst, cursor->dst[-1], static_cast<size_t>(count));
    cursor->dst += count;
    cursor->room -= count;
  }
}

using Kernel = void (*)(Cursor* cursor);

template <Kernel kKernel>
zelStatus Run(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) {
  Cursor cursor = {*ppSrc, *pSrcLen, pDst, *pDstLen};
  kKernel(&cursor);
  *ppSrc += *pSrcLen - cursor.left;
  *pSrcLen = cursor.left;
  *pDstLen -= cursor.room;
  return cursor.left == 0 ? zelOk : zelWarnDstFull;
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsEncodeRLE_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) {
  if (!ppSrc || !pDst || !pSrcLen || !pDstLen || !*ppSrc) return zelErrNullPtr;
  if (*pSrcLen < 1 || *pDstLen < 1) return zelErrSize;
  return zeldc::Run<zeldc::Encode>(ppSrc, pSrcLen, pDst, pDstLen);
}

zelStatus zelsDecodeRLE_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) {
  if (!ppSrc || !pDst || !pSrcLen || !pDstLen || !*ppSrc) return zelErrNullPtr;
  if (*pSrcLen < 1 || *pDstLen < 1) return zelErrSize;
  return zeldc::Run<zeldc::Decode>(ppSrc, pSrcLen, pDst, pDstLen);
}

}  // extern "C"
