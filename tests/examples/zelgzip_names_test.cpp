// Suffixes, stored names and stored times.

#include <sys/stat.h>

#include "shell.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class ZelgzipNames : public ShellTest {
 protected:
  const Bytes text_ = Text(5000, 2);

  time_t TimeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(stat(Path(name).c_str(), &status), 0) << name;
    return status.st_mtime;
  }
};

TEST_F(ZelgzipNames, SuffixCanBeChosen) {
  Write("a", text_);
  EXPECT_EQ(Run("zelgzip -S .packed a").status, 0);
  EXPECT_EQ(Files(), Names{"a.packed"});
  const Outcome unknown = Run("zelgzip -d a.packed");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err, "zelgzip: a.packed: unknown suffix -- ignored\n");
  EXPECT_EQ(Run("zelgzip -d --suffix=.packed a").status, 0);
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(ZelgzipNames, UnusableSuffixesAreErrors) {
  Write("a", text_);
  for (const char* const suffix : {"''", "/x", "..../etc", ".0123456789012345678901234567890123456789"}) {
    const Outcome outcome = Run(std::string("zelgzip a -S ") + suffix);
    EXPECT_EQ(outcome.status, 1) << suffix;
    EXPECT_EQ(outcome.err.substr(0, 25), "zelgzip: invalid suffix '") << suffix;
  }
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(ZelgzipNames, UsualSuffixesAreKnown) {
  for (const char* const name : {"x.gz", "x.GZ", "x.z", "x-z", "x-gz", "x_z"}) {
    Write("x", text_);
    EXPECT_EQ(Run("zelgzip -c x > tmp; rm x; mv tmp " + std::string(name) + "; zelgzip -d " + name).status, 0) << name;
    EXPECT_EQ(Files(), Names{"x"}) << name;
  }
  for (const char* const name : {"x.tgz", "x.taz"}) {
    Write("x", text_);
    EXPECT_EQ(Run("zelgzip -c x > tmp; rm x; mv tmp " + std::string(name) + "; zelgzip -d " + name).status, 0) << name;
    EXPECT_EQ(Files(), Names{"x.tar"}) << name;
    EXPECT_EQ(Run("rm x.tar").status, 0);
  }
}

TEST_F(ZelgzipNames, ASuffixAloneIsNoCompressedName) {
  Write("a", text_);
  EXPECT_EQ(Run("zelgzip -c a > .gz; rm a; zelgzip -d .gz").status, 2);
  EXPECT_EQ(Files(), Names{".gz"});
}

TEST_F(ZelgzipNames, CompressedNamesAreNotCompressedAgainUnlessForced) {
  Write("a.gz", text_);
  const Outcome outcome = Run("zelgzip a.gz");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "zelgzip: a.gz already has .gz suffix -- unchanged\n");
  EXPECT_EQ(Read("a.gz"), text_);
  EXPECT_EQ(Run("zelgzip -f a.gz").status, 0);
  EXPECT_EQ(Files(), Names{"a.gz.gz"});
}

TEST_F(ZelgzipNames, TheSuffixNeedNotBeTypedToDecompress) {
  Write("a", text_);
  EXPECT_EQ(Run("zelgzip a; zelgzip -d a").status, 0);
  EXPECT_EQ(Files(), Names{"a"});
  const Outcome missing = Run("zelgzip -d missing");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "zelgzip: missing.gz: No such file or directory\n");
}

TEST_F(ZelgzipNames, HeaderHoldsNameAndTime) {
  Write("name", text_);
  ASSERT_EQ(
      Run("touch -d '2001-02-03 04:05:06' name; zelgzip -k name; zelgzip -9nc name > bare; zelgzip -1 < name > in")
          .status,
      0);
  // Magic, method, flags, time, effort, system (RFC 1952 section 2.3), then the name.
  const Bytes named = {0x1f, 0x8b, 8, 8, 0x72, 0x83, 0x7b, 0x3a, 0, 3, 'n', 'a', 'm', 'e', 0};
  const Bytes bare = {0x1f, 0x8b, 8, 0, 0, 0, 0, 0, 2, 3};
  const Bytes input = {0x1f, 0x8b, 8, 0, 0x72, 0x83, 0x7b, 0x3a, 4, 3};
  const auto begins = [this](const std::string& file, const Bytes& with) {
    const Bytes content = Read(file);
    return Bytes(content.begin(), content.begin() + static_cast<ptrdiff_t>(with.size()));
  };
  EXPECT_EQ(begins("name.gz", named), named);
  EXPECT_EQ(begins("bare", bare), bare);
  EXPECT_EQ(begins("in", input), input);
}

