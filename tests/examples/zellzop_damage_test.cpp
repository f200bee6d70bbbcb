// Damaged and truncated files: a message that names the file, exit status 1, the input kept and nothing left behind.

#include <unistd.h>

#include <string>

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

constexpr size_t kHeaderBytes = 38 + 1;  // of a file whose name has one letter

class ZellzopDamage : public ShellTest {
 protected:
  const Bytes text_ = Text(600, 5);

  Bytes Compressed(const Bytes& data, const std::string& options = "") {
    Write("x", data);
    EXPECT_EQ(Run("zellzop -qc " + options + " x > x.lzo; rm x").status, 0);
    return Read("x.lzo");
  }

  void ExpectDamaged(const Bytes& file, const std::string& message) {
    Write("x.lzo", file);
    const Outcome outcome = Run("zellzop -d x.lzo");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zellzop: " + message + "\n");
    EXPECT_EQ(Files(), Names{"x.lzo"});
    EXPECT_EQ(Read("x.lzo"), file);
  }
};

void PutWord(Bytes& file, size_t at, uint32_t word) {
  for (size_t i = 0; i < 4; ++i) file[at + i] = static_cast<uint8_t>(word >> (24 - 8 * i));
}

// Makes the header's checksum, an Adler-32, right again.
void Seal(Bytes& file) {
  uint32_t low = 1, high = 0;
  for (size_t i = 9; i < kHeaderBytes - 4; ++i) {
    low = (low + file[i]) % 65521;
    high = (high + low) % 65521;
  }
  PutWord(file, kHeaderBytes - 4, high << 16 | low);
}

TEST_F(ZellzopDamage, EveryTruncationIsAnUnexpectedEnd) {
  for (const char* const options : {"", "--crc32", "--parallel"}) {
    const Bytes file = Compressed(text_, options);
    for (size_t size = 0; size < file.size(); size += size < 52 ? 1 : 41) {
      SCOPED_TRACE(size);
      ExpectDamaged(Front(file, size), size < 9 ? "x.lzo: not a lzop file" : "unexpected end of file: x.lzo");
      if (HasFailure()) return;
    }
    ExpectDamaged(Front(file, file.size() - 1), "unexpected end of file: x.lzo");
  }
}

TEST_F(ZellzopDamage, NoFlippedBitChangesTheDataUnnoticed) {
  for (const char* const options : {"", "--crc32", "--parallel"}) {
    const Bytes file = Compressed(text_, options);
    size_t unnoticed = 0;
    for (size_t at = 0; at < file.size(); at += at < 48 ? 1 : 7) {
      Bytes damaged = file;
      damaged[at] ^= static_cast<uint8_t>(1 << at % 8);
      Write("x.lzo", damaged);
      const Outcome outcome = Run("zellzop -d x.lzo");
      if (outcome.status == 0) {
        ++unnoticed;
        EXPECT_EQ(Read("x"), text_) << at;
        EXPECT_EQ(unlink(Path("x").c_str()), 0);
        continue;
      }
      EXPECT_EQ(outcome.status, 1) << at;
      EXPECT_EQ(outcome.err.find("zellzop: "), 0u) << outcome.err;
      EXPECT_EQ(Files(), Names{"x.lzo"}) << at;
      if (HasFailure()) return;
    }
    // An end marker has more than one form.
    EXPECT_LE(unnoticed, 3u);
  }
}

TEST_F(ZellzopDamage, AWrongHeaderChecksumIsAnError) {
  Bytes file = Compressed(text_);
  for (size_t at = 9; at < kHeaderBytes - 6; at += 4) {
    Bytes damaged = file;
    damaged[at + 1] ^= 0x02;
    Write("x.lzo", damaged);
    EXPECT_EQ(Run("zellzop -d x.lzo").status, 1) << at;
  }
  file[kHeaderBytes - 1] ^= 1;
  ExpectDamaged(file, "x.lzo: header corrupted (checksum error)");
}

