#include "zelzlib/bit_reader.h"

#include "common/messages.h"

namespace zelzlib {

bool BitReader::Fill(uint32_t count) {
  while (count_ < count) {
    if (!cursor_.More()) return false;
    bits_ |= uint32_t{*cursor_.next++} << count_;
    --cursor_.left;
    count_ += 8;
  }
  return true;
}

uint32_t BitReader::Peek(uint32_t count) {
  Fill(count);
  return bits_ & ((uint32_t{1} << count) - 1);
}

uint32_t BitReader::Take(uint32_t count) {
  if (!Fill(count)) ThrowUnexpectedEnd();
  const uint32_t value = bits_ & ((uint32_t{1} << count) - 1);
  bits_ >>= count;
  count_ -= count;
  return value;
}

void BitReader::SkipToByte() { Take(count_ % 8); }

void BitReader::ThrowUnexpectedEnd() const { throw example::Failure(name() + ": unexpected end of file"); }

}  // namespace zelzlib
