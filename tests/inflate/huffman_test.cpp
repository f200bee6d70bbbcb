// Huffman blocks: what the codes stand for, and where calls stop.

#include <limits.h>

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

// Complete codes whose lengths are 1, 2, ..., 15, 15 for the 16 given symbols.
Lengths Staircase(size_t count, const std::vector<size_t>& symbols) {
  Lengths lengths(count, 0);
  for (size_t i = 0; i < 16; ++i) lengths.at(symbols.at(i)) = i < 15 ? static_cast<int>(i) + 1 : 15;
  return lengths;
}

// 256 literals with 9 bits, 14 symbols with 5 and 16 with 8: all 286 symbols, complete.
Lengths AllLitLens() {
  Lengths lengths(286, 9);
  for (size_t i = 0; i < 30; ++i) lengths[256 + i] = i < 14 ? 5 : 8;
  return lengths;
}

// 2 distances with 4 bits and 28 with 5.
Lengths AllDistances() {
  Lengths lengths(30, 5);
  lengths[0] = lengths[1] = 4;
  return lengths;
}

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

// A stream whose symbols end at all bits of a byte, with short and long codes, and with matches.
StreamBuilder Varied() {
  StreamBuilder s;
  s.Fixed().Literals("abcdefgh").Match(40, 8).Literal(200).Match(258, 3).Match(17, 30).End();
  s.Dynamic(Staircase(286, {'a', 257, 'b', 285, 256, 'c', 270, 'd', 'e', 'f', 'g', 'h', 280, 284, 'i', 'j'}),
            Staircase(30, {0, 4, 9, 1, 14, 2, 16, 3, 5, 6, 7, 8, 10, 11, 12, 13}));
  s.Literals("abcdefghij").Match(258, 1).Match(3, 300).Match(25, 180).Match(240, 5).Literals("jihgfedcba");
  s.Match(116, 40).Match(3, 7).End();
  s.Fixed(kLast).Match(5, 9).Literals("end").End();
  return s;
}

// The marks of Huffman symbols that give output.
std::vector<StreamBuilder::Mark> SymbolMarks(const StreamBuilder& s) {
  std::vector<StreamBuilder::Mark> marks;
  for (const auto& mark : s.marks()) {
    if (!mark.ends_block) marks.push_back(mark);
  }
  return marks;
}

// The number of bytes that hold the bits, and the block's end if it is all that follows.
size_t BytesUpTo(const StreamBuilder& s, size_t output, bool by_pairs) {
  size_t bits = 0;
  for (const auto& mark : s.marks()) {
    if ((by_pairs ? mark.pairs : mark.output) <= output) bits = mark.bits;
  }
  return (bits + 7) / 8;
}

TEST(InflateHuffman, NoMoreInputIsTakenThanPairsNeed) {
  const StreamBuilder s = Varied();
  for (size_t limit = 1; limit <= s.pairs().size(); ++limit) {
    // Pairs in calls of one each, of which the block ends are left out: so the room is full each time.
    const DecoderRecord record;
    const Bytes stream = s.stream();
    const GuardedBuffer pairs(limit * sizeof(zelLZ77Pair));
    const uint8_t* source = stream.data();
    int32_t size = static_cast<int32_t>(stream.size()), room = static_cast<int32_t>(limit);
    zelLZ77Pair* next = reinterpret_cast<zelLZ77Pair*>(pairs.data());
    while (room > 0) {
      zelStatus status = zelsDecodeLZ77FixedHuff_8u(&source, &size, &next, &room, 0, record.get());
      if (status == zelErr) status = zelsDecodeLZ77DynamicHuff_8u(&source, &size, &next, &room, 0, record.get());
      ASSERT_TRUE(status == zelOk || status == zelWarnDstFull || status == zelWarnStreamEnd) << status;
      if (status == zelWarnStreamEnd) break;
    }
    EXPECT_EQ(static_cast<size_t>(source - stream.data()), BytesUpTo(s, limit, true)) << limit;
  }
}

