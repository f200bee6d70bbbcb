// Descriptions and streams that no encoder of good will writes.

#include <algorithm>
#include <numeric>
#include <utility>

#include "bzip2/huffman_calls.h"
#include "gtest/gtest.h"

namespace zeldc_test {
namespace {

// Header and selectors, all of them of table 0.
BitString Head(int tables, int selectors) {
  return BitString()
      .Put(static_cast<uint32_t>(tables), 3)
      .Put(static_cast<uint32_t>(selectors), 15)
      .Put(std::string(static_cast<size_t>(selectors), '0'));
}

// The status of a description, however it is cut into pieces; with every status the same as the model's.
zelStatus UnpackStatus(int alpha_size, const BitString& description) {
  const Bytes stream = description.ToBytes(4);
  zelStatus first = zelOk;
  for (size_t piece : {size_t{1000000}, size_t{1}, size_t{2}, size_t{3}, size_t{7}}) {
    const DecodeRecord record(1638350);
    EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(alpha_size, record.get()), zelOk);
    ModelDecoder model(alpha_size);
    CallResult call;
    for (size_t at = 0; at < stream.size(); at += piece) {
      const Bytes source(stream.begin() + static_cast<ptrdiff_t>(at),
                         stream.begin() + static_cast<ptrdiff_t>(std::min(at + piece, stream.size())));
      const CallResult expected = model.Unpack(call.code, call.code_bits, source);
      call = Unpack(record.get(), call.code, call.code_bits, source);
      EXPECT_EQ(call.status, expected.status);
      if (call.status != zelWarnSrcShort) break;
    }
    if (piece == 1000000) first = call.status;
    EXPECT_EQ(call.status, first) << "pieces of " << piece;
  }
  return first;
}

// A whole description of one selector and two tables with the same lengths.
BitString Describe(const Lengths& lengths, int selectors = 1) {
  HuffmanContext context;
  context.selectors.assign(static_cast<size_t>(selectors), 0);
  context.lengths.assign(2, lengths);
  return ModelDescription(context);
}

// Decodes a description and what follows it: every symbol is of the alphabet. Answers the symbols of one call.
Symbols DecodeAnything(const Lengths& lengths, const Bytes& coded, size_t room, int selectors = 1) {
  const int alpha_size = static_cast<int>(lengths.size());
  BitString bits = Describe(lengths, selectors);
  bits.Put(BitsOf(coded.data(), coded.size()).bits);
  const Bytes stream = bits.ToBytes();
  const DecodeRecord record(50 * selectors);
  EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(alpha_size, record.get()), zelOk);
  const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
  EXPECT_EQ(unpacked.status, zelOk);
  if (unpacked.status != zelOk) return {};
  const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(unpacked.consumed), stream.end());
  const CallResult decoded = DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, rest, room);
  EXPECT_GE(decoded.status, 0);
  for (uint16_t symbol : decoded.symbols) EXPECT_LT(symbol, alpha_size);
  EXPECT_TRUE(record.IsTailIntact());
  return decoded.symbols;
}

TEST(Bzip2HuffmanHostile, TableCount) {
  for (int tables = 0; tables <= 7; ++tables) {
    BitString description = Head(tables, 1);
    for (int t = 0; t < tables; ++t)
      description.Put(
          "00001"
          "0"
          "0");
    EXPECT_EQ(UnpackStatus(2, description), tables >= 2 && tables <= 6 ? zelOk : zelErrBadData) << tables;
  }
}

TEST(Bzip2HuffmanHostile, NoSelectors) { EXPECT_EQ(UnpackStatus(2, Head(2, 0)), zelErrBadData); }

TEST(Bzip2HuffmanHostile, SelectorNotBelowTheTableCount) {
  for (int tables = 2; tables <= 6; ++tables) {
    for (int ones = 0; ones <= 12; ++ones) {
      BitString description;
      description.Put(static_cast<uint32_t>(tables), 3)
          .Put(1, 15)
          .Put(std::string(static_cast<size_t>(ones), '1') + "0");
      for (int t = 0; t < tables; ++t)
        description.Put(
            "00001"
            "0"
            "0");
      EXPECT_EQ(UnpackStatus(2, description), ones < tables ? zelOk : zelErrBadData) << tables << " " << ones;
    }
  }
}

