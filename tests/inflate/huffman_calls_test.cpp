// Huffman blocks: where calls stop and go on.

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

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

TEST(InflateHuffmanCalls, NoMoreInputIsTakenThanPairsNeed) {
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

TEST(InflateHuffmanCalls, NoMoreInputIsTakenThanBytesNeed) {
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

TEST(InflateHuffmanCalls, ABlocksEndIsTakenWhenTheRoomIsExactlyFull) {
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

TEST(InflateHuffmanCalls, ASymbolThatIsNoBlocksEndStaysWhenTheRoomIsFull) {
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

TEST(InflateHuffmanCalls, SymbolsInTheBitBufferAreDecodedWithoutInput) {
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

TEST(InflateHuffmanCalls, AMatchThatTheRoomCutsIsFinishedWithoutInput) {
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

TEST(InflateHuffmanCalls, TruncatedAtEveryBitGivesEverySymbolThatIsComplete) {
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

TEST(InflateHuffmanCalls, SplitAtEveryByteIsTheSameAsUndivided) {
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

TEST(InflateHuffmanCalls, TheStreamsEndIsFoundToTheByte) {
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

TEST(InflateHuffmanCalls, BehindTheStreamsEndTheNextBitsAreTheNextBytes) {
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

TEST(InflateHuffmanCalls, AStreamWithoutALastBlockWaitsForMore) {
  StreamBuilder s;
  s.Fixed().Literals("abc").End();
  EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelWarnSrcShort);
  s.Dynamic(AllLitLens(), AllDistances()).Literals("abc").End();
  EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelWarnSrcShort);
  s.Stored(ToBytes("abc"));
  EXPECT_EQ(DecodeOnBothPaths(s.stream()).status, zelWarnSrcShort);
}

}  // namespace
}  // namespace zeldc_test