TEST(InflateHuffman, NoMoreInputIsTakenThanBytesNeed) {
  const StreamBuilder s = Varied();
  const Bytes stream = s.stream();
  for (const auto& mark : SymbolMarks(s)) {
    const DecoderRecord record;
    const GuardedBuffer output(mark.output);
    const uint8_t* source = stream.data();
    int32_t size = static_cast<int32_t>(stream.size()), room = static_cast<int32_t>(mark.output);
    uint8_t* dst = output.data();
    while (room > 0) {
      zelStatus status = zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get());
      if (status == zelErr) status = zelsDecodeLZ77DynamicHuffFull_8u(&source, &size, &dst, &room, 0, record.get());
      ASSERT_TRUE(status == zelOk || status == zelWarnDstFull || status == zelWarnStreamEnd) << status;
    }
    EXPECT_EQ(static_cast<size_t>(source - stream.data()), BytesUpTo(s, mark.output, false)) << mark.output;
    EXPECT_TRUE(std::equal(output.data(), dst, s.output().begin()));
  }
}

TEST(InflateHuffman, ABlocksEndIsTakenWhenTheRoomIsExactlyFull) {
  for (const Last last : {kNotLast, kLast}) {
    for (int shift = 0; shift < 8; ++shift) {
      StreamBuilder s;
      for (int i = 0; i < shift; ++i) s.Fixed().Literal(144).End();
      s.Fixed(last).Literals("ab").Match(10, 2).End();
      const Bytes stream = s.stream();
      const Bytes expected = s.output();
      const DecoderRecord byte_record, pair_record;
      const GuardedBuffer output(expected.size());
      const uint8_t* source = stream.data();
      int32_t size = static_cast<int32_t>(stream.size()), room = static_cast<int32_t>(expected.size());
      uint8_t* dst = output.data();
      zelStatus status = zelOk;
      for (int i = 0; i <= shift; ++i) {
        ASSERT_EQ(status, zelOk);
        status = zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, byte_record.get());
      }
      EXPECT_EQ(status, last ? zelWarnStreamEnd : zelOk);
      EXPECT_EQ(room, 0);
      EXPECT_EQ(size, 0);

      const GuardedBuffer pairs(s.pairs().size() * sizeof(zelLZ77Pair));
      source = stream.data();
      size = static_cast<int32_t>(stream.size());
      room = static_cast<int32_t>(s.pairs().size());
      zelLZ77Pair* next = reinterpret_cast<zelLZ77Pair*>(pairs.data());
      status = zelOk;
      for (int i = 0; i <= shift; ++i) {
        ASSERT_EQ(status, zelOk);
        status = zelsDecodeLZ77FixedHuff_8u(&source, &size, &next, &room, 0, pair_record.get());
      }
      EXPECT_EQ(status, last ? zelWarnStreamEnd : zelOk);
      EXPECT_EQ(room, 0);
      EXPECT_EQ(size, 0);
    }
  }
}

TEST(InflateHuffman, ASymbolThatIsNoBlocksEndStaysWhenTheRoomIsFull) {
  StreamBuilder s;
  s.Fixed(kLast).Literals("ab").Literal('c').End();
  const Bytes stream = s.stream();
  const DecoderRecord record;
  const GuardedBuffer output(2), rest(1);
  const uint8_t* source = stream.data();
  int32_t size = static_cast<int32_t>(stream.size()), room = 2;
  uint8_t* dst = output.data();
  EXPECT_EQ(zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get()), zelWarnDstFull);
  dst = rest.data();
  room = 1;
  EXPECT_EQ(zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get()), zelWarnStreamEnd);
  EXPECT_EQ(*rest.data(), 'c');
}

