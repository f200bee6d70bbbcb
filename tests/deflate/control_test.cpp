// Creation, reset, dictionary, status and pairs array of the encoder's record.

#include <string.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

struct PairsArray {
  zelLZ77Pair* pairs = nullptr;
  int32_t position = -1;
  int32_t length = -1;
};

PairsArray GetPairs(zelLZ77State* record) {
  PairsArray array;
  EXPECT_EQ(zelsEncodeLZ77GetPairs_8u(&array.pairs, &array.position, &array.length, record), zelOk);
  return array;
}

zelLZ77DeflateStatus GetStatus(zelLZ77State* record) {
  zelLZ77DeflateStatus status = -1;
  EXPECT_EQ(zelsEncodeLZ77GetStatus_8u(&status, record), zelOk);
  return status;
}

bool IsInside(const EncoderRecord& record, const zelLZ77Pair* pairs) {
  int32_t size = 0;
  zelsEncodeLZ77GetSize_8u(&size);
  const uint8_t* const start = reinterpret_cast<const uint8_t*>(record.get());
  const uint8_t* const array = reinterpret_cast<const uint8_t*>(pairs);
  return array >= start && array + zelLZ77MaxPairs * sizeof(zelLZ77Pair) <= start + size;
}

zelStatus SetDictionary(zelLZ77State* record, const Bytes& dictionary) {
  const GuardedBuffer buffer(dictionary);
  return zelsEncodeLZ77SetDictionary_8u(buffer.data(), static_cast<int32_t>(dictionary.size()), record);
}

// The smallest distance that reaches before the call, or 0.
bool ReachesBefore(const Pairs& pairs) {
  int position = 0;
  for (const auto& [length, distance] : pairs) {
    if (distance > position) return true;
    position += distance == 0 ? 1 : length;
  }
  return false;
}

}  // namespace

TEST(EncoderGetSize, IsTheSameOnEveryBuild) {
  int32_t size = 0;
  EXPECT_EQ(zelsEncodeLZ77GetSize_8u(&size), zelOk);
  EXPECT_EQ(size, 598948);
}

TEST(EncoderGetSize, NullPointer) { EXPECT_EQ(zelsEncodeLZ77GetSize_8u(nullptr), zelErrNullPtr); }

TEST(EncoderInit, NullPointer) {
  EXPECT_EQ(zelsEncodeLZ77Init_8u(zelLZ77LevelFast, zelLZ77CheckNone, nullptr), zelErrNullPtr);
}

TEST(EncoderInit, MakesAFreshRecordOfAnyMemory) {
  for (int fill : {0x00, 0xA5, 0xFF}) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone, guard, static_cast<uint8_t>(fill));
      EXPECT_EQ(GetStatus(record.get()), zelLZ77StatusInit);
      const PairsArray array = GetPairs(record.get());
      EXPECT_EQ(array.position, 0);
      EXPECT_EQ(array.length, zelLZ77MaxPairs);
      EXPECT_TRUE(IsInside(record, array.pairs));
      EXPECT_FALSE(ReachesBefore(Search(record.get(), Bytes(1000, 0)).pairs));
    }
  }
}

TEST(EncoderInit, UnknownLevelsActAsNormal) {
  const Bytes input = Text(50000, 1);
  const Pairs normal = SearchAll(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), input);
  EXPECT_NE(SearchAll(EncoderRecord(zelLZ77LevelFast, zelLZ77CheckNone).get(), input), normal);
  EXPECT_NE(SearchAll(EncoderRecord(zelLZ77LevelBest, zelLZ77CheckNone).get(), input), normal);
  for (zelLZ77Level level : {7, 3, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(SearchAll(EncoderRecord(level, zelLZ77CheckNone).get(), input), normal) << level;
  }
}

TEST(EncoderInit, AgainAfterAnythingMakesAFreshRecord) {
  const Bytes input = Text(30000, 2);
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckAdler32);
  const Bytes fresh = EncodeWith(record.get(), input);
  SetDictionary(record.get(), input);
  Search(record.get(), input, zelLZ77FlushFinal);
  zelLZ77HuffMode mode = -1;
  const zelLZ77Pair pair = {'x', 0};
  EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(&pair, 1, &mode, record.get()), zelOk);
  StartBlock(record.get());
  Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), Pairs(100, {'x', 0}), 1, zelLZ77FlushSync);
  EXPECT_EQ(zelsEncodeLZ77Init_8u(zelLZ77LevelNormal, zelLZ77CheckAdler32, record.get()), zelOk);
  EXPECT_EQ(GetStatus(record.get()), zelLZ77StatusInit);
  EXPECT_EQ(EncodeWith(record.get(), input), fresh);
}

