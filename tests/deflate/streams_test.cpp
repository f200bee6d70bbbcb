// Whole streams through the encoder: every combination of level, kind of block, flush, split and dictionary is read by
// zlib and libdeflate, and nothing but input and arguments decides the bytes.

#include <algorithm>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

const char* const kLevelNames[] = {"Fast", "Normal", "Best"};
const char* const kBlockNames[] = {"Chosen", "Fixed", "Dynamic", "Stored", "InTurn"};
const char* const kFlushNames[] = {"None", "Sync", "Full"};

class Streams : public testing::TestWithParam<std::tuple<zelLZ77Level, BlockKind, zelLZ77FlushMode>> {
 protected:
  Streams() {
    options_.level = std::get<0>(GetParam());
    options_.block = std::get<1>(GetParam());
    options_.flush = std::get<2>(GetParam());
  }
  EncodeOptions options_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, Streams,
                         testing::Combine(testing::ValuesIn(kLevels),
                                          testing::Values(BlockKind::kChosen, BlockKind::kFixed, BlockKind::kDynamic,
                                                          BlockKind::kStored, BlockKind::kInTurn),
                                          testing::Values(zelLZ77FlushNone, zelLZ77FlushSync, zelLZ77FlushFull)),
                         [](const auto& parameter) {
                           return std::string(kLevelNames[std::get<0>(parameter.param)]) +
                                  kBlockNames[static_cast<int>(std::get<1>(parameter.param))] +
                                  kFlushNames[std::get<2>(parameter.param)];
                         });

TEST_P(Streams, OfAllKindsOfInput) {
  for (const NamedData& input : AllKinds(70000)) {
    for (size_t piece : {size_t{20000}, SIZE_MAX}) {
      options_.input_piece = piece;
      EXPECT_TRUE(DecodesTo(Encode(input.data, options_), input.data)) << input.name << ", pieces of " << piece;
    }
  }
}

TEST_P(Streams, WithTinyRooms) {
  for (size_t room : {1, 2, 3, 7}) {
    options_.room = room;
    options_.pairs_room = 200;
    options_.input_piece = 1500;
    const Bytes input = Mixed(4000, room);
    EXPECT_TRUE(DecodesTo(Encode(input, options_), input)) << room;
  }
}

TEST_P(Streams, WithAnyNumberOfPairs) {
  const Bytes input = Mixed(30000, 1);
  for (size_t pairs : {1, 2, 3, 100, 5000, 200000}) {
    options_.pairs_room = pairs;
    options_.input_piece = 10000;
    const Bytes part(input.begin(), input.begin() + static_cast<ptrdiff_t>(pairs < 10 ? 1000 : input.size()));
    EXPECT_TRUE(DecodesTo(Encode(part, options_), part)) << pairs;
  }
}

TEST_P(Streams, WithRandomSplits) {
  for (uint64_t seed = 1; seed <= 10; ++seed) {
    options_.split_seed = seed;
    options_.input_piece = size_t{1} << seed;
    options_.room = size_t{1} << (seed % 8);
    options_.pairs_room = size_t{3} << seed;
    const Bytes input = Mixed(size_t{300} << seed % 6, seed);
    EXPECT_TRUE(DecodesTo(Encode(input, options_), input)) << seed;
  }
}

TEST_P(Streams, WithDictionaries) {
  for (size_t size : {3, 100, 32767, 32768, 40000}) {
    const Bytes input = Text(20000, 2);
    options_.dictionary = Text(size, 2);
    EXPECT_TRUE(DecodesTo(Encode(input, options_), input, options_.dictionary)) << size;
  }
}

TEST_P(Streams, AreTheSameForAnyRoom) {
  const Bytes input = Mixed(6000, 3);
  options_.input_piece = 2000;
  options_.pairs_room = 500;
  const Bytes expected = Encode(input, options_);
  for (size_t room : {1, 2, 3, 5, 8, 64, 1000}) {
    options_.room = room;
    EXPECT_EQ(Encode(input, options_), expected) << room;
  }
}

