// The one-call writer: items to Huffman codes.
//
// Many items are worth tables of whole pieces of output: by length, and by distance, the symbol's code joined with the
// extra bits, all of them for lengths and short distances. Literal and match come in no order that a processor could
// foresee, so both go the same way without a branch: a literal is a piece like a length, followed by a distance that
// takes no bits. Bound by the instructions of that, some thirty an item.
//
// Nobody says how much room there is, so not a byte may be written that the codes do not fill. The pieces therefore go
// to an array on the stack, a stretch of items at a time, by 64-bit stores that run over; from there the bytes are
// copied.

#include <string.h>

#include "deflate/pair_codes.h"
#include "shared/bits_lsb.h"
#include "zeldc/deflate_helpers.h"

namespace zeldc {

namespace {

constexpr int32_t kMany = 2048;
constexpr uint32_t kMostCodeBits = 16;  // that a code has room for; valid ones have 15
constexpr uint32_t kMostItemBits = 2 * kMostCodeBits + 5 + 13;
static_assert(kMostItemBits + 7 <= 64);

// Of a caller's code only as many bits as its length says.
uint32_t LengthOf(zelDeflateHuffCode c) { return c.lenBits < kMostCodeBits ? c.lenBits : kMostCodeBits; }
uint32_t BitsOf(zelDeflateHuffCode c) { return c.code & ((1u << LengthOf(c)) - 1); }

int DistanceSymbol(uint32_t distance) {
  const uint32_t d = distance - 1;
  return kDistanceSymbolIndex.of[d < 256 ? d : 256 + (d >> 7)];
}

void PutItem(uint8_t lit, uint32_t distance, const zelDeflateHuffCode* litCodes, const zelDeflateHuffCode* distCodes,
             BitWriter* out) {
  if (distance == 0) {
    out->Put(BitsOf(litCodes[lit]), LengthOf(litCodes[lit]));
    return;
  }
  const int symbol = kLengthSymbolIndex.of[lit];
  const RangeSymbol lengths = kLengthSymbol.s[symbol];
  const zelDeflateHuffCode lengthCode = litCodes[kFirstLengthSymbol + symbol];
  out->Put(BitsOf(lengthCode), LengthOf(lengthCode));
  out->Put(lit + uint32_t{kMinMatch} - lengths.base, lengths.extraBits);
  const int distanceSymbol = DistanceSymbol(distance);
  if (distanceSymbol == kNoDistance) return;
  const RangeSymbol distances = kDistanceSymbol.s[distanceSymbol];
  out->Put(BitsOf(distCodes[distanceSymbol]), LengthOf(distCodes[distanceSymbol]));
  out->Put(distance - distances.base, distances.extraBits);
}

// What a distance takes: the bits, to which the distance less the base is added behind the first shift ones.
struct DistancePiece {
  uint32_t bits;
  uint16_t base;
  uint8_t shift;
  uint8_t length;
};

constexpr uint32_t kShortDistances = 256;

struct ItemCodes {
  BitPiece piece[512];                                // literals, then lengths
  DistancePiece distance[kShortDistances + 1 + 511];  // 0 for a literal, short distances, then by 128

