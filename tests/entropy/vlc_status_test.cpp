// The VLC functions' statuses in their order, and what they leave alone; making and releasing of records.

#include "entropy/vlc_model.h"
#include "gtest/gtest.h"
#include "library/counting_allocator.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

const Codes kCodes = {{-1, 0b0, 1}, {0, 0b10, 2}, {5, 0b110, 3}, {9, 0b111, 3}};
const int32_t kWidths[] = {2, 1};

// Memory of many bytes that no function may have changed.
class VlcStatus : public testing::Test {
 protected:
  VlcStatus() : encoder_(kCodes), decoder_(kCodes, {2, 1}), tuples_(kCodes, {2, 1}, 2, 2), words_(64) {
    Allocator() = {};
    before_ = words_.ToBytes();
    byte_ = words_.data();
  }

  void ExpectUnchanged() const {
    EXPECT_EQ(words_.ToBytes(), before_);
    EXPECT_EQ(byte_, words_.data());
    EXPECT_EQ(memory_, Bytes(500, 0xA5));
    EXPECT_EQ(size_, -7);
    EXPECT_EQ(values_, Values(4, -7));
  }

  zelVLCEncodeState* NoEncoder() { return reinterpret_cast<zelVLCEncodeState*>(memory_.data()); }
  zelVLCDecodeState* NoDecoder() { return reinterpret_cast<zelVLCDecodeState*>(memory_.data()); }

  VlcEncoder encoder_;
  VlcDecoder decoder_;
  VlcDecoder tuples_;
  Words words_;
  Bytes before_;
  uint8_t* byte_ = nullptr;
  uint8_t* no_byte_ = nullptr;
  int32_t bit_ = 0;
  Bytes memory_ = Bytes(500, 0xA5);
  int32_t size_ = -7;
  Values values_ = Values(4, -7);
};

}  // namespace

TEST_F(VlcStatus, EncodeGetSize) {
  EXPECT_EQ(zelsVLCEncodeGetSize_32s(nullptr, 0, &size_), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeGetSize_32s(kCodes.data(), 0, nullptr), zelErrNullPtr);
  for (int32_t n : {0, -1, INT32_MIN}) EXPECT_EQ(zelsVLCEncodeGetSize_32s(kCodes.data(), n, &size_), zelErrVlcInput);
  ExpectUnchanged();
}

TEST_F(VlcStatus, EncodeInit) {
  EXPECT_EQ(zelsVLCEncodeInit_32s(nullptr, 0, NoEncoder()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeInit_32s(kCodes.data(), 0, nullptr), zelErrNullPtr);
  for (int32_t n : {0, -1, INT32_MIN}) EXPECT_EQ(zelsVLCEncodeInit_32s(kCodes.data(), n, NoEncoder()), zelErrVlcInput);
  ExpectUnchanged();
}

TEST_F(VlcStatus, EncodeInitAlloc) {
  zelVLCEncodeState* record = NoEncoder();
  EXPECT_EQ(zelsVLCEncodeInitAlloc_32s(nullptr, 0, &record), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeInitAlloc_32s(kCodes.data(), 0, nullptr), zelErrNullPtr);
  for (int32_t n : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsVLCEncodeInitAlloc_32s(kCodes.data(), n, &record), zelErrVlcInput);
  }
  EXPECT_EQ(record, NoEncoder());
  EXPECT_EQ(Allocator().mallocs, 0);
  Allocator().fails = true;
  EXPECT_EQ(zelsVLCEncodeInitAlloc_32s(kCodes.data(), 4, &record), zelErrNoMem);
  EXPECT_EQ(record, nullptr);
}

TEST_F(VlcStatus, EncodeOne) {
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(7, nullptr, &bit_, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(7, &byte_, nullptr, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(7, &byte_, &bit_, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(7, &no_byte_, &bit_, NoEncoder()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(0, &byte_, &bit_, NoEncoder()), zelErrVlcInput);
  auto* const decoder = reinterpret_cast<zelVLCEncodeState*>(decoder_.get());
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(0, &byte_, &bit_, decoder), zelErrVlcInput);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(7, &byte_, &bit_, encoder_.get()), zelErrVlcInput);
  ExpectUnchanged();
}

TEST_F(VlcStatus, EncodeBlock) {
  const int16_t values[] = {0, 7};
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(nullptr, 0, &byte_, &bit_, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, 0, nullptr, &bit_, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, 0, &byte_, nullptr, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, 0, &byte_, &bit_, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, 0, &no_byte_, &bit_, encoder_.get()), zelErrNullPtr);
  for (int32_t n : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, n, &byte_, &bit_, encoder_.get()), zelErrVlcInput);
  }
  for (int32_t bit : {-1, 8, INT32_MIN, INT32_MAX}) {
    int32_t offset = bit;
    EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, 1, &byte_, &offset, encoder_.get()), zelErrVlcInput);
    EXPECT_EQ(offset, bit);
  }
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values, 1, &byte_, &bit_, NoEncoder()), zelErrVlcInput);
  EXPECT_EQ(zelsVLCEncodeBlock_16s1u(values + 1, 1, &byte_, &bit_, encoder_.get()), zelErrVlcInput);
  ExpectUnchanged();
}

