// The exports of the LZO encoder: one chunk, or one for each thread and the container around them.

#include <omp.h>
#include <string.h>

#include <algorithm>

#include "dictionary/lzo_compress.h"
#include "dictionary/lzo_format.h"
#include "dictionary/lzo_state.h"
#include "shared/unaligned.h"
#include "zelcore.h"
#include "zeldc/lzo.h"

namespace zeldc {
namespace {

uint64_t RecordSize(uint32_t max_src_len, uint64_t threads) {
  if (threads == 1) return sizeof(zelLZOState);
  return offsetof(zelLZOState, first) + threads * (sizeof(LzoDictionary) + LzoBound(max_src_len));
}

uint64_t NumThreads() { return static_cast<uint64_t>(std::max(ownGetNumThreads(), 1)); }

LzoDictionary* Dictionaries(zelLZOState* state) { return &state->first; }

void WriteEndMarker(uint8_t* out) { memcpy(out, kEndMarker, kEndMarkerSize); }

uint32_t EncodePlain(const uint8_t* src, uint32_t len, uint8_t* dst, zelLZOState* state) {
  const size_t size = LzoCompress(src, len, dst, Dictionaries(state));
  WriteEndMarker(dst + size);
  return static_cast<uint32_t>(size + kEndMarkerSize);
}

// Into as many chunks as there are threads, 2 to 32. Answers 0 when the container would be taken for a plain stream.
uint32_t EncodeContainer(const uint8_t* src, uint32_t len, uint8_t* dst, zelLZOState* state, int threads) {
  uint8_t* const record = reinterpret_cast<uint8_t*>(state);
  const auto chunks = static_cast<uint32_t>(threads);
  const uint32_t chunk = len / chunks;
  size_t sizes[kMaxChunks];
#pragma omp parallel num_threads(threads)
  {
    // The run time may grant fewer threads than were asked for: then one thread does several chunks.
#pragma omp for schedule(static)
    for (int i = 0; i < threads; ++i) {
      LzoDictionary* const dictionary = Dictionaries(state) + i;
      uint8_t* const buffer = record + dictionary->buffer;
      const uint32_t size = i + 1 < threads ? chunk : len - chunk * (chunks - 1);
      sizes[i] = LzoCompress(src + size_t{chunk} * static_cast<size_t>(i), size, buffer, dictionary) + kEndMarkerSize;
      WriteEndMarker(buffer + sizes[i] - kEndMarkerSize);
    }
#pragma omp for schedule(static)
    for (int i = 0; i < threads; ++i) {
      uint8_t* out = dst + ContainerHeaderSize(chunks);
      for (int j = 0; j < i; ++j) out += sizes[j];
      memcpy(out, record + Dictionaries(state)[i].buffer, sizes[i]);
    }
  }
  dst[0] = static_cast<uint8_t>(kContainerMark | chunks);
  StoreLE(dst + 1, len);
  size_t total = ContainerHeaderSize(chunks);
  for (uint32_t i = 0; i < chunks; ++i) {
    if (i + 1 < chunks) StoreLE(dst + 5 + 4 * i, static_cast<uint32_t>(sizes[i]));
    total += sizes[i];
  }
  return total == PlainStreamSize(dst[0]) ? 0 : static_cast<uint32_t>(total);
}

// How many chunks an input is cut into; 1 for a plain stream.
int Chunks(uint32_t len, const zelLZOState* state) {
  if (state->method == zelLZOMethodSingle) return 1;
  const auto threads = static_cast<uint32_t>(
      std::min({NumThreads(), static_cast<uint64_t>(std::max(state->threads, 1)), uint64_t{kMaxChunks}}));
  const uint32_t chunk = len / threads;
  const uint32_t last = len - chunk * (threads - 1);
  return chunk >= kMinChunk && LzoBound(last) <= state->buffer_size ? static_cast<int>(threads) : 1;
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsEncodeLZOGetSize(zelLZOMethod method, uint32_t maxSrcLen, int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = 0;
  if (method != zelLZOMethodSingle && method != zelLZOMethodParallel) return zelErrBadArg;
  const uint64_t size = zeldc::RecordSize(maxSrcLen, method == zelLZOMethodSingle ? 1 : zeldc::NumThreads());
  if (size > INT32_MAX) return zelErrSize;
  *pSize = static_cast<int32_t>(size);
  return zelOk;
}

zelStatus zelsEncodeLZOInit_8u(zelLZOMethod method, uint32_t maxSrcLen, zelLZOState* pState) {
  if (!pState) return zelErrNullPtr;
  if (method != zelLZOMethodSingle && method != zelLZOMethodParallel) return zelErrBadArg;
  const uint64_t threads = method == zelLZOMethodSingle ? 1 : zeldc::NumThreads();
  if (zeldc::RecordSize(maxSrcLen, threads) > INT32_MAX) return zelErrSize;
  // All sizes and places within the record are below 2^31 now.
  pState->method = threads == 1 ? zelLZOMethodSingle : zelLZOMethodParallel;
  pState->threads = static_cast<int32_t>(threads);
  pState->buffer_size = threads == 1 ? 0 : static_cast<uint32_t>(zeldc::LzoBound(maxSrcLen));
  const uint64_t buffers = offsetof(zelLZOState, first) + threads * sizeof(zeldc::LzoDictionary);
  for (uint32_t i = 0; i < threads; ++i) {
    zeldc::LzoDictionary* const dictionary = zeldc::Dictionaries(pState) + i;
    zeldc::LzoInitDictionary(dictionary);
    dictionary->buffer = static_cast<uint32_t>(buffers + uint64_t{i} * pState->buffer_size);
  }
  return zelOk;
}

zelStatus zelsEncodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen,
                           zelLZOState* pState) {
  if (!pState || !pSrc || !pDst || !pDstLen) return zelErrNullPtr;
  if (srcLen == 0) {
    *pDstLen = 0;
    return zelOk;
  }
  if (pState->method != zelLZOMethodSingle && pState->method != zelLZOMethodParallel) return zelErrBadArg;
  if (srcLen > INT32_MAX) return zelErrSize;
  const int chunks = zeldc::Chunks(srcLen, pState);
  uint32_t size = 0;
  if (chunks > 1) size = zeldc::EncodeContainer(pSrc, srcLen, pDst, pState, chunks);
  if (size == 0) size = zeldc::EncodePlain(pSrc, srcLen, pDst, pState);
  *pDstLen = size;
  return zelOk;
}

}  // extern "C"
