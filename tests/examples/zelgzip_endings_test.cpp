// What zelgzip makes of full disks, signals and terminals.

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "shell.h"
#include "terminal.h"

namespace zeldc_test {
namespace {

class ZelgzipEndings : public ShellTest {};

TEST_F(ZelgzipEndings, AListOnAFullStandardOutputIsAnError) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  Write("a", "some text");
  ASSERT_EQ(Run("zelgzip a").status, 0);
  EXPECT_EQ(Run("zelgzip -l a.gz > /dev/full").status, 1);
}

TEST_F(ZelgzipEndings, AReaderThatGoesAwayEndsTheProgram) {
  // Without an end of its own, the pipe stops when its reader has what it wants.
  EXPECT_EQ(Run("yes | zelgzip | zelgzip -d | head -n 2").out, "y\ny\n");
}

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

using ZelgzipTerminal = OnTerminal<ShellTest>;

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

}  // namespace
}  // namespace zeldc_test