TEST_F(ZellzopDamage, HeadersOfOtherTimesAreErrors) {
  const Bytes file = Compressed(text_);
  auto changed = [&](size_t at, uint8_t value) {
    Bytes other = file;
    other[at] = value;
    Seal(other);
    return other;
  };
  ExpectDamaged(changed(9, 0x08), "x.lzo: header of a version that is too old");
  ExpectDamaged(changed(13, 0x20), "x.lzo: you need a newer version of zellzop");
  for (const uint8_t method : Bytes{0, 4, 128}) {
    ExpectDamaged(changed(15, method), "x.lzo: unknown compression method -- get a newer version of zellzop");
  }
  ExpectDamaged(changed(18, 0x04), "x.lzo: unknown header flags -- get a newer version of zellzop");
  // The others are for programs on other systems.
  Write("x.lzo", changed(17, 0x07));
  EXPECT_EQ(Run("zellzop -t x.lzo").status, 0);
}

TEST_F(ZellzopDamage, LengthsThatLieAreErrors) {
  const Bytes file = Compressed(Text(10000, 6));
  auto with_lengths = [&](uint32_t data, uint32_t compressed) {
    Bytes other = file;
    PutWord(other, kHeaderBytes, data);
    PutWord(other, kHeaderBytes + 4, compressed);
    return other;
  };
  const uint32_t compressed = static_cast<uint32_t>(file.size() - kHeaderBytes - 12 - 4);
  const std::string corrupted = "x.lzo: lzop file corrupted";
  ExpectDamaged(with_lengths(0x7FFFFFFF, compressed), corrupted);
  ExpectDamaged(with_lengths(0xFFFFFFFF, 0xFFFFFFFF), corrupted);
  ExpectDamaged(with_lengths(10000, 10001), corrupted);
  ExpectDamaged(with_lengths(10000, 0), corrupted);
  ExpectDamaged(with_lengths(10001, compressed), corrupted);
  ExpectDamaged(with_lengths(9999, compressed), corrupted);
  ExpectDamaged(with_lengths(10000, compressed - 1), corrupted);
  ExpectDamaged(with_lengths(1 << 26, 1 << 25), "unexpected end of file: x.lzo");
  // Memory grows with what is there.
#ifndef ZELDC_SANITIZED
  Write("x.lzo", with_lengths(1 << 26, 1 << 26));
  EXPECT_LT(Run("zellzop -t x.lzo").peak_kilobytes, 32000);
#endif
}

TEST_F(ZellzopDamage, LengthsThatLieInAParallelFileAreErrors) {
  const Bytes file = Compressed(Text(10000, 6), "--parallel");
  for (const size_t at : {10, 14}) {
    for (const uint32_t lie : {0x7FFFFFFFu, 0xFFFFFFFFu, 10001u, 1u}) {
      Bytes damaged = file;
      PutWord(damaged, at, lie);
      ExpectDamaged(damaged, "x.lzo: file corrupted");
    }
  }
  Bytes later = file;
  later[9] = 2;
  ExpectDamaged(later, "x.lzo: you need a newer version of zellzop");
}

TEST_F(ZellzopDamage, AContainerWithinAnLzoFileMayNotLieEither) {
  // The library reads containers of chunks wherever it reads LZO. One that claims more than the block has room for:
  Bytes file = Compressed(Text(1000, 6));
  file.resize(kHeaderBytes);
  const Bytes container = {0x82, 0xFF, 0xFF, 0xFF, 0x7F, 5, 0, 0, 0, 0x12, 'a', 0x11, 0, 0, 0x12, 'a', 0x11, 0, 0};
  file.resize(kHeaderBytes + 12);
  PutWord(file, kHeaderBytes, 1000);
  PutWord(file, kHeaderBytes + 4, static_cast<uint32_t>(container.size()));
  Append(file, container);
  Append(file, Bytes(4));
  ExpectDamaged(file, "x.lzo: lzop file corrupted");
}

