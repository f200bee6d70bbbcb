// The checksums by their definition, a bit or a byte at a time.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zeldc_test {

inline uint32_t PlainAdler32(uint32_t value, const uint8_t* src, size_t len) {
  uint64_t a = value & 0xFFFF, b = value >> 16;
  for (size_t i = 0; i < len; ++i) {
    a = (a + src[i]) % 65521;
    b = (b + a) % 65521;
  }
  return static_cast<uint32_t>(b % 65521 << 16 | a % 65521);
}

// The register of a reflected CRC: the byte's lowest bit is fed first.
inline uint32_t PlainReflectedCrc(uint32_t polynomial, uint32_t reg, const uint8_t* src, size_t len) {
  for (size_t i = 0; i < len; ++i) {
    reg ^= src[i];
    for (int bit = 0; bit < 8; ++bit) reg = (reg >> 1) ^ ((reg & 1) != 0 ? polynomial : 0);
  }
  return reg;
}

inline uint32_t PlainCrc32(uint32_t reg, const uint8_t* src, size_t len) {
  return PlainReflectedCrc(0xEDB88320, reg, src, len);
}

inline uint32_t PlainCrc32c(uint32_t reg, const uint8_t* src, size_t len) {
  return PlainReflectedCrc(0x82F63B78, reg, src, len);
}

// The register of the bzip2 CRC: the byte's highest bit is fed first.
inline uint32_t PlainCrc32Bzip2(uint32_t reg, const uint8_t* src, size_t len) {
  for (size_t i = 0; i < len; ++i) {
    reg ^= uint32_t{src[i]} << 24;
    for (int bit = 0; bit < 8; ++bit) reg = (reg << 1) ^ ((reg >> 31) != 0 ? 0x04C11DB7 : 0);
  }
  return reg;
}

}  // namespace zeldc_test
