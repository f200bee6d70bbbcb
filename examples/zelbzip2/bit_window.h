// A file's bits, and the marks among them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "common/file_streams.h"

namespace zelbzip2 {

// The part of the input that is being looked at. Positions count from the input's start, in bytes or bits, the most
// significant bit of a byte first.
class BitWindow {
 public:
  explicit BitWindow(example::Input& input) : input_(input) {}

  // Reads on until the window reaches the byte `end`; false if the input ends before.
  bool Reach(uint64_t end);

  // Gives up the bytes before `begin`, which is within the window or at its end.
  void Forget(uint64_t begin);

  uint64_t end() const { return begin_ + held_ - first_; }
  const uint8_t* At(uint64_t byte) const { return buffer_.data() + first_ + (byte - begin_); }

  // A number of at most 48 bits, or nothing if the input ends before.
  std::optional<uint64_t> Number(uint64_t bit, int bits);

  const example::Input& input() const { return input_; }

 private:
  example::Input& input_;
  std::vector<uint8_t> buffer_;
  size_t first_ = 0;    // where the window begins in the buffer
  size_t held_ = 0;     // where it ends
  uint64_t begin_ = 0;  // its position in the input
};

struct Mark {
  uint64_t bit;
  bool isBlock;  // or the stream's end
};

// Finds what looks like a mark. Whether it is one depends on what stands before: data may look like anything.
class MarkFinder {
 public:
  explicit MarkFinder(BitWindow& window) : window_(window) {}

  // The bit where the search goes on.
  uint64_t position() const { return position_; }
  void SkipTo(uint64_t bit) { position_ = bit; }

  // The next mark that begins before the byte `limit`. Without one, the search has come to that byte, or so near to the
  // input's end that nothing could stand behind a mark.
  std::optional<Mark> Next(uint64_t limit);

 private:
  BitWindow& window_;
  uint64_t position_ = 0;
};

}  // namespace zelbzip2
