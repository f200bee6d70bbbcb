// Each checksum kernel and its portable twin against the plain definition: every length around the block sizes, every
// alignment, nothing read outside.

#include <string>

#include "checksum/adler32.h"
#include "checksum/crc.h"
#include "checksum/crc_polynomial.h"
#include "checksum/plain_checksum.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"

namespace {

using namespace zeldc_test;

using Kernel = uint32_t (*)(uint32_t value, const uint8_t* src, size_t len);

struct KernelPair {
  const char* name;
  Kernel kernel;
  Kernel plain;
};

class ChecksumKernel : public testing::TestWithParam<KernelPair> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, ChecksumKernel,
                         testing::Values(KernelPair{"Adler32", ownAdler32, PlainAdler32},
                                         KernelPair{"Adler32Portable", ownAdler32Portable, PlainAdler32},
                                         KernelPair{"Crc32", ownCrc32, PlainCrc32},
                                         KernelPair{"Crc32Portable", ownCrc32Portable, PlainCrc32},
                                         KernelPair{"Crc32c", ownCrc32c, PlainCrc32c},
                                         KernelPair{"Crc32cPortable", ownCrc32cPortable, PlainCrc32c},
                                         KernelPair{"Bzip2", ownCrc32Bzip2, PlainCrc32Bzip2},
                                         KernelPair{"Bzip2Portable", ownCrc32Bzip2Portable, PlainCrc32Bzip2}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(ChecksumKernel, EveryLengthAtEveryAlignment) {
  const Bytes data = RandomBytes(700, 1);
  for (size_t offset = 0; offset < 32; ++offset) {
    uint32_t expected = GetParam().plain(0x12345678, data.data(), 0);
    for (size_t len = 0; len <= 600; ++len) {
      ASSERT_EQ(GetParam().kernel(0x12345678, data.data() + offset, len), expected) << offset << " " << len;
      expected = GetParam().plain(expected, data.data() + offset + len, 1);
    }
  }
}

TEST_P(ChecksumKernel, EveryLengthBetweenGuardPages) {
  const Bytes data = RandomBytes(600, 2);
  for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
    for (size_t len = 0; len <= data.size(); ++len) {
      const GuardedBuffer buffer(Bytes(data.begin(), data.begin() + static_cast<ptrdiff_t>(len)), guard);
      ASSERT_EQ(GetParam().kernel(0x9ABCDEF0, buffer.data(), len), GetParam().plain(0x9ABCDEF0, data.data(), len));
    }
  }
}

TEST_P(ChecksumKernel, LongInputsOfAnyKind) {
  for (const NamedData& input : AllKinds(70001)) {
    EXPECT_EQ(GetParam().kernel(0xFFFFFFFF, input.data.data(), input.data.size()),
              GetParam().plain(0xFFFFFFFF, input.data.data(), input.data.size()))
        << input.name;
  }
}

// Sums in lanes must be reduced before they overflow.
TEST_P(ChecksumKernel, LargestBytesForSeveralMegabytes) {
  const Bytes data((size_t{5} << 20) + 77, 0xFF);
  EXPECT_EQ(GetParam().kernel(0xFFF0FFF0, data.data(), data.size()),
            GetParam().plain(0xFFF0FFF0, data.data(), data.size()));
}

// A register that single bits of a long zero buffer reach: every power of x that a fold multiplies by.
TEST_P(ChecksumKernel, SingleBitsAnywhereInALongBuffer) {
  Bytes data(2048);
  for (size_t bit = 0; bit < data.size() * 8; bit += 5) {
    data[bit / 8] = static_cast<uint8_t>(1u << bit % 8);
    ASSERT_EQ(GetParam().kernel(0, data.data(), data.size()), GetParam().plain(0, data.data(), data.size())) << bit;
    data[bit / 8] = 0;
  }
}

// The rules behind the constants, by multiplication of polynomials over GF(2) a bit at a time.

namespace {

constexpr uint32_t kPolynomials[] = {zeldc::kPolyCrc32, zeldc::kPolyCrc32c};

// a b modulo x^32 + polynomial.
uint32_t MultiplyModulo(uint32_t polynomial, uint32_t a, uint32_t b) {
  uint32_t product = 0;
  for (int bit = 31; bit >= 0; --bit) {
    product = (product << 1) ^ ((product >> 31) != 0 ? polynomial : 0);
    if ((b >> bit & 1) != 0) product ^= a;
  }
  return product;
}

}  // namespace

TEST(CrcPolynomial, PowersOfXMultiplyByAddingExponents) {
  for (uint32_t polynomial : kPolynomials) {
    EXPECT_EQ(zeldc::PowerOfX(polynomial, 0), 1u);
    EXPECT_EQ(zeldc::PowerOfX(polynomial, 31), 0x80000000u);
    EXPECT_EQ(zeldc::PowerOfX(polynomial, 32), polynomial);
    for (unsigned m = 0; m < 200; m += 7) {
      for (unsigned n = 0; n < 1100; n += 31) {
        ASSERT_EQ(MultiplyModulo(polynomial, zeldc::PowerOfX(polynomial, m), zeldc::PowerOfX(polynomial, n)),
                  zeldc::PowerOfX(polynomial, m + n));
      }
    }
  }
}

TEST(CrcPolynomial, QuotientTimesGeneratorIsX96UpToARemainder) {
  for (uint32_t polynomial : kPolynomials) {
    // The bits of x^64 + quotient and x^32 + polynomial, multiplied into coefficients of x^0 .. x^96.
    bool product[97] = {};
    for (int i = 0; i <= 64; ++i) {
      if (i < 64 && (zeldc::BarrettQuotient(polynomial) >> i & 1) == 0) continue;
      for (int j = 0; j <= 32; ++j) {
        if (j == 32 || (polynomial >> j & 1) != 0) product[i + j] = !product[i + j];
      }
    }
    for (int i = 32; i <= 96; ++i) EXPECT_EQ(product[i], i == 96) << i;
  }
}
