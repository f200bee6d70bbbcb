// The decoder of the interval coder: its record, and a container back to the block.

#include <stdint.h>
#include <string.h>

#include <utility>

#include "core/alloc.h"
#include "entropy/git_due_bytes.h"
#include "entropy/git_interval_reader.h"
#include "shared/unaligned.h"
#include "zeldc/git.h"

struct zelGITDecodeState {
  int32_t maxDstLen;
};

namespace zeldc {
namespace {

constexpr int64_t kFixedSize = 28824;
constexpr uint32_t kPrimed = 256;  // bytes in front of the block

// What a call works with. It stands behind the record's head at the next multiple of 64.
struct Work {
  GitSlack due;
  // By position: the byte that stands there, how often it has occurred, and, read ahead, the interval after the one
  // that it waits for: whole, and cut to 16 bits.
  uint8_t symbols[256];
  uint32_t counts[256];
  uint32_t next[256];
  uint16_t nextNear[256];
  GitStreamReader streams[kGitStreams];
  uint32_t zerosLeft;  // occurrences of byte 0 to come
  uint8_t primer[kPrimed];
};

constexpr int64_t DecoderSize(int32_t max_len) { return kGitStreams * (int64_t{max_len} & ~int64_t{7}) + kFixedSize; }
static_assert(sizeof(zelGITDecodeState) + 63 + sizeof(Work) <= kFixedSize);

Work* WorkOf(zelGITDecodeState* state) {
  const uintptr_t behind_head = reinterpret_cast<uintptr_t>(state + 1);
  return reinterpret_cast<Work*>((behind_head + 63) / 64 * 64);
}

// Finds the streams. What a length says beyond the source's end counts up to there.
void OpenStreams(Work* work, const uint8_t* src, uint32_t len) {
  uint32_t at = 0;
  for (GitStreamReader& stream : work->streams) {
    uint32_t size = 0;
    if (len - at >= kGitLengthBytes) {
      size = LoadBE<uint32_t>(src + at);
      at += kGitLengthBytes;
    } else {
      at = len;
    }
    const uint32_t end = size < len - at ? at + size : len;
    stream = {at, end, 0, 0, kGitFirstK, 0};
    at = end;
  }
}

ZELDC_ALWAYS_INLINE void ReadAhead(Work* work, uint32_t position, const uint8_t* src, uint32_t src_len) {
  const uint32_t stream = 255u - work->symbols[position];
  const uint32_t interval = GitReadInterval(&work->streams[stream], src, src_len);
  work->next[position] = interval;
  work->nextNear[position] = GitNearSlack(interval);
}

void Start(Work* work, const uint8_t* src, uint32_t len) {
  OpenStreams(work, src, len);
  memset(work->counts, 0, sizeof(work->counts));
  uint32_t slack[256];
  for (uint32_t i = 0; i < 256; ++i) {
    work->symbols[i] = static_cast<uint8_t>(255 - i);
    slack[i] = GitReadInterval(&work->streams[i], src, len);
    ReadAhead(work, i, src, len);
  }
  // The last stream counts the occurrences of the byte that is due when no other one is.
  work->zerosLeft = slack[kGitRightEnd] == kGitNever ? 0 : slack[kGitRightEnd];
  slack[kGitRightEnd] = kGitNever;
  GitSetSlack(&work->due, slack);
}

// The bytes at the position and the next one change places.
ZELDC_ALWAYS_INLINE void SwapWithNext(Work* work, GitDue* due, uint32_t position) {
  std::swap(work->symbols[position], work->symbols[position + 1]);
  std::swap(work->counts[position], work->counts[position + 1]);
  std::swap(work->next[position], work->next[position + 1]);
  std::swap(work->nextNear[position], work->nextNear[position + 1]);
  due->SwapWithNext(position);
}

// Writes up to n bytes of the block, at most kGitLevelEvery. Returns how many: fewer mean that the block has ended.
template <GitMove kMove>
uint32_t ProduceLevelled(Work* work, const uint8_t* src, uint32_t src_len, uint8_t* dst, uint32_t n) {
  GitDue due(&work->due);
  uint32_t done = 0;
  while (done < n) {
    const uint32_t block = due.FirstBlock();
    if (ZELDC_UNLIKELY(block == kGitDueBlocks)) {
      if (work->zerosLeft == 0) break;
      due.Store();
      uint32_t run = GitLeastOfAll(&work->due);
      run = run < work->zerosLeft ? run : work->zerosLeft;
      run = run < n - done ? run : n - done;
      GitTakeFromAll(&work->due, run);
      due.Load();
      memset(dst + done, 0, run);
      done += run;
      work->zerosLeft -= run;
      work->counts[kGitRightEnd] += run;
      continue;
    }
    const uint32_t lane = work->due.first[block];
    const uint32_t position = block * kGitDueLanes + lane;
    due.Occur(block, lane, &work->nextNear[position]);
    dst[done++] = work->symbols[position];
    work->due.beyond[position] = work->next[position] - work->nextNear[position];
    ReadAhead(work, position, src, src_len);
    ++work->counts[position];
    if (ZELDC_UNLIKELY(GitMoves<kMove>(position, work->counts))) {
      SwapWithNext(work, &due, kMove == GitMove::kLeft ? position - 1 : position);
    }
  }
  due.Store();
  return done;
}

template <GitMove kMove>
uint32_t Produce(Work* work, const uint8_t* src, uint32_t src_len, uint8_t* dst, uint32_t n) {
  uint32_t done = 0;
  while (done < n) {
    const uint32_t piece = n - done < kGitLevelEvery ? n - done : kGitLevelEvery;
    GitLevel(&work->due);
    const uint32_t got = ProduceLevelled<kMove>(work, src, src_len, dst + done, piece);
    done += got;
    if (got < piece) break;
  }
  return done;
}

bool HasEnded(Work* work) { return work->zerosLeft == 0 && GitPlainDue(&work->due).FirstBlock() == kGitDueBlocks; }

// Returns the block's size, or more than the limit.
uint32_t DecodeBlock(Work* work, const uint8_t* src, uint32_t src_len, uint8_t* dst, uint32_t limit, int32_t strategy) {
  Start(work, src, src_len);
  if (GitIsPrimed(strategy) && Produce<GitMove::kNone>(work, src, src_len, work->primer, kPrimed) < kPrimed) return 0;
  uint32_t done = 0;
  switch (GitMoveOf(strategy)) {
    case GitMove::kLeft:
      done = Produce<GitMove::kLeft>(work, src, src_len, dst, limit);
      break;
    case GitMove::kRight:
      done = Produce<GitMove::kRight>(work, src, src_len, dst, limit);
      break;
    case GitMove::kNone:
      done = Produce<GitMove::kNone>(work, src, src_len, dst, limit);
      break;
  }
  return done < limit || HasEnded(work) ? done : limit + 1;
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsDecodeGITGetSize_8u(int32_t maxLen, int32_t* pSize) {
  if (pSize == nullptr) return zelErrNullPtr;
  if (maxLen < 1) return zelErrSize;
  const int64_t size = zeldc::DecoderSize(maxLen);
  if (size > INT32_MAX) return zelErrSize;
  *pSize = static_cast<int32_t>(size);
  return zelOk;
}

zelStatus zelsDecodeGITInit_8u(int32_t maxDstLen, zelGITDecodeState* pState) {
  if (pState == nullptr) return zelErrNullPtr;
  if (maxDstLen < 1) return zelErrSize;
  pState->maxDstLen = maxDstLen;
  return zelOk;
}

zelStatus zelsDecodeGITInitAlloc_8u(int32_t maxLen, int32_t maxDstLen, zelGITDecodeState** ppState) {
  if (ppState == nullptr) return zelErrNullPtr;
  if (maxLen < 1 || maxDstLen < 1) return zelErrSize;
  int32_t size = 0;
  const zelStatus status = zelsDecodeGITGetSize_8u(maxLen, &size);
  if (status != zelOk) return status;
  *ppState = static_cast<zelGITDecodeState*>(zelAllocState(size));
  return zelsDecodeGITInit_8u(maxDstLen, *ppState);
}

zelStatus zelsDecodeGIT_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen, int32_t strategy,
                           zelGITDecodeState* pState) {
  if (pSrc == nullptr || pDst == nullptr || pDstLen == nullptr || pState == nullptr) return zelErrNullPtr;
  const uint32_t src_len = srcLen > 0 ? static_cast<uint32_t>(srcLen) : 0;
  const uint32_t limit = static_cast<uint32_t>(pState->maxDstLen);
  const uint32_t size = zeldc::DecodeBlock(zeldc::WorkOf(pState), pSrc, src_len, pDst, limit, strategy);
  if (size > limit) return zelErrSize;
  *pDstLen = static_cast<int32_t>(size);
  return zelOk;
}

}  // extern "C"
