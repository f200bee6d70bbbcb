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

class ZelgzipEndings : public ShellTest {};

TEST_F(ZelgzipEndings, AFullStandardOutputIsAnError) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  Write("a", Text(100000, 12));
  for (const char* const command : {"zelgzip -c a > /dev/full", "zelgzip < a > /dev/full"}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 1) << command;
    EXPECT_EQ(outcome.err, "zelgzip: stdout: No space left on device\n") << command;
  }
  ASSERT_EQ(Run("zelgzip -k a").status, 0);
  // Further files would fail in the same way, so the first is the last.
  const Outcome outcome = Run("zelgzip -dc a.gz a.gz > /dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelgzip: stdout: No space left on device\n");
  EXPECT_EQ(Run("zelgzip -l a.gz > /dev/full").status, 1);
}

TEST_F(ZelgzipEndings, AFailedWriteLeavesNothingBehind) {
  Write("a", RandomBytes(2000000, 13));
  ASSERT_EQ(Run("zelgzip -k a; mv a.gz b.gz").status, 0);
  // The limit is in units of 512 bytes.
  const Outcome compressed = Run("ulimit -f 1000; zelgzip a");
  EXPECT_EQ(compressed.status, 1);
  EXPECT_EQ(compressed.err, "zelgzip: a.gz: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", "b.gz"}));
  const Outcome decompressed = Run("ulimit -f 1000; zelgzip -d b.gz");
  EXPECT_EQ(decompressed.status, 1);
  EXPECT_EQ(decompressed.err, "zelgzip: b: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", "b.gz"}));
}

TEST_F(ZelgzipEndings, ADirectoryThatCannotBeWrittenIsAnError) {
  NEEDS_PROGRAM("setpriv");
  Write("a", "x");
  const Outcome outcome = Run("chmod 500 .; " + AsUnprivileged("zelgzip a") + "; status=$?; chmod 700 .; exit $status");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelgzip: a.gz: Permission denied\n");
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(ZelgzipEndings, AReaderThatGoesAwayEndsTheProgram) {
  // Without an end of its own, the pipe stops when its reader has what it wants.
  EXPECT_EQ(Run("yes | zelgzip | zelgzip -d | head -n 2").out, "y\ny\n");
}

class ZelgzipSignals : public ZelgzipEndings, public testing::WithParamInterface<int> {};

TEST_P(ZelgzipSignals, LeaveNothingBehind) {
  // Zeros without end, as far as this test is concerned.
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  const pid_t process = Start("exec zelgzip -9 endless", "zelgzip");
  ASSERT_TRUE(Eventually([this] { return Files().size() == 2; }));
  EXPECT_NE(Files(), (Names{"endless", "endless.gz"})) << "a file has its name before it is complete";
  kill(process, GetParam());
  EXPECT_EQ(Wait(process).status, 128 + GetParam());
  EXPECT_EQ(Files(), Names{"endless"});
}

INSTANTIATE_TEST_SUITE_P(Each, ZelgzipSignals, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& instance) { return std::string(strsignal(instance.param)); });

TEST_F(ZelgzipEndings, AnIgnoredSignalStaysIgnored) {
  // The shell's trap makes zelgzip start with SIGINT ignored. The input ends only after the signal has been sent.
  ASSERT_EQ(Run("mkfifo pipe").status, 0);
  const pid_t process = Start("trap '' INT; exec zelgzip -c pipe > out.gz", "zelgzip");
  const int pipe = open(Path("pipe").c_str(), O_WRONLY);
  ASSERT_GE(pipe, 0);
  kill(process, SIGINT);
  EXPECT_EQ(write(pipe, "data", 4), 4);
  close(pipe);
  EXPECT_EQ(Wait(process).status, 0);
  EXPECT_EQ(Run("zelgzip -dc out.gz").out, "data");
}

class ZelgzipTerminal : public ZelgzipEndings {
 protected:
  void SetUp() override {
    if (!terminal_.works()) GTEST_SKIP() << "there are no pseudo-terminals";
  }

  Terminal terminal_;
};

TEST_F(ZelgzipTerminal, IsNoPlaceForCompressedData) {
  Write("a", "some text");
  for (const std::string command : {"zelgzip < a > ", "zelgzip -c a > "}) {
    const Outcome outcome = Run(command + terminal_.name());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "zelgzip: compressed data not written to a terminal. Use -f to force compression.\n"
              "For help, type: zelgzip -h\n");
  }
  EXPECT_EQ(terminal_.Text(), "");
}

TEST_F(ZelgzipTerminal, IsNoSourceOfCompressedData) {
  const Outcome outcome = Run("zelgzip -d < " + terminal_.name());
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "zelgzip: compressed data not read from a terminal. Use -f to force decompression.\n"
            "For help, type: zelgzip -h\n");
}

TEST_F(ZelgzipTerminal, MayShowDecompressedData) {
  Write("a", "some text");
  EXPECT_EQ(Run("zelgzip a; zelgzip -dc a.gz > " + terminal_.name()).status, 0);
  EXPECT_EQ(terminal_.Text(), "some text");
}

TEST_F(ZelgzipTerminal, IsAskedBeforeOverwriting) {
  Write("a", "new");
  Write("a.gz", "old");
  terminal_.Type("n\n");
  const Outcome no = Run("zelgzip a < " + terminal_.name());
  EXPECT_EQ(no.status, 2);
  EXPECT_EQ(no.err,
            "a.gz already exists; do you wish to overwrite (y or n)? "
            "zelgzip: a.gz already exists;\tnot overwritten\n");
  EXPECT_EQ(ReadText("a.gz"), "old");
  terminal_.Type("y\n");
  EXPECT_EQ(Run("zelgzip a < " + terminal_.name()).status, 0);
  EXPECT_EQ(Run("zelgzip -dc a.gz").out, "new");
}

TEST_F(ZelgzipTerminal, ShowsTheProgressOfLongWork) {
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  for (const std::string command : {"exec zelgzip -9 endless 2> ", "yes | zelgzip > /dev/null 2> "}) {
    const size_t before = terminal_.Text().size();
    const pid_t process = Start("trap - PIPE; " + command + terminal_.name(), "zelgzip");
    const bool shown =
        Eventually([this, before] { return terminal_.Text().find("MB/s", before) != std::string::npos; });
    EXPECT_TRUE(shown) << terminal_.Text();
    kill(-process, SIGTERM);  // the whole pipeline
    Wait(process);
  }
  EXPECT_NE(terminal_.Text().find("endless [ "), std::string::npos);
  EXPECT_NE(terminal_.Text().find("stdin "), std::string::npos);
}

TEST_F(ZelgzipTerminal, SeesNothingOfShortWork) {
  Write("a", Text(100000, 14));
  EXPECT_EQ(Run("zelgzip a 2> " + terminal_.name()).status, 0);
  EXPECT_EQ(terminal_.Text(), "");
}

}  // namespace
}  // namespace zeldc_test
