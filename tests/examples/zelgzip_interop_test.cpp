// zelgzip beside the system's programs: each reads what the other writes.

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class ZelgzipInterop : public ShellTest {
 protected:
  void SetUp() override {
    Write("text", Text(1500000, 21));
    Write("random", RandomBytes(300000, 22));
    Write("runs", Runs(1000000, 2000, 23));
    Write("mixed", Mixed(2000000, 24));
    Write("zeros", Bytes(3000000));
    Write("one", "x");
    Write("empty", "");
  }

  // `writer` and `reader` are command lines that work from standard input to standard output.
  void ExpectReads(const std::string& reader, const std::string& writer) {
    for (const char* const file : {"text", "random", "runs", "mixed", "zeros", "one", "empty"}) {
      const Outcome outcome =
          Run(writer + " < " + file + " > packed && " + reader + " < packed > unpacked && cmp unpacked " + file);
      EXPECT_EQ(outcome.status, 0) << writer << " | " << reader << " of " << file << ": " << outcome.out << outcome.err;
    }
  }
};

TEST_F(ZelgzipInterop, GzipReadsZelgzip) {
  NEEDS_PROGRAM("gzip");
  for (const char* const level : {"1", "6", "9"}) ExpectReads("gzip -dc", std::string("zelgzip -") + level);
}

TEST_F(ZelgzipInterop, ZelgzipReadsGzip) {
  NEEDS_PROGRAM("gzip");
  for (int level = 1; level <= 9; ++level) ExpectReads("zelgzip -dc", "gzip -" + std::to_string(level));
}

TEST_F(ZelgzipInterop, PigzReadsZelgzip) {
  NEEDS_PROGRAM("pigz");
  for (const char* const level : {"1", "6", "9"}) ExpectReads("pigz -dc", std::string("zelgzip -") + level);
}

TEST_F(ZelgzipInterop, ZelgzipReadsPigz) {
  NEEDS_PROGRAM("pigz");
  for (int level = 0; level <= 9; ++level) ExpectReads("zelgzip -dc", "pigz -" + std::to_string(level));
}

TEST_F(ZelgzipInterop, ZelgzipReadsPigzInManyBlocks) {
  NEEDS_PROGRAM("pigz");
  for (const char* const options : {"-p 4 -b 32", "-p 4 -b 32 -i", "-R -b 128", "-H", "-F -p 1"}) {
    const std::string command = std::string("pigz -c ") + options;
    if (Run(command + " < one").status != 0) continue;  // an option that this pigz does not have
    ExpectReads("zelgzip -dc", command);
  }
}

TEST_F(ZelgzipInterop, ZelgzipReadsTheSlowestPigz) {
  NEEDS_PROGRAM("pigz");
  Write("short", Text(50000, 25));
  EXPECT_EQ(Run("pigz -11 -c short | zelgzip -dc | cmp - short").status, 0);
}

TEST_F(ZelgzipInterop, MembersOfDifferentProgramsFormOneFile) {
  NEEDS_PROGRAM("gzip");
  const std::string join =
      "{ gzip -c text; zelgzip -c random; gzip -9c runs; zelgzip -9c empty; } > all.gz;"
      "cat text random runs empty > all;";
  EXPECT_EQ(Run(join + "zelgzip -dc all.gz | cmp - all").status, 0);
  EXPECT_EQ(Run("gzip -dc all.gz | cmp - all").status, 0);
}

TEST_F(ZelgzipInterop, NameAndTimePassBetweenThePrograms) {
  NEEDS_PROGRAM("gzip");
  const std::string check = " && test \"$(date -r text +%s)\" = 981173106";
  ASSERT_EQ(Run("touch -d '2001-02-03 04:05:06' text").status, 0);
  EXPECT_EQ(Run("gzip text && mv text.gz x.gz && touch x.gz && zelgzip -dN x.gz" + check).status, 0);
  EXPECT_EQ(Run("zelgzip text && mv text.gz x.gz && touch x.gz && gzip -dN x.gz" + check).status, 0);
}

TEST_F(ZelgzipInterop, ExitStatusesAreThoseOfGzip) {
  NEEDS_PROGRAM("gzip");
  const char* const preparation =
      "rm -rf *; printf text > a; cp a b; gzip b; gzip -c a > x.gz; cp x.gz y.gz; printf garbage >> y.gz;"
      "head -c 15 x.gz > short.gz; printf 'no gzip' > no.gz; mkdir d; ln -s a link; gzip -c a > noname;"
      "gzip -c a > zeros.gz; printf '\\0\\0\\0' >> zeros.gz; gzip -c a > odd.gz; printf g >> odd.gz;";
  for (const char* const arguments : {"a",
                                      "-k a",
                                      "a.gz",
                                      "missing",
                                      "-d missing",
                                      "d",
                                      "-d a",
                                      "-t x.gz",
                                      "-t y.gz",
                                      "-t short.gz",
                                      "-t no.gz",
                                      "-d x.gz",
                                      "-d y.gz",
                                      "-dk short.gz",
                                      "-l x.gz",
                                      "-l no.gz",
                                      "-dc noname",
                                      "-t noname",
                                      "-d noname",
                                      "link",
                                      "-c link",
                                      "-f link",
                                      "-t zeros.gz",
                                      "-tv zeros.gz",
                                      "-t odd.gz",
                                      "-tq y.gz",
                                      "-cdf no.gz",
                                      "a missing",
                                      "-t x.gz short.gz y.gz",
                                      "-t y.gz x.gz",
                                      "-r d",
                                      "--nonsense",
                                      "-S '' a",
                                      "b",
                                      "-k b.gz",
                                      "-f b.gz",
                                      "-dk b"}) {
    const std::string command = std::string("gzip ") + arguments + " > out 2>&1; status=$?; rm -f out; ";
    const std::string tail = "ls -R; exit $status";
    const Outcome theirs = Run(preparation + command + tail);
    const Outcome ours = Run(std::string(preparation) + "zel" + command + tail);
    EXPECT_EQ(ours.status, theirs.status) << arguments;
    EXPECT_EQ(ours.out, theirs.out) << arguments;
  }
}

}  // namespace
}  // namespace zeldc_test
