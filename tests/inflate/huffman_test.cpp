// Huffman blocks: what the codes stand for.

#include <limits.h>

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

TEST(InflateHuffman, FixedBlockOfTheEndAloneGivesNothing) {
  for (const Last last : {kNotLast, kLast}) {
    for (const bool announced : {false, true}) {
      const Bytes stream = StreamBuilder().Fixed(last).End().stream();
      const DecoderRecord record;
      const uint8_t* source = stream.data();
      int32_t size = 2, type = -1, room = 1;
      zelLZ77Pair pair;
      zelLZ77Pair* next = &pair;
      if (announced) {
        ASSERT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, record.get()), zelOk);
      }
      EXPECT_EQ(zelsDecodeLZ77FixedHuff_8u(&source, &size, &next, &room, 0, record.get()),
                last ? zelWarnStreamEnd : zelOk);
      EXPECT_EQ(room, 1);
      EXPECT_EQ(size, 0);
    }
  }
}

TEST(InflateHuffman, ByteDecodersReadTheirOwnHeaders) {
  StreamBuilder s;
  s.Fixed().Literals("fixed").End().Dynamic(MakeLengths(257, {{'d', 1}, {256, 1}}), {0}, kLast).Literals("dd").End();
  const Bytes stream = s.stream();
  const DecoderRecord record;
  const uint8_t* source = stream.data();
  int32_t size = static_cast<int32_t>(stream.size()), room = 20;
  uint8_t output[20];
  uint8_t* dst = output;
  EXPECT_EQ(zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get()), zelOk);
  EXPECT_EQ(zelsDecodeLZ77DynamicHuffFull_8u(&source, &size, &dst, &room, 0, record.get()), zelWarnStreamEnd);
  EXPECT_EQ(Bytes(output, dst), s.output());
  EXPECT_EQ(size, 0);
}

TEST(InflateHuffman, FixedLiterals) {
  StreamBuilder s;
  s.Fixed(kLast);
  for (int i = 0; i < 256; ++i) s.Literal(i);
  ExpectDecodes(s.End());
}

TEST(InflateHuffman, FixedLengths) {
  StreamBuilder s;
  s.Fixed(kLast).Literals("ab");
  for (int length = 3; length <= 258; ++length) s.Match(length, 1 + length % 2).Literal(length & 255);
  ExpectDecodes(s.End());
}

TEST(InflateHuffman, FixedDistancesAtTheEndsOfEachRange) {
  StreamBuilder s;
  s.Stored(RandomBytes(32768, 1)).Fixed(kLast);
  for (int distance = 1; distance <= 32768; ++distance) {
    const bool is_end = DistanceCode(distance).extra == 0 || distance == 32768 || DistanceCode(distance + 1).extra == 0;
    if (is_end) s.Match(4, distance).Literal(distance & 255);
  }
  ExpectDecodes(s.End());
}

TEST(InflateHuffman, Length285IsLength258WithoutExtraBits) {
  StreamBuilder s;
  s.Fixed(kLast).Literal('a').LitLenSymbol(285).DistanceSymbol(0).End();
  ExpectDecodes(s.stream(), Bytes(259, 'a'));
}

TEST(InflateHuffman, Length258MayAlsoBeWrittenWithSymbol284) {
  StreamBuilder s;
  s.Fixed(kLast).Literal('a').LitLenSymbol(284).Bits(31, 5).DistanceSymbol(0).End();
  ExpectDecodes(s.stream(), Bytes(259, 'a'));
}

TEST(InflateHuffman, DynamicLiteralsLengthsAndDistances) {
  StreamBuilder s;
  s.Stored(RandomBytes(32768, 2)).Dynamic(AllLitLens(), AllDistances(), kLast);
  for (int i = 0; i < 256; ++i) s.Literal(i);
  for (int length = 3; length <= 258; ++length) s.Match(length, 1 + length * 127).Literal(length & 255);
  for (int bit = 0; bit < 16; ++bit) s.Match(3, 1 << bit).Literal(bit);
  ExpectDecodes(s.End());
}

TEST(InflateHuffman, CodesOfEveryLengthUpTo15) {
  // Short codes for some, long ones for others; then the other way round.
  const std::vector<size_t> symbols = {'a', 'b', 'c', 256, 257, 258, 260, 264, 265, 270, 274, 278, 280, 283, 284, 285};
  const std::vector<size_t> distances = {0, 1, 2, 3, 5, 8, 11, 13, 16, 19, 21, 23, 25, 27, 28, 29};
  StreamBuilder s;
  s.Stored(RandomBytes(32768, 3));
  for (const bool reversed : {false, true}) {
    std::vector<size_t> l = symbols, d = distances;
    if (reversed) {
      std::reverse(l.begin(), l.end());
      std::reverse(d.begin(), d.end());
    }
    s.Dynamic(Staircase(286, l), Staircase(30, d));
    for (const int length : {258, 257, 200, 131, 90, 50, 35, 26, 12, 11, 10, 6, 4, 3}) {
      if (LengthCode(length).symbol == 284 || length == 258 || length == 3 || length == 4 || length == 6 ||
          length == 10) {
        for (const int distance :
             {1, 2, 3, 4, 7, 8, 20, 60, 120, 300, 1000, 1900, 3500, 7000, 16000, 20000, 30000, 32768}) {
          const int symbol = DistanceCode(distance).symbol;
          if (std::find(distances.begin(), distances.end(), static_cast<size_t>(symbol)) != distances.end()) {
            s.Match(length, distance).Literals("abc");
          }
        }
      }
    }
    s.End();
  }
  s.Fixed(kLast).End();
  ExpectDecodes(s);
}

