// The Huffman stage's encoder: statuses, and every bit of its output.

#include <algorithm>
#include <utility>

#include "bzip2/huffman_calls.h"
#include "gtest/gtest.h"

namespace zeldc_test {
namespace {

constexpr int32_t kMostSymbols = 50 * 32767;

// What a decoder reads from the description of a block.
ModelDecoder Described(const Block& block) {
  ModelDecoder model(block.alpha_size);
  EXPECT_EQ(model.Unpack(0, 0, Encode(block).ToBytes()).status, zelOk) << block.name;
  return model;
}

TEST(Bzip2HuffmanEncodeSize, IsAByteAGroupTwiceOverAndAFixedPart) {
  int32_t size = 0;
  for (const auto& [symbols, expected] : {std::pair{1, 7766},
                                          {49, 7766},
                                          {50, 7766},
                                          {51, 7768},
                                          {100, 7768},
                                          {900000, 43764},
                                          {INT32_MAX, 7764 + 2 * 42949673}}) {
    EXPECT_EQ(zelsEncodeHuffGetSize_BZ2_16u8u(symbols, &size), zelOk);
    EXPECT_EQ(size, expected) << symbols;
  }
}

TEST(Bzip2HuffmanEncodeSize, StatusesInOrder) {
  EXPECT_EQ(zelsEncodeHuffGetSize_BZ2_16u8u(0, nullptr), zelErrNullPtr);
  int32_t size = 77;
  EXPECT_EQ(zelsEncodeHuffGetSize_BZ2_16u8u(0, &size), zelErrSize);
  EXPECT_EQ(zelsEncodeHuffGetSize_BZ2_16u8u(-1, &size), zelErrSize);
  EXPECT_EQ(size, 77);
}

class Bzip2HuffmanEncodeInit : public testing::Test {
 protected:
  // Nothing of the record has been written.
  bool IsUntouched() const {
    const uint8_t* const bytes = static_cast<const uint8_t*>(record_.RecordMemory::get());
    return std::all_of(bytes, bytes + record_.size(), [](uint8_t byte) { return byte == 0xA5; });
  }

  const EncodeRecord record_{100};
  const Symbols source_ = {1, 2, 0, 1};
  const std::vector<uint32_t> frequencies_ = {1, 2, 1};
};

TEST_F(Bzip2HuffmanEncodeInit, StatusesInOrder) {
  const uint32_t* const f = frequencies_.data();
  const uint16_t* const s = source_.data();
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(0, nullptr, s, 0, record_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(0, f, nullptr, 0, record_.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(0, f, s, 0, nullptr), zelErrNullPtr);
  for (int32_t alpha_size : {0, -1, INT32_MIN, 259, INT32_MAX}) {
    EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(alpha_size, f, s, 4, record_.get()), zelErrSize);
  }
  for (int32_t size : {0, -1, INT32_MIN, kMostSymbols + 1, INT32_MAX}) {
    EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(3, f, s, size, record_.get()), zelErrSize);
  }
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(2, f, s, 4, record_.get()), zelErrBadArg);
  EXPECT_TRUE(IsUntouched());
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(3, f, s, 4, record_.get()), zelOk);
}

TEST_F(Bzip2HuffmanEncodeInit, ASymbolNotBelowTheAlphabetsSizeIsFoundWhereverItStands) {
  Block block = RandomBlock(200, 99, 0, 1);
  for (size_t at = 0; at < block.symbols.size(); ++at) {
    for (int symbol : {200, 257, 258, 32768, 65535}) {
      Block bad = block;
      bad.symbols[at] = static_cast<uint16_t>(symbol);
      bad.alpha_size = 65536;  // of the frequency table
      const std::vector<uint32_t> frequencies = bad.Frequencies();
      EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(200, frequencies.data(), bad.symbols.data(),
                                             static_cast<int32_t>(bad.symbols.size()), record_.get()),
                zelErrBadArg);
    }
  }
  EXPECT_TRUE(IsUntouched());
}

TEST_F(Bzip2HuffmanEncodeInit, FrequenciesThatWouldNeedMoreTablesAreRefused) {
  for (uint32_t frequency : {3000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    const std::vector<uint32_t> frequencies(258, frequency);
    EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(258, frequencies.data(), source_.data(), 4, record_.get()), zelErrBadArg);
  }
  // Four symbols have two tables, each of (4 + 4024) / 2 = 2014: the third one needs a third.
  const std::vector<uint32_t> just_over = {2015, 2014, 0};
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(3, just_over.data(), source_.data(), 4, record_.get()), zelErrBadArg);
  EXPECT_TRUE(IsUntouched());
  const std::vector<uint32_t> just_not = {2015, 2013, 0};
  EXPECT_EQ(zelsEncodeHuffInit_BZ2_16u8u(3, just_not.data(), source_.data(), 4, record_.get()), zelOk);
}

