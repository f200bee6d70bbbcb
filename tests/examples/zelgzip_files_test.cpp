// What zelgzip does with the files it is given.

#include <sys/stat.h>
#include <unistd.h>

#include "shell.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class ZelgzipFiles : public ShellTest {
 protected:
  const Bytes text_ = Text(100000, 1);
};

TEST_F(ZelgzipFiles, TestReadsAndWritesNothing) {
  Write("a", text_);
  const Outcome outcome = Run("zelgzip a; zelgzip -t a.gz; zelgzip -tv a.gz; zelgzip -tv < a.gz");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "a.gz:\t OK\n OK\n");
  EXPECT_EQ(Files(), Names{"a.gz"});
}

TEST_F(ZelgzipFiles, DoesNotOverwriteUnlessForced) {
  Write("a", text_);
  Write("a.gz", "precious");
  const Outcome refused = Run("zelgzip a");
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.err, "zelgzip: a.gz already exists;\tnot overwritten\n");
  EXPECT_EQ(ReadText("a.gz"), "precious");
  EXPECT_EQ(Read("a"), text_);

  EXPECT_EQ(Run("zelgzip -f a").status, 0);
  EXPECT_EQ(Files(), Names{"a.gz"});
  EXPECT_TRUE(UnzipsTo(Read("a.gz"), text_));

  Write("a", "precious");
  EXPECT_EQ(Run("zelgzip -d a.gz").status, 2);
  EXPECT_EQ(ReadText("a"), "precious");
  EXPECT_EQ(Run("zelgzip -df a.gz").status, 0);
  EXPECT_EQ(Read("a"), text_);
}

TEST_F(ZelgzipFiles, QuietHidesWarningsButNotTheirExitStatus) {
  Write("a", text_);
  Write("a.gz", "precious");
  const Outcome outcome = Run("zelgzip -q a");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(ZelgzipFiles, GoesOnAfterAFileThatFails) {
  Write("a", text_);
  Write("b", text_);
  ASSERT_EQ(Run("zelgzip a b").status, 0);
  Write("bad.gz", "no gzip file at all");
  const Outcome outcome = Run("zelgzip -d a.gz bad.gz missing.gz b.gz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "zelgzip: bad.gz: not in gzip format\n"
            "zelgzip: missing.gz: No such file or directory\n");
  EXPECT_EQ(Files(), (Names{"a", "b", "bad.gz"}));
  EXPECT_EQ(Read("a"), text_);
  EXPECT_EQ(Read("b"), text_);
}

TEST_F(ZelgzipFiles, AnErrorOutweighsAWarning) {
  Write("a", text_);
  Write("a.gz", "precious");
  EXPECT_EQ(Run("zelgzip missing a").status, 1);
  EXPECT_EQ(Run("zelgzip a missing").status, 1);
}

TEST_F(ZelgzipFiles, DirectoriesAreIgnoredUnlessRecursive) {
  ASSERT_EQ(mkdir(Path("d").c_str(), 0700), 0);
  ASSERT_EQ(mkdir(Path("d/e").c_str(), 0700), 0);
  Write("d/x", text_);
  Write("d/e/y", text_);
  const Outcome ignored = Run("zelgzip d");
  EXPECT_EQ(ignored.status, 2);
  EXPECT_EQ(ignored.err, "zelgzip: d is a directory -- ignored\n");

  EXPECT_EQ(Run("zelgzip -r d").status, 0);
  EXPECT_EQ(Run("find d -type f | sort").out, "d/e/y.gz\nd/x.gz\n");
  EXPECT_EQ(Run("zelgzip -r d").err, "");
  EXPECT_EQ(Run("zelgzip -dr d").status, 0);
  EXPECT_EQ(Run("find d -type f | sort").out, "d/e/y\nd/x\n");
  EXPECT_EQ(Read("d/e/y"), text_);
}

TEST_F(ZelgzipFiles, SymbolicLinksAreFollowedOnlyWhenForcedOrOnlyRead) {
  Write("a", text_);
  ASSERT_EQ(symlink("a", Path("link").c_str()), 0);
  const Outcome refused = Run("zelgzip link");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "zelgzip: link: Too many levels of symbolic links\n");
  EXPECT_TRUE(UnzipsTo(ToBytes(Run("zelgzip -c link").out), text_));
  EXPECT_EQ(Run("zelgzip -f link").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "link.gz"}));
  EXPECT_TRUE(UnzipsTo(Read("link.gz"), text_));
}

TEST_F(ZelgzipFiles, FilesWithFurtherNamesAreIgnoredUnlessForced) {
  Write("a", text_);
  ASSERT_EQ(link(Path("a").c_str(), Path("b").c_str()), 0);
  const Outcome refused = Run("zelgzip a");
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.err, "zelgzip: a has 1 other link -- file ignored\n");
  EXPECT_EQ(Run("zelgzip -f a").status, 0);
  EXPECT_EQ(Files(), (Names{"a.gz", "b"}));
}

TEST_F(ZelgzipFiles, SpecialFilesAreIgnored) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  Write("suid", text_);
  ASSERT_EQ(chmod(Path("suid").c_str(), 04700), 0);
  const Outcome outcome = Run("zelgzip pipe suid");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "zelgzip: pipe is not a directory or a regular file - ignored\n"
            "zelgzip: suid is set-user-ID on execution - ignored\n");
}

TEST_F(ZelgzipFiles, APipeCanBeReadToStdout) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  Write("a", text_);
  EXPECT_TRUE(UnzipsTo(ToBytes(Run("cat a > pipe & zelgzip -c pipe").out), text_));
}

TEST_F(ZelgzipFiles, ForceToStdoutPassesOnWhatIsNotCompressed) {
  Write("a", "plain");
  Write("empty", "");
  EXPECT_EQ(Run("zelgzip -cdf a empty").out, "plain");
  EXPECT_EQ(Run("zelgzip -cdf < a").out, "plain");
  EXPECT_EQ(Run("zelgzip -cd a").status, 1);
}

TEST_F(ZelgzipFiles, VerboseTellsRatioAndName) {
  Write("a", Bytes(100000, 'x'));
  Write("empty", "");
  const Outcome outcome = Run("zelgzip -v a; zelgzip -dkv a.gz; zelgzip -v < a > /dev/null; zelgzip -kv empty");
  EXPECT_EQ(outcome.err,
            "a:\t 99.9% -- replaced with a.gz\n"
            "a.gz:\t 99.9% -- created a\n"
            " 99.9%\n"
            "empty:\t  0.0% -- created empty.gz\n");
}

TEST_F(ZelgzipFiles, HelpAndVersionGoToStdout) {
  const Outcome help = Run("zelgzip -h");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.substr(0, 36), "Usage: zelgzip [OPTION]... [FILE]...");
  EXPECT_EQ(Run("zelgzip --help").out, help.out);
  const Outcome version = Run("zelgzip --version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.substr(0, 8), "zelgzip ");
}

TEST_F(ZelgzipFiles, UnknownOptionsAreErrors) {
  const Outcome outcome = Run("zelgzip --nonsense");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "zelgzip: unrecognized option '--nonsense'\n"
            "Try `zelgzip --help' for more information.\n");
  EXPECT_EQ(Run("zelgzip -y").status, 1);
}

}  // namespace
}  // namespace zeldc_test
