// What zellzop does with the files it is given.

#include <sys/stat.h>
#include <unistd.h>

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class ZellzopFiles : public ShellTest {
 protected:
  const Bytes text_ = Text(100000, 1);

  struct stat Status(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(lstat(Path(name).c_str(), &status), 0) << name;
    return status;
  }
};

TEST_F(ZellzopFiles, CompressesBesideTheFileAndBack) {
  Write("a", text_);
  const Outcome compressed = Run("zellzop a");
  EXPECT_EQ(compressed.status, 0);
  EXPECT_EQ(compressed.out + compressed.err, "");
  EXPECT_EQ(Files(), (Names{"a", "a.lzo"}));
  EXPECT_LT(Read("a.lzo").size(), text_.size() * 3 / 4);
  const Outcome decompressed = Run("rm a; zellzop -d a.lzo");
  EXPECT_EQ(decompressed.status, 0);
  EXPECT_EQ(decompressed.out + decompressed.err, "");
  EXPECT_EQ(Files(), (Names{"a", "a.lzo"}));
  EXPECT_EQ(Read("a"), text_);
}

TEST_F(ZellzopFiles, UnlinkDeletesTheInputUnlessItIsToBeKept) {
  Write("a", text_);
  EXPECT_EQ(Run("zellzop -U -k a").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "a.lzo"}));
  EXPECT_EQ(Run("zellzop -fU a").status, 0);
  EXPECT_EQ(Files(), Names{"a.lzo"});
  EXPECT_EQ(Run("zellzop -dU a.lzo").status, 0);
  EXPECT_EQ(Files(), Names{"a"});
  EXPECT_EQ(Run("zellzop -cU a > out").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "out"}));
  EXPECT_EQ(Run("zellzop -U a -o b.lzo").status, 0);
  EXPECT_EQ(Files(), (Names{"b.lzo", "out"}));
}

TEST_F(ZellzopFiles, KeepsPermissionsAndTimes) {
  Write("a", text_);
  ASSERT_EQ(Run("chmod 0641 a; touch -d '2001-02-03 04:05:06' a; zellzop a").status, 0);
  EXPECT_EQ(Status("a.lzo").st_mode & 07777, 0641u);
  EXPECT_EQ(Status("a.lzo").st_mtime, 981173106);
  // They are in the header, too.
  ASSERT_EQ(Run("chmod 0600 a.lzo; touch a.lzo; zellzop -df a.lzo").status, 0);
  EXPECT_EQ(Status("a").st_mode & 07777, 0641u);
  EXPECT_EQ(Status("a").st_mtime, 981173106);
  ASSERT_EQ(Run("umask 027; zellzop -df --no-mode --no-time a.lzo").status, 0);
  EXPECT_EQ(Status("a").st_mode & 07777, 0640u);
  EXPECT_GT(Status("a").st_mtime, 1000000000);
  ASSERT_EQ(Run("zellzop --parallel -q a; rm a; chmod 0604 a.zlzo; zellzop -d a.zlzo").status, 0);
  EXPECT_EQ(Status("a").st_mode & 07777, 0604u);
}

TEST_F(ZellzopFiles, StdoutWritesNoFile) {
  Write("a", text_);
  EXPECT_EQ(ToBytes(Run("zellzop -c a | zellzop -dc").out), text_);
  EXPECT_EQ(ToBytes(Run("zellzop < a | zellzop -d").out), text_);
  EXPECT_EQ(ToBytes(Run("zellzop --parallel -q < a | zellzop -d").out), text_);
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(ZellzopFiles, OutputTakesAllFiles) {
  Write("a", text_);
  Write("b", "second");
  Bytes both = text_;
  Append(both, ToBytes("second"));
  EXPECT_EQ(Run("zellzop -U a b -o all.lzo").status, 0);
  EXPECT_EQ(Files(), Names{"all.lzo"});
  EXPECT_EQ(ToBytes(Run("zellzop -dc all.lzo").out), both);
  EXPECT_EQ(Run("zellzop -d all.lzo all.lzo -o twice").status, 2);
  Append(both, both);
  EXPECT_EQ(Read("twice"), both);
  const Outcome refused = Run("zellzop -d all.lzo -o twice");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "zellzop: twice: already exists; not overwritten\n");
  // Without all of what was to be in it there is no file.
  EXPECT_EQ(Run("zellzop -dU all.lzo missing.lzo -o no").status, 1);
  EXPECT_EQ(Files(), (Names{"all.lzo", "twice"}));
}