TEST_F(ZelgzipNames, NameOptionRestoresNameAndTime) {
  Write("original", text_);
  ASSERT_EQ(Run("touch -d '2001-02-03 04:05:06' original; zelgzip original; mv original.gz other.gz;"
                "touch -d '2010-01-01' other.gz")
                .status,
            0);
  EXPECT_EQ(Run("zelgzip -dk other.gz").status, 0);
  EXPECT_EQ(TimeOf("other"), 1262304000);
  EXPECT_EQ(Run("zelgzip -dkN other.gz").status, 0);
  EXPECT_EQ(Files(), (Names{"original", "other", "other.gz"}));
  EXPECT_EQ(TimeOf("original"), 981173106);
}

TEST_F(ZelgzipNames, AFileWithoutStoredNameIsNamedAfterItself) {
  Write("a", text_);
  EXPECT_EQ(Run("zelgzip -n a; zelgzip -dN a.gz").status, 0);
  EXPECT_EQ(Files(), Names{"a"});
}

TEST_F(ZelgzipNames, StoredDirectoriesAreNotFollowed) {
  ASSERT_EQ(mkdir(Path("d").c_str(), 0700), 0);
  Write("a", text_);
  // A header with the name "../evil" in front of the data of another.
  ASSERT_EQ(
      Run("{ printf '\\037\\213\\010\\010\\0\\0\\0\\0\\0\\003../evil\\0'; zelgzip -nc a | tail -c +11; } > d/x.gz")
          .status,
      0);
  EXPECT_EQ(Run("zelgzip -dN d/x.gz").status, 0);
  EXPECT_EQ(Files(), (Names{"a", "d"}));
  EXPECT_EQ(Read("d/evil"), text_);
}

TEST_F(ZelgzipNames, StoredNamesThatAreNoFilesAreIgnored) {
  Write("a", text_);
  for (const char* const name : {"..", ".", "x/", "/"}) {
    ASSERT_EQ(Run("{ printf '\\037\\213\\010\\010\\0\\0\\0\\0\\0\\003" + std::string(name) +
                  "\\0'; zelgzip -nc a | tail -c +11; } > x.gz")
                  .status,
              0);
    EXPECT_EQ(Run("zelgzip -dN x.gz").status, 0) << name;
    EXPECT_EQ(Files(), (Names{"a", "x"})) << name;
    EXPECT_EQ(Run("rm x").status, 0);
  }
}

TEST_F(ZelgzipNames, AFileNeverOverwritesItself) {
  Write("x.gz", text_);
  // The stored name is that of the compressed file.
  ASSERT_EQ(Run("zelgzip -c x.gz > tmp; mv tmp x.gz").status, 0);
  const Bytes before = Read("x.gz");
  const Outcome outcome = Run("zelgzip -dfN x.gz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelgzip: x.gz and x.gz are the same file\n");
  EXPECT_EQ(Read("x.gz"), before);
  EXPECT_EQ(Files(), Names{"x.gz"});
}

TEST_F(ZelgzipNames, TimesThatTheFormatCannotHoldAreNotStored) {
  Write("old", text_);
  const Outcome outcome = Run("touch -d '1960-01-01' old; zelgzip -k old");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "zelgzip: old: warning: file timestamp out of range for gzip format\n");
  EXPECT_TRUE(UnzipsTo(Read("old.gz"), text_));
  const Bytes file = Read("old.gz");
  EXPECT_EQ(Bytes(file.begin() + 4, file.begin() + 8), Bytes(4));
}

TEST_F(ZelgzipNames, TimesBeyond2038AreKept) {
  Write("future", text_);
  if (Run("touch -d '2100-01-01' future && test $(date -r future +%Y) = 2100").status != 0) {
    GTEST_SKIP() << "the file system has no such times";
  }
  EXPECT_EQ(Run("zelgzip future; touch future.gz; zelgzip -dN future.gz; date -r future +%Y").out, "2100\n");
}

}  // namespace
}  // namespace zeldc_test