TEST_F(VlcStatus, CountBits) {
  const int16_t values[] = {0, 9, 7};
  EXPECT_EQ(zelsVLCCountBits_16s32s(nullptr, 0, &size_, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, 0, nullptr, encoder_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, 0, &size_, nullptr), zelErrNullPtr);
  for (int32_t n : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsVLCCountBits_16s32s(values, n, &size_, encoder_.get()), zelErrVlcInput);
  }
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, 1, &size_, NoEncoder()), zelErrVlcInput);
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, 3, &size_, encoder_.get()), zelErrVlcInput);
  ExpectUnchanged();
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, 2, &size_, encoder_.get()), zelOk);
  EXPECT_EQ(size_, 5);
}

TEST_F(VlcStatus, DecodeGetSize) {
  EXPECT_EQ(zelsVLCDecodeGetSize_32s(nullptr, 0, kWidths, 0, &size_), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeGetSize_32s(kCodes.data(), 0, nullptr, 0, &size_), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeGetSize_32s(kCodes.data(), 0, kWidths, 0, nullptr), zelErrNullPtr);
  for (int32_t n : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsVLCDecodeGetSize_32s(kCodes.data(), n, kWidths, 0, &size_), zelErrVlcInput);
  }
  for (int32_t n : {1, 0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsVLCDecodeGetSize_32s(kCodes.data(), 4, kWidths, n, &size_), zelErrVlcTable);
  }
  ExpectUnchanged();
}

TEST_F(VlcStatus, DecodeInit) {
  EXPECT_EQ(zelsVLCDecodeInit_32s(nullptr, 0, kWidths, 0, NoDecoder()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeInit_32s(kCodes.data(), 0, nullptr, 0, NoDecoder()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeInit_32s(kCodes.data(), 0, kWidths, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeInit_32s(kCodes.data(), 0, kWidths, 0, NoDecoder()), zelErrVlcInput);
  EXPECT_EQ(zelsVLCDecodeInit_32s(kCodes.data(), 4, kWidths, 1, NoDecoder()), zelErrVlcTable);
  ExpectUnchanged();
}

TEST_F(VlcStatus, DecodeInitAlloc) {
  zelVLCDecodeState* record = NoDecoder();
  EXPECT_EQ(zelsVLCDecodeInitAlloc_32s(nullptr, 0, kWidths, 0, &record), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeInitAlloc_32s(kCodes.data(), 0, nullptr, 0, &record), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeInitAlloc_32s(kCodes.data(), 0, kWidths, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeInitAlloc_32s(kCodes.data(), 0, kWidths, 0, &record), zelErrVlcInput);
  EXPECT_EQ(zelsVLCDecodeInitAlloc_32s(kCodes.data(), 4, kWidths, 1, &record), zelErrVlcTable);
  EXPECT_EQ(Allocator().mallocs, 0);
  Allocator().fails = true;
  EXPECT_EQ(zelsVLCDecodeInitAlloc_32s(kCodes.data(), 4, kWidths, 2, &record), zelErrNoMem);
  EXPECT_EQ(record, NoDecoder());
}

TEST_F(VlcStatus, TupleGetSize) {
  const zelVLCCode* const codes = kCodes.data();
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(nullptr, 0, kWidths, 0, 0, 0, &size_), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 0, nullptr, 0, 0, 0, &size_), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 0, kWidths, 0, 0, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 0, kWidths, 0, 0, 0, &size_), zelErrVlcInput);
  const Codes zero = {{0, 0, 0}};
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(zero.data(), 1, kWidths, 0, 0, 0, &size_), zelErrVlcTable);
  for (const auto& [tuple_size, element_bits] : {std::pair<int32_t, int32_t>{0, 1},
                                                 {1, 0},
                                                 {-1, 1},
                                                 {1, -1},
                                                 {-1, -1},
                                                 {1, 32},
                                                 {32, 1},
                                                 {4, 8},
                                                 {65536, 65536},
                                                 {INT32_MAX, INT32_MAX},
                                                 {INT32_MIN, INT32_MIN}}) {
    EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 4, kWidths, 0, tuple_size, element_bits, &size_), zelErrBadArg);
  }
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 4, kWidths, 0, 1, 31, &size_), zelErrVlcTable);
  ExpectUnchanged();
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 4, kWidths, 2, 1, 31, &size_), zelOk);
  EXPECT_EQ(zelsVLCDecodeUTupleGetSize_32s(codes, 4, kWidths, 2, 31, 1, &size_), zelOk);
}

