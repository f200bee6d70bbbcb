// The search looks at a position's four bytes, takes the one or two earlier positions that the dictionary holds for
// their hash, and goes on behind the match or by one byte. Whether there is a match is a branch that nothing guesses
// well, and what it costs is the time until it is decided: the hash, the dictionary, and the bytes at the candidate,
// one load waiting for the other.
//
// So the dictionary holds with each position the upper 12 bits of its four bytes, read as a number: all of the fourth
// byte and half of the third. With them, and the hash, it is known without a look at the candidate whether to try the
// second slot, and but for one case in thousands whether there is a match; candidates that are none never come into
// the cache.
//
// The first 2048 positions need only half of that: all their candidates are near, and no second slot counts.
//
// An entry is that tag and a position's number of 20 bits. Positions are numbered through all inputs, with a gap
// between two of them, so that what was left by an earlier input is out of reach, as is 0, an empty entry. When the
// numbers are used up, they are all lowered, and numbers below 0 become 0.

#include "dictionary/lzo_compress.h"

#include <string.h>

#include <algorithm>
#include <bit>

#include "core/target.h"
#include "dictionary/lzo_format.h"
#include "dictionary/lzo_hash.h"
#include "dictionary/lzo_tokens.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

constexpr uint32_t kNeverLookedUp = 4;  // bytes at the start
constexpr uint32_t kLastLiterals = 13;  // at least so many bytes behind a position that is looked up

constexpr uint32_t kNumberMask = (1u << 20) - 1;
constexpr uint32_t kTagMask = ~kNumberMask;
constexpr uint32_t kThirdByteTag = 0x00F00000;
constexpr uint32_t kFirstNumber = kFarMaxDistance + 1;  // 0 is out of its reach
constexpr uint32_t kNumbersToStart = 1u << 19;          // an input starts below it, or with an empty dictionary

// Lowers all numbers so that `number` becomes kFirstNumber.
void LowerNumbers(uint32_t* entries, uint64_t number) {
  const auto by = static_cast<uint32_t>(std::min<uint64_t>(number - kFirstNumber, kNumberMask));
  for (uint32_t i = 0; i < kLzoDictionarySize; ++i) {
    entries[i] = (entries[i] & kTagMask) | (std::max(entries[i] & kNumberMask, by) - by);
  }
}

// In the lowest lane the hash at p.
ZELDC_ALWAYS_INLINE uint64_t HashLanes(const uint8_t* p) {
  const uint64_t* const lanes = kLzoHashLanes.of;
  return lanes[p[0]] >> 48 ^ lanes[p[1]] >> 32 ^ lanes[p[2]] >> 16 ^ lanes[p[3]];
}

// Not 0 if a candidate is out of reach, or is no match by its tag: beyond 2048 bytes all of the tag must be equal,
// before only what it has of the third byte. difference: of the tags, in their place.
ZELDC_ALWAYS_INLINE uint32_t Rejection(uint32_t difference, uint32_t distance) {
  const uint32_t far = MaskIfNegative(kNearMaxDistance - distance) & kTagMask;
  return (difference & (far | kThirdByteTag)) | MaskIfNegative(kFarMaxDistance - distance);
}

// Enters a position, whose four bytes are `bytes`, and answers whether the entry that it takes was a match by its tag;
// and how far back.
ZELDC_ALWAYS_INLINE bool LookUp(uint32_t* entries, uint32_t hash, uint32_t bytes, uint32_t number, uint32_t* distance) {
  const uint32_t entry = (bytes & kTagMask) | number;
  uint32_t old = entries[hash];
  uint32_t back = (entry - old) & kNumberMask;
  uint32_t slot = hash;
  if (Rejection(entry ^ old, back) != 0) {
    // The second slot counts if the first candidate is in reach, but far, and its fourth byte differs.
    const uint32_t fourth_differs = 0 - ((bytes ^ old) >> 24);
    const uint32_t second = MaskIfNegative((back - kFarMaxDistance - 1) & (kNearMaxDistance - back) & fourth_differs);
    old = entries[SecondSlot(hash)];
    back = (entry - old) & kNumberMask;
    slot = hash ^ ((hash ^ SecondSlot(hash)) & second);
    if ((Rejection(entry ^ old, back) | ~second) != 0) {
      entries[slot] = entry;
      return false;
    }
  }
  entries[slot] = entry;
  *distance = back;
  return true;
}