TEST_F(Bzip2HuffmanEncodeInit, OtherFrequenciesThanTheSourcesStillGiveAStreamThatDecodes) {
  const Block block = ChangingBlock(100, 5000, 1);
  const EncodeRecord record(5000);
  const std::vector<uint32_t> frequencies(100, 0);
  ASSERT_EQ(zelsEncodeHuffInit_BZ2_16u8u(100, frequencies.data(), block.symbols.data(), 5000, record.get()), zelOk);
  const WriteResult packed = Pack(record.get(), 10000);
  const WriteResult coded = EncodeSymbols(record.get(), block.symbols, 10000, packed.code, packed.code_bits);
  BitString all = BitsOf(packed.bytes.data(), packed.bytes.size());
  all.Put(BitsOf(coded.bytes.data(), coded.bytes.size(), coded.code, coded.code_bits).bits);
  const Decoded decoded = DecodeBesideModel(100, all.ToBytes(3), 100000, 10000);
  EXPECT_EQ(decoded.status, zelOk);
  EXPECT_TRUE(
      std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
}

TEST_F(Bzip2HuffmanEncodeInit, TheLongestBlockFills15Bits) {
  Block block = RandomBlock(20, kMostSymbols, 2, 1);
  const EncodeRecord record(kMostSymbols);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  EXPECT_TRUE(record.IsTailIntact());
  const WriteResult packed = Pack(record.get(), 200000);
  EXPECT_EQ(packed.status, zelOk);
  EXPECT_EQ(BitsOf(packed.bytes.data(), 3).bits.substr(0, 18), "110111111111111111");
}

TEST(Bzip2HuffmanPack, StatusesInOrder) {
  const Block block = RandomBlock(10, 100, 0, 1);
  const EncodeRecord record(100);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  uint32_t code = 5;
  int32_t bits = 7, len = 0;
  uint8_t dst[200] = {};
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(nullptr, &bits, dst, &len, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, nullptr, dst, &len, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &bits, nullptr, &len, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &bits, dst, nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &bits, dst, &len, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &bits, dst, &len, record.get()), zelErrSize);
  len = -1;
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &bits, dst, &len, record.get()), zelErrSize);
  EXPECT_EQ(code, 5u);
  EXPECT_EQ(bits, 7);
  len = 200;
  EXPECT_EQ(zelsPackHuffContext_BZ2_16u8u(&code, &bits, dst, &len, record.get()), zelOk);
}

TEST(Bzip2HuffmanEncode, StatusesInOrder) {
  const Block block = RandomBlock(10, 100, 0, 1);
  const EncodeRecord record(100);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  uint32_t code = 5;
  int32_t bits = 7, src_len = -1, len = 0;
  uint8_t dst[400] = {};
  const uint16_t* src = block.symbols.data();
  const uint16_t* none = nullptr;
  zelBZ2HuffEncodeState* const s = record.get();
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(nullptr, &bits, &src, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, nullptr, &src, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, nullptr, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, nullptr, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &none, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, nullptr, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, nullptr, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, &len, nullptr), zelErrNullPtr);
  src_len = 0;
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, &len, s), zelErrSize);
  len = 400;
  src_len = -1;
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, &len, s), zelErrSize);
  src_len = 101;  // one more group than the record has a table for
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, &len, s), zelErrSize);
  const Symbols outside = {9, 10};
  src = outside.data();
  src_len = 2;
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, &len, s), zelErrBadArg);
  EXPECT_EQ(src, outside.data());
  EXPECT_EQ(src_len, 2);
  EXPECT_EQ(code, 5u);
  EXPECT_EQ(bits, 7);
  EXPECT_EQ(len, 400);
  src = block.symbols.data();
  src_len = 100;
  EXPECT_EQ(zelsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &src_len, dst, &len, s), zelOk);
}

TEST(Bzip2HuffmanEncode, NoSymbolsAreNoError) {
  const Block block = RandomBlock(10, 100, 0, 1);
  const EncodeRecord record(100);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  const WriteResult result = EncodeSymbols(record.get(), {}, 10, 0xABCDEF00, 24);
  EXPECT_EQ(result.status, zelOk);
  EXPECT_TRUE(result.bytes.empty());
  EXPECT_EQ(result.code, 0xABCDEF00);
  EXPECT_EQ(result.code_bits, 24);
}