TEST_F(VlcStatus, TupleInit) {
  const zelVLCCode* const codes = kCodes.data();
  EXPECT_EQ(zelsVLCDecodeUTupleInit_32s(nullptr, 0, kWidths, 0, 0, 0, NoDecoder()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleInit_32s(codes, 0, nullptr, 0, 0, 0, NoDecoder()), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleInit_32s(codes, 0, kWidths, 0, 0, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleInit_32s(codes, 0, kWidths, 0, 0, 0, NoDecoder()), zelErrVlcInput);
  EXPECT_EQ(zelsVLCDecodeUTupleInit_32s(codes, 4, kWidths, 0, 0, 1, NoDecoder()), zelErrBadArg);
  EXPECT_EQ(zelsVLCDecodeUTupleInit_32s(codes, 4, kWidths, 0, 1, 1, NoDecoder()), zelErrVlcTable);
  ExpectUnchanged();
}

TEST_F(VlcStatus, TupleInitAlloc) {
  const zelVLCCode* const codes = kCodes.data();
  zelVLCDecodeState* record = NoDecoder();
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(nullptr, 0, kWidths, 0, 0, 0, &record), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(codes, 0, nullptr, 0, 0, 0, &record), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(codes, 0, kWidths, 0, 0, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(codes, 0, kWidths, 0, 0, 0, &record), zelErrVlcInput);
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(codes, 4, kWidths, 0, 1, 0, &record), zelErrBadArg);
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(codes, 4, kWidths, 1, 1, 1, &record), zelErrVlcTable);
  EXPECT_EQ(Allocator().mallocs, 0);
  Allocator().fails = true;
  EXPECT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(codes, 4, kWidths, 2, 1, 1, &record), zelErrNoMem);
  EXPECT_EQ(record, NoDecoder());
}

// The four decoding functions have the same checks.
TEST_F(VlcStatus, Decode) {
  const auto decode_one = [](uint8_t** byte, int32_t* bit, int16_t* dst, int32_t, const zelVLCDecodeState* state) {
    return zelsVLCDecodeOne_1u16s(byte, bit, dst, state);
  };
  const auto tuple_one = [](uint8_t** byte, int32_t* bit, int16_t* dst, int32_t, const zelVLCDecodeState* state) {
    return zelsVLCDecodeUTupleOne_1u16s(byte, bit, dst, state);
  };
  using Decode = zelStatus (*)(uint8_t**, int32_t*, int16_t*, int32_t, const zelVLCDecodeState*);
  struct Function {
    Decode decode;
    bool is_block;
    const zelVLCDecodeState* record;
  };
  for (const Function& function : {Function{decode_one, false, decoder_.get()},
                                   {zelsVLCDecodeBlock_1u16s, true, decoder_.get()},
                                   {tuple_one, false, tuples_.get()},
                                   {zelsVLCDecodeUTupleBlock_1u16s, true, tuples_.get()}}) {
    const Decode decode = function.decode;
    int16_t* const dst = values_.data();
    int32_t wrong = 8;
    EXPECT_EQ(decode(nullptr, &wrong, dst, 0, function.record), zelErrNullPtr);
    EXPECT_EQ(decode(&byte_, nullptr, dst, 0, function.record), zelErrNullPtr);
    EXPECT_EQ(decode(&byte_, &wrong, nullptr, 0, function.record), zelErrNullPtr);
    EXPECT_EQ(decode(&byte_, &wrong, dst, 0, nullptr), zelErrNullPtr);
    EXPECT_EQ(decode(&no_byte_, &wrong, dst, 0, function.record), zelErrNullPtr);
    for (int32_t bit : {-1, 8, INT32_MIN, INT32_MAX}) {
      wrong = bit;
      EXPECT_EQ(decode(&byte_, &wrong, dst, 1, function.record), zelErrVlcInput);
      EXPECT_EQ(wrong, bit);
    }
    for (int32_t n : {0, -1, INT32_MIN}) {
      if (!function.is_block) break;
      EXPECT_EQ(decode(&byte_, &bit_, dst, n, function.record), zelErrVlcInput);
    }
    EXPECT_EQ(decode(&byte_, &bit_, dst, 1, NoDecoder()), zelErrVlcInput);
    auto* const encoder = reinterpret_cast<const zelVLCDecodeState*>(encoder_.get());
    EXPECT_EQ(decode(&byte_, &bit_, dst, 1, encoder), zelErrVlcInput);
    ExpectUnchanged();
  }
}

