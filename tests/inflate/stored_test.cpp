// Block headers and stored blocks.

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

// A record with the input, output and pairs of a few calls.
struct Calls {
  explicit Calls(const Bytes& stream, size_t room_size = 100)
      : input(stream),
        source(input.data()),
        source_size(static_cast<int32_t>(stream.size())),
        bytes(room_size),
        dst(bytes.data()),
        room(static_cast<int32_t>(room_size)),
        pairs(room_size * sizeof(zelLZ77Pair)),
        next(reinterpret_cast<zelLZ77Pair*>(pairs.data())),
        pairs_room(static_cast<int32_t>(room_size)) {}

  zelStatus BlockType() { return zelsDecodeLZ77GetBlockType_8u(&source, &source_size, &type, record.get()); }
  zelStatus StoredBlock() { return zelsDecodeLZ77StoredBlock_8u(&source, &source_size, &dst, &room, record.get()); }
  zelStatus StoredHuff() {
    return zelsDecodeLZ77StoredHuff_8u(&source, &source_size, &next, &pairs_room, record.get());
  }
  zelStatus FixedBytes() {
    return zelsDecodeLZ77FixedHuffFull_8u(&source, &source_size, &dst, &room, zelLZ77FlushNone, record.get());
  }
  // Lets the next call see `size` bytes of what is left.
  void Give(int32_t size) { source_size = size; }

  size_t consumed() const { return static_cast<size_t>(source - input.data()); }
  Bytes Output() const { return Bytes(bytes.data(), dst); }

  DecoderRecord record;
  GuardedBuffer input;
  const uint8_t* source;
  int32_t source_size;
  GuardedBuffer bytes;
  uint8_t* dst;
  int32_t room;
  GuardedBuffer pairs;
  zelLZ77Pair* next;
  int32_t pairs_room;
  int32_t type = 55;
};

TEST(InflateBlockType, TellsTheThreeTypes) {
  static const int32_t kTypes[] = {zelLZ77HuffStored, zelLZ77HuffFixed, zelLZ77HuffDynamic};
  for (uint8_t header = 0; header < 6; ++header) {
    Calls calls({header});
    EXPECT_EQ(calls.BlockType(), zelOk);
    EXPECT_EQ(calls.type, kTypes[header / 2]);
    EXPECT_EQ(calls.consumed(), 1u);
  }
}

TEST(InflateBlockType, WithoutInputIsSrcShortAndChangesNothing) {
  Calls calls({});
  const Bytes before = calls.record.Content();
  EXPECT_EQ(calls.BlockType(), zelWarnSrcShort);
  EXPECT_EQ(calls.type, 55);
  EXPECT_EQ(calls.record.Content(), before);
}

TEST(InflateBlockType, WithTwoBitsAndNoInputIsSrcShortAndChangesNothing) {
  Calls calls(StreamBuilder().Fixed().End().Fixed().End().Fixed().End().stream());
  for (int i = 0; i < 3; ++i) ASSERT_EQ(calls.FixedBytes(), zelOk);
  ASSERT_EQ(calls.source_size, 0);
  const Bytes before = calls.record.Content();
  EXPECT_EQ(calls.BlockType(), zelWarnSrcShort);
  EXPECT_EQ(calls.type, 55);
  EXPECT_EQ(calls.record.Content(), before);
}

TEST(InflateBlockType, NeedsNoInputForBitsThatAreThere) {
  // 10 bits of a fixed block leave 6.
  Calls calls(StreamBuilder().Fixed().End().Bits(4, 3).stream());
  ASSERT_EQ(calls.FixedBytes(), zelOk);
  ASSERT_EQ(calls.source_size, 0);
  EXPECT_EQ(calls.BlockType(), zelOk);
  EXPECT_EQ(calls.type, zelLZ77HuffDynamic);
}

TEST(InflateBlockType, WithinABlockTellsTheTypeAgainAndReadsNothing) {
  StreamBuilder s;
  s.Fixed().Literals("abc").End();
  Calls calls(s.stream());
  ASSERT_EQ(calls.BlockType(), zelOk);
  calls.type = 55;
  EXPECT_EQ(calls.BlockType(), zelOk);
  EXPECT_EQ(calls.type, zelLZ77HuffFixed);
  EXPECT_EQ(calls.consumed(), 1u);
  calls.Give(1);
  ASSERT_EQ(calls.FixedBytes(), zelWarnSrcShort);
  calls.type = 55;
  calls.Give(0);
  EXPECT_EQ(calls.BlockType(), zelOk);
  EXPECT_EQ(calls.type, zelLZ77HuffFixed);
  calls.Give(static_cast<int32_t>(s.stream().size()) - 2);
  EXPECT_EQ(calls.FixedBytes(), zelOk);
  EXPECT_EQ(calls.Output(), ToBytes("abc"));
}

