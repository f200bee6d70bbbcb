// Zero-run coding: what move-to-front gives, as bzip2's symbols, and back.
//
// The code of a run of r zeros is its length in bijective base 2, the lowest digit first, RUNA for 1 and RUNB for 2.
// With L digits r = sum of (d_j + 1) 2^j = (2^L - 1) + sum of d_j 2^j. So the symbols are the bits of r + 1 below its
// highest one, and no loop over digits is needed: short codes come from a table, and a run's value from a mask of its
// RUNBs.

#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <bit>

#include "core/target.h"
#include "shared/unaligned.h"
#include "zeldc/bzip2.h"

#if ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {
namespace {

constexpr int kRunB = 1;
constexpr int kFirstLiteral = 2;

// ---- Encoder ----

// The longest run whose code fits `room` symbols.
constexpr uint32_t RunCapacity(int32_t room) { return room > 30 ? UINT32_MAX : (uint32_t{2} << room) - 2; }

static_assert(RunCapacity(0) == 0 && RunCapacity(1) == 2 && RunCapacity(2) == 6 && RunCapacity(19) == 1048574);

constexpr int DigitCount(uint32_t run) { return std::bit_width(run + 1) - 1; }

// The code of a short run, which always takes the room of four symbols.
struct ShortRun {
  uint16_t symbols[4];
  uint32_t digits;
  uint32_t run_bs;  // how many of the symbols are RUNB
};
struct ShortRuns {
  static constexpr uint32_t kLimit = 31;
  ShortRun of[kLimit];
};
constexpr ShortRuns MakeShortRuns() {
  ShortRuns runs{};
  for (uint32_t run = 0; run < ShortRuns::kLimit; ++run) {
    ShortRun& code = runs.of[run];
    code.digits = static_cast<uint32_t>(DigitCount(run));
    for (uint32_t j = 0; j < code.digits; ++j) code.run_bs += code.symbols[j] = (run + 1) >> j & 1;
  }
  return runs;
}
constexpr ShortRuns kShortRuns = MakeShortRuns();

void Add(int32_t* freq, uint32_t count) { *freq = static_cast<int32_t>(static_cast<uint32_t>(*freq) + count); }

struct EncodeCursor {
  const uint8_t* src;
  int32_t left;
  uint16_t* dst;
  int32_t room;  // -1 when the spare element behind the capacity is used
  uint32_t run;  // zeros before src whose code is not written
};

using Flags = size_t;  // one for each byte or symbol of a block
constexpr int kBlock = 8 * sizeof(Flags);
// A block's symbols, with the code of a run that it ends, and what is stored behind a short code.
constexpr int32_t kBlockRoom = kBlock + 32 + 4;

Flags FlagNonZeros(const uint8_t* block) {
  Flags zeros = 0;
#if ZELDC_SSE2
  for (int i = 0; i < kBlock; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
    zeros |= Flags{static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())))} << i;
  }
#else
  for (int i = 0; i < kBlock; ++i) zeros |= Flags{block[i] == 0} << i;
#endif
  return ~zeros;
}

// Encodes whole blocks while there is room for anything that they may become.
void EncodeBlocks(EncodeCursor* cursor, int32_t* freq) {
  const uint8_t* src = cursor->src;
  uint16_t* dst = cursor->dst;
  int32_t left = cursor->left;
  uint32_t literals = 0;
  uint32_t run_bs = 0;
  int32_t run_start = -static_cast<int32_t>(cursor->run);  // as a position in the block
  const uint16_t* const dst_end = cursor->dst + cursor->room;
  for (; left >= kBlock && dst_end - dst >= kBlockRoom; src += kBlock, left -= kBlock) {
    Flags flags = FlagNonZeros(src);
    for (;;) {
      uint32_t run = 0;
      while (flags != 0) {
        const int position = std::countr_zero(flags);
        run = static_cast<uint32_t>(position - run_start);
        if (ZELDC_UNLIKELY(run >= ShortRuns::kLimit)) break;
        const ShortRun& code = kShortRuns.of[run];
        memcpy(dst, code.symbols, sizeof(code.symbols));
        dst += code.digits;
        run_bs += code.run_bs;
        const uint32_t symbol = uint32_t{src[position]} + 1;
        *dst++ = static_cast<uint16_t>(symbol);
        Add(freq + symbol, 1);
        ++literals;
        run_start = position + 1;
        flags &= flags - 1;
      }
      if (flags == 0) break;
      for (int j = 0; j < DigitCount(run); ++j) run_bs += * dst++ = (run + 1) >> j & 1;
      run_start += static_cast<int32_t>(run);
    }
    run_start -= kBlock;
  }
  const auto symbols = static_cast<uint32_t>(dst - cursor->dst);
  Add(freq, symbols - literals - run_bs);
  Add(freq + kRunB, run_bs);
  *cursor = {src, left, dst, cursor->room - static_cast<int32_t>(symbols), static_cast<uint32_t>(-run_start)};
}

