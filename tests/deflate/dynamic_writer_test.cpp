// Dynamic codes: complete, limited, as short as Huffman's, and described as the format wants it.

#include <algorithm>
#include <queue>
#include <string>
#include <vector>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

constexpr int kComplete = 1 << 15;

Block DynamicBlock(const Pairs& pairs) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Written written = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record.get(), pairs, zelLZ77FlushSync);
  EXPECT_EQ(written.status, zelOk);
  const Block block = ParseBlocks(written.bytes, 0, true).at(0);
  EXPECT_EQ(block.pairs, pairs);
  return block;
}

struct Frequencies {
  std::vector<int> litlen = std::vector<int>(286);
  std::vector<int> distance = std::vector<int>(30);
};

Frequencies Count(const Pairs& pairs) {
  Frequencies f;
  f.litlen[256] = 1;
  for (const auto& [length, distance] : pairs) {
    const int symbol = distance == 0 ? length : LengthSymbol(length).first;
    ++f.litlen[static_cast<size_t>(symbol)];
    if (distance != 0) ++f.distance[static_cast<size_t>(DistanceSymbol(distance).first)];
  }
  return f;
}

// The bits that the best prefix code takes, and the depth that Huffman's algorithm gives it at least.
int64_t HuffmanCost(const std::vector<int>& frequencies) {
  std::priority_queue<int64_t, std::vector<int64_t>, std::greater<>> queue;
  for (int f : frequencies) {
    if (f > 0) queue.push(f);
  }
  int64_t cost = 0;
  while (queue.size() > 1) {
    const int64_t a = queue.top();
    queue.pop();
    const int64_t b = queue.top();
    queue.pop();
    cost += a + b;
    queue.push(a + b);
  }
  return cost;
}

// The least maximal depth of an optimal code: among equal weights the shallower subtree goes first.
int HuffmanDepth(const std::vector<int>& frequencies) {
  using Node = std::pair<int64_t, int>;  // weight, depth
  std::priority_queue<Node, std::vector<Node>, std::greater<>> queue;
  for (int f : frequencies) {
    if (f > 0) queue.push({f, 0});
  }
  while (queue.size() > 1) {
    const Node a = queue.top();
    queue.pop();
    const Node b = queue.top();
    queue.pop();
    queue.push({a.first + b.first, std::max(a.second, b.second) + 1});
  }
  return queue.top().second;
}

int64_t CostOf(const std::vector<int>& frequencies, const std::vector<int>& lengths) {
  int64_t cost = 0;
  for (size_t i = 0; i < lengths.size(); ++i) cost += int64_t{frequencies[i]} * lengths[i];
  return cost;
}

// What must hold of any code for these frequencies.
void CheckCode(const std::vector<int>& frequencies, const std::vector<int>& lengths, int limit) {
  EXPECT_EQ(KraftSum(lengths), kComplete);
  int most = 0;
  for (size_t i = 0; i < frequencies.size(); ++i) {
    const int length = i < lengths.size() ? lengths[i] : 0;
    most = std::max(most, length);
    if (frequencies[i] > 0) {
      EXPECT_GT(length, 0) << "symbol " << i << " has no code";
    }
    for (size_t j = 0; j < lengths.size() && frequencies[i] > 0; ++j) {
      if (frequencies[j] > frequencies[i]) {
        ASSERT_LE(lengths[j], length) << "symbols " << j << " and " << i;
      }
    }
  }
  EXPECT_LE(most, limit);
  if (std::count_if(frequencies.begin(), frequencies.end(), [](int f) { return f > 0; }) >= 2 &&
      HuffmanDepth(frequencies) <= limit) {
    EXPECT_EQ(CostOf(frequencies, lengths), HuffmanCost(frequencies));
  }
}

std::vector<int> CodeLengthFrequencies(const Block& block) {
  std::vector<int> frequencies(19);
  for (int symbol : block.length_symbols) ++frequencies[static_cast<size_t>(symbol)];
  return frequencies;
}