TEST(Bzip2HuffmanHostile, MostSelectorsThat15BitsCanSay) {
  BitString description = Head(2, 32767);
  description
      .Put(
          "00001"
          "0"
          "0")
      .Put(
          "00001"
          "0"
          "0");
  const DecodeRecord record(1638350);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(2, record.get()), zelOk);
  EXPECT_EQ(Unpack(record.get(), 0, 0, description.ToBytes(3)).status, zelOk);
  EXPECT_TRUE(record.IsTailIntact());
}

TEST(Bzip2HuffmanHostile, StartLengthOutside1To20) {
  for (uint32_t length = 0; length < 32; ++length) {
    const BitString description = Head(2, 1).Put(length, 5).Put("00").Put(length, 5).Put("00");
    EXPECT_EQ(UnpackStatus(2, description), length >= 1 && length <= 20 ? zelOk : zelErrBadData) << length;
  }
}

TEST(Bzip2HuffmanHostile, LengthThatStepsOutOf1To20) {
  const BitString head = Head(2, 1);
  const auto steps = [&](uint32_t start, const char* step, int count) {
    BitString description = head;
    for (int t = 0; t < 2; ++t) {
      description.Put(start, 5).Put("0");
      for (int i = 0; i < count; ++i) description.Put(step);
      description.Put("0");
    }
    return UnpackStatus(2, description);
  };
  EXPECT_EQ(steps(20, "10", 0), zelOk);
  EXPECT_EQ(steps(20, "10", 1), zelErrBadData);
  EXPECT_EQ(steps(17, "10", 3), zelOk);
  EXPECT_EQ(steps(17, "10", 4), zelErrBadData);
  EXPECT_EQ(steps(17, "10", 500), zelErrBadData);
  EXPECT_EQ(steps(2, "11", 1), zelOk);
  EXPECT_EQ(steps(2, "11", 2), zelErrBadData);
  EXPECT_EQ(steps(20, "11", 19), zelOk);
  EXPECT_EQ(steps(20, "11", 20), zelErrBadData);
}

TEST(Bzip2HuffmanHostile, LengthOutOfRangeWhereTheSourceEnds) {
  // The step to 21 is the last thing that the source holds; the same with a run that had been cut before.
  const Bytes stream = Head(2, 1)
                           .Put(
                               "10011"
                               "0"
                               "10"
                               "10")
                           .ToBytes();
  for (size_t cut = 1; cut <= stream.size(); ++cut) {
    const DecodeRecord record(50);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(3, record.get()), zelOk);
    CallResult call = Unpack(record.get(), 0, 0, Bytes(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(cut)));
    if (cut < stream.size()) {
      ASSERT_EQ(call.status, zelWarnSrcShort);
      call = Unpack(record.get(), call.code, call.code_bits,
                    Bytes(stream.begin() + static_cast<ptrdiff_t>(cut), stream.end()));
    }
    EXPECT_EQ(call.status, zelErrBadData);
  }
}

TEST(Bzip2HuffmanHostile, StepsThatTurnBack) {
  for (const char* steps : {"1011", "1110", "10101011", "11111110", "101110", "111011"}) {
    for (int before = 0; before < 8; ++before) {  // every place in a byte
      const BitString description = Head(2, 1).Put(
          "01010"
          "0" +
          std::string(static_cast<size_t>(before), '0') + steps + "0");
      EXPECT_EQ(UnpackStatus(20, description), zelErrBadData) << steps;
    }
  }
  // Of different symbols they may.
  EXPECT_EQ(UnpackStatus(3, Head(2, 1)
                                .Put("00010"
                                     "0"
                                     "100"
                                     "110")
                                .Put("00010"
                                     "0"
                                     "110"
                                     "100")),
            zelOk);
}

TEST(Bzip2HuffmanHostile, TheBitThatEndsTheFirstSymbolIsPassedOver) {
  // Two symbols of two bits; the bit behind the start length is 1.
  const Bytes stream = Head(2, 1)
                           .Put(
                               "00010"
                               "1"
                               "0")
                           .Put(
                               "00010"
                               "1"
                               "0")
                           .ToBytes(2);
  const DecodeRecord record(50);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(2, record.get()), zelOk);
  EXPECT_EQ(Unpack(record.get(), 0, 0, stream).status, zelOk);
  ModelDecoder model(2);
  EXPECT_EQ(model.Unpack(0, 0, stream).status, zelOk);
  EXPECT_EQ(model.lengths()[1], (Lengths{2, 2}));
}

