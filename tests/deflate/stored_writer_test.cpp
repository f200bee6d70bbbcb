// Stored blocks.

#include <algorithm>
#include <tuple>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

constexpr size_t kPlenty = 1 << 20;

class StoredWriter : public testing::Test {
 protected:
  zelLZ77State* record() const { return record_.get(); }

  void Fresh() const {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record()), zelOk);
    StartBlock(record());
  }

  // Leaves 0 to 7 bits of earlier blocks in the record; answers the bytes that are written already.
  Bytes LeaveBits(size_t bits) const {
    // A fixed block takes 10 bits and 9 for each of these literals.
    size_t literals = 0;
    while ((10 + 9 * literals) % 8 != bits) ++literals;
    return WriteWhole(zelsEncodeLZ77FixedHuff_8u, record(), Pairs(literals, {200, 0})).bytes;
  }

 private:
  const EncoderRecord record_{zelLZ77LevelNormal, zelLZ77CheckNone};
};

// Repeats a call with the bytes that are left and at most `room` bytes of output until it is done.
Written StoreInPieces(zelLZ77State* record, const Bytes& source, size_t room, zelLZ77FlushMode flush) {
  Random random(room);
  Written all;
  all.status = zelWarnDstFull;
  all.left = source.size();
  while (all.status == zelWarnDstFull) {
    const size_t given = room == 0 ? Uniform(random, 0, 9) : room;
    const Written part =
        WriteStored(record, Bytes(source.end() - static_cast<ptrdiff_t>(all.left), source.end()), given, flush);
    Append(all.bytes, part.bytes);
    all.status = part.status;
    all.left = part.left;
    EXPECT_TRUE(part.status != zelWarnDstFull || part.bytes.size() == given) << "room is left";
    if (all.bytes.size() > kPlenty) throw std::runtime_error("the block does not end");
  }
  return all;
}

}  // namespace

TEST_F(StoredWriter, NullPointersChangeNothing) {
  Fresh();
  uint8_t source[4] = {1, 2, 3, 4};
  uint8_t output[100];
  uint8_t* src = source;
  uint8_t* dst = output;
  uint8_t* null = nullptr;
  for (const auto& counts : {std::pair(4, 100), {-1, 100}, {4, -1}, {0, 0}}) {  // pointers come before counts
    auto [left, room] = counts;
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(nullptr, &left, &dst, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&src, nullptr, &dst, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&src, &left, nullptr, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&src, &left, &dst, nullptr, 0, record()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&null, &left, &dst, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&src, &left, &null, &room, 0, record()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&src, &left, &dst, &room, 0, nullptr), zelErrNullPtr);
    EXPECT_EQ(std::tuple(std::pair(left, room), src, dst, null), std::tuple(counts, source, output, nullptr));
  }
  EXPECT_EQ(WriteStored(record(), {9}, 100).bytes, (Bytes{0, 1, 0, 0xFE, 0xFF, 9}));
}

TEST_F(StoredWriter, NegativeCountsChangeNothing) {
  Fresh();
  uint8_t source[4] = {1, 2, 3, 4};
  uint8_t output[100];
  for (const auto& counts : {std::pair(-1, 100), {4, -1}, {-1, 0}, {0, -1}, {INT32_MIN, INT32_MIN}}) {
    uint8_t* src = source;
    uint8_t* dst = output;
    auto [left, room] = counts;
    EXPECT_EQ(zelsEncodeLZ77StoredBlock_8u(&src, &left, &dst, &room, 0, record()), zelErrSize);
    EXPECT_EQ(std::tuple(std::pair(left, room), src, dst), std::tuple(counts, source, output));
  }
  EXPECT_EQ(WriteStored(record(), {9}, 100).bytes, (Bytes{0, 1, 0, 0xFE, 0xFF, 9}));
}

TEST_F(StoredWriter, EmptyBlock) {
  Fresh();
  Written written = WriteStored(record(), {}, 100);
  EXPECT_EQ(written.status, zelOk);
  EXPECT_EQ(written.bytes, (Bytes{0, 0, 0, 0xFF, 0xFF}));
  Fresh();
  written = WriteStored(record(), {}, 100, zelLZ77FlushFinal);
  EXPECT_EQ(written.status, zelWarnStreamEnd);
  EXPECT_EQ(written.bytes, (Bytes{1, 0, 0, 0xFF, 0xFF}));
}

TEST_F(StoredWriter, SyncAndFullFlushAddNoMarker) {
  for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync, zelLZ77FlushFull}) {
    Fresh();
    const Written written = WriteStored(record(), ToBytes("xy"), 100, flush);
    EXPECT_EQ(written.status, zelOk);
    EXPECT_EQ(written.bytes, (Bytes{0, 2, 0, 0xFD, 0xFF, 'x', 'y'}));
  }
}

TEST_F(StoredWriter, FinalBitFollowsTheFlushAloneEvenWithSearchInputLeft) {
  Fresh();
  Search(record(), ToBytes("abcdef"), zelLZ77FlushNone, 1);  // leaves five bytes
  const Written written = WriteStored(record(), ToBytes("a"), 100, zelLZ77FlushFinal);
  EXPECT_EQ(written.status, zelWarnStreamEnd);
  EXPECT_EQ(written.bytes, (Bytes{1, 1, 0, 0xFE, 0xFF, 'a'}));
}