  static uint32_t IndexOf(uint32_t distance) {
    const uint32_t far = kShortDistances - 1 + ((distance - 1) >> 7);
    return distance <= kShortDistances ? distance : far;
  }
};

void MakeItemCodes(const zelDeflateHuffCode* litCodes, const zelDeflateHuffCode* distCodes, ItemCodes* t) {
  for (int i = 0; i < kLiteralSymbols; ++i) t->piece[i] = BitsOf(litCodes[i]) | LengthOf(litCodes[i]) << 24;
  for (uint32_t i = 0; i < 256; ++i) {
    const int symbol = kLengthSymbolIndex.of[i];
    const RangeSymbol s = kLengthSymbol.s[symbol];
    const zelDeflateHuffCode code = litCodes[kFirstLengthSymbol + symbol];
    const uint32_t extra = i + kMinMatch - s.base;
    t->piece[256 + i] = BitsOf(code) | extra << LengthOf(code) | (LengthOf(code) + s.extraBits) << 24;
  }
  t->distance[0] = {};
  for (int symbol = 0; symbol < kDistanceSymbols; ++symbol) {
    const RangeSymbol s = kDistanceSymbol.s[symbol];
    const uint32_t bits = BitsOf(distCodes[symbol]);
    const uint32_t length = LengthOf(distCodes[symbol]);
    const uint8_t all = static_cast<uint8_t>(length + s.extraBits);
    const uint32_t end = s.base + (1u << s.extraBits);
    if (s.base <= kShortDistances) {
      for (uint32_t d = s.base; d < end; ++d) {
        t->distance[d] = {bits | (d - s.base) << length, static_cast<uint16_t>(d), 0, all};
      }
    } else {
      for (uint32_t d = s.base; d < end; d += 128) {
        t->distance[ItemCodes::IndexOf(d)] = {bits, s.base, static_cast<uint8_t>(length), all};
      }
    }
  }
  // No distances: their bits are shifted out.
  for (uint32_t d = kMaxDistance + 1; d < 0x10000; d += 128) {
    t->distance[ItemCodes::IndexOf(d)] = {0, static_cast<uint16_t>(d), 63, 0};
  }
}

// Puts n items behind the bits that wait in *out, of which there are fewer than 8; out->out has room for 8 bytes more
// than they take.
void PutManyItems(const ItemCodes& codes, const uint8_t* lit, const uint16_t* dist, int32_t n, BitWriter* out) {
  struct Bits {
    uint64_t bits;
    uint32_t count;
  };
  auto encode = [&](int32_t k) ZELDC_LAMBDA_INLINE {
    const uint32_t d = dist[k];
    const BitPiece piece = codes.piece[lit[k] | (d != 0 ? 256u : 0u)];
    const DistancePiece distance = codes.distance[ItemCodes::IndexOf(d)];
    const uint64_t bits = distance.bits | static_cast<uint64_t>(d - distance.base) << distance.shift;
    return Bits{PieceBits(piece) | bits << PieceLength(piece), PieceLength(piece) + distance.length};
  };
  BitWriter w = *out;
  int32_t k = 0;
  for (; k + 2 <= n; k += 2) {
    const Bits a = encode(k);
    const Bits b = encode(k + 1);
    w.Put(a.bits, a.count);
    if (ZELDC_UNLIKELY(a.count + b.count > 56)) w.WriteBytesWide();
    w.Put(b.bits, b.count);
    w.WriteBytesWide();
  }
  if (k < n) {
    const Bits a = encode(k);
    w.Put(a.bits, a.count);
    w.WriteBytesWide();
  }
  *out = w;
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsDeflateHuff_8u(const uint8_t* pLitSrc, const uint16_t* pDistSrc, int32_t srcLen,
                                        uint16_t* pCode, int32_t* pCodeLenBits, const zelDeflateHuffCode* pLitHuffCodes,
                                        const zelDeflateHuffCode* pDistHuffCodes, uint8_t* pDst, int32_t* pDstIdx) {
  if (!pLitSrc || !pDistSrc || !pCode || !pCodeLenBits) return zelErrNullPtr;
  if (!pLitHuffCodes || !pDistHuffCodes || !pDst || !pDstIdx) return zelErrNullPtr;
  const int32_t held = *pCodeLenBits < 0 ? 0 : *pCodeLenBits < 32 ? *pCodeLenBits : 32;
  BitWriter out(*pCode & BitReader::Mask(static_cast<uint32_t>(held)), held, pDst + *pDstIdx, nullptr);
  out.WriteBytes();
  if (srcLen < kMany) {
    for (int32_t k = 0; k < srcLen; ++k) {
      PutItem(pLitSrc[k], pDistSrc[k], pLitHuffCodes, pDistHuffCodes, &out);
      out.WriteBytes();
    }
  } else {
    ItemCodes codes;
    MakeItemCodes(pLitHuffCodes, pDistHuffCodes, &codes);
    constexpr int32_t kStretch = 512;
    uint8_t bytes[kStretch * kMostItemBits / 8 + 16];
    for (int32_t k = 0; k < srcLen; k += kStretch) {
      BitWriter stretch(out.bits, static_cast<int32_t>(out.count), bytes, nullptr);
      PutManyItems(codes, pLitSrc + k, pDistSrc + k, srcLen - k < kStretch ? srcLen - k : kStretch, &stretch);
      const size_t made = static_cast<size_t>(stretch.out - bytes);
      memcpy(out.out, bytes, made);
      out.out += made;
      out.bits = stretch.bits;
      out.count = stretch.count;
    }
  }
  *pCode = static_cast<uint16_t>(out.bits & BitReader::Mask(out.count));
  *pCodeLenBits = static_cast<int32_t>(out.count);
  *pDstIdx = static_cast<int32_t>(out.out - pDst);
  return zelOk;
}