TEST(Bzip2HuffmanHostile, OverSubscribedLengths) {
  EXPECT_EQ(UnpackStatus(3, Describe({1, 1, 1})), zelErrBadData);
  EXPECT_EQ(UnpackStatus(3, Describe({1, 1, 20})), zelErrBadData);
  EXPECT_EQ(UnpackStatus(258, Describe(Lengths(258, 8))), zelErrBadData);
  EXPECT_EQ(UnpackStatus(258, Describe(Lengths(258, 1))), zelErrBadData);
  Lengths full(256, 8);
  EXPECT_EQ(UnpackStatus(256, Describe(full)), zelOk);
  full.push_back(20);
  EXPECT_EQ(UnpackStatus(257, Describe(full)), zelErrBadData);
}

TEST(Bzip2HuffmanHostile, OneShortCodeAnd257LongOnes) {
  // One bit, and 257 codes of 9 and 10 bits: every one of them decodes.
  Lengths lengths(258, 9);
  lengths[5] = 1;
  lengths[200] = 10;
  lengths[257] = 10;
  Symbols all(257);
  std::iota(all.begin(), all.end(), uint16_t{0});
  HuffmanContext context = {{0, 0, 0, 0, 0, 0}, {lengths, lengths}};
  Symbols source = all;
  source.push_back(257);
  BitString bits = ModelDescription(context);
  bits.Put(ModelCoded(context, source).bits);
  for (size_t piece : {1u, 1000u}) {
    const Decoded decoded = DecodeBesideModel(258, bits.ToBytes(3), piece, 1000);
    EXPECT_EQ(decoded.status, zelOk);
    EXPECT_EQ(decoded.symbols, all);
  }
}

TEST(Bzip2HuffmanHostile, CodesOf20Bits) {
  // Lengths 1, 2, 3, ... 19, 20, 20, once from the first symbol on and once to it.
  Lengths up(21);
  std::iota(up.begin(), up.end(), 1);
  up[20] = 20;
  for (const auto& [count, piece] : {std::pair{1000, 1}, {1000, 10}, {30000, 100000}}) {
    for (const Lengths& lengths : {up, Lengths(up.rbegin(), up.rend())}) {
      HuffmanContext context;
      context.lengths.assign(2, lengths);
      Random random(1);
      Symbols source;
      for (int i = 0; i < count; ++i) source.push_back(static_cast<uint16_t>(Uniform(random, 0, 19)));
      source.push_back(20);
      context.selectors.assign((source.size() + 49) / 50, 0);
      BitString bits = ModelDescription(context);
      bits.Put(ModelCoded(context, source).bits);
      const Decoded decoded = DecodeBesideModel(21, bits.ToBytes(3), static_cast<size_t>(piece), 40000);
      EXPECT_EQ(decoded.status, zelOk);
      EXPECT_TRUE(std::equal(decoded.symbols.begin(), decoded.symbols.end(), source.begin(), source.end() - 1));
    }
  }
}

TEST(Bzip2HuffmanHostile, IncompleteCodesDecodeToSymbolsOfTheAlphabet) {
  const Bytes ones(500, 0xFF), noise = RandomBytes(500, 1), more_noise = RandomBytes(60000, 1), more_ones(60000, 0xFF);
  for (const Lengths& lengths :
       {Lengths{1}, Lengths{20}, Lengths{2, 2}, Lengths{8, 8, 8}, Lengths{9, 9}, Lengths{1, 20}, Lengths{20, 20},
        Lengths(258, 20), Lengths(258, 9), Lengths(258, 10), Lengths(128, 8), Lengths{3, 9, 15, 20}}) {
    DecodeAnything(lengths, ones, 1000);
    DecodeAnything(lengths, noise, 1000);
    DecodeAnything(lengths, Bytes(500, 0), 1000);
    DecodeAnything(lengths, noise, 3);
    DecodeAnything(lengths, more_noise, 25000, 500);
    DecodeAnything(lengths, more_ones, 25000, 500);
  }
}

TEST(Bzip2HuffmanHostile, CodesThatAreThereDecodeInAnIncompleteCode) {
  Lengths lengths = {3, 9, 15, 20, 12, 9, 20};
  HuffmanContext context = {{0, 0, 0, 0}, {lengths, lengths}};
  Symbols source;
  for (int i = 0; i < 180; ++i) source.push_back(static_cast<uint16_t>(i % 6));
  source.push_back(6);
  BitString bits = ModelDescription(context);
  bits.Put(ModelCoded(context, source).bits);
  for (size_t piece : {1u, 100000u}) {
    const Decoded decoded = DecodeBesideModel(7, bits.ToBytes(3), piece, 1000);
    EXPECT_EQ(decoded.status, zelOk);
    EXPECT_TRUE(std::equal(decoded.symbols.begin(), decoded.symbols.end(), source.begin(), source.end() - 1));
  }
}

