// What zelzlib makes of data of all kinds and sizes.

#include "shell.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

class ZelzlibStreams : public ShellTest {
 protected:
  void ExpectRoundTrip(const Bytes& data, const std::string& options, const std::string& what) {
    SCOPED_TRACE(what + " " + options);
    Write("data", data);
    const Outcome outcome = Run("zelzlib " + options + " < data > data.zz && zelzlib -d < data.zz | cmp - data");
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_TRUE(UnzipsTo(Read("data.zz"), data));
  }
};

TEST_F(ZelzlibStreams, AllKindsOfDataAtAllLevels) {
  int level = 0;
  for (const NamedData& kind : AllKinds(50000)) {
    for (int i = 0; i < 3; ++i) ExpectRoundTrip(kind.data, "-" + std::to_string(level++ % 9 + 1), kind.name);
  }
}

TEST_F(ZelzlibStreams, AllWindowSizes) {
  const Bytes data = Mixed(200000, 31);
  for (int bits = 8; bits <= 15; ++bits) {
    ExpectRoundTrip(data, "-w " + std::to_string(bits) + (bits % 2 ? " -3" : " -9"), "mixed");
    EXPECT_EQ(Read("data.zz")[0], (bits - 8) << 4 | 8);
  }
}

TEST_F(ZelzlibStreams, LargeData) {
  for (const char* const level : {"-1", "-6", "-9"}) ExpectRoundTrip(Mixed(3000000, 32), level, "mixed");
  ExpectRoundTrip(RandomBytes(1000000, 33), "-6", "random");
  ExpectRoundTrip(Bytes(2000000, 0), "-9", "zeros");
}

TEST_F(ZelzlibStreams, SizesAroundTheBuffers) {
  const Bytes text = Text(600000, 34);
  for (const size_t size : {1, 2, 259, 260, 261, 32767, 32768, 65535, 65536, 262143, 262144, 262145, 524288}) {
    ExpectRoundTrip(Bytes(text.begin(), text.begin() + static_cast<ptrdiff_t>(size)), "-5", std::to_string(size));
  }
}

TEST_F(ZelzlibStreams, IncompressibleDataIsStored) {
  const Bytes data = RandomBytes(500000, 35);
  ExpectRoundTrip(data, "-9", "random");
  EXPECT_LT(Read("data.zz").size(), data.size() + 200);
}

TEST_F(ZelzlibStreams, LevelsCompressBetterAndBetter) {
  Write("text", Text(500000, 36));
  ASSERT_EQ(Run("for l in 1 6 9; do zelzlib -$l -c text > $l; done").status, 0);
  EXPECT_GT(Read("1").size(), Read("6").size());
  EXPECT_GT(Read("6").size(), Read("9").size());
}

TEST_F(ZelzlibStreams, ThePiecesOfAPipeDoNotChangeTheOutput) {
  Write("text", Text(700000, 42));
  ASSERT_EQ(Run("zelzlib < text > whole; dd if=text bs=777 2>/dev/null | zelzlib > pieces").status, 0);
  EXPECT_EQ(Read("whole"), Read("pieces"));
  EXPECT_EQ(Run("dd if=whole bs=101 2>/dev/null | zelzlib -d | cmp - text").status, 0);
}

TEST_F(ZelzlibStreams, MemoryIsBoundedOnLongStreams) {
#ifdef ZELDC_SANITIZED
  GTEST_SKIP() << "sanitizers need memory of their own";
#endif
  for (const char* const command : {"yes 'a stream without end' | head -c 100000000 | zelzlib -1 > long.zz",
                                    "zelzlib -dc long.zz > /dev/null", "zelzlib -t long.zz"}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << command;
    EXPECT_LT(outcome.peak_kilobytes, 32000) << command;
  }
}

}  // namespace
}  // namespace zeldc_test
