// The bits of a Deflate stream: those of a byte go lowest first.
#pragma once

#include <cstdint>
#include <string>

#include "common/file_streams.h"

namespace zelzlib {

class BitReader {
 public:
  explicit BitReader(example::Input& input) : cursor_(input, kBufferBytes) {}

  const std::string& name() const { return cursor_.name(); }

  // The next bits, up to 25, as a number. The input's end is a Failure.
  uint32_t Take(uint32_t count);
  // The same without taking them; zeros stand for what lies behind the input's end.
  uint32_t Peek(uint32_t count);

  // Drops the rest of a begun byte.
  void SkipToByte();
  // Whether there are no more bytes behind the begun one.
  bool AtEnd() { return count_ < 8 && !cursor_.More(); }

  // What the one-call decoder takes and moves on: bits first, then bytes.
  uint32_t* bits() { return &bits_; }
  uint32_t* count() { return &count_; }
  example::InputCursor& cursor() { return cursor_; }

  [[noreturn]] void ThrowUnexpectedEnd() const;

 private:
  static constexpr size_t kBufferBytes = 256 << 10;

  bool Fill(uint32_t count);

  example::InputCursor cursor_;
  uint32_t bits_ = 0;
  uint32_t count_ = 0;
};

}  // namespace zelzlib
