// What zelbzip2 makes of data of all kinds and sizes, and of any number of threads.

#include "bzip2_file.h"
#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class Zelbzip2Streams : public ShellTest {
 protected:
  // Both ways through libbz2 and back through itself.
  void ExpectRoundTrip(const Bytes& data, int level, const std::string& what) {
    SCOPED_TRACE(what + " at level " + std::to_string(level));
    Write("data", data);
    ASSERT_EQ(Run("zelbzip2 -" + std::to_string(level) + " < data > data.bz2").status, 0);
    EXPECT_TRUE(BunzipsTo(Read("data.bz2"), data));
    const Outcome back = Run("zelbzip2 -d < data.bz2 | cmp - data");
    EXPECT_EQ(back.status, 0) << back.out << back.err;
    Write("theirs.bz2", Bzip2File(data, level));
    const Outcome theirs = Run("zelbzip2 -d < theirs.bz2 | cmp - data");
    EXPECT_EQ(theirs.status, 0) << theirs.out << theirs.err;
  }
};

TEST_F(Zelbzip2Streams, AllKindsOfData) {
  for (const NamedData& kind : AllKinds(50000)) ExpectRoundTrip(kind.data, 9, kind.name);
}

TEST_F(Zelbzip2Streams, EveryByteOnItsOwn) {
  for (int value = 0; value < 256; value += 15) {
    ExpectRoundTrip(Bytes(1, static_cast<uint8_t>(value)), 9, "byte " + std::to_string(value));
  }
}

TEST_F(Zelbzip2Streams, All256ValuesInOrder) {
  Bytes data;
  for (int value = 0; value < 256; ++value) data.push_back(static_cast<uint8_t>(value));
  ExpectRoundTrip(data, 1, "rising");
  ExpectRoundTrip(Bytes(data.rbegin(), data.rend()), 1, "falling");
}

TEST_F(Zelbzip2Streams, RunsOfEveryLengthAroundTheCode) {
  Bytes data;
  for (const size_t length : {1, 2, 3, 4, 5, 6, 254, 255, 256, 258, 259, 260, 262, 263, 264, 518, 519, 1000}) {
    data.insert(data.end(), length, static_cast<uint8_t>(length));
    data.insert(data.end(), length, static_cast<uint8_t>(length - 4));  // as the counts are
  }
  ExpectRoundTrip(data, 1, "runs");
  for (size_t length = 1; length < 12; ++length) ExpectRoundTrip(Bytes(length, 4), 1, std::to_string(length));
}

TEST_F(Zelbzip2Streams, SizesAroundTheBlock) {
  for (const int level : {1, 9}) {
    const size_t block = 100000 * static_cast<size_t>(level);
    for (const size_t size : {block - 20, block - 19, block - 18, block - 1, block, block + 1, 2 * block + 1}) {
      ExpectRoundTrip(Text(size, 16), level, std::to_string(size) + " bytes of text");
    }
    for (const size_t size : {block, block + 1}) {
      ExpectRoundTrip(RandomBytes(size, 15), level, std::to_string(size) + " random bytes");
      ExpectRoundTrip(Bytes(size, 'x'), level, std::to_string(size) + " equal bytes");
    }
  }
}

TEST_F(Zelbzip2Streams, RunsAcrossTheEndOfABlock) {
  // The block is full within the run, at its fourth byte, or before its count.
  for (size_t before = 99970; before < 99986; ++before) {
    Bytes data = SmallAlphabet(before, 250, 3);
    for (size_t i = 1; i < data.size(); ++i) {
      if (data[i] == data[i - 1]) data[i] = static_cast<uint8_t>(250 + i % 2);  // no runs but the one to come
    }
    data.insert(data.end(), 300, 'r');
    Append(data, Text(1000, 4));
    ExpectRoundTrip(data, 1, std::to_string(before));
  }
}

TEST_F(Zelbzip2Streams, BlocksThatAreLongBehindTheRunLengthCode) {
  ExpectRoundTrip(Bytes(30000000), 1, "zeros");
  Bytes data;
  for (int i = 0; i < 100000; ++i) data.insert(data.end(), 259, static_cast<uint8_t>(i));
  ExpectRoundTrip(data, 9, "runs of 259");
}

TEST_F(Zelbzip2Streams, PiecesThatCannotBeCutBeforeARun) {
  // The counts of the runs are the bytes themselves: behind the run-length code no byte differs from the one before, or
  // only behind four that are equal.
  Bytes data;
  for (int i = 0; i < 30000; ++i) data.insert(data.end(), 4 + 'a', 'a');
  ExpectRoundTrip(data, 9, "equal bytes");
  data.clear();
  for (int i = 0; i < 60000; ++i) data.insert(data.end(), 4 + 'a' + i % 2, static_cast<uint8_t>('a' + i % 2));
  ExpectRoundTrip(data, 9, "two bytes");
}

TEST_F(Zelbzip2Streams, LargeMixedData) { ExpectRoundTrip(Mixed(4000000, 17), 3, "mixed"); }

TEST_F(Zelbzip2Streams, ThreadsDoNotChangeTheOutput) {
  Write("data", Mixed(3000000, 18));
  ASSERT_EQ(
      Run("for p in 1 2 3 4 7; do zelbzip2 -2 -p $p < data > $p.bz2 || exit; done; zelbzip2 -2 < data > bz2").status,
      0);
  for (const char* const other : {"2.bz2", "3.bz2", "4.bz2", "7.bz2", "bz2"}) EXPECT_EQ(Read(other), Read("1.bz2"));
  EXPECT_EQ(Run("for p in 1 2 3 4 7; do zelbzip2 -d -p $p < 1.bz2 | cmp - data || exit; done").status, 0);
}

