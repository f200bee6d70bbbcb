// The one-call match search: what each level must find and leave in the caller's tables, where it ends, how far it
// looks.

#include <algorithm>
#include <string>
#include <utility>

#include "deflate/one_call_stream.h"
#include "gtest/gtest.h"
#include "shared/hash_salt.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

constexpr int32_t kAllLevels[] = {-1, 0, 3, 4, 5, 6, 7, 8, 9, 100};

// The fast search in its plainest form, over the whole stream in one buffer.
struct FastModel {
  int32_t win_size;
  std::vector<int32_t> head;
  Bytes stream = {};  // all bytes up to the end of the call's input
  Items items = {};

  FastModel(int32_t window, int32_t hash_size) : win_size(window), head(static_cast<size_t>(hash_size), kNoPosition) {}

  // Positions from `start` on; answers how many bytes are consumed.
  size_t Search(size_t start, bool to_end, size_t room) {
    items = {};
    const size_t end = stream.size();
    const uint32_t mask = static_cast<uint32_t>(head.size()) - 1;
    uint32_t hash = end - start >= 2 ? uint32_t{stream[start]} << 5 ^ stream[start + 1] : 0;
    auto enter = [&](size_t p) {
      hash = (hash << 5 ^ stream[p + 2]) & mask;
      return std::exchange(head[hash], static_cast<int32_t>(p));
    };
    size_t p = start;
    while (p < end && (to_end || end - p >= 260) && items.size() < room) {
      size_t length = 0, distance = 0;
      if (p + 3 <= end) {
        const int32_t candidate = enter(p);
        if (candidate >= 0 && static_cast<int32_t>(p) - candidate < win_size) {
          distance = p - static_cast<size_t>(candidate);
          while (length < 258 && p + length < end && stream[p + length] == stream[p + length - distance]) ++length;
        }
      }
      if (length < 3) {
        items.lit.push_back(stream[p++]);
        items.dist.push_back(0);
        continue;
      }
      items.lit.push_back(static_cast<uint8_t>(length - 3));
      items.dist.push_back(static_cast<uint16_t>(distance));
      for (size_t k = 1; k < length && p + k + 3 <= end; ++k) enter(p + k);
      p += length;
    }
    return p - start;
  }
};

// What tables with chains hold when all positions are entered that a call consumed, but for its input's last two.
struct ChainModel {
  int32_t win_size;
  std::vector<int32_t> head;
  std::vector<int32_t> chain;

  ChainModel(int32_t window, int32_t hash_size)
      : win_size(window),
        head(static_cast<size_t>(hash_size), kNoPosition),
        chain(static_cast<size_t>(window), kNoPosition) {}

  void Enter(int32_t position, const Bytes& input, size_t consumed) {
    for (size_t i = 0; i < consumed && i + 3 <= input.size(); ++i, ++position) {
      int32_t& newest = head[zeldc::SaltedHash(input.data() + i) & (head.size() - 1)];
      chain[static_cast<size_t>(position % win_size)] = newest;
      newest = position;
    }
  }
};

// Whether a distance reaches before the call's first byte.
bool ReachesBefore(const Items& items) {
  size_t position = 0;
  for (size_t k = 0; k < items.size(); ++k) {
    if (items.dist[k] > position) return true;
    position += items.dist[k] == 0 ? 1 : items.lit[k] + size_t{3};
  }
  return false;
}

class OneCallLevels : public testing::TestWithParam<int32_t> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Level, OneCallLevels, testing::ValuesIn(kAllLevels),
                         [](const auto& level) { return level.param < 0 ? "Below0" : std::to_string(level.param); });

