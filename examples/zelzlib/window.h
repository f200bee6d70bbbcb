// The bytes that precede what is being coded, where the library's one-call functions want them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelzlib {

// The last bytes of a stream, at the start of a buffer of the window's size.
class Window {
 public:
  explicit Window(size_t size) : bytes_(size) {}

  const uint8_t* data() const { return bytes_.data(); }
  uint8_t* data() { return bytes_.data(); }
  int32_t size() const { return static_cast<int32_t>(bytes_.size()); }
  int32_t fill() const { return static_cast<int32_t>(fill_); }

  // The stream has gone on by these bytes.
  void Append(const uint8_t* bytes, size_t count);

 private:
  std::vector<uint8_t> bytes_;
  size_t fill_ = 0;
};

}  // namespace zelzlib
