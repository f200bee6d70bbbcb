// Full disks, signals and terminals.

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "shell.h"
#include "support/data.h"
#include "terminal.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class Zelbzip2Endings : public ShellTest {};

TEST_F(Zelbzip2Endings, AFullStandardOutputIsAnError) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  Write("a", Text(100000, 12));
  for (const char* const command : {"zelbzip2 -c a > /dev/full", "zelbzip2 < a > /dev/full"}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 1) << command;
    EXPECT_EQ(outcome.err, "zelbzip2: stdout: No space left on device\n") << command;
  }
  ASSERT_EQ(Run("zelbzip2 -k a").status, 0);
  // Further files would fail in the same way, so the first is the last.
  const Outcome outcome = Run("zelbzip2 -dc a.bz2 a.bz2 > /dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelbzip2: stdout: No space left on device\n");
}

TEST_F(Zelbzip2Endings, AFailedWriteLeavesNothingBehind) {
  Write("a", RandomBytes(2000000, 13));
  ASSERT_EQ(Run("zelbzip2 -k a; mv a.bz2 b.bz2").status, 0);
  // The limit is in units of 512 bytes. Other blocks are being worked on when the write fails.
  const Outcome compressed = Run("ulimit -f 1000; zelbzip2 -1 -p 4 a");
  EXPECT_EQ(compressed.status, 1);
  EXPECT_EQ(compressed.err, "zelbzip2: a.bz2: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", "b.bz2"}));
  const Outcome decompressed = Run("ulimit -f 1000; zelbzip2 -d -p 4 b.bz2");
  EXPECT_EQ(decompressed.status, 1);
  EXPECT_EQ(decompressed.err, "zelbzip2: b: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", "b.bz2"}));
}

TEST_F(Zelbzip2Endings, ADirectoryThatCannotBeWrittenIsAnError) {
  NEEDS_PROGRAM("setpriv");
  Write("a", "x");
  const Outcome outcome =
      Run("chmod 500 .; " + AsUnprivileged("zelbzip2 a") + "; status=$?; chmod 700 .; exit $status");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelbzip2: a.bz2: Permission denied\n");
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(Zelbzip2Endings, AReaderThatGoesAwayEndsTheProgram) {
  Write("a", Text(3000000, 14));
  EXPECT_EQ(Run("head -n 2 a > b; zelbzip2 -1 < a | zelbzip2 -d | head -n 2 | cmp - b").status, 0);
}

class Zelbzip2Signals : public Zelbzip2Endings, public testing::WithParamInterface<int> {};

TEST_P(Zelbzip2Signals, LeaveNothingBehind) {
  // Zeros without end, as far as this test is concerned.
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  for (const char* const threads : {"1", "3"}) {
    const pid_t process = Start(std::string("exec zelbzip2 -p ") + threads + " endless", "zelbzip2");
    ASSERT_TRUE(Eventually([this] { return Files().size() == 2; }));
    EXPECT_NE(Files(), (Names{"endless", "endless.bz2"})) << "a file has its name before it is complete";
    kill(process, GetParam());
    EXPECT_EQ(Wait(process).status, 128 + GetParam());
    EXPECT_EQ(Files(), Names{"endless"});
  }
}

INSTANTIATE_TEST_SUITE_P(Each, Zelbzip2Signals, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& instance) { return std::string(strsignal(instance.param)); });

class Zelbzip2Terminal : public Zelbzip2Endings {
 protected:
  void SetUp() override {
    if (!terminal_.works()) GTEST_SKIP() << "there are no pseudo-terminals";
  }

  Terminal terminal_;
};

TEST_F(Zelbzip2Terminal, IsNoPlaceForCompressedDataEvenWhenForced) {
  Write("a", "some text");
  for (const std::string command : {"zelbzip2 < a > ", "zelbzip2 -c a > ", "zelbzip2 -f < a > "}) {
    const Outcome outcome = Run(command + terminal_.name());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "zelbzip2: I won't write compressed data to a terminal.\n"
              "zelbzip2: For help, type: `zelbzip2 --help'.\n");
  }
  EXPECT_EQ(terminal_.Text(), "");
}

TEST_F(Zelbzip2Terminal, IsNoSourceOfCompressedData) {
  for (const std::string command : {"zelbzip2 -d < ", "zelbzip2 -t < "}) {
    const Outcome outcome = Run(command + terminal_.name());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "zelbzip2: I won't read compressed data from a terminal.\n"
              "zelbzip2: For help, type: `zelbzip2 --help'.\n");
  }
}

TEST_F(Zelbzip2Terminal, MayShowDecompressedData) {
  Write("a", "some text");
  EXPECT_EQ(Run("zelbzip2 a; zelbzip2 -dc a.bz2 > " + terminal_.name()).status, 0);
  EXPECT_EQ(terminal_.Text(), "some text");
}

TEST_F(Zelbzip2Terminal, ShowsTheProgressOfLongWork) {
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  for (const std::string command : {"exec zelbzip2 endless 2> ", "yes | zelbzip2 > /dev/null 2> "}) {
    const size_t before = terminal_.Text().size();
    const pid_t process = Start("trap - PIPE; " + command + terminal_.name(), "zelbzip2");
    const bool shown =
        Eventually([this, before] { return terminal_.Text().find("MB/s", before) != std::string::npos; });
    EXPECT_TRUE(shown) << terminal_.Text();
    kill(-process, SIGTERM);  // the whole pipeline
    Wait(process);
  }
  EXPECT_NE(terminal_.Text().find("endless [ "), std::string::npos);
  EXPECT_NE(terminal_.Text().find("stdin "), std::string::npos);
}

TEST_F(Zelbzip2Terminal, SeesNothingOfShortWork) {
  Write("a", Text(10000, 14));
  EXPECT_EQ(Run("zelbzip2 a 2> " + terminal_.name()).status, 0);
  EXPECT_EQ(terminal_.Text(), "");
}

}  // namespace
}  // namespace zeldc_test
