// CRCs by tables, eight bytes a step (slicing by eight): portable, bound by the load-to-use latency of the tables,
// about one byte a cycle.

#include "checksum/crc.h"

#include "checksum/crc_polynomial.h"
#include "core/target.h"
#include "shared/unaligned.h"

namespace {

using namespace zeldc;

// Least significant bit first.
constexpr CrcTables MakeReflectedTables(uint32_t poly) {
  CrcTables s{};
  const uint32_t reflected = Reflect32(poly);
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t reg = i;
    for (int bit = 0; bit < 8; ++bit) reg = (reg >> 1) ^ ((reg & 1) ? reflected : 0);
    s.t[0][i] = reg;
  }
  for (int k = 1; k < 8; ++k) {
    for (int i = 0; i < 256; ++i) s.t[k][i] = (s.t[k - 1][i] >> 8) ^ s.t[0][s.t[k - 1][i] & 0xFF];
  }
  return s;
}

// Most significant bit first.
constexpr CrcTables MakeForwardTables(uint32_t poly) {
  CrcTables s{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t reg = i << 24;
    for (int bit = 0; bit < 8; ++bit) reg = (reg << 1) ^ ((reg >> 31) ? poly : 0);
    s.t[0][i] = reg;
  }
  for (int k = 1; k < 8; ++k) {
    for (int i = 0; i < 256; ++i) s.t[k][i] = (s.t[k - 1][i] << 8) ^ s.t[0][s.t[k - 1][i] >> 24];
  }
  return s;
}

uint32_t CrcReflected(const CrcTables& s, uint32_t reg, const uint8_t* src, size_t len) {
  for (; len >= 8; len -= 8, src += 8) {
    const uint32_t a = reg ^ LoadLE<uint32_t>(src);
    const uint32_t b = LoadLE<uint32_t>(src + 4);
    reg = s.t[7][a & 0xFF] ^ s.t[6][(a >> 8) & 0xFF] ^ s.t[5][(a >> 16) & 0xFF] ^ s.t[4][a >> 24] ^ s.t[3][b & 0xFF] ^
          s.t[2][(b >> 8) & 0xFF] ^ s.t[1][(b >> 16) & 0xFF] ^ s.t[0][b >> 24];
  }
  for (; len > 0; --len) reg = CrcReflectedByte(s, reg, *src++);
  return reg;
}

uint32_t CrcForward(const CrcTables& s, uint32_t reg, const uint8_t* src, size_t len) {
  for (; len >= 8; len -= 8, src += 8) {
    const uint32_t a = reg ^ ByteSwap(LoadLE<uint32_t>(src));
    const uint32_t b = ByteSwap(LoadLE<uint32_t>(src + 4));
    reg = s.t[7][a >> 24] ^ s.t[6][(a >> 16) & 0xFF] ^ s.t[5][(a >> 8) & 0xFF] ^ s.t[4][a & 0xFF] ^ s.t[3][b >> 24] ^
          s.t[2][(b >> 16) & 0xFF] ^ s.t[1][(b >> 8) & 0xFF] ^ s.t[0][b & 0xFF];
  }
  for (; len > 0; --len) reg = CrcForwardByte(s, reg, *src++);
  return reg;
}

}  // namespace

constinit const CrcTables kCrc32Tables = MakeReflectedTables(kPolyCrc32);
constinit const CrcTables kCrc32cTables = MakeReflectedTables(kPolyCrc32c);
constinit const CrcTables kCrc32Bzip2Tables = MakeForwardTables(kPolyCrc32);

uint32_t ownCrc32Portable(uint32_t reg, const uint8_t* src, size_t len) {
  return CrcReflected(kCrc32Tables, reg, src, len);
}

uint32_t ownCrc32cPortable(uint32_t reg, const uint8_t* src, size_t len) {
  return CrcReflected(kCrc32cTables, reg, src, len);
}

uint32_t ownCrc32Bzip2Portable(uint32_t reg, const uint8_t* src, size_t len) {
  return CrcForward(kCrc32Bzip2Tables, reg, src, len);
}

#if !ZELDC_PCLMUL
uint32_t ownCrc32(uint32_t reg, const uint8_t* src, size_t len) { return ownCrc32Portable(reg, src, len); }

uint32_t ownCrc32c(uint32_t reg, const uint8_t* src, size_t len) { return ownCrc32cPortable(reg, src, len); }

uint32_t ownCrc32Bzip2(uint32_t reg, const uint8_t* src, size_t len) { return ownCrc32Bzip2Portable(reg, src, len); }
#endif
