// The exports of the LZO decoder: plain streams, and containers by threads.

#include <omp.h>
#include <string.h>

#include <algorithm>

#include "dictionary/lzo_decompress.h"
#include "dictionary/lzo_format.h"
#include "shared/unaligned.h"
#include "zelcore.h"
#include "zeldc/lzo.h"

namespace zeldc {
namespace {

bool IsPlain(const uint8_t* src, uint32_t len) { return src[0] < kContainerMark || len == PlainStreamSize(src[0]); }

zelStatus DecodePlain(const uint8_t* src, uint32_t len, uint8_t* dst, uint32_t* dst_len) {
  const size_t size = LzoDecompress(src, len, dst, *dst_len);
  if (size == kLzoBroken) return zelErrLzoBroken;
  *dst_len = static_cast<uint32_t>(size);
  return zelOk;
}

// The chunks' streams within a container.
struct Chunks {
  const uint8_t* in[kMaxChunks];
  size_t size[kMaxChunks];
};

// False if a chunk does not lie within the container.
bool FindChunks(const uint8_t* src, size_t len, uint32_t count, Chunks* chunks) {
  size_t at = ContainerHeaderSize(count);
  if (at > len) return false;
  for (uint32_t i = 0; i < count; ++i) {
    const size_t size = i + 1 < count ? LoadLE<uint32_t>(src + 5 + 4 * i) : len - at;
    if (size > len - at) return false;
    chunks->in[i] = src + at;
    chunks->size[i] = size;
    at += size;
  }
  return true;
}

// The room is what the container says, at most max_len.
zelStatus DecodeContainer(const uint8_t* src, uint32_t len, uint8_t* dst, uint32_t max_len, uint32_t* dst_len) {
  const uint32_t count = src[0] & ~kContainerMark;
  Chunks chunks;
  if (count == 0 || count > kMaxChunks || !FindChunks(src, len, count, &chunks)) return zelErrLzoBroken;
  const uint32_t whole = LoadLE<uint32_t>(src + 1);
  if (whole > max_len) return zelErrLzoBroken;

  const size_t part = whole / count;
  size_t sizes[kMaxChunks];
#pragma omp parallel for schedule(static) num_threads(std::max(ownGetNumThreads(), 1))
  for (int i = 0; i < static_cast<int>(count); ++i) {
    const size_t room = i + 1 < static_cast<int>(count) ? part : part + whole % count;
    sizes[i] = LzoDecompress(chunks.in[i], chunks.size[i], dst + part * static_cast<size_t>(i), room);
  }

  size_t total = 0;
  for (uint32_t i = 0; i < count; ++i) {
    if (sizes[i] == kLzoBroken) return zelErrLzoBroken;
    total += sizes[i];
  }
  // Behind a chunk that is shorter than told nothing that was there before shows within the result.
  for (uint32_t i = 0; i + 1 < count; ++i) {
    const size_t from = part * i + sizes[i];
    const size_t to = std::min(part * (i + 1), total);
    if (from < to) memset(dst + from, 0, to - from);
  }
  *dst_len = static_cast<uint32_t>(total);
  return zelOk;
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsDecodeLZOSafe_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) {
  if (!pSrc || !pDst || !pDstLen) return zelErrNullPtr;
  if (srcLen == 0) {
    *pDstLen = 0;
    return zelOk;
  }
  if (zeldc::IsPlain(pSrc, srcLen)) return zeldc::DecodePlain(pSrc, srcLen, pDst, pDstLen);
  return zeldc::DecodeContainer(pSrc, srcLen, pDst, *pDstLen, pDstLen);
}

zelStatus zelsDecodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) {
  if (!pSrc || !pDst || !pDstLen) return zelErrNullPtr;
  if (srcLen == 0) {
    *pDstLen = 0;
    return zelOk;
  }
  if (zeldc::IsPlain(pSrc, srcLen)) return zeldc::DecodePlain(pSrc, srcLen, pDst, pDstLen);
  return zeldc::DecodeContainer(pSrc, srcLen, pDst, UINT32_MAX, pDstLen);
}

}  // extern "C"
