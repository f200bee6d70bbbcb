// zelbzip2 beside the system's programs: each reads what the other writes.

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class Zelbzip2Interop : public ShellTest {
 protected:
  void SetUp() override {
    Write("text", Text(1500000, 21));
    Write("random", RandomBytes(1000000, 22));
    Write("runs", Runs(1000000, 2000, 23));
    Write("mixed", Mixed(2000000, 24));
    Write("zeros", Bytes(3000000));
    Bytes all;
    for (int value = 0; value < 256; ++value) all.push_back(static_cast<uint8_t>(value));
    Write("all256", all);
    Write("one", "x");
    Write("empty", "");
    for (const size_t size : {100000, 100001, 900000, 900001}) Write("text" + std::to_string(size), Text(size, size));
  }

  // `writer` and `reader` are command lines that work from standard input to standard output.
  void ExpectReads(const std::string& reader, const std::string& writer) {
    for (const char* const file : {"text", "random", "runs", "mixed", "zeros", "all256", "one", "empty", "text100000",
                                   "text100001", "text900000", "text900001"}) {
      const Outcome outcome =
          Run(writer + " < " + file + " > packed && " + reader + " < packed > unpacked && cmp unpacked " + file);
      EXPECT_EQ(outcome.status, 0) << writer << " | " << reader << " of " << file << ": " << outcome.out << outcome.err;
    }
  }
};

TEST_F(Zelbzip2Interop, Bzip2ReadsZelbzip2) {
  NEEDS_PROGRAM("bzip2");
  for (const char* const level : {"1", "5", "9"}) ExpectReads("bzip2 -dc", std::string("zelbzip2 -") + level);
}

TEST_F(Zelbzip2Interop, Zelbzip2ReadsBzip2) {
  NEEDS_PROGRAM("bzip2");
  for (const char* const level : {"1", "5", "9"}) ExpectReads("zelbzip2 -dc", std::string("bzip2 -") + level);
}

TEST_F(Zelbzip2Interop, Lbzip2ReadsZelbzip2) {
  NEEDS_PROGRAM("lbzip2");
  for (const char* const level : {"1", "9"}) ExpectReads("lbzip2 -dc", std::string("zelbzip2 -") + level);
}

TEST_F(Zelbzip2Interop, Zelbzip2ReadsLbzip2) {
  NEEDS_PROGRAM("lbzip2");
  for (const char* const options : {"-1", "-9", "-9 -n 1", "-1 -n 4"}) {
    ExpectReads("zelbzip2 -dc", std::string("lbzip2 ") + options);
    ExpectReads("zelbzip2 -dc -p 3", std::string("lbzip2 ") + options);
  }
}

TEST_F(Zelbzip2Interop, StreamsOfDifferentProgramsFormOneFile) {
  NEEDS_PROGRAM("bzip2");
  NEEDS_PROGRAM("lbzip2");
  const std::string join =
      "{ bzip2 -c text; zelbzip2 -c random; lbzip2 -1c runs; zelbzip2 -1c empty; bzip2 -c one; } > all.bz2;"
      "cat text random runs empty one > all;";
  EXPECT_EQ(Run(join + "zelbzip2 -dc all.bz2 | cmp - all").status, 0);
  EXPECT_EQ(Run("zelbzip2 -p1 -dc all.bz2 | cmp - all").status, 0);
  EXPECT_EQ(Run("bzip2 -dc all.bz2 | cmp - all").status, 0);
  EXPECT_EQ(Run("lbzip2 -dc all.bz2 | cmp - all").status, 0);
}

TEST_F(Zelbzip2Interop, AHundredConcatenatedFiles) {
  NEEDS_PROGRAM("bzip2");
  EXPECT_EQ(Run("for i in $(seq 100); do echo line $i | tee -a all | bzip2 -$((i % 9 + 1)); done > all.bz2;"
                "zelbzip2 -dc all.bz2 | cmp - all")
                .status,
            0);
}

