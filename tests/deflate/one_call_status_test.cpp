// The one-call Deflate helpers: each status with its causes, in their order, and what a call without work leaves alone.

#include <algorithm>

#include "deflate/one_call_stream.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

// The arguments of a search that succeeds, to be spoilt one at a time.
struct SearchArguments {
  Bytes input = Text(1000, 1);
  Bytes window = Bytes(32768);
  std::vector<int32_t> head = std::vector<int32_t>(65536, kNoPosition);
  std::vector<int32_t> chain = std::vector<int32_t>(32768, kNoPosition);
  Counts counts;
  Items items = {Bytes(2000, 0xEE), std::vector<uint16_t>(2000, 0xEEEE)};
  uint8_t* next = input.data();
  int32_t left = 1000, index = 0, room = 2000;

  uint8_t** ppSrc = &next;
  int32_t* pSrcLen = &left;
  int32_t* pSrcIdx = &index;
  const uint8_t* pWindow = window.data();
  int32_t winSize = 32768;
  int32_t* pHead = head.data();
  int32_t* pChain = chain.data();
  int32_t hashSize = 65536;
  int32_t* pLitFreq = counts.lit.data();
  int32_t* pDistFreq = counts.dist.data();
  uint8_t* pLitDst = items.lit.data();
  uint16_t* pDistDst = items.dist.data();
  int32_t* pDstLen = &room;
  int32_t level = 1;
  zelLZ77FlushMode flush = zelLZ77FlushFinal;

  zelStatus Call() {
    return zelsDeflateLZ77_8u(ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHead, pChain, hashSize, pLitFreq, pDistFreq,
                              pLitDst, pDistDst, pDstLen, level, flush);
  }
  bool IsUntouched() const {
    const auto is_empty = [](int32_t entry) { return entry == kNoPosition; };
    return next == input.data() && left == 1000 && index == 0 && room == 2000 && counts == Counts{} &&
           std::all_of(head.begin(), head.end(), is_empty) && std::all_of(chain.begin(), chain.end(), is_empty) &&
           items == Items{Bytes(2000, 0xEE), std::vector<uint16_t>(2000, 0xEEEE)};
  }
};

struct DictionaryArguments {
  Bytes dictionary = Text(1000, 1);
  std::vector<int32_t> head = std::vector<int32_t>(65536, kNoPosition);
  std::vector<int32_t> chain = std::vector<int32_t>(32768, kNoPosition);
  Bytes window = Bytes(32768, 0xEE);

  const uint8_t* pDict = dictionary.data();
  int32_t dictLen = 1000;
  int32_t* pHead = head.data();
  int32_t hashSize = 65536;
  int32_t* pChain = chain.data();
  uint8_t* pWindow = window.data();
  int32_t winSize = 32768;
  int32_t level = 5;

  zelStatus Call() {
    return zelsDeflateDictionarySet_8u(pDict, dictLen, pHead, hashSize, pChain, pWindow, winSize, level);
  }
  bool IsUntouched() const {
    const auto is_empty = [](int32_t entry) { return entry == kNoPosition; };
    return std::all_of(head.begin(), head.end(), is_empty) && std::all_of(chain.begin(), chain.end(), is_empty) &&
           window == Bytes(32768, 0xEE);
  }
};

struct WriteArguments {
  Items items = {ToBytes("ab"), {0, 0}};
  HuffCodes codes = FixedCodes();
  uint16_t code = 0;
  int32_t bits = 0, index = 0;
  Bytes room = Bytes(100, 0xEE);

  const uint8_t* pLit = items.lit.data();
  const uint16_t* pDist = items.dist.data();
  int32_t srcLen = 2;
  uint16_t* pCode = &code;
  int32_t* pCodeLenBits = &bits;
  const zelDeflateHuffCode* pLitCodes = codes.lit.data();
  const zelDeflateHuffCode* pDistCodes = codes.dist.data();
  uint8_t* pDst = room.data();
  int32_t* pDstIdx = &index;

