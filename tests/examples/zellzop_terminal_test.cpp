// zellzop at a terminal.

#include "shell.h"
#include "terminal.h"

namespace zeldc_test {
namespace {

using ZellzopTerminal = OnTerminal<ShellTest>;

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

}  // namespace
}  // namespace zeldc_test