void CheckBlock(const Pairs& pairs) {
  const Block block = DynamicBlock(pairs);
  const Frequencies f = Count(pairs);
  CheckCode(f.litlen, block.litlen_lengths, 15);
  CheckCode(f.distance, block.distance_lengths, 15);
  CheckCode(CodeLengthFrequencies(block), block.code_length_lengths, 7);
}

// A pair of each symbol, as often as `frequencies` says, well mixed. Symbol 256 is left out.
Pairs PairsWith(const std::vector<int>& litlen, const std::vector<int>& distance = {}) {
  std::vector<int> lengths, distances;
  Pairs pairs;
  for (size_t symbol = 0; symbol < litlen.size(); ++symbol) {
    if (symbol < 256) pairs.insert(pairs.end(), static_cast<size_t>(litlen[symbol]), {static_cast<int>(symbol), 0});
  }
  for (size_t symbol = 0; symbol < distance.size(); ++symbol) {
    int value = 1;
    while (DistanceSymbol(value).first != static_cast<int>(symbol)) ++value;
    pairs.insert(pairs.end(), static_cast<size_t>(distance[symbol]), {3, value});
  }
  Random random(1);
  std::shuffle(pairs.begin(), pairs.end(), random);
  return pairs;
}

std::vector<int> Fibonacci(size_t count) {
  std::vector<int> numbers = {1, 1};
  while (numbers.size() < count) numbers.push_back(numbers[numbers.size() - 1] + numbers[numbers.size() - 2]);
  numbers.resize(count);
  return numbers;
}

// The run-length coding of a table of lengths, by its rules.
std::vector<int> RunLengthSymbols(const std::vector<int>& lengths) {
  std::vector<int> symbols;
  for (size_t i = 0; i < lengths.size();) {
    size_t run = 1;
    while (i + run < lengths.size() && lengths[i + run] == lengths[i]) ++run;
    const int value = lengths[i];
    i += run;
    if (value != 0) {
      symbols.push_back(value);
      --run;
    }
    while (run > 0) {
      const size_t longest = value == 0 ? 138 : 6;
      const size_t part = std::min(run, longest);
      if (part < 3) {
        symbols.insert(symbols.end(), part, value);
      } else {
        symbols.push_back(value != 0 ? 16 : part <= 10 ? 17 : 18);
      }
      run -= part;
    }
  }
  return symbols;
}

}  // namespace

TEST(DynamicCode, AnySetOfLiteralsHasACompleteCode) {
  for (size_t count : {0, 1, 2, 3, 4, 5, 100, 255, 256}) {
    Pairs pairs;
    for (size_t i = 0; i < count; ++i) pairs.push_back({static_cast<int>(i), 0});
    CheckBlock(pairs);
  }
}

TEST(DynamicCode, RandomPairsHaveTheShortestCode) {
  for (uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    Pairs pairs;
    for (size_t i = Uniform(random, 1, 3000); i > 0; --i) {
      // The smaller of some random numbers: all shapes from flat to steep.
      auto skewed = [&](size_t low, size_t high) {
        size_t value = high;
        for (uint64_t k = 0; k <= seed % 6; ++k) value = std::min(value, Uniform(random, low, high));
        return static_cast<int>(value);
      };
      if (random() % 2 == 0) {
        pairs.push_back({skewed(0, 255), 0});
      } else {
        pairs.push_back({skewed(3, 258), skewed(1, 32768)});
      }
    }
    CheckBlock(pairs);
  }
}

TEST(DynamicCode, FibonacciLiteralsForceTheLimitOf15) {
  for (size_t symbols : {16, 17, 18, 20, 22}) {
    // The first of the two ones is the end of the block.
    const std::vector<int> numbers = Fibonacci(symbols);
    const Pairs pairs = PairsWith(std::vector<int>(numbers.begin() + 1, numbers.end()));
    EXPECT_EQ(HuffmanDepth(Count(pairs).litlen) > 15, symbols > 16) << symbols;
    CheckBlock(pairs);
  }
}

TEST(DynamicCode, FibonacciDistancesForceTheLimitOf15) {
  for (size_t symbols : {16, 17, 18, 20, 22}) {
    const Pairs pairs = PairsWith({}, Fibonacci(symbols));
    EXPECT_EQ(HuffmanDepth(Count(pairs).distance) > 15, symbols > 16) << symbols;
    CheckBlock(pairs);
  }
}

