// CRCs by carry-less multiplication (PCLMULQDQ): one kernel for the three, a template over the polynomial and the bit
// order. Bound by the throughput of the multiplier, two multiplications for each 16 bytes; short inputs by the latency
// of the last three.
//
// Read a buffer as a polynomial M over GF(2), first bit of the first byte highest. With the register added to its first
// 32 bits, the new register is M x^32 mod P. A 16-byte block X = H x^64 + L that stands n bits before another may be
// added to it after multiplication by x^n, modulo P:
//
//   X x^n  =  H (x^(n+64) mod P) + L (x^n mod P)      (mod P)
//
// two products of 64 by 32 bits, which fit 128 bits again ("folding"). So the buffer shrinks to 16 bytes, eight lanes
// at a time to hide the multiplier's latency. The last 16 bytes become Y = X x^32 mod P of at most 96 bits by one more
// product, H (x^96 mod P) + L x^32, and the rest is Barrett's division: with A = Y div x^32 and m = x^96 div P, the
// quotient q = A m div x^64 is exact, and Y - q P has only the 32 bits wanted.
//
// Bit order. The reflected CRCs store the coefficient of x^(127-i) in bit i of the register, which is how the bytes
// come from memory. The product of two such 64-bit values is one bit short: read as 128 bits it stands for x A B, so
// constants carry one power of x less. The bzip2 CRC stores x^i in bit i, so its bytes are reversed after each load.

#include "checksum/crc.h"
#include "checksum/crc_polynomial.h"
#include "checksum/load_bytes.h"
#include "core/target.h"
#include "shared/unaligned.h"

#if ZELDC_PCLMUL

#include <immintrin.h>

namespace {

using namespace zeldc;

// Shuffle controls at 16 - s shift the bytes of a vector up by s, at 16 + s down by s, filling with zeros.
alignas(16) constexpr uint8_t kByteShifts[48] = {
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
    0,    1,    2,    3,    4,    5,    6,    7,    8,    9,    10,   11,   12,   13,   14,   15,
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
};

ZELDC_ALWAYS_INLINE __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

ZELDC_ALWAYS_INLINE __m128i ShiftBytesUp(__m128i v, size_t bytes) {
  return _mm_shuffle_epi8(v, Load(kByteShifts + 16 - bytes));
}

ZELDC_ALWAYS_INLINE __m128i ShiftBytesDown(__m128i v, size_t bytes) {
  return _mm_shuffle_epi8(v, Load(kByteShifts + 16 + bytes));
}

template <uint32_t kPoly, bool kReflected, const CrcTables& kTables>
struct Folder {
  // The pair of constants that moves a block on by `bits`: for the half with the higher powers, for the other.
  static ZELDC_ALWAYS_INLINE __m128i FoldConstants(uint32_t high, uint32_t low) {
    if constexpr (kReflected)
      return _mm_set_epi64x(static_cast<int64_t>(Reflect64(low)), static_cast<int64_t>(Reflect64(high)));
    return _mm_set_epi64x(high, low);
  }
  template <unsigned kBits>
  static ZELDC_ALWAYS_INLINE __m128i MoveBy() {
    constexpr unsigned kOff = kReflected ? 1 : 0;
    constexpr uint32_t kHigh = PowerOfX(kPoly, kBits + 64 - kOff);
    constexpr uint32_t kLow = PowerOfX(kPoly, kBits - kOff);
    return FoldConstants(kHigh, kLow);
  }

