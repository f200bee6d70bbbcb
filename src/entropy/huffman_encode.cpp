// Bytes to bits.
//
// What bounds this is the number of instructions: nothing waits for anything but the place where a group of codes goes.
// So a group of four is joined first, from its last code to its first: each one, left-aligned in a word, goes in front
// of what is there, which moves to the right by the code's length. That length stands in the word's lowest bits, where
// it serves as the shift as it is, and the sum of the words is that of the lengths. Then the group is appended to at
// most seven pending bits, in one store.

#include <stddef.h>

#include "core/target.h"
#include "entropy/huffman_state.h"

using namespace zeldc;

namespace {

// Where the codes go: `count` pending bits below 32, the first uppermost, zeros below them.
struct WordWriter {
  uint64_t bits;
  uint32_t count;
  uint8_t* out;

  ZELDC_ALWAYS_INLINE void Put(ShortCode joined) {
    count += LengthOf(joined);
    bits |= uint64_t{CodeOf(joined)} << (63 - count) << 1;  // in two steps: without bits the shift is by 64
    if (count < 32) return;
    StoreBE(out, static_cast<uint32_t>(bits >> 32));
    out += 4;
    bits <<= 32;
    count -= 32;
  }
};

// The widest word whose shifts are single instructions, and codes that stand in it left-aligned with their length
// below.
using Word = size_t;
constexpr uint32_t kWordBits = 8 * sizeof(Word);
constexpr int kGroup = sizeof(Word) / 2;  // codes that a store takes, as long as they are usual ones
constexpr uint32_t kMaxJoined = kWordBits - 8;

struct WordCodes {
  Word entries[kHuffSymbols];

  explicit WordCodes(const ShortCode* codes) {
    for (int v = 0; v < kHuffSymbols; ++v) {
      const uint32_t length = LengthOf(codes[v]);
      // Of those that would not leave room for their length, it alone counts.
      const Word code = length <= kMaxJoined ? CodeOf(codes[v]) : 0;
      entries[v] = code << ((kWordBits - 1 - length) & (kWordBits - 1)) << 1 | length;
    }
  }
};

// Bits that wait in a word, `count` of them at most 7, zeros below them, and where they go.
struct Pending {
  Word bits;
  uint32_t count;
  uint8_t* out;