TEST(OneCallFast, ItemsAndTablesAreThoseOfTheModel) {
  uint64_t seed = 0;
  for (int32_t win_size : {256, 1000, 32767, 32768}) {
    for (int32_t hash_size : {256, 4096, 32768, 65536}) {
      Random random(++seed);
      const Bytes data = Mixed(30000, seed);
      OneCallStream stream(static_cast<int32_t>(seed % 4), win_size, hash_size);
      FastModel model(win_size, hash_size);
      for (size_t start = 0; start < data.size();) {
        const size_t size = std::min(Uniform(random, 1, 4000), data.size() - start);
        const size_t room = Uniform(random, 0, 3) == 0 ? Uniform(random, 0, 400) : size + 1;
        const bool to_end = Uniform(random, 0, 1) == 1;
        const Bytes input(data.begin() + static_cast<ptrdiff_t>(start),
                          data.begin() + static_cast<ptrdiff_t>(start + size));
        model.stream = Front(data, start + size);
        const size_t consumed = model.Search(start, to_end, room);
        const OneCallSearched got = stream.Search(input, to_end ? zelLZ77FlushFull : zelLZ77FlushSync, room);
        ASSERT_EQ(got.consumed, consumed) << win_size << ' ' << hash_size << ' ' << start;
        ASSERT_EQ(got.items, model.items) << win_size << ' ' << hash_size << ' ' << start;
        ASSERT_EQ(got.counts, CountItems(got.items));
        ASSERT_EQ(stream.HeadTable(), model.head) << win_size << ' ' << hash_size << ' ' << start;
        start += consumed;
      }
      EXPECT_EQ(stream.ChainTable(), std::vector<int32_t>(static_cast<size_t>(win_size), kNoPosition));
    }
  }
}

TEST(OneCallFast, OneLongCallIsThatOfTheModel) {
  const Bytes data = Mixed(200000, 77);
  for (int32_t hash_size : {32768, 65536}) {
    OneCallStream stream(1, 32768, hash_size);
    FastModel model(32768, hash_size);
    model.stream = data;
    EXPECT_EQ(model.Search(0, true, SIZE_MAX), data.size());
    EXPECT_EQ(stream.Search(data, zelLZ77FlushFinal).items, model.items);
    EXPECT_EQ(stream.HeadTable(), model.head);
  }
}

TEST(OneCallChained, TablesHoldAllPositionsConsumed) {
  uint64_t seed = 50;
  for (int32_t level : {4, 7, 8}) {
    for (int32_t win_size : {256, 1000, 32768}) {
      for (int32_t hash_size : {256, 32768, 65536}) {
        Random random(++seed);
        const Bytes data = Mixed(20000, seed);
        OneCallStream stream(level, win_size, hash_size);
        ChainModel model(win_size, hash_size);
        for (size_t start = 0; start < data.size();) {
          const size_t size = std::min(Uniform(random, 1, 6000), data.size() - start);
          const size_t room = Uniform(random, 0, 1) == 0 ? Uniform(random, 1, 400) : size + 1;
          const Bytes input(data.begin() + static_cast<ptrdiff_t>(start),
                            data.begin() + static_cast<ptrdiff_t>(start + size));
          const int32_t position = stream.index;
          const OneCallSearched got = stream.Search(input, zelLZ77FlushFinal, room);
          model.Enter(position, input, got.consumed);
          ASSERT_EQ(stream.HeadTable(), model.head) << level << ' ' << win_size << ' ' << hash_size << ' ' << start;
          ASSERT_EQ(stream.ChainTable(), model.chain) << level << ' ' << win_size << ' ' << hash_size << ' ' << start;
          start += got.consumed;
        }
      }
    }
  }
}

TEST_P(OneCallLevels, WithoutFlush260BytesMustBeLeft) {
  const Bytes data = RandomBytes(400, 1);
  for (zelLZ77FlushMode flush : {-1, 0, 1}) {
    for (size_t size : {1, 2, 3, 100, 258, 259, 260, 261, 262, 399}) {
      OneCallStream stream(GetParam());
      const OneCallSearched got = stream.Search(Front(data, size), flush);
      EXPECT_EQ(got.consumed, size < 260 ? 0 : size - 259) << size;
      EXPECT_EQ(got.items.size(), got.consumed);
    }
  }
}

