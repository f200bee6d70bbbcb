#include "inflate/random_stream.h"

#include <algorithm>
#include <numeric>

namespace zeldc_test {

namespace {

constexpr int kLengthBase[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                 31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};

// The symbols that have a code.
std::vector<int> Used(const Lengths& lengths, size_t first, size_t end) {
  std::vector<int> used;
  for (size_t i = first; i < std::min(end, lengths.size()); ++i) {
    if (lengths[i] > 0) used.push_back(static_cast<int>(i));
  }
  return used;
}

int Pick(Random& random, const std::vector<int>& from) { return from[Uniform(random, 0, from.size() - 1)]; }

int RandomLength(Random& random, int symbol) {
  if (symbol == 285) return 258;
  const int base = kLengthBase[symbol - 257];
  const int next = symbol == 284 ? 258 : kLengthBase[symbol - 256];
  return static_cast<int>(Uniform(random, static_cast<size_t>(base), static_cast<size_t>(next - 1)));
}

size_t DistanceBase(int symbol) {
  if (symbol < 4) return static_cast<size_t>(symbol) + 1;
  return (size_t{2} + static_cast<size_t>(symbol % 2)) * (size_t{1} << (symbol / 2 - 1)) + 1;
}

// Symbols of a Huffman block whose code the builder knows.
void AddSymbols(Random& random, StreamBuilder& s, const Lengths& lit_len, const Lengths& distance, size_t history,
                size_t most) {
  const std::vector<int> literals = Used(lit_len, 0, 256);
  const std::vector<int> lengths = Used(lit_len, 257, 286);
  const std::vector<int> distances = Used(distance, 0, 30);
  const size_t literal_share = Uniform(random, 1, 9);
  for (size_t i = Uniform(random, 0, most); i > 0; --i) {
    const bool is_literal = Uniform(random, 0, 9) < literal_share;
    if (is_literal && !literals.empty()) {
      s.Literal(Pick(random, literals));
      continue;
    }
    if (lengths.empty() || distances.empty()) continue;
    const int symbol = Pick(random, distances);
    const size_t available = std::min<size_t>(history + s.marks().back().output, 32768);
    const size_t low = DistanceBase(symbol);
    if (low > available) continue;
    const size_t high = std::min(available, symbol == 29 ? 32768 : DistanceBase(symbol + 1) - 1);
    // Often the farthest one there is.
    const size_t d = random() % 4 == 0 ? high : Uniform(random, low, high);
    s.Match(RandomLength(random, Pick(random, lengths)), static_cast<int>(d));
  }
}

}  // namespace

Lengths RandomCode(Random& random, size_t count, size_t used, size_t must) {
  // Leaves of a tree that grows at random; a preference for the last leaf makes it deep.
  std::vector<int> leaves = {0};
  const bool deep = random() % 2;
  while (leaves.size() < used) {
    size_t i = deep && random() % 3 ? leaves.size() - 1 : Uniform(random, 0, leaves.size() - 1);
    while (leaves[i] == 15) i = Uniform(random, 0, leaves.size() - 1);
    leaves.push_back(++leaves[i]);
  }
  if (used == 1) leaves[0] = 1;
  std::vector<size_t> symbols(count);
  std::iota(symbols.begin(), symbols.end(), size_t{0});
  std::shuffle(symbols.begin(), symbols.end(), random);
  if (std::find(symbols.begin(), symbols.begin() + static_cast<ptrdiff_t>(used), must) ==
      symbols.begin() + static_cast<ptrdiff_t>(used)) {
    symbols[Uniform(random, 0, used - 1)] = must;
  }
  Lengths lengths(count, 0);
  for (size_t i = 0; i < used; ++i) lengths[symbols[i]] = leaves[i];
  return lengths;
}

StreamBuilder RandomStream(uint64_t seed, size_t blocks, size_t symbols, const Bytes& dictionary) {
  Random random(seed);
  StreamBuilder s(dictionary);
  s.Stored(RandomBytes(Uniform(random, 1, 20), random()));
  for (size_t block = Uniform(random, 0, blocks); block > 0; --block) {
    switch (Uniform(random, 0, 4)) {
      case 0:
        s.Stored(RandomBytes(Uniform(random, 0, random() % 4 ? 50 : symbols * 20), random()));
        break;
      case 1:
        s.Fixed();
        AddSymbols(random, s, FixedLitLenLengths(), FixedDistanceLengths(), dictionary.size(), symbols);
        s.End();
        break;
      default: {
        const size_t lit_len_count = Uniform(random, 257, 286);
        const size_t distance_count = Uniform(random, 1, 30);
        const Lengths lit_len =
            RandomCode(random, lit_len_count, Uniform(random, 2, random() % 2 ? 20 : lit_len_count), 256);
        const Lengths distance =
            RandomCode(random, distance_count, Uniform(random, 1, distance_count), distance_count - 1);
        s.Dynamic(lit_len, distance);
        AddSymbols(random, s, lit_len, distance, dictionary.size(), symbols);
        s.End();
        break;
      }
    }
  }
  s.Fixed(kLast).End();
  return s;
}

}  // namespace zeldc_test