  static ZELDC_ALWAYS_INLINE __m128i Swap(__m128i v) {
    if constexpr (kReflected) return v;
    return _mm_shuffle_epi8(v, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
  }
  static ZELDC_ALWAYS_INLINE __m128i LoadBlock(const uint8_t* p) { return Swap(Load(p)); }

  static ZELDC_ALWAYS_INLINE __m128i Fold(__m128i x, __m128i constants, __m128i next) {
    return _mm_xor_si128(
        _mm_xor_si128(_mm_clmulepi64_si128(x, constants, 0x00), _mm_clmulepi64_si128(x, constants, 0x11)), next);
  }

  // A vector whose first four bytes are the register, in memory order.
  static ZELDC_ALWAYS_INLINE __m128i RegisterInFront(uint32_t reg) {
    return _mm_cvtsi32_si128(static_cast<int32_t>(kReflected ? reg : ByteSwap(reg)));
  }

  // The register after the 16 bytes of x.
  static ZELDC_ALWAYS_INLINE uint32_t Reduce(__m128i x) {
    if constexpr (kReflected) {
      constexpr uint64_t kX95 = Reflect64(PowerOfX(kPoly, 95));
      constexpr uint64_t kQuotient = (Reflect64(BarrettQuotient(kPoly)) << 1) | 1;  // without its constant term
      constexpr uint64_t kGenerator = (uint64_t{Reflect32(kPoly)} << 1) | 1;
      const __m128i constants = _mm_set_epi64x(static_cast<int64_t>(kQuotient), static_cast<int64_t>(kX95));
      const __m128i y =
          _mm_xor_si128(_mm_clmulepi64_si128(x, constants, 0x00), _mm_slli_si128(_mm_srli_si128(x, 8), 4));
      const __m128i q = _mm_clmulepi64_si128(_mm_srli_si128(y, 4), constants, 0x10);
      const __m128i qp = _mm_clmulepi64_si128(q, _mm_set_epi64x(0, static_cast<int64_t>(kGenerator)), 0x00);
      return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(y, _mm_slli_si128(qp, 4)), 3));
    } else {
      constexpr uint64_t kX96 = PowerOfX(kPoly, 96);
      constexpr uint64_t kQuotient = BarrettQuotient(kPoly);
      const __m128i constants = _mm_set_epi64x(static_cast<int64_t>(kQuotient), static_cast<int64_t>(kX96));
      const __m128i y = _mm_xor_si128(_mm_clmulepi64_si128(x, constants, 0x01), _mm_slli_si128(_mm_move_epi64(x), 4));
      const __m128i a = _mm_srli_si128(y, 4);
      const __m128i q = _mm_xor_si128(_mm_slli_si128(a, 8), _mm_clmulepi64_si128(a, constants, 0x10));
      const __m128i qp = _mm_clmulepi64_si128(q, _mm_set_epi64x(0, kPoly), 0x01);
      return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_xor_si128(y, qp)));
    }
  }

  // Less than 4 bytes.
  static ZELDC_ALWAYS_INLINE uint32_t Few(uint32_t reg, const uint8_t* src, size_t len) {
    for (size_t i = 0; i < len; ++i) {
      reg = kReflected ? CrcReflectedByte(kTables, reg, src[i]) : CrcForwardByte(kTables, reg, src[i]);
    }
    return reg;
  }

  // 4..15 bytes.
  static ZELDC_ALWAYS_INLINE uint32_t Short(uint32_t reg, const uint8_t* src, size_t len) {
    const __m128i x = _mm_xor_si128(LoadBytesAtEnd(src, len), ShiftBytesUp(RegisterInFront(reg), 16 - len));
    return Reduce(Swap(x));
  }

  // x, in front of the 1..15 bytes at src, which follow at least 16 bytes that may be read.
  static ZELDC_ALWAYS_INLINE __m128i FoldTail(__m128i x, const uint8_t* src, size_t len) {
    const __m128i bytes = Swap(x);  // memory order
    const __m128i front = Swap(ShiftBytesUp(bytes, 16 - len));
    const __m128i fresh = ShiftBytesUp(ShiftBytesDown(Load(src + len - 16), 16 - len), 16 - len);
    const __m128i back = Swap(_mm_or_si128(ShiftBytesDown(bytes, len), fresh));
    return Fold(front, MoveBy<128>(), back);
  }

