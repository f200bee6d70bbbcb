// What the fixed and the dynamic block writer have in common: statuses, the frame of a block, and resuming.

#include <algorithm>
#include <string>
#include <tuple>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

const HuffmanWriter kFixed = zelsEncodeLZ77FixedHuff_8u;
const HuffmanWriter kDynamic = zelsEncodeLZ77DynamicHuff_8u;
constexpr size_t kPlenty = 1 << 20;

class HuffmanWriterTest : public testing::TestWithParam<HuffmanWriter> {
 protected:
  HuffmanWriter writer() const { return GetParam(); }
  zelLZ77State* record() const { return record_.get(); }

 private:
  const EncoderRecord record_{zelLZ77LevelNormal, zelLZ77CheckNone};
};

// Literals and matches of many kinds; the matches reach back no further than the bytes before them.
Pairs SomePairs(size_t count, uint64_t seed) {
  Random random(seed);
  Pairs pairs;
  size_t bytes = 0;
  for (size_t i = 0; i < count; ++i) {
    if (bytes > 10 && random() % 3 == 0) {
      const size_t farthest = std::min<size_t>(bytes, 32768);
      const int length = static_cast<int>(Uniform(random, 3, random() % 8 == 0 ? 258 : 20));
      pairs.push_back({length, static_cast<int>(Uniform(random, 1, random() % 2 == 0 ? 10 : farthest))});
      bytes += static_cast<size_t>(length);
    } else {
      pairs.push_back({static_cast<int>(Uniform(random, 0, random() % 2 == 0 ? 255 : 15)), 0});
      ++bytes;
    }
  }
  return pairs;
}

// Writes one block with room for `room` bytes a call (0: a random number each time), the pairs left in each call.
Written WriteInPieces(HuffmanWriter writer, zelLZ77State* record, const Pairs& pairs, size_t room,
                      zelLZ77FlushMode flush) {
  Random random(1);
  StartBlock(record);
  Written all;
  all.status = zelWarnDstFull;
  all.left = pairs.size();
  while (all.status == zelWarnDstFull) {
    const size_t piece = room == 0 ? Uniform(random, 0, 9) : room;
    const Written part =
        Write(writer, record, Pairs(pairs.end() - static_cast<ptrdiff_t>(all.left), pairs.end()), piece, flush);
    all.bytes.insert(all.bytes.end(), part.bytes.begin(), part.bytes.end());
    all.status = part.status;
    all.left = part.left;
    if (part.status == zelWarnDstFull) {
      EXPECT_EQ(part.bytes.size(), piece) << "room is left";
    }
    if (all.bytes.size() > kPlenty) throw std::runtime_error("the block does not end");
  }
  return all;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Writer, HuffmanWriterTest, testing::Values(kFixed, kDynamic), [](const auto& parameter) {
  return std::string(parameter.param == kFixed ? "Fixed" : "Dynamic");
});

