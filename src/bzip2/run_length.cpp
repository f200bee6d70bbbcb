// The run-length stage of the bzip2 format: four equal bytes are followed by the number of further ones, 0 to 255.

#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "bzip2/run_search.h"
#include "core/alloc.h"
#include "core/target.h"
#include "shared/unaligned.h"
#include "zeldc/bzip2.h"

namespace zeldc {
namespace {

constexpr int32_t kRun = 4;               // equal bytes before a count
constexpr int32_t kLongestRun = 4 + 255;  // with the largest count
constexpr int32_t kPiece = 8192;          // bytes that are copied before they are marked

static_assert(sizeof(zelRLEState_BZ2) == 264);

// A record's fields, which may stand at any address.
class State {
 public:
  explicit State(zelRLEState_BZ2* record)
      : in_use(reinterpret_cast<uint8_t*>(record) + offsetof(zelRLEState_BZ2, inUse)),
        last_byte(LoadNative<int32_t>(in_use + kLastByte)),
        run(LoadNative<int32_t>(in_use + kRunLen)) {}

  void Store() const {
    StoreNative(in_use + kLastByte, last_byte);
    StoreNative(in_use + kRunLen, run);
  }

  uint8_t* const in_use;
  int32_t last_byte;
  int32_t run;

 private:
  static constexpr size_t kLastByte = offsetof(zelRLEState_BZ2, lastByte) - offsetof(zelRLEState_BZ2, inUse);
  static constexpr size_t kRunLen = offsetof(zelRLEState_BZ2, runLen) - offsetof(zelRLEState_BZ2, inUse);
};

// Marks the values that occur. Most are marked already, so blocks of bytes are first held against the marks as a set of
// 256 bits: row v % 16 of two shuffles holds those of the values with v / 16 below 8 and from 8 on.
class Marks {
 public:
  explicit Marks(uint8_t* in_use) : in_use_(in_use) { GatherRows(); }

  void Mark(uint8_t byte) { in_use_[byte] = 1; }

  void Mark(const uint8_t* bytes, size_t len) {
    size_t i = 0;
#if ZELDC_AVX2
    for (; len - i >= kVectorSize; i += kVectorSize) {
      if (AllMarked(LoadBytes(bytes + i))) continue;
      for (size_t j = 0; j < kVectorSize; ++j) in_use_[bytes[i + j]] = 1;
      GatherRows();
    }
#endif
    for (; i < len; ++i) in_use_[bytes[i]] = 1;
  }

 private:
#if ZELDC_AVX2
  void GatherRows() {
    const __m128i low = GatherRow(in_use_);
    const __m128i high = GatherRow(in_use_ + 128);
    low_rows_ = _mm256_broadcastsi128_si256(low);
    high_rows_ = _mm256_broadcastsi128_si256(high);
  }

  // Bit h of byte r: flags[16 * h + r].
  static __m128i GatherRow(const uint8_t* flags) {
    __m128i rows = _mm_setzero_si128();
    for (int h = 0; h < 8; ++h) {
      const __m128i marks = _mm_loadu_si128(reinterpret_cast<const __m128i*>(flags + 16 * h));
      rows = _mm_or_si128(rows, _mm_slli_epi16(_mm_and_si128(marks, _mm_set1_epi8(1)), h));
    }
    return rows;
  }

  bool AllMarked(ByteVector bytes) const {
    const ByteVector bits = _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16,
                                             32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
    const ByteVector row = _mm256_and_si256(bytes, SameByte(0x0F));
    const ByteVector bit = _mm256_shuffle_epi8(bits, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), SameByte(0x0F)));
    const ByteVector marks =
        _mm256_blendv_epi8(_mm256_shuffle_epi8(low_rows_, row), _mm256_shuffle_epi8(high_rows_, row), bytes);
    return FlagsOf(AreEqual(AndBytes(marks, bit), bit)) == kAllFlags;
  }

  ByteVector low_rows_;
  ByteVector high_rows_;
#else
  void GatherRows() {}
#endif

  uint8_t* const in_use_;
};

// Encodes up to the end of the source or of the room.
void Encode(RunCursor* cursor, State* state) {
  Marks marks(state->in_use);
  for (;;) {
    while (state->run < kRun) {
      if (cursor->left == 0 || cursor->room == 0) return;
      if (state->run > 0 && *cursor->src == state->last_byte) {  // goes on from before
        *cursor->dst = *cursor->src;
        marks.Mark(*cursor->src);
        Advance(cursor, 1);
        ++state->run;
        continue;
      }
      const auto len = static_cast<size_t>(std::min({cursor->left, cursor->room, kPiece}));
      const Copied copied = CopyUntilRun<kRun>(cursor->src, cursor->dst, len);
      marks.Mark(cursor->src, copied.bytes);
      Advance(cursor, static_cast<ptrdiff_t>(copied.bytes));
      state->last_byte = cursor->src[-1];
      state->run = 1;
      for (size_t i = 2; i <= copied.bytes && state->run < kRun; ++i) {
        if (cursor->src[-static_cast<ptrdiff_t>(i)] != state->last_byte) break;
        ++state->run;
      }
    }
    if (cursor->room == 0) return;
    if (state->run < kLongestRun) {
      const int32_t len = std::min(cursor->left, kLongestRun - state->run);
      const size_t repeats =
          CountRepeats(cursor->src, static_cast<size_t>(len), static_cast<uint8_t>(state->last_byte));
      cursor->src += repeats;
      cursor->left -= static_cast<int32_t>(repeats);
      state->run += static_cast<int32_t>(repeats);
    }
    if (cursor->left == 0) return;
    const auto count = static_cast<uint8_t>(state->run - kRun);
    *cursor->dst++ = count;
    --cursor->room;
    marks.Mark(count);
    state->run = 0;
  }
}

