// The leaf-2 cache descriptors: a table of published meanings, searched from the largest cache to the smallest.

#include "core/cache_size.h"

#include "core/target.h"

#if ZELDC_X86
#include <cpuid.h>
#endif

namespace {

struct CacheDescriptor {
  uint8_t code;
  uint16_t kib;
};

constexpr CacheDescriptor kDescriptors[] = {
    {0xEC, 24576}, {0xEB, 18432}, {0x4D, 16384}, {0xEA, 12288}, {0x4C, 12288}, {0xE4, 8192}, {0xDE, 8192}, {0x4B, 8192},
    {0x47, 8192},  {0x4E, 6144},  {0x4A, 6144},  {0xE3, 4096},  {0xDD, 4096},  {0xD8, 4096}, {0x49, 4096}, {0x29, 4096},
    {0x46, 4096},  {0x48, 3072},  {0xE2, 2048},  {0xDC, 2048},  {0xD7, 2048},  {0xD2, 2048}, {0x25, 2048}, {0x7D, 2048},
    {0x85, 2048},  {0x45, 2048},  {0xD6, 1024},  {0xD1, 1024},  {0x23, 1024},  {0x87, 1024}, {0x7C, 1024}, {0x78, 1024},
    {0x84, 1024},  {0x44, 1024},  {0xD0, 512},   {0x22, 512},   {0x7B, 512},   {0x80, 512},  {0x86, 512},  {0x3E, 512},
    {0x7F, 512},   {0x83, 512},   {0x43, 512},
};
static_assert(sizeof(kDescriptors) / sizeof(kDescriptors[0]) == 43);

// The identification string of the processors whose leaf 2 speaks in these descriptors, as the query returns it.
constexpr uint32_t kIdentityEbx = 0x756E6547;
constexpr uint32_t kIdentityEdx = 0x49656E69;
constexpr uint32_t kIdentityEcx = 0x6C65746E;

bool HasDescriptor(uint32_t reg, uint8_t code) {
  if (reg >> 31) return false;  // the register holds no descriptors
  for (int shift = 0; shift < 32; shift += 8) {
    if (((reg >> shift) & 0xFF) == code) return true;
  }
  return false;
}

}  // namespace

int64_t ownCacheSizeFromDescriptors(const CpuidRegisters& identity, const CpuidRegisters& descriptors) {
  if (identity.ebx != kIdentityEbx || identity.edx != kIdentityEdx || identity.ecx != kIdentityEcx) return 0;
  if ((descriptors.eax & 0xFF) != 1) return 0;
  const uint32_t eax = descriptors.eax & ~uint32_t{0xFF};  // without the count
  for (const CacheDescriptor& d : kDescriptors) {
    if (HasDescriptor(eax, d.code) || HasDescriptor(descriptors.ebx, d.code) ||
        HasDescriptor(descriptors.ecx, d.code) || HasDescriptor(descriptors.edx, d.code)) {
      return int64_t{d.kib} * 1024;
    }
  }
  return 0;
}

int64_t ownQueryCacheSize() {
#if ZELDC_X86
  CpuidRegisters identity{}, descriptors{};
  if (!__get_cpuid(0, &identity.eax, &identity.ebx, &identity.ecx, &identity.edx) || identity.eax < 2) return 0;
  if (!__get_cpuid(2, &descriptors.eax, &descriptors.ebx, &descriptors.ecx, &descriptors.edx)) return 0;
  return ownCacheSizeFromDescriptors(identity, descriptors);
#else
  return 0;
#endif
}