  zelStatus Call() {
    return zelsDeflateHuff_8u(pLit, pDist, srcLen, pCode, pCodeLenBits, pLitCodes, pDistCodes, pDst, pDstIdx);
  }
};

}  // namespace

TEST(OneCallSearchStatus, Ok) {
  SearchArguments a;
  EXPECT_EQ(a.Call(), zelOk);
  EXPECT_EQ(a.left, 0);
  EXPECT_EQ(a.index, 1000);
  EXPECT_EQ(a.next, a.input.data() + 1000);
}

TEST(OneCallSearchStatus, EachNullPointerComesBeforeTheSizes) {
  const auto expect_null = [](auto spoil) {
    SearchArguments a;
    spoil(a);
    EXPECT_EQ(a.Call(), zelErrNullPtr);
    a.winSize = 0;
    a.hashSize = 0;
    EXPECT_EQ(a.Call(), zelErrNullPtr);
    if (a.next == nullptr) a.next = a.input.data();
    EXPECT_TRUE(a.IsUntouched());
  };
  expect_null([](SearchArguments& a) { a.ppSrc = nullptr; });
  expect_null([](SearchArguments& a) { a.pSrcLen = nullptr; });
  expect_null([](SearchArguments& a) { a.pSrcIdx = nullptr; });
  expect_null([](SearchArguments& a) { a.pWindow = nullptr; });
  expect_null([](SearchArguments& a) { a.pHead = nullptr; });
  expect_null([](SearchArguments& a) { a.pChain = nullptr; });
  expect_null([](SearchArguments& a) { a.pLitFreq = nullptr; });
  expect_null([](SearchArguments& a) { a.pDistFreq = nullptr; });
  expect_null([](SearchArguments& a) { a.pLitDst = nullptr; });
  expect_null([](SearchArguments& a) { a.pDistDst = nullptr; });
  expect_null([](SearchArguments& a) { a.pDstLen = nullptr; });
  expect_null([](SearchArguments& a) { a.next = nullptr; });
}

TEST(OneCallSearchStatus, SizesOutOfRange) {
  for (int32_t size : {INT32_MIN, -1, 0, 255, 32769, INT32_MAX}) {
    SearchArguments a;
    a.winSize = size;
    EXPECT_EQ(a.Call(), zelErrSize) << size;
    EXPECT_TRUE(a.IsUntouched());
  }
  for (int32_t size : {INT32_MIN, -1, 0, 255, 65537, INT32_MAX}) {
    SearchArguments a;
    a.hashSize = size;
    EXPECT_EQ(a.Call(), zelErrSize) << size;
    EXPECT_TRUE(a.IsUntouched());
  }
}

TEST(OneCallSearchStatus, SizesAtTheEndsOfTheirRanges) {
  for (int32_t window : {256, 32768}) {
    for (int32_t hash : {256, 65536}) {
      SearchArguments a;
      a.winSize = window;
      a.hashSize = hash;
      EXPECT_EQ(a.Call(), zelOk);
      EXPECT_EQ(a.left, 0);
    }
  }
}

TEST(OneCallSearchStatus, NothingToDoChangesNothing) {
  SearchArguments no_input;
  for (int32_t length : {0, -1, INT32_MIN}) {
    no_input.left = length;
    EXPECT_EQ(no_input.Call(), zelOk);
    EXPECT_EQ(no_input.left, length);
    no_input.left = 1000;
    EXPECT_TRUE(no_input.IsUntouched());
  }
  SearchArguments no_room;
  for (int32_t length : {0, -1, INT32_MIN}) {
    no_room.room = length;
    EXPECT_EQ(no_room.Call(), zelOk);
    EXPECT_EQ(no_room.room, length);
    no_room.room = 2000;
    EXPECT_TRUE(no_room.IsUntouched());
  }
}