TEST_F(ZellzopDamage, RandomDamageIsNeverMoreThanAnError) {
  Random random(14);
  for (const char* const options : {"-F", "--parallel"}) {
    const Bytes file = Compressed(Mixed(300000, 13), options);
    for (int i = 0; i < 25; ++i) {
      Bytes damaged = file;
      for (size_t count = Uniform(random, 1, 20); count > 0; --count) {
        damaged[Uniform(random, 10, damaged.size() - 1)] = static_cast<uint8_t>(random());
      }
      Write("x.lzo", damaged);
      const Outcome outcome = Run("zellzop -t x.lzo");
      ASSERT_TRUE(outcome.status == 1 || outcome.status == 0) << outcome.status << outcome.err;
    }
  }
}

TEST_F(ZellzopDamage, WithoutChecksumsDamageMayPass) {
  Bytes file = Compressed(RandomBytes(1000, 3));
  file[kHeaderBytes + 500] ^= 1;
  Write("x.lzo", file);
  EXPECT_EQ(Run("zellzop -t x.lzo").status, 1);
  EXPECT_EQ(Run("zellzop -tF x.lzo").status, 0);
}

TEST_F(ZellzopDamage, AForcedTargetSurvivesADamagedSource) {
  Bytes file = Compressed(text_);
  file[kHeaderBytes + 100] ^= 1;
  Write("x.lzo", file);
  Write("x", "precious");
  EXPECT_EQ(Run("zellzop -df x.lzo").status, 1);
  EXPECT_EQ(Run("zellzop -df x.lzo -o x").status, 1);
  EXPECT_EQ(Files(), (Names{"x", "x.lzo"}));
  EXPECT_EQ(ReadText("x"), "precious");
}

TEST_F(ZellzopDamage, StdoutGetsWhatComesBeforeTheDamage) {
  const Bytes data = RandomBytes(1000000, 15);
  const Bytes file = Compressed(data);
  Write("x.lzo", Front(file, file.size() - 10));
  EXPECT_EQ(ToBytes(Run("zellzop -dc x.lzo").out), Front(data, 3 * 262144));
}

TEST_F(ZellzopDamage, StandardInputIsNamedInMessages) {
  Write("x.lzo", Front(Compressed(text_), 100));
  EXPECT_EQ(Run("zellzop -d < x.lzo").err, "zellzop: unexpected end of file: <stdin>\n");
}

TEST_F(ZellzopDamage, GarbageBehindTheLastMemberIsAWarning) {
  for (const Bytes& garbage : {ToBytes("garbage"), Bytes(1), ToBytes("\x89LZO"), Bytes(300000, 'g')}) {
    Bytes file = Compressed(text_);
    Append(file, garbage);
    Write("x.lzo", file);
    const Outcome outcome = Run("zellzop -d x.lzo");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "zellzop: x.lzo: warning: ignoring trailing garbage in lzop file\n");
    EXPECT_EQ(Read("x"), text_);
    EXPECT_EQ(Run("zellzop -tq x.lzo").err, "");
    EXPECT_EQ(Run("rm x; zellzop -t --ignore-warn x.lzo").status, 0);
  }
}

TEST_F(ZellzopDamage, DamageOfALaterMemberIsAnError) {
  Bytes file = Compressed(text_);
  const Bytes second = file;
  for (size_t size = 9; size < second.size(); size += 100) {
    Bytes both = file;
    Append(both, Front(second, size));
    Write("x.lzo", both);
    EXPECT_EQ(Run("zellzop --no-warn -d x.lzo -o y").err, "zellzop: unexpected end of file: x.lzo\n");
    EXPECT_EQ(Files(), Names{"x.lzo"});
  }
}

}  // namespace
}  // namespace zeldc_test