TEST(InflateHuffman, HeadersOfTheLargestSize) {
  // All 19 code-length codes, 286 and 30 codes, no repeats: the header takes some 280 bytes.
  DynamicHeader header;
  const Lengths lit_len = AllLitLens();
  const Lengths distance = AllDistances();
  header.lit_len_codes = 286;
  header.distance_codes = 30;
  for (size_t i = 0; i < 19; ++i) header.code_length_lengths[i] = 7;
  header.code_length_lengths[9] = 1;
  header.code_length_lengths[5] = 2;
  header.code_length_lengths[4] = 3;
  // Completed by the other 16 with 7 bits each.
  for (const int length : lit_len) header.items.push_back({length});
  for (const int length : distance) header.items.push_back({length});
  StreamBuilder s;
  s.Fixed().Literals("shift").End().Dynamic(header, lit_len, distance, kLast).Literals("text text").Match(9, 5).End();
  ExpectDecodes(s);
}

TEST(InflateHuffman, RepeatsMayCrossFromLengthsToDistances) {
  // 256 has 1 bit, 257 to 285 have none, nor has any distance: one run of 18 covers both.
  DynamicHeader header;
  header.lit_len_codes = 286;
  header.distance_codes = 30;
  header.code_length_lengths = MakeLengths(19, {{1, 2}, {17, 2}, {18, 1}});
  header.items = {{18, 86}, {1}, {18, 138 - 11}, {18, 20 - 11}, {1}, {18, 59 - 11}};
  StreamBuilder s;
  s.Dynamic(header, MakeLengths(286, {{97, 1}, {256, 1}}), Lengths(30, 0), kLast).Literals("aaaa").End();
  ExpectDecodes(s);
  // The same for a run of 16: 280 to 285 and the first distances have 5 bits.
  Lengths lit_len = MakeLengths(286, {{'a', 1}, {'b', 3}, {256, 4}, {257, 5}, {258, 5}, {259, 6}, {260, 6}, {261, 5}});
  for (size_t i = 280; i < 286; ++i) lit_len[i] = 5;
  Lengths distance = Lengths(30, 5);
  distance[28] = distance[29] = 4;
  DynamicHeader described = DescribeLengths(lit_len, distance);
  StreamBuilder t;
  t.Dynamic(described, lit_len, distance, kLast).Literals("ab").Match(258, 2).End();
  ExpectDecodes(t);
}

TEST(InflateHuffman, EmptyAndTinyAlphabetsAreFine) {
  StreamBuilder s;
  // Only the block's end, with one bit; no distance code, or one of one bit, or two.
  s.Dynamic(MakeLengths(257, {{256, 1}}), {0}).End();
  s.Dynamic(MakeLengths(257, {{'x', 1}, {256, 1}}), {0}).Literals("xxx").End();
  s.Dynamic(MakeLengths(258, {{'x', 1}, {256, 2}, {257, 2}}), {1}).Literal('x').Match(3, 1).End();
  s.Dynamic(MakeLengths(258, {{'x', 1}, {256, 2}, {257, 2}}), {1, 1}).Literal('x').Match(3, 1).Match(3, 2).End();
  s.Dynamic(MakeLengths(258, {{'x', 1}, {256, 2}, {257, 2}}), {0, 0, 1}, kLast).Match(3, 3).End();
  ExpectDecodes(s);
}

TEST(InflateHuffman, EveryValueOfFlushButOneAndTwoDecodes) {
  const Bytes stream = StreamBuilder().Fixed(kLast).Literals("abc").End().stream();
  for (const zelLZ77FlushMode flush : {0, 3, 4, -1, INT_MAX, INT_MIN}) {
    const DecoderRecord record;
    const uint8_t* source = stream.data();
    int32_t size = static_cast<int32_t>(stream.size()), room = 10;
    uint8_t output[10];
    uint8_t* dst = output;
    EXPECT_EQ(zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, flush, record.get()), zelWarnStreamEnd);
    EXPECT_EQ(Bytes(output, dst), ToBytes("abc"));
  }
}

TEST(InflateHuffman, DistancesThroughTheRingsEnd) {
  // Matches at the farthest and near distances while the ring's position passes its end several times.
  StreamBuilder s;
  s.Stored(RandomBytes(32700, 4)).Fixed(kLast);
  for (int i = 0; i < 600; ++i) {
    const int farthest = static_cast<int>(std::min<size_t>(s.output().size(), 32768));
    s.Match(3 + i * 7 % 256, i % 3 == 0 ? farthest : i % 3 == 1 ? 1 + i % 300 : farthest - i).Literal(i & 255);
  }
  ExpectDecodes(s.End());
}

TEST(InflateHuffman, OverlappingMatchesAtEveryShortDistance) {
  for (int distance = 1; distance <= 70; ++distance) {
    StreamBuilder s;
    s.Stored(RandomBytes(70, 5)).Fixed(kLast);
    for (int length = 3; length <= 258; length += 5) s.Match(length, distance).Literal(length & 255);
    s.End();
    for (const Path path : {Path::kBytes, Path::kPairs}) {
      DecodeOptions options;
      options.path = path;
      ASSERT_EQ(Decode(s.stream(), options).data, s.output()) << distance;
      options.room = 23;
      ASSERT_EQ(Decode(s.stream(), options).data, s.output()) << distance;
    }
  }
}

}  // namespace
}  // namespace zeldc_test
