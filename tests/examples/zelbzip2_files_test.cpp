// What zelbzip2 does with the files it is given.

#include <sys/stat.h>
#include <unistd.h>

#include "bzip2_file.h"
#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class Zelbzip2Files : public ShellTest {
 protected:
  const Bytes text_ = Text(100000, 1);
};

TEST_F(Zelbzip2Files, SeveralFilesAreDoneInOneRun) {
  Write("a", text_);
  Write("b", "second");
  EXPECT_EQ(Run("zelbzip2 a b").status, 0);
  EXPECT_EQ(Files(), (Names{"a.bz2", "b.bz2"}));
  EXPECT_EQ(Run("zelbzip2 -d b.bz2 a.bz2").status, 0);
  EXPECT_EQ(Read("a"), text_);
  EXPECT_EQ(ReadText("b"), "second");
}

TEST_F(Zelbzip2Files, TestReadsAndWritesNothing) {
  Write("a", text_);
  const Outcome outcome = Run("zelbzip2 a; zelbzip2 -t a.bz2; zelbzip2 -tv a.bz2; zelbzip2 -tv < a.bz2");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "  a.bz2:   ok\n  (stdin): ok\n");
  EXPECT_EQ(Files(), Names{"a.bz2"});
}

TEST_F(Zelbzip2Files, TheLastOfSeveralActionsCounts) {
  Write("a", text_);
  EXPECT_EQ(Run("zelbzip2 -dz a").status, 0);
  EXPECT_EQ(Files(), Names{"a.bz2"});
  EXPECT_EQ(Run("zelbzip2 -zdt a.bz2").status, 0);
  EXPECT_EQ(Files(), Names{"a.bz2"});
  EXPECT_EQ(Run("zelbzip2 -td a.bz2").status, 0);
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(Zelbzip2Files, ItsNameMayAskForDecompression) {
  Write("a", text_);
  const std::string link = "ln -s \"$(command -v zelbzip2)\" ";
  EXPECT_EQ(Run("zelbzip2 a; mkdir bin; " + link + "bin/zelbunzip2; " + link + "bin/zelbzcat").status, 0);
  EXPECT_EQ(ToBytes(Run("bin/zelbzcat a.bz2").out), text_);
  EXPECT_EQ(Files(), (Names{"a.bz2", "bin"}));
  EXPECT_EQ(Run("bin/zelbunzip2 a.bz2").status, 0);
  EXPECT_EQ(Read("a"), text_);
  EXPECT_EQ(Run("bin/zelbunzip2 -z a").status, 0);
  EXPECT_EQ(Files(), (Names{"a.bz2", "bin"}));
}

TEST_F(Zelbzip2Files, SuffixesTellTheName) {
  Write("a", text_);
  ASSERT_EQ(Run("zelbzip2 a; cp a.bz2 b.bz; cp a.bz2 c.tbz2; cp a.bz2 d.tbz; cp a.bz2 .bz2; rm a.bz2").status, 0);
  const Outcome outcome = Run("zelbzip2 -d b.bz c.tbz2 d.tbz .bz2");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "zelbzip2: Can't guess original name for .bz2 -- using .bz2.out\n");
  EXPECT_EQ(Files(), (Names{".bz2.out", "b", "c.tar", "d.tar"}));
  for (const std::string& name : Files()) EXPECT_EQ(Read(name), text_) << name;
}

TEST_F(Zelbzip2Files, AnUnknownSuffixIsMentioned) {
  Write("a", Bzip2File(text_));
  EXPECT_EQ(Run("zelbzip2 -t a; zelbzip2 -dc a > out").err, "");
  const Outcome outcome = Run("zelbzip2 -dk a");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "zelbzip2: Can't guess original name for a -- using a.out\n");
  EXPECT_EQ(Read("a.out"), text_);
  EXPECT_EQ(Run("zelbzip2 -dqf a").err, "");
}

TEST_F(Zelbzip2Files, CompressedFilesAreNotCompressedAgain) {
  for (const char* const name : {"a.bz2", "a.bz", "a.tbz2", "a.tbz"}) {
    Write(name, text_);
    const Outcome outcome = Run(std::string("zelbzip2 -f ") + name);
    EXPECT_EQ(outcome.status, 1);
    const std::string suffix = std::string(name).substr(1);
    EXPECT_EQ(outcome.err, std::string("zelbzip2: Input file ") + name + " already has " + suffix + " suffix.\n");
    EXPECT_EQ(Read(name), text_);
    EXPECT_EQ(Run(std::string("zelbzip2 -q ") + name).err, "");
  }
}

