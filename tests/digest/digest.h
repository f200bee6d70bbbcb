// A digest of values, the same on every machine: 64-bit FNV-1a over bytes in a defined order.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zeldc_digest {

class Digest {
 public:
  uint64_t value() const { return value_; }

  void Byte(uint8_t byte) { value_ = (value_ ^ byte) * 0x100000001B3; }

  // Numbers go in least significant byte first, whatever the machine's own order is.
  void Number(uint64_t number) { LowBytes(number, 8); }
  void Int(int32_t number) { LowBytes(static_cast<uint32_t>(number), 4); }
  void Short(uint16_t number) { LowBytes(number, 2); }

  // Arrays go in behind their lengths, so that where one ends shows.
  void Bytes(const uint8_t* bytes, size_t count) {
    Number(count);
    for (size_t i = 0; i < count; ++i) Byte(bytes[i]);
  }
  void Shorts(const uint16_t* numbers, size_t count) {
    Number(count);
    for (size_t i = 0; i < count; ++i) Short(numbers[i]);
  }
  template <typename T>
  void Ints(const T* numbers, size_t count) {
    static_assert(sizeof(T) == 4);
    Number(count);
    for (size_t i = 0; i < count; ++i) Int(static_cast<int32_t>(numbers[i]));
  }

 private:
  void LowBytes(uint64_t number, int count) {
    for (int i = 0; i < count; ++i) Byte(static_cast<uint8_t>(number >> (8 * i)));
  }

  uint64_t value_ = 0xCBF29CE484222325;
};

}  // namespace zeldc_digest