TEST_P(HuffmanWriterTest, NullPointersChangeNothing) {
  const Bytes expected = WriteWhole(writer(), record(), {{'a', 0}}, zelLZ77FlushSync).bytes;
  StartBlock(record());
  zelLZ77Pair array[1] = {{'a', 0}};
  uint8_t output[100];
  zelLZ77Pair* pairs = array;
  uint8_t* dst = output;
  zelLZ77Pair* no_pairs = nullptr;
  uint8_t* no_dst = nullptr;
  for (const auto& counts : {std::pair(1, 100), {-1, 100}, {1, -1}, {1, 0}}) {  // pointers come before counts
    auto [pairs_len, room] = counts;
    EXPECT_EQ(writer()(nullptr, &pairs_len, &dst, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(writer()(&pairs, nullptr, &dst, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(writer()(&pairs, &pairs_len, nullptr, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(writer()(&pairs, &pairs_len, &dst, nullptr, 0, record()), zelErrNullPtr);
    EXPECT_EQ(writer()(&pairs, &pairs_len, &no_dst, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(writer()(&pairs, &pairs_len, &dst, &room, 0, nullptr), zelErrNullPtr);
    EXPECT_EQ(std::pair(pairs_len, room), counts);
  }
  int32_t pairs_len = 1, room = 100;
  EXPECT_EQ(writer()(&no_pairs, &pairs_len, &dst, &room, 0, record()), zelErrNullPtr);
  EXPECT_EQ(std::tuple(pairs, dst, pairs_len, room), std::tuple(array, output, 1, 100));
  EXPECT_EQ(Write(writer(), record(), {{'a', 0}}, kPlenty, zelLZ77FlushSync).bytes, expected);
}

TEST_P(HuffmanWriterTest, NoPairsNeedNoPointer) {
  const Bytes expected = WriteWhole(writer(), record(), {}, zelLZ77FlushFinal).bytes;
  StartBlock(record());
  zelLZ77Pair* no_pairs = nullptr;
  uint8_t output[100];
  uint8_t* dst = output;
  int32_t pairs_len = 0, room = 100;
  EXPECT_EQ(writer()(&no_pairs, &pairs_len, &dst, &room, zelLZ77FlushFinal, record()), zelWarnStreamEnd);
  EXPECT_EQ(Bytes(output, dst), expected);
}

TEST_P(HuffmanWriterTest, NegativeCountsChangeNothing) {
  const Bytes expected = WriteWhole(writer(), record(), {{'a', 0}}, zelLZ77FlushSync).bytes;
  StartBlock(record());
  zelLZ77Pair array[1] = {{'a', 0}};
  uint8_t output[100];
  for (const auto& counts : {std::pair(-1, 100), {1, -1}, {-1, 0}, {INT32_MIN, INT32_MIN}}) {
    zelLZ77Pair* pairs = array;
    uint8_t* dst = output;
    auto [pairs_len, room] = counts;
    EXPECT_EQ(writer()(&pairs, &pairs_len, &dst, &room, 0, record()), zelErrSize);
    EXPECT_EQ(std::tuple(pairs, dst, pairs_len, room), std::tuple(array, output, counts.first, counts.second));
  }
  EXPECT_EQ(Write(writer(), record(), {{'a', 0}}, kPlenty, zelLZ77FlushSync).bytes, expected);
}

TEST_P(HuffmanWriterTest, PairsThatAreNoneAreSizeErrors) {
  for (const Pair& bad : Pairs{{0, 1}, {2, 1}, {259, 1}, {65535, 1}, {3, 32769}, {258, 65535}, {0, 65535}}) {
    EXPECT_EQ(WriteWhole(writer(), record(), {bad}).status, zelErrSize) << bad.first << ", " << bad.second;
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    EXPECT_EQ(WriteWhole(writer(), record(), {{'a', 0}, {'b', 0}, bad, {'c', 0}}).status, zelErrSize);
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
  }
}

TEST_P(HuffmanWriterTest, LiteralsCountByTheLow8BitsOfTheirLength) {
  const EncoderRecord other(zelLZ77LevelNormal, zelLZ77CheckNone);
  EXPECT_EQ(WriteWhole(writer(), record(), {{0x1FF, 0}, {0xAB00, 0}}, zelLZ77FlushSync).bytes,
            WriteWhole(writer(), other.get(), {{0xFF, 0}, {0, 0}}, zelLZ77FlushSync).bytes);
}

TEST_P(HuffmanWriterTest, EveryLiteralAndLengthAndDistanceComesBack) {
  Pairs pairs;
  for (int byte = 0; byte < 256; ++byte) pairs.push_back({byte, 0});
  for (int length = 3; length <= 258; ++length) pairs.push_back({length, 1});
  for (int distance = 1; distance <= 32768; ++distance) pairs.push_back({3 + distance % 256, distance});
  const Written written = WriteWhole(writer(), record(), pairs, zelLZ77FlushSync);
  EXPECT_EQ(written.status, zelOk);
  EXPECT_EQ(written.left, 0u);
  const auto blocks = ParseBlocks(written.bytes, 0, true);
  ASSERT_EQ(blocks.size(), 2u);  // the marker is the second
  EXPECT_EQ(blocks[0].pairs, pairs);
  EXPECT_EQ(blocks[0].kind, writer() == kFixed ? zelLZ77HuffFixed : zelLZ77HuffDynamic);
}

TEST_P(HuffmanWriterTest, RandomPairsComeBack) {
  for (uint64_t seed = 0; seed < 30; ++seed) {
    const Pairs pairs = SomePairs(size_t{1} << seed % 12, seed);
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    const Written written = WriteWhole(writer(), record(), pairs, zelLZ77FlushSync);
    EXPECT_EQ(written.status, zelOk);
    EXPECT_EQ(ParseBlocks(written.bytes, 0, true).at(0).pairs, pairs) << seed;
  }
}

TEST_P(HuffmanWriterTest, BlocksFollowEachOtherWithinAByte) {
  Bytes stream;
  std::vector<Pairs> all;
  for (size_t i = 0; i < 40; ++i) {
    all.push_back(SomePairs(i, i));
    if (i == 39) EndInput(record());
    const Written written = WriteWhole(writer(), record(), all.back(), i == 39 ? zelLZ77FlushFinal : zelLZ77FlushNone);
    EXPECT_EQ(written.status, i == 39 ? zelWarnStreamEnd : zelOk);
    stream.insert(stream.end(), written.bytes.begin(), written.bytes.end());
  }
  const auto blocks = ParseBlocks(stream);
  ASSERT_EQ(blocks.size(), all.size());
  for (size_t i = 0; i < blocks.size(); ++i) {
    EXPECT_EQ(blocks[i].pairs, all[i]);
    EXPECT_EQ(blocks[i].is_final, i == 39);
    if (i > 0) {
      EXPECT_EQ(blocks[i].start_bit, blocks[i - 1].end_bit);
    }
  }
  EXPECT_EQ((blocks.back().end_bit + 7) / 8, stream.size());
}

TEST_P(HuffmanWriterTest, BlockWithoutFlushLeavesLessThanAByteBehind) {
  for (size_t literals = 0; literals < 20; ++literals) {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    const Pairs pairs(literals, {200, 0});
    const size_t bytes = WriteWhole(writer(), record(), pairs).bytes.size();
    Bytes stream(bytes);
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    stream = WriteWhole(writer(), record(), pairs, zelLZ77FlushSync).bytes;
    EXPECT_EQ(bytes, ParseBlocks(stream, 0, true).at(0).end_bit / 8);
  }
}

TEST_P(HuffmanWriterTest, SyncAndFullFlushEndWithTheMarkerAtAByte) {
  for (zelLZ77FlushMode flush : {zelLZ77FlushSync, zelLZ77FlushFull}) {
    for (size_t literals = 0; literals < 20; ++literals) {
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
      const Written written = WriteWhole(writer(), record(), Pairs(literals, {200, 0}), flush);
      EXPECT_EQ(written.status, zelOk);
      ASSERT_GE(written.bytes.size(), 5u);
      EXPECT_EQ(Bytes(written.bytes.end() - 4, written.bytes.end()), (Bytes{0, 0, 0xFF, 0xFF}));
      const auto blocks = ParseBlocks(written.bytes, 0, true);
      ASSERT_EQ(blocks.size(), 2u);
      EXPECT_EQ(blocks[1].kind, zelLZ77HuffStored);
      EXPECT_EQ(blocks[1].bytes, Bytes());
      EXPECT_EQ(blocks[1].end_bit, written.bytes.size() * 8);
    }
  }
}

TEST_P(HuffmanWriterTest, FinalFlushEndsTheStreamAtAByte) {
  for (size_t literals = 0; literals < 20; ++literals) {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    EndInput(record());
    const Written written = WriteWhole(writer(), record(), Pairs(literals, {200, 0}), zelLZ77FlushFinal);
    EXPECT_EQ(written.status, zelWarnStreamEnd);
    EXPECT_TRUE(DecodesTo(written.bytes, Bytes(literals, 200)));
  }
}

TEST_P(HuffmanWriterTest, FinalFlushWithInputLeftIsAnOrdinaryBlock) {
  Search(record(), ToBytes("ab"), zelLZ77FlushFinal, 1);  // leaves one byte
  const Pairs pairs(3, {200, 0});
  const Written written = WriteWhole(writer(), record(), pairs, zelLZ77FlushFinal);
  EXPECT_EQ(written.status, zelOk);
  const EncoderRecord other(zelLZ77LevelNormal, zelLZ77CheckNone);
  EXPECT_EQ(written.bytes, WriteWhole(writer(), other.get(), pairs).bytes);
}

TEST_P(HuffmanWriterTest, FinalBitIsNotSetBySyncFlushes) {
  for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync, zelLZ77FlushFull}) {
    Search(record(), {}, flush);
    const Written written = WriteWhole(writer(), record(), Pairs(9, {200, 0}), flush);
    EXPECT_EQ(written.status, zelOk);
    EXPECT_EQ(written.bytes.at(0) & 1, 0);
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
  }
}

TEST(FixedWriter, FinalBitFollowsTheWritersOwnFlush) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Search(record.get(), {}, zelLZ77FlushFinal);
  EXPECT_EQ(WriteWhole(kFixed, record.get(), {}, zelLZ77FlushSync).bytes.at(0) & 7, 2);
  Search(record.get(), {}, zelLZ77FlushNone);
  const Written written = WriteWhole(kFixed, record.get(), {}, zelLZ77FlushFinal);
  EXPECT_EQ(written.bytes.at(0) & 7, 3);
  EXPECT_EQ(written.status, zelWarnStreamEnd);
}

TEST(DynamicWriter, FinalBitFollowsTheLastSearch) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Search(record.get(), {}, zelLZ77FlushFinal);
  EXPECT_EQ(WriteWhole(kDynamic, record.get(), {}, zelLZ77FlushSync).bytes.at(0) & 7, 5);
  Search(record.get(), {}, zelLZ77FlushNone);
  const Written written = WriteWhole(kDynamic, record.get(), {}, zelLZ77FlushFinal);
  EXPECT_EQ(written.bytes.at(0) & 7, 4);
  EXPECT_EQ(written.status, zelWarnStreamEnd);
}

TEST_P(HuffmanWriterTest, NoRoomNeverLosesTheHeader) {
  const Pairs pairs = SomePairs(50, 1);
  const Bytes expected = WriteWhole(writer(), record(), pairs, zelLZ77FlushSync).bytes;
  StartBlock(record());
  for (int i = 0; i < 3; ++i) {
    const Written nothing = Write(writer(), record(), pairs, 0, zelLZ77FlushSync);
    EXPECT_EQ(nothing.status, zelWarnDstFull);
    EXPECT_EQ(nothing.left, pairs.size());
  }
  EXPECT_EQ(Write(writer(), record(), pairs, kPlenty, zelLZ77FlushSync).bytes, expected);
}

TEST_P(HuffmanWriterTest, AnyRoomGivesTheSameBytes) {
  for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync, zelLZ77FlushFull, zelLZ77FlushFinal}) {
    for (size_t count : {0, 1, 2, 30, 300}) {
      const Pairs pairs = SomePairs(count, count);
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
      if (flush == zelLZ77FlushFinal) EndInput(record());
      const Written whole = WriteWhole(writer(), record(), pairs, flush);
      for (size_t room : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 64}) {
        EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
        if (flush == zelLZ77FlushFinal) EndInput(record());
        const Written pieces = WriteInPieces(writer(), record(), pairs, room, flush);
        EXPECT_EQ(pieces.bytes, whole.bytes) << "flush " << flush << ", " << count << " pairs, room " << room;
        EXPECT_EQ(pieces.status, whole.status);
        EXPECT_EQ(pieces.left, 0u);
      }
    }
  }
}

TEST_P(HuffmanWriterTest, CutAtEveryByteAndGoneOnWithPlentyOfRoom) {
  for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync, zelLZ77FlushFinal}) {
    const Pairs pairs = SomePairs(60, 5);
    auto fresh = [&] {
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
      if (flush == zelLZ77FlushFinal) EndInput(record());
      StartBlock(record());
    };
    fresh();
    const Written whole = Write(writer(), record(), pairs, kPlenty, flush);
    for (size_t cut = 1; cut < whole.bytes.size(); ++cut) {
      fresh();
      const Written first = Write(writer(), record(), pairs, cut, flush);
      ASSERT_EQ(first.status, zelWarnDstFull) << cut;
      ASSERT_EQ(first.bytes.size(), cut);
      const Pairs rest(pairs.end() - static_cast<ptrdiff_t>(first.left), pairs.end());
      const Written second = Write(writer(), record(), rest, kPlenty, flush);
      EXPECT_EQ(second.status, whole.status);
      Bytes both = first.bytes;
      both.insert(both.end(), second.bytes.begin(), second.bytes.end());
      EXPECT_EQ(both, whole.bytes) << cut;
    }
  }
}