TEST_F(Zelbzip2Files, DoesNotOverwriteUnlessForced) {
  Write("a", text_);
  Write("a.bz2", "precious");
  const Outcome refused = Run("zelbzip2 a");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "zelbzip2: Output file a.bz2 already exists.\n");
  EXPECT_EQ(ReadText("a.bz2"), "precious");
  EXPECT_EQ(Read("a"), text_);

  EXPECT_EQ(Run("zelbzip2 -f a").status, 0);
  EXPECT_EQ(Files(), Names{"a.bz2"});
  EXPECT_TRUE(BunzipsTo(Read("a.bz2"), text_));

  Write("a", "precious");
  EXPECT_EQ(Run("zelbzip2 -d a.bz2").status, 1);
  EXPECT_EQ(ReadText("a"), "precious");
  EXPECT_EQ(Run("zelbzip2 -df a.bz2").status, 0);
  EXPECT_EQ(Read("a"), text_);
}

TEST_F(Zelbzip2Files, GoesOnAfterAFileThatFails) {
  Write("a", text_);
  Write("b", text_);
  ASSERT_EQ(Run("zelbzip2 a b").status, 0);
  Write("bad.bz2", "no bzip2 file at all");
  const Outcome outcome = Run("zelbzip2 -d a.bz2 bad.bz2 missing.bz2 b.bz2");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "zelbzip2: bad.bz2 is not a bzip2 file.\n"
            "zelbzip2: Can't open input file missing.bz2: No such file or directory.\n");
  EXPECT_EQ(Files(), (Names{"a", "b", "bad.bz2"}));
  EXPECT_EQ(Read("a"), text_);
  EXPECT_EQ(Read("b"), text_);
}

TEST_F(Zelbzip2Files, TheWorstFileDecidesTheExitStatus) {
  Write("bad.bz2", "no bzip2 file at all");
  EXPECT_EQ(Run("zelbzip2 -t bad.bz2 missing").status, 2);
  EXPECT_EQ(Run("zelbzip2 -t missing bad.bz2").status, 2);
  EXPECT_EQ(Run("zelbzip2 -t missing").status, 1);
}

TEST_F(Zelbzip2Files, DirectoriesAreErrors) {
  ASSERT_EQ(mkdir(Path("d").c_str(), 0700), 0);
  for (const char* const options : {"", "-c ", "-d ", "-t "}) {
    const Outcome outcome = Run(std::string("zelbzip2 ") + options + "d");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zelbzip2: Input file d is a directory.\n");
  }
}

TEST_F(Zelbzip2Files, SymbolicLinksAreFollowedOnlyWhenForcedOrOnlyRead) {
  Write("a", text_);
  ASSERT_EQ(symlink("a", Path("link").c_str()), 0);
  const Outcome refused = Run("zelbzip2 link");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "zelbzip2: Input file link is not a normal file.\n");
  EXPECT_TRUE(BunzipsTo(ToBytes(Run("zelbzip2 -c link").out), text_));
  EXPECT_EQ(Run("zelbzip2 -f link").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "link.bz2"}));
  EXPECT_TRUE(BunzipsTo(Read("link.bz2"), text_));
}

TEST_F(Zelbzip2Files, FilesWithFurtherNamesAreLeftAloneUnlessForced) {
  Write("a", text_);
  ASSERT_EQ(link(Path("a").c_str(), Path("b").c_str()), 0);
  const Outcome refused = Run("zelbzip2 a");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "zelbzip2: Input file a has 1 other link.\n");
  ASSERT_EQ(link(Path("a").c_str(), Path("c").c_str()), 0);
  EXPECT_EQ(Run("zelbzip2 a").err, "zelbzip2: Input file a has 2 other links.\n");
  EXPECT_EQ(Run("zelbzip2 -f a").status, 0);
  EXPECT_EQ(Files(), (Names{"a.bz2", "b", "c"}));
}

TEST_F(Zelbzip2Files, SpecialFilesAreLeftAlone) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const Outcome outcome = Run("zelbzip2 pipe");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelbzip2: Input file pipe is not a normal file.\n");
}

TEST_F(Zelbzip2Files, APipeCanBeReadToStdout) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  Write("a", text_);
  EXPECT_TRUE(BunzipsTo(ToBytes(Run("cat a > pipe & zelbzip2 -c pipe").out), text_));
}

