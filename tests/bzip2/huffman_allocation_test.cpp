// InitAlloc and Free of the Huffman stage over an application's own allocator.

#include "bzip2/bit_string.h"
#include "gtest/gtest.h"
#include "library/counting_allocator.h"
#include "zeldc.h"

namespace zeldc_test {
namespace {

class Bzip2HuffmanAllocation : public testing::Test {
 protected:
  Bzip2HuffmanAllocation() { Allocator() = {}; }

  const uint16_t source_[4] = {1, 0, 1, 2};
  const uint32_t frequencies_[3] = {1, 2, 1};
};

template <typename State>
State* NotARecord() {
  return reinterpret_cast<State*>(&Allocator());
}

TEST_F(Bzip2HuffmanAllocation, EncoderStatusesInOrder) {
  const auto init = zelsEncodeHuffInitAlloc_BZ2_16u8u;
  EXPECT_EQ(init(0, 0, nullptr, nullptr, 0, nullptr), zelErrNullPtr);
  zelBZ2HuffEncodeState* record = NotARecord<zelBZ2HuffEncodeState>();
  EXPECT_EQ(init(0, 3, frequencies_, source_, 4, &record), zelErrSize);
  EXPECT_EQ(record, NotARecord<zelBZ2HuffEncodeState>());
  EXPECT_EQ(Allocator().mallocs, 0);

  // From here on there is a record, whatever Init says of it.
  EXPECT_EQ(init(100, 3, nullptr, source_, 4, &record), zelErrNullPtr);
  EXPECT_EQ(record, Allocator().last_result);
  EXPECT_EQ(Allocator().last_size, 7768);
  zelsEncodeHuffFree_BZ2_16u8u(record);
  EXPECT_EQ(init(100, 0, frequencies_, source_, 4, &record), zelErrSize);
  zelsEncodeHuffFree_BZ2_16u8u(record);
  EXPECT_EQ(init(100, 2, frequencies_, source_, 4, &record), zelErrBadArg);
  EXPECT_EQ(record, Allocator().last_result);
  zelsEncodeHuffFree_BZ2_16u8u(record);
  EXPECT_EQ(init(100, 3, frequencies_, source_, 4, &record), zelOk);
  zelsEncodeHuffFree_BZ2_16u8u(record);
  EXPECT_EQ(Allocator().mallocs, Allocator().frees);
}

TEST_F(Bzip2HuffmanAllocation, EncoderWithoutMemoryIsANullPointer) {
  Allocator().fails = true;
  zelBZ2HuffEncodeState* record = NotARecord<zelBZ2HuffEncodeState>();
  EXPECT_EQ(zelsEncodeHuffInitAlloc_BZ2_16u8u(100, 3, frequencies_, source_, 4, &record), zelErrNullPtr);
  EXPECT_EQ(record, nullptr);
}

TEST_F(Bzip2HuffmanAllocation, ABlockOfMoreGroupsThanTheEncoderHasRoomForIsRefused) {
  const uint16_t source[151] = {};
  const uint32_t frequencies[1] = {151};
  zelBZ2HuffEncodeState* record = nullptr;
  EXPECT_EQ(zelsEncodeHuffInitAlloc_BZ2_16u8u(100, 1, frequencies, source, 101, &record), zelErrSize);
  zelsEncodeHuffFree_BZ2_16u8u(record);
  EXPECT_EQ(zelsEncodeHuffInitAlloc_BZ2_16u8u(101, 1, frequencies, source, 150, &record), zelOk);
  zelsEncodeHuffFree_BZ2_16u8u(record);
  EXPECT_EQ(zelsEncodeHuffInitAlloc_BZ2_16u8u(101, 1, frequencies, source, 151, &record), zelErrSize);
  zelsEncodeHuffFree_BZ2_16u8u(record);
}

TEST_F(Bzip2HuffmanAllocation, DecoderStatusesInOrder) {
  const auto init = zelsDecodeHuffInitAlloc_BZ2_8u16u;
  EXPECT_EQ(init(0, 0, nullptr), zelErrNullPtr);
  zelBZ2HuffDecodeState* record = NotARecord<zelBZ2HuffDecodeState>();
  EXPECT_EQ(init(0, 2, &record), zelErrSize);
  EXPECT_EQ(record, NotARecord<zelBZ2HuffDecodeState>());
  EXPECT_EQ(Allocator().mallocs, 0);
  EXPECT_EQ(init(100, 0, &record), zelErrSize);
  EXPECT_EQ(record, Allocator().last_result);
  EXPECT_EQ(Allocator().last_size, 9302);
  zelsDecodeHuffFree_BZ2_8u16u(record);
  EXPECT_EQ(init(100, 259, &record), zelErrSize);
  zelsDecodeHuffFree_BZ2_8u16u(record);
  EXPECT_EQ(init(100, 2, &record), zelOk);
  zelsDecodeHuffFree_BZ2_8u16u(record);
  EXPECT_EQ(Allocator().mallocs, Allocator().frees);
}

TEST_F(Bzip2HuffmanAllocation, DecoderWithoutMemoryIsANullPointer) {
  Allocator().fails = true;
  zelBZ2HuffDecodeState* record = NotARecord<zelBZ2HuffDecodeState>();
  EXPECT_EQ(zelsDecodeHuffInitAlloc_BZ2_8u16u(100, 3, &record), zelErrNullPtr);
  EXPECT_EQ(record, nullptr);
}

TEST_F(Bzip2HuffmanAllocation, MoreSelectorsThanTheDecoderHasRoomForAreBadData) {
  for (int groups : {1, 2, 3, 4}) {
    Allocator().only_4_aligned = groups % 2 != 0;
    zelBZ2HuffDecodeState* record = nullptr;
    ASSERT_EQ(zelsDecodeHuffInitAlloc_BZ2_8u16u(101, 2, &record), zelOk);
    // Two tables, as many selectors of table 0, two codes of one bit in each table.
    BitString bits;
    bits.Put(2, 3).Put(static_cast<uint32_t>(groups), 15).Put(std::string(static_cast<size_t>(groups), '0'));
    bits.Put("0000100").Put("0000100");
    const Bytes stream = bits.ToBytes(2);
    uint32_t code = 0;
    int32_t code_bits = 0, len = static_cast<int32_t>(stream.size());
    const uint8_t* src = stream.data();
    EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &code_bits, &src, &len, record),
              groups <= 3 ? zelOk : zelErrBadData);
    zelsDecodeHuffFree_BZ2_8u16u(record);
  }
}