TEST(Bzip2HuffmanEncode, BlocksOfEveryKindAreWrittenByTheRules) {
  for (const Block& block : AllBlocks()) {
    SCOPED_TRACE(block.name);
    const HuffmanContext context = ModelContext(block.alpha_size, block.symbols);
    BitString expected = ModelDescription(context);
    expected.Put(ModelCoded(context, block.symbols).bits);
    EXPECT_TRUE(Encode(block).bits == expected.bits);
  }
}

TEST(Bzip2HuffmanEncode, BlocksOfEveryAlphabetAreWrittenByTheRules) {
  for (int alpha_size = 2; alpha_size <= 258; ++alpha_size) {
    const Block block = ChangingBlock(alpha_size, 700 + 13 * static_cast<size_t>(alpha_size), 7);
    const HuffmanContext context = ModelContext(alpha_size, block.symbols);
    BitString expected = ModelDescription(context);
    expected.Put(ModelCoded(context, block.symbols).bits);
    ASSERT_TRUE(Encode(block).bits == expected.bits) << block.name;
  }
}

TEST(Bzip2HuffmanEncode, TheNumberOfTablesGrowsWithTheBlock) {
  for (const auto& [count, tables] : {std::pair{1, 2},
                                      {199, 2},
                                      {200, 3},
                                      {599, 3},
                                      {600, 4},
                                      {1199, 4},
                                      {1200, 5},
                                      {2399, 5},
                                      {2400, 6},
                                      {100000, 6}}) {
    const Block block = RandomBlock(30, static_cast<size_t>(count), 1, 1);
    EXPECT_EQ(Described(block).lengths().size(), static_cast<size_t>(tables)) << count;
  }
}

TEST(Bzip2HuffmanEncode, AGroupHas50SymbolsOrTheRest) {
  for (const auto& [count, groups] : {std::pair{1, 1}, {49, 1}, {50, 1}, {51, 2}, {100, 2}, {101, 3}}) {
    const Block block = RandomBlock(30, static_cast<size_t>(count), 1, 1);
    EXPECT_EQ(Described(block).selectors().size(), static_cast<size_t>(groups)) << count;
  }
}

TEST(Bzip2HuffmanEncode, EverySymbolHasACodeInEveryTable) {
  Block block = {"two of 258 symbols", 258, Symbols(3000, 7)};
  block.symbols.push_back(257);
  const ModelDecoder model = Described(block);
  for (const Lengths& lengths : model.lengths()) {
    EXPECT_EQ(lengths.size(), 258u);
    EXPECT_GE(*std::min_element(lengths.begin(), lengths.end()), 1);
  }
}

TEST(Bzip2HuffmanEncode, OfTablesThatCostTheSameTheFirstIsTaken) {
  // Two symbols have codes of one bit each in every table.
  const Block block = RandomBlock(2, 5000, 0, 1);
  const ModelDecoder model = Described(block);
  for (int selector : model.selectors()) EXPECT_EQ(selector, 0);
}

TEST(Bzip2HuffmanEncode, CodesAreNeverLongerThan17BitsAndComplete) {
  for (int alpha_size : {21, 258}) {
    const Block block = DoublingBlock(20, alpha_size);
    int longest = 0;
    const ModelDecoder model = Described(block);
    for (const Lengths& lengths : model.lengths()) {
      uint32_t filled = 0;
      for (int length : lengths) {
        ASSERT_LE(length, 17);
        filled += 1u << (17 - length);
        longest = std::max(longest, length);
      }
      EXPECT_EQ(filled, 1u << 17);
    }
    EXPECT_EQ(longest, 17) << alpha_size;
  }
}

TEST(Bzip2HuffmanEncode, CodesOfOneLengthCountUpFromSymbolToSymbol) {
  Block block = {"each of 258 symbols", 258, {}};
  for (uint16_t symbol = 0; symbol < 258; ++symbol) block.symbols.push_back(symbol);
  const EncodeRecord record(258);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  const auto code_of = [&](uint16_t symbol) {
    const WriteResult one = EncodeSymbols(record.get(), {symbol}, 20);
    return std::pair(one.code_bits, one.code >> (32 - one.code_bits));
  };
  uint32_t next[18] = {};
  for (uint16_t symbol = 0; symbol < 258; ++symbol) {
    const auto [bits, code] = code_of(symbol);
    ASSERT_TRUE(bits >= 1 && bits <= 17) << symbol;
    if (next[bits] != 0) {
      EXPECT_EQ(code, next[bits]) << symbol;
    }
    next[bits] = code + 1;
  }
}

