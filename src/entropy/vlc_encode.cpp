// The VLC encoder: a table from values to codes, and values to bits.
//
// The stream is written in whole words, so a code costs no branch: it goes into 64 bits of which less than 32 wait, the
// upper half is stored where the current word is, and the position moves on if the word is full. Two codes that take
// 32 bits or fewer together, which nearly all do, go in as one. What bounds this is the number of instructions; the
// chain from one pair to the next is two shifts and an OR.
//
// A word is stored only when a code goes into it, and codes are looked up before that: nothing beyond the words that
// the contract names is touched, even if a later value turns out to have no code.

#include <algorithm>
#include <bit>

#include "core/alloc.h"
#include "core/target.h"
#include "entropy/vlc_record.h"
#include "shared/bits_msb.h"
#include "shared/unaligned.h"
#include "zeldc/vlc.h"

using namespace zeldc;

struct alignas(zeldc::kVlcRecordAlignment) zelVLCEncodeState {
  static constexpr uint32_t kMagic = 0x434D415F;

  uint32_t* lengths;     // 2^indexBits code lengths, 0 for values without a code; behind them the codes
  uint32_t valueOffset;  // makes a value an index, modulo 2^32
  int32_t indexBits;
  int32_t isAllocated;
  uint32_t magic;

  uint32_t* Codes() const { return lengths + (size_t{1} << indexBits); }
};

namespace {

static_assert(sizeof(zelVLCEncodeState) == 32);

constexpr uint32_t kMaxLength = 32;

struct Range {
  int32_t smallest;
  int32_t indexBits;
  int64_t size;  // of the memory for a record; it may be too large
};

Range RangeOf(const zelVLCCode* table, int32_t n) {
  int64_t smallest = table[0].value, largest = smallest;
  for (int32_t i = 1; i < n; ++i) {
    smallest = std::min<int64_t>(smallest, table[i].value);
    largest = std::max<int64_t>(largest, table[i].value);
  }
  const int32_t indexBits = static_cast<int32_t>(std::bit_width(static_cast<uint64_t>(largest - smallest + 1)));
  return {static_cast<int32_t>(smallest), indexBits, (largest - smallest + (int64_t{1} << indexBits)) * 4 + 68};
}

void ownBuild(const zelVLCCode* table, int32_t n, const Range& range, int32_t isAllocated, zelVLCEncodeState* memory) {
  zelVLCEncodeState* const s = AlignedVlcRecord(memory);
  s->lengths = reinterpret_cast<uint32_t*>(s + 1);
  s->valueOffset = 0u - static_cast<uint32_t>(range.smallest);
  s->indexBits = range.indexBits;
  s->isAllocated = isAllocated;
  s->magic = zelVLCEncodeState::kMagic;
  uint32_t* const codes = s->Codes();
  std::fill_n(s->lengths, size_t{1} << range.indexBits, 0u);
  for (int32_t i = n; i-- > 0;) {
    const uint32_t index = static_cast<uint32_t>(table[i].value) + s->valueOffset;
    const uint32_t length = static_cast<uint32_t>(table[i].length);
    s->lengths[index] = length <= kMaxLength ? length : 0;
    codes[index] = static_cast<uint32_t>(table[i].code) & ((1u << length % 32) - 1);
  }
}

// The stream at some bit of its current word.
struct WordWriter {
  uint8_t* word;  // at a multiple of 4
  uint64_t bits;  // those of the current word, uppermost; zeros below
  uint32_t used;  // how many, below 32

  // bitOffset outside 0..7 is taken as a distance.
  WordWriter(uint8_t* byte, int32_t bitOffset) {
    byte += bitOffset >> 3;
    const uint32_t byteInWord = reinterpret_cast<uintptr_t>(byte) % 4;
    word = byte - byteInWord;
    used = 8 * byteInWord + (static_cast<uint32_t>(bitOffset) & 7);
    bits = (uint64_t{LoadBE<uint32_t>(word)} << 32) & UpperBits(used);
  }

  // 1 <= length <= 32
  ZELDC_ALWAYS_INLINE void Put(uint32_t code, uint32_t length) {
    bits |= uint64_t{code} << (64 - used - length);
    used += length;
    StoreBE(word, static_cast<uint32_t>(bits >> 32));
    word += (used >> 5) * 4;
    bits <<= used & 32;
    used &= 31;
  }

  // Behind the last code: ones follow it in the word in which it began, the old bits in the one that it reached.
  void Close(uint32_t lastLength) const {
    if (used == 0) return;
    const uint32_t below = ~uint32_t{0} >> used;
    const uint32_t kept = used >= lastLength ? below : LoadBE<uint32_t>(word) & below;
    StoreBE(word, static_cast<uint32_t>(bits >> 32) | kept);
  }

