// Reading and writing of files, pipes and terminals in large pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/progress.h"

namespace example {

// Owns an open file.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
  Descriptor& operator=(Descriptor&&) = delete;

  int number() const { return number_; }
  int Release();

 private:
  int number_;
};

// The bytes of an open file in order. Errors are failures that name the file.
class Input {
 public:
  // The file stays the caller's, and so does the progress bar, which follows what is read.
  Input(int descriptor, std::string name, Progress& progress)
      : descriptor_(descriptor), name_(std::move(name)), progress_(progress) {}

  const std::string& name() const { return name_; }
  uint64_t total() const { return total_; }

  // Reads what there is, but at least a byte; 0 only at the end.
  size_t ReadSome(uint8_t* to, size_t room);

  // Reads until the room is filled or the end is met.
  size_t ReadFully(uint8_t* to, size_t room);

 private:
  int descriptor_;
  std::string name_;
  Progress& progress_;
  uint64_t total_ = 0;
};

// An input by the buffer. `next` and `left` are what the library's decoders move on.
class InputCursor {
 public:
  InputCursor(Input& input, size_t bufferSize) : next(nullptr), input_(input), buffer_(bufferSize) {
    next = buffer_.data();
  }

  const uint8_t* next;
  int32_t left = 0;

  const std::string& name() const { return input_.name(); }

  // Reads on if nothing is left; false at the input's end.
  bool More();

  // Reads on until `count` bytes are left, which may not be more than the buffer holds; false if there are fewer.
  bool Have(int32_t count);

 private:
  Input& input_;
  std::vector<uint8_t> buffer_;
};

// A buffered output. `next` and `room` are what the library's coders move on; they are always valid for a call, and
// flush makes room again.
class Output {
 public:
  // Bytes for nobody: they are counted and dropped.
  explicit Output(size_t bufferSize) : Output(-1, "", bufferSize) {}

  // The file stays the caller's.
  Output(int descriptor, std::string name, size_t bufferSize);

  uint8_t* next;
  int32_t room;

  // The bytes so far, those in the buffer included.
  uint64_t total() const { return written_ + static_cast<uint64_t>(next - buffer_.data()); }

  void Put(const uint8_t* bytes, size_t count);

  // Writes out the buffer. The last bytes of an output need it, too.
  void Flush();

 private:
  int descriptor_;
  std::string name_;
  std::vector<uint8_t> buffer_;
  uint64_t written_ = 0;
};

}  // namespace example