TEST_P(HuffmanWriterTest, ExactRoomCompletesTheBlock) {
  for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync, zelLZ77FlushFinal}) {
    auto fresh = [&] {
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
      if (flush == zelLZ77FlushFinal) EndInput(record());
      StartBlock(record());
    };
    for (size_t count : {0, 1, 7, 40}) {
      const Pairs pairs = SomePairs(count, count);
      fresh();
      const Written whole = Write(writer(), record(), pairs, kPlenty, flush);
      fresh();
      const Written exact = Write(writer(), record(), pairs, whole.bytes.size(), flush);
      EXPECT_EQ(exact.bytes, whole.bytes);
      EXPECT_EQ(exact.status, whole.status) << flush << " " << count;
    }
  }
}

TEST_P(HuffmanWriterTest, BytesHeldForLackOfRoomAreWrittenWithoutPairs) {
  const Pairs pairs = SomePairs(20, 6);
  const Bytes whole = WriteWhole(writer(), record(), pairs).bytes;
  bool saw_all_pairs_taken = false;
  for (size_t cut = 1; cut < whole.size(); ++cut) {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    StartBlock(record());
    const Written first = Write(writer(), record(), pairs, cut);
    ASSERT_EQ(first.status, zelWarnDstFull);
    if (first.left > 0) continue;
    saw_all_pairs_taken = true;
    const Written rest = Write(writer(), record(), {}, kPlenty);
    EXPECT_EQ(rest.status, zelOk);
    EXPECT_EQ(rest.bytes, Bytes(whole.begin() + static_cast<ptrdiff_t>(cut), whole.end()));
  }
  EXPECT_TRUE(saw_all_pairs_taken);
}

