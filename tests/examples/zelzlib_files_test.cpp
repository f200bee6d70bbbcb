// zelzlib's command line: which files it reads, writes and keeps.

#include "shell.h"
#include "support/data.h"
#include "zlib_file.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class ZelzlibFiles : public ShellTest {
 protected:
  ZelzlibFiles() { Write("a", text_); }

  void ExpectFailure(const std::string& command, const std::string& message, const Names& files, int status = 1) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, status) << command;
    EXPECT_EQ(outcome.err, "zelzlib: " + message + "\n") << command;
    EXPECT_EQ(Files(), files) << command;
  }

  const Bytes text_ = Text(3000, 51);
};

TEST_F(ZelzlibFiles, AFileBecomesACompressedOneAndBack) {
  EXPECT_EQ(Run("zelzlib a").status, 0);
  EXPECT_EQ(Files(), Names{"a.zz"});
  EXPECT_TRUE(UnzipsTo(Read("a.zz"), text_));
  EXPECT_EQ(Run("zelzlib -d a.zz").status, 0);
  EXPECT_EQ(Files(), Names{"a"});
  EXPECT_EQ(Read("a"), text_);
}

TEST_F(ZelzlibFiles, KeepStdoutAndOutputLeaveTheInput) {
  EXPECT_EQ(Run("zelzlib -k a").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "a.zz"}));
  EXPECT_EQ(Run("zelzlib -c a | cmp - a.zz && zelzlib < a | cmp - a.zz && zelzlib -o b a && cmp b a.zz").status, 0);
  EXPECT_EQ(Run("zelzlib -d -o c b && cmp a c && zelzlib -do d < b && cmp a d && zelzlib -dc a.zz b | cat > e").status,
            0);
  EXPECT_EQ(Files(), (Names{"a", "a.zz", "b", "c", "d", "e"}));
  EXPECT_EQ(Read("e").size(), 2 * text_.size());
}

TEST_F(ZelzlibFiles, TestWritesNothing) {
  Write("a.zz", ZlibFile(text_));
  const Outcome outcome = Run("zelzlib -t a.zz && zelzlib -dt < a.zz");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out + outcome.err, "");
  EXPECT_EQ(Files(), (Names{"a", "a.zz"}));
}

TEST_F(ZelzlibFiles, ExistingFilesAreReplacedOnlyWhenForced) {
  Write("a.zz", "other");
  ExpectFailure("zelzlib a", "a.zz: already exists", {"a", "a.zz"});
  EXPECT_EQ(ReadText("a.zz"), "other");
  EXPECT_EQ(Run("zelzlib -f a").status, 0);
  EXPECT_TRUE(UnzipsTo(Read("a.zz"), text_));
  Write("a", "other");
  ExpectFailure("zelzlib -d a.zz", "a: already exists", {"a", "a.zz"});
  EXPECT_EQ(Run("zelzlib -df a.zz").status, 0);
  EXPECT_EQ(Read("a"), text_);
  ExpectFailure("zelzlib -fo a a", "a and a are the same file", {"a"});
}

TEST_F(ZelzlibFiles, NamesAndKindsOfFilesThatAreLeftAlone) {
  ExpectFailure("zelzlib -d a", "a: unknown suffix -- ignored", {"a"}, 2);
  ExpectFailure("zelzlib nothing", "nothing: No such file or directory", {"a"});
  EXPECT_EQ(Run("mkdir d && cp a b.zz && ln -s a l").status, 0);
  ExpectFailure("zelzlib b.zz", "b.zz: already has .zz suffix -- unchanged", {"a", "b.zz", "d", "l"}, 2);
  ExpectFailure("zelzlib d", "d: Is a directory", {"a", "b.zz", "d", "l"});
  ExpectFailure("zelzlib l", "l: is a symbolic link -- ignored", {"a", "b.zz", "d", "l"}, 2);
}

TEST_F(ZelzlibFiles, OneBadFileDoesNotStopTheOthers) {
  Write("bad.zz", "no zlib file");
  Write("good.zz", ZlibFile(text_));
  ExpectFailure("zelzlib -d bad.zz good.zz", "bad.zz: not in zlib format", {"a", "bad.zz", "good"});
}

TEST_F(ZelzlibFiles, MistakesOnTheCommandLine) {
  for (const char* const window : {"7", "16", "x", "", "15x"}) {
    ExpectFailure(std::string("zelzlib -w '") + window + "' a", "the window must have 8 to 15 bits", {"a"});
  }
  ExpectFailure("zelzlib -o b -c a", "-o does not go with -c or -t", {"a"});
  ExpectFailure("zelzlib -o b a a", "-o takes one file", {"a"});
  EXPECT_EQ(Run("zelzlib -x a").status, 1);
}

TEST_F(ZelzlibFiles, DictionariesThatAreNone) {
  Write("empty", "");
  ExpectFailure("zelzlib -D nothing a", "nothing: No such file or directory", {"a", "empty"});
  ExpectFailure("zelzlib -D empty a", "empty: the dictionary is empty", {"a", "empty"});
  ExpectFailure("truncate -s 1048577 empty; zelzlib -D empty a", "empty: the dictionary is too large", {"a", "empty"});
}

TEST_F(ZelzlibFiles, HelpAndVersion) {
  EXPECT_EQ(Run("zelzlib -h | head -n 1").out, "Usage: zelzlib [OPTION]... [FILE]...\n");
  EXPECT_EQ(Run("zelzlib -V").out.substr(0, 15), "zelzlib (zeldc ");
}

TEST_F(ZelzlibFiles, AFullDeviceIsAnError) {
  const Outcome outcome = Run("zelzlib -c a > /dev/full");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelzlib: stdout: No space left on device\n");
}

TEST_F(ZelzlibFiles, TrailingGarbageIsAWarning) {
  Bytes file = ZlibFile(text_);
  file.push_back(0);
  Write("b.zz", file);
  ExpectFailure("zelzlib -d b.zz", "b.zz: decompression OK, trailing garbage ignored", {"a", "b"}, 2);
  EXPECT_EQ(Read("b"), text_);
}

}  // namespace
}  // namespace zeldc_test
