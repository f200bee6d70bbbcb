// Damaged and truncated files: a message that names the file and the block, exit status 2, the input kept and nothing
// left behind.

#include <unistd.h>

#include <string>

#include "bzip2_file.h"
#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class Zelbzip2Damage : public ShellTest {
 protected:
  const Bytes text_ = Text(600, 5);

  void ExpectDamaged(const Bytes& file, const std::string& message) {
    Write("x.bz2", file);
    for (const char* const threads : {"1", "2"}) {
      const Outcome outcome = Run(std::string("zelbzip2 -dp") + threads + " x.bz2");
      EXPECT_EQ(outcome.status, 2) << threads;
      EXPECT_EQ(outcome.err, "zelbzip2: x.bz2: " + message + "\n") << threads;
      EXPECT_EQ(Files(), Names{"x.bz2"});
      EXPECT_EQ(Read("x.bz2"), file);
    }
  }
};

TEST_F(Zelbzip2Damage, EveryTruncationIsAnUnexpectedEnd) {
  const Bytes file = Bzip2File(text_);
  for (size_t size = 0; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    // The end mark and the CRC are the last ten bytes, with a few bits. Some bits of the mark are needed to decode the
    // last symbols of the block before it.
    if (size + 10 >= file.size() && size + 7 < file.size()) {
      Write("x.bz2", Front(file, size));
      EXPECT_EQ(Run("zelbzip2 -t x.bz2").status, 2);
    } else {
      ExpectDamaged(Front(file, size), size < 4                  ? "file ends unexpectedly"
                                       : size + 10 < file.size() ? "block 1: file ends unexpectedly"
                                                                 : "block 2: file ends unexpectedly");
    }
    if (HasFailure()) return;
  }
}

TEST_F(Zelbzip2Damage, TruncationOfALargeFileNamesTheBlock) {
  // Random data of 100,000 bytes a block, hardly longer or shorter when compressed.
  const Bytes file = Bzip2File(RandomBytes(1000000, 7), 1);
  for (int block = 1; block <= 10; ++block) {
    SCOPED_TRACE(block);
    ExpectDamaged(Front(file, static_cast<size_t>(block) * 100000 - 50000),
                  "block " + std::to_string(block) + ": file ends unexpectedly");
  }
}

TEST_F(Zelbzip2Damage, TruncationOfALaterStreamIsAnUnexpectedEnd) {
  const Bytes stream = Bzip2File(text_);
  for (size_t size = 1; size < stream.size() - 11; size += 13) {
    SCOPED_TRACE(size);
    Bytes file = stream;
    Append(file, Front(stream, size));
    ExpectDamaged(file, "block 2: file ends unexpectedly");
  }
}

TEST_F(Zelbzip2Damage, WrongCrcOfABlockIsAnError) {
  Bytes file = Bzip2File(RandomBytes(250000, 8), 1);
  for (size_t i = 10; i < 14; ++i) {
    Bytes damaged = file;
    damaged[i] ^= 0x10;
    ExpectDamaged(damaged, "block 1: data integrity (CRC) error in data");
  }
}

TEST_F(Zelbzip2Damage, WrongCrcOfAStreamIsAnError) {
  Bytes file = Bzip2File(text_);
  for (size_t i = 2; i <= 4; ++i) {
    Bytes damaged = file;
    damaged[damaged.size() - i] ^= 0x10;
    ExpectDamaged(damaged, "block 2: data integrity (CRC) error in the blocks before it");
  }
}

TEST_F(Zelbzip2Damage, AWrongMarkIsAnError) {
  Bytes file = Bzip2File(text_);
  file[6] ^= 1;
  ExpectDamaged(file, "block 1: data integrity error");
}

TEST_F(Zelbzip2Damage, AWrongMarkOfALaterBlockIsFound) {
  // The first of the three blocks has no end that the other threads could find.
  const Bytes blocks[] = {Bytes(1000, 100), Bytes(1000, 150), Bytes(1000, 200)};
  Bytes file = FileOfSymbols({blocks[0], blocks[1], blocks[2]});
  const size_t second = FileOfSymbols({blocks[0]}).size() - 10;
  file[second] ^= 0x08;
  ExpectDamaged(file, "block 2: data integrity error");
}

