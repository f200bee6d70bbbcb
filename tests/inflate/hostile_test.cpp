// Hostile streams, one by one.

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

// 'a' has 1 bit, the block's end and length 3 have 2.
Lengths SmallLitLens() { return MakeLengths(258, {{'a', 1}, {256, 2}, {257, 2}}); }

// All 288 symbols: literals with 9 bits, the others with 6.
Lengths AllSymbols() {
  Lengths lengths(288, 9);
  for (size_t i = 256; i < 288; ++i) lengths[i] = 6;
  return lengths;
}

// Whatever the stream holds: one outcome for all splits and both paths, and one that the contract knows.
void ExpectOneOutcome(const StreamBuilder& s) {
  DecodeOptions options;
  options.max_output = 100000;
  const zelStatus status = DecodeOnBothPaths(s.stream(), options).status;
  EXPECT_TRUE(status == zelErrSize || status == zelErr || status == zelWarnSrcShort || status == zelWarnStreamEnd ||
              status == zelWarnDstFull)
      << status;
}

TEST(InflateHostile, ReservedBlockType) {
  for (const bool last : {false, true}) {
    StreamBuilder first;
    first.Bits(last, 1).Bits(3, 2).Raw(RandomBytes(20, 1));
    EXPECT_EQ(DecodeOnBothPaths(first.stream()).status, zelErr);
    StreamBuilder later;
    later.Fixed().Literals("abc").End().Bits(last, 1).Bits(3, 2).Raw(RandomBytes(20, 2));
    const Decoded got = DecodeOnBothPaths(later.stream());
    EXPECT_EQ(got.status, zelErr);
    EXPECT_EQ(got.data, ToBytes("abc"));
  }
}

TEST(InflateHostile, StoredLengthThatDoesNotMatchItsComplement) {
  for (const uint32_t length : {0u, 1u, 3u, 0x8000u, 0xFFFFu}) {
    for (int bit = 0; bit < 32; ++bit) {
      StreamBuilder s;
      s.Fixed().Literals("ab").End();
      s.Bits(1, 3).Align().Bits((length | ~length << 16) ^ 1u << bit, 32).Bits(0x636261, 24);
      // What is behind is no output.
      EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelErrSize);
      EXPECT_EQ(DecodeOnBothPaths(s.stream()).data, ToBytes("ab"));
    }
  }
}

TEST(InflateHostile, StoredLengthEqualToItsComplementField) {
  StreamBuilder s;
  s.Bits(1, 3).Align().Bits(0x00050005, 32).Raw(ToBytes("hello"));
  ExpectMalformed(s);
}

