// What zelgzip makes of data of all kinds and sizes.

#include "shell.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

class ZelgzipStreams : public ShellTest {
 protected:
  void ExpectRoundTrip(const Bytes& data, const std::string& what) {
    Write("data", data);
    for (int level = 1; level <= 9; ++level) {
      // The nine levels are three: all of them for the small inputs, one of each kind for the others.
      if (data.size() > 100000 && level != 1 && level != 6 && level != 9) continue;
      SCOPED_TRACE(what + " at level " + std::to_string(level));
      ASSERT_EQ(Run("zelgzip -" + std::to_string(level) + " < data > data.gz").status, 0);
      EXPECT_TRUE(UnzipsTo(Read("data.gz"), data));
      const Outcome back = Run("zelgzip -d < data.gz | cmp - data");
      EXPECT_EQ(back.status, 0) << back.out << back.err;
    }
  }
};

TEST_F(ZelgzipStreams, AllKindsOfData) {
  for (const NamedData& kind : AllKinds(50000)) ExpectRoundTrip(kind.data, kind.name);
}

TEST_F(ZelgzipStreams, SizesAroundTheBuffers) {
  const Bytes random = RandomBytes((2 << 20) + 1, 15);
  const Bytes text = Text((2 << 20) + 1, 16);
  for (const size_t size : {65535, 65536, 131070, 131071, (1 << 20) - 1, 1 << 20, (1 << 20) + 1, (2 << 20) + 1}) {
    const auto end = static_cast<ptrdiff_t>(size);
    ExpectRoundTrip(Bytes(random.begin(), random.begin() + end), std::to_string(size) + " random bytes");
    ExpectRoundTrip(Bytes(text.begin(), text.begin() + end), std::to_string(size) + " bytes of text");
  }
}

TEST_F(ZelgzipStreams, LargeMixedData) { ExpectRoundTrip(Mixed(10000000, 17), "mixed"); }

TEST_F(ZelgzipStreams, IncompressibleDataGrowsByTheBlocksHeadersOnly) {
  Write("random", RandomBytes(3 << 20, 18));
  ASSERT_EQ(Run("zelgzip -kn random").status, 0);
  // At most 5 bytes for every 32 KiB, with the frame.
  EXPECT_LE(Read("random.gz").size(), (3u << 20) + 5 * (3 << 20) / 32768 + 20);
}

TEST_F(ZelgzipStreams, LevelsCompressBetterAndBetter) {
  Write("text", Text(2000000, 19));
  ASSERT_EQ(Run("for l in 1 2 3 4 5 6 7 8 9; do zelgzip -$l -nc text > $l; done; zelgzip -nc text > default;"
                "zelgzip --fast -nc text > fast; zelgzip --best -nc text > best")
                .status,
            0);
  const auto size = [this](const std::string& name) { return Read(name).size(); };
  EXPECT_GT(size("1"), size("6"));
  EXPECT_GT(size("6"), size("9"));
  for (const char* const same : {"2", "3", "fast"}) EXPECT_EQ(Read(same), Read("1")) << same;
  for (const char* const same : {"4", "5", "7", "default"}) EXPECT_EQ(Read(same), Read("6")) << same;
  for (const char* const same : {"8", "best"}) EXPECT_EQ(Read(same), Read("9")) << same;
}

TEST_F(ZelgzipStreams, ThePiecesOfAPipeDoNotChangeTheOutput) {
  Write("text", Text(2500000, 20));
  ASSERT_EQ(Run("zelgzip -n < text > whole; dd if=text bs=777 2>/dev/null | zelgzip -n > pieces").status, 0);
  EXPECT_EQ(Read("whole"), Read("pieces"));
}

TEST_F(ZelgzipStreams, ManySmallMembers) {
  Write("a", "a line\n");
  const Outcome outcome =
      Run("zelgzip -n a; for i in 1 2 3 4 5 6 7 8 9 10 11 12 13; do cat a.gz a.gz > b.gz; mv b.gz a.gz; done;"
          "zelgzip -d a.gz; sort -u a; wc -l < a");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "a line\n8192\n");
}

TEST_F(ZelgzipStreams, MemoryIsBoundedOnLongStreams) {
#ifdef ZELDC_SANITIZED
  GTEST_SKIP() << "sanitizers need memory of their own";
#endif
  for (const char* const command : {"yes 'a stream without end' | head -c 300000000 | zelgzip -1 > long.gz",
                                    "zelgzip -dc long.gz > /dev/null", "zelgzip -t long.gz"}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << command;
    EXPECT_LT(outcome.peak_kilobytes, 32000) << command;
  }
}

TEST_F(ZelgzipStreams, FilesOfMoreThan4GiB) {
#ifdef ZELDC_SANITIZED
  GTEST_SKIP() << "this takes too long with sanitizers";
#endif
  // 2^32 + 1000003 bytes, nearly all of them a hole.
  const Outcome outcome =
      Run("truncate -s 4295967290 big && printf 'end of it' >> big && zelgzip -1kn big &&"
          "tail -c 4 big.gz | od -An -tu4 && zelgzip -lq big.gz && zelgzip -dc big.gz | cmp - big");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("    1000003\n"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find(" 4295967299 "), std::string::npos) << outcome.out;
}

}  // namespace
}  // namespace zeldc_test