TEST(InflateBlockType, WithinAStoredBlockTellsTheTypeAgainAtEveryByte) {
  const Bytes stream = StreamBuilder().Stored(ToBytes("abc")).stream();
  Calls calls(stream);
  calls.Give(1);
  ASSERT_EQ(calls.BlockType(), zelOk);
  for (size_t i = 1; i < stream.size(); ++i) {
    calls.type = 55;
    calls.Give(0);
    EXPECT_EQ(calls.BlockType(), zelOk);
    EXPECT_EQ(calls.type, zelLZ77HuffStored);
    calls.Give(1);
    EXPECT_EQ(calls.StoredBlock(), i + 1 < stream.size() ? zelWarnSrcShort : zelOk);
  }
  EXPECT_EQ(calls.Output(), ToBytes("abc"));
}

TEST(InflateBlockType, ReservedTypeTakesThreeBitsAndNothingElse) {
  StreamBuilder s;
  s.Bits(6, 3).Bits(7, 3).Fixed(kLast).Literals("x").End();
  Calls calls(s.stream());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(calls.BlockType(), zelOk);
    EXPECT_EQ(calls.type, 55);
  }
  // The next bits are the next header.
  EXPECT_EQ(calls.BlockType(), zelOk);
  EXPECT_EQ(calls.type, zelLZ77HuffFixed);
  EXPECT_EQ(calls.FixedBytes(), zelWarnStreamEnd);
  EXPECT_EQ(calls.Output(), ToBytes("x"));
}

TEST(InflateBlockType, AnnouncesHuffmanBlocksToThePairPathToo) {
  for (const Last last : {kNotLast, kLast}) {
    Calls calls(StreamBuilder().Fixed(last).Literals("x").Match(4, 1).End().stream());
    ASSERT_EQ(calls.BlockType(), zelOk);
    EXPECT_EQ(zelsDecodeLZ77FixedHuff_8u(&calls.source, &calls.source_size, &calls.next, &calls.pairs_room,
                                         zelLZ77FlushNone, calls.record.get()),
              last ? zelWarnStreamEnd : zelOk);
    EXPECT_EQ(calls.pairs_room, 98);
    EXPECT_EQ(calls.source_size, 0);
  }
}

TEST(InflateStored, EmptyBlockEndsAtOnce) {
  for (const Last last : {kNotLast, kLast}) {
    Calls bytes(StreamBuilder().Stored({}, last).stream(), 1);
    ASSERT_EQ(bytes.BlockType(), zelOk);
    EXPECT_EQ(bytes.StoredBlock(), last ? zelWarnStreamEnd : zelOk);
    EXPECT_EQ(bytes.room, 1);
    EXPECT_EQ(bytes.source_size, 0);
    Calls pairs(StreamBuilder().Stored({}, last).stream(), 1);
    EXPECT_EQ(pairs.StoredHuff(), last ? zelWarnStreamEnd : zelOk);
    EXPECT_EQ(pairs.pairs_room, 1);
    EXPECT_EQ(pairs.source_size, 0);
  }
}

TEST(InflateStored, EmptyBlockNeedsNoPairsRoom) {
  Calls calls(StreamBuilder().Stored({}).stream(), 0);
  EXPECT_EQ(calls.StoredHuff(), zelOk);
}

TEST(InflateStored, BytesGoAsTheyAre) {
  Bytes all(256);
  for (size_t i = 0; i < 256; ++i) all[i] = static_cast<uint8_t>(i);
  ExpectDecodes(StreamBuilder().Stored(all, kLast));
}

TEST(InflateStored, BlocksOfEveryLengthAroundTheLimits) {
  for (const size_t size : {1, 2, 15, 16, 17, 255, 256, 32767, 32768, 32769, 65534, 65535}) {
    StreamBuilder s;
    s.Stored(RandomBytes(size, size)).Stored(RandomBytes(size, size + 1), kLast);
    ExpectDecodes(s);
  }
}