TEST_F(ZellzopFiles, NamesAreRestoredWhenAsked) {
  Write("a", text_);
  Write("b", "second");
  ASSERT_EQ(Run("zellzop a b -o all.lzo; rm a b").status, 0);
  for (const bool is_asked : {false, true}) {
    EXPECT_EQ(Run("rm -f a b").status, 0);
    const Outcome outcome = Run(is_asked ? "zellzop -dN all.lzo" : "zellzop -d all.lzo");
    EXPECT_EQ(outcome.status, is_asked ? 0 : 2);
    EXPECT_EQ(outcome.err, is_asked ? "" : "zellzop: all.lzo: warning: multipart archive -- restoring file names\n");
    EXPECT_EQ(Files(), (Names{"a", "all.lzo", "b"}));
  }
  // One that may not be written does not keep the others from it.
  Write("a", "precious");
  EXPECT_EQ(Run("rm b; zellzop -dNU all.lzo").err, "zellzop: a: already exists; not overwritten\n");
  EXPECT_EQ(Files(), (Names{"a", "all.lzo", "b"}));
  EXPECT_EQ(ReadText("a"), "precious");
  EXPECT_EQ(Run("zellzop -dfN all.lzo").status, 0);
  EXPECT_EQ(Read("a"), text_);
  EXPECT_EQ(ReadText("b"), "second");
}

TEST_F(ZellzopFiles, AStoredNameLeadsNowhereElse) {
  // The name in the header is made "../a", or "..", by hand; the checksum of the header with it.
  Write("abcd", "x");
  ASSERT_EQ(Run("mkdir d; zellzop -c abcd > d/x.lzo").status, 0);
  const Bytes file = Read("d/x.lzo");
  for (const std::string name : {"../a", "/../", "/ab/"}) {
    Bytes changed = file;
    const Bytes old = ToBytes("abcd");
    const auto found = std::search(changed.begin(), changed.end(), old.begin(), old.end());
    ASSERT_NE(found, changed.end());
    std::copy(name.begin(), name.end(), found);
    const size_t end = static_cast<size_t>(found - changed.begin()) + 4;
    uint32_t low = 1, high = 0;  // Adler-32 of what is between the magic bytes and the checksum
    for (size_t i = 9; i < end; ++i) {
      low = (low + changed[i]) % 65521;
      high = (high + low) % 65521;
    }
    const uint32_t sum = high << 16 | low;
    for (size_t i = 0; i < 4; ++i) changed[end + i] = static_cast<uint8_t>(sum >> (24 - 8 * i));
    Write("d/x.lzo", changed);
    EXPECT_EQ(Run("cd d; zellzop -dN x.lzo").status, 0) << name;
    EXPECT_EQ(Run("ls d").out, name == "../a" ? "a\nx.lzo\n" : "x\nx.lzo\n") << name;
    EXPECT_EQ(Files(), (Names{"abcd", "d"}));
    EXPECT_EQ(Run("cd d; rm -f a x").status, 0);
  }
}