TEST_F(Zelbzip2Streams, MoreThreadsThanBlocks) {
  for (const char* const file : {"", "x", "a few bytes"}) {
    Write("data", file);
    EXPECT_EQ(Run("zelbzip2 -p 50 < data | zelbzip2 -d -p 50 | cmp - data").status, 0);
  }
}

TEST_F(Zelbzip2Streams, ThePiecesOfAPipeDoNotChangeTheOutput) {
  Write("text", Text(500000, 20));
  ASSERT_EQ(Run("zelbzip2 -1 < text > whole; dd if=text bs=777 2>/dev/null | zelbzip2 -1 > pieces").status, 0);
  EXPECT_EQ(Read("whole"), Read("pieces"));
  EXPECT_EQ(Run("dd if=whole bs=777 2>/dev/null | zelbzip2 -d | cmp - text").status, 0);
}

TEST_F(Zelbzip2Streams, ManySmallStreams) {
  Write("a", "a line\n");
  const Outcome outcome =
      Run("zelbzip2 a; for i in 1 2 3 4 5 6 7 8 9 10; do cat a.bz2 a.bz2 > b.bz2; mv b.bz2 a.bz2; done;"
          "for p in 1 2 4; do zelbzip2 -dk -p$p a.bz2; sort -u a; wc -l < a; rm a; done");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "a line\n1024\na line\n1024\na line\n1024\n");
}

TEST_F(Zelbzip2Streams, StreamsOfAllLevelsAndOfNothing) {
  Bytes file;
  Bytes data;
  for (int level = 9; level >= 1; --level) {
    const Bytes part = Text(250000, static_cast<uint64_t>(level));
    Append(file, Bzip2File(part, level));
    Append(data, part);
    if (level % 3 == 0) Append(file, Bzip2File({}));
  }
  Write("all.bz2", file);
  Write("all", data);
  EXPECT_EQ(Run("for p in 1 2 4; do zelbzip2 -dc -p$p all.bz2 | cmp - all || exit; done").status, 0);
}

TEST_F(Zelbzip2Streams, RandomisedBlocks) {
  // No two neighbours are equal, or become so by a change of the lowest bit.
  Bytes data = RandomBytes(800000, 21);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>((data[i] & 0x7F) | (i % 2 << 7));
  const Bytes file = RandomisedFile(data);
  ASSERT_TRUE(BunzipsTo(file, data));
  Write("x.bz2", file);
  for (const char* const threads : {"1", "2"}) {
    EXPECT_EQ(ToBytes(Run(std::string("zelbzip2 -dc x.bz2 -p") + threads).out), data);
  }
}

TEST_F(Zelbzip2Streams, MarksWithinBlocksAreNone) {
  const Bytes block_mark = {0x31, 0x41, 0x59, 0x26, 0x53, 0x59};
  const Bytes end_mark = {0x17, 0x72, 0x45, 0x38, 0x50, 0x90};
  const auto block = [](size_t size, uint64_t seed) {
    Bytes symbols = SmallAlphabet(size, 252, seed);
    for (uint8_t& symbol : symbols) symbol = static_cast<uint8_t>(symbol + 2);
    return symbols;
  };
  const auto insert = [](Bytes& symbols, size_t at, const Bytes& mark) {
    symbols.insert(symbols.begin() + static_cast<ptrdiff_t>(at), mark.begin(), mark.end());
  };
  std::vector<Bytes> blocks = {block(20000, 1), block(20000, 2), block(20000, 3), {}, block(50, 4), block(300, 5)};
  insert(blocks[0], 10000, block_mark);
  insert(blocks[1], 10000, end_mark);
  insert(blocks[2], 0, block_mark);
  insert(blocks[2], 15000, end_mark);
  insert(blocks[2], 20000, block_mark);
  for (int i = 0; i < 5000; ++i) Append(blocks[3], i % 3 ? block_mark : end_mark);
  const Bytes file = FileOfSymbols(blocks);
  const Bunzipped expected = BunzipStream(file);
  ASSERT_TRUE(expected.complete);
  Bytes twice = file;
  Append(twice, file);
  Bytes data = expected.data;
  Append(data, expected.data);
  Write("x.bz2", twice);
  for (const char* const threads : {"1", "2", "3", "8"}) {
    const Outcome outcome = Run(std::string("zelbzip2 -dc x.bz2 -p") + threads);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(ToBytes(outcome.out) == data) << threads;
  }
}

TEST_F(Zelbzip2Streams, MemoryIsBoundedOnLongStreams) {
#ifdef ZELDC_SANITIZED
  GTEST_SKIP() << "sanitizers need memory of their own";
#endif
  // Two threads' work on blocks of 900,000 bytes, with what waits for it: the length of the stream does not matter.
  const std::string source = "yes 'a stream without end' | head -c 100000000 | ";
  for (const std::string& command : {source + "zelbzip2 -p2 > long.bz2", std::string("zelbzip2 -p2 -t long.bz2"),
                                     std::string("zelbzip2 -p2 -dc long.bz2 > /dev/null")}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << command;
    EXPECT_LT(outcome.peak_kilobytes, 64000) << command;
  }
  // Blocks that are 46 times as long behind the run-length code.
  const Outcome outcome = Run("head -c 400000000 /dev/zero | zelbzip2 -p2 | zelbzip2 -p2 -d | wc -c");
  EXPECT_EQ(outcome.out, "400000000\n");
  EXPECT_LT(outcome.peak_kilobytes, 64000);
}

}  // namespace
}  // namespace zeldc_test