TEST_P(Streams, AreTheSameInAnyMemory) {
  const Bytes input = Mixed(50000, 4);
  options_.input_piece = 17000;
  options_.checksum = zelLZ77CheckCrc32;
  options_.trailer = true;
  const Bytes expected = Encode(input, options_);
  for (int fill : {0x00, 0xFF, 0x5A}) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      options_.record_fill = static_cast<uint8_t>(fill);
      options_.record_guard = guard;
      EXPECT_EQ(Encode(input, options_), expected) << fill;
    }
  }
}

TEST(StreamsAnywhere, RecordAtAnyMultipleOf4) {
  const Bytes input = Mixed(100000, 5);
  int32_t size = 0;
  zelsEncodeLZ77GetSize_8u(&size);
  EncodeOptions options;
  options.block = BlockKind::kInTurn;
  for (zelLZ77Level level : kLevels) {
    options.level = level;
    const Bytes expected = Encode(input, options);
    std::vector<uint32_t> memory(static_cast<size_t>(size) / 4 + 16, 0xDEADBEEF);
    for (size_t offset = 0; offset < 16; ++offset) {
      zelLZ77State* const record = reinterpret_cast<zelLZ77State*>(memory.data() + offset);
      ASSERT_EQ(zelsEncodeLZ77Init_8u(level, zelLZ77CheckNone, record), zelOk);
      EXPECT_EQ(EncodeWith(record, input, options), expected) << offset;
    }
  }
}

TEST(StreamsAnywhere, RecordsInManyThreads) {
  std::vector<Bytes> inputs, streams(8);
  for (uint64_t i = 0; i < streams.size(); ++i) inputs.push_back(Mixed(200000, i));
  std::vector<std::thread> threads;
  for (size_t i = 0; i < streams.size(); ++i) {
    threads.emplace_back([&, i] {
      EncodeOptions options;
      options.level = kLevels[i % 3];
      streams[i] = Encode(inputs[i], options);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < streams.size(); ++i) EXPECT_TRUE(DecodesTo(streams[i], inputs[i]));
}

TEST(StreamsAnywhere, LongInput) {
  const Bytes input = Mixed(5000000, 6);
  for (zelLZ77Level level : kLevels) {
    EncodeOptions options;
    options.level = level;
    const Bytes stream = Encode(input, options);
    EXPECT_LT(stream.size(), input.size());
    EXPECT_TRUE(DecodesTo(stream, input));
  }
}

TEST(StreamsAnywhere, BetterLevelsAreSmaller) {
  const Bytes input = Text(1000000, 7);
  size_t sizes[3];
  for (zelLZ77Level level : kLevels) {
    EncodeOptions options;
    options.level = level;
    sizes[level] = Encode(input, options).size();
  }
  EXPECT_LT(sizes[1], sizes[0]);
  EXPECT_LT(sizes[2], sizes[1]);
}

// The sync marker lets a reader decode everything given so far.
TEST(StreamsAnywhere, SyncFlushMakesAllInputReadable) {
  const Bytes input = Text(20000, 8);
  for (HuffmanWriter writer : {zelsEncodeLZ77FixedHuff_8u, zelsEncodeLZ77DynamicHuff_8u}) {
    const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
    Bytes stream;
    for (size_t done = 0; done < input.size(); done += 1000) {
      const auto start = input.begin() + static_cast<ptrdiff_t>(done);
      const Pairs pairs = Search(record.get(), Bytes(start, start + 1000), zelLZ77FlushSync).pairs;
      const Written block = WriteWhole(writer, record.get(), pairs, zelLZ77FlushSync);
      stream.insert(stream.end(), block.bytes.begin(), block.bytes.end());
      EXPECT_EQ(InflateWithZlib(stream, input.size()).data, Bytes(input.begin(), start + 1000));
    }
  }
}

// What stands behind a full flush is read without what stands before it.
TEST(StreamsAnywhere, FullFlushStartsAnew) {
  const Bytes input = Text(30000, 9);
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    for (size_t done = 0; done < input.size(); done += 10000) {
      const auto start = input.begin() + static_cast<ptrdiff_t>(done);
      const Bytes piece(start, start + 10000);
      const Pairs pairs = Search(record.get(), piece, zelLZ77FlushFull).pairs;
      const Written block = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record.get(), pairs, zelLZ77FlushFull);
      EXPECT_EQ(InflateWithZlib(block.bytes, input.size()).data, piece);
    }
  }
}