TEST(OneCallDictionaryStatus, FewerThanThreeBytesComeBeforeEverything) {
  for (int32_t length : {INT32_MIN, -1, 0, 1, 2}) {
    EXPECT_EQ(zelsDeflateDictionarySet_8u(nullptr, length, nullptr, 0, nullptr, nullptr, 0, 5), zelOk) << length;
    DictionaryArguments a;
    a.dictLen = length;
    EXPECT_EQ(a.Call(), zelOk);
    EXPECT_TRUE(a.IsUntouched());
  }
}

TEST(OneCallDictionaryStatus, EachNullPointerComesBeforeTheSizes) {
  const auto expect_null = [](auto spoil) {
    DictionaryArguments a;
    spoil(a);
    EXPECT_EQ(a.Call(), zelErrNullPtr);
    a.winSize = 0;
    a.hashSize = 0;
    EXPECT_EQ(a.Call(), zelErrNullPtr);
    EXPECT_TRUE(a.IsUntouched());
  };
  expect_null([](DictionaryArguments& a) { a.pDict = nullptr; });
  expect_null([](DictionaryArguments& a) { a.pHead = nullptr; });
  expect_null([](DictionaryArguments& a) { a.pChain = nullptr; });
  expect_null([](DictionaryArguments& a) { a.pWindow = nullptr; });
}

TEST(OneCallDictionaryStatus, SizesOutOfRange) {
  for (int32_t size : {INT32_MIN, -1, 0, 255, 32769, INT32_MAX}) {
    DictionaryArguments a;
    a.winSize = size;
    EXPECT_EQ(a.Call(), zelErrSize) << size;
    EXPECT_TRUE(a.IsUntouched());
  }
  for (int32_t size : {INT32_MIN, -1, 0, 255, 65537, INT32_MAX}) {
    DictionaryArguments a;
    a.hashSize = size;
    EXPECT_EQ(a.Call(), zelErrSize) << size;
    EXPECT_TRUE(a.IsUntouched());
  }
}

TEST(OneCallWriterStatus, Ok) {
  WriteArguments a;
  EXPECT_EQ(a.Call(), zelOk);
  EXPECT_EQ(a.index, 2);
  EXPECT_EQ(a.bits, 0);
}

TEST(OneCallWriterStatus, NullPointers) {
  const auto expect_null = [](auto spoil) {
    WriteArguments a;
    spoil(a);
    for (int32_t length : {2, 0, -1}) {
      a.srcLen = length;
      EXPECT_EQ(a.Call(), zelErrNullPtr);
    }
    EXPECT_EQ(a.index, 0);
    EXPECT_EQ(a.room, Bytes(100, 0xEE));
  };
  expect_null([](WriteArguments& a) { a.pLit = nullptr; });
  expect_null([](WriteArguments& a) { a.pDist = nullptr; });
  expect_null([](WriteArguments& a) { a.pCode = nullptr; });
  expect_null([](WriteArguments& a) { a.pCodeLenBits = nullptr; });
  expect_null([](WriteArguments& a) { a.pLitCodes = nullptr; });
  expect_null([](WriteArguments& a) { a.pDistCodes = nullptr; });
  expect_null([](WriteArguments& a) { a.pDst = nullptr; });
  expect_null([](WriteArguments& a) { a.pDstIdx = nullptr; });
}

TEST(OneCallWriterStatus, WithoutItemsNothingIsWritten) {
  for (int32_t length : {0, -1, INT32_MIN}) {
    WriteArguments a;
    a.srcLen = length;
    a.code = 0x55;
    a.bits = 7;
    a.index = 9;
    EXPECT_EQ(a.Call(), zelOk);
    EXPECT_EQ(a.code, 0x55);
    EXPECT_EQ(a.bits, 7);
    EXPECT_EQ(a.index, 9);
    EXPECT_EQ(a.room, Bytes(100, 0xEE));
  }
}