TEST(Bzip2HuffmanEncode, AnAlphabetOfOneSymbolHasACodeOfOneBit) {
  const Block block = {"one symbol", 1, Symbols(60, 0)};
  // Two tables, two selectors, both of table 0; each table one code of one bit; the symbols.
  EXPECT_EQ(Encode(block).bits,
            "010000000000000010"
            "00"
            "000010"
            "000010" +
                std::string(60, '0'));
}

TEST(Bzip2HuffmanPack, WritesAsManyBitsAsItsFieldsHave) {
  for (const Block& block : AllBlocks()) {
    const EncodeRecord record(static_cast<int32_t>(block.symbols.size()));
    ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
    const WriteResult packed = Pack(record.get(), 100000);
    const ModelDecoder model = Described(block);
    size_t bits = 3 + 15 + model.selectors().size();
    std::vector<int> order = {0, 1, 2, 3, 4, 5};
    for (int selector : model.selectors()) {
      const auto found = std::find(order.begin(), order.end(), selector);
      bits += static_cast<size_t>(found - order.begin());
      std::rotate(order.begin(), found, found + 1);
    }
    for (const Lengths& lengths : model.lengths()) {
      bits += 5 + lengths.size();
      for (size_t v = 1; v < lengths.size(); ++v)
        bits += 2 * static_cast<size_t>(std::abs(lengths[v] - lengths[v - 1]));
    }
    EXPECT_EQ(8 * packed.bytes.size() + static_cast<size_t>(packed.code_bits), bits) << block.name;
    // Before each field whole bytes are written, and the last field is one bit.
    EXPECT_EQ(packed.bytes.size(), (bits - 1) / 8);
  }
}

TEST(Bzip2HuffmanEncode, BitsThatWaitGoFirst) {
  const Block block = RandomBlock(50, 500, 2, 1);
  const EncodeRecord record(500);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  const HuffmanContext context = ModelContext(50, block.symbols);
  const std::string description = ModelDescription(context).bits, coded = ModelCoded(context, block.symbols).bits;
  const size_t last = ModelCodes(context.lengths[static_cast<size_t>(context.selectors.back())])[49].size();
  for (int waiting = 0; waiting <= 32; ++waiting) {
    // What stands below the counted bits does not matter.
    const uint32_t code = 0xB7E15162;
    const std::string before = BitsOf(nullptr, 0, code, waiting).bits;
    const WriteResult packed = Pack(record.get(), 1000, code, waiting);
    EXPECT_EQ(packed.status, zelOk);
    EXPECT_EQ(BitsOf(packed.bytes.data(), packed.bytes.size(), packed.code, packed.code_bits).bits,
              before + description);
    EXPECT_EQ(packed.bytes.size(), (before.size() + description.size() - 1) / 8);
    const WriteResult result = EncodeSymbols(record.get(), block.symbols, 1000, code, waiting);
    EXPECT_EQ(result.status, zelOk);
    EXPECT_EQ(BitsOf(result.bytes.data(), result.bytes.size(), result.code, result.code_bits).bits, before + coded);
    EXPECT_EQ(result.bytes.size(), (before.size() + coded.size() - last) / 8);
    EXPECT_LE(result.code_bits, 31);
  }
}

TEST(Bzip2HuffmanEncode, ACountOfWaitingBitsOutside0To32IsTakenForTheNearest) {
  const Block block = RandomBlock(50, 500, 2, 1);
  const EncodeRecord record(500);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  for (const auto& [count, nearest] : {std::pair{-1, 0}, {INT32_MIN, 0}, {33, 32}, {64, 32}, {INT32_MAX, 32}}) {
    EXPECT_EQ(Pack(record.get(), 1000, 0xB7E15162, count).bytes, Pack(record.get(), 1000, 0xB7E15162, nearest).bytes);
    EXPECT_EQ(EncodeSymbols(record.get(), block.symbols, 1000, 0xB7E15162, count).bytes,
              EncodeSymbols(record.get(), block.symbols, 1000, 0xB7E15162, nearest).bytes);
  }
}

