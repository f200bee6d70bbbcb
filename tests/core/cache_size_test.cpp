#include "core/cache_size.h"

#include <vector>

#include "gtest/gtest.h"

namespace {

// The answer to leaf 0 of the processors whose leaf 2 counts.
constexpr CpuidRegisters kIdentity = {13, 0x756E6547, 0x6C65746E, 0x49656E69};

constexpr int64_t kKiB = 1024;
constexpr int64_t kMiB = 1024 * kKiB;

int64_t SizeOf(const CpuidRegisters& descriptors) { return ownCacheSizeFromDescriptors(kIdentity, descriptors); }

struct Group {
  int64_t size;
  std::vector<uint8_t> codes;
};

// From the largest cache to the smallest.
const std::vector<Group> kGroups = {
    {24 * kMiB, {0xEC}},
    {18 * kMiB, {0xEB}},
    {16 * kMiB, {0x4D}},
    {12 * kMiB, {0xEA, 0x4C}},
    {8 * kMiB, {0xE4, 0xDE, 0x4B, 0x47}},
    {6 * kMiB, {0x4E, 0x4A}},
    {4 * kMiB, {0xE3, 0xDD, 0xD8, 0x49, 0x29, 0x46}},
    {3 * kMiB, {0x48}},
    {2 * kMiB, {0xE2, 0xDC, 0xD7, 0xD2, 0x25, 0x7D, 0x85, 0x45}},
    {1 * kMiB, {0xD6, 0xD1, 0x23, 0x87, 0x7C, 0x78, 0x84, 0x44}},
    {512 * kKiB, {0xD0, 0x22, 0x7B, 0x80, 0x86, 0x3E, 0x7F, 0x83, 0x43}},
};

}  // namespace

TEST(CacheSize, EveryDescriptorHasItsSize) {
  int64_t expected[256] = {};
  for (const Group& group : kGroups) {
    for (uint8_t code : group.codes) expected[code] = group.size;
  }
  for (uint32_t code = 0; code < 256; ++code) {
    EXPECT_EQ(SizeOf({1, 0, 0, code}), expected[code]) << "descriptor " << code;
  }
}

TEST(CacheSize, DescriptorCountsInEveryPlaceButTheCountByte) {
  // A code with its top bit clear, so that it can stand in a register's highest byte.
  EXPECT_EQ(SizeOf({0x00004D01, 0, 0, 0}), 16 * kMiB);
  EXPECT_EQ(SizeOf({0x004D0001, 0, 0, 0}), 16 * kMiB);
  EXPECT_EQ(SizeOf({0x4D000001, 0, 0, 0}), 16 * kMiB);
  for (int shift = 0; shift < 32; shift += 8) {
    const uint32_t value = uint32_t{0x4D} << shift;
    EXPECT_EQ(SizeOf({1, value, 0, 0}), 16 * kMiB) << shift;
    EXPECT_EQ(SizeOf({1, 0, value, 0}), 16 * kMiB) << shift;
    EXPECT_EQ(SizeOf({1, 0, 0, value}), 16 * kMiB) << shift;
  }
}

TEST(CacheSize, LargestDescriptorWins) {
  for (size_t larger = 0; larger < kGroups.size(); ++larger) {
    for (size_t smaller = larger + 1; smaller < kGroups.size(); ++smaller) {
      const uint32_t a = kGroups[larger].codes.front(), b = kGroups[smaller].codes.back();
      EXPECT_EQ(SizeOf({1, a, 0, b}), kGroups[larger].size);
      EXPECT_EQ(SizeOf({1, b, 0, a}), kGroups[larger].size);
      EXPECT_EQ(SizeOf({1, 0, b << 8 | a, 0}), kGroups[larger].size);
    }
  }
}

TEST(CacheSize, RegisterWithItsTopBitSetIsIgnored) {
  EXPECT_EQ(SizeOf({1, 0x80004D00, 0, 0}), 0);
  EXPECT_EQ(SizeOf({1, 0, 0x80004D00, 0x43}), 512 * kKiB);
  EXPECT_EQ(SizeOf({0x80004D01, 0, 0, 0}), 0);
}

TEST(CacheSize, OtherCountBytesTellNothing) {
  EXPECT_EQ(SizeOf({0, 0, 0, 0x4D}), 0);
  EXPECT_EQ(SizeOf({2, 0, 0, 0x4D}), 0);
  EXPECT_EQ(SizeOf({0x4D, 0, 0, 0}), 0);
  EXPECT_EQ(SizeOf({0xFF, 0, 0, 0x4D}), 0);
}

TEST(CacheSize, NoDescriptorTellsNothing) { EXPECT_EQ(SizeOf({1, 0, 0, 0}), 0); }

TEST(CacheSize, OtherIdentificationTellsNothing) {
  for (int bit = 0; bit < 32; ++bit) {
    for (uint32_t CpuidRegisters::*part : {&CpuidRegisters::ebx, &CpuidRegisters::ecx, &CpuidRegisters::edx}) {
      CpuidRegisters other = kIdentity;
      other.*part ^= uint32_t{1} << bit;
      EXPECT_EQ(ownCacheSizeFromDescriptors(other, {1, 0, 0, 0x4D}), 0);
    }
  }
}

TEST(CacheSize, HighestLeafOfTheIdentificationDoesNotMatter) {
  CpuidRegisters other = kIdentity;
  other.eax = 2;
  EXPECT_EQ(ownCacheSizeFromDescriptors(other, {1, 0, 0, 0x4D}), 16 * kMiB);
}

TEST(CacheSize, ThisProcessorAnswersTheSameEveryTime) {
  const int64_t size = ownQueryCacheSize();
  EXPECT_GE(size, 0);
  EXPECT_EQ(ownQueryCacheSize(), size);
}