TEST_F(Zelbzip2Damage, ABlockLongerThanTheLevelAllowsIsAnError) {
  Bytes file = Bzip2File(RandomBytes(150000, 9), 2);
  file[3] = '1';
  ExpectDamaged(file, "block 1: data integrity error");
}

TEST_F(Zelbzip2Damage, ABlockLongerThanAnyLevelAllowsIsAnError) {
  ExpectDamaged(FileOfSymbols({Bytes(900001, 77)}), "block 1: data integrity error");
}

TEST_F(Zelbzip2Damage, AFirstRowBehindTheBlockIsAnError) {
  Bytes file = Bzip2File(text_);
  // The row is the 24 bits behind the first of byte 14.
  file[14] |= 0x7F;
  ExpectDamaged(file, "block 1: data integrity error");
}

TEST_F(Zelbzip2Damage, ABlockThatUsesNoBytesIsAnError) {
  Bytes file = Bzip2File(text_);
  // The 16 bits behind the row: all of byte 17 but its first bit, all of 18, and the first bit of 19.
  file[17] &= 0x80;
  file[18] = 0;
  file[19] &= 0x7F;
  ExpectDamaged(file, "block 1: data integrity error");
}

TEST_F(Zelbzip2Damage, AnEmptyBlockIsAnError) {
  ExpectDamaged(FileOfSymbols({Bytes()}), "block 1: data integrity error");
}

TEST_F(Zelbzip2Damage, ARandomisedBlockThatIsNoneIsAnError) {
  ExpectDamaged(MarkedAsRandomised(Bzip2File(RandomBytes(5000, 10))), "block 1: data integrity (CRC) error in data");
}

TEST_F(Zelbzip2Damage, GoodBlocksBeforeTheDamageAreCounted) {
  Bytes file = Bzip2File(RandomBytes(950000, 11), 1);
  file[750000] ^= 0x40;
  Write("x.bz2", file);
  for (const char* const threads : {"1", "2", "4"}) {
    const Outcome outcome = Run(std::string("zelbzip2 -tp") + threads + " x.bz2");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err.find("zelbzip2: x.bz2: block 8: data integrity "), 0u) << outcome.err;
  }
}

TEST_F(Zelbzip2Damage, BlocksAreCountedAcrossStreams) {
  Bytes file = Bzip2File(RandomBytes(250000, 12), 1);
  Bytes last = Bzip2File(text_);
  last[10] ^= 1;
  Append(file, last);
  ExpectDamaged(file, "block 4: data integrity (CRC) error in data");
}

TEST_F(Zelbzip2Damage, NoFlippedBitChangesTheDataUnnoticed) {
  const Bytes file = Bzip2File(text_);
  size_t unnoticed = 0;
  for (size_t at = 0; at < file.size(); ++at) {
    for (const size_t bit : {at % 8, (at + 4) % 8}) {
      Bytes damaged = file;
      damaged[at] ^= static_cast<uint8_t>(1 << bit);
      Write("x.bz2", damaged);
      const Outcome outcome = Run(at % 2 ? "zelbzip2 -dp1 x.bz2" : "zelbzip2 -dp2 x.bz2");
      if (outcome.status == 0) {
        ++unnoticed;
        EXPECT_EQ(Files(), Names{"x"}) << at;
        EXPECT_EQ(Read("x"), text_) << at;
        EXPECT_EQ(unlink(Path("x").c_str()), 0);
      } else {
        EXPECT_EQ(outcome.status, 2) << at;
        EXPECT_EQ(outcome.err.find("zelbzip2: x.bz2"), 0u) << outcome.err;
        EXPECT_EQ(Files(), Names{"x.bz2"}) << at;
      }
      if (HasFailure()) return;
    }
  }
  // The level, a table that no group uses, and the bits behind the last.
  EXPECT_LE(unnoticed, file.size() / 10);
}