TEST_P(OneCallLevels, AMatchMayRunIntoTheLast260Bytes) {
  OneCallStream stream(GetParam(), 32768, 32768);
  const OneCallSearched got = stream.Search(Bytes(1000, 7), zelLZ77FlushNone);
  EXPECT_GE(got.consumed, 1000u - 259);
  EXPECT_LE(got.consumed, 1000u - 2);
  EXPECT_EQ(got.items.dist[1], 1);
  EXPECT_EQ(got.items.lit[1], 255);
}

TEST_P(OneCallLevels, WithFlushEverySizeIsConsumed) {
  const Bytes data = SmallAlphabet(600, 2, 3);
  for (zelLZ77FlushMode flush : {2, 3, 4}) {
    for (size_t size : {1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 100, 259, 260, 261, 300, 600}) {
      OneCallStream stream(GetParam());
      const OneCallSearched got = stream.Search(Front(data, size), flush);
      EXPECT_EQ(got.consumed, size);
      EXPECT_EQ(ExpandItems(got.items), Front(data, size));
    }
  }
}

TEST_P(OneCallLevels, EndsWhenTheRoomIsFilled) {
  const Bytes data = Text(5000, 9);
  for (size_t room : {size_t{1}, size_t{2}, size_t{3}, size_t{5}, size_t{100}, size_t{500}}) {
    OneCallStream stream(GetParam());
    const OneCallSearched got = stream.Search(data, zelLZ77FlushFinal, room);
    EXPECT_EQ(got.items.size(), room);
    EXPECT_EQ(ExpandItems(got.items), Front(data, got.consumed));
  }
}

TEST_P(OneCallLevels, FindsMatchesUpToOneLessThanTheWindow) {
  for (int32_t win_size : {256, 1000, 32768}) {
    for (int32_t distance : {win_size - 2, win_size - 1, win_size, win_size + 1}) {
      // Noise with one repeat.
      Bytes data = RandomBytes(static_cast<size_t>(distance), static_cast<uint64_t>(distance));
      data.insert(data.end(), data.begin(), data.begin() + 100);
      OneCallStream stream(GetParam(), win_size);
      const OneCallSearched got = stream.Search(data, zelLZ77FlushFinal);
      EXPECT_EQ(ExpandItems(got.items), data);
      const bool found = std::count(got.items.dist.begin(), got.items.dist.end(), distance) > 0;
      EXPECT_EQ(found, distance < win_size) << win_size << ' ' << distance;
    }
  }
}

TEST_P(OneCallLevels, MatchesStartInTheWindowAndRunOnIntoTheInput) {
  for (size_t before : {size_t{300}, size_t{5000}, size_t{40000}}) {
    const Bytes first = RandomBytes(before, 11);
    OneCallStream stream(GetParam(), 32768, 32768);
    stream.Search(first, zelLZ77FlushFinal);
    // The last 20 bytes, over and over.
    Bytes second;
    for (size_t i = 0; i < 500; ++i) second.push_back(first[before - 20 + i % 20]);
    const OneCallSearched got = stream.Search(second, zelLZ77FlushFinal);
    EXPECT_EQ(ExpandItems(got.items, first), second);
    EXPECT_EQ(got.items.dist[0], 20);
    EXPECT_EQ(got.items.lit[0], 255);
  }
}

TEST_P(OneCallLevels, OnlyTablesTellOfTheWindow) {
  // The window repeats the input, but no table knows of it.
  const Bytes data = Text(30000, 5);
  OneCallStream stream(GetParam());
  std::copy(data.begin(), data.end(), stream.window().data());
  stream.index = static_cast<int32_t>(data.size());
  const OneCallSearched got = stream.Search(data, zelLZ77FlushFinal);
  EXPECT_FALSE(ReachesBefore(got.items));
  EXPECT_EQ(ExpandItems(got.items), data);
}