TEST_F(ZellzopFiles, SuffixesTellTheName) {
  Write("a", text_);
  ASSERT_EQ(Run("zellzop a; cp a.lzo b.tzo; zellzop -S foo a; zellzop -qS .bar --parallel a; rm a").status, 0);
  EXPECT_EQ(Files(), (Names{"a.bar", "a.foo", "a.lzo", "b.tzo"}));
  EXPECT_EQ(Run("zellzop -d b.tzo; zellzop -d -Sfoo a.foo").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "a.bar", "a.foo", "a.lzo", "b.tar", "b.tzo"}));
  EXPECT_EQ(Read("b.tar"), text_);
  EXPECT_EQ(Run("zellzop -S .a.b a").status, 1);
  EXPECT_EQ(Run("zellzop -S . a").status, 1);
  EXPECT_EQ(Run("zellzop -S a/b a").status, 1);
}

TEST_F(ZellzopFiles, AnUnknownSuffixIsAnError) {
  Write("a", text_);
  ASSERT_EQ(Run("zellzop a; mv a.lzo c.foo; rm a").status, 0);
  EXPECT_EQ(Run("zellzop -t c.foo; zellzop -dc c.foo > /dev/null").status, 0);
  const Outcome outcome = Run("zellzop -d c.foo");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zellzop: c.foo: unknown suffix -- ignored\n");
  EXPECT_EQ(Run("zellzop -dff c.foo").status, 0);
  EXPECT_EQ(Read("c.foo.raw"), text_);
}

TEST_F(ZellzopFiles, CompressedFilesAreNotCompressedAgain) {
  Write("a.lzo", text_);
  const Outcome outcome = Run("zellzop a.lzo");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "zellzop: a.lzo: warning: already has .lzo suffix -- unchanged\n");
  EXPECT_EQ(Run("zellzop -q a.lzo").err, "");
  EXPECT_EQ(Run("zellzop --no-warn a.lzo").status, 2);
  EXPECT_EQ(Run("zellzop --ignore-warn a.lzo").status, 0);
  EXPECT_EQ(Files(), Names{"a.lzo"});
  EXPECT_EQ(Run("zellzop -ff a.lzo").status, 0);
  EXPECT_EQ(Files(), (Names{"a.lzo", "a.lzo.lzo"}));
}

TEST_F(ZellzopFiles, DoesNotOverwriteUnlessForced) {
  Write("a", text_);
  Write("a.lzo", "precious");
  const Outcome refused = Run("zellzop a");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "zellzop: a.lzo: already exists; not overwritten\n");
  EXPECT_EQ(ReadText("a.lzo"), "precious");
  EXPECT_EQ(Run("zellzop -f a").status, 0);
  Write("a", "precious");
  EXPECT_EQ(Run("zellzop -d a.lzo").status, 1);
  EXPECT_EQ(ReadText("a"), "precious");
  EXPECT_EQ(Run("zellzop -df a.lzo").status, 0);
  EXPECT_EQ(Read("a"), text_);
}

TEST_F(ZellzopFiles, GoesOnAfterAFileThatFails) {
  Write("a", text_);
  Write("b", text_);
  ASSERT_EQ(Run("zellzop -U a b").status, 0);
  Write("bad.lzo", "no lzo file at all");
  const Outcome outcome = Run("zellzop -d a.lzo bad.lzo missing.lzo b.lzo");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "zellzop: bad.lzo: not a lzop file\n"
            "zellzop: missing.lzo: can't open input file: No such file or directory\n");
  EXPECT_EQ(Files(), (Names{"a", "a.lzo", "b", "b.lzo", "bad.lzo"}));
}

