// Many keys are sorted byte by byte from the lowest; less, by a quicksort whose partition moves every key instead of
// asking, down to sixteen keys, whose places are counted. Bound by the stores, one or two a key and level; the few
// mispredicted branches are at the ends of loops.

#include "bzip2/sort_keys.h"

#include <string.h>

#include "core/target.h"

namespace zeldc {

namespace {

constexpr uint32_t kFew = 16;
constexpr uint32_t kMany = 2048;

ZELDC_ALWAYS_INLINE uint64_t Lower(uint64_t a, uint64_t b) { return a < b ? a : b; }
ZELDC_ALWAYS_INLINE uint64_t Higher(uint64_t a, uint64_t b) { return a < b ? b : a; }

// Each key's place is the number of keys below it.
void SortFew(uint64_t* keys, uint32_t count) {
  uint64_t sorted[kFew];
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t below = 0;
    for (uint32_t k = 0; k < count; ++k) below += keys[k] < keys[i];
    sorted[below] = keys[i];
  }
  memcpy(keys, sorted, count * sizeof(uint64_t));
}

uint64_t Median(const uint64_t* keys, uint32_t count) {
  const uint64_t a = keys[count / 4], b = keys[count / 2], c = keys[count / 4 * 3];
  return Higher(Lower(a, b), Lower(Higher(a, b), c));
}

void QuickSort(uint64_t* keys, uint32_t count) {
  while (count > kFew) {
    const uint64_t pivot = Median(keys, count);
    uint32_t below = 0;
    for (uint32_t i = 0; i < count; ++i) {
      const uint64_t key = keys[i];
      keys[i] = keys[below];
      keys[below] = key;
      below += key < pivot;
    }
    // Both sides have some: of three keys that differ, the median is neither the lowest nor the highest.
    if (below < count - below) {
      QuickSort(keys, below);
      keys += below;
      count -= below;
    } else {
      QuickSort(keys + below, count - below);
      count = below;
    }
  }
  SortFew(keys, count);
}

void RadixSort(uint64_t* keys, uint64_t* scratch, uint32_t count, int lowBit) {
  uint64_t differ = 0;
  for (uint32_t i = 1; i < count; ++i) differ |= keys[i] ^ keys[0];
  uint64_t* from = keys;
  uint64_t* to = scratch;
  for (int shift = lowBit; shift < 64; shift += 8) {
    if ((differ >> shift & 0xFF) == 0) continue;
    uint32_t places[256] = {};
    for (uint32_t i = 0; i < count; ++i) ++places[from[i] >> shift & 0xFF];
    uint32_t sum = 0;
    for (uint32_t& place : places) {
      const uint32_t n = place;
      place = sum;
      sum += n;
    }
    for (uint32_t i = 0; i < count; ++i) to[places[from[i] >> shift & 0xFF]++] = from[i];
    uint64_t* const swap = from;
    from = to;
    to = swap;
  }
  if (from != keys) memcpy(keys, from, count * sizeof(uint64_t));
}

}  // namespace

void SortKeys(uint64_t* keys, uint64_t* scratch, uint32_t count, int lowBit) {
  if (count > kMany) {
    RadixSort(keys, scratch, count, lowBit);
  } else {
    QuickSort(keys, count);
  }
}

}  // namespace zeldc