// Writes the code of the run; if it does not fit, that of the longest run that does, and hands the other zeros back.
// Returns whether all of it is written.
bool WriteRun(EncodeCursor* cursor, int32_t* freq) {
  const uint32_t run = std::min(cursor->run, RunCapacity(cursor->room));
  const uint32_t cut = cursor->run - run;
  cursor->src -= cut;
  cursor->left += static_cast<int32_t>(cut);
  for (int j = 0; j < DigitCount(run); ++j) {
    const uint16_t symbol = (run + 1) >> j & 1;
    *cursor->dst++ = symbol;
    --cursor->room;
    Add(freq + symbol, 1);
  }
  cursor->run = 0;
  return cut == 0;
}

// Encodes symbol by symbol, up to the end of the source or the room.
void EncodeSymbols(EncodeCursor* cursor, int32_t* freq) {
  while (cursor->room > 0 && cursor->left > 0) {
    // What is beyond the capacity would only be handed back.
    while (cursor->left > 0 && *cursor->src == 0 && cursor->run <= RunCapacity(cursor->room)) {
      ++cursor->src;
      --cursor->left;
      ++cursor->run;
    }
    if (cursor->left == 0 || *cursor->src == 0) break;
    if (cursor->run > 0 && !WriteRun(cursor, freq)) return;
    const auto symbol = static_cast<uint16_t>(*cursor->src++ + 1);
    --cursor->left;
    *cursor->dst++ = symbol;  // the spare element, if the run has taken all the room
    --cursor->room;
    Add(freq + symbol, 1);
  }
  if (cursor->run > 0) WriteRun(cursor, freq);
}

// ---- Decoder ----

struct DecodeCursor {
  const uint16_t* src;
  int32_t left;
  uint8_t* dst;
  int32_t room;
};

// A run's length by its symbols; as large as a number can be if it has more than 31, and larger than any room.
uint32_t RunLength(const uint16_t* symbols, int32_t count) {
  if (count > 31) return UINT32_MAX;
  uint32_t run = 0;
  for (int32_t j = count; j > 0; --j) run = 2 * run + symbols[j - 1] + 1;
  return run;
}

constexpr int kZerosStored = 32;  // before each literal
constexpr int kSymbolBlockRoom = kBlock * (kZerosStored + 1);

#if ZELDC_SSE2

struct SymbolFlags {
  Flags runs;    // RUNA and RUNB
  Flags run_bs;  // RUNB
};

SymbolFlags FlagRuns(const uint16_t* symbols) {
  SymbolFlags flags = {0, 0};
  for (int i = 0; i < kBlock; i += 16) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(symbols + i));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(symbols + i + 8));
    const __m128i one = _mm_set1_epi16(1);
    const __m128i zero = _mm_setzero_si128();
    const __m128i runs =
        _mm_packs_epi16(_mm_cmpeq_epi16(_mm_srli_epi16(low, 1), zero), _mm_cmpeq_epi16(_mm_srli_epi16(high, 1), zero));
    const __m128i run_bs = _mm_packs_epi16(_mm_cmpeq_epi16(low, one), _mm_cmpeq_epi16(high, one));
    flags.runs |= Flags{static_cast<uint32_t>(_mm_movemask_epi8(runs))} << i;
    flags.run_bs |= Flags{static_cast<uint32_t>(_mm_movemask_epi8(run_bs))} << i;
  }
  return flags;
}

// The processor's byte order is known where there is SSE2.
inline uint8_t LowByte(const uint16_t* symbol) { return *reinterpret_cast<const uint8_t*>(symbol); }

void StoreLiterals(const uint16_t* symbols, uint8_t* dst) {
  const __m128i one = _mm_set1_epi16(1);
  const __m128i byte = _mm_set1_epi16(0xFF);
  for (int i = 0; i < kBlock; i += 16) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(symbols + i));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(symbols + i + 8));
    const __m128i bytes =
        _mm_packus_epi16(_mm_and_si128(_mm_sub_epi16(low, one), byte), _mm_and_si128(_mm_sub_epi16(high, one), byte));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), bytes);
  }
}

