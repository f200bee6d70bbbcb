#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string_view>
#include <vector>

namespace zeldc_test {

using Bytes = std::vector<uint8_t>;

inline Bytes ToBytes(std::string_view text) { return Bytes(text.begin(), text.end()); }

inline void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

inline Bytes Front(const Bytes& bytes, size_t size) {
  return Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size));
}

}  // namespace zeldc_test