TEST_F(Zelbzip2Files, ForcePassesOnWhatIsNotCompressed) {
  Write("a", "plain");
  EXPECT_EQ(Run("zelbzip2 -cdf a").out, "plain");
  EXPECT_EQ(Run("zelbzip2 -cdf < a").out, "plain");
  EXPECT_EQ(Run("zelbzip2 -cd a").status, 2);
  Write("large.bz2", RandomBytes(3000000, 2));
  EXPECT_EQ(Run("zelbzip2 -dfk large.bz2 && cmp large large.bz2").status, 0);
  EXPECT_EQ(Run("zelbzip2 -tf large.bz2").status, 2);
}

TEST_F(Zelbzip2Files, VerboseTellsSavings) {
  Write("a", Bytes(100000, 'x'));
  Write("long-name", "");
  // 100,000 equal bytes are 45 or so, whoever compresses them; so is nothing.
  const Outcome outcome = Run("zelbzip2 -kv a long-name; zelbzip2 -v < a > b.bz2; zelbzip2 -dfv a.bz2");
  const size_t size = Read("b.bz2").size();
  char savings[100];
  snprintf(savings, sizeof savings, "%.3f:1,  %.3f bits/byte, %.2f%% saved, 100000 in, %zu out.",
           100000.0 / static_cast<double>(size), 8e-5 * static_cast<double>(size),
           100 - 1e-3 * static_cast<double>(size), size);
  EXPECT_EQ(outcome.err, std::string("  a:         ") + savings +
                             "\n  long-name:  no data compressed.\n  (stdin): " + savings + "\n  a.bz2:   done\n");
}

TEST_F(Zelbzip2Files, LevelsAreBlockSizes) {
  Write("a", Text(1000000, 3));
  for (int level = 1; level <= 9; ++level) {
    const std::string digit = std::to_string(level);
    ASSERT_EQ(Run("zelbzip2 -c" + digit + " a > " + digit).status, 0);
    EXPECT_EQ(ReadText(digit).substr(0, 4), "BZh" + digit);
  }
  ASSERT_EQ(Run("zelbzip2 -c a > default; zelbzip2 -c --fast a > fast; zelbzip2 -c --best a > best").status, 0);
  ASSERT_EQ(Run("zelbzip2 -cs a > small; zelbzip2 -c1s a > smallest").status, 0);
  EXPECT_EQ(Read("default"), Read("9"));
  EXPECT_EQ(Read("best"), Read("9"));
  EXPECT_EQ(Read("fast"), Read("1"));
  EXPECT_EQ(Read("small"), Read("2"));
  EXPECT_EQ(Read("smallest"), Read("1"));
  EXPECT_GT(Read("1").size(), Read("9").size());
  EXPECT_EQ(Run("zelbzip2 -ds < 9 | cmp - a").status, 0);
}

TEST_F(Zelbzip2Files, HelpVersionAndLicenseGoToStdout) {
  const Outcome help = Run("zelbzip2 -h");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.substr(0, 37), "Usage: zelbzip2 [OPTION]... [FILE]...");
  EXPECT_EQ(Run("zelbzip2 --help").out, help.out);
  for (const char* const option : {"-V", "--version", "-L", "--license"}) {
    const Outcome outcome = Run(std::string("zelbzip2 ") + option);
    EXPECT_EQ(outcome.status, 0) << option;
    EXPECT_EQ(outcome.out.substr(0, 9), "zelbzip2 ") << option;
  }
}

TEST_F(Zelbzip2Files, UnknownOptionsAreErrors) {
  const Outcome outcome = Run("zelbzip2 --nonsense");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "zelbzip2: unrecognized option '--nonsense'\n"
            "Try `zelbzip2 --help' for more information.\n");
  EXPECT_EQ(Run("zelbzip2 -y").status, 1);
}

TEST_F(Zelbzip2Files, NumbersOfThreadsAreChecked) {
  for (const char* const number : {"0", "-1", "two", "2x", "''", "1025", "99999999999999999999"}) {
    const Outcome outcome = Run(std::string("zelbzip2 -p ") + number + " < /dev/null");
    EXPECT_EQ(outcome.status, 1) << number;
    EXPECT_EQ(outcome.err.substr(0, 36), "zelbzip2: invalid number of threads ") << number;
  }
  EXPECT_EQ(Run("zelbzip2 --processes=1024 < /dev/null").status, 0);
}

}  // namespace
}  // namespace zeldc_test