TEST_F(VlcStatus, TupleFunctionsWantARecordWithTuples) {
  EXPECT_EQ(zelsVLCDecodeUTupleOne_1u16s(&byte_, &bit_, values_.data(), decoder_.get()), zelErrVlcInput);
  EXPECT_EQ(zelsVLCDecodeUTupleBlock_1u16s(&byte_, &bit_, values_.data(), 1, decoder_.get()), zelErrVlcInput);
  ExpectUnchanged();
}

TEST_F(VlcStatus, InitAllocAndFreeGoToTheAllocator) {
  zelVLCEncodeState* encoder = nullptr;
  ASSERT_EQ(zelsVLCEncodeInitAlloc_32s(kCodes.data(), 4, &encoder), zelOk);
  EXPECT_EQ(zelsVLCEncodeGetSize_32s(kCodes.data(), 4, &size_), zelOk);
  EXPECT_EQ(Allocator().last_size, size_);
  EXPECT_EQ(encoder, Allocator().last_result);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(5, &byte_, &bit_, encoder), zelOk);
  zelsVLCEncodeFree_32s(encoder);
  EXPECT_EQ(Allocator().last_freed, encoder);
  EXPECT_EQ(Allocator().frees, 1);

  zelVLCDecodeState* decoder = nullptr;
  ASSERT_EQ(zelsVLCDecodeInitAlloc_32s(kCodes.data(), 4, kWidths, 2, &decoder), zelOk);
  EXPECT_EQ(zelsVLCDecodeGetSize_32s(kCodes.data(), 4, kWidths, 2, &size_), zelOk);
  EXPECT_EQ(Allocator().last_size, size_);
  EXPECT_EQ(decoder, Allocator().last_result);
  byte_ = words_.data();
  bit_ = 0;
  EXPECT_EQ(zelsVLCDecodeOne_1u16s(&byte_, &bit_, values_.data(), decoder), zelOk);
  EXPECT_EQ(values_[0], 5);
  zelsVLCDecodeFree_32s(decoder);
  EXPECT_EQ(Allocator().last_freed, decoder);

  ASSERT_EQ(zelsVLCDecodeUTupleInitAlloc_32s(kCodes.data(), 4, kWidths, 2, 2, 2, &decoder), zelOk);
  EXPECT_EQ(Allocator().last_size, size_);
  zelsVLCDecodeUTupleFree_32s(decoder);
  EXPECT_EQ(Allocator().last_freed, decoder);
  EXPECT_EQ(Allocator().frees, Allocator().mallocs);
}

TEST_F(VlcStatus, FreeMakesARecordOfInitInvalidAndKeepsItsMemory) {
  zelsVLCEncodeFree_32s(encoder_.get());
  zelsVLCEncodeFree_32s(encoder_.get());
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(0, &byte_, &bit_, encoder_.get()), zelErrVlcInput);
  zelsVLCDecodeFree_32s(decoder_.get());
  EXPECT_EQ(zelsVLCDecodeOne_1u16s(&byte_, &bit_, values_.data(), decoder_.get()), zelErrVlcInput);
  zelsVLCDecodeUTupleFree_32s(tuples_.get());
  EXPECT_EQ(zelsVLCDecodeUTupleOne_1u16s(&byte_, &bit_, values_.data(), tuples_.get()), zelErrVlcInput);
  EXPECT_EQ(Allocator().frees, 0);
  ExpectUnchanged();
}

TEST_F(VlcStatus, FreeOfWhatIsNoRecordDoesNothing) {
  zelsVLCEncodeFree_32s(nullptr);
  zelsVLCDecodeFree_32s(nullptr);
  zelsVLCEncodeFree_32s(NoEncoder());
  zelsVLCDecodeFree_32s(NoDecoder());
  zelsVLCEncodeFree_32s(reinterpret_cast<zelVLCEncodeState*>(decoder_.get()));
  zelsVLCDecodeFree_32s(reinterpret_cast<zelVLCDecodeState*>(encoder_.get()));
  EXPECT_EQ(Allocator().frees, 0);
  EXPECT_EQ(zelsVLCEncodeOne_16s1u(5, &byte_, &bit_, encoder_.get()), zelOk);
  byte_ = words_.data();
  bit_ = 0;
  EXPECT_EQ(zelsVLCDecodeOne_1u16s(&byte_, &bit_, values_.data(), decoder_.get()), zelOk);
  EXPECT_EQ(values_[0], 5);
}

TEST_F(VlcStatus, BothFreeNamesOfTheDecoderAreOneFunction) {
  // Compared when the program runs: Clang takes two names for two addresses.
  decltype(&zelsVLCDecodeFree_32s) volatile decode_free = zelsVLCDecodeFree_32s;
  EXPECT_EQ(decode_free, zelsVLCDecodeUTupleFree_32s);
}
