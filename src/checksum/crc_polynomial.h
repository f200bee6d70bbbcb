// Arithmetic on polynomials over GF(2), at compile time: the rule behind every CRC constant of the library.
#pragma once

#include <stdint.h>

namespace zeldc {

// The generators, without their x^32 term; bit i is the coefficient of x^i.
inline constexpr uint32_t kPolyCrc32 = 0x04C11DB7;
inline constexpr uint32_t kPolyCrc32c = 0x1EDC6F41;

// x^n modulo the generator.
constexpr uint32_t PowerOfX(uint32_t poly, unsigned n) {
  uint32_t r = 1;
  for (unsigned i = 0; i < n; ++i) r = (r << 1) ^ ((r >> 31) ? poly : 0);
  return r;
}

// The quotient of x^96 by the generator, without its x^64 term.
constexpr uint64_t BarrettQuotient(uint32_t poly) {
  uint64_t quotient = 0;
  uint32_t rest = poly;  // x^32 modulo the generator: the remainder after the quotient's x^64 term
  for (int i = 0; i < 64; ++i) {
    quotient = (quotient << 1) | (rest >> 31);
    rest = (rest << 1) ^ ((rest >> 31) ? poly : 0);
  }
  return quotient;
}

constexpr uint32_t Reflect32(uint32_t v) {
  uint32_t r = 0;
  for (int i = 0; i < 32; ++i) r |= ((v >> i) & 1) << (31 - i);
  return r;
}

constexpr uint64_t Reflect64(uint64_t v) {
  return (uint64_t{Reflect32(static_cast<uint32_t>(v))} << 32) | Reflect32(static_cast<uint32_t>(v >> 32));
}

static_assert(Reflect32(kPolyCrc32) == 0xEDB88320);
static_assert(Reflect32(kPolyCrc32c) == 0x82F63B78);

}  // namespace zeldc