// Every room from one byte to more than enough: the bytes are those of the whole, and what waits is right as long as it
// fits 32 bits.
template <typename Call>
void ExpectEveryRoomServed(const std::string& bits, size_t last, Call call) {
  for (size_t room = 1; room <= bits.size() / 8 + 10; ++room) {
    const WriteResult result = call(room);
    const size_t written = std::min(room, (bits.size() - last) / 8);
    ASSERT_EQ(result.bytes.size(), written) << room;
    ASSERT_EQ(BitsOf(result.bytes.data(), written).bits, bits.substr(0, 8 * written)) << room;
    ASSERT_EQ(static_cast<size_t>(result.code_bits), bits.size() - 8 * written) << room;
    ASSERT_EQ(result.status, result.code_bits > 32 ? zelWarnDstFull : zelOk) << room;
    ASSERT_EQ(BitsOf(nullptr, 0, result.code, std::min(result.code_bits, 32)).bits, bits.substr(8 * written, 32))
        << room;
  }
}

TEST(Bzip2HuffmanEncode, AFullDestinationIsToldAndTheWholeSourceConsumed) {
  const Block block = ChangingBlock(258, 700, 1);
  const EncodeRecord record(700);
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  const HuffmanContext context = ModelContext(258, block.symbols);
  const size_t last = ModelCodes(context.lengths[static_cast<size_t>(context.selectors.back())])[257].size();
  ExpectEveryRoomServed(ModelDescription(context).bits, 1, [&](size_t room) { return Pack(record.get(), room); });
  ExpectEveryRoomServed(ModelCoded(context, block.symbols).bits, last,
                        [&](size_t room) { return EncodeSymbols(record.get(), block.symbols, room); });
}

TEST(Bzip2HuffmanEncode, CodesOf17BitsFitEveryRoom) {
  const Block block = DoublingBlock(20, 21);
  const EncodeRecord record(static_cast<int32_t>(block.symbols.size()));
  ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
  // The rarest symbols all along.
  Symbols rare(300, 0);
  for (size_t i = 0; i < rare.size(); ++i) rare[i] = static_cast<uint16_t>(i % 3 == 2 ? 20 : i % 3);
  const HuffmanContext context = ModelContext(block.alpha_size, block.symbols);
  const std::string bits = ModelCoded(context, rare).bits;
  EXPECT_GT(bits.size(), rare.size() * 16);
  const size_t last = ModelCodes(context.lengths[static_cast<size_t>(context.selectors[5])])[20].size();
  ExpectEveryRoomServed(bits, last, [&](size_t room) { return EncodeSymbols(record.get(), rare, room); });
}

TEST(Bzip2HuffmanEncode, ARecordCanBeMovedBetweenCallsAndStandAtAnyMultipleOf4) {
  for (int32_t groups : {20, 21, 22, 23}) {
    const Block block = ChangingBlock(100, static_cast<size_t>(50 * groups), 1);
    EncodeRecord first(50 * groups);
    ASSERT_EQ(InitEncoder(block, first.get()), zelOk);
    EXPECT_TRUE(first.IsTailIntact());
    EncodeRecord second(std::move(first));
    const WriteResult packed = Pack(second.get(), 10000);
    EncodeRecord third(std::move(second));
    const WriteResult coded = EncodeSymbols(third.get(), block.symbols, 10000, packed.code, packed.code_bits);
    BitString all = BitsOf(packed.bytes.data(), packed.bytes.size());
    all.Put(BitsOf(coded.bytes.data(), coded.bytes.size(), coded.code, coded.code_bits).bits);
    EXPECT_EQ(all.bits, Encode(block).bits);
    EXPECT_TRUE(third.IsTailIntact());
  }
}

TEST(Bzip2HuffmanEncode, WhatTheMemoryHeldBeforeDoesNotMatter) {
  const Block block = ChangingBlock(150, 3001, 1);
  const std::string expected = Encode(block).bits;
  for (int fill : {0x00, 0x01, 0x7F, 0xFF}) {
    const EncodeRecord record(3001, static_cast<uint8_t>(fill));
    ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
    const WriteResult packed = Pack(record.get(), 10000);
    EXPECT_EQ(BitsOf(packed.bytes.data(), packed.bytes.size()).bits, expected.substr(0, 8 * packed.bytes.size()));
  }
}

TEST(Bzip2HuffmanEncode, ARecordServesOneBlockAfterAnother) {
  const EncodeRecord record(20001);
  for (const Block& block : {ChangingBlock(258, 20000, 1), RandomBlock(3, 77, 0, 2), ChangingBlock(40, 5000, 3)}) {
    ASSERT_EQ(InitEncoder(block, record.get()), zelOk);
    const WriteResult coded = EncodeSymbols(record.get(), block.symbols, 40000);
    EXPECT_EQ(BitsOf(coded.bytes.data(), coded.bytes.size(), coded.code, coded.code_bits).bits,
              ModelCoded(ModelContext(block.alpha_size, block.symbols), block.symbols).bits);
  }
}

}  // namespace
}  // namespace zeldc_test
