// Pairs taken apart, one by one and eight at a time, against the tables of RFC 1951 section 3.2.5.

#include "deflate/pair_codes.h"

#include <gtest/gtest.h>

#include <vector>

#include "deflate/pair_vectors.h"
#include "shared/deflate_format.h"

using namespace zeldc;

namespace {

int PlainDistanceSymbol(int distance) {
  for (int i = 0; i < kDistanceSymbols; ++i) {
    const RangeSymbol s = kDistanceSymbol.s[i];
    if (distance >= s.base && distance < s.base + (1 << s.extraBits)) return i;
  }
  return kNoDistance;
}

// Every distance with some lengths, and every length with some distances.
std::vector<zelLZ77Pair> AllKindsOfPairs() {
  std::vector<zelLZ77Pair> pairs;
  for (int distance = 0; distance < 0x10000; ++distance) {
    for (int length : {0, 2, 3, 100, 258, 259}) {
      pairs.push_back({static_cast<uint16_t>(length), static_cast<uint16_t>(distance)});
    }
  }
  for (int length = 0; length < 0x10000; ++length) {
    for (int distance : {0, 1, 32768, 32769}) {
      pairs.push_back({static_cast<uint16_t>(length), static_cast<uint16_t>(distance)});
    }
  }
  return pairs;
}

TEST(PairPlaces, AreThoseOfTheTables) {
  std::vector<int> symbols(0x10000);
  for (int distance = 0; distance < 0x10000; ++distance) symbols[distance] = PlainDistanceSymbol(distance);
  for (const zelLZ77Pair pair : AllKindsOfPairs()) {
    const PairPlace at = PlaceOf(pair);
    const bool isMatch = pair.distance != 0;
    ASSERT_EQ(at.isMatch, isMatch ? 1u : 0u);
    ASSERT_EQ(at.place, isMatch ? 256u + ((pair.length - 3) & 0xFF) : pair.length & 0xFFu);
    ASSERT_EQ(at.distance, static_cast<uint32_t>(symbols[pair.distance])) << pair.distance;
    ASSERT_EQ(at.excess != 0, isMatch && (pair.length < 3 || pair.length > 258)) << pair.length;
  }
}

#if ZELDC_AVX2

TEST(PairPlaces, EightAtATimeAreTheSame) {
  const std::vector<zelLZ77Pair> pairs = AllKindsOfPairs();
  ASSERT_EQ(pairs.size() % 8, 0u);
  for (size_t i = 0; i < pairs.size(); i += 8) {
    const EightPlaces t = PlacesOf(&pairs[i]);
    alignas(32) uint32_t place[8], symbol[8], excess[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(place), t.place);
    _mm256_store_si256(reinterpret_cast<__m256i*>(symbol), t.symbol);
    _mm256_store_si256(reinterpret_cast<__m256i*>(excess), t.excess);
    for (size_t k = 0; k < 8; ++k) {
      const PairPlace at = PlaceOf(pairs[i + k]);
      ASSERT_EQ(place[k], at.place);
      ASSERT_EQ(symbol[k], at.distance);
      ASSERT_EQ(excess[k] != 0, at.excess != 0);
    }
  }
}

TEST(PairCodes, EightAtATimeStopAtWhatHasNoCode) {
  FourPieces pieces;
  const zelLZ77Pair good[8] = {{'a', 0}, {3, 1}, {258, 32768}, {'b', 0}, {0, 0}, {4, 5}, {255, 0}, {10, 24577}};
  EXPECT_TRUE(EncodeEight(kFixedCodes, good, &pieces));
  for (size_t k = 0; k < 8; ++k) {
    for (const zelLZ77Pair bad :
         {zelLZ77Pair{2, 1}, zelLZ77Pair{259, 1}, zelLZ77Pair{3, 32769}, zelLZ77Pair{3, 65535}}) {
      std::vector<zelLZ77Pair> pairs(good, good + 8);
      pairs[k] = bad;
      EXPECT_FALSE(EncodeEight(kFixedCodes, pairs.data(), &pieces)) << k;
    }
  }
  PairCodes without = kFixedCodes;
  without.piece[uint8_t{'b'}] = 0;
  EXPECT_FALSE(EncodeEight(without, good, &pieces));
  without = kFixedCodes;
  without.distance[0] = {};
  EXPECT_FALSE(EncodeEight(without, good, &pieces));
}

#endif

}  // namespace
