// Full disks, signals and terminals: what all programs for compressed files make of them.

#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <tuple>

#include "file_programs.h"
#include "support/data.h"
#include "terminal.h"

namespace zeldc_test {
namespace {

class FileProgramsEndings : public FileProgramTest {};

INSTANTIATE_TEST_SUITE_P(All, FileProgramsEndings, testing::ValuesIn(kFilePrograms), ProgramName);

TEST_P(FileProgramsEndings, AFullStandardOutputIsAnError) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  const std::string message = GetParam().name + ": stdout: No space left on device\n";
  Write("a", Text(100000, 12));
  for (const std::string& command : {Command("-c a > /dev/full"), Command("< a > /dev/full")}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 1) << command;
    EXPECT_EQ(outcome.err, message) << command;
  }
  ASSERT_EQ(Run(Command("-k a")).status, 0);
  // Further files would fail in the same way, so the first is the last.
  const Outcome outcome = Run(Command("-dc " + Packed("a") + " " + Packed("a") + " > /dev/full"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, message);
}

TEST_P(FileProgramsEndings, AFailedWriteLeavesNothingBehind) {
  Write("a", RandomBytes(2000000, 13));
  ASSERT_EQ(Run(Command("-k a; mv " + Packed("a") + " " + Packed("b"))).status, 0);
  // The limit is in units of 512 bytes.
  const Outcome compressed = Run("ulimit -f 1000; " + Command("a"));
  EXPECT_EQ(compressed.status, 1);
  EXPECT_EQ(compressed.err, GetParam().name + ": " + Packed("a") + ": File too large\n");
  EXPECT_EQ(Files(), (Names{"a", Packed("b")}));
  const Outcome decompressed = Run("ulimit -f 1000; " + Command("-d " + Packed("b")));
  EXPECT_EQ(decompressed.status, 1);
  EXPECT_EQ(decompressed.err, GetParam().name + ": b: File too large\n");
  EXPECT_EQ(Files(), (Names{"a", Packed("b")}));
}

TEST_P(FileProgramsEndings, ADirectoryThatCannotBeWrittenIsAnError) {
  NEEDS_PROGRAM("setpriv");
  Write("a", "x");
  const Outcome outcome =
      Run("chmod 500 .; " + AsUnprivileged(Command("a")) + "; status=$?; chmod 700 .; exit $status");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, GetParam().name + ": " + Packed("a") + ": Permission denied\n");
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_P(FileProgramsEndings, AReaderThatGoesAwayEndsTheProgram) {
  Write("a", Text(3000000, 14));
  EXPECT_EQ(Run("head -n 2 a > b; " + Command("-1 < a | ") + Command("-d | head -n 2 | cmp - b")).status, 0);
}

class FileProgramsSignals : public ShellTest, public testing::WithParamInterface<std::tuple<FileProgram, int>> {};

TEST_P(FileProgramsSignals, LeaveNothingBehind) {
  const auto& [program, signal] = GetParam();
  // Zeros without end, as far as this test is concerned.
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  for (const std::string& options : program.long_work) {
    const pid_t process = Start("exec " + program.name + " " + options + "endless", program.name);
    EXPECT_TRUE(Eventually([this] { return Files().size() == 2; }));
    EXPECT_EQ(Files().at(0).substr(0, 7), ".zeldc-") << "a file has its name before it is complete";
    kill(process, signal);
    EXPECT_EQ(Wait(process).status, 128 + signal);
    EXPECT_EQ(Files(), std::vector<std::string>{"endless"});
  }
}

INSTANTIATE_TEST_SUITE_P(All, FileProgramsSignals,
                         testing::Combine(testing::ValuesIn(kFilePrograms), testing::Values(SIGINT, SIGTERM, SIGHUP)),
                         [](const auto& instance) {
                           return std::get<0>(instance.param).name + "_" + strsignal(std::get<1>(instance.param));
                         });

using FileProgramsTerminal = OnTerminal<FileProgramTest>;

INSTANTIATE_TEST_SUITE_P(All, FileProgramsTerminal, testing::ValuesIn(kFilePrograms), ProgramName);

TEST_P(FileProgramsTerminal, MayShowDecompressedData) {
  Write("a", "some text");
  EXPECT_EQ(Run(Command("a; ") + Command("-dc " + Packed("a") + " > " + terminal_.name())).status, 0);
  EXPECT_EQ(terminal_.Text(), "some text");
}

TEST_P(FileProgramsTerminal, ShowsTheProgressOfLongWork) {
  ASSERT_EQ(Run("truncate -s 200G endless").status, 0);
  const std::string& options = GetParam().long_work[0];
  for (const std::string& command : {"exec " + Command(options + "endless 2> "),  //
                                     "yes | " + Command("> /dev/null 2> ")}) {
    const size_t before = terminal_.Text().size();
    const pid_t process = Start("trap - PIPE; " + command + terminal_.name(), GetParam().name);
    const bool shown =
        Eventually([this, before] { return terminal_.Text().find("MB/s", before) != std::string::npos; });
    EXPECT_TRUE(shown) << terminal_.Text();
    kill(-process, SIGTERM);  // the whole pipeline
    Wait(process);
  }
  EXPECT_NE(terminal_.Text().find("endless [ "), std::string::npos);
  EXPECT_NE(terminal_.Text().find(GetParam().stdin_name + " "), std::string::npos);
}

TEST_P(FileProgramsTerminal, SeesNothingOfShortWork) {
  Write("a", Text(10000, 14));
  EXPECT_EQ(Run(Command("a 2> " + terminal_.name())).status, 0);
  EXPECT_EQ(terminal_.Text(), "");
}

}  // namespace
}  // namespace zeldc_test
