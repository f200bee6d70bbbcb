// The one-call writer: items to Huffman codes.

#include "deflate/pair_codes.h"
#include "shared/bits_lsb.h"
#include "zeldc/deflate_helpers.h"

namespace zeldc {

namespace {

constexpr uint32_t kMostCodeBits = 16;

// A caller's code: of its bits only as many as its length says.
struct Code {
  uint32_t bits;
  uint32_t length;
};
Code CodeOf(zelDeflateHuffCode c) {
  const uint32_t length = c.lenBits < kMostCodeBits ? c.lenBits : kMostCodeBits;
  return {c.code & ((1u << length) - 1), length};
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsDeflateHuff_8u(const uint8_t* pLitSrc, const uint16_t* pDistSrc, int32_t srcLen,
                                        uint16_t* pCode, int32_t* pCodeLenBits, const zelDeflateHuffCode* pLitHuffCodes,
                                        const zelDeflateHuffCode* pDistHuffCodes, uint8_t* pDst, int32_t* pDstIdx) {
  if (!pLitSrc || !pDistSrc || !pCode || !pCodeLenBits) return zelErrNullPtr;
  if (!pLitHuffCodes || !pDistHuffCodes || !pDst || !pDstIdx) return zelErrNullPtr;
  int32_t held = *pCodeLenBits < 0 ? 0 : *pCodeLenBits;
  if (held > 32) held = 32;
  BitWriter out(*pCode & BitReader::Mask(static_cast<uint32_t>(held)), held, pDst + *pDstIdx, nullptr);
  out.WriteBytes();
  for (int32_t k = 0; k < srcLen; ++k) {
    if (pDistSrc[k] == 0) {
      const Code c = CodeOf(pLitHuffCodes[pLitSrc[k]]);
      out.Put(c.bits, c.length);
    } else {
      const int lengthSymbol = kLengthSymbolIndex.of[pLitSrc[k]];
      const Code length = CodeOf(pLitHuffCodes[kFirstLengthSymbol + lengthSymbol]);
      out.Put(length.bits, length.length);
      const RangeSymbol lengths = kLengthSymbol.s[lengthSymbol];
      out.Put(static_cast<uint32_t>(pLitSrc[k] + kMinMatch - lengths.base), lengths.extraBits);
      const uint32_t d = pDistSrc[k] - 1u;
      const int distanceSymbol = kDistanceSymbolIndex.of[d < 256 ? d : 256 + (d >> 7)];
      if (distanceSymbol != kNoDistance) {
        const Code distance = CodeOf(pDistHuffCodes[distanceSymbol]);
        out.Put(distance.bits, distance.length);
        const RangeSymbol distances = kDistanceSymbol.s[distanceSymbol];
        out.Put(pDistSrc[k] - uint32_t{distances.base}, distances.extraBits);
      }
    }
    out.WriteBytes();
  }
  *pCode = static_cast<uint16_t>(out.bits);
  *pCodeLenBits = static_cast<int32_t>(out.count);
  *pDstIdx = static_cast<int32_t>(out.out - pDst);
  return zelOk;
}
