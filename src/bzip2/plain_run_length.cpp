// Plain run-length coding: two equal bytes are followed by the number of further ones, 0 to 255.
//
// The stream must read the same however the calls were cut. So no call may end between a pair and its count, nor within
// a pair: a pair for which there is not all the room stays in the source.

#include <string.h>

#include <algorithm>
#include <bit>

#include "bzip2/run_search.h"
#include "core/target.h"
#include "zeldc/bzip2.h"

namespace zeldc {
namespace {

constexpr int32_t kPair = 2;
constexpr int32_t kLargestCount = 255;

#if ZELDC_SSE2

using Flags = size_t;  // one for each byte of a block
constexpr int kBlock = 8 * sizeof(Flags);
constexpr int kStep = 16;

// What a block may read behind its first byte, and write when no group of it has more than kShort copies.
constexpr int kShort = 32;
constexpr int32_t kBlockSource = 2 * kBlock + kStep;
constexpr int32_t kBlockRoom = 2 * kBlock + kBlock / 2 * kShort + 2 * kStep;

// Where a byte is equal to the next one.
Flags FlagPairs(const uint8_t* src) {
  Flags pairs = 0;
  for (int i = 0; i < kBlock; i += kStep) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 1));
    pairs |= Flags{static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, next)))} << i;
  }
  return pairs;
}

// Up to kStep - 1 more bytes are written.
ZELDC_ALWAYS_INLINE void CopySteps(const uint8_t* src, uint8_t* dst, int len) {
  int i = 0;
  do {
    memcpy(dst + i, src + i, kStep);
    i += kStep;
  } while (ZELDC_UNLIKELY(i < len));
}

// Encodes while plenty of source and room are left, and stops between two groups. Where runs are close together, one
// look at a block finds all its pairs and the lengths of the runs.
void EncodeBlocks(RunCursor* cursor) {
  const uint8_t* src = cursor->src;
  uint8_t* dst = cursor->dst;
  const uint8_t* const src_end = src + cursor->left;
  uint8_t* const dst_end = dst + cursor->room;
  while (src_end - src >= kBlockSource && dst_end - dst >= kBlockRoom) {
    int done = 0;
    for (Flags pairs = FlagPairs(src); pairs != 0;) {
      const int pair = std::countr_zero(pairs);
      const int repeats = std::countr_one(pairs >> pair);
      CopySteps(src + done, dst, pair + kPair - done);
      dst += pair + kPair - done;
      done = pair + repeats + 1;
      if (ZELDC_LIKELY(done <= kBlock)) {
        *dst++ = static_cast<uint8_t>(repeats - 1);
        if (done == kBlock) break;
        pairs &= ~Flags{0} << done;
      } else {  // goes on behind the block
        const uint8_t* const more = src + pair + kPair;
        const auto len = static_cast<size_t>(std::min<ptrdiff_t>(src_end - more, kLargestCount));
        const size_t count = CountRepeats(more, len, src[pair]);
        *dst++ = static_cast<uint8_t>(count);
        done = pair + kPair + static_cast<int>(count);
        break;
      }
    }
    if (done < kBlock) {
      CopySteps(src + done, dst, kBlock - done);
      dst += kBlock - done;
      done = kBlock;
    }
    src += done;
  }
  *cursor = {src, static_cast<int32_t>(src_end - src), dst, static_cast<int32_t>(dst_end - dst)};
}

// Decodes likewise.
void DecodeBlocks(RunCursor* cursor) {
  const uint8_t* src = cursor->src;
  uint8_t* dst = cursor->dst;
  const uint8_t* const src_end = src + cursor->left;
  uint8_t* const dst_end = dst + cursor->room;
  while (src_end - src >= kBlockSource && dst_end - dst >= kBlockRoom) {
    int done = 0;
    for (Flags pairs = FlagPairs(src); pairs != 0;) {
      const int pair = std::countr_zero(pairs);
      const int count = src[pair + kPair];
      if (ZELDC_UNLIKELY(count > kShort) && dst_end - dst < kBlockRoom + kLargestCount) {
        src += done;
        *cursor = {src, static_cast<int32_t>(src_end - src), dst, static_cast<int32_t>(dst_end - dst)};
        return;
      }
      CopySteps(src + done, dst, pair + kPair - done);
      dst += pair + kPair - done;
      memset(dst, src[pair], kShort);
      if (ZELDC_UNLIKELY(count > kShort)) memset(dst, src[pair], static_cast<size_t>(count));
      dst += count;
      done = pair + kPair + 1;
      if (done >= kBlock) break;
      pairs &= ~Flags{0} << done;
    }
    if (done < kBlock) {
      CopySteps(src + done, dst, kBlock - done);
      dst += kBlock - done;
      done = kBlock;
    }
    src += done;
  }
  *cursor = {src, static_cast<int32_t>(src_end - src), dst, static_cast<int32_t>(dst_end - dst)};
}

#else

void EncodeBlocks(RunCursor*) {}
void DecodeBlocks(RunCursor*) {}

#endif

// Copies up to the end of a pair, of the source or of the room. Returns whether behind a pair.
bool CopyToPair(RunCursor* cursor) {
  const int32_t len = std::min(cursor->left, cursor->room);
  const Copied copied = CopyUntilRun<kPair>(cursor->src, cursor->dst, static_cast<size_t>(len));
  Advance(cursor, static_cast<ptrdiff_t>(copied.bytes));
  if (copied.found) return true;
  // The room ends within a pair.
  if (cursor->left > 0 && *cursor->src == cursor->src[-1]) Advance(cursor, -1);
  return false;
}

// Encodes up to the end of the source, or to where the room is too small.
void Encode(RunCursor* cursor) {
  EncodeBlocks(cursor);
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
void Decode(RunCursor* cursor) {
  DecodeBlocks(cursor);
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

using Kernel = void (*)(RunCursor* cursor);

template <Kernel kKernel>
zelStatus Run(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) {
  RunCursor cursor = {*ppSrc, *pSrcLen, pDst, *pDstLen};
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
