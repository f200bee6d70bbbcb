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

class ZellzopEndings : public ShellTest {};

TEST_F(ZellzopEndings, AFullStandardOutputIsAnError) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  Write("a", Text(100000, 12));
  for (const char* const command : {"zellzop -c a > /dev/full", "zellzop < a > /dev/full"}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 1) << command;
    EXPECT_EQ(outcome.err, "zellzop: stdout: No space left on device\n") << command;
  }
  ASSERT_EQ(Run("zellzop -k a").status, 0);
  // Further files would fail in the same way, so the first is the last.
  const Outcome outcome = Run("zellzop -dc a.lzo a.lzo > /dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zellzop: stdout: No space left on device\n");
}

TEST_F(ZellzopEndings, AFailedWriteLeavesNothingBehind) {
  Write("a", RandomBytes(2000000, 13));
  ASSERT_EQ(Run("zellzop a; mv a.lzo b.lzo").status, 0);
  // The limit is in units of 512 bytes.
  const Outcome compressed = Run("ulimit -f 1000; zellzop a");
  EXPECT_EQ(compressed.status, 1);
  EXPECT_EQ(compressed.err, "zellzop: a.lzo: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", "b.lzo"}));
  const Outcome decompressed = Run("ulimit -f 1000; zellzop -d b.lzo");
  EXPECT_EQ(decompressed.status, 1);
  EXPECT_EQ(decompressed.err, "zellzop: b: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", "b.lzo"}));
}

TEST_F(ZellzopEndings, ADirectoryThatCannotBeWrittenIsAnError) {
  NEEDS_PROGRAM("setpriv");
  Write("a", "x");
  const Outcome outcome = Run("chmod 500 .; " + AsUnprivileged("zellzop a") + "; status=$?; chmod 700 .; exit $status");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zellzop: a.lzo: Permission denied\n");
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(ZellzopEndings, AReaderThatGoesAwayEndsTheProgram) {
  Write("a", Text(3000000, 14));
  EXPECT_EQ(Run("head -n 2 a > b; zellzop -1 < a | zellzop -d | head -n 2 | cmp - b").status, 0);
}

class ZellzopSignals : public ZellzopEndings, public testing::WithParamInterface<int> {};

TEST_P(ZellzopSignals, LeaveNothingBehind) {
  // Zeros without end, as far as this test is concerned.
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  for (const char* const options : {"", "-q --parallel "}) {
    const pid_t process = Start(std::string("exec zellzop ") + options + "endless", "zellzop");
    const bool begun = Eventually([this] { return Files().size() == 2; });
    EXPECT_TRUE(begun);
    EXPECT_EQ(Files().at(0).substr(0, 7), ".zeldc-") << "a file has its name before it is complete";
    kill(process, GetParam());
    EXPECT_EQ(Wait(process).status, 128 + GetParam());
    EXPECT_EQ(Files(), Names{"endless"});
  }
}

INSTANTIATE_TEST_SUITE_P(Each, ZellzopSignals, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& instance) { return std::string(strsignal(instance.param)); });

class ZellzopTerminal : public ZellzopEndings {
 protected:
  void SetUp() override {
    if (!terminal_.works()) GTEST_SKIP() << "there are no pseudo-terminals";
  }

  Terminal terminal_;
};

TEST_F(ZellzopTerminal, IsNoPlaceForCompressedDataUnlessForced) {
  Write("a", "some text");
  for (const std::string command : {"zellzop < a > ", "zellzop -c a > "}) {
    const Outcome outcome = Run(command + terminal_.name());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zellzop: <stdout>: compressed data not written to a terminal\n");
  }
  EXPECT_EQ(terminal_.Text(), "");
  EXPECT_EQ(Run("zellzop -f < a > " + terminal_.name()).status, 0);
  EXPECT_NE(terminal_.Text(), "");
}

TEST_F(ZellzopTerminal, IsNoSourceOfCompressedData) {
  for (const std::string command : {"zellzop -d < ", "zellzop -t < "}) {
    const Outcome outcome = Run(command + terminal_.name());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err.substr(0, 32), "zellzop: nothing to do !\nUsage: ");
  }
}

TEST_F(ZellzopTerminal, MayShowDecompressedData) {
  Write("a", "some text");
  EXPECT_EQ(Run("zellzop a; zellzop -dc a.lzo > " + terminal_.name()).status, 0);
  EXPECT_EQ(terminal_.Text(), "some text");
}

TEST_F(ZellzopTerminal, ShowsTheProgressOfLongWork) {
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  for (const std::string command : {"exec zellzop endless 2> ", "yes | zellzop > /dev/null 2> "}) {
    const size_t before = terminal_.Text().size();
    const pid_t process = Start("trap - PIPE; " + command + terminal_.name(), "zellzop");
    const bool shown =
        Eventually([this, before] { return terminal_.Text().find("MB/s", before) != std::string::npos; });
    EXPECT_TRUE(shown) << terminal_.Text();
    kill(-process, SIGTERM);  // the whole pipeline
    Wait(process);
  }
  EXPECT_NE(terminal_.Text().find("endless [ "), std::string::npos);
  EXPECT_NE(terminal_.Text().find("<stdin> "), std::string::npos);
}

TEST_F(ZellzopTerminal, SeesNothingOfShortWork) {
  Write("a", Text(10000, 14));
  EXPECT_EQ(Run("zellzop a 2> " + terminal_.name()).status, 0);
  EXPECT_EQ(terminal_.Text(), "");
}

}  // namespace
}  // namespace zeldc_test
