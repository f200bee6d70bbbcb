// Damaged and truncated files: a message that names the file, exit status 1, the input kept and nothing left behind.

#include <unistd.h>

#include <string>

#include "gzip_file.h"
#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class ZelgzipDamage : public ShellTest {
 protected:
  const Bytes text_ = Text(600, 5);

  void ExpectDamaged(const Bytes& file, const std::string& message) {
    Write("x.gz", file);
    const Outcome outcome = Run("zelgzip -d x.gz");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zelgzip: x.gz: " + message + "\n");
    EXPECT_EQ(Files(), Names{"x.gz"});
    EXPECT_EQ(Read("x.gz"), file);
  }
};

TEST_F(ZelgzipDamage, EveryTruncationIsAnUnexpectedEnd) {
  const Bytes file = GzipFile(text_, {.name = ToBytes("x")});
  for (size_t size = 0; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectDamaged(Front(file, size), "unexpected end of file");
    if (HasFailure()) return;
  }
}

TEST_F(ZelgzipDamage, TruncationWithinAStoredBlockIsAnUnexpectedEnd) {
  const Bytes file = GzipFile(RandomBytes(100, 6));
  for (size_t size = 10; size < file.size(); size += 5) {
    SCOPED_TRACE(size);
    ExpectDamaged(Front(file, size), "unexpected end of file");
  }
}

TEST_F(ZelgzipDamage, TruncationOfALargeFileIsAnUnexpectedEnd) {
  const Bytes file = GzipFile(Mixed(3000000, 7));
  for (size_t size = file.size() - 1; size > 300000; size -= 262144) {
    SCOPED_TRACE(size);
    ExpectDamaged(Front(file, size), "unexpected end of file");
  }
}

TEST_F(ZelgzipDamage, TruncationOfALaterMemberIsAnUnexpectedEnd) {
  const Bytes member = GzipFile(text_);
  for (size_t size = 1; size < member.size(); size += 13) {
    SCOPED_TRACE(size);
    Bytes file = member;
    Append(file, Front(member, size));
    ExpectDamaged(file, "unexpected end of file");
  }
}

TEST_F(ZelgzipDamage, WrongCrcIsAnError) {
  Bytes file = GzipFile(text_);
  for (size_t i = 5; i <= 8; ++i) {
    Bytes damaged = file;
    damaged[damaged.size() - i] ^= 0x10;
    ExpectDamaged(damaged, "invalid compressed data--crc error");
  }
}

TEST_F(ZelgzipDamage, WrongSizeIsAnError) {
  Bytes file = GzipFile(text_);
  for (size_t i = 1; i <= 4; ++i) {
    Bytes damaged = file;
    damaged[damaged.size() - i] ^= 0x10;
    ExpectDamaged(damaged, "invalid compressed data--length error");
  }
}

TEST_F(ZelgzipDamage, WrongCrcOfALaterMemberIsAnError) {
  Bytes file = GzipFile(text_);
  Append(file, GzipFile(text_));
  Append(file, GzipFile(text_));
  file[2 * file.size() / 3 - 5] ^= 1;
  ExpectDamaged(file, "invalid compressed data--crc error");
}

TEST_F(ZelgzipDamage, ReservedBlockTypeIsAnError) {
  ExpectDamaged(GzipFileAround({0x07}, {}), "invalid compressed data--format violated");
}

TEST_F(ZelgzipDamage, ReservedBlockTypeBehindAGoodBlockIsAnError) {
  // A stored block of one byte, then the type 11.
  ExpectDamaged(GzipFileAround({0x00, 0x01, 0x00, 0xfe, 0xff, 'a', 0x07}, ToBytes("a")),
                "invalid compressed data--format violated");
}

TEST_F(ZelgzipDamage, WrongLengthComplementIsAnError) {
  ExpectDamaged(GzipFileAround({0x01, 0x01, 0x00, 0xfe, 0xfe, 'a'}, ToBytes("a")),
                "invalid compressed data--format violated");
}

TEST_F(ZelgzipDamage, DistanceBeforeTheFirstByteIsAnError) {
  // A last fixed block: length 3 (code 257), distance 1, end of block.
  ExpectDamaged(GzipFileAround({0x03, 0x02, 0x00}, ToBytes("aaa")), "invalid compressed data--format violated");
}

TEST_F(ZelgzipDamage, DistanceIntoAnEarlierMemberIsAnError) {
  Bytes file = GzipFile(text_);
  Append(file, GzipFileAround({0x03, 0x02, 0x00}, ToBytes("aaa")));
  ExpectDamaged(file, "invalid compressed data--format violated");
}

TEST_F(ZelgzipDamage, CodesThatMeanNothingAreAnError) {
  // A last dynamic block whose code-length code has nineteen codes of seven bits, and then bits that are none of them.
  Bytes stream(100, 0xff);
  stream[0] = 0x05;
  stream[1] = 0xe0;
  ExpectDamaged(GzipFileAround(stream, {}), "invalid compressed data--format violated");
}