// Decodes while plenty of symbols and room are left. Stops behind a literal.
void DecodeBlocks(DecodeCursor* cursor) {
  const uint16_t* src = cursor->src;
  uint8_t* dst = cursor->dst;
  const uint16_t* const src_end = src + cursor->left;
  uint8_t* const dst_end = dst + cursor->room;
  while (src_end - src >= kBlock && dst_end - dst >= kSymbolBlockRoom) {
    const SymbolFlags flags = FlagRuns(src);
    if (flags.runs == 0) {
      StoreLiterals(src, dst);
      src += kBlock;
      dst += kBlock;
      continue;
    }
    // Each block starts where a run may start, so all its runs but the last have all their symbols in it.
    int start = 0;
    Flags run = 0;
    Flags literals = ~flags.runs;
    while (literals != 0) {
      const int position = std::countr_zero(literals);
      const Flags weight = Flags{1} << (position - start);
      run = (flags.run_bs >> start & (weight - 1)) + (weight - 1);
      if (ZELDC_UNLIKELY(run > kZerosStored)) break;
      memset(dst, 0, kZerosStored);
      dst += run;
      *dst++ = static_cast<uint8_t>(LowByte(src + position) - 1);
      start = position + 1;
      literals &= literals - 1;
    }
    src += start;
    if (literals != 0) {  // a long run and its literal
      const int32_t count = std::countr_zero(literals) - start;
      const auto room = static_cast<Flags>(dst_end - dst);
      if (run >= room) break;
      memset(dst, 0, run);
      dst += run;
      *dst++ = static_cast<uint8_t>(LowByte(src + count) - 1);
      src += count + 1;
    } else if (start == 0) {
      break;  // a run of more symbols than any room has zeros for
    }
  }
  *cursor = {src, static_cast<int32_t>(src_end - src), dst, static_cast<int32_t>(dst_end - dst)};
}

#else

void DecodeBlocks(DecodeCursor*) {}

#endif

// Decodes symbol by symbol. Returns whether all of the source is consumed and written.
bool DecodeSymbols(DecodeCursor* cursor) {
  while (cursor->left > 0) {
    int32_t count = 0;
    while (count < cursor->left && cursor->src[count] < kFirstLiteral) ++count;
    const uint32_t run = RunLength(cursor->src, count);
    const auto room = static_cast<uint32_t>(cursor->room);
    cursor->src += count;  // consumed even if its zeros do not fit
    cursor->left -= count;
    const bool ends_with_run = cursor->left == 0;
    if (ends_with_run ? run > room : run >= room) return false;
    memset(cursor->dst, 0, run);
    cursor->dst += run;
    cursor->room -= static_cast<int32_t>(run);
    if (ends_with_run) return true;
    *cursor->dst++ = static_cast<uint8_t>(*cursor->src++ - 1);
    --cursor->left;
    --cursor->room;
  }
  return true;
}

}  // namespace
}  // namespace zeldc

extern "C" {

zelStatus zelsEncodeZ1Z2_BZ2_8u16u(uint8_t** ppSrc, int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                   int32_t* pFreq) {
  using namespace zeldc;
  if (!ppSrc || !pDst || !pSrcLen || !pDstLen) return zelErrNullPtr;
  if (!*ppSrc || !pFreq) return zelErrNullPtr;
  if (*pSrcLen < 1) return zelErrSize;
  if (*pDstLen < 1) return zelErrSize;
  EncodeCursor cursor = {*ppSrc, *pSrcLen, pDst, *pDstLen, 0};
  if (cursor.left >= kBlock && cursor.room >= kBlockRoom) EncodeBlocks(&cursor, pFreq);
  EncodeSymbols(&cursor, pFreq);
  *ppSrc += *pSrcLen - cursor.left;
  *pSrcLen = cursor.left;
  *pDstLen -= cursor.room;
  return cursor.left == 0 ? zelOk : zelWarnDstFull;
}

zelStatus zelsDecodeZ1Z2_BZ2_16u8u(uint16_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) {
  using namespace zeldc;
  if (!ppSrc || !pDst || !pSrcLen || !pDstLen) return zelErrNullPtr;
  if (!*ppSrc) return zelErrNullPtr;
  if (*pSrcLen < 1) return zelErrSize;
  if (*pDstLen < 1) return zelErrSize;
  DecodeCursor cursor = {*ppSrc, *pSrcLen, pDst, *pDstLen};
  DecodeBlocks(&cursor);
  const bool all = DecodeSymbols(&cursor);
  *ppSrc += *pSrcLen - cursor.left;
  *pSrcLen = cursor.left;
  *pDstLen -= cursor.room;
  return all ? zelOk : zelWarnDstFull;
}

}  // extern "C"
