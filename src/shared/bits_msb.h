// Bits in the order of bzip2: most significant bit of each byte first.
//
// Between calls the bits that wait stand left-aligned in a word of 32, the oldest uppermost, with their number beside
// it. A count outside 0..32 is taken for the nearest one, and what stands below the counted bits for zeros.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/assert.h"
#include "core/target.h"
#include "shared/unaligned.h"

namespace zeldc {

// The upper n of 64 bits, n <= 63.
constexpr uint64_t UpperBits(uint32_t n) { return ~(~uint64_t{0} >> n); }

constexpr uint32_t WaitingBits(int32_t count) {
  return count < 0 ? 0u : count > 32 ? 32u : static_cast<uint32_t>(count);
}

// Reads from the bits that an earlier call left over, then from a source. Look-ahead stays in here: Settle() hands the
// source back what this reader took of it too early.
struct MsbReader {
  uint64_t bits;  // the next bit uppermost. Below `count` stand zeros or bits that the source holds next.
  uint32_t count;
  const uint8_t* src;
  const uint8_t* srcStart;
  const uint8_t* srcEnd;  // null: whoever calls knows how far the source goes

  MsbReader(uint32_t waiting, int32_t waitingCount, const uint8_t* source, size_t len)
      : bits((uint64_t{waiting} << 32) & UpperBits(WaitingBits(waitingCount))),
        count(WaitingBits(waitingCount)),
        src(source),
        srcStart(source),
        srcEnd(source + len) {}

  // The refill of the inner loops: 8 bytes of source are left. Has at least 56 bits afterwards, never more than 63.
  ZELDC_ALWAYS_INLINE void RefillWide() {
    ZELDC_ASSERT(srcEnd == nullptr || srcEnd - src >= 8);
    bits |= LoadBE<uint64_t>(src) >> count;
    src += (63 - count) >> 3;
    count |= 56;
  }

  // Has at least 56 bits, or all that there are; never more than 63.
  ZELDC_ALWAYS_INLINE void Refill() {
    if (ZELDC_LIKELY(srcEnd - src >= 8)) {
      RefillWide();
      return;
    }
    bits &= UpperBits(count);
    while (count < 56 && src < srcEnd) {
      bits |= uint64_t{*src++} << (56 - count);
      count += 8;
    }
  }

  // Whether there are n bits, n <= 56.
  ZELDC_ALWAYS_INLINE bool Has(uint32_t n) {
    if (count < n) Refill();
    return count >= n;
  }

  // The next n bits, 1 <= n <= 32; they need not be there.
  ZELDC_ALWAYS_INLINE uint32_t Peek(uint32_t n) const { return static_cast<uint32_t>(bits >> (64 - n)); }

  ZELDC_ALWAYS_INLINE void Consume(uint32_t n) {
    ZELDC_ASSERT(n <= count);
    bits <<= n;
    count -= n;
  }

  // Gives back whole bytes of this source as long as `keep` bits stay: afterwards the reader has taken what one has
  // that loads single bytes and wants `keep` bits here. At most keep + 7 bits stay, or what the earlier call left over.
  void Settle(uint32_t keep) {
    const size_t taken = static_cast<size_t>(src - srcStart);
    const size_t spare = count > keep ? (count - keep) / 8 : 0;
    const size_t back = spare < taken ? spare : taken;
    src -= back;
    count -= static_cast<uint32_t>(8 * back);
    bits &= UpperBits(count);
  }

  // The word for the next call. At most 32 bits are left.
  uint32_t Waiting() const { return static_cast<uint32_t>(bits >> 32); }
};

// Writes behind bits that an earlier call left over. Bits wait in the accumulator until WriteBytes finds room.
struct MsbWriter {
  uint64_t bits;  // the first one uppermost, zero below `count`
  uint32_t count;
  uint8_t* out;
  uint8_t* outEnd;

  MsbWriter(uint32_t waiting, int32_t waitingCount, uint8_t* dst, size_t len)
      : bits((uint64_t{waiting} << 32) & UpperBits(WaitingBits(waitingCount))),
        count(WaitingBits(waitingCount)),
        out(dst),
        outEnd(dst + len) {}

  // Room in the accumulator is the caller's business. 1 <= n, count + n <= 64.
  ZELDC_ALWAYS_INLINE void Put(uint64_t v, uint32_t n) {
    ZELDC_ASSERT(1 <= n && count + n <= 64);
    bits |= v << (64 - count - n);
    count += n;
  }

  // Writes whole bytes, of at most 63 bits; there are 8 bytes of room, all of which may be written.
  ZELDC_ALWAYS_INLINE void WriteBytesWide() {
    ZELDC_ASSERT(count < 64 && outEnd - out >= 8);
    StoreBE(out, bits);
    out += count >> 3;
    bits <<= count & 56;
    count &= 7;
  }

  // Writes whole bytes as far as there is room.
  ZELDC_ALWAYS_INLINE void WriteBytes() {
    if (ZELDC_LIKELY(outEnd - out >= 8 && count < 64)) return WriteBytesWide();
    for (; count >= 8 && out < outEnd; count -= 8) {
      *out++ = static_cast<uint8_t>(bits >> 56);
      bits <<= 8;
    }
  }

  // Writes whole bytes, then appends n bits, 1 <= n <= 32. Where the destination has long been full, what does not fit
  // the accumulator is counted, but lost.
  ZELDC_ALWAYS_INLINE void WriteAndPut(uint32_t v, uint32_t n) {
    WriteBytes();
    if (ZELDC_LIKELY(count + n <= 64)) return Put(v, n);
    count = count + n < INT32_MAX ? count + n : INT32_MAX;
  }

  // The word for the next call, which holds all bits when there are at most 32.
  uint32_t Waiting() const { return static_cast<uint32_t>(bits >> 32); }
  int32_t WaitingCount() const { return static_cast<int32_t>(count); }
};

}  // namespace zeldc
