// Bound by the cache misses of looking up ranks, which do not wait for each other.

#include "bzip2/rank_sort.h"

#include "bzip2/sort_keys.h"

namespace zeldc {

namespace {

// By rank. Rotations are meant by their numbers in the block's order here. order_ holds, for each group, its numbers,
// and for each stretch without groups its length with the mark; rank_[number] is the last place of the number's group.
template <typename Pos>
class RankSort {
 public:
  RankSort(const PositionSet<Pos>& lms, Pos* order, Arena scratch)
      : lms_(lms), count_(lms.count), order_(order), rank_(order + (lms.len - lms.count)) {
    keys_ = scratch.Take<uint64_t>(0);
    maxKeys_ = static_cast<uint32_t>(static_cast<size_t>(scratch.end - scratch.next) / (2 * sizeof(uint64_t)));
  }

  void Sort() {
    TakeGroups();
    // This ends, for no two rotations are equal: of a block that is a repeated string, at least half of the LMS
    // rotations agree with the one before.
    for (uint32_t distance = 1; SortGroups(distance);) distance *= 2;
    uint32_t number = 0;
    lms_.ForEach([&](Pos pos) { order_[rank_[number++]] = pos; });
  }

 private:
  static constexpr Pos kMark = Marked<Pos>::kMark;

  // From positions, marked where they belong to the group of the one before.
  void TakeGroups() {
    uint32_t end = count_ - 1;
    bool inGroup = false;
    for (uint32_t k = count_; k-- > 0;) {
      const bool marked = order_[k] & kMark;
      const uint32_t number = lms_.NumberOf(Marked<Pos>::Unmark(order_[k]));
      rank_[number] = static_cast<Pos>(end);
      order_[k] = static_cast<Pos>(marked || inGroup ? number : kMark | 1u);
      inGroup = marked;
      if (!marked) end = k - 1;
    }
  }

  Pos Key(Pos number, uint32_t distance) const {
    const uint32_t behind = number + distance;
    return rank_[behind >= count_ ? behind - count_ : behind];
  }

  // One round; answers whether groups are left.
  bool SortGroups(uint32_t distance) {
    bool left = false;
    uint32_t sorted = 0;  // places before k that are sorted and not yet told as one stretch
    for (uint32_t k = 0; k < count_;) {
      const Pos entry = order_[k];
      if (entry & kMark) {
        const uint32_t n = Marked<Pos>::Unmark(entry);
        sorted += n;
        k += n;
        continue;
      }
      TellSorted(k, sorted);
      sorted = 0;
      const uint32_t end = rank_[entry];
      left |= SortGroup(k, end, distance);
      k = end + 1;
    }
    TellSorted(count_, sorted);
    return left;
  }

  void TellSorted(uint32_t end, uint32_t n) {
    if (n > 0) order_[end - n] = static_cast<Pos>(kMark | n);
  }

  // Sorts the group from place `first` to place `last`; answers whether groups are left of it.
  bool SortGroup(uint32_t first, uint32_t last, uint32_t distance) {
    bool left = false;
    while (last - first >= maxKeys_) {
      // Too many for the scratch: halve the range of keys, which ends after a logarithm of steps.
      Pos lowest = Key(order_[first], distance), highest = lowest;
      for (uint32_t k = first + 1; k <= last; ++k) {
        const Pos key = Key(order_[k], distance);
        lowest = key < lowest ? key : lowest;
        highest = key > highest ? key : highest;
      }
      if (lowest == highest) {
        Rank(first, last);
        return left || last > first;
      }
      const Pos middle = static_cast<Pos>(lowest + (highest - lowest) / 2);
      uint32_t upper = first;
      for (uint32_t k = first; k <= last; ++k) {
        const Pos number = order_[k];
        if (Key(number, distance) > middle) continue;
        order_[k] = order_[upper];
        order_[upper++] = number;
      }
      left |= SortGroup(first, upper - 1, distance);
      first = upper;
    }
    return SortByKeys(first, last, distance) || left;
  }

  bool SortByKeys(uint32_t first, uint32_t last, uint32_t distance) {
    const uint32_t count = last - first + 1;
    const Pos firstKey = Key(order_[first], distance);
    Pos differ = 0;
    for (uint32_t k = 0; k < count; ++k) {
      const Pos number = order_[first + k];
      const Pos key = Key(number, distance);
      keys_[k] = uint64_t{key} << 32 | number;
      differ |= key ^ firstKey;
    }
    if (differ == 0) {
      Rank(first, last);
      return count > 1;
    }
    SortKeys(keys_, keys_ + count, count, 32);
    bool left = false;
    for (uint32_t run = 0, end; run < count; run = end) {
      for (end = run + 1; end < count && keys_[end] >> 32 == keys_[run] >> 32; ++end) {
      }
      for (uint32_t k = run; k < end; ++k) order_[first + k] = static_cast<Pos>(keys_[k]);
      Rank(first + run, first + end - 1);
      left |= end - run > 1;
    }
    return left;
  }

  // Tells that the places from first to last are a group of its own.
  void Rank(uint32_t first, uint32_t last) {
    for (uint32_t k = first; k <= last; ++k) rank_[order_[k]] = static_cast<Pos>(last);
    if (first == last) order_[first] = kMark | 1;
  }

  const PositionSet<Pos>& lms_;
  const uint32_t count_;
  Pos* const order_;
  Pos* const rank_;
  uint64_t* keys_;
  uint32_t maxKeys_;
};

}  // namespace

void SortByRank(const PositionSet<uint32_t>& lms, uint32_t* order, Arena scratch) {
  RankSort<uint32_t>(lms, order, scratch).Sort();
}
void SortByRank(const PositionSet<uint16_t>& lms, uint16_t* order, Arena scratch) {
  RankSort<uint16_t>(lms, order, scratch).Sort();
}

}  // namespace zeldc
