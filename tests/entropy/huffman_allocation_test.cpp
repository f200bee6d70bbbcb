// InitAlloc and Free of the byte Huffman coder over an application's own allocator.

#include "entropy/huffman_model.h"
#include "gtest/gtest.h"
#include "library/counting_allocator.h"

namespace zeldc_test {
namespace {

class HuffmanAllocation : public testing::Test {
 protected:
  HuffmanAllocation() { Allocator() = {}; }

  static zelHuffState* NotARecord() { return reinterpret_cast<zelHuffState*>(&Allocator()); }

  // A record came of it, which is released.
  void Release(zelHuffState* record) {
    EXPECT_EQ(record, Allocator().last_result);
    EXPECT_EQ(Allocator().last_size, 2596);
    EXPECT_EQ(zelsHuffFree_8u(record), zelOk);
    EXPECT_EQ(Allocator().last_freed, record);
    EXPECT_EQ(Allocator().mallocs, Allocator().frees);
  }
};

TEST_F(HuffmanAllocation, EncoderStatusesInOrder) {
  Frequencies f{};
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(nullptr, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(f.data(), nullptr), zelErrNullPtr);
  EXPECT_EQ(Allocator().mallocs, 0);

  // From here on there is a record, whatever Init says of it.
  zelHuffState* record = NotARecord();
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(nullptr, &record), zelErrNullPtr);
  Release(record);
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(f.data(), &record), zelErrHuffFreq);
  Release(record);
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(FibonacciFrequencies(34).data(), &record), zelErrHuffCodeLen);
  Release(record);
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(FibonacciFrequencies(33).data(), &record), zelOk);
  Release(record);
}

TEST_F(HuffmanAllocation, DecoderStatusesInOrder) {
  Lengths lengths{};
  zelHuffState* record = NotARecord();
  EXPECT_EQ(zelsDecodeHuffInitAlloc_8u(nullptr, &record), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuffInitAlloc_8u(lengths.data(), nullptr), zelErrNullPtr);
  EXPECT_EQ(record, NotARecord());
  EXPECT_EQ(Allocator().mallocs, 0);
  lengths[0] = 33;
  EXPECT_EQ(zelsDecodeHuffInitAlloc_8u(lengths.data(), &record), zelErrHuffLenTable);
  Release(record);
  lengths[0] = 32;
  EXPECT_EQ(zelsDecodeHuffInitAlloc_8u(lengths.data(), &record), zelOk);
  Release(record);
}

TEST_F(HuffmanAllocation, NoMemoryIsANullPointer) {
  Allocator().fails = true;
  zelHuffState* record = NotARecord();
  EXPECT_EQ(zelsEncodeHuffInitAlloc_8u(FibonacciFrequencies(5).data(), &record), zelErrNullPtr);
  EXPECT_EQ(record, nullptr);
  record = NotARecord();
  EXPECT_EQ(zelsDecodeHuffInitAlloc_8u(Lengths{}.data(), &record), zelErrNullPtr);
  EXPECT_EQ(record, nullptr);
  EXPECT_EQ(Allocator().frees, 0);
}

TEST_F(HuffmanAllocation, CodingAllocatesNothing) {
  const Bytes data(50000, 7);
  zelHuffState* encoder = nullptr;
  zelHuffState* decoder = nullptr;
  ASSERT_EQ(zelsEncodeHuffInitAlloc_8u(CountBytes(data).data(), &encoder), zelOk);
  Lengths lengths{};
  ASSERT_EQ(zelsHuffGetLenCodeTable_8u(encoder, lengths.data()), zelOk);
  ASSERT_EQ(zelsDecodeHuffInitAlloc_8u(lengths.data(), &decoder), zelOk);
  Bytes coded(50000), decoded(50000);
  int32_t len = 0, count = 50000;
  EXPECT_EQ(zelsEncodeHuff_8u(data.data(), 50000, coded.data(), &len, encoder), zelOk);
  EXPECT_EQ(zelsDecodeHuff_8u(coded.data(), 50000, decoded.data(), &count, decoder), zelOk);
  EXPECT_EQ(decoded, data);
  EXPECT_EQ(Allocator().mallocs, 2);
  zelsHuffFree_8u(encoder);
  zelsHuffFree_8u(decoder);
}

}  // namespace
}  // namespace zeldc_test
