// zellzop and lzop read what the other writes, answer the same exit statuses and say the same.

#include <algorithm>
#include <string>

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class ZellzopInterop : public ShellTest {
 protected:
  void SetUp() override {
    NEEDS_PROGRAM("lzop");
    Write("empty", "");
    Write("one", "x");
    Write("text", Text(400000, 1));
    Write("random", RandomBytes(300000, 2));
    Write("runs", Runs(300000, 3000, 3));
    Write("block", Text(262144, 4));
  }

  void ExpectReads(const std::string& reader, const std::string& writer) {
    const Outcome outcome = Run("for f in empty one text random runs block; do " + writer + " < $f > packed && " +
                                reader + " < packed | cmp - $f || exit 1; done");
    EXPECT_EQ(outcome.status, 0) << writer << ": " << outcome.out << outcome.err;
  }
};

TEST_F(ZellzopInterop, LzopReadsWhatZellzopWrites) {
  for (const char* const options : {"", "-1", "-9", "--crc32", "-F"}) {
    ExpectReads("lzop -dc", std::string("zellzop ") + options);
  }
}

TEST_F(ZellzopInterop, ZellzopReadsWhatLzopWrites) {
  for (const char* const options :
       {"", "-1", "-6", "--crc32", "-F", "-1 --crc32", "--filter=1", "--filter=2", "--filter=3", "--filter=16"}) {
    ExpectReads("zellzop -dc", std::string("lzop ") + options);
  }
}

TEST_F(ZellzopInterop, StreamsOfTheSlowLevelsAreReadOrRefused) {
  // Those without matches that the library does not know. Never is anything else written than the data.
  ASSERT_EQ(Run("lzop -9 < random > r.lzo; zellzop -dc r.lzo | cmp - random").status, 0);
  int refused = 0;
  for (const char* const level : {"-7", "-8", "-9"}) {
    for (const char* const file : {"text", "runs", "block"}) {
      ASSERT_EQ(Run(std::string("rm -f x x.lzo; lzop ") + level + " < " + file + " > x.lzo").status, 0);
      const Outcome outcome = Run("zellzop -d x.lzo");
      if (outcome.status == 0) {
        EXPECT_EQ(Read("x"), Read(file));
        continue;
      }
      ++refused;
      EXPECT_NE(outcome.err.find("a block of LZO1X-999 with matches that zellzop does not read; try lzop\n"),
                std::string::npos)
          << outcome.err;
      EXPECT_NE(Run("ls").out.find("x.lzo\n"), std::string::npos);
      EXPECT_EQ(Run("test -e x").status, 1);
    }
  }
  EXPECT_GT(refused, 0);
}

TEST_F(ZellzopInterop, MembersOfBothFormOneFile) {
  EXPECT_EQ(Run("{ lzop -c text; zellzop -c random; lzop -1c runs; zellzop -c empty; lzop -c one; } > all.lzo;"
                "cat text random runs empty one > all; lzop -dc all.lzo | cmp - all && zellzop -dc all.lzo | cmp - all")
                .status,
            0);
}

TEST_F(ZellzopInterop, AttributesPassFromOneToTheOther) {
  for (const char* const pair : {"lzop zellzop", "zellzop lzop"}) {
    const std::string both = pair;
    const std::string writer = both.substr(0, both.find(' ')), reader = both.substr(both.find(' ') + 1);
    const Outcome outcome =
        Run("rm -rf d; mkdir d; cd d; cp ../text a; chmod 640 a; touch -d '2001-02-03 04:05:06' a;" + writer +
            " a; mv a b; touch a.lzo; chmod 600 a.lzo; " + reader +
            " -d a.lzo; stat -c '%a %Y' a b; mv a.lzo c.lzo; rm a; " + reader + " -dN c.lzo; ls");
    EXPECT_EQ(outcome.out, "640 981173106\n640 981173106\na\nb\nc.lzo\n") << pair << outcome.err;
  }
}

TEST_F(ZellzopInterop, ListingsAreThoseOfLzop) {
  ASSERT_EQ(Run("lzop text random empty; lzop -1 one; lzop --crc32 runs; lzop one text -o all.lzo").status, 0);
  for (const char* const arguments : {"-l text.lzo", "-l text.lzo random.lzo one.lzo", "-lv text.lzo runs.lzo",
                                      "-lq text.lzo one.lzo", "-lN all.lzo", "-l < runs.lzo"}) {
    EXPECT_EQ(Run(std::string("zellzop ") + arguments).out, Run(std::string("lzop ") + arguments).out) << arguments;
  }
}

