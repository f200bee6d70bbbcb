// zelsDeflateDictionarySet_8u: what it copies and what it enters.

#include <algorithm>

#include "deflate/one_call_stream.h"
#include "gtest/gtest.h"
#include "shared/hash_salt.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

const std::vector<int32_t> kEmptyHead(65536, kNoPosition);
const std::vector<int32_t> kEmptyChain(32768, kNoPosition);

}  // namespace

TEST(OneCallDictionary, AHundredBytesAreCopiedButNotEntered) {
  for (int32_t level : {1, 5}) {
    const Bytes dictionary = Text(100, 1);
    OneCallStream stream(level);
    EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
    EXPECT_EQ(Front(stream.window().ToBytes(), 100), dictionary);
    EXPECT_EQ(stream.window().data()[100], 0xC7);
    EXPECT_EQ(stream.HeadTable(), kEmptyHead);
    EXPECT_EQ(stream.ChainTable(), kEmptyChain);
  }
}

TEST(OneCallDictionary, From258BytesOnPositionsAreEntered) {
  for (int32_t level : {1, 5}) {
    OneCallStream shorter(level), longer(level);
    EXPECT_EQ(shorter.SetDictionary(Text(257, 1)), zelOk);
    EXPECT_EQ(shorter.HeadTable(), kEmptyHead);
    EXPECT_EQ(longer.SetDictionary(Text(258, 1)), zelOk);
    std::vector<int32_t> head = longer.HeadTable();
    EXPECT_EQ(std::count(head.begin(), head.end(), 0), 1);
    EXPECT_EQ(std::count(head.begin(), head.end(), kNoPosition), 65535);
  }
}

TEST(OneCallDictionary, AtLevel5AllPositionsAreInOneChain) {
  const Bytes dictionary = Text(1000, 2);
  for (int32_t level : {4, 5, 9}) {
    for (int32_t hash_size : {256, 32768, 65536}) {
      OneCallStream stream(level, 32768, hash_size);
      EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
      std::vector<int32_t> head(static_cast<size_t>(hash_size), kNoPosition), chain = kEmptyChain;
      head[zeldc::SaltedHash(dictionary.data()) & static_cast<uint32_t>(hash_size - 1)] = 742;
      for (size_t i = 1; i <= 742; ++i) chain[i] = static_cast<int32_t>(i) - 1;
      EXPECT_EQ(stream.HeadTable(), head);
      EXPECT_EQ(stream.ChainTable(), chain);
    }
  }
}

TEST(OneCallDictionary, TheHashOfTheBytes0To2IsOfTheseValues) {
  const uint16_t first[] = {0x499D, 0x3DC2, 0x2D07};
  const uint16_t second[] = {0x5B6B, 0x656C, 0x1CA2};
  const uint16_t third[] = {0x5C40, 0x1DD8, 0x7164};
  for (size_t triple = 0; triple < 27; ++triple) {
    const size_t a = triple / 9, b = triple / 3 % 3, c = triple % 3;
    Bytes dictionary(258);
    dictionary[0] = static_cast<uint8_t>(a);
    dictionary[1] = static_cast<uint8_t>(b);
    dictionary[2] = static_cast<uint8_t>(c);
    for (int32_t hash_size : {256, 4096, 65536}) {
      OneCallStream stream(4, 258, hash_size);
      EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
      EXPECT_EQ(stream.head()[(first[a] ^ second[b] ^ third[c]) & (hash_size - 1)], 0) << triple;
    }
  }
}

TEST(OneCallDictionary, TheFirstLinkIsWhatTheHeadHeld) {
  const Bytes dictionary = Text(300, 2);
  OneCallStream stream(5);
  stream.head()[zeldc::SaltedHash(dictionary.data())] = -7;
  EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
  EXPECT_EQ(stream.chain()[0], -7);
}

TEST(OneCallDictionary, BelowLevel4HeadsAreOfTheRollingHash) {
  const Bytes dictionary = Text(1000, 3);
  for (int32_t level : {-5, 0, 3}) {
    for (int32_t hash_size : {256, 32768, 65536}) {
      OneCallStream stream(level, 32768, hash_size);
      EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
      std::vector<int32_t> head(static_cast<size_t>(hash_size), kNoPosition);
      uint32_t hash = uint32_t{dictionary[0]} << 5 ^ dictionary[1];
      for (size_t i = 0; i <= 742; ++i) {
        hash = (hash << 5 ^ dictionary[i + 2]) & static_cast<uint32_t>(hash_size - 1);
        head[hash] = static_cast<int32_t>(i);
      }
      EXPECT_EQ(stream.HeadTable(), head);
      EXPECT_EQ(stream.ChainTable(), kEmptyChain);
    }
  }
}

TEST(OneCallDictionary, OfALongOneTheLastBytesCount) {
  for (int32_t level : {1, 5}) {
    for (int32_t win_size : {256, 300, 32768}) {
      const Bytes dictionary = Text(40000, 4);
      const Bytes last(dictionary.end() - win_size, dictionary.end());
      OneCallStream longer(level, win_size), exact(level, win_size);
      EXPECT_EQ(longer.SetDictionary(dictionary), zelOk);
      EXPECT_EQ(exact.SetDictionary(last), zelOk);
      EXPECT_EQ(longer.window().ToBytes(), last);
      EXPECT_EQ(longer.HeadTable(), exact.HeadTable());
      EXPECT_EQ(longer.ChainTable(), exact.ChainTable());
      EXPECT_EQ(longer.index, win_size);
    }
  }
}

TEST(OneCallDictionary, MatchesReachIntoIt) {
  // The input's beginning stands in the dictionary, before its last bytes, which are not entered.
  const Bytes dictionary = RandomBytes(5000, 6);
  const Bytes input(dictionary.begin(), dictionary.begin() + 3000);
  for (int32_t level : {1, 4, 9}) {
    OneCallStream stream(level);
    EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
    const OneCallSearched got = stream.Search(input, zelLZ77FlushFinal);
    EXPECT_EQ(ExpandItems(got.items, dictionary), input);
    EXPECT_EQ(got.items.dist[0], 5000);
    EXPECT_LT(got.items.size(), 30u);
  }
}

TEST(OneCallDictionary, ShortOnesAreNotFound) {
  const Bytes dictionary = RandomBytes(257, 6);
  for (int32_t level : {1, 5, 9}) {
    OneCallStream stream(level);
    EXPECT_EQ(stream.SetDictionary(dictionary), zelOk);
    const OneCallSearched got = stream.Search(dictionary, zelLZ77FlushFinal);
    EXPECT_EQ(got.items.lit, dictionary);
  }
}
