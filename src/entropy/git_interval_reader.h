// Bits to intervals: a stream of the container, read where it stands.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>

#include "core/target.h"
#include "entropy/git_format.h"
#include "shared/unaligned.h"

namespace zeldc {

// Stands for the interval that a stream has no more, and for every one that no block is long enough for.
constexpr uint32_t kGitNever = UINT32_MAX;

struct GitStreamReader {
  uint32_t position;  // of the next bit's byte in the source
  uint32_t end;       // of the stream in the source, not before the position
  uint32_t sum;
  uint8_t phase;
  uint8_t k;
  uint8_t bit;  // 0 to 7
};

// Bit by bit, with each checked, and whatever an interval's size.
class GitCarefulReader {
 public:
  GitCarefulReader(GitStreamReader* stream, const uint8_t* src) : stream_(stream), src_(src) {}

  uint32_t Next() {
    uint32_t ones = 0;
    while (ones < kGitEscapeOnes && Bit()) ++ones;
    uint32_t k = stream_->k;
    uint64_t interval = 0;
    const bool escaped = ones == kGitEscapeOnes;
    if (escaped) {
      do {
        if (k >= 29) return Exhausted();  // 8 << 29 is 2^32
        interval += uint64_t{8} << k;
        k *= 2;
      } while (Bit());
      for (ones = 0; Bit();) {
        if (++ones == UINT32_MAX) return Exhausted();
      }
    }
    uint64_t low = 0;  // k is at most 56
    for (uint32_t i = 0; i < k; ++i) low = low << 1 | (Bit() ? 1 : 0);
    if (k < 32 ? ones >> (32 - k) != 0 : ones != 0) return Exhausted();
    interval += (uint64_t{ones} << k) + low;
    if (interval >= kGitNever || ran_out_) return Exhausted();
    if (!escaped) GitAdapt(static_cast<uint32_t>(interval), &stream_->sum, &stream_->phase, &stream_->k);
    return static_cast<uint32_t>(interval);
  }

 private:
  bool Bit() {
    if (stream_->position == stream_->end) {
      ran_out_ = true;
      return false;
    }
    const bool bit = (src_[stream_->position] >> (7 - stream_->bit) & 1) != 0;
    stream_->bit = static_cast<uint8_t>((stream_->bit + 1) % 8);
    if (stream_->bit == 0) ++stream_->position;
    return bit;
  }

  uint32_t Exhausted() {
    stream_->position = stream_->end;
    stream_->bit = 0;
    return kGitNever;
  }

  GitStreamReader* stream_;
  const uint8_t* src_;
  bool ran_out_ = false;
};

ZELDC_NOINLINE inline uint32_t GitReadCarefully(GitStreamReader* stream, const uint8_t* src) {
  return GitCarefulReader(stream, src).Next();
}

// The next interval, or kGitNever, from a source of src_len bytes. Eight of them are looked at where there are as many,
// be they of this stream or of the next ones: should the interval need more bits than the stream has, none is used.
ZELDC_ALWAYS_INLINE uint32_t GitReadInterval(GitStreamReader* stream, const uint8_t* src, uint32_t src_len) {
  constexpr uint32_t kLargestPlainK = 28;  // eight times 2^28 is 2^31
  if (ZELDC_UNLIKELY(src_len - stream->position < 8)) return GitReadCarefully(stream, src);
  const uint64_t bits = LoadBE<uint64_t>(src + stream->position) << stream->bit;
  const uint32_t k = stream->k;
  const uint32_t ones = static_cast<uint32_t>(std::countl_one(bits));
  if (ZELDC_UNLIKELY(ones >= kGitEscapeOnes || k > kLargestPlainK)) return GitReadCarefully(stream, src);
  const uint32_t interval = ones << k | static_cast<uint32_t>(bits << (ones + 1) >> (64 - k));
  const uint32_t next_bit = stream->bit + ones + 1 + k;
  if (ZELDC_UNLIKELY((next_bit + 7) / 8 > stream->end - stream->position)) return GitReadCarefully(stream, src);
  stream->position += next_bit / 8;
  stream->bit = static_cast<uint8_t>(next_bit % 8);
  GitAdapt(interval, &stream->sum, &stream->phase, &stream->k);
  return interval;
}

}  // namespace zeldc