const char* const kPreparation =
    "rm -rf *; printf text > a; cp a b; lzop b; lzop -c a > x.lzo; cp x.lzo y.lzo; printf garbage >> y.lzo;"
    "head -c 45 x.lzo > short.lzo; printf 'no lzop file' > no.lzo; mkdir d; ln -s a link; lzop -c a > noname;"
    ": > empty; : > empty.lzo; cat x.lzo x.lzo > two.lzo; cp x.lzo t.tzo; cp a e; cp a e.lzo;"
    "head -c 20 x.lzo > head.lzo; { head -c 20 x.lzo; printf xxxxxxxxxxxxxxxxxxxxxxxxxxxxx; } > bad.lzo;";

const char* const kArguments[] = {"a",
                                  "-U a",
                                  "-c a",
                                  "a.lzo",
                                  "missing",
                                  "-d missing",
                                  "d",
                                  "-d d",
                                  "-d a",
                                  "-t x.lzo",
                                  "-t y.lzo",
                                  "-d y.lzo",
                                  "-t short.lzo",
                                  "-d short.lzo",
                                  "-t no.lzo",
                                  "-d no.lzo",
                                  "-t bad.lzo",
                                  "-d bad.lzo",
                                  "-t empty.lzo",
                                  "-d empty.lzo",
                                  "-d x.lzo",
                                  "-dU x.lzo",
                                  "-dc noname",
                                  "-t noname",
                                  "-d noname",
                                  "-d t.tzo",
                                  "link",
                                  "-d link",
                                  "e",
                                  "-f e",
                                  "empty",
                                  "a missing",
                                  "missing a",
                                  "x.lzo",
                                  "-f x.lzo",
                                  "-ff x.lzo",
                                  "-t x.lzo no.lzo y.lzo",
                                  "-t two.lzo",
                                  "-d two.lzo",
                                  "-dN two.lzo",
                                  "-dc two.lzo",
                                  "-d b.lzo",
                                  "-df b.lzo",
                                  "-o out a b",
                                  "-o a b",
                                  "-d x.lzo x.lzo -o out",
                                  "-c -o x a",
                                  "--nonsense",
                                  "-t head.lzo",
                                  "-S foo a",
                                  "-S.foo a",
                                  "--no-stdin",
                                  "-q d",
                                  "--no-warn d",
                                  "--ignore-warn d",
                                  "-Fq a",
                                  "-tq y.lzo",
                                  "-v a",
                                  "-dv x.lzo",
                                  "-tv x.lzo",
                                  "-k a",
                                  "-n -d x.lzo",
                                  "-dfN b.lzo"};

TEST_F(ZellzopInterop, ExitStatusesAndFilesAreThoseOfLzop) {
  for (const char* const arguments : kArguments) {
    const std::string command = std::string("lzop ") + arguments + " > /dev/null 2>&1 < /dev/null; status=$?; ";
    const std::string tail = "ls; exit $status";
    const Outcome theirs = Run(kPreparation + command + tail);
    const Outcome ours = Run(std::string(kPreparation) + "zel" + command + tail);
    EXPECT_EQ(ours.status, theirs.status) << arguments;
    // A file that it could not complete lzop leaves behind.
    if (theirs.status != 1) {
      EXPECT_EQ(ours.out, theirs.out) << arguments;
    }
  }
}

TEST_F(ZellzopInterop, MessagesAreThoseOfLzop) {
  for (const char* const arguments : {"missing",           "-d missing", "d",
                                      "a.lzo x.lzo",       "b",          "-d no.lzo",
                                      "-d short.lzo",      "-d y.lzo",   "-d empty.lzo",
                                      "-d head.lzo",       "-t x.lzo",   "-t y.lzo",
                                      "-tq x.lzo",         "-v a",       "-dfv x.lzo",
                                      "-d bad.lzo",        "-t two.lzo", "-df two.lzo",
                                      "-d two.lzo -o out", "-o b a"}) {
    const Outcome theirs = Run(std::string(kPreparation) + "lzop " + arguments);
    const Outcome ours = Run(std::string(kPreparation) + "zellzop " + arguments);
    std::string expected;
    for (size_t at = 0, next; at < theirs.err.size(); at = next) {
      next = std::min(theirs.err.find('\n', at), theirs.err.size()) + 1;
      const std::string line = theirs.err.substr(at, next - at);
      expected += (line.compare(0, 5, "lzop:") == 0 ? "zel" : "") + line;
    }
    EXPECT_EQ(ours.err, expected) << arguments;
  }
}

}  // namespace
}  // namespace zeldc_test