  uint8_t* Byte() const { return word + used / 8; }
  int32_t BitOffset() const { return static_cast<int32_t>(used % 8); }
};

bool IsRecord(const zelVLCEncodeState* s) { return s->magic == zelVLCEncodeState::kMagic; }

// How many of the n values were written before one without a code was met.
int32_t ownEncode(const int16_t* src, int32_t n, WordWriter* writer, const zelVLCEncodeState* s) {
  const uint32_t* const lengths = s->lengths;
  const uint32_t* const codes = s->Codes();
  const uint32_t valueOffset = s->valueOffset;
  const int32_t indexBits = s->indexBits;
  const auto indexOf = [&](int32_t i) { return static_cast<uint32_t>(src[i]) + valueOffset; };

  WordWriter out = *writer;
  int32_t i = 0;
  for (; n - i >= 2; i += 2) {
    const uint32_t first = indexOf(i), second = indexOf(i + 1);
    if (ZELDC_UNLIKELY((first | second) >> indexBits)) break;
    const uint32_t firstLength = lengths[first], secondLength = lengths[second];
    if (ZELDC_UNLIKELY(firstLength == 0 || secondLength == 0)) break;
    if (ZELDC_LIKELY(firstLength + secondLength <= 32)) {
      out.Put(codes[first] << secondLength | codes[second], firstLength + secondLength);
    } else {
      out.Put(codes[first], firstLength);
      out.Put(codes[second], secondLength);
    }
  }
  for (; i < n; ++i) {
    const uint32_t index = indexOf(i);
    if (index >> indexBits || lengths[index] == 0) break;
    out.Put(codes[index], lengths[index]);
  }
  if (i > 0) out.Close(lengths[indexOf(i - 1)]);
  *writer = out;
  return i;
}

// The bits of n codes, or -1 when a value has none.
int64_t ownCountBits(const int16_t* src, int32_t n, const zelVLCEncodeState* s) {
  const uint32_t* const lengths = s->lengths;
  const uint32_t valueOffset = s->valueOffset;
  const int32_t indexBits = s->indexBits;
  int64_t bits = 0;
  for (int32_t i = 0; i < n; ++i) {
    const uint32_t index = static_cast<uint32_t>(src[i]) + valueOffset;
    if (index >> indexBits || lengths[index] == 0) return -1;
    bits += lengths[index];
  }
  return bits;
}

}  // namespace

extern "C" {

zelStatus zelsVLCEncodeGetSize_32s(const zelVLCCode* pInputTable, int32_t inputTableSize, int32_t* pSize) {
  if (!pInputTable || !pSize) return zelErrNullPtr;
  if (inputTableSize < 1) return zelErrVlcInput;
  const Range range = RangeOf(pInputTable, inputTableSize);
  if (range.size > INT32_MAX) return zelErrVlcInput;
  *pSize = static_cast<int32_t>(range.size);
  return zelOk;
}

zelStatus zelsVLCEncodeInit_32s(const zelVLCCode* pInputTable, int32_t inputTableSize, zelVLCEncodeState* pVLCSpec) {
  if (!pInputTable || !pVLCSpec) return zelErrNullPtr;
  if (inputTableSize < 1) return zelErrVlcInput;
  const Range range = RangeOf(pInputTable, inputTableSize);
  if (range.size > INT32_MAX) return zelErrVlcInput;
  ownBuild(pInputTable, inputTableSize, range, 0, pVLCSpec);
  return zelOk;
}

zelStatus zelsVLCEncodeInitAlloc_32s(const zelVLCCode* pInputTable, int32_t inputTableSize,
                                     zelVLCEncodeState** ppVLCSpec) {
  if (!pInputTable || !ppVLCSpec) return zelErrNullPtr;
  if (inputTableSize < 1) return zelErrVlcInput;
  const Range range = RangeOf(pInputTable, inputTableSize);
  if (range.size > INT32_MAX) return zelErrVlcInput;
  *ppVLCSpec = static_cast<zelVLCEncodeState*>(zelAllocState(static_cast<int32_t>(range.size)));
  if (!*ppVLCSpec) return zelErrNoMem;
  ownBuild(pInputTable, inputTableSize, range, 1, *ppVLCSpec);
  return zelOk;
}

void zelsVLCEncodeFree_32s(zelVLCEncodeState* pVLCSpec) {
  if (!pVLCSpec) return;
  zelVLCEncodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (!IsRecord(s)) return;
  s->magic = 0;
  if (s->isAllocated == 1) zelFreeState(pVLCSpec);
}

zelStatus zelsVLCEncodeOne_16s1u(int16_t src, uint8_t** ppBitStream, int32_t* pBitOffset,
                                 const zelVLCEncodeState* pVLCSpec) {
  if (!ppBitStream || !pBitOffset || !pVLCSpec || !*ppBitStream) return zelErrNullPtr;
  const zelVLCEncodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (!IsRecord(s)) return zelErrVlcInput;
  WordWriter writer(*ppBitStream, *pBitOffset);
  if (ownEncode(&src, 1, &writer, s) != 1) return zelErrVlcInput;
  *ppBitStream = writer.Byte();
  *pBitOffset = writer.BitOffset();
  return zelOk;
}

zelStatus zelsVLCEncodeBlock_16s1u(const int16_t* pSrc, int32_t srcLen, uint8_t** ppBitStream, int32_t* pBitOffset,
                                   const zelVLCEncodeState* pVLCSpec) {
  if (!pSrc || !ppBitStream || !pBitOffset || !pVLCSpec || !*ppBitStream) return zelErrNullPtr;
  if (srcLen < 1 || *pBitOffset < 0 || *pBitOffset > 7) return zelErrVlcInput;
  const zelVLCEncodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (!IsRecord(s)) return zelErrVlcInput;
  WordWriter writer(*ppBitStream, *pBitOffset);
  const int32_t written = ownEncode(pSrc, srcLen, &writer, s);
  *ppBitStream = writer.Byte();
  *pBitOffset = writer.BitOffset();
  return written == srcLen ? zelOk : zelErrVlcInput;
}

zelStatus zelsVLCCountBits_16s32s(const int16_t* pSrc, int32_t srcLen, int32_t* pCountBits,
                                  const zelVLCEncodeState* pVLCSpec) {
  if (!pSrc || !pCountBits || !pVLCSpec) return zelErrNullPtr;
  const zelVLCEncodeState* const s = AlignedVlcRecord(pVLCSpec);
  if (srcLen < 1 || !IsRecord(s)) return zelErrVlcInput;
  const int64_t bits = ownCountBits(pSrc, srcLen, s);
  if (bits < 0 || bits > INT32_MAX) return zelErrVlcInput;
  *pCountBits = static_cast<int32_t>(bits);
  return zelOk;
}

}  // extern "C"
