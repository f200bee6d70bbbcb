// Intervals to bits: 256 streams, each in a buffer of its own.
//
// A value is written at once, as eight bytes of which only the whole ones count; the bits of the last, incomplete byte
// wait in the stream. So there is no branch on how full an accumulator is, which nothing could foretell. The buffers
// lie 64 bytes further apart than they are long: eight bytes always fit, and buffers that a power of two would put on
// the same lines of the cache do not.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/assert.h"
#include "core/target.h"
#include "entropy/git_format.h"
#include "shared/unaligned.h"

namespace zeldc {

struct GitBitStream {
  uint32_t sum;
  uint32_t size;  // whole bytes
  uint8_t phase;
  uint8_t k;
  uint8_t waiting;       // bits, the first one uppermost, with zeros below
  uint8_t waitingCount;  // 0 to 7
};

struct GitBuffers {
  uint8_t* start;
  size_t capacity;  // of each

  static constexpr size_t kGap = 64;
  uint8_t* Of(uint32_t stream) const { return start + stream * (capacity + kGap); }
};

// Appends `length` bits of a code that has no others, 1 to 56. A full stream takes none.
ZELDC_ALWAYS_INLINE void GitPut(GitBitStream* stream, uint8_t* buffer, size_t capacity, uint64_t code,
                                uint32_t length) {
  if (ZELDC_UNLIKELY(stream->size >= capacity)) return;
  ZELDC_ASSERT(1 <= length && length <= 56);
  const uint32_t count = stream->waitingCount + length;
  const uint64_t bits = uint64_t{stream->waiting} << 56 | code << (64 - count);
  StoreBE(buffer + stream->size, bits);
  stream->size += count / 8;
  stream->waiting = static_cast<uint8_t>(bits << (count & 56) >> 56);
  stream->waitingCount = static_cast<uint8_t>(count % 8);
}

// An interval with eight times the parameter's power of two or more.
ZELDC_NOINLINE inline void GitPutEscape(GitBitStream* stream, uint8_t* buffer, size_t capacity, uint64_t interval) {
  uint32_t k = stream->k;
  uint32_t ones = kGitEscapeOnes - 1;
  do {
    interval -= uint64_t{8} << k;
    k *= 2;
    ++ones;
  } while (interval >> k >= 8);
  GitPut(stream, buffer, capacity, (uint64_t{1} << ones) - 1, ones);
  const uint32_t quotient = static_cast<uint32_t>(interval >> k);
  GitPut(stream, buffer, capacity, (uint64_t{1} << (quotient + 1)) - 2, quotient + 2);
  const uint64_t low = interval & ((uint64_t{1} << k) - 1);
  if (k > 32) GitPut(stream, buffer, capacity, low >> 32, k - 32);
  GitPut(stream, buffer, capacity, k > 32 ? low & UINT32_MAX : low, k > 32 ? 32 : k);
}

ZELDC_ALWAYS_INLINE void GitPutInterval(GitBitStream* stream, uint8_t* buffer, size_t capacity, uint32_t interval) {
  const uint32_t k = stream->k;
  const uint32_t quotient = interval >> k;
  if (ZELDC_UNLIKELY(quotient >= kGitEscapeOnes)) return GitPutEscape(stream, buffer, capacity, interval);
  const uint32_t length = quotient + 1 + k;
  const uint64_t ones = (uint64_t{1} << length) - (uint64_t{2} << k);
  const uint64_t low = interval & ((uint64_t{1} << k) - 1);
  GitPut(stream, buffer, capacity, ones | low, length);
  GitAdapt(interval, &stream->sum, &stream->phase, &stream->k);
}

// Fills the last byte with ones and returns the stream's size. A full stream ends with its buffer.
inline size_t GitFinish(GitBitStream* stream, uint8_t* buffer, size_t capacity) {
  if (stream->size >= capacity) return capacity;
  buffer[stream->size] = static_cast<uint8_t>(stream->waiting | 0xFF >> stream->waitingCount);
  return stream->size + size_t{1};
}

}  // namespace zeldc
