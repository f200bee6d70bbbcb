// The LZSS encoder: the match search of Deflate's normal level, its pairs put into bits.
//
// Bound by the search. Pairs go through a small array, which stays in the first-level cache, and are coded without a
// branch, two for each store, eight side by side where vectors allow; so coding costs little beside the search, whose
// branches wait for cache misses.

#include "core/alloc.h"
#include "core/target.h"
#include "dictionary/lzss_state.h"
#include "shared/bits_msb.h"

#if ZELDC_AVX2
#include <immintrin.h>
#endif

namespace zeldc {

namespace {

// Finds pairs, and codes them before there are too many.
struct EncodingKernel {
  // As many positions are searched at a time, so that each may be a literal.
  static constexpr ptrdiff_t kPairs = 4096;

  NormalTables* tables;
  MsbWriter writer;
  zelLZ77Pair pairs[kPairs];

  EncodingKernel(NormalTables* t, const MsbWriter& w) : tables(t), writer(w) {}

  void Sweep(uint32_t pos) { SweepTable(tables->head, pos); }

  void Run(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t /*readEnd*/) {
    do {
      SearchNormal(tables, x, base, stop - x->i < kPairs ? stop : x->i + kPairs);
      CodePairs(x);
    } while (x->i < stop && x->pair < x->pairEnd);
  }

  void PutLiteral(Search* x, uint8_t byte) {
    zeldc::PutLiteral(x, byte);
    CodePairs(x);
  }

  // Makes room for pairs: as many as begin within the output whatever they are.
  void MakeRoom(Search* x) {
    const ptrdiff_t room = writer.outEnd - writer.out;
    const ptrdiff_t tokens = room > 0 ? (room - 1) / static_cast<ptrdiff_t>(kLzssMatchBits / 8) + 1 : 0;
    x->pair = pairs;
    x->pairEnd = pairs + (tokens < kPairs ? tokens : kPairs);
  }

 private:
  // Which of the two a pair is cannot be predicted: no branch.
  ZELDC_ALWAYS_INLINE static void Put(MsbWriter* w, zelLZ77Pair pair) {
    const uint32_t isMatch = static_cast<uint32_t>(-int32_t{pair.distance} >> 31);  // all ones, or 0
    const uint32_t low = (pair.length - (kMinMatch & isMatch)) & 0xFF;
    const uint32_t flag = 0x100 & ~isMatch;
    w->Put(uint32_t{pair.distance} << 8 | flag | low,
           kLzssLiteralBits + ((kLzssMatchBits - kLzssLiteralBits) & isMatch));
  }

#if ZELDC_AVX2
  // Eight pairs: their bits and the numbers of these side by side, then two and two joined, at most 48 bits. Up to 32
  // bytes of room are written.
  ZELDC_ALWAYS_INLINE static void PutEight(MsbWriter* w, const zelLZ77Pair* pairs) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs));  // the distances uppermost
    const __m256i isMatch = _mm256_cmpgt_epi32(v, _mm256_set1_epi32(0xFFFF));
    const __m256i low = _mm256_and_si256(_mm256_sub_epi32(v, _mm256_and_si256(isMatch, _mm256_set1_epi32(kMinMatch))),
                                         _mm256_set1_epi32(0xFF));
    const __m256i distance = _mm256_and_si256(_mm256_srli_epi32(v, 8), _mm256_set1_epi32(0x7FFF00));
    const __m256i flag = _mm256_andnot_si256(isMatch, _mm256_set1_epi32(0x100));
    const __m256i bits = _mm256_or_si256(_mm256_or_si256(low, distance), flag);
    const __m256i counts =
        _mm256_add_epi32(_mm256_set1_epi32(kLzssLiteralBits),
                         _mm256_and_si256(isMatch, _mm256_set1_epi32(kLzssMatchBits - kLzssLiteralBits)));
    const __m256i lower = _mm256_set1_epi64x(0xFFFFFFFF);
    const __m256i secondCounts = _mm256_srli_epi64(counts, 32);
    alignas(32) uint64_t joined[4];
    alignas(32) uint64_t joinedCounts[4];
    _mm256_store_si256(
        reinterpret_cast<__m256i*>(joined),
        _mm256_or_si256(_mm256_sllv_epi64(_mm256_and_si256(bits, lower), secondCounts), _mm256_srli_epi64(bits, 32)));
    _mm256_store_si256(reinterpret_cast<__m256i*>(joinedCounts),
                       _mm256_add_epi64(_mm256_and_si256(counts, lower), secondCounts));
    for (int i = 0; i < 4; ++i) {
      w->Put(joined[i], static_cast<uint32_t>(joinedCounts[i]));
      w->WriteBytesWide();
    }
  }