TEST_F(Bzip2HuffmanAllocation, CodingAllocatesNothing) {
  zelBZ2HuffEncodeState* encoder = nullptr;
  ASSERT_EQ(zelsEncodeHuffInitAlloc_BZ2_16u8u(4, 3, frequencies_, source_, 4, &encoder), zelOk);
  zelBZ2HuffDecodeState* decoder = nullptr;
  ASSERT_EQ(zelsDecodeHuffInitAlloc_BZ2_8u16u(4, 3, &decoder), zelOk);
  uint8_t stream[100] = {};
  uint32_t code = 0;
  int32_t code_bits = 0, len = 50, coded_len = 50, src_len = 4;
  const uint16_t* symbols = source_;
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &code_bits, stream, &len, encoder), zelOk);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &code_bits, &symbols, &src_len, stream + len, &coded_len, encoder), zelOk);
  for (int i = 0; i < 4; ++i) stream[len + coded_len + i] = static_cast<uint8_t>(code >> (24 - 8 * i));
  code = 0;
  code_bits = 0;
  int32_t stream_len = 100, count = 10;
  const uint8_t* src = stream;
  uint16_t decoded[10] = {};
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &code_bits, &src, &stream_len, decoder), zelOk);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &code_bits, &src, &stream_len, decoded, &count, decoder), zelOk);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(decoded[2], 1);
  EXPECT_EQ(Allocator().mallocs, 2);
  zelsEncodeHuffFree_BZ2_16u8u(encoder);
  zelsDecodeHuffFree_BZ2_8u16u(decoder);
}

}  // namespace
}  // namespace zeldc_test