TEST_F(ZelgzipDamage, NoFlippedBitChangesTheDataUnnoticed) {
  const Bytes file = GzipFile(text_);
  const size_t header = GzipHeader().size();
  size_t unnoticed = 0;
  for (size_t bit = 0; bit < 8 * file.size(); ++bit) {
    // One bit in seven, but all those of the header's magic, method and flags; the rest of it says nothing of the data.
    if (bit >= 4 * 8 && (bit % 7 != 0 || bit < 8 * header)) continue;
    Bytes damaged = file;
    damaged[bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
    Write("x.gz", damaged);
    const Outcome outcome = Run("zelgzip -d x.gz");
    if (outcome.status == 0) {
      ++unnoticed;
      EXPECT_EQ(Files(), Names{"x"}) << bit;
      EXPECT_EQ(Read("x"), text_) << bit;
      EXPECT_EQ(unlink(Path("x").c_str()), 0);
    } else {
      EXPECT_EQ(outcome.status, 1) << bit;
      EXPECT_EQ(outcome.err.find("zelgzip: x.gz"), 0u) << outcome.err;
      EXPECT_EQ(Files(), Names{"x.gz"}) << bit;
    }
    if (HasFailure()) return;
  }
  // The text flag, and the bits between the last code and its byte's end.
  EXPECT_GE(unnoticed, 1u);
  EXPECT_LE(unnoticed, 1u + 3u);
}

TEST_F(ZelgzipDamage, AForcedTargetSurvivesADamagedSource) {
  Bytes file = GzipFile(text_);
  file[file.size() - 5] ^= 1;
  Write("x.gz", file);
  Write("x", "precious");
  EXPECT_EQ(Run("zelgzip -df x.gz").status, 1);
  EXPECT_EQ(Files(), (Names{"x", "x.gz"}));
  EXPECT_EQ(ReadText("x"), "precious");
}

TEST_F(ZelgzipDamage, TestingFindsTheDamage) {
  Bytes file = GzipFile(text_);
  file[file.size() - 5] ^= 1;
  Write("x.gz", file);
  const Outcome outcome = Run("zelgzip -tv x.gz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelgzip: x.gz: invalid compressed data--crc error\n");
}

TEST_F(ZelgzipDamage, StandardInputIsNamedInMessages) {
  Write("x.gz", Front(GzipFile(text_), 100));
  const Outcome outcome = Run("zelgzip -d < x.gz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelgzip: stdin: unexpected end of file\n");
}

TEST_F(ZelgzipDamage, StdoutGetsWhatComesBeforeTheDamage) {
  const Bytes file = GzipFile(RandomBytes(500000, 8));
  Write("x.gz", Front(file, 400000));
  const Bytes out = ToBytes(Run("zelgzip -dc x.gz").out);
  // The data is stored, in blocks: all but a few bytes of what is there can be saved.
  ASSERT_GT(out.size(), 399000u);
  EXPECT_EQ(out, Front(RandomBytes(500000, 8), out.size()));
}

TEST_F(ZelgzipDamage, ZerosBehindTheLastMemberAreIgnored) {
  for (const size_t zeros : {1, 2, 512, 1000000}) {
    Bytes file = GzipFile(text_);
    Append(file, Bytes(zeros));
    Write("x.gz", file);
    const Outcome outcome = Run("zelgzip -d x.gz");
    EXPECT_EQ(outcome.status, 0) << zeros;
    EXPECT_EQ(outcome.err, "") << zeros;
    EXPECT_EQ(Read("x"), text_) << zeros;
    EXPECT_EQ(Run("rm x").status, 0);
  }
}

TEST_F(ZelgzipDamage, ZerosAreMentionedWhenVerbose) {
  Bytes file = GzipFile(text_);
  Append(file, Bytes(3));
  Write("x.gz", file);
  const Outcome outcome = Run("zelgzip -tv x.gz");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "zelgzip: x.gz: decompression OK, trailing zero bytes ignored\nx.gz:\t OK\n");
}

TEST_F(ZelgzipDamage, GarbageBehindTheLastMemberIsAWarning) {
  for (const Bytes& garbage : {ToBytes("garbage"), Bytes{0, 0, 7}, Bytes{0x1f, 0x8c}, Bytes(1000000, 'g')}) {
    Bytes file = GzipFile(text_);
    Append(file, garbage);
    Write("x.gz", file);
    const Outcome outcome = Run("zelgzip -d x.gz");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "zelgzip: x.gz: decompression OK, trailing garbage ignored\n");
    EXPECT_EQ(Files(), Names{"x"});
    EXPECT_EQ(Read("x"), text_);
    EXPECT_EQ(Run("rm x").status, 0);
  }
}

TEST_F(ZelgzipDamage, ASingleByteBehindTheLastMemberIsAnUnexpectedEnd) {
  Bytes file = GzipFile(text_);
  file.push_back('g');
  ExpectDamaged(file, "unexpected end of file");
}

}  // namespace
}  // namespace zeldc_test
