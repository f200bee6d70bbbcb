// The table of zelgzip -l.

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

const char* const kTitle = "         compressed        uncompressed  ratio uncompressed_name\n";

class ZelgzipList : public ShellTest {
 protected:
  // A member with 12 bytes of header and name, 5 + 1000 bytes of a stored block, and 8 of trailer.
  void WriteStored(const std::string& name) {
    Write(name, RandomBytes(1000, 9));
    ASSERT_EQ(Run("touch -d '2001-02-03 04:05:06' " + name + "; zelgzip -k " + name).status, 0);
  }
};

TEST_F(ZelgzipList, ShowsSizesRatioAndName) {
  WriteStored("a");
  const Outcome outcome = Run("zelgzip -l a.gz");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, std::string(kTitle) + "               1025                1000  -0.5% a\n");
}

TEST_F(ZelgzipList, QuietLeavesOutTheTitle) {
  WriteStored("a");
  EXPECT_EQ(Run("zelgzip -lq a.gz").out, "               1025                1000  -0.5% a\n");
}

TEST_F(ZelgzipList, AddsUpSeveralFiles) {
  WriteStored("a");
  WriteStored("b");
  EXPECT_EQ(Run("zelgzip -l a.gz b.gz").out, std::string(kTitle) +
                                                 "               1025                1000  -0.5% a\n"
                                                 "               1025                1000  -0.5% b\n"
                                                 "               2050                2000  -0.5% (totals)\n");
}

TEST_F(ZelgzipList, CountsAllMembers) {
  WriteStored("a");
  WriteStored("b");
  EXPECT_EQ(Run("cat a.gz b.gz > m.gz; zelgzip -l m.gz").out,
            std::string(kTitle) + "               2050                2000  -0.5% m\n");
}

TEST_F(ZelgzipList, ReadsStandardInput) {
  WriteStored("a");
  EXPECT_EQ(Run("cat a.gz | zelgzip -l").out,
            std::string(kTitle) + "               1025                1000  -0.5% stdout\n");
}

TEST_F(ZelgzipList, ShowsTheStoredNameOnDemand) {
  WriteStored("a");
  EXPECT_EQ(Run("mv a.gz b.gz; zelgzip -lN b.gz").out,
            std::string(kTitle) + "               1025                1000  -0.5% a\n");
}

TEST_F(ZelgzipList, VerboseAddsMethodCrcAndTime) {
  Write("a", "123456789");  // whose CRC-32 is the check value of that checksum
  EXPECT_EQ(Run("touch -d '2001-02-03 04:05:06' a; zelgzip a; zelgzip -lv a.gz | tail -1 | cut -c 1-27").out,
            "defla cbf43926 Feb  3 04:05\n");
  EXPECT_EQ(Run("zelgzip -lv a.gz | head -1").out, std::string("method  crc     date  time  ") + kTitle);
}

TEST_F(ZelgzipList, AnEmptyFileHasNoRatio) {
  Write("a", "");
  EXPECT_EQ(Run("zelgzip -n a; zelgzip -l a.gz").out,
            std::string(kTitle) + "                 20                   0   0.0% a\n");
}

TEST_F(ZelgzipList, DamagedFilesAreErrors) {
  WriteStored("a");
  const Outcome outcome = Run("head -c 500 a.gz > b.gz; zelgzip -l b.gz a.gz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelgzip: b.gz: unexpected end of file\n");
  EXPECT_EQ(outcome.out, std::string(kTitle) +
                             "               1025                1000  -0.5% a\n"
                             "               1025                1000  -0.5% (totals)\n");
}

TEST_F(ZelgzipList, AgreesWithGzip) {
  NEEDS_PROGRAM("gzip");
  Write("text", Text(300000, 10));
  Write("runs", Runs(100000, 300, 11));
  Write("empty", "");
  WriteStored("random");
  ASSERT_EQ(Run("gzip -f text runs empty random").status, 0);
  for (const char* const options : {"-l", "-lv", "-lN", "-lvq", "-lvN"}) {
    const std::string command = std::string("gzip ") + options + " text.gz runs.gz empty.gz random.gz";
    EXPECT_EQ(Run("zel" + command).out, Run(command).out) << options;
  }
}

}  // namespace
}  // namespace zeldc_test