TEST(Bzip2HuffmanHostile, AGroupBeyondTheLastSelectorTakesItsTable) {
  // Selectors of table 0, and a last one of table 1, whose groups go on.
  for (const auto& [selectors, piece] : {std::pair{2u, 1u}, {2u, 50u}, {400u, 100000u}}) {
    HuffmanContext context = {std::vector<int>(selectors, 0), {{1, 2, 3, 3}, {3, 3, 2, 1}}};
    context.selectors.back() = 1;
    BitString bits = ModelDescription(context);
    const Symbols source = RandomBlock(4, 100 * selectors + 1000, 0, 1).symbols;
    context.selectors.resize(2 * selectors + 20, 1);
    bits.Put(ModelCoded(context, source).bits);
    const Decoded decoded = DecodeBesideModel(4, bits.ToBytes(3), piece, 50000);
    EXPECT_EQ(decoded.status, zelOk);
    EXPECT_TRUE(std::equal(decoded.symbols.begin(), decoded.symbols.end(), source.begin(), source.end() - 1));
  }
}

TEST(Bzip2HuffmanHostile, ABlockWithoutAnEndFillsEveryRoom) {
  const Bytes zeros(9000, 0);  // symbol 0 all along
  for (int selectors : {1, 400}) {
    for (size_t room : {1u, 49u, 50u, 51u, 1000u, 16384u, 16400u, 16401u, 16449u, 16450u, 16451u, 30000u}) {
      EXPECT_EQ(DecodeAnything({1, 2, 2}, zeros, room, selectors), Symbols(room, 0));
    }
  }
}

TEST(Bzip2HuffmanHostile, EveryBitTurnedGivesTheModelsStatus) {
  const Block block = RandomBlock(30, 300, 2, 1);
  const std::string whole = Encode(block).bits;
  for (size_t i = 0; i < whole.size(); ++i) {
    BitString bits = {whole};
    bits.bits[i] = bits.bits[i] == '0' ? '1' : '0';
    const Bytes stream = bits.ToBytes(3);
    // Codes of the model must be complete, or it would look for a code for ever.
    ModelDecoder model(30);
    bool complete = model.Unpack(0, 0, stream).status == zelOk;
    for (const Lengths& lengths : complete ? model.lengths() : std::vector<Lengths>()) {
      uint32_t filled = 0;
      for (int length : lengths) filled += 1u << (20 - length);
      complete &= filled == 1u << 20;
    }
    if (complete) {
      DecodeBesideModel(30, stream, 1000, 400);
    } else {
      const DecodeRecord record(1638350);
      ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(30, record.get()), zelOk);
      const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
      if (unpacked.status != zelOk) continue;
      const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(unpacked.consumed), stream.end());
      const CallResult decoded = DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, rest, 400);
      for (uint16_t symbol : decoded.symbols) ASSERT_LT(symbol, 30);
    }
    ASSERT_FALSE(HasFailure()) << "bit " << i;
  }
}

TEST(Bzip2HuffmanHostile, NoiseBehindAGoodHeaderLeavesNothing) {
  for (uint64_t seed = 1; seed <= 400; ++seed) {
    BitString bits = Head(2 + static_cast<int>(seed % 5), 1 + static_cast<int>(seed % 7));
    Bytes noise = seed % 2 != 0 ? RandomBytes(400, seed) : SmallAlphabet(400, 3, seed);
    bits.Put(BitsOf(noise.data(), noise.size()).bits);
    const Bytes stream = bits.ToBytes();
    const int alpha_size = seed % 3 == 0 ? 2 : static_cast<int>(1 + seed % 258);
    const DecodeRecord record(1638350, static_cast<uint8_t>(seed));
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(alpha_size, record.get()), zelOk);
    CallResult call = Unpack(record.get(), 0, 0, stream);
    if (call.status != zelOk) continue;
    const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(call.consumed), stream.end());
    call = DecodeSymbols(record.get(), call.code, call.code_bits, rest, 3000);
    for (uint16_t symbol : call.symbols) ASSERT_LT(symbol, alpha_size);
  }
}

}  // namespace
}  // namespace zeldc_test
