// What zelzlib makes of zlib's streams and of dictionaries, and zlib of zelzlib's.

#include "inflate/random_stream.h"
#include "shell.h"
#include "support/data.h"
#include "zlib_file.h"

namespace zeldc_test {
namespace {

class ZelzlibInterop : public ShellTest {
 protected:
  // Decompresses the files written as 0.zz, 1.zz and so on, with one process each but one shell.
  void ExpectDecompressed(const std::vector<Bytes>& files, const Bytes& data, const std::string& options = "") {
    Write("data", data);
    for (size_t i = 0; i < files.size(); ++i) Write(std::to_string(i) + ".zz", files[i]);
    const Outcome outcome = Run("for i in [0-9]*.zz; do zelzlib -dc " + options + " $i | cmp - data || echo $i; done");
    EXPECT_EQ(outcome.out + outcome.err, "");
  }
};

TEST_F(ZelzlibInterop, ReadsZlibsLevelsAndStrategies) {
  const Bytes data = Mixed(150000, 37);
  std::vector<Bytes> files;
  for (int level = 0; level <= 9; ++level) {
    for (int strategy = 0; strategy <= 4; ++strategy) {
      files.push_back(ZlibFile(data, {.level = level, .strategy = strategy}));
    }
  }
  ExpectDecompressed(files, data);
}

TEST_F(ZelzlibInterop, ReadsZlibsWindowsMemoriesAndFlushes) {
  const Bytes data = Mixed(150000, 38);
  std::vector<Bytes> files;
  for (int bits = 9; bits <= 15; ++bits) files.push_back(ZlibFile(data, {.window_bits = bits}));
  for (int memory = 1; memory <= 9; memory += 4) files.push_back(ZlibFile(data, {.memory_level = memory}));
  for (int flush = 1; flush <= 5; ++flush) {
    if (flush == 4) continue;  // Z_FINISH
    files.push_back(ZlibFile(data, {.flush = flush, .flush_every = 777}));
  }
  ExpectDecompressed(files, data);
}

TEST_F(ZelzlibInterop, ReadsRandomBlocksAndCodes) {
  for (uint64_t seed = 0; seed < 30; ++seed) {
    const StreamBuilder s = RandomStream(seed, 8, 400);
    ExpectDecompressed({ZlibFileAround(s.stream(), s.output())}, s.output());
  }
}

TEST_F(ZelzlibInterop, DictionariesWorkInBothDirections) {
  for (const size_t size : {1, 2, 3, 257, 258, 1000, 32768, 50000}) {
    SCOPED_TRACE(size);
    const Bytes dictionary = Text(size, 39);
    Bytes data(dictionary.begin(), dictionary.end());
    const Bytes more = Text(20000, 40);
    data.insert(data.end(), more.begin(), more.end());
    Write("dictionary", dictionary);
    for (const char* const level : {"-1", "-6", "-9"}) {
      Write("data", data);
      ASSERT_EQ(Run(std::string("zelzlib -D dictionary ") + level +
                    " -c data > data.zz && "
                    "zelzlib -D dictionary -dc data.zz | cmp - data")
                    .status,
                0);
      const Bytes file = Read("data.zz");
      const Bytes header = ZlibHeader(15, dictionary);
      ASSERT_GT(file.size(), 10u);
      EXPECT_EQ(file[1] & 0x20, 0x20);
      EXPECT_TRUE(std::equal(header.begin() + 2, header.end(), file.begin() + 2));
      const Inflated got = InflateWithZlib(Bytes(file.begin() + 6, file.end() - 4), data.size(), dictionary);
      EXPECT_TRUE(got.complete && got.data == data);
    }
    ExpectDecompressed({ZlibFile(data, {}, dictionary)}, data, "-D dictionary");
  }
}

TEST_F(ZelzlibInterop, ADictionaryMakesWhatRepeatsItShort) {
  const Bytes dictionary = Text(3000, 41);
  Write("dictionary", dictionary);
  Write("data", Bytes(dictionary.begin() + 500, dictionary.end()));
  ASSERT_EQ(Run("zelzlib -9 -c data > without; zelzlib -9 -D dictionary -c data > with").status, 0);
  EXPECT_LT(Read("with").size(), Read("without").size() / 3);
}

}  // namespace
}  // namespace zeldc_test