TEST(EncoderReset, NullPointer) { EXPECT_EQ(zelsEncodeLZ77Reset_8u(nullptr), zelErrNullPtr); }

TEST(EncoderReset, KeepsTheStatusWord) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  for (zelLZ77DeflateStatus status :
       {zelLZ77StatusInit, zelLZ77StatusMatching, zelLZ77StatusCoding, zelLZ77StatusFinal}) {
    zelsEncodeLZ77SetStatus_8u(status, record.get());
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
    EXPECT_EQ(GetStatus(record.get()), status);
  }
}

TEST(EncoderReset, PairsArrayIsTheRecordsOwnAgain) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair callers[3];
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 2, 3, record.get()), zelOk);
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  const PairsArray array = GetPairs(record.get());
  EXPECT_TRUE(IsInside(record, array.pairs));
  EXPECT_EQ(array.position, 0);
  EXPECT_EQ(array.length, zelLZ77MaxPairs);
}

TEST(EncoderReset, KeepsLevelAndChecksumKind) {
  const Bytes input = Text(50000, 3);
  EncodeOptions options;
  options.trailer = true;
  for (zelLZ77Level level : kLevels) {
    for (zelLZ77ChecksumKind checksum : {zelLZ77CheckNone, zelLZ77CheckAdler32, zelLZ77CheckCrc32}) {
      const EncoderRecord record(level, checksum);
      const Bytes first = EncodeWith(record.get(), input, options);
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
      EXPECT_EQ(EncodeWith(record.get(), input, options), first);
    }
  }
}

TEST(EncoderReset, DropsPendingOutput) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Pairs pairs = {{'a', 0}, {'b', 0}};
  const Bytes expected = WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), pairs).bytes;
  for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync}) {
    for (size_t room : {1, 2, 3, 4, 5}) {
      StartBlock(record.get());
      Write(zelsEncodeLZ77FixedHuff_8u, record.get(), pairs, room, flush);
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
      EXPECT_EQ(WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), pairs).bytes, expected) << flush << " " << room;
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
    }
  }
  for (size_t room : {1, 2, 3, 5, 6}) {
    StartBlock(record.get());
    WriteStored(record.get(), Bytes(10, 1), room);
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
    StartBlock(record.get());
    EXPECT_EQ(WriteStored(record.get(), Bytes(1, 7), 100).bytes, (Bytes{0, 1, 0, 0xFE, 0xFF, 7}));
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  }
}

TEST(EncoderReset, DropsChecksumAndInputSize) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckCrc32);
  EncodeOptions options;
  options.trailer = true;
  EncodeWith(record.get(), Text(1000, 4), options);
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  const Bytes stream = EncodeWith(record.get(), ToBytes("123456789"), options);
  EXPECT_EQ(Bytes(stream.end() - 8, stream.end()), (Bytes{0x26, 0x39, 0xF4, 0xCB, 9, 0, 0, 0}));
}

TEST(EncoderReset, DropsARestOfTheTrailer) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckAdler32);
  EncodeWith(record.get(), ToBytes("abc"));
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, record.get());
  EXPECT_EQ(WriteTrailer(record.get(), 2).status, zelWarnDstFull);
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  EncodeWith(record.get(), ToBytes("a"));
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, record.get());
  EXPECT_EQ(WriteTrailer(record.get(), 10).bytes, (Bytes{0, 0x62, 0, 0x62}));
}

TEST(EncoderReset, KeepsTheBlockWritersPhase) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckAdler32);
  EncodeWith(record.get(), ToBytes("abc"));  // the phase is now that of a finished stream, in which trailers are made
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, record.get());
  const Written trailer = WriteTrailer(record.get(), 10);
  EXPECT_EQ(trailer.status, zelOk);
  EXPECT_EQ(trailer.bytes, (Bytes{0, 0, 0, 1}));
}

TEST(EncoderReset, KeepsAPendingChoiceButForgetsItsMode) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Pairs bytes;
  for (int i = 0; i < 1000; ++i) bytes.push_back({i % 256, 0});
  const std::vector<zelLZ77Pair> pairs = ToRecords(bytes);
  auto select = [&] {
    zelLZ77HuffMode mode = -1;
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(pairs.data(), 1000, &mode, record.get()), zelOk);
    return mode;
  };
  const zelLZ77HuffMode chosen = select();
  ASSERT_EQ(chosen, zelLZ77HuffStored);
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  EXPECT_EQ(select(), zelLZ77HuffFixed);
  EXPECT_EQ(select(), zelLZ77HuffFixed);
  Search(record.get(), {1});
  EXPECT_EQ(select(), chosen);
}