TEST_F(Zelbzip2Damage, RandomDamageIsNeverMoreThanAnError) {
  const Bytes file = Bzip2File(Mixed(30000, 13), 1);
  Random random(14);
  for (int i = 0; i < 150; ++i) {
    Bytes damaged = file;
    for (size_t count = Uniform(random, 1, 20); count > 0; --count) {
      damaged[Uniform(random, 4, damaged.size() - 1)] = static_cast<uint8_t>(random());
    }
    Write("x.bz2", damaged);
    const Outcome outcome = Run(i % 2 ? "zelbzip2 -tp1 x.bz2" : "zelbzip2 -tp2 x.bz2");
    ASSERT_TRUE(outcome.status == 2 || outcome.status == 0) << outcome.status << outcome.err;
  }
}

TEST_F(Zelbzip2Damage, AForcedTargetSurvivesADamagedSource) {
  Bytes file = Bzip2File(text_);
  file[10] ^= 1;
  Write("x.bz2", file);
  Write("x", "precious");
  EXPECT_EQ(Run("zelbzip2 -df x.bz2").status, 2);
  EXPECT_EQ(Files(), (Names{"x", "x.bz2"}));
  EXPECT_EQ(ReadText("x"), "precious");
}

TEST_F(Zelbzip2Damage, TestingFindsTheDamage) {
  Bytes file = Bzip2File(text_);
  file[10] ^= 1;
  Write("x.bz2", file);
  Write("no.bz2", "no bzip2 file");
  Write("empty.bz2", "");
  const Outcome outcome = Run("zelbzip2 -tv x.bz2 no.bz2 empty.bz2");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "zelbzip2: x.bz2: block 1: data integrity (CRC) error in data\n"
            "zelbzip2: no.bz2: bad magic number (file not created by bzip2)\n"
            "zelbzip2: empty.bz2: file ends unexpectedly\n");
}

TEST_F(Zelbzip2Damage, StandardInputIsNamedInMessages) {
  Write("x.bz2", Front(Bzip2File(text_), 100));
  const Outcome outcome = Run("zelbzip2 -d < x.bz2");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "zelbzip2: stdin: block 1: file ends unexpectedly\n");
}

TEST_F(Zelbzip2Damage, StdoutGetsWhatComesBeforeTheDamage) {
  const Bytes data = RandomBytes(500000, 15);
  Write("x.bz2", Front(Bzip2File(data, 1), 450000));
  for (const char* const threads : {"1", "2"}) {
    const Bytes out = ToBytes(Run(std::string("zelbzip2 -dcp") + threads + " x.bz2").out);
    // Four blocks are whole.
    ASSERT_GE(out.size(), 399000u);
    EXPECT_EQ(out, Front(data, out.size()));
  }
}

TEST_F(Zelbzip2Damage, GarbageBehindTheLastStreamIsMentioned) {
  // All that does not begin as a stream; what may begin as one is not garbage, but cut off.
  for (const Bytes& garbage : {ToBytes("garbage"), Bytes(1), ToBytes("BZh0"), ToBytes("BZz"), Bytes(3000000, 'g')}) {
    Bytes file = Bzip2File(text_);
    Append(file, garbage);
    Write("x.bz2", file);
    for (const char* const threads : {"1", "2"}) {
      const Outcome outcome = Run(std::string("zelbzip2 -dkp") + threads + " x.bz2");
      EXPECT_EQ(outcome.status, 0);
      EXPECT_EQ(outcome.err, "zelbzip2: x.bz2: trailing garbage after EOF ignored\n");
      EXPECT_EQ(Files(), (Names{"x", "x.bz2"}));
      EXPECT_EQ(Read("x"), text_);
      EXPECT_EQ(Run("rm x").status, 0);
    }
    EXPECT_EQ(Run("zelbzip2 -tq x.bz2").err, "");
  }
  for (const char* const beginning : {"B", "BZ", "BZh"}) {
    Bytes file = Bzip2File(text_);
    Append(file, ToBytes(beginning));
    ExpectDamaged(file, "block 2: file ends unexpectedly");
  }
}

}  // namespace
}  // namespace zeldc_test
