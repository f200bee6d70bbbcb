#include "zelzlib/window.h"

#include <algorithm>
#include <cstring>

namespace zelzlib {

void Window::Append(const uint8_t* bytes, size_t count) {
  if (count == 0) return;
  const size_t added = std::min(count, bytes_.size());
  const size_t kept = std::min(fill_, bytes_.size() - added);
  std::memmove(bytes_.data(), bytes_.data() + (fill_ - kept), kept);
  std::memcpy(bytes_.data() + kept, bytes + (count - added), added);
  fill_ = kept + added;
}

}  // namespace zelzlib
