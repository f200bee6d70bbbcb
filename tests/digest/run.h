// One run of a family's encoders: the conditions that its output must not depend on, and the digest of the output.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <vector>

#include "digest.h"
#include "inputs.h"
#include "support/uninitialised.h"
#include "zeldc/types.h"

namespace zeldc_digest {

struct Conditions {
  uint8_t fill;     // what memory holds before it is used
  bool aligned;     // multiples of 64, or addresses that are only what the headers ask for
  int32_t threads;  // what ownGetNumThreads answers
};

// Memory for `count` elements: not aligned is the first element behind a multiple of 64, so bytes stand at an odd
// address, and 32-bit words, as records do, at an odd multiple of 4.
template <typename T>
class Memory {
 public:
  Memory(const Conditions& conditions, size_t count)
      : bytes_((count + 1) * sizeof(T) + 2 * kAlignment, conditions.fill), count_(count) {
    const uintptr_t start = reinterpret_cast<uintptr_t>(bytes_.data());
    const size_t to_aligned = (kAlignment - start % kAlignment) % kAlignment;
    data_ = reinterpret_cast<T*>(bytes_.data() + to_aligned) + (conditions.aligned ? 0 : 1);
    MakeUninitialised(bytes_.data(), bytes_.size());
  }
  Memory(const Conditions& conditions, const std::vector<T>& content) : Memory(conditions, content.size()) {
    std::copy(content.begin(), content.end(), data_);
  }
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;

  T* data() const { return data_; }
  size_t size() const { return count_; }
  T& operator[](size_t index) const { return data_[index]; }

 private:
  static constexpr size_t kAlignment = 64;

  std::vector<uint8_t> bytes_;
  size_t count_;
  T* data_;
};

// The room for a state record of so many bytes, at a multiple of 4.
template <typename State>
class Record {
 public:
  Record(const Conditions& conditions, int32_t size) : words_(conditions, (static_cast<size_t>(size) + 3) / 4) {}

  State* get() const { return reinterpret_cast<State*>(words_.data()); }

 private:
  const Memory<uint32_t> words_;
};

struct Run {
  const Conditions conditions;
  Digest digest;

  // Puts a status into the digest and hands it on.
  zelStatus Status(zelStatus status) {
    digest.Int(status);
    return status;
  }
};

// How a caller cuts its source or its room into pieces.
class Split {
 public:
  // So many small pieces are taken; more would only take time.
  explicit Split(uint32_t number, uint32_t small_pieces = 1000)
      : way_(number % kWays), numbers_(number), small_pieces_(small_pieces) {}

  // The size of the next piece, where `left` are left: never 0 unless that is.
  size_t Next(size_t left) {
    static constexpr size_t kSizes[kWays] = {SIZE_MAX, 1, 7, 300, 4096, 40000, 0};
    size_t size = kSizes[way_] != 0 ? kSizes[way_] : 1 + numbers_.Below(9000);
    if (small_pieces_ == 0) size = std::max<size_t>(size, 20000);
    if (size < 1000 && small_pieces_ > 0) --small_pieces_;
    return std::min(left, size);
  }

  static constexpr uint32_t kWays = 7;

 private:
  const uint32_t way_;
  Numbers numbers_;
  uint32_t small_pieces_;
};

}  // namespace zeldc_digest
