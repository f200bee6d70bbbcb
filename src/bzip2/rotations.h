// What the steps of the forward transform share: a cyclic string of symbols, and its rotations to be sorted.
//
// Rotation i is of type L when it is larger than rotation i + 1, else of type S; LMS rotations (leftmost S) are those
// of type S behind one of type L. At most every second rotation is one, and in a string that is not one repeated
// symbol at least one is. An LMS substring goes from one LMS rotation's start to the next one's, both included.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/assert.h"
#include "core/target.h"

namespace zeldc {

// Bytes of text that may be read behind the block; they go on from its start.
inline constexpr uint32_t kTextBehind = 80;

// Memory that is handed out from its start; a copy hands the same memory out once more.
struct Arena {
  uint8_t* next;
  uint8_t* end;

  template <typename T>
  T* Take(size_t count) {
    next += -reinterpret_cast<uintptr_t>(next) & (alignof(T) - 1);
    T* const area = reinterpret_cast<T*>(next);
    ZELDC_ASSERT(next <= end && count * sizeof(T) <= static_cast<size_t>(end - next));
    next += count * sizeof(T);
    return area;
  }

  template <typename T>
  bool Has(size_t count) const {
    return static_cast<size_t>(end - next) >= count * sizeof(T) + alignof(T);
  }
};

// Pos: positions, of which the highest bit is free for a mark.
template <typename Pos>
struct Marked {
  static constexpr Pos kMark = static_cast<Pos>(Pos{1} << (8 * sizeof(Pos) - 1));
  static constexpr Pos kNone = static_cast<Pos>(kMark - 1);  // no position in strings that are shorter than the mark
  static constexpr Pos Unmark(Pos entry) { return entry & kNone; }
};

// Of a bit for each of `len` things.
inline uint32_t WordsOf(uint32_t len) { return (len - 1) / 64 + 1; }

// A set of positions, with the number of each.
template <typename Pos>
struct PositionSet {
  uint32_t len;    // positions there are
  uint64_t* bits;  // one a position; none behind the last
  Pos* before;     // for each word, how many are in the words before
  uint32_t count;  // in the set

  void Take(Arena* arena, uint32_t positions) {
    len = positions;
    bits = arena->Take<uint64_t>(WordsOf(len));
    before = arena->Take<Pos>(WordsOf(len));
  }

  bool Has(uint32_t pos) const {
    ZELDC_ASSERT(pos < len);
    return bits[pos >> 6] >> (pos & 63) & 1;
  }

  // Where pos stands among those in the set.
  ZELDC_ALWAYS_INLINE uint32_t NumberOf(uint32_t pos) const {
    ZELDC_ASSERT(pos < len);
    const uint64_t below = bits[pos >> 6] & ((uint64_t{1} << (pos & 63)) - 1);
    return before[pos >> 6] + static_cast<uint32_t>(__builtin_popcountll(below));
  }

  // How far the next one lies behind pos, around the end if need be.
  ZELDC_ALWAYS_INLINE uint32_t DistanceToNext(uint32_t pos) const {
    uint32_t w = (pos + 1) >> 6;
    uint64_t word = w < WordsOf(len) ? bits[w] >> ((pos + 1) & 63) : 0;
    if (ZELDC_LIKELY(word != 0)) return 1 + static_cast<uint32_t>(__builtin_ctzll(word));
    do {
      w = w + 1 < WordsOf(len) ? w + 1 : 0;
      word = bits[w];
    } while (word == 0);
    const uint32_t next = 64 * w + static_cast<uint32_t>(__builtin_ctzll(word));
    return next > pos ? next - pos : next + len - pos;
  }

  template <typename F>
  void ForEach(F f) const {
    for (uint32_t w = 0; w < WordsOf(len); ++w) {
      for (uint64_t word = bits[w]; word != 0; word &= word - 1) {
        f(static_cast<Pos>(64 * w + static_cast<uint32_t>(__builtin_ctzll(word))));
      }
    }
  }
};

// Symbol: bytes with kTextBehind of them behind the string, or numbers of the same type as positions.
template <typename Symbol, typename Pos>
struct Rotations {
  const Symbol* symbols;
  uint32_t len;
  uint32_t alphabet;  // symbols are below
  Pos* order;         // len entries
  PositionSet<Pos> lms;
};

}  // namespace zeldc