  // Appends n bits and writes whole bytes. `joined` has zeros below them.
  ZELDC_ALWAYS_INLINE void Put(Word joined, uint32_t n) {
    bits |= joined >> count;
    count += n;
    StoreBE(out, bits);
    out += count >> 3;
    bits <<= count & (kWordBits - 8);
    count &= 7;
  }
};

// By value, which lets the caller keep everything in registers.
ZELDC_NOINLINE Pending PutLongCodes(const ShortCode* codes, const uint8_t* src, Pending p) {
  for (int i = 0; i < kGroup; ++i) {
    // In two halves, neither of which is too long for a word.
    const uint32_t length = LengthOf(codes[src[i]]);
    const uint32_t low = length / 2, high = length - low;
    const Word code = CodeOf(codes[src[i]]);
    p.Put(code >> low << (kWordBits - 1 - high) << 1, high);
    p.Put(code << (kWordBits - 1 - low) << 1, low);
  }
  return p;
}

ZELDC_ALWAYS_INLINE void PutGroup(const WordCodes& table, const ShortCode* codes, const uint8_t* src, Pending* p) {
  Word joined = 0, sum = 0;
  for (int i = kGroup - 1; i >= 0; --i) {
    const Word entry = table.entries[src[i]];
    joined = joined >> (entry & (kWordBits - 1)) | entry;
    sum += entry;
  }
  const uint32_t length = sum & 0xFF;
  if (ZELDC_UNLIKELY(length > kMaxJoined)) {
    *p = PutLongCodes(codes, src, *p);
  } else {
    p->Put(joined & ~Word{0xFF}, length);
  }
}

// What the last store of a group may write, and what a word of the output leaves pending.
constexpr uint32_t kTailBits = 8 * sizeof(uint64_t) + 32;

// The front of the source, while what follows surely fills the bytes that a store touches. Answers where it stops.
ZELDC_NOINLINE const uint8_t* ownEncodeMany(const ShortCode* codes, const uint8_t* src, const uint8_t* srcEnd,
                                            WordWriter* writer) {
  for (uint32_t tail = 0; tail < kTailBits && src < srcEnd;) tail += LengthOf(codes[*--srcEnd]);
  if (srcEnd - src < kGroup) return src;

  const WordCodes table(codes);
  uint8_t* const start = writer->out;
  Pending p = {0, 0, start};
  for (; writer->count >= 8; writer->count -= 8) {
    *p.out++ = static_cast<uint8_t>(writer->bits >> 56);
    writer->bits <<= 8;
  }
  p.bits = static_cast<Word>(writer->bits >> (64 - kWordBits));
  p.count = writer->count;

  for (; srcEnd - src >= 2 * kGroup; src += 2 * kGroup) {
    PutGroup(table, codes, src, &p);
    PutGroup(table, codes, src + kGroup, &p);
  }

  // Only whole groups of 32 bits count as written.
  for (; (p.out - start) % 4 != 0; p.count += 8) p.bits = p.bits >> 8 | Word{*--p.out} << (kWordBits - 8);
  *writer = {uint64_t{p.bits} << (64 - kWordBits), p.count, p.out};
  return src;
}

// Less input than this is not worth the making of a table.
constexpr ptrdiff_t kManySymbols = 300;

// Whether more bytes would be written than a count can say.
bool IsTooMuch(const zelHuffState* s, const uint8_t* src, int32_t srcLen) {
  constexpr int64_t kMaxBits = int64_t{INT32_MAX} * 8;
  if (s->bitCount + int64_t{srcLen} * s->maxLen <= kMaxBits) return false;
  int64_t bits = s->bitCount;
  for (int32_t i = 0; i < srcLen; ++i) bits += LengthOf(s->codes[src[i]]);
  return bits / 32 * 4 > INT32_MAX;
}

void ownEncode(const zelHuffState* s, const uint8_t* src, const uint8_t* srcEnd, WordWriter* writer) {
  if (srcEnd - src >= kManySymbols) src = ownEncodeMany(s->codes, src, srcEnd, writer);
  WordWriter w = *writer;
  while (src < srcEnd) w.Put(s->codes[*src++]);
  *writer = w;
}

}  // namespace

extern "C" {

zelStatus zelsEncodeHuffOne_8u(uint8_t src, uint8_t* pDst, int32_t dstOffsetBits, const zelHuffState* pState) {
  if (!pDst || !pState) return zelErrNullPtr;
  if (dstOffsetBits < 0 || dstOffsetBits > 7) return zelErrSize;
  const ShortCode code = pState->codes[src];
  if (LengthOf(code) == 0 || LengthOf(code) > kLongestHuffCode) return zelErrHuffLenTable;
  const uint32_t end = LengthOf(code) + static_cast<uint32_t>(dstOffsetBits);
  const uint64_t bits = uint64_t{CodeOf(code)} << (64 - end);
  *pDst = static_cast<uint8_t>(*pDst | bits >> 56);
  for (uint32_t at = 8; at < end; at += 8) *++pDst = static_cast<uint8_t>(bits >> (56 - at));
  return zelOk;
}

zelStatus zelsEncodeHuff_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                            zelHuffState* pState) {
  if (!pSrc || !pDst || !pDstLen || !pState) return zelErrNullPtr;
  if (srcLen < 1 || IsTooMuch(pState, pSrc, srcLen)) return zelErrSize;
  if (!pState->HasCodes()) return zelErrHuffLenTable;
  WordWriter writer = {uint64_t{pState->accumulator} << 32, pState->PendingBits(), pDst};

  ownEncode(pState, pSrc, pSrc + srcLen, &writer);

  *pDstLen = static_cast<int32_t>(writer.out - pDst);
  pState->accumulator = static_cast<uint32_t>(writer.bits >> 32);
  pState->bitCount = static_cast<int32_t>(writer.count);
  return zelOk;
}

zelStatus zelsEncodeHuffFinal_8u(uint8_t* pDst, int32_t* pDstLen, const zelHuffState* pState) {
  if (!pDst || !pDstLen || !pState) return zelErrNullPtr;
  const int32_t len = static_cast<int32_t>(pState->PendingBits() + 7) / 8;
  for (int32_t i = 0; i < len; ++i) pDst[i] = static_cast<uint8_t>(pState->accumulator >> (24 - 8 * i));
  *pDstLen = len;
  return zelOk;
}

}  // extern "C"
