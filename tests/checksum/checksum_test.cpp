// The four exported checksums: statuses, edge cases, and values against the plain definition and zlib.

#if !defined(_WIN32)
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <string>
#include <vector>

#include "checksum/plain_checksum.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "support/oracle.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

// One function under one signature, so that tables can hold all four. Lengths stay below 2^31 here.
struct Function {
  const char* name;
  zelStatus (*call)(const uint8_t* src, int32_t len, uint32_t* value);
  uint32_t (*plain)(uint32_t value, const uint8_t* src, size_t len);
};

zelStatus CallCrc32c(const uint8_t* src, int32_t len, uint32_t* value) {
  return zelsCRC32C_8u(src, static_cast<uint32_t>(len), value);
}

const Function kAdler32 = {"Adler32", zelsAdler32_8u, PlainAdler32};
const Function kCrc32 = {"CRC32", zelsCRC32_8u,
                         [](uint32_t value, const uint8_t* src, size_t len) { return ~PlainCrc32(~value, src, len); }};
const Function kCrc32c = {"CRC32C", CallCrc32c, PlainCrc32c};
const Function kBzip2 = {"CRC32_BZ2", zelsCRC32_BZ2_8u, [](uint32_t value, const uint8_t* src, size_t len) {
                           return ~PlainCrc32Bzip2(~value, src, len);
                         }};

class Checksum : public testing::TestWithParam<Function> {
 protected:
  uint32_t Run(uint32_t value, const uint8_t* src, size_t len) const {
    EXPECT_EQ(GetParam().call(src, static_cast<int32_t>(len), &value), zelOk);
    return value;
  }
};

const Bytes kDigits = ToBytes("123456789");

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, Checksum, testing::Values(kAdler32, kCrc32, kCrc32c, kBzip2),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(Checksum, EveryLengthAndAlignmentBetweenGuardPages) {
  const Bytes data = RandomBytes(700, 1);
  for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
    for (size_t len = 1; len <= 600; ++len) {
      const GuardedBuffer buffer(Bytes(data.begin(), data.begin() + static_cast<ptrdiff_t>(len)), guard);
      for (uint32_t start : {0u, 1u, 0xFFFFFFFFu, 0x9ABCDEF0u}) {
        ASSERT_EQ(Run(start, buffer.data(), len), GetParam().plain(start, buffer.data(), len)) << len;
      }
    }
  }
}

TEST_P(Checksum, EveryStartOffsetGivesTheSameValue) {
  const Bytes data = RandomBytes(1200, 2);
  const uint32_t expected = GetParam().plain(1, data.data(), data.size());
  for (size_t offset = 0; offset < 32; ++offset) {
    Bytes shifted(offset + 64);
    shifted.resize(offset);
    shifted.insert(shifted.end(), data.begin(), data.end());
    EXPECT_EQ(Run(1, shifted.data() + offset, data.size()), expected) << offset;
  }
}

TEST_P(Checksum, SplitAtAnyPointGivesTheSameValue) {
  const Bytes data = RandomBytes(400, 3);
  const uint32_t whole = Run(5, data.data(), data.size());
  for (size_t split = 1; split < data.size(); ++split) {
    const uint32_t first = Run(5, data.data(), split);
    ASSERT_EQ(Run(first, data.data() + split, data.size() - split), whole) << split;
  }
}

TEST_P(Checksum, LongInputsInRandomPieces) {
  for (const Bytes& data : {RandomBytes(300000, 4), Bytes(300000, 0xFF), Bytes(300000, 0)}) {
    const uint32_t expected = GetParam().plain(0xFFFFFFFF, data.data(), data.size());
    EXPECT_EQ(Run(0xFFFFFFFF, data.data(), data.size()), expected);
    Random random(5);
    for (int round = 0; round < 5; ++round) {
      uint32_t value = 0xFFFFFFFF;
      for (size_t done = 0; done < data.size();) {
        const size_t piece = Uniform(random, 1, std::min<size_t>(data.size() - done, 20000));
        value = Run(value, data.data() + done, piece);
        done += piece;
      }
      EXPECT_EQ(value, expected);
    }
  }
}

