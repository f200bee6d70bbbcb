#include "common/progress.h"

#include "gtest/gtest.h"

namespace {

using example::ProgressLine;

TEST(ProgressLine, ShowsNamePartAmountAndSpeed) {
  EXPECT_EQ(ProgressLine("big.iso", 250000000, 1000000000, 2.0, 100),
            "big.iso [=======                       ]  25% 250.0 MB 125.0 MB/s");
}

TEST(ProgressLine, HasNoBarWhenTheTotalIsUnknown) {
  EXPECT_EQ(ProgressLine("stdin", 5000000, 0, 2.5, 100), "stdin 5.0 MB 2.0 MB/s");
}

TEST(ProgressLine, StopsAtAHundredPercentWhenTheFileGrows) {
  EXPECT_EQ(ProgressLine("log", 3000000, 1000000, 1.0, 100),
            "log [==============================] 100% 3.0 MB 3.0 MB/s");
}

TEST(ProgressLine, ShowsTheEndOfALongName) {
  EXPECT_EQ(ProgressLine("/a/long/way/down/to/some/file.txt", 1000000, 0, 1.0, 100),
            "...down/to/some/file.txt 1.0 MB 1.0 MB/s");
}

TEST(ProgressLine, IsCutToTheTerminal) { EXPECT_EQ(ProgressLine("stdin", 5000000, 0, 2.5, 10), "stdin 5.0 "); }

TEST(ProgressLine, KnowsNoSpeedWithoutTime) { EXPECT_EQ(ProgressLine("x", 0, 10, 0.0, 30).substr(0, 4), "x [ "); }

}  // namespace