TEST(EncoderSetDictionary, PointersComeFirst) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const uint8_t byte = 0;
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, record.get());
  for (int32_t size : {-1, 0, 2, 3}) {
    EXPECT_EQ(zelsEncodeLZ77SetDictionary_8u(nullptr, size, record.get()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77SetDictionary_8u(&byte, size, nullptr), zelErrNullPtr);
  }
}

TEST(EncoderSetDictionary, NegativeLengthComesBeforeTheStatus) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const uint8_t byte = 0;
  for (zelLZ77DeflateStatus status : {zelLZ77StatusInit, zelLZ77StatusMatching}) {
    zelsEncodeLZ77SetStatus_8u(status, record.get());
    EXPECT_EQ(zelsEncodeLZ77SetDictionary_8u(&byte, -1, record.get()), zelErrSize);
    EXPECT_EQ(zelsEncodeLZ77SetDictionary_8u(&byte, INT32_MIN, record.get()), zelErrSize);
  }
}

TEST(EncoderSetDictionary, UpToTwoBytesAreAcceptedInAnyStatusAndIgnored) {
  const Bytes input = Text(1000, 5);
  const Pairs without = Search(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), input).pairs;
  for (size_t size : {0, 1, 2}) {
    for (zelLZ77DeflateStatus status : {zelLZ77StatusInit, zelLZ77StatusMatching, zelLZ77StatusFinal}) {
      const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
      zelsEncodeLZ77SetStatus_8u(status, record.get());
      EXPECT_EQ(SetDictionary(record.get(), Bytes(input.begin(), input.begin() + static_cast<ptrdiff_t>(size))), zelOk);
      EXPECT_EQ(Search(record.get(), input).pairs, without);
    }
  }
}

TEST(EncoderSetDictionary, OtherStatusIsAnErrorAndChangesNothing) {
  const Bytes input = Text(1000, 6);
  const Pairs without = Search(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), input).pairs;
  for (zelLZ77DeflateStatus status :
       std::vector<zelLZ77DeflateStatus>{zelLZ77StatusMatching, zelLZ77StatusCoding, zelLZ77StatusFinal, -1}) {
    const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
    zelsEncodeLZ77SetStatus_8u(status, record.get());
    EXPECT_EQ(SetDictionary(record.get(), input), zelErr);
    EXPECT_EQ(Search(record.get(), input).pairs, without);
  }
}

TEST(EncoderSetDictionary, FirstMatchesReachIntoIt) {
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    EXPECT_EQ(SetDictionary(record.get(), ToBytes("the dictionary holds this sentence")), zelOk);
    // 21 bytes before the end, up to where the call's last bytes are literals by rule
    const Pairs pairs = Search(record.get(), ToBytes("holds this sentence...")).pairs;
    ASSERT_FALSE(pairs.empty());
    EXPECT_EQ(pairs[0], Pair(19, 19));
  }
}

TEST(EncoderSetDictionary, DoesNotEnterTheChecksumOrTheSize) {
  EncodeOptions options;
  options.trailer = true;
  options.checksum = zelLZ77CheckCrc32;
  options.dictionary = Text(1000, 7);
  const Bytes stream = Encode(ToBytes("123456789"), options);
  EXPECT_EQ(Bytes(stream.end() - 8, stream.end()), (Bytes{0x26, 0x39, 0xF4, 0xCB, 9, 0, 0, 0}));
}

TEST(EncoderSetDictionary, OnlyTheLast32768BytesCount) {
  const Bytes dictionary = Text(100000, 8), input = Text(60000, 8);
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord whole(level, zelLZ77CheckNone), tail(level, zelLZ77CheckNone);
    EXPECT_EQ(SetDictionary(whole.get(), dictionary), zelOk);
    EXPECT_EQ(SetDictionary(tail.get(), Bytes(dictionary.end() - 32768, dictionary.end())), zelOk);
    EXPECT_EQ(Search(whole.get(), input).pairs, Search(tail.get(), input).pairs);
  }
}