TEST(InflateStored, PaddingBitsMayBeAnything) {
  for (uint32_t padding = 0; padding < 32; ++padding) {
    StreamBuilder s;
    s.Bits(1, 3).Bits(padding, 5).Raw({3, 0, 0xFC, 0xFF, 'a', 'b', 'c'});
    ExpectDecodes(s.stream(), ToBytes("abc"));
  }
}

TEST(InflateStored, AfterAHuffmanBlockAtEveryBitOfAByte) {
  // A fixed block with a literal of 9 bits has 19 bits, so eight of them end at all places of a byte.
  for (int blocks = 0; blocks < 8; ++blocks) {
    StreamBuilder s;
    for (int i = 0; i < blocks; ++i) s.Fixed().Literal(200 + i).End();
    s.Stored(ToBytes("stored")).Fixed().Match(20, 6).Literals("fixed").End();
    s.Stored(RandomBytes(100, 1)).Fixed(kLast).Match(120, 111 + blocks).End();
    ExpectDecodes(s);
  }
}

TEST(InflateStored, AfterADynamicBlockAtEveryBitOfAByte) {
  const Lengths lit_len = MakeLengths(258, {{'a', 1}, {'b', 2}, {256, 3}, {257, 3}});
  for (int literals = 0; literals < 8; ++literals) {
    StreamBuilder s;
    s.Dynamic(lit_len, {1}).Literals("b").Match(3, 1);
    for (int i = 0; i < literals; ++i) s.Literal('a');
    s.End().Stored(RandomBytes(50, 2)).Dynamic(lit_len, {1}, kLast).Match(3, 1).End();
    ExpectDecodes(s);
  }
}

TEST(InflateStored, ManyShortBlocksBetweenHuffmanBlocks) {
  StreamBuilder s;
  Random random(5);
  for (size_t i = 0; i < 60; ++i) {
    s.Fixed().Literal(static_cast<int>(i)).Match(3 + static_cast<int>(i), 1 + static_cast<int>(i)).End();
    s.Stored(RandomBytes(Uniform(random, 0, 12), i));
  }
  s.Stored({}, kLast);
  ExpectDecodes(s);
}

TEST(InflateStored, BytesAreHistoryForMatches) {
  const Bytes data = RandomBytes(1000, 3);
  StreamBuilder s;
  s.Stored(data).Fixed(kLast).Match(258, 1000).Match(258, 500).Match(100, 358).End();
  ExpectDecodes(s);
}

TEST(InflateStored, BlockLongerThanTheHistoryLeavesItsLastBytes) {
  // The history is filled at once, then at places that the ring's end cuts.
  StreamBuilder s;
  s.Stored(RandomBytes(65535, 4)).Fixed().Match(258, 32768).Match(258, 32510).Match(10, 1).End();
  s.Stored(RandomBytes(40000, 5)).Fixed().Match(258, 32768).Literal('x').End();
  s.Stored(RandomBytes(32768, 6)).Fixed().Match(258, 32768).Literal('y').End();
  s.Stored(RandomBytes(32000, 7)).Fixed().Match(258, 32768).Match(258, 32258).End();
  s.Stored(RandomBytes(1000, 8)).Fixed(kLast).Match(258, 32768).Match(258, 1000).End();
  ExpectDecodes(s);
}

TEST(InflateStored, LengthIsGatheredByteByByte) {
  Calls calls(StreamBuilder().Stored(ToBytes("ab"), kLast).stream());
  calls.Give(1);
  ASSERT_EQ(calls.BlockType(), zelOk);
  for (int i = 0; i < 4; ++i) {
    calls.Give(1);
    EXPECT_EQ(calls.StoredBlock(), zelWarnSrcShort);
    EXPECT_EQ(calls.source_size, 0);
    EXPECT_EQ(calls.room, 100);
  }
  calls.Give(2);
  EXPECT_EQ(calls.StoredBlock(), zelWarnStreamEnd);
  EXPECT_EQ(calls.Output(), ToBytes("ab"));
}

TEST(InflateStored, BlockEndIsTakenWhenTheRoomIsExactlyFull) {
  for (const Last last : {kNotLast, kLast}) {
    const Bytes stream = StreamBuilder().Stored(ToBytes("abcd"), last).stream();
    Calls bytes(stream, 4);
    ASSERT_EQ(bytes.BlockType(), zelOk);
    EXPECT_EQ(bytes.StoredBlock(), last ? zelWarnStreamEnd : zelOk);
    EXPECT_EQ(bytes.room, 0);
    Calls pairs(stream, 4);
    EXPECT_EQ(pairs.StoredHuff(), last ? zelWarnStreamEnd : zelOk);
    EXPECT_EQ(pairs.pairs_room, 0);
  }
}

