#pragma once

#include <stdint.h>

#include <string_view>
#include <vector>

namespace zeldc_test {

using Bytes = std::vector<uint8_t>;

inline Bytes ToBytes(std::string_view text) { return Bytes(text.begin(), text.end()); }

}  // namespace zeldc_test