TEST(InflateHuffman, SymbolsInTheBitBufferAreDecodedWithoutInput) {
  // One bit a literal: of a byte's literals, all but the first come without input.
  StreamBuilder s;
  s.Dynamic(MakeLengths(257, {{'a', 1}, {256, 1}}), {0}).Literals(std::string(64, 'a')).End();
  const Bytes stream = s.stream();
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    const DecoderRecord record;
    const uint8_t* source = stream.data();
    int32_t size = static_cast<int32_t>(stream.size());
    int without_input = 0;
    for (int i = 0; i < 64; ++i) {
      // The bit before the current literal tells whether the byte has been taken.
      const size_t bit = s.marks()[static_cast<size_t>(i)].bits - 1;
      int32_t given = bit % 8 == 0 || i == 0 ? size : 0;
      without_input += given == 0;
      const int32_t all = given;
      int32_t room = 1;
      zelStatus status = zelErr;
      if (path == Path::kBytes) {
        uint8_t byte = 0;
        uint8_t* dst = &byte;
        status = zelsDecodeLZ77DynamicHuffFull_8u(&source, &given, &dst, &room, 0, record.get());
        EXPECT_EQ(byte, 'a');
      } else {
        zelLZ77Pair pair = {0, 0};
        zelLZ77Pair* next = &pair;
        status = zelsDecodeLZ77DynamicHuff_8u(&source, &given, &next, &room, 0, record.get());
        EXPECT_EQ(pair.length, 'a');
      }
      EXPECT_EQ(room, 0) << i;
      // The end may have come with the last literal.
      EXPECT_TRUE(status == zelWarnDstFull || status == zelWarnSrcShort || (i == 63 && status == zelOk)) << status;
      size -= all - given;
    }
    EXPECT_GE(without_input, 50);
  }
}

TEST(InflateHuffman, AMatchThatTheRoomCutsIsFinishedWithoutInput) {
  StreamBuilder s;
  s.Fixed(kLast).Literals("abc").Match(258, 3).End();
  const Bytes stream = s.stream();
  for (size_t room_size = 1; room_size <= 262; ++room_size) {
    const DecoderRecord record;
    const uint8_t* source = stream.data();
    int32_t size = static_cast<int32_t>(stream.size());
    Bytes got;
    zelStatus status = zelWarnDstFull;
    for (int calls = 0; status == zelWarnDstFull; ++calls) {
      const GuardedBuffer output(room_size);
      uint8_t* dst = output.data();
      int32_t room = static_cast<int32_t>(room_size);
      status = zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get());
      got.insert(got.end(), output.data(), dst);
      // The match and the end behind it are all that is left once it has begun.
      EXPECT_TRUE(got.size() <= 3 || got.size() >= 261 || size <= 1);
      ASSERT_LT(calls, 300);
    }
    EXPECT_EQ(status, zelWarnStreamEnd);
    EXPECT_EQ(got, s.output()) << room_size;
  }
}

// Decodes all of the input, as far as it goes, in one call a block.
Decoded DecodeWhole(Path path, const Bytes& stream) {
  DecodeOptions options;
  options.path = path;
  return Decode(stream, options);
}

TEST(InflateHuffman, TruncatedAtEveryBitGivesEverySymbolThatIsComplete) {
  // Blocks of 19 bits before move the stream through all places of a byte, so that bytes break off at every bit.
  for (int shift = 0; shift < 8; ++shift) {
    StreamBuilder s;
    for (int i = 0; i < shift; ++i) s.Fixed().Literal(144).End();
    s.Fixed().Literals("abc").Match(20, 3).Literal(255).Match(258, 2).Match(130, 20).End();
    s.Dynamic(Staircase(286, {'a', 257, 'b', 285, 256, 'c', 270, 'd', 'e', 'f', 'g', 'h', 280, 284, 'i', 'j'}),
              Staircase(30, {0, 4, 9, 1, 14, 2, 16, 3, 5, 6, 7, 8, 10, 11, 12, 13}), kLast);
    s.Literals("abj").Match(258, 1).Match(240, 300).Match(25, 13).Literal('i').End();
    const Bytes stream = s.stream();
    const Bytes output = s.output();
    for (size_t size = 0; size < stream.size(); ++size) {
      size_t complete = 0;
      for (const auto& mark : s.marks()) {
        if (mark.bits <= size * 8) complete = mark.output;
      }
      const Bytes part(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(size));
      for (const Path path : {Path::kBytes, Path::kPairs}) {
        const Decoded got = DecodeWhole(path, part);
        ASSERT_EQ(got.status, zelWarnSrcShort) << size << " bytes, shifted by " << shift;
        ASSERT_EQ(got.data.size(), complete) << size << " bytes, shifted by " << shift;
        ASSERT_TRUE(std::equal(got.data.begin(), got.data.end(), output.begin()));
        ASSERT_EQ(got.consumed, size);
      }
    }
  }
}

