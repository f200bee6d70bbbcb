#include "common/file_streams.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/messages.h"

namespace example {

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

int Descriptor::Release() { return std::exchange(number_, -1); }

size_t Input::ReadSome(uint8_t* to, size_t room) {
  ssize_t count;
  do {
    count = read(descriptor_, to, room);
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw Failure(SystemMessage(name_, errno));
  total_ += static_cast<size_t>(count);
  progress_.Show(total_);
  return static_cast<size_t>(count);
}

size_t Input::ReadFully(uint8_t* to, size_t room) {
  size_t filled = 0;
  while (filled < room) {
    const size_t count = ReadSome(to + filled, room - filled);
    if (count == 0) break;
    filled += count;
  }
  return filled;
}

bool InputCursor::More() {
  if (left > 0) return true;
  next = buffer_.data();
  left = static_cast<int32_t>(input_.ReadSome(buffer_.data(), buffer_.size()));
  return left > 0;
}

bool InputCursor::Have(int32_t count) {
  if (left >= count) return true;
  std::memmove(buffer_.data(), next, static_cast<size_t>(left));
  next = buffer_.data();
  while (left < count) {
    const size_t read = input_.ReadSome(buffer_.data() + left, buffer_.size() - static_cast<size_t>(left));
    if (read == 0) return false;
    left += static_cast<int32_t>(read);
  }
  return true;
}

Output::Output(int descriptor, std::string name, size_t bufferSize)
    : next(nullptr),
      room(static_cast<int32_t>(bufferSize)),
      descriptor_(descriptor),
      name_(std::move(name)),
      buffer_(bufferSize) {
  next = buffer_.data();
}

void Output::Put(const uint8_t* bytes, size_t count) {
  while (count > 0) {
    if (room == 0) Flush();
    const size_t part = std::min(count, static_cast<size_t>(room));
    std::memcpy(next, bytes, part);
    next += part;
    room -= static_cast<int32_t>(part);
    bytes += part;
    count -= part;
  }
}

void Output::Flush() {
  const uint8_t* from = buffer_.data();
  while (descriptor_ >= 0 && from < next) {
    const ssize_t count = write(descriptor_, from, static_cast<size_t>(next - from));
    if (count >= 0) {
      from += count;
    } else if (errno != EINTR) {
      const std::string message = SystemMessage(name_, errno);
      // Standard output is the same for every file, so no other would fare better.
      if (descriptor_ == STDOUT_FILENO) throw Fatal(message);
      throw Failure(message);
    }
  }
  written_ += static_cast<uint64_t>(next - buffer_.data());
  next = buffer_.data();
  room = static_cast<int32_t>(buffer_.size());
}

}  // namespace example