// The same for one of the input's first kNearMaxDistance positions: a candidate in reach is near.
ZELDC_ALWAYS_INLINE bool LookUpNear(uint32_t* entries, uint32_t hash, uint32_t bytes, uint32_t number,
                                    uint32_t* distance) {
  const uint32_t entry = (bytes & kTagMask) | number;
  const uint32_t old = entries[hash];
  entries[hash] = entry;
  *distance = (entry - old) & kNumberMask;
  return (((entry ^ old) & kThirdByteTag) | MaskIfNegative(kNearMaxDistance - *distance)) == 0;
}

// The end of a match of 8 bytes and more.
ZELDC_ALWAYS_INLINE const uint8_t* MatchEnd(const uint8_t* p, const uint8_t* end, uint32_t distance) {
  p += 8;
  for (; end - p >= 8; p += 8) {
    const uint64_t differences = LoadLE<uint64_t>(p) ^ LoadLE<uint64_t>(p - distance);
    if (differences != 0) return p + (std::countr_zero(differences) >> 3);
  }
  while (p != end && *p == *(p - distance)) ++p;
  return p;
}

}  // namespace

void LzoInitDictionary(LzoDictionary* dictionary) {
  memset(dictionary->entries, 0, sizeof dictionary->entries);
  dictionary->next = kFirstNumber;
}

size_t LzoCompress(const uint8_t* in, uint32_t n, uint8_t* const start, LzoDictionary* dictionary) {
  const uint8_t* const end = in + n;
  const uint8_t* literals = in;
  uint8_t* out = start;
  if (n > kNeverLookedUp + kLastLiterals) {
    if (dictionary->next > kNumbersToStart) LzoInitDictionary(dictionary);
    uint32_t* const entries = dictionary->entries;
    const uint8_t* const limit = end - kLastLiterals;
    const uint8_t* p = in + kNeverLookedUp;
    // The number of the position `in`, which is below 0 when numbers have been lowered.
    int64_t base = dictionary->next;
    while (p < limit) {
      const int64_t number = p - in + base;
      if (number > kNumberMask) {
        LowerNumbers(entries, static_cast<uint64_t>(number));
        base -= number - kFirstNumber;
      }
      const auto shift = static_cast<uint32_t>(base);
      const ptrdiff_t numbers = kNumberMask + 1 - static_cast<ptrdiff_t>(p - in + base);
      const uint8_t* const stop = limit - p <= numbers ? limit : p + numbers;
      const auto search = [&](const uint8_t* const until, const auto& look_up) ZELDC_LAMBDA_INLINE {
        uint64_t lanes = HashLanes(p);
        while (p < until) {
          const uint32_t hash = static_cast<uint32_t>(lanes) & kLzoHashMask;
          const uint64_t bytes = LoadLE<uint64_t>(p);
          uint32_t distance;
          // An entry that no input has left may tell any distance: the candidate must lie within the input.
          const auto at = static_cast<uint32_t>(p - in);
          if (look_up(entries, hash, static_cast<uint32_t>(bytes), at + shift, &distance) && distance - 1 < at) {
            const uint64_t differences = bytes ^ LoadLE<uint64_t>(p - distance);
            if (ZELDC_LIKELY((differences & 0xFFFFFF) == 0)) {
              out = WriteRun(out, literals, static_cast<size_t>(p - literals), out == start);
              literals = ZELDC_LIKELY(differences != 0) ? p + (std::countr_zero(differences) >> 3)
                                                        : MatchEnd(p, end, distance);
              out = WriteMatch(out, distance, static_cast<size_t>(literals - p));
              p = literals;
              if (p < until) lanes = HashLanes(p);
              continue;
            }
          }
          lanes = lanes >> 16 ^ kLzoHashLanes.of[p[4]];
          ++p;
        }
      };
      constexpr auto kNear = [](auto... position) ZELDC_LAMBDA_INLINE { return LookUpNear(position...); };
      constexpr auto kAny = [](auto... position) ZELDC_LAMBDA_INLINE { return LookUp(position...); };
      const uint8_t* const nearEnd = in + std::min<ptrdiff_t>(stop - in, kNearMaxDistance + 1);
      if (p < nearEnd) search(nearEnd, kNear);
      if (p < stop) search(stop, kAny);
    }
    dictionary->next = static_cast<uint32_t>(std::min<int64_t>(n + base + kFirstNumber, kNumberMask));
  }
  out = WriteAnyRun(out, literals, static_cast<size_t>(end - literals), out == start, true);
  return static_cast<size_t>(out - start);
}

}  // namespace zeldc
