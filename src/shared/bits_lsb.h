// Bits in Deflate's order: least significant bit of each byte first.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/assert.h"
#include "core/target.h"
#include "shared/unaligned.h"

namespace zeldc {

// Reads from the bits that an earlier call left over, then from a source. Look-ahead stays in here: Settle() hands the
// source back what this reader took of it and nobody consumed.
struct BitReader {
  uint64_t bits;  // the next bit lowest. Above `count` stand zeros or bits that the source holds next.
  uint32_t count;
  const uint8_t* src;
  const uint8_t* srcStart;
  const uint8_t* srcEnd;

  BitReader(uint64_t heldBits, int32_t heldCount, const uint8_t* source, size_t len)
      : bits(heldBits), count(static_cast<uint32_t>(heldCount)), src(source), srcStart(source), srcEnd(source + len) {}

  // Has at least 56 bits, or all that there are; never more than 63.
  ZELDC_ALWAYS_INLINE void Refill() {
    if (ZELDC_LIKELY(srcEnd - src >= 8)) {
      bits |= LoadLE<uint64_t>(src) << count;
      src += (63 - count) >> 3;
      count |= 56;
      return;
    }
    while (count < 56 && src < srcEnd) {
      bits = (bits & Mask(count)) | uint64_t{*src++} << count;
      count += 8;
    }
    bits &= Mask(count);
  }

  ZELDC_ALWAYS_INLINE void Consume(unsigned n) {
    ZELDC_ASSERT(n <= count);
    bits >>= n;
    count -= n;
  }

  ZELDC_ALWAYS_INLINE unsigned Take(unsigned n) {
    const unsigned v = static_cast<unsigned>(bits) & ((1u << n) - 1);
    Consume(n);
    return v;
  }

  // How many bits there are, counted up to some hundred.
  uint32_t Available() const {
    const size_t left = static_cast<size_t>(srcEnd - src);
    return count + 8 * static_cast<uint32_t>(left < 64 ? left : 64);
  }

  // Gives back whole bytes of this source, so that only bits of a begun byte (and of earlier calls) stay.
  void Settle() {
    const size_t taken = static_cast<size_t>(src - srcStart);
    const size_t whole = count >> 3;
    const size_t back = whole < taken ? whole : taken;
    src -= back;
    count -= static_cast<uint32_t>(8 * back);
    bits &= Mask(count);
  }

  static uint64_t Mask(uint32_t n) { return (uint64_t{1} << n) - 1; }
};

// Reads likewise, but takes single bytes, and none before it is needed.
struct BytewiseReader {
  uint64_t bits;  // the next bit lowest, zero above `count`
  int32_t count;
  const uint8_t* src;
  int32_t left;

  // Has at least n bits, n up to 32, or all that there are: then the answer is false.
  bool Gather(int32_t n) {
    while (count < n) {
      if (left == 0) return false;
      bits |= uint64_t{*src++} << count;
      --left;
      count += 8;
    }
    return true;
  }

  uint32_t Take(int n) {
    ZELDC_ASSERT(n <= count);
    const uint32_t v = static_cast<uint32_t>(bits & BitReader::Mask(static_cast<uint32_t>(n)));
    bits >>= n;
    count -= n;
    return v;
  }

  void AlignToByte() { Take(count & 7); }
};

// Writes behind bits that an earlier call left over. Bits wait in the accumulator until WriteBytes finds room.
struct BitWriter {
  uint64_t bits;  // the first one lowest, zero above `count`
  uint32_t count;
  uint8_t* out;
  uint8_t* outEnd;  // null: whoever calls knows that there is room

  BitWriter(uint64_t heldBits, int32_t heldCount, uint8_t* dst, uint8_t* dstEnd)
      : bits(heldBits), count(static_cast<uint32_t>(heldCount)), out(dst), outEnd(dstEnd) {}

  // Room in the accumulator is the caller's business: up to 57 bits after WriteBytes left less than a byte.
  ZELDC_ALWAYS_INLINE void Put(uint64_t v, uint32_t n) {
    ZELDC_ASSERT(count + n <= 64);
    bits |= v << count;
    count += n;
  }

  void PadToByte() { count = (count + 7) & ~7u; }

  // Writes whole bytes as far as there is room; false when some are left.
  ZELDC_ALWAYS_INLINE bool WriteBytes() {
    while (count >= 8) {
      if (out == outEnd) return false;
      *out++ = static_cast<uint8_t>(bits);
      bits >>= 8;
      count -= 8;
    }
    return true;
  }

  // Writes whole bytes, of at most 63 bits; there are 8 bytes of room, all of which may be written.
  ZELDC_ALWAYS_INLINE void WriteBytesWide() {
    ZELDC_ASSERT(count < 64 && (outEnd == nullptr || outEnd - out >= 8));
    StoreLE(out, bits);
    out += count >> 3;
    bits >>= count & ~7u;
    count &= 7;
  }
};

}  // namespace zeldc
