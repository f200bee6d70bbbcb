// Memory between two inaccessible pages: whoever reads or writes past the guarded end is stopped at once.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "support/bytes.h"

namespace zeldc_test {

// Which end of the buffer touches its guard page.
enum class Guard { kBehind, kBefore };

class GuardedBuffer {
 public:
  // `size` bytes of zeros; 0 is allowed, then no byte at data() is accessible on the guarded side.
  explicit GuardedBuffer(size_t size, Guard guard = Guard::kBehind);
  // A copy of `content`, read-only: a source that nobody may write.
  explicit GuardedBuffer(const Bytes& content, Guard guard = Guard::kBehind);
  ~GuardedBuffer();

  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  uint8_t* end() const { return data_ + size_; }
  Bytes ToBytes() const { return Bytes(data_, data_ + size_); }

  void MakeReadOnly();

 private:
  uint8_t* mapping_;
  size_t mapping_size_;
  uint8_t* data_;
  size_t size_;
};

}  // namespace zeldc_test