#if ZELDC_VPCLMUL
  static ZELDC_ALWAYS_INLINE __m256i LoadTwo(const uint8_t* p) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    if constexpr (kReflected) return v;
    return _mm256_shuffle_epi8(v, _mm256_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4,
                                                  5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
  }

  static ZELDC_ALWAYS_INLINE __m256i FoldTwo(__m256i x, __m256i constants, __m256i next) {
    return _mm256_xor_si256(
        _mm256_xor_si256(_mm256_clmulepi64_epi128(x, constants, 0x00), _mm256_clmulepi64_epi128(x, constants, 0x11)),
        next);
  }

  // Two lanes in a vector: takes all whole stretches of 128 bytes, the first one with `front`, down to eight lanes.
  static ZELDC_ALWAYS_INLINE void FoldWide(__m128i front, const uint8_t** src, size_t* len, __m128i (&lanes)[8]) {
    const uint8_t* p = *src;
    __m256i w[4];
    for (int i = 0; i < 4; ++i) w[i] = LoadTwo(p + 32 * i);
    w[0] = _mm256_xor_si256(w[0], _mm256_zextsi128_si256(front));
    p += 128;
    size_t left = *len - 128;
    const __m256i by128 = _mm256_broadcastsi128_si256(MoveBy<128 * 8>());
    if (left >= 384) {
      __m256i second[4];
      for (int i = 0; i < 4; ++i) second[i] = LoadTwo(p + 32 * i);
      const __m256i by256 = _mm256_broadcastsi128_si256(MoveBy<128 * 16>());
      for (p += 128, left -= 128; left >= 256; p += 256, left -= 256) {
        for (int i = 0; i < 4; ++i) w[i] = FoldTwo(w[i], by256, LoadTwo(p + 32 * i));
        for (int i = 0; i < 4; ++i) second[i] = FoldTwo(second[i], by256, LoadTwo(p + 128 + 32 * i));
      }
      for (int i = 0; i < 4; ++i) w[i] = FoldTwo(w[i], by128, second[i]);
    }
    for (; left >= 128; p += 128, left -= 128) {
      for (int i = 0; i < 4; ++i) w[i] = FoldTwo(w[i], by128, LoadTwo(p + 32 * i));
    }
    for (int i = 0; i < 4; ++i) {
      lanes[2 * i] = _mm256_castsi256_si128(w[i]);
      lanes[2 * i + 1] = _mm256_extracti128_si256(w[i], 1);
    }
    *src = p;
    *len = left;
  }
#endif

  static uint32_t Crc(uint32_t reg, const uint8_t* src, size_t len) {
    if (len < 4) return Few(reg, src, len);
    if (len < 16) return Short(reg, src, len);
    const __m128i front = Swap(RegisterInFront(reg));
    __m128i x;
    if (len < 64) {
      x = _mm_xor_si128(LoadBlock(src), front);
      src += 16;
      len -= 16;
    } else {
      __m128i v[4];
      if (len < 256) {
        for (int i = 0; i < 4; ++i) v[i] = LoadBlock(src + 16 * i);
        v[0] = _mm_xor_si128(v[0], front);
        src += 64;
        len -= 64;
      } else {
        __m128i w[8];
#if ZELDC_VPCLMUL
        FoldWide(front, &src, &len, w);
#else
        for (int i = 0; i < 8; ++i) w[i] = LoadBlock(src + 16 * i);
        w[0] = _mm_xor_si128(w[0], front);
        const __m128i by128 = MoveBy<128 * 8>();
        for (src += 128, len -= 128; len >= 128; src += 128, len -= 128) {
          for (int i = 0; i < 8; ++i) w[i] = Fold(w[i], by128, LoadBlock(src + 16 * i));
        }
#endif
        const __m128i by64 = MoveBy<128 * 4>();
        for (int i = 0; i < 4; ++i) v[i] = Fold(w[i], by64, w[i + 4]);
      }
      const __m128i by64 = MoveBy<128 * 4>();
      for (; len >= 64; src += 64, len -= 64) {
        for (int i = 0; i < 4; ++i) v[i] = Fold(v[i], by64, LoadBlock(src + 16 * i));
      }
      x = Fold(v[0], MoveBy<384>(), Fold(v[1], MoveBy<256>(), Fold(v[2], MoveBy<128>(), v[3])));
    }
    const __m128i by16 = MoveBy<128>();
    for (; len >= 16; src += 16, len -= 16) x = Fold(x, by16, LoadBlock(src));
    if (len > 0) x = FoldTail(x, src, len);
    return Reduce(x);
  }
};

}  // namespace

uint32_t ownCrc32(uint32_t reg, const uint8_t* src, size_t len) {
  return Folder<kPolyCrc32, true, kCrc32Tables>::Crc(reg, src, len);
}

uint32_t ownCrc32c(uint32_t reg, const uint8_t* src, size_t len) {
  return Folder<kPolyCrc32c, true, kCrc32cTables>::Crc(reg, src, len);
}

uint32_t ownCrc32Bzip2(uint32_t reg, const uint8_t* src, size_t len) {
  return Folder<kPolyCrc32, false, kCrc32Bzip2Tables>::Crc(reg, src, len);
}

#endif