TEST(DynamicCode, PowersOfTwoAndManyRareSymbolsForceTheLimitOf15) {
  for (int top : {15, 16, 17}) {
    std::vector<int> litlen(256, 1);
    for (int i = 0; i < top; ++i) litlen[static_cast<size_t>(i)] = 1 << i;
    CheckBlock(PairsWith(litlen));
  }
}

TEST(DynamicCode, LimitIsReachedByEveryStepBeyondIt) {
  // Each symbol outweighs all before it, so the tree is a chain: as deep as there are symbols.
  for (int extra = 1; extra <= 3; ++extra) {
    std::vector<int> litlen(static_cast<size_t>(15 + extra));
    for (size_t i = 0; i < litlen.size(); ++i) litlen[i] = 1 << i;
    const Pairs pairs = PairsWith(litlen);
    const Block block = DynamicBlock(pairs);
    EXPECT_EQ(*std::max_element(block.litlen_lengths.begin(), block.litlen_lengths.end()), 15);
    CheckBlock(pairs);
  }
}

TEST(DynamicCode, UnevenLengthsForceTheLimitOf7OfTheirOwnCode) {
  // So many literals of each code length that the lengths' own frequencies call for a deep code. All frequencies are
  // powers of two with the sum 2^15, so the code lengths are known; the end of the block is one more of length 15.
  const std::pair<int, int> counts[] = {{8, 99}, {9, 62}, {10, 39}, {11, 24}, {12, 14}, {13, 9},
                                        {14, 5}, {15, 1}, {2, 1},   {3, 1},   {4, 1}};
  std::vector<int> frequencies;
  for (const auto& [length, count] : counts)
    frequencies.insert(frequencies.end(), static_cast<size_t>(count), 1 << (15 - length));
  ASSERT_EQ(frequencies.size(), 256u);
  // Equal lengths stand apart, so that there is nothing to repeat: the first half on even places, the rest on odd ones.
  std::vector<int> litlen(256);
  for (size_t i = 0; i < 256; ++i) litlen[i < 128 ? 2 * i : 2 * i - 255] = frequencies[i];
  const Pairs pairs = PairsWith(litlen);
  EXPECT_GT(HuffmanDepth(CodeLengthFrequencies(DynamicBlock(pairs))), 7);
  CheckBlock(pairs);
}

TEST(DynamicCode, LoneSymbolsGetASecondCode) {
  // No literal: the end of the block is alone. No match: no distance is used at all.
  Block block = DynamicBlock({});
  EXPECT_EQ(block.litlen_lengths.at(256), 1);
  EXPECT_EQ(std::count(block.litlen_lengths.begin(), block.litlen_lengths.end(), 1), 2);
  EXPECT_EQ(block.distance_lengths, (std::vector<int>{1, 1}));
  block = DynamicBlock({{'a', 0}});
  EXPECT_EQ(block.distance_lengths, (std::vector<int>{1, 1}));
  block = DynamicBlock({{'a', 0}, {3, 1}});
  EXPECT_EQ(block.distance_lengths, (std::vector<int>{1, 1}));
  block = DynamicBlock({{'a', 0}, {3, 4}});
  EXPECT_EQ(block.distance_lengths, (std::vector<int>{1, 0, 0, 1}));
}

TEST(DynamicTree, LengthsAreRunLengthCodedAsTwoSequences) {
  for (uint64_t seed = 0; seed < 40; ++seed) {
    Random random(seed);
    std::vector<int> litlen(256), distance(30);
    for (size_t i = 0; i < 256;) {
      const int frequency = static_cast<int>(Uniform(random, 0, 3));
      for (size_t run = Uniform(random, 1, 200 >> seed % 6); run > 0 && i < 256; --run) litlen[i++] = frequency * 9;
    }
    for (int& f : distance) f = random() % 3 == 0 ? 0 : static_cast<int>(Uniform(random, 0, 2)) * 50;
    const Block block = DynamicBlock(PairsWith(litlen, distance));
    std::vector<int> expected = RunLengthSymbols(block.litlen_lengths);
    const std::vector<int> rest = RunLengthSymbols(block.distance_lengths);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(block.length_symbols, expected) << seed;
  }
}