TEST_F(ZellzopFiles, WhatIsNoRegularFileIsSkipped) {
  ASSERT_EQ(mkdir(Path("d").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  for (const std::string name : {"d", "pipe"}) {
    for (const char* const options : {"", "-d "}) {
      const Outcome outcome = Run("zellzop " + std::string(options) + name);
      EXPECT_EQ(outcome.status, 2);
      EXPECT_EQ(outcome.err, "zellzop: " + name + ": warning: not a regular file -- skipped\n");
    }
  }
  EXPECT_EQ(Run("zellzop -c d").status, 2);
  Write("a", text_);
  EXPECT_EQ(ToBytes(Run("cat a > pipe & zellzop -c pipe | zellzop -d").out), text_);
}

TEST_F(ZellzopFiles, SymbolicLinksAreFollowed) {
  Write("a", text_);
  ASSERT_EQ(symlink("a", Path("link").c_str()), 0);
  EXPECT_EQ(Run("zellzop link; zellzop -dc link.lzo | cmp - a").status, 0);
}

TEST_F(ZellzopFiles, TestAndVerboseTellWhatIsDone) {
  Write("a", text_);
  const Outcome outcome =
      Run("zellzop -v a -o b.lzo; zellzop -t b.lzo; zellzop -tq b.lzo; zellzop -t < b.lzo;"
          "zellzop -dv b.lzo; zellzop -dvc b.lzo > /dev/null");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err,
            "compressing a into b.lzo\ntesting b.lzo OK\ntesting <stdin> OK\ndecompressing b.lzo into b\n"
            "decompressing b.lzo into <stdout>\n");
  EXPECT_EQ(outcome.out, "");
}

TEST_F(ZellzopFiles, ListShowsMembers) {
  Write("a", Bytes(300000));
  Write("b", "second");
  ASSERT_EQ(Run("zellzop a b; zellzop a b -o all.lzo; zellzop -q --parallel b").status, 0);
  const Outcome outcome = Run("zellzop -l b.lzo all.lzo b.zlzo; zellzop -lNq all.lzo; zellzop -lv b.lzo | tail -n 1");
  EXPECT_EQ(outcome.status, 0);
  const std::string out = outcome.out;
  EXPECT_EQ(out.substr(0, out.find('\n')), "method      compressed  uncompr. ratio uncompressed_name");
  EXPECT_NE(out.find("\nLZO1X-1             6         6 100.0% b\n"), std::string::npos) << out;
  EXPECT_NE(out.find("    300000   0.4% all\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\nparallel            6         6 100.0% b\n"), std::string::npos) << out;
  EXPECT_NE(out.find("(totals -- 4 files)\n"), std::string::npos) << out;
  EXPECT_NE(out.find("    300000   0.4% a\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\nLZO1X-1             6         6 100.0%  20"), std::string::npos) << out;
}

TEST_F(ZellzopFiles, ParallelFilesSayWhoReadsThem) {
  Write("a", text_);
  const Outcome outcome = Run("zellzop --parallel a");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "zellzop: a.zlzo: only zellzop reads this file\n");
  EXPECT_EQ(Run("zellzop --parallel -qf a").err, "");
  EXPECT_EQ(Run("rm a; zellzop -d a.zlzo").status, 0);
  EXPECT_EQ(Read("a"), text_);
}

TEST_F(ZellzopFiles, HelpVersionAndLicenseGoToStdout) {
  const Outcome help = Run("zellzop -h");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.substr(0, 48), "Usage: zellzop [COMMAND] [OPTION]... [FILE]...\nC");
  EXPECT_EQ(Run("zellzop --help").out, help.out);
  for (const char* const option : {"-V", "--version", "-L", "--license"}) {
    const Outcome outcome = Run(std::string("zellzop ") + option);
    EXPECT_EQ(outcome.status, 0) << option;
    EXPECT_EQ(outcome.out.substr(0, 8), "zellzop ") << option;
  }
}

TEST_F(ZellzopFiles, MistakesOfTheCommandLineAreErrors) {
  const Outcome unknown = Run("zellzop --nonsense");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err.substr(0, 49), "zellzop: unrecognized option '--nonsense'\nUsage: ");
  EXPECT_EQ(Run("zellzop -z").status, 1);
  EXPECT_EQ(Run("zellzop -c -o x a").err.substr(0, 42), "zellzop: cannot use both '-c' and '-o'\nUsa");
  EXPECT_EQ(Run("zellzop --no-stdin < /dev/null").status, 1);
}

}  // namespace
}  // namespace zeldc_test