TEST_P(HuffmanWriterTest, MarkerThatDoesNotFitIsOwed) {
  const Bytes whole = WriteWhole(writer(), record(), {}, zelLZ77FlushSync).bytes;
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
  StartBlock(record());
  Bytes got = Write(writer(), record(), {}, 1, zelLZ77FlushSync).bytes;
  zelStatus status = zelWarnDstFull;
  for (int calls = 0; status == zelWarnDstFull && calls < 1000; ++calls) {
    const Written next = Write(writer(), record(), {}, 1, zelLZ77FlushSync);
    got.insert(got.end(), next.bytes.begin(), next.bytes.end());
    status = next.status;
  }
  EXPECT_EQ(status, zelOk);
  EXPECT_EQ(got, whole);
}

TEST_P(HuffmanWriterTest, CallBehindAClosedBlockWritesNothing) {
  WriteWhole(writer(), record(), SomePairs(10, 7));
  const Written nothing = Write(writer(), record(), {}, 100);
  EXPECT_EQ(nothing.status, zelOk);
  EXPECT_EQ(nothing.bytes, Bytes());
}

TEST_P(HuffmanWriterTest, ManyPairsInOneBlock) {
  const Bytes input = RandomBytes(300000, 8);
  EndInput(record());
  Pairs pairs;
  for (uint8_t byte : input) pairs.push_back({byte, 0});
  const Written written = WriteWhole(writer(), record(), pairs, zelLZ77FlushFinal);
  EXPECT_EQ(written.status, zelWarnStreamEnd);
  EXPECT_TRUE(DecodesTo(written.bytes, input));
}
