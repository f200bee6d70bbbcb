// What all programs for compressed files do with the files they are given.

#include "file_programs.h"

#include <sys/stat.h>

#include "support/data.h"

namespace zeldc_test {
namespace {

class FilePrograms : public FileProgramTest {
 protected:
  const Bytes text_ = Text(100000, 1);
};

INSTANTIATE_TEST_SUITE_P(All, FilePrograms, testing::ValuesIn(kFilePrograms), ProgramName);

TEST_P(FilePrograms, ReplaceAFileByItsCompressedFormAndBack) {
  Write("a", text_);
  const Outcome compressed = Run(Replacing("a"));
  EXPECT_EQ(compressed.status, 0);
  EXPECT_EQ(compressed.out + compressed.err, "");
  EXPECT_EQ(Files(), Names{Packed("a")});
  EXPECT_TRUE(IsPacked(Read(Packed("a")), text_));
  EXPECT_LT(Read(Packed("a")).size(), text_.size() * 3 / 4);

  const Outcome decompressed = Run(Replacing("-d " + Packed("a")));
  EXPECT_EQ(decompressed.status, 0);
  EXPECT_EQ(decompressed.out + decompressed.err, "");
  EXPECT_EQ(Files(), Names{"a"});
  EXPECT_EQ(Read("a"), text_);
}

TEST_P(FilePrograms, KeepPermissionsAndTimes) {
  Write("a", text_);
  ASSERT_EQ(Run("chmod 0641 a; touch -d '2001-02-03 04:05:06' a").status, 0);
  for (const std::string& command : {Replacing("a"), Replacing("-d " + Packed("a"))}) {
    ASSERT_EQ(Run(command).status, 0);
    ASSERT_EQ(Files().size(), 1u);
    struct stat status {};
    ASSERT_EQ(lstat(Path(Files()[0]).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0641u) << command;
    EXPECT_EQ(status.st_mtime, 981173106) << command;
  }
}

TEST_P(FilePrograms, LeaveTheInputWhenItIsToBeKept) {
  Write("a", text_);
  EXPECT_EQ(Run(Command("-k a")).status, 0);
  EXPECT_EQ(Files(), (Names{"a", Packed("a")}));
  EXPECT_EQ(Run("rm a; " + Command("--decompress --keep " + Packed("a"))).status, 0);
  EXPECT_EQ(Files(), (Names{"a", Packed("a")}));
  EXPECT_EQ(Read("a"), text_);
}

TEST_P(FilePrograms, LeaveTheInputAndWriteNoFileWithStdout) {
  Write("a", text_);
  const Outcome compressed = Run(Command("-c a"));
  EXPECT_EQ(compressed.status, 0);
  EXPECT_EQ(Files(), Names{"a"});
  EXPECT_TRUE(IsPacked(ToBytes(compressed.out), text_));

  Write(Packed("b"), ToBytes(compressed.out));
  const Outcome decompressed = Run(Command("--stdout -d " + Packed("b")));
  EXPECT_EQ(decompressed.status, 0);
  EXPECT_EQ(ToBytes(decompressed.out), text_);
  EXPECT_EQ(Files(), (Names{"a", Packed("b")}));
}

TEST_P(FilePrograms, PutSeveralFilesBehindEachOtherOnStdout) {
  Write("a", text_);
  Write("b", "second");
  Bytes both = text_;
  Append(both, ToBytes("second"));
  EXPECT_EQ(ToBytes(Run(Command("-c a b | ") + Command("-dc")).out), both);
}

TEST_P(FilePrograms, WorkOnTheStandardStreamsWithoutFiles) {
  Write("a", text_);
  EXPECT_TRUE(IsPacked(ToBytes(Run(Command("< a")).out), text_));
  EXPECT_EQ(ToBytes(Run(Command("< a | ") + Command("-d")).out), text_);
}

TEST_P(FilePrograms, TakeADashForTheStandardInput) {
  Write("a", "first ");
  Write("b", "second");
  EXPECT_EQ(Run(Command("-k b; ") + Command("< a | ") + Command("-dc - " + Packed("b"))).out, "first second");
}

}  // namespace
}  // namespace zeldc_test
