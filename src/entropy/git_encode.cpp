// The encoder of the interval coder: its record, and a block through it.
//
// Some hundred bytes at a time become intervals and then bits: two loops, each with few registers. Streams grow side by
// side, each in its own buffer, and are put together at the end.

#include <stdint.h>
#include <string.h>

#include "core/alloc.h"
#include "entropy/git_bit_streams.h"
#include "entropy/git_intervals.h"
#include "shared/unaligned.h"
#include "zeldc/git.h"

struct zelGITEncodeState {
  int32_t maxSrcLen;
  int32_t maxDstLen;
};

namespace zeldc {
namespace {

constexpr int32_t kLeastSrcLen = 4096;
constexpr int32_t kLeastDstLen = 8192;
constexpr int64_t kFixedSize = 33912;
constexpr uint32_t kBatch = 512;  // bytes
constexpr uint32_t kOriginLimit = 65535;

// What a call works with. It stands behind the record's head at the next multiple of 64.
struct Work {
  GitBitStream streams[kGitStreams];
  GitIntervals row;
  uint32_t intervals[kBatch];
  uint8_t intervalStreams[kBatch];
  uint8_t primer[kGitStreams];
};

constexpr int64_t WithoutLastBits(int64_t length) { return length & ~int64_t{7}; }

constexpr bool IsRaised(int32_t max_src_len) { return max_src_len < kLeastSrcLen; }

constexpr int64_t EncoderSize(int32_t max_src_len, int32_t max_dst_len) {
  if (IsRaised(max_src_len)) return EncoderSize(kLeastSrcLen, kLeastDstLen);
  return kGitStreams * WithoutLastBits(max_src_len) + WithoutLastBits(max_dst_len) + kFixedSize;
}
static_assert(EncoderSize(100, 100000) == 256 * 4096 + 8192 + 33912);
static_assert(sizeof(zelGITEncodeState) + 63 + sizeof(Work) + kGitStreams * GitBuffers::kGap <= kFixedSize);

Work* WorkOf(zelGITEncodeState* state) {
  const uintptr_t behind_head = reinterpret_cast<uintptr_t>(state + 1);
  return reinterpret_cast<Work*>((behind_head + 63) / 64 * 64);
}

GitBuffers BuffersOf(zelGITEncodeState* state) {
  return {reinterpret_cast<uint8_t*>(WorkOf(state) + 1), static_cast<size_t>(WithoutLastBits(state->maxSrcLen))};
}

void PutAll(Work* work, const GitBuffers& buffers, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    const uint32_t s = work->intervalStreams[i];
    GitPutInterval(&work->streams[s], buffers.Of(s), buffers.capacity, work->intervals[i]);
  }
}

template <GitMove kMove>
void TakeBytes(Work* work, const GitBuffers& buffers, const uint8_t* src, size_t len) {
  while (len > 0) {
    const size_t n = len < kBatch ? len : kBatch;
    if (work->row.since_origin + n > kOriginLimit) GitMoveOrigin(&work->row);
    const size_t taken = GitTakeBytes<kMove, GitSums>(&work->row, src, n, {work->intervals, work->intervalStreams});
    PutAll(work, buffers, taken);
    src += n;
    len -= n;
  }
}

void EncodeStreams(Work* work, const GitBuffers& buffers, const uint8_t* src, size_t len, int32_t strategy) {
  for (GitBitStream& stream : work->streams) stream = {0, 0, 0, kGitFirstK, 0, 0};
  GitReset(&work->row);
  if (GitIsPrimed(strategy)) {
    for (uint32_t i = 0; i < kGitStreams; ++i) work->primer[i] = static_cast<uint8_t>(i);
    TakeBytes<GitMove::kNone>(work, buffers, work->primer, kGitStreams);
  }
  switch (GitMoveOf(strategy)) {
    case GitMove::kLeft:
      TakeBytes<GitMove::kLeft>(work, buffers, src, len);
      break;
    case GitMove::kRight:
      TakeBytes<GitMove::kRight>(work, buffers, src, len);
      break;
    case GitMove::kNone:
      TakeBytes<GitMove::kNone>(work, buffers, src, len);
      break;
  }
  GitPutInterval(&work->streams[kGitRightEnd], buffers.Of(kGitRightEnd), buffers.capacity,
                 work->row.counts[kGitRightEnd]);
}

// Returns the container's size, or, when it has more than `limit` bytes, 0, and then nothing is written.
size_t WriteContainer(Work* work, const GitBuffers& buffers, uint8_t* dst, size_t limit) {
  size_t sizes[kGitStreams];
  size_t total = kGitHeaderBytes;
  for (uint32_t s = 0; s < kGitStreams; ++s) {
    sizes[s] = GitFinish(&work->streams[s], buffers.Of(s), buffers.capacity);
    total += sizes[s];
  }
  if (total > limit) return 0;
  for (uint32_t s = 0; s < kGitStreams; ++s) {
    StoreBE(dst, static_cast<uint32_t>(sizes[s]));
    memcpy(dst + kGitLengthBytes, buffers.Of(s), sizes[s]);
    dst += kGitLengthBytes + sizes[s];
  }
  return total;
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsEncodeGITGetSize_8u(int32_t maxSrcLen, int32_t maxDstLen, int32_t* pSize) {
  if (pSize == nullptr) return zelErrNullPtr;
  if (maxSrcLen < 1 || maxDstLen < 1) return zelErrSize;
  const int64_t size = zeldc::EncoderSize(maxSrcLen, maxDstLen);
  if (size > INT32_MAX) return zelErrSize;
  *pSize = static_cast<int32_t>(size);
  return zeldc::IsRaised(maxSrcLen) ? zelWarnDstFull : zelOk;
}

zelStatus zelsEncodeGITInit_8u(int32_t maxSrcLen, int32_t maxDstLen, zelGITEncodeState* pState) {
  if (pState == nullptr) return zelErrNullPtr;
  if (maxSrcLen < 1 || maxDstLen < 1) return zelErrSize;
  if (zeldc::EncoderSize(maxSrcLen, maxDstLen) > INT32_MAX) return zelErrSize;
  const bool raised = zeldc::IsRaised(maxSrcLen);
  pState->maxSrcLen = raised ? zeldc::kLeastSrcLen : maxSrcLen;
  pState->maxDstLen = raised ? zeldc::kLeastDstLen : maxDstLen;
  return raised ? zelWarnDstFull : zelOk;
}

zelStatus zelsEncodeGITInitAlloc_8u(int32_t maxSrcLen, int32_t maxDstLen, zelGITEncodeState** ppState) {
  int32_t size = 0;
  const zelStatus status = zelsEncodeGITGetSize_8u(maxSrcLen, maxDstLen, &size);
  if (status < zelOk) return status;
  if (ppState == nullptr) return zelErrNullPtr;
  zelGITEncodeState* const state = static_cast<zelGITEncodeState*>(zelAllocState(size));
  if (state == nullptr) {
    *ppState = nullptr;
    return zelErrNoMem;
  }
  const zelStatus init_status = zelsEncodeGITInit_8u(maxSrcLen, maxDstLen, state);
  *ppState = state;
  return init_status;
}

zelStatus zelsEncodeGIT_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen, int32_t strategy,
                           zelGITEncodeState* pState) {
  if (pSrc == nullptr || pDst == nullptr || pDstLen == nullptr || pState == nullptr) return zelErrNullPtr;
  if (srcLen < 0 || srcLen > pState->maxSrcLen) return zelErrSize;
  zeldc::Work* const work = zeldc::WorkOf(pState);
  const zeldc::GitBuffers buffers = zeldc::BuffersOf(pState);
  zeldc::EncodeStreams(work, buffers, pSrc, static_cast<size_t>(srcLen), strategy);
  const size_t size = zeldc::WriteContainer(work, buffers, pDst, static_cast<size_t>(pState->maxDstLen));
  if (size == 0) return zelErrSize;
  *pDstLen = static_cast<int32_t>(size);
  return zelOk;
}

}  // extern "C"
