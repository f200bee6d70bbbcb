#include "zelzlib/bit_writer.h"

namespace zelzlib {

void BitWriter::Put(uint32_t bits, int count) {
  uint32_t all = bits_ | bits << count_;
  for (count_ += count; count_ >= 8; count_ -= 8, all >>= 8) {
    const uint8_t byte = static_cast<uint8_t>(all);
    output_.Put(&byte, 1);
  }
  bits_ = static_cast<uint16_t>(all);
}

void BitWriter::Put(const Items& items, const std::vector<zelDeflateHuffCode>& litLenCodes,
                    const std::vector<zelDeflateHuffCode>& distanceCodes) {
  constexpr size_t kMostBytesPerItem = 6;  // 15 + 5 bits of a length, 15 + 13 of a distance
  buffer_.resize(items.values.size() * kMostBytesPerItem + 8);
  int32_t size = 0;
  zelsDeflateHuff_8u(items.values.data(), items.distances.data(), static_cast<int32_t>(items.values.size()), &bits_,
                     &count_, litLenCodes.data(), distanceCodes.data(), buffer_.data(), &size);
  output_.Put(buffer_.data(), static_cast<size_t>(size));
}

}  // namespace zelzlib