// Decodes up to the end of the source, of the room, or a count whose copies do not fit.
void Decode(RunCursor* cursor, bool* fits) {
  *fits = true;
  while (cursor->left > 0 && cursor->room > 0) {
    const Copied copied =
        CopyUntilRun<kRun>(cursor->src, cursor->dst, static_cast<size_t>(std::min(cursor->left, cursor->room)));
    Advance(cursor, static_cast<ptrdiff_t>(copied.bytes));
    if (!copied.found || cursor->left == 0) return;
    const int32_t count = *cursor->src++;
    --cursor->left;
    *fits = count <= cursor->room;
    if (!*fits) return;
    memset(cursor->dst, cursor->dst[-1], static_cast<size_t>(count));
    cursor->dst += count;
    cursor->room -= count;
  }
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsRLEGetSize_BZ2_8u(int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = sizeof(zelRLEState_BZ2);
  return zelOk;
}

zelStatus zelsEncodeRLEInit_BZ2_8u(zelRLEState_BZ2* pRLEState) {
  if (!pRLEState) return zelErrNullPtr;
  zeldc::State state(pRLEState);
  memset(state.in_use, 0, sizeof(zelRLEState_BZ2::inUse));
  state.last_byte = -1;
  state.run = 0;
  state.Store();
  return zelOk;
}

zelStatus zelsEncodeRLEInitAlloc_BZ2_8u(zelRLEState_BZ2** ppRLEState) {
  if (!ppRLEState) return zelErrNullPtr;
  *ppRLEState = static_cast<zelRLEState_BZ2*>(zelAllocState(sizeof(zelRLEState_BZ2)));
  if (!*ppRLEState) return zelErrNoMem;
  return zelsEncodeRLEInit_BZ2_8u(*ppRLEState);
}

zelStatus zelsEncodeRLE_BZ2_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                               zelRLEState_BZ2* pRLEState) {
  using namespace zeldc;
  if (!ppSrc || !pDst || !pSrcLen || !pDstLen) return zelErrNullPtr;
  if (!*ppSrc || !pRLEState) return zelErrNullPtr;
  if (*pSrcLen < 1 || *pDstLen < 1) return zelErrSize;
  RunCursor cursor = {*ppSrc, *pSrcLen, pDst, *pDstLen};
  State state(pRLEState);
  Encode(&cursor, &state);
  state.Store();
  *ppSrc += *pSrcLen - cursor.left;
  *pSrcLen = cursor.left;
  *pDstLen -= cursor.room;
  return cursor.left == 0 ? zelOk : zelWarnDstFull;
}

zelStatus zelsEncodeRLEFlush_BZ2_8u(uint8_t* pDst, int32_t* pDstLen, zelRLEState_BZ2* pRLEState) {
  using namespace zeldc;
  if (!pDst || !pDstLen || !pRLEState) return zelErrNullPtr;
  if (*pDstLen < 1) return zelErrSize;
  *pDstLen = 0;
  State state(pRLEState);
  if (state.run < kRun) return zelOk;
  const auto count = static_cast<uint8_t>(state.run - kRun);
  pDst[0] = count;
  *pDstLen = 1;
  state.in_use[count] = 1;
  state.run = 0;
  state.Store();
  return zelOk;
}

zelStatus zelsRLEGetInUseTable_8u(uint8_t* pInUse, zelRLEState_BZ2* pRLEState) {
  if (!pInUse || !pRLEState) return zelErrNullPtr;
  memcpy(pInUse, zeldc::State(pRLEState).in_use, sizeof(zelRLEState_BZ2::inUse));
  return zelOk;
}

zelStatus zelsDecodeRLE_BZ2_8u(uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) {
  using namespace zeldc;
  if (!ppSrc || !pDst || !pSrcLen || !pDstLen) return zelErrNullPtr;
  if (!*ppSrc) return zelErrNullPtr;
  if (*pDstLen < 1 || *pSrcLen < 0) return zelErrSize;
  if (*pSrcLen == 0) {
    *pDstLen = 0;
    return zelOk;
  }
  RunCursor cursor = {*ppSrc, *pSrcLen, pDst, *pDstLen};
  bool fits;
  Decode(&cursor, &fits);
  *ppSrc += *pSrcLen - cursor.left;
  *pSrcLen = cursor.left;
  *pDstLen -= cursor.room;
  return fits && cursor.room > 0 ? zelOk : zelWarnDstFull;
}

}  // extern "C"