TEST(EncoderSetDictionary, SecondOneReplacesTheFirst) {
  const Bytes input = Text(30000, 9);
  for (zelLZ77Level level : kLevels) {
    for (size_t size : {3, 5000, 32768}) {
      const Bytes second = Text(size, 10);
      const EncoderRecord twice(level, zelLZ77CheckNone), once(level, zelLZ77CheckNone);
      EXPECT_EQ(SetDictionary(twice.get(), input), zelOk);
      EXPECT_EQ(SetDictionary(twice.get(), second), zelOk);
      EXPECT_EQ(SetDictionary(once.get(), second), zelOk);
      const Pairs pairs = Search(twice.get(), input).pairs;
      EXPECT_EQ(pairs, Search(once.get(), input).pairs);
      EXPECT_EQ(Expand(pairs, second), input);
    }
  }
}

TEST(EncoderSetStatus, NullPointer) {
  EXPECT_EQ(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, nullptr), zelErrNullPtr);
}

TEST(EncoderSetStatus, CodingHandsTheCollectedPairsOn) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair callers[5];
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 3, 5, record.get()), zelOk);
  EXPECT_EQ(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, record.get()), zelOk);
  const PairsArray array = GetPairs(record.get());
  EXPECT_EQ(array.pairs, callers);
  EXPECT_EQ(array.position, 0);
  EXPECT_EQ(array.length, 3);
  EXPECT_EQ(GetStatus(record.get()), zelLZ77StatusCoding);
}

TEST(EncoderSetStatus, CodingWithNothingCollectedGivesNoPairs) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, record.get());
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, record.get());
  EXPECT_EQ(GetPairs(record.get()).length, 0);
}

TEST(EncoderSetStatus, MatchingGivesRoomForMaxPairsEvenInACallersArray) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair callers[5];
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 3, 5, record.get()), zelOk);
  EXPECT_EQ(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, record.get()), zelOk);
  const PairsArray array = GetPairs(record.get());
  EXPECT_EQ(array.pairs, callers);
  EXPECT_EQ(array.position, 0);
  EXPECT_EQ(array.length, zelLZ77MaxPairs);
}

TEST(EncoderSetStatus, OtherValuesAreStoredAndDoNothingElse) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair callers[5];
  for (zelLZ77DeflateStatus status :
       std::vector<zelLZ77DeflateStatus>{zelLZ77StatusInit, zelLZ77StatusFinal, 4, 77, -1, INT32_MIN}) {
    EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 3, 5, record.get()), zelOk);
    EXPECT_EQ(zelsEncodeLZ77SetStatus_8u(status, record.get()), zelOk);
    EXPECT_EQ(GetStatus(record.get()), status);
    const PairsArray array = GetPairs(record.get());
    EXPECT_EQ(array.position, 3);
    EXPECT_EQ(array.length, 5);
  }
}

TEST(EncoderGetStatus, NullPointers) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77DeflateStatus status = 55;
  EXPECT_EQ(zelsEncodeLZ77GetStatus_8u(nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77GetStatus_8u(&status, nullptr), zelErrNullPtr);
  EXPECT_EQ(status, 55);
}

TEST(EncoderGetPairs, NullPointersChangeNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair* pairs = nullptr;
  int32_t position = 55, length = 66;
  EXPECT_EQ(zelsEncodeLZ77GetPairs_8u(nullptr, &position, &length, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77GetPairs_8u(&pairs, nullptr, &length, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77GetPairs_8u(&pairs, &position, nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77GetPairs_8u(&pairs, &position, &length, nullptr), zelErrNullPtr);
  EXPECT_EQ(std::tuple(pairs, position, length), std::tuple(nullptr, 55, 66));
}

TEST(EncoderSetPairs, NullPointersChangeNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const PairsArray before = GetPairs(record.get());
  zelLZ77Pair callers[5];
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(nullptr, 1, 2, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 1, 2, nullptr), zelErrNullPtr);
  const PairsArray after = GetPairs(record.get());
  EXPECT_EQ(std::tuple(after.pairs, after.position, after.length),
            std::tuple(before.pairs, before.position, before.length));
}

TEST(EncoderSetPairs, StoresTheThreeValuesUnchecked) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair callers[5];
  for (const auto& [position, length] : {std::pair(0, 0), {5, 5}, {7, 2}, {-3, -4}, {INT32_MAX, INT32_MIN}}) {
    EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, position, length, record.get()), zelOk);
    const PairsArray array = GetPairs(record.get());
    EXPECT_EQ(std::tuple(array.pairs, array.position, array.length), std::tuple(callers, position, length));
  }
}

TEST(EncoderSetPairs, OwnArrayCanBeSetAgain) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair* const own = GetPairs(record.get()).pairs;
  zelLZ77Pair callers[5];
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 1, 2, record.get()), zelOk);
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(own, 1, 2, record.get()), zelOk);
  EXPECT_EQ(GetPairs(record.get()).pairs, own);
}