TEST(InflateHuffman, SplitAtEveryByteIsTheSameAsUndivided) {
  for (int shift = 0; shift < 8; ++shift) {
    StreamBuilder s;
    for (int i = 0; i < shift; ++i) s.Fixed().Literal(144).End();
    s.Fixed().Literals("abc").Match(20, 3).Match(130, 20).End().Stored(ToBytes("stored"));
    s.Dynamic(AllLitLens(), AllDistances(), kLast).Literals("abc").Match(258, 150).Match(3, 1).End();
    const Bytes stream = s.stream();
    for (size_t size = 1; size < stream.size(); ++size) {
      for (const Path path : {Path::kBytes, Path::kPairs}) {
        // Two pieces: the first one is what is given until it is spent.
        DecodeOptions options;
        options.path = path;
        options.source_piece = size;
        const Decoded got = Decode(stream, options);
        ASSERT_EQ(got.status, zelWarnStreamEnd) << size;
        ASSERT_EQ(got.data, s.output()) << size;
        ASSERT_EQ(got.block_ends, s.BlockEnds()) << size;
      }
    }
  }
}

TEST(InflateHuffman, TheStreamsEndIsFoundToTheByte) {
  // Streams that end at every bit of a byte, with bytes behind that look like more of them.
  for (int blocks = 0; blocks < 8; ++blocks) {
    StreamBuilder s;
    for (int i = 0; i < blocks; ++i) s.Fixed().Literal(144).End();
    s.Dynamic(AllLitLens(), AllDistances()).Literals("text").Match(10, 4).End().Fixed(kLast).End();
    const Bytes once = s.stream();
    Bytes stream = once;
    for (int i = 0; i < 3; ++i) stream.insert(stream.end(), once.begin(), once.end());
    for (const Path path : {Path::kBytes, Path::kPairs}) {
      for (DecodeOptions options : AllSplits(path)) {
        const Decoded got = Decode(stream, options);
        ASSERT_EQ(got.status, zelWarnStreamEnd);
        ASSERT_EQ(got.consumed, once.size());
        ASSERT_EQ(got.data, s.output());
      }
    }
  }
}

TEST(InflateHuffman, BehindTheStreamsEndTheNextBitsAreTheNextBytes) {
  // The bits that fill the last byte are dropped, so that the next header is read from the byte behind.
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    for (uint32_t filling = 0; filling < 64; filling += 9) {
      StreamBuilder s;
      s.Fixed(kLast).End().Bits(filling, 6).Bits(5, 3);
      const Bytes stream = s.stream();
      const DecoderRecord record;
      const uint8_t* source = stream.data();
      int32_t size = 3, room = 1, type = -1;
      uint8_t byte;
      uint8_t* dst = &byte;
      zelLZ77Pair pair;
      zelLZ77Pair* next = &pair;
      ASSERT_EQ(path == Path::kBytes ? zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, record.get())
                                     : zelsDecodeLZ77FixedHuff_8u(&source, &size, &next, &room, 0, record.get()),
                zelWarnStreamEnd);
      ASSERT_EQ(size, 1);
      EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, record.get()), zelOk);
      EXPECT_EQ(type, zelLZ77HuffDynamic);
      EXPECT_EQ(size, 0);
    }
  }
}

TEST(InflateHuffman, AStreamWithoutALastBlockWaitsForMore) {
  StreamBuilder s;
  s.Fixed().Literals("abc").End();
  EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelWarnSrcShort);
  s.Dynamic(AllLitLens(), AllDistances()).Literals("abc").End();
  EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelWarnSrcShort);
  s.Stored(ToBytes("abc"));
  EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelWarnSrcShort);
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