TEST_F(Zelbzip2Interop, ExitStatusesAreThoseOfBzip2) {
  NEEDS_PROGRAM("bzip2");
  const char* const preparation =
      "rm -rf *; printf text > a; cp a b; bzip2 b; bzip2 -c a > x.bz2; cp x.bz2 y.bz2; printf garbage >> y.bz2;"
      "head -c 15 x.bz2 > short.bz2; printf 'no bzip2' > no.bz2; mkdir d; ln -s a link; bzip2 -c a > noname;"
      "bzip2 -c a > zeros.bz2; printf '\\0\\0\\0' >> zeros.bz2; bzip2 -c a > odd.bz2; printf B >> odd.bz2;"
      "cp a h; ln h h2; : > empty; : > empty.bz2; printf BZh9xxxxxxxxxxxxx > bad.bz2; cp x.bz2 t.tbz2; cp a e; cp a "
      "e.bz2;";
  for (const char* const arguments : {"a",
                                      "-k a",
                                      "-c a",
                                      "a.bz2",
                                      "missing",
                                      "-d missing",
                                      "d",
                                      "-d d",
                                      "-d a",
                                      "-t x.bz2",
                                      "-t y.bz2",
                                      "-t short.bz2",
                                      "-t no.bz2",
                                      "-t bad.bz2",
                                      "-t empty.bz2",
                                      "-d empty.bz2",
                                      "-d bad.bz2",
                                      "-d no.bz2",
                                      "-df no.bz2",
                                      "-d x.bz2",
                                      "-d y.bz2",
                                      "-dk short.bz2",
                                      "-dc noname",
                                      "-t noname",
                                      "-d noname",
                                      "-d t.tbz2",
                                      "link",
                                      "-c link",
                                      "-f link",
                                      "-t link",
                                      "-d link",
                                      "h",
                                      "-f h",
                                      "-c h",
                                      "e",
                                      "-f e",
                                      "empty",
                                      "-t zeros.bz2",
                                      "-tv zeros.bz2",
                                      "-t odd.bz2",
                                      "-tq y.bz2",
                                      "-cdf no.bz2",
                                      "-cdf empty.bz2",
                                      "a missing",
                                      "missing a",
                                      "-t x.bz2 short.bz2 y.bz2",
                                      "-t y.bz2 x.bz2",
                                      "--nonsense",
                                      "x.bz2",
                                      "-f x.bz2",
                                      "-c x.bz2",
                                      "-z x.bz2",
                                      "-dk b.bz2",
                                      "-f b.bz2"}) {
    // Whether the bytes are those of bzip2 is not asked here.
    const std::string command = std::string("bzip2 ") + arguments + " > out 2>&1; status=$?; rm -f out; ";
    const std::string tail = "ls -R; exit $status";
    const Outcome theirs = Run(preparation + command + tail);
    const Outcome ours = Run(std::string(preparation) + "zel" + command + tail);
    EXPECT_EQ(ours.status, theirs.status) << arguments;
    EXPECT_EQ(ours.out, theirs.out) << arguments;
  }
}

TEST_F(Zelbzip2Interop, MessagesAreThoseOfBzip2) {
  NEEDS_PROGRAM("bzip2");
  ASSERT_EQ(Run("rm *; printf text > a; bzip2 -k a; cp a.bz2 noname; cp a.bz2 y.bz2; printf garbage >> y.bz2; mkdir d;"
                "ln -s a link; cp a h; ln h h2; printf 'no bzip2' > no.bz2; cp a c; : > c.bz2; cp a.bz2 t.tbz;"
                ": > nothing")
                .status,
            0);
  for (const char* const arguments :
       {"a", "missing", "-d missing", "d", "link", "h", "a.bz2", "t.tbz", "-d a.bz2", "-d no.bz2", "-dk noname",
        "-tv a.bz2", "-tv a.bz2 noname", "-dfkv a.bz2", "-t y.bz2", "-kv nothing"}) {
    const Outcome theirs = Run(std::string("bzip2 ") + arguments);
    const Outcome ours =
        Run(std::string("rm -f noname.out nothing.bz2; zelbzip2 ") + arguments + "; rm -f noname.out nothing.bz2");
    std::string expected;
    for (size_t at = 0, next; at < theirs.err.size(); at = next) {
      next = std::min(theirs.err.find('\n', at), theirs.err.size()) + 1;
      const std::string line = theirs.err.substr(at, next - at);
      expected += (line.compare(0, 5, "bzip2") == 0 ? "zel" : "") + line;
    }
    EXPECT_EQ(ours.err, expected) << arguments;
  }
}

}  // namespace
}  // namespace zeldc_test