TEST(DynamicTree, TrailingZerosOfTheCodeLengthOrderAreCut) {
  const int order[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
  for (uint64_t seed = 0; seed < 20; ++seed) {
    const Bytes text = Text(100 << seed % 8, seed);
    const Block block = DynamicBlock(SearchAll(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), text));
    size_t needed = 19;
    while (needed > 4 && block.code_length_lengths[static_cast<size_t>(order[needed - 1])] == 0) --needed;
    EXPECT_EQ(block.code_lengths_sent, needed);
  }
}

TEST(DynamicTree, AllSymbolsAtTheirLongest) {
  // 286 literal/length and 30 distance codes.
  Pairs pairs;
  for (int byte = 0; byte < 256; ++byte) pairs.push_back({byte, 0});
  for (int length = 3; length <= 258; ++length) pairs.push_back({length, 1 + length % 4});
  for (int distance = 1; distance <= 32768; distance += 100) pairs.push_back({3, distance});
  const Block block = DynamicBlock(pairs);
  EXPECT_EQ(block.litlen_lengths.size(), 286u);
  EXPECT_EQ(block.distance_lengths.size(), 30u);
}

TEST(DynamicWriter, EmptyBlockSplitInItsHeaderStillEnds) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Bytes whole = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record.get(), {}, zelLZ77FlushSync).bytes;
  for (size_t cut = 1; cut < whole.size(); ++cut) {
    StartBlock(record.get());
    Bytes got = Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), {}, cut, zelLZ77FlushSync).bytes;
    const Bytes rest = Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), {}, 1000, zelLZ77FlushSync).bytes;
    got.insert(got.end(), rest.begin(), rest.end());
    EXPECT_EQ(got, whole) << cut;
  }
}

TEST(DynamicWriter, PairWithoutACodeIsAnError) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Pairs first(100, {'a', 0});
  for (const Pair& stranger : Pairs{{'b', 0}, {3, 1}, {258, 32768}}) {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
    StartBlock(record.get());
    Written written = Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), first, 20);
    ASSERT_EQ(written.status, zelWarnDstFull);
    written = Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), {{'a', 0}, {'a', 0}, stranger, {'a', 0}}, 1000);
    EXPECT_EQ(written.status, zelErr) << stranger.first;
    EXPECT_EQ(written.left, 2u);
  }
}

TEST(DynamicWriter, CodeIsMadeForThePairsOfTheFirstCall) {
  // Room for part of the header only: the pairs of the second call may be any that the code knows.
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  EndInput(record.get());
  StartBlock(record.get());
  Bytes stream =
      Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), {{'a', 0}, {'b', 0}, {'c', 0}}, 3, zelLZ77FlushFinal).bytes;
  const Written rest =
      Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), {{'c', 0}, {'c', 0}, {'a', 0}}, 1000, zelLZ77FlushFinal);
  EXPECT_EQ(rest.status, zelWarnStreamEnd);
  stream.insert(stream.end(), rest.bytes.begin(), rest.bytes.end());
  EXPECT_TRUE(DecodesTo(stream, ToBytes("cca")));
}

TEST(DynamicWriter, DependsOnThePairsOnly) {
  // The same block, whatever the record has coded before.
  const Pairs pairs = SearchAll(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), Text(5000, 1));
  const EncoderRecord fresh(zelLZ77LevelNormal, zelLZ77CheckNone), used(zelLZ77LevelNormal, zelLZ77CheckNone);
  WriteWhole(zelsEncodeLZ77DynamicHuff_8u, used.get(), PairsWith(Fibonacci(20)), zelLZ77FlushSync);
  EXPECT_EQ(WriteWhole(zelsEncodeLZ77DynamicHuff_8u, used.get(), pairs, zelLZ77FlushSync).bytes,
            WriteWhole(zelsEncodeLZ77DynamicHuff_8u, fresh.get(), pairs, zelLZ77FlushSync).bytes);
}
