// What zelbzip2 makes of full disks and terminals.

#include "shell.h"
#include "support/data.h"
#include "terminal.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class Zelbzip2Endings : public ShellTest {};

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

using Zelbzip2Terminal = OnTerminal<ShellTest>;

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

}  // namespace
}  // namespace zeldc_test