TEST_F(StoredWriter, LongInputTakesBlocksOf65535) {
  for (size_t size : {65535, 65536, 70000, 131070, 131071, 200000}) {
    for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushFinal}) {
      Fresh();
      const Bytes source = RandomBytes(size, size);
      const Written written = WriteStored(record(), source, kPlenty, flush);
      const bool is_final = flush == zelLZ77FlushFinal;
      EXPECT_EQ(written.status, is_final ? zelWarnStreamEnd : zelOk);
      EXPECT_EQ(written.left, 0u);
      Bytes together;
      size_t bit = 0;
      while (bit < written.bytes.size() * 8) {
        const Block block = ParseBlocks(written.bytes, bit, true).at(0);
        EXPECT_EQ(block.kind, zelLZ77HuffStored);
        EXPECT_EQ(block.is_final, is_final);  // every block of the call
        EXPECT_EQ(block.bytes.size(), std::min<size_t>(65535, size - together.size()));
        Append(together, block.bytes);
        bit = block.end_bit;
      }
      EXPECT_EQ(together, source);
    }
  }
}

TEST_F(StoredWriter, HeaderJoinsTheBitsOfTheBlockBefore) {
  for (size_t bits = 0; bits < 8; ++bits) {
    Fresh();
    Bytes stream = LeaveBits(bits);
    StartBlock(record());
    Append(stream, WriteStored(record(), ToBytes("stored"), 100, zelLZ77FlushFinal).bytes);
    const auto blocks = ParseBlocks(stream);
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_EQ(blocks[1].start_bit % 8, bits);
    EXPECT_EQ(blocks[1].bytes, ToBytes("stored"));
    EXPECT_EQ(blocks[1].end_bit, stream.size() * 8);
  }
}

TEST_F(StoredWriter, NoRoomKeepsTheHeldBits) {
  for (size_t bits = 0; bits < 8; ++bits) {
    Fresh();
    Bytes stream = LeaveBits(bits);
    StartBlock(record());
    for (int i = 0; i < 3; ++i) {
      const Written nothing = WriteStored(record(), ToBytes("stored"), 0, zelLZ77FlushFinal);
      EXPECT_EQ(nothing.status, zelWarnDstFull);
      EXPECT_EQ(nothing.left, 6u);
    }
    Append(stream, WriteStored(record(), ToBytes("stored"), 100, zelLZ77FlushFinal).bytes);
    EXPECT_EQ(ParseBlocks(stream).at(1).bytes, ToBytes("stored"));
  }
}

TEST_F(StoredWriter, AnyRoomGivesTheSameBytes) {
  for (size_t bits = 0; bits < 8; ++bits) {
    for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushFinal}) {
      const Bytes source = RandomBytes(40, bits);
      Fresh();
      LeaveBits(bits);
      StartBlock(record());
      const Written whole = WriteStored(record(), source, kPlenty, flush);
      for (size_t room : {0, 1, 2, 3, 4, 5, 6, 7, 10, 39, 40, 44, 45, 46, 47}) {
        Fresh();
        LeaveBits(bits);
        StartBlock(record());
        const Written pieces = StoreInPieces(record(), source, room, flush);
        EXPECT_EQ(pieces.bytes, whole.bytes) << bits << " bits, room " << room;
        EXPECT_EQ(pieces.status, whole.status);
        EXPECT_EQ(pieces.left, 0u);
      }
    }
  }
}

TEST_F(StoredWriter, ManyBlocksThroughAnyRoom) {
  const Bytes source = RandomBytes(140000, 1);
  Fresh();
  const Written whole = WriteStored(record(), source, kPlenty);
  for (size_t room : {1000, 65534, 65539, 65540, 65541, 65545, 70000}) {
    Fresh();
    EXPECT_EQ(StoreInPieces(record(), source, room, zelLZ77FlushNone).bytes, whole.bytes) << room;
  }
}

TEST_F(StoredWriter, ExactRoomCompletesTheBlock) {
  Fresh();
  EXPECT_EQ(WriteStored(record(), ToBytes("abc"), 8).status, zelOk);
  Fresh();
  EXPECT_EQ(WriteStored(record(), ToBytes("abc"), 8, zelLZ77FlushFinal).status, zelWarnStreamEnd);
  Fresh();
  EXPECT_EQ(WriteStored(record(), {}, 5).status, zelOk);
}

// The block's length is fixed by then, so it can't be completed; but nothing behind the source may be read.
TEST_F(StoredWriter, ResumedWithLessInputCopiesNoMoreThanThereIs) {
  Fresh();
  EXPECT_EQ(WriteStored(record(), Bytes(100, 'x'), 20).left, 85u);
  const Written written = WriteStored(record(), Bytes(10, 'y'), 1000);
  EXPECT_EQ(written.bytes, Bytes(10, 'y'));
  EXPECT_EQ(written.status, zelWarnDstFull);
  EXPECT_EQ(WriteStored(record(), {}, 1000).bytes, Bytes());
  const Written rest = WriteStored(record(), Bytes(75, 'z'), 1000);
  EXPECT_EQ(rest.bytes, Bytes(75, 'z'));
  EXPECT_EQ(rest.status, zelOk);
}

// What is more than the block's length goes into blocks of its own.
TEST_F(StoredWriter, ResumedWithMoreInputStartsAnotherBlock) {
  Fresh();
  Bytes stream = WriteStored(record(), ToBytes("0123456789"), 7).bytes;
  Append(stream, WriteStored(record(), ToBytes("23456789more"), 1000, zelLZ77FlushFinal).bytes);
  const Block first = ParseBlocks(stream, 0, true).at(0);
  EXPECT_EQ(first.bytes, ToBytes("0123456789"));
  EXPECT_EQ(ParseBlocks(stream, first.end_bit).at(0).bytes, ToBytes("more"));
}

TEST_F(StoredWriter, IsReadByTheOracles) {
  for (size_t size : {0, 1, 2, 100, 65534, 65535}) {
    Fresh();
    const Bytes source = RandomBytes(size, size);
    EXPECT_TRUE(DecodesTo(WriteStored(record(), source, kPlenty, zelLZ77FlushFinal).bytes, source));
  }
}