TEST(InflateHostile, FixedSymbols286And287) {
  for (const int symbol : {286, 287}) {
    StreamBuilder s;
    s.Fixed(kLast).Literals("abc").LitLenSymbol(symbol).Bits(0, 30);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, FixedDistances30And31) {
  for (const int symbol : {30, 31}) {
    StreamBuilder s;
    s.Fixed(kLast).Literals("abc").LitLenSymbol(257).DistanceSymbol(symbol).Bits(0, 30);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, DynamicSymbols286And287) {
  // HLIT for 288 codes, which zlib rejects unread: the two may have codes as long as they are not used.
  const Lengths lit_len = MakeLengths(288, {{'a', 1}, {256, 2}, {286, 3}, {287, 3}});
  StreamBuilder unused;
  unused.Dynamic(lit_len, {1}, kLast).Literals("aaa").End();
  ExpectDecodes(unused);
  for (const int symbol : {286, 287}) {
    StreamBuilder s;
    s.Dynamic(lit_len, {1}, kLast).Literals("aaa").LitLenSymbol(symbol).Bits(0, 30);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, DynamicDistances30And31) {
  // The same for HDIST.
  const Lengths distance = MakeLengths(32, {{0, 1}, {30, 2}, {31, 2}});
  StreamBuilder unused;
  unused.Dynamic(SmallLitLens(), distance, kLast).Literals("aa").Match(3, 1).End();
  ExpectDecodes(unused);
  for (const int symbol : {30, 31}) {
    StreamBuilder s;
    s.Dynamic(SmallLitLens(), distance, kLast).Literals("aa").LitLenSymbol(257).DistanceSymbol(symbol).Bits(0, 30);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, LongCodesForSymbolsThatMayNotOccur) {
  // The same four where they stand in second-level tables.
  Lengths lit_len(288, 0), distance(32, 0);
  for (size_t i = 0; i < 14; ++i) lit_len['a' + i] = distance[i] = static_cast<int>(i) + 1;
  lit_len[256] = 15;
  lit_len[287] = 15;
  distance[30] = distance[31] = 15;
  StreamBuilder s;
  s.Dynamic(lit_len, distance, kLast).Literals("abn").LitLenSymbol(287).Bits(0, 30);
  ExpectMalformed(s);
  lit_len['n'] = 0;
  lit_len[257] = 14;
  StreamBuilder t;
  t.Dynamic(lit_len, distance, kLast).Literals("abc").LitLenSymbol(257).DistanceSymbol(31).Bits(0, 30);
  ExpectMalformed(t);
}

TEST(InflateHostile, AllCountsAtTheirLargest) {
  StreamBuilder s;
  s.Dynamic(AllSymbols(), Lengths(32, 5), kLast).Literals("all of them").Match(258, 11).Match(3, 200).End();
  ExpectDecodes(s);
}

TEST(InflateHostile, IncompleteLitLenCode) {
  // The code 11 is nobody's.
  const Lengths lit_len = MakeLengths(258, {{'a', 2}, {256, 2}, {257, 2}});
  StreamBuilder unused;
  unused.Dynamic(lit_len, {1}, kLast).Literals("aaa").Match(3, 1).End();
  ExpectDecodes(unused);
  StreamBuilder s;
  s.Dynamic(lit_len, {1}, kLast).Literals("aaa").Match(3, 1).Code(3, 2).Bits(0, 30);
  ExpectMalformed(s);
}

TEST(InflateHostile, IncompleteLitLenCodeOfLongCodes) {
  // One short code, one of 15 bits; all that lies between is nobody's.
  const Lengths lit_len = MakeLengths(257, {{'a', 1}, {256, 15}});
  StreamBuilder unused;
  unused.Dynamic(lit_len, {0}, kLast).Literals("aaa").End();
  ExpectDecodes(unused);
  for (const uint32_t code : {0x4001u, 0x4002u, 0x4400u, 0x6000u, 0x7000u, 0x7FFEu, 0x7FFFu}) {
    StreamBuilder s;
    s.Dynamic(lit_len, {0}, kLast).Literals("aaa").Code(code, 15).Bits(0, 30);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, LitLenCodeOfTheBlocksEndAlone) {
  StreamBuilder unused;
  unused.Dynamic(MakeLengths(257, {{256, 1}}), {0}, kLast).End();
  ExpectDecodes(unused);
  StreamBuilder s;
  s.Dynamic(MakeLengths(257, {{256, 1}}), {0}, kLast).Code(1, 1).Bits(0, 30);
  ExpectMalformed(s);
}

TEST(InflateHostile, OverSubscribedLitLenCode) {
  // No code of such a set has a meaning.
  for (const Lengths& lit_len :
       {MakeLengths(258, {{'a', 1}, {256, 1}, {257, 1}}), MakeLengths(257, {{'a', 1}, {'b', 1}, {256, 15}}),
        Lengths(286, 1), Lengths(286, 8), Lengths(288, 15)}) {
    StreamBuilder s;
    s.Fixed().Literals("abc").End().Dynamic(lit_len, {1}, kLast).Bits(0x12345678, 32).Bits(0x87654321, 32);
    if (lit_len == Lengths(288, 15)) {
      ExpectOneOutcome(s);  // this one is incomplete
    } else {
      ExpectMalformed(s);
    }
  }
}

TEST(InflateHostile, OverSubscribedDistanceCode) {
  for (const Lengths& distance : {Lengths{1, 1, 1}, Lengths(30, 1), Lengths(30, 4), Lengths{1, 1, 15}}) {
    StreamBuilder s;
    s.Dynamic(SmallLitLens(), distance, kLast).Literals("aaa").LitLenSymbol(257).Bits(0x5A5A5A5A, 32);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, OneDistanceCodeOfOneBit) {
  StreamBuilder unused;
  unused.Dynamic(SmallLitLens(), {1}, kLast).Literals("aaa").Match(3, 1).End();
  ExpectDecodes(unused);
  StreamBuilder s;
  s.Dynamic(SmallLitLens(), {1}, kLast).Literals("aaa").LitLenSymbol(257).Code(1, 1).Bits(0, 30);
  ExpectMalformed(s);
}

TEST(InflateHostile, IncompleteDistanceCode) {
  StreamBuilder unused;
  unused.Dynamic(SmallLitLens(), {2, 2, 2}, kLast).Literals("aaa").Match(3, 2).Match(3, 3).End();
  ExpectDecodes(unused);
  StreamBuilder s;
  s.Dynamic(SmallLitLens(), {2, 2, 2}, kLast).Literals("aaa").Match(3, 3).LitLenSymbol(257).Code(3, 2).Bits(0, 30);
  ExpectMalformed(s);
}

TEST(InflateHostile, EmptyDistanceCode) {
  StreamBuilder unused;
  unused.Dynamic(SmallLitLens(), {0}, kLast).Literals("aaa").End();
  ExpectDecodes(unused);
  for (const uint32_t bits : {0u, 0xFFFFFFFFu}) {
    StreamBuilder s;
    s.Dynamic(SmallLitLens(), {0}, kLast).Literals("aaa").LitLenSymbol(257).Bits(bits, 32);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, AllLengthsZero) {
  for (const uint32_t bits : {0u, 0xFFFFFFFFu}) {
    StreamBuilder s;
    s.Stored(ToBytes("abc")).Dynamic(Lengths(257, 0), Lengths(1, 0), kLast).Bits(bits, 32);
    ExpectMalformed(s);
  }
}

TEST(InflateHostile, EndOfBlockMissing) {
  // The end has no code: symbols follow until the input ends.
  StreamBuilder s;
  s.Dynamic(MakeLengths(257, {{'a', 1}, {'b', 1}}), {0}, kLast).Literals("ab").Literals(std::string(80, 'b'));
  const Decoded got = DecodeOnBothPaths(s.stream());
  EXPECT_EQ(got.status, zelWarnSrcShort);
  // Bits that fill the last byte may be literals, too.
  ASSERT_GE(got.data.size(), s.output().size());
  EXPECT_EQ(Bytes(got.data.begin(), got.data.begin() + static_cast<ptrdiff_t>(s.output().size())), s.output());
}

// A dynamic header whose code-length code knows 0, 1, 2, 16, 17 and 18.
DynamicHeader SmallHeader() {
  DynamicHeader header;
  header.code_length_lengths = MakeLengths(19, {{0, 3}, {1, 3}, {2, 3}, {16, 3}, {17, 2}, {18, 2}});
  return header;
}

TEST(InflateHostile, LeadingRepeatRepeatsZero) {
  for (const uint32_t extra : {0u, 3u}) {
    DynamicHeader header = SmallHeader();
    const uint32_t zeros = 97 - (3 + extra);
    header.items = {{16, extra}, {18, zeros - 11}, {1}, {18, 138 - 11}, {18, 20 - 11}, {1}, {0}};
    StreamBuilder s;
    // The lengths of the block before are not what is repeated.
    s.Dynamic(AllSymbols(), Lengths(32, 5)).Literals("before").End();
    s.Dynamic(header, MakeLengths(257, {{'a', 1}, {256, 1}}), {0}, kLast).Literals("aaa").End();
    ExpectDecodes(s);
  }
}

TEST(InflateHostile, RepeatPastTheLastLengthStopsThere) {
  // 258 lengths, the last of which is a distance of 0 or of 2 bits.
  for (const LengthItem& item : {LengthItem{18, 127}, LengthItem{17, 7}, LengthItem{18, 0}}) {
    DynamicHeader header = SmallHeader();
    header.items = {{18, 97 - 11}, {1}, {18, 138 - 11}, {18, 20 - 11}, {1}, item};
    StreamBuilder s;
    s.Dynamic(header, MakeLengths(257, {{'a', 1}, {256, 1}}), {0}, kLast).Literals("aaa").End();
    ExpectDecodes(s);
  }
  DynamicHeader header = SmallHeader();
  header.lit_len_codes = 258;
  header.distance_codes = 2;
  header.items = {{18, 97 - 11}, {1}, {18, 138 - 11}, {18, 20 - 11}, {2}, {16, 3}};
  StreamBuilder s;
  s.Dynamic(header, MakeLengths(258, {{'a', 1}, {256, 2}, {257, 2}}), {2, 2}, kLast).Literals("aaa").Match(3, 2).End();
  ExpectDecodes(s);
}

TEST(InflateHostile, RepeatPastTheLargestArrayStopsThere) {
  // 288 + 32 lengths, and up to 137 more.
  for (const LengthItem& item : {LengthItem{18, 127}, LengthItem{16, 3}, LengthItem{17, 7}}) {
    DynamicHeader header = SmallHeader();
    header.lit_len_codes = 288;
    header.distance_codes = 32;
    header.items = {{18, 97 - 11}, {1}, {18, 138 - 11}, {18, 20 - 11}, {1}, {18, 61 - 11}, {0}, item};
    Lengths distance(32, 0);
    StreamBuilder s;
    s.Dynamic(header, MakeLengths(288, {{'a', 1}, {256, 1}}), distance, kLast).Literals("aaa").End();
    ExpectDecodes(s);
  }
}

TEST(InflateHostile, RepeatAtTheFirstDistanceRepeatsTheLastLength) {
  // The lengths are one row: the first item of the distances repeats what 257 has.
  DynamicHeader header = SmallHeader();
  header.lit_len_codes = 258;
  header.distance_codes = 4;
  header.items = {{18, 97 - 11}, {1}, {18, 138 - 11}, {18, 20 - 11}, {2}, {2}, {16, 0}, {2}};
  StreamBuilder s;
  s.Dynamic(header, SmallLitLens(), {2, 2, 2, 2}, kLast).Literals("aaaa").Match(3, 2).Match(3, 4).End();
  ExpectDecodes(s);
}

TEST(InflateHostile, CodeLengthCodeThatIsIncomplete) {
  DynamicHeader header;
  header.code_length_lengths = MakeLengths(19, {{0, 7}, {1, 7}, {18, 2}});
  header.items = {{18, 97 - 11}, {1}, {18, 138 - 11}, {18, 20 - 11}, {1}, {0}};
  StreamBuilder unused;
  unused.Dynamic(header, MakeLengths(257, {{'a', 1}, {256, 1}}), {0}, kLast).Literals("aaa").End();
  ExpectDecodes(unused);
  for (uint32_t pattern = 0; pattern < 128; pattern += 3) {
    header.items = {{18, 0}};
    StreamBuilder s;
    s.Dynamic(header, {}, {}, kLast);
    for (int i = 0; i < 100; ++i) s.Bits(pattern, 7);
    ExpectOneOutcome(s);
  }
}

TEST(InflateHostile, CodeLengthCodeWithoutACode) {
  for (const uint32_t bits : {0u, 0xFFFFFFFFu, 0x5A96C3E1u}) {
    DynamicHeader header;
    StreamBuilder s;
    s.Dynamic(header, {}, {}, kLast);
    for (int i = 0; i < 500; ++i) s.Bits(bits, 32);
    ExpectOneOutcome(s);
  }
}

TEST(InflateHostile, CodeLengthCodeThatIsOverSubscribed) {
  for (const int length : {1, 2, 3, 4}) {
    for (const uint32_t bits : {0u, 0xFFFFFFFFu, 0x5A96C3E1u}) {
      DynamicHeader header;
      header.code_length_lengths = Lengths(19, length);
      header.lit_len_codes = 288;
      header.distance_codes = 32;
      StreamBuilder s;
      s.Dynamic(header, {}, {}, kLast);
      for (int i = 0; i < 100; ++i) s.Bits(bits, 32);
      ExpectOneOutcome(s);
    }
  }
}

TEST(InflateHostile, DistanceBeforeTheFirstByte) {
  for (const int distance : {1, 2, 3, 4, 100, 257, 32767, 32768}) {
    for (const int length : {3, 10, 258}) {
      StreamBuilder s;
      s.Fixed(kLast).BadMatch(length, distance).End();
      ExpectMalformed(s);
    }
  }
}

TEST(InflateHostile, DistanceOneBeyondTheHistory) {
  // After n bytes the distance n is the last that is valid.
  for (const size_t n : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 255, 256, 257, 258, 259, 1000, 4096}) {
    for (const int length : {3, 40, 258}) {
      StreamBuilder literals;
      literals.Fixed(kLast);
      for (const uint8_t byte : RandomBytes(n, n)) literals.Literal(byte);
      StreamBuilder good = literals, bad = literals;
      const int distance = static_cast<int>(n);
      ExpectDecodes(good.Match(length, distance).End());
      ExpectMalformed(bad.BadMatch(length, distance + 1).End());
      if (HasFailure()) return;
    }
  }
}

TEST(InflateHostile, DistanceOneBeyondTheHistoryOfEarlierBlocks) {
  for (const size_t n : {1, 100, 20000, 32000, 32767}) {
    StreamBuilder start;
    start.Stored(RandomBytes(n, n)).Fixed().End();
    StreamBuilder good = start, bad = start;
    good.Fixed(kLast).Match(258, static_cast<int>(n)).End();
    ExpectDecodes(good);
    bad.Fixed(kLast).BadMatch(258, static_cast<int>(n) + 1).End();
    ExpectMalformed(bad);
  }
}

TEST(InflateHostile, FarthestDistanceOnceTheWindowIsFull) {
  StreamBuilder bad;
  bad.Stored(RandomBytes(32764, 1)).Fixed(kLast).Match(3, 5).BadMatch(3, 32768);
  ExpectMalformed(bad);
  StreamBuilder good;
  good.Stored(RandomBytes(32764, 1)).Fixed(kLast).Match(4, 5).Match(258, 32768).Match(258, 32768).End();
  ExpectDecodes(good);
}

TEST(InflateHostile, NoDistanceIsTooFarOnceTheRingHasTurned) {
  StreamBuilder s;
  s.Stored(RandomBytes(32768, 2)).Fixed(kLast);
  for (int i = 0; i < 300; ++i) s.Match(100 + i % 150, 32768 - i % 7);
  ExpectDecodes(s.End());
}

TEST(InflateHostile, WhatComesBeforeABadSymbolIsGiven) {
  // A bad distance right behind a match that the room may cut.
  StreamBuilder s;
  s.Fixed(kLast).Literals("abc").Match(258, 3).Match(258, 261).Literals("xyz").BadMatch(4, 32768).Literals("no");
  StreamBuilder before;
  before.Fixed().Literals("abc").Match(258, 3).Match(258, 261).Literals("xyz");
  const Decoded got = DecodeOnBothPaths(s.stream());
  EXPECT_EQ(got.status, zelErrSize);
  EXPECT_EQ(got.data, before.output());
}

TEST(InflateHostile, ChainOfEmptyDynamicBlocks) {
  // Nothing but headers: time must follow the input.
  StreamBuilder s;
  const DynamicHeader header = DescribeLengths(MakeLengths(257, {{256, 1}}), {0});
  for (int i = 0; i < 5000; ++i) s.Dynamic(header, MakeLengths(257, {{256, 1}}), {0}).End();
  s.Fixed(kLast).Literals("done").End();
  ExpectDecodes(s);
}

TEST(InflateHostile, ChainOfEmptyDynamicBlocksWithTheLargestTables) {
  Lengths lit_len(286, 0), distance(30, 15);
  for (size_t i = 0; i < 15; ++i) lit_len[i] = static_cast<int>(i) + 1;
  lit_len[256] = 15;
  for (size_t i = 0; i < 14; ++i) distance[i] = static_cast<int>(i) + 1;
  for (size_t i = 16; i < 30; ++i) distance[i] = 0;
  const DynamicHeader header = DescribeLengths(lit_len, distance);
  StreamBuilder s;
  for (int i = 0; i < 2000; ++i) s.Dynamic(header, lit_len, distance).End();
  s.Fixed(kLast).Literals("done").End();
  ExpectDecodes(s);
}

TEST(InflateHostile, ChainOfEmptyStoredAndFixedBlocks) {
  StreamBuilder s;
  for (int i = 0; i < 3000; ++i) s.Stored({}).Fixed().End();
  s.Fixed(kLast).Literals("done").End();
  ExpectDecodes(s);
}

TEST(InflateHostile, ADecoderForAnotherTypeThanAnnouncedStaysInBounds) {
  // Old memory stands where a dynamic block's tables will be.
  for (const uint8_t fill : Bytes{0x00, 0xFF, 0x5A}) {
    for (uint8_t header = 0; header < 6; ++header) {
      const DecoderRecord record(fill);
      Bytes stream = RandomBytes(200, header);
      stream[0] = static_cast<uint8_t>((stream[0] & 0xF8) | header);
      const GuardedBuffer input(stream), output(500);
      const uint8_t* source = input.data();
      uint8_t* dst = output.data();
      int32_t size = 200, room = 500, type = -1;
      ASSERT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, record.get()), zelOk);
      const zelStatus status = type == zelLZ77HuffDynamic
                                   ? zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get())
                                   : zelsDecodeLZ77DynamicHuffFull_8u(&source, &size, &dst, &room, 0, record.get());
      EXPECT_TRUE(status == zelErrSize || status == zelErr || status == zelOk || status == zelWarnStreamEnd ||
                  status == zelWarnDstFull || status == zelWarnSrcShort)
          << status;
    }
  }
}

TEST(InflateHostile, OutputStopsAtTheRoomWhateverTheStreamWants) {
  // A small stream of long matches makes no more than there is room for.
  StreamBuilder s;
  s.Fixed(kLast).Literal(0);
  for (int i = 0; i < 3000; ++i) s.Match(258, 1);
  s.End();
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions options;
    options.path = path;
    options.max_output = 5000;
    const Decoded got = Decode(s.stream(), options);
    EXPECT_EQ(got.status, zelWarnDstFull);
    EXPECT_EQ(got.data, Bytes(5000, 0));
  }
}

}  // namespace
}  // namespace zeldc_test