#endif

  void CodePairs(Search* x) {
    const zelLZ77Pair* pair = pairs;
    MsbWriter w = writer;
#if ZELDC_AVX2
    for (; x->pair - pair >= 8 && w.outEnd - w.out >= 32; pair += 8) PutEight(&w, pair);
#endif
    for (; x->pair - pair >= 2 && w.outEnd - w.out >= 8; pair += 2) {
      Put(&w, pair[0]);
      Put(&w, pair[1]);
      w.WriteBytesWide();
    }
    while (pair < x->pair) {
      Put(&w, *pair++);
      w.WriteBytes();
    }
    writer = w;
    MakeRoom(x);
  }
};

LzssEncoder* Encoder(zelLZSSState* state) { return static_cast<LzssEncoder*>(state); }

int32_t Encode(LzssEncoder* s, MsbWriter* w, const uint8_t* src, int32_t n) {
  w->WriteBytes();
  EncodingKernel kernel(&s->tables, *w);
  Search x = StartSearch(s->window, n, 2);
  kernel.MakeRoom(&x);
  const int32_t consumed = SearchCall(&s->window, &kernel, &x).Run(src, n);
  *w = kernel.writer;
  return consumed;
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsLZSSGetSize_8u(int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = kLzssRecordSize;
  return zelOk;
}

zelStatus zelsEncodeLZSSInit_8u(zelLZSSState* pState) {
  if (!pState) return zelErrNullPtr;
  LzssEncoder* const s = Encoder(pState);
  s->kind = kLzssEncoder;
  s->waiting = 0;
  s->waitingCount = 0;
  ClearWindow(&s->window);
  ClearTable(s->tables.head);
  return zelOk;
}

zelStatus zelsEncodeLZSSInitAlloc_8u(zelLZSSState** ppState) {
  if (!ppState) return zelErrNullPtr;
  *ppState = static_cast<zelLZSSState*>(zelAllocState(kLzssRecordSize));
  if (!*ppState) return zelErrNoMem;
  return zelsEncodeLZSSInit_8u(*ppState);
}

zelStatus zelsEncodeLZSS_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                            zelLZSSState* pState) {
  if (!ppSrc || !pSrcLen || !ppDst || !pDstLen || !pState) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pDstLen < 0) return zelErrSize;
  if (pState->kind != kLzssEncoder || !IsSound(Encoder(pState)->window)) return zelErr;
  if (*pDstLen == 0) return zelWarnDstFull;
  if (*pSrcLen == 0) return zelOk;
  if (!*ppSrc || !*ppDst) return zelErrNullPtr;
  const RedzoneGuard guard(Encoder(pState));
  MsbWriter w(pState->waiting, pState->waitingCount, *ppDst, static_cast<size_t>(*pDstLen));
  const int32_t consumed = Encode(Encoder(pState), &w, *ppSrc, *pSrcLen);
  pState->waiting = w.Waiting();
  pState->waitingCount = w.WaitingCount();
  *ppSrc += consumed;
  *pSrcLen -= consumed;
  *ppDst = w.out;
  *pDstLen = static_cast<int32_t>(w.outEnd - w.out);
  return *pDstLen == 0 ? zelWarnDstFull : zelOk;
}

zelStatus zelsEncodeLZSSFlush_8u(uint8_t** ppDst, int32_t* pDstLen, zelLZSSState* pState) {
  if (!ppDst || !pDstLen || !pState) return zelErrNullPtr;
  if (*pDstLen < 1) return zelErrSize;
  if (!*ppDst) return zelErrNullPtr;
  if (pState->kind != kLzssEncoder) return zelErr;
  uint32_t bits = pState->waiting;
  for (int32_t count = pState->waitingCount; count > 0;) {
    *(*ppDst)++ = static_cast<uint8_t>(bits >> 24);
    bits <<= 8;
    count = count > 8 ? count - 8 : 0;
    if (--*pDstLen == 0) {
      pState->waiting = bits;
      pState->waitingCount = count;
      return zelWarnDstFull;
    }
  }
  return zelOk;
}

}  // extern "C"