TEST(InflateStored, NothingBehindTheBlockIsTaken) {
  Bytes stream = StreamBuilder().Stored(ToBytes("abcd"), kLast).stream();
  const size_t size = stream.size();
  stream.insert(stream.end(), 20, 0xEE);
  Calls bytes(stream);
  ASSERT_EQ(bytes.BlockType(), zelOk);
  EXPECT_EQ(bytes.StoredBlock(), zelWarnStreamEnd);
  EXPECT_EQ(bytes.consumed(), size);
  EXPECT_EQ(bytes.Output(), ToBytes("abcd"));
  Calls pairs(stream);
  EXPECT_EQ(pairs.StoredHuff(), zelWarnStreamEnd);
  EXPECT_EQ(pairs.consumed(), size);
  EXPECT_EQ(pairs.pairs_room, 96);
}

TEST(InflateStored, BytePathAsksForInputWhileThereIsRoom) {
  Calls calls(StreamBuilder().Stored(ToBytes("abcdef")).stream(), 3);
  calls.Give(6);  // the header and "a"
  ASSERT_EQ(calls.BlockType(), zelOk);
  EXPECT_EQ(calls.StoredBlock(), zelWarnSrcShort);
  EXPECT_EQ(calls.Output(), ToBytes("a"));
  calls.Give(2);
  EXPECT_EQ(calls.StoredBlock(), zelWarnDstFull);  // both are spent
  EXPECT_EQ(calls.Output(), ToBytes("abc"));
  calls.Give(3);
  EXPECT_EQ(calls.StoredBlock(), zelWarnDstFull);
  EXPECT_EQ(calls.source_size, 3);
}

TEST(InflateStored, PairPathAsksForInputBeforeRoom) {
  Calls calls(StreamBuilder().Stored(ToBytes("abcdef")).stream(), 3);
  calls.Give(6);
  EXPECT_EQ(calls.StoredHuff(), zelWarnSrcShort);
  EXPECT_EQ(calls.pairs_room, 2);
  calls.Give(2);
  EXPECT_EQ(calls.StoredHuff(), zelWarnSrcShort);  // both are spent
  EXPECT_EQ(calls.pairs_room, 0);
  calls.Give(3);
  EXPECT_EQ(calls.StoredHuff(), zelWarnDstFull);
  EXPECT_EQ(calls.source_size, 3);
}

TEST(InflateStored, PairsAreLiterals) {
  Calls calls(StreamBuilder().Stored({0, 127, 255}).stream(), 3);
  EXPECT_EQ(calls.StoredHuff(), zelOk);
  const zelLZ77Pair* const pairs = calls.next - 3;
  for (const int i : {0, 1, 2}) EXPECT_EQ(pairs[i].distance, 0);
  EXPECT_EQ(pairs[0].length, 0);
  EXPECT_EQ(pairs[1].length, 127);
  EXPECT_EQ(pairs[2].length, 255);
}

TEST(InflateStored, PairPathReadsItsOwnHeaderEvenBehindAnAnnouncement) {
  // GetBlockType belongs to the byte path: StoredHuff reads the three bits behind the header that it took.
  Calls zero_padding(StreamBuilder().Stored(ToBytes("ab")).stream());
  ASSERT_EQ(zero_padding.BlockType(), zelOk);
  EXPECT_EQ(zero_padding.StoredHuff(), zelOk);
  EXPECT_EQ(zero_padding.pairs_room, 98);
  Calls other_padding({0xF8, 2, 0, 0xFD, 0xFF, 'a', 'b'});
  ASSERT_EQ(other_padding.BlockType(), zelOk);
  EXPECT_EQ(other_padding.StoredHuff(), zelErr);
  EXPECT_EQ(other_padding.pairs_room, 100);
}

TEST(InflateStored, LastBlockIsNoEndForTheExpansion) {
  // Only the Huffman decoders tell the expansion that the stream has ended.
  Calls calls(StreamBuilder().Stored(ToBytes("a"), kLast).stream());
  ASSERT_EQ(calls.StoredHuff(), zelWarnStreamEnd);
  zelLZ77Pair* pairs = calls.next - 1;
  int32_t count = 1;
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &calls.dst, &calls.room, 0, calls.record.get()), zelOk);
  EXPECT_EQ(calls.Output(), ToBytes("a"));
}

}  // namespace
}  // namespace zeldc_test