TEST_P(OneCallLevels, WindowBytesBehindTheHistoryDoNotCount) {
  const Bytes first = Text(1000, 5), second = Text(3000, 6);
  std::vector<Items> made;
  for (uint8_t fill : {uint8_t{0}, uint8_t{0xFF}}) {
    OneCallStream stream(GetParam());
    stream.Search(first, zelLZ77FlushFinal);
    std::fill(stream.window().data() + first.size(), stream.window().end(), fill);
    made.push_back(stream.Search(second, zelLZ77FlushFinal).items);
  }
  EXPECT_EQ(made[0], made[1]);
}

TEST_P(OneCallLevels, SplitsAtAnyByteKeepTheHistory) {
  const Bytes data = Text(3000, 21);
  for (size_t at = 1; at < data.size(); at += 97) {
    OneCallStream stream(GetParam());
    Items items = stream.Search(Front(data, at), zelLZ77FlushFull).items;
    const Items more = stream.Search(Bytes(data.begin() + static_cast<ptrdiff_t>(at), data.end()), 3).items;
    items.lit.insert(items.lit.end(), more.lit.begin(), more.lit.end());
    items.dist.insert(items.dist.end(), more.dist.begin(), more.dist.end());
    EXPECT_EQ(ExpandItems(items), data);
    if (at > 1000 && at < 2900) {
      EXPECT_TRUE(ReachesBefore(more));
    }
  }
}

TEST_P(OneCallLevels, PositionsMayEndAtTheLargestOne) {
  const Bytes first = Text(4000, 31), second = Text(4000, 32);
  OneCallStream stream(GetParam());
  stream.index = INT32_MAX - 6000;
  EXPECT_EQ(ExpandItems(stream.Search(first, zelLZ77FlushFinal).items), first);
  std::copy(first.begin(), first.end(), stream.window().end() - 4000);
  // These pass the end, where positions start again from the lowest.
  const OneCallSearched got = stream.Search(second, zelLZ77FlushFinal);
  EXPECT_EQ(ExpandItems(got.items, first), second);
  EXPECT_LT(stream.index, 0);
  EXPECT_EQ(ExpandItems(stream.Search(first, zelLZ77FlushFinal).items), first);
}

TEST_P(OneCallLevels, AStreamGoesOnAfterItsTablesAreCleared) {
  const Bytes first = Text(40000, 31), second = Text(4000, 32);
  OneCallStream stream(GetParam());
  stream.Search(first, zelLZ77FlushFinal);
  std::fill(stream.head(), stream.head() + stream.hash_size, kNoPosition);
  std::fill(stream.chain(), stream.chain() + stream.win_size, kNoPosition);
  stream.index = stream.win_size;
  const OneCallSearched got = stream.Search(second, zelLZ77FlushFinal);
  EXPECT_EQ(ExpandItems(got.items), second);
}

TEST(OneCallLevel, HigherOnesMakeSmallerStreams) {
  const Bytes data = Text(300000, 8);
  std::vector<size_t> sizes;
  for (int32_t level : {1, 6, 9}) {
    OneCallOptions options;
    options.level = level;
    sizes.push_back(EncodeByOneCalls(data, options).size());
  }
  EXPECT_LT(sizes[1], sizes[0]);
  EXPECT_LT(sizes[2], sizes[1]);
}

TEST(OneCallFast, ASixteenBitHashStartsAnewWithEachCall) {
  // With 16 bits the byte before still counts, so the first position of a call looks like no other.
  OneCallStream stream(1, 32768, 65536);
  const OneCallSearched got = stream.Search(Bytes(100, 7), zelLZ77FlushFinal);
  EXPECT_EQ(got.items.lit, (Bytes{7, 7, 95}));
  EXPECT_EQ(got.items.dist, (std::vector<uint16_t>{0, 0, 1}));
}