// What the three CRCs have in common; Adler-32 differs on purpose.
class Crc : public Checksum {};

INSTANTIATE_TEST_SUITE_P(All, Crc, testing::Values(kCrc32, kCrc32c, kBzip2),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(Crc, NullPointersComeBeforeTheLength) {
  uint32_t value = 77;
  const uint8_t byte = 1;
  for (int32_t len : {0, 1}) {
    EXPECT_EQ(GetParam().call(nullptr, len, &value), zelErrNullPtr);
    EXPECT_EQ(GetParam().call(&byte, len, nullptr), zelErrNullPtr);
    EXPECT_EQ(GetParam().call(nullptr, len, nullptr), zelErrNullPtr);
  }
  EXPECT_EQ(value, 77u);
}

TEST_P(Crc, LengthZeroIsAnErrorAndChangesNothing) {
  uint32_t value = 77;
  const uint8_t byte = 1;
  EXPECT_EQ(GetParam().call(&byte, 0, &value), zelErrSize);
  EXPECT_EQ(value, 77u);
}

TEST(Crc32, NegativeLengthIsAnErrorAndChangesNothing) {
  for (const Function& function : {kCrc32, kBzip2}) {
    for (int32_t len : {-1, INT32_MIN}) {
      uint32_t value = 77;
      EXPECT_EQ(function.call(kDigits.data(), len, &value), zelErrSize) << function.name;
      EXPECT_EQ(value, 77u);
    }
  }
}

TEST(Crc32, CheckValue) {
  uint32_t value = 0;
  EXPECT_EQ(zelsCRC32_8u(kDigits.data(), 9, &value), zelOk);
  EXPECT_EQ(value, 0xCBF43926);
}

TEST(Crc32, AgreesWithZlib) {
  for (const NamedData& input : AllKinds(100000)) {
    if (input.data.empty()) continue;
    uint32_t value = 123;
    EXPECT_EQ(zelsCRC32_8u(input.data.data(), static_cast<int32_t>(input.data.size()), &value), zelOk);
    EXPECT_EQ(value, ZlibCrc32(input.data, 123)) << input.name;
  }
}

TEST(Crc32c, CheckValueOfTheInvertedRegister) {
  uint32_t value = 0xFFFFFFFF;
  EXPECT_EQ(zelsCRC32C_8u(kDigits.data(), 9, &value), zelOk);
  EXPECT_EQ(~value, 0xE3069283);
}

// RFC 3720 appendix B.4.
TEST(Crc32c, PublishedVectors) {
  Bytes rising(32);
  for (size_t i = 0; i < 32; ++i) rising[i] = static_cast<uint8_t>(i);
  const Bytes falling(rising.rbegin(), rising.rend());
  const std::vector<std::pair<Bytes, uint32_t>> vectors = {
      {Bytes(32, 0), 0x8A9136AA}, {Bytes(32, 0xFF), 0x62A8AB43}, {rising, 0x46DD794E}, {falling, 0x113FDB5C}};
  for (const auto& [data, expected] : vectors) {
    uint32_t value = 0xFFFFFFFF;
    EXPECT_EQ(zelsCRC32C_8u(data.data(), 32, &value), zelOk);
    EXPECT_EQ(~value, expected);
  }
}

#if !defined(_WIN32)  // which has no such mappings
TEST(Crc32c, LengthOf2GiBAndMore) {
  // One 16 MiB file, mapped again and again side by side, takes 16 MiB of memory.
  constexpr size_t kPiece = size_t{16} << 20;
  constexpr size_t kPieces = 129;
  constexpr uint32_t kLen = 0x80000000u + 12345;
  const int file = memfd_create("pattern", 0);
  ASSERT_GE(file, 0);
  const Bytes pattern = RandomBytes(kPiece, 6);
  ASSERT_EQ(write(file, pattern.data(), kPiece), static_cast<ssize_t>(kPiece));
  void* const area = mmap(nullptr, kPiece * kPieces, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (area == MAP_FAILED) GTEST_SKIP() << "no address space for 2 GiB";
  uint8_t* const data = static_cast<uint8_t*>(area);
  // Where pointers have 32 bits, they cannot be moved so far at once.
  const auto at = [&](size_t offset) { return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(area) + offset); };
  for (size_t i = 0; i < kPieces; ++i) {
    ASSERT_NE(mmap(at(i * kPiece), kPiece, PROT_READ, MAP_SHARED | MAP_FIXED, file, 0), MAP_FAILED);
  }

  uint32_t whole = 0xFFFFFFFF;
  EXPECT_EQ(zelsCRC32C_8u(data, kLen, &whole), zelOk);
  uint32_t chained = 0xFFFFFFFF;
  for (uint32_t done = 0; done < kLen;) {
    const uint32_t piece = std::min<uint32_t>(kLen - done, static_cast<uint32_t>(kPiece));
    EXPECT_EQ(zelsCRC32C_8u(at(done), piece, &chained), zelOk);
    done += piece;
  }
  EXPECT_EQ(whole, chained);
  munmap(area, kPiece * kPieces);
  close(file);
}
#endif

TEST(Crc32Bzip2, CheckValue) {
  uint32_t value = 0;
  EXPECT_EQ(zelsCRC32_BZ2_8u(kDigits.data(), 9, &value), zelOk);
  EXPECT_EQ(value, 0xFC891918);
}

TEST(Adler32, NullChecksumIsAnError) {
  const uint8_t byte = 1;
  EXPECT_EQ(zelsAdler32_8u(&byte, 1, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsAdler32_8u(nullptr, 1, nullptr), zelErrNullPtr);
}

TEST(Adler32, NullSourceStartsAFreshStream) {
  for (int32_t len : {-1, 0, 1, INT32_MAX}) {
    uint32_t value = 0xDEADBEEF;
    EXPECT_EQ(zelsAdler32_8u(nullptr, len, &value), zelOk);
    EXPECT_EQ(value, 1u);
  }
}

TEST(Adler32, LengthOfZeroAndBelowOnlyReduces) {
  const uint8_t byte = 99;
  for (int32_t len : {0, -1, INT32_MIN}) {
    uint32_t value = 0xFFFFFFFF;
    EXPECT_EQ(zelsAdler32_8u(&byte, len, &value), zelOk);
    EXPECT_EQ(value, 0x000E000Eu);
    value = 1;
    EXPECT_EQ(zelsAdler32_8u(&byte, len, &value), zelOk);
    EXPECT_EQ(value, 1u);
  }
}

TEST(Adler32, KnownValues) {
  uint32_t value = 1;
  EXPECT_EQ(zelsAdler32_8u(ToBytes("a").data(), 1, &value), zelOk);
  EXPECT_EQ(value, 0x00620062u);
  const Bytes name = ToBytes("Wikipedia");
  value = 1;
  EXPECT_EQ(zelsAdler32_8u(name.data(), 9, &value), zelOk);
  EXPECT_EQ(value, 0x11E60398u);
}

TEST(Adler32, AgreesWithZlib) {
  for (const NamedData& input : AllKinds(100000)) {
    if (input.data.empty()) continue;
    uint32_t value = 1;
    EXPECT_EQ(zelsAdler32_8u(input.data.data(), static_cast<int32_t>(input.data.size()), &value), zelOk);
    EXPECT_EQ(value, ZlibAdler32(input.data)) << input.name;
  }
}

// The largest sums that there are, from the largest start value, around the longest stretch without a reduction.
TEST(Adler32, LargestSumsDoNotOverflow) {
  const Bytes data(5552 * 2 + 64, 0xFF);
  for (size_t offset = 0; offset < 32; ++offset) {
    for (size_t len : {5535, 5536, 5537, 5551, 5552, 5553, 5567, 5568, 5569, 11072, 11103, 11104, 11105}) {
      uint32_t value = 0xFFFFFFFF;
      EXPECT_EQ(zelsAdler32_8u(data.data() + offset, static_cast<int32_t>(len), &value), zelOk);
      ASSERT_EQ(value, PlainAdler32(0xFFFFFFFF, data.data(), len)) << offset << " " << len;
    }
  }
}
