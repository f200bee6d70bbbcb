// What zellzop makes of data of all kinds and sizes.

#include "shell.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class ZellzopStreams : public ShellTest {
 protected:
  void ExpectRoundTrip(const Bytes& data, const std::string& what) {
    Write("data", data);
    for (const char* const options : {"", "--crc32", "-F", "--parallel -q"}) {
      SCOPED_TRACE(what + " " + options);
      const Outcome outcome =
          Run(std::string("zellzop ") + options + " < data > data.lzo && zellzop -d < data.lzo | cmp - data");
      EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    }
  }
};

TEST_F(ZellzopStreams, AllKindsOfData) {
  for (const NamedData& kind : AllKinds(30000)) ExpectRoundTrip(kind.data, kind.name);
}

TEST_F(ZellzopStreams, SizesAroundTheBlock) {
  constexpr size_t kBlock = 262144;
  for (const size_t size : {kBlock - 1, kBlock, kBlock + 1, 2 * kBlock, 2 * kBlock + 1}) {
    ExpectRoundTrip(Text(size, 16), std::to_string(size) + " bytes of text");
    ExpectRoundTrip(RandomBytes(size, 15), std::to_string(size) + " random bytes");
  }
}

TEST_F(ZellzopStreams, LargeMixedData) { ExpectRoundTrip(Mixed(9000000, 17), "mixed"); }

TEST_F(ZellzopStreams, BlocksThatDoNotShrinkAreStored) {
  const Bytes data = RandomBytes(300000, 3);
  Write("data", data);
  ASSERT_EQ(Run("zellzop data; zellzop -q --parallel data").status, 0);
  // Header, name and two blocks' heads; the end.
  EXPECT_EQ(Read("data.lzo").size(), data.size() + 38 + 4 + 2 * 12 + 4);
  EXPECT_EQ(Read("data.zlzo").size(), data.size() + 10 + 12 + 4);
}

TEST_F(ZellzopStreams, TheHeaderIsThatOfLzop) {
  Write("name", "");
  ASSERT_EQ(Run("chmod 640 name; touch -d '2001-02-03 04:05:06 UTC' name; zellzop name").status, 0);
  const Bytes expected = {0x89, 'L',  'Z',  'O',  0x00, '\r', '\n', 0x1A, '\n',  // magic bytes
                          0x10, 0x40, 0x20, 0xA0, 0x09, 0x40,                    // versions
                          0x01, 0x05,                                            // method and level
                          0x03, 0x00, 0x00, 0x01,                                // Unix, Adler-32
                          0x00, 0x00, 0x81, 0xA0,                                // mode
                          0x3A, 0x7B, 0x83, 0x72, 0,    0,    0,    0,           // time
                          4,    'n',  'a',  'm',  'e'};
  const Bytes file = Read("name.lzo");
  EXPECT_EQ(Front(file, expected.size()), expected);
  EXPECT_EQ(file.size(), expected.size() + 4 + 4);
}

TEST_F(ZellzopStreams, ThreadsDoNotChangeTheData) {
  Write("data", Mixed(1500000, 18));
  EXPECT_EQ(Run("for t in 1 2 3 8; do OMP_NUM_THREADS=$t zellzop -q --parallel < data > $t.zlzo || exit 1; done;"
                "for t in 1 2 3 8; do for r in 1 4; do"
                "  OMP_NUM_THREADS=$r zellzop -dc $t.zlzo | cmp - data || exit 1; done; done")
                .status,
            0);
}

TEST_F(ZellzopStreams, ThePiecesOfAPipeDoNotChangeTheOutput) {
  Write("text", Text(500000, 20));
  ASSERT_EQ(Run("zellzop text; dd if=text bs=777 2>/dev/null | zellzop -c > pieces").status, 0);
  const Bytes whole = Read("text.lzo");
  const Bytes pieces = Read("pieces");
  // Behind headers that tell another origin.
  EXPECT_EQ(Bytes(whole.begin() + 42, whole.end()), Bytes(pieces.begin() + 38, pieces.end()));
  EXPECT_EQ(Run("dd if=pieces bs=777 2>/dev/null | zellzop -d | cmp - text").status, 0);
}

TEST_F(ZellzopStreams, ManyMembers) {
  Write("a", "a line\n");
  const Outcome outcome =
      Run("zellzop a; for i in 1 2 3 4 5 6 7 8; do cat a.lzo a.lzo > b; mv b a.lzo; done; zellzop -dc a.lzo > b;"
          "sort -u b; wc -l < b");
  EXPECT_EQ(outcome.out, "a line\n256\n");
}

TEST_F(ZellzopStreams, MemoryIsBoundedOnLongStreams) {
#ifdef ZELDC_SANITIZED
  GTEST_SKIP() << "sanitizers need memory of their own";
#endif
  const std::string source = "yes 'a stream without end' | head -c 50000000 | ";
  for (const std::string& command : {source + "zellzop > long.lzo", std::string("zellzop -t long.lzo"),
                                     std::string("zellzop -dc long.lzo > /dev/null")}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << command;
    EXPECT_LT(outcome.peak_kilobytes, 32000) << command;
  }
}

}  // namespace
}  // namespace zeldc_test
