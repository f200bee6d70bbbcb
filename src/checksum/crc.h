// The three CRCs of the library over a raw register: no inversion in or out.
//
// Each comes as the kernel of this build and as its portable twin.
#pragma once

#include <stddef.h>
#include <stdint.h>

// CRC-32 of gzip: reflected, polynomial 0x04C11DB7.
uint32_t ownCrc32(uint32_t reg, const uint8_t* src, size_t len);
uint32_t ownCrc32Portable(uint32_t reg, const uint8_t* src, size_t len);

// CRC-32C, Castagnoli: reflected, polynomial 0x1EDC6F41.
uint32_t ownCrc32c(uint32_t reg, const uint8_t* src, size_t len);
uint32_t ownCrc32cPortable(uint32_t reg, const uint8_t* src, size_t len);

// The bzip2 CRC: most significant bit first, polynomial 0x04C11DB7.
uint32_t ownCrc32Bzip2(uint32_t reg, const uint8_t* src, size_t len);
uint32_t ownCrc32Bzip2Portable(uint32_t reg, const uint8_t* src, size_t len);

// Table k tells what a byte does to the register from k places before the end of a group of eight.
struct CrcTables {
  uint32_t t[8][256];
};
extern const CrcTables kCrc32Tables;
extern const CrcTables kCrc32cTables;
extern const CrcTables kCrc32Bzip2Tables;

// The register after one more byte.
inline uint32_t CrcReflectedByte(const CrcTables& s, uint32_t reg, uint8_t byte) {
  return (reg >> 8) ^ s.t[0][(reg ^ byte) & 0xFF];
}
inline uint32_t CrcForwardByte(const CrcTables& s, uint32_t reg, uint8_t byte) {
  return (reg << 8) ^ s.t[0][(reg >> 24) ^ byte];
}
