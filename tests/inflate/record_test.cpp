// The decoder's record: its making, its reset, its dictionary, its status word and pairs array, its copy.

#include <limits.h>

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

// A stream with every kind of block, matches that cross blocks, and a length that makes the history wrap.
const StreamBuilder& Sample() {
  static const StreamBuilder sample = [] {
    StreamBuilder s;
    s.Fixed().Literals("The quick brown fox ").Match(258, 20).Match(3, 1).End();
    s.Stored(RandomBytes(300, 7));
    s.Dynamic(MakeLengths(286, {{'a', 3}, {'b', 3}, {256, 3}, {257, 3}, {264, 3}, {280, 3}, {284, 3}, {285, 3}}),
              MakeLengths(30, {{0, 2}, {10, 2}, {17, 2}, {29, 2}}));
    s.Literals("abba").Match(258, 40).Match(130, 500).Match(10, 1).Match(227, 33).Literal('b').End();
    s.Stored({}).Fixed();
    for (int i = 0; i < 200; ++i) s.Match(258, 1 + i * 4);
    s.Literal(255).Match(100, 32768).End();
    s.Fixed(kLast).Literals("end").End();
    return s;
  }();
  return sample;
}

// The same history, but of the last `size` bytes, with zeros before.
Bytes PaddedDictionary(const Bytes& dictionary) {
  Bytes padded(32768, 0);
  padded.insert(padded.end(), dictionary.begin(), dictionary.end());
  return Bytes(padded.end() - 32768, padded.end());
}

TEST(InflateRecord, SizeIsTheSameOnEveryBuild) {
  int32_t size = -1;
  EXPECT_EQ(zelsDecodeLZ77GetSize_8u(&size), zelOk);
  EXPECT_EQ(size, 112896);
}

TEST(InflateRecord, GetSizeWantsAPointer) { EXPECT_EQ(zelsDecodeLZ77GetSize_8u(nullptr), zelErrNullPtr); }

TEST(InflateRecord, InitWantsARecord) { EXPECT_EQ(zelsDecodeLZ77Init_8u(0, nullptr), zelErrNullPtr); }

TEST(InflateRecord, InitAllocWantsAPointer) { EXPECT_EQ(zelsDecodeLZ77InitAlloc_8u(0, nullptr), zelErrNullPtr); }

TEST(InflateRecord, InitAllocMakesAWorkingDecoder) {
  zelLZ77State* record = nullptr;
  ASSERT_EQ(zelsDecodeLZ77InitAlloc_8u(0, &record), zelOk);
  ASSERT_NE(record, nullptr);
  const Decoded got = StreamDecoder(record, Sample().stream(), {}).Run();
  EXPECT_EQ(got.status, zelWarnStreamEnd);
  EXPECT_TRUE(got.data == Sample().output());
  EXPECT_EQ(zelsLZ77Free_8u(record), zelOk);
}

TEST(InflateRecord, InitGivesTheRecordsOwnPairsAndStatusZero) {
  const DecoderRecord record;
  zelLZ77Pair* pairs = nullptr;
  int32_t position = -1, count = -1, status = -1;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&pairs, &position, &count, record.get()), zelOk);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(count, 8192);
  const uint8_t* const start = reinterpret_cast<uint8_t*>(record.get());
  const uint8_t* const array = reinterpret_cast<uint8_t*>(pairs);
  EXPECT_GE(array, start);
  EXPECT_LE(array + 8192 * sizeof(zelLZ77Pair), start + kDecoderRecordSize);
  EXPECT_EQ(zelsDecodeLZ77GetStatus_8u(&status, record.get()), zelOk);
  EXPECT_EQ(status, zelLZ77StatusInit);
}

TEST(InflateRecord, DecodesAlikeInAnyMemoryContent) {
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    for (const uint8_t fill : Bytes{0x00, 0xFF, 0x01, 0x5A}) {
      const DecoderRecord record(fill);
      DecodeOptions options;
      options.path = path;
      const Decoded got = StreamDecoder(record.get(), Sample().stream(), options).Run();
      EXPECT_EQ(got.status, zelWarnStreamEnd);
      EXPECT_TRUE(got.data == Sample().output()) << int{fill};
    }
  }
}

TEST(InflateRecord, OldMemoryNeverReachesTheOutput) {
  // A match before the start: whatever stands in the window, nothing of it comes out.
  StreamBuilder s;
  s.Fixed(kLast).Literal('x').BadMatch(3, 2);
  for (const uint8_t fill : Bytes{0x00, 0xFF, 0x5A}) {
    const DecoderRecord record(fill);
    const Decoded got = StreamDecoder(record.get(), s.stream(), {}).Run();
    EXPECT_EQ(got.status, zelErrSize);
    EXPECT_EQ(got.data, Bytes{'x'});
  }
}

TEST(InflateRecord, OldMemoryReachesNoByteOfTheRoom) {
  // The match ends where the history does; what a wide copy writes behind it is scratch, but not the record's secret.
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    for (int before = 3; before < 60; ++before) {
      StreamBuilder s;
      s.Fixed();
      for (int i = 0; i < before; ++i) s.Literal(i);
      s.End().Fixed(kLast).Match(3, before < 20 ? before : 3).Match(5, 3).End().Raw(Bytes(100, 0));
      Bytes rooms[2];
      for (const int i : {0, 1}) {
        const DecoderRecord record(i == 0 ? 0x00 : 0xEE);
        const Bytes stream = s.stream();
        const GuardedBuffer start(static_cast<size_t>(before)), room(600);
        const uint8_t* source = stream.data();
        int32_t size = static_cast<int32_t>(stream.size());
        for (const GuardedBuffer* buffer : {&start, &room}) {
          uint8_t* dst = buffer->data();
          int32_t left = static_cast<int32_t>(buffer->size());
          zelLZ77Pair pairs[100];
          zelLZ77Pair* next = pairs;
          int32_t pairs_left = 100;
          if (path == Path::kBytes) {
            ASSERT_GE(zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &left, 0, record.get()), zelOk);
          } else {
            ASSERT_GE(zelsDecodeLZ77FixedHuff_8u(&source, &size, &next, &pairs_left, 0, record.get()), zelOk);
            next = pairs;
            int32_t count = 100 - pairs_left;
            ASSERT_GE(zelsDecodeLZ77_8u(&next, &count, &dst, &left, 0, record.get()), zelOk);
          }
          ASSERT_EQ(buffer->size() - static_cast<size_t>(left), buffer == &start ? start.size() : 8u);
        }
        rooms[i] = room.ToBytes();
      }
      ASSERT_EQ(rooms[0], rooms[1]) << before;
    }
  }
}

TEST(InflateRecord, StandsAtAnyMultipleOfFour) {
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    for (size_t shift = 0; shift <= 64; shift += 4) {
      const DecoderRecord record(0xA5, shift);
      DecodeOptions options;
      options.path = path;
      const Decoded got = StreamDecoder(record.get(), Sample().stream(), options).Run();
      EXPECT_EQ(got.status, zelWarnStreamEnd);
      EXPECT_TRUE(got.data == Sample().output()) << shift;
    }
  }
}

TEST(InflateRecord, ModeDoesNotMatter) {
  for (const int32_t mode : {1, 2, -1, INT_MAX, INT_MIN}) {
    const DecoderRecord record;
    ASSERT_EQ(zelsDecodeLZ77Init_8u(mode, record.get()), zelOk);
    const Decoded got = StreamDecoder(record.get(), Sample().stream(), {}).Run();
    EXPECT_EQ(got.status, zelWarnStreamEnd);
    EXPECT_TRUE(got.data == Sample().output());
  }
}

TEST(InflateReset, WantsARecord) { EXPECT_EQ(zelsDecodeLZ77Reset_8u(nullptr), zelErrNullPtr); }

TEST(InflateReset, StartsANewStreamAfterAnyCall) {
  StreamBuilder next;
  next.Fixed().Literals("next").Match(5, 4).End();
  next.Dynamic(MakeLengths(258, {{'n', 1}, {256, 2}, {257, 2}}), MakeLengths(1, {{0, 1}}), kLast);
  next.Literals("nn").Match(3, 1).End();
  for (DecodeOptions options : AllSplits(Path::kBytes)) {
    options.source_piece = std::min<size_t>(options.source_piece, 40);
    options.room = std::min<size_t>(options.room, 1000);
    for (const Path path : {Path::kBytes, Path::kPairs}) {
      options.path = path;
      const DecoderRecord record;
      StreamDecoder decoder(record.get(), Sample().stream(), options);
      for (int steps = 0; decoder.Step(); ++steps) {
        // Few places of the many that are alike.
        if (steps > 40 && steps % 97 != 0) continue;
        const DecoderRecord other;
        ASSERT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), other.get()), zelOk);
        ASSERT_EQ(zelsDecodeLZ77Reset_8u(other.get()), zelOk);
        DecodeOptions whole;
        whole.path = path;
        const Decoded got = StreamDecoder(other.get(), next.stream(), whole).Run();
        ASSERT_EQ(got.status, zelWarnStreamEnd) << options << ", after call " << steps;
        ASSERT_EQ(got.data, next.output());
      }
    }
  }
}

TEST(InflateReset, ForgetsTheHistory) {
  StreamBuilder s;
  s.Fixed(kLast).BadMatch(3, 1);
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    const DecoderRecord record;
    DecodeOptions options;
    options.path = path;
    options.source_piece = 1000;
    StreamDecoder decoder(record.get(), Sample().stream(), options);
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(decoder.Step());
    ASSERT_EQ(zelsDecodeLZ77Reset_8u(record.get()), zelOk);
    const Decoded got = StreamDecoder(record.get(), s.stream(), options).Run();
    EXPECT_EQ(got.status, path == Path::kBytes ? zelErrSize : zelErrBadData);
    EXPECT_TRUE(got.data.empty());
  }
}

TEST(InflateReset, ForgetsTheDictionary) {
  StreamBuilder s;
  s.Fixed(kLast).BadMatch(3, 1);
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    const DecoderRecord record;
    const Bytes dictionary = ToBytes("dictionary");
    ASSERT_EQ(zelsDecodeLZ77SetDictionary_8u(dictionary.data(), 10, record.get()), zelOk);
    ASSERT_EQ(zelsDecodeLZ77Reset_8u(record.get()), zelOk);
    DecodeOptions options;
    options.path = path;
    EXPECT_EQ(StreamDecoder(record.get(), s.stream(), options).Run().status,
              path == Path::kBytes ? zelErrSize : zelErrBadData);
  }
}

TEST(InflateReset, ForgetsTheStreamsEnd) {
  // After a stream's end the expansion says so; after Reset it does not.
  const DecoderRecord record;
  DecodeOptions options;
  options.path = Path::kPairs;
  ASSERT_EQ(StreamDecoder(record.get(), Sample().stream(), options).Run().status, zelWarnStreamEnd);
  ASSERT_EQ(zelsDecodeLZ77Reset_8u(record.get()), zelOk);
  zelLZ77Pair pair = {'a', 0};
  zelLZ77Pair* pairs = &pair;
  uint8_t byte = 0;
  uint8_t* dst = &byte;
  int32_t count = 1, room = 1;
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &dst, &room, 0, record.get()), zelOk);
}

TEST(InflateReset, GivesTheRecordsOwnPairsAndStatusZero) {
  const DecoderRecord record;
  zelLZ77Pair* own = nullptr;
  int32_t position = -1, count = -1, status = -1;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&own, &position, &count, record.get()), zelOk);
  zelLZ77Pair callers[3];
  ASSERT_EQ(zelsDecodeLZ77SetPairs_8u(callers, 2, 3, record.get()), zelOk);
  ASSERT_EQ(zelsDecodeLZ77SetStatus_8u(zelLZ77StatusCoding, record.get()), zelOk);
  ASSERT_EQ(zelsDecodeLZ77Reset_8u(record.get()), zelOk);
  zelLZ77Pair* pairs = nullptr;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&pairs, &position, &count, record.get()), zelOk);
  EXPECT_EQ(pairs, own);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(zelsDecodeLZ77GetStatus_8u(&status, record.get()), zelOk);
  EXPECT_EQ(status, 0);
}

TEST(InflateStatusWord, WantsARecord) { EXPECT_EQ(zelsDecodeLZ77SetStatus_8u(0, nullptr), zelErrNullPtr); }

TEST(InflateStatusWord, TakesAnyValueAndDecodingLeavesItAlone) {
  for (const int32_t value : {1, 2, 3, 4, -1, INT_MAX, INT_MIN}) {
    const DecoderRecord record;
    ASSERT_EQ(zelsDecodeLZ77SetStatus_8u(value, record.get()), zelOk);
    const Decoded got = StreamDecoder(record.get(), Sample().stream(), {}).Run();
    EXPECT_TRUE(got.data == Sample().output());
    int32_t status = 0;
    EXPECT_EQ(zelsDecodeLZ77GetStatus_8u(&status, record.get()), zelOk);
    EXPECT_EQ(status, value);
  }
}

TEST(InflateStatusWord, CodingDoesNotTouchThePairs) {
  // What the encoder does with this value is the encoder's.
  const DecoderRecord record;
  ASSERT_EQ(zelsDecodeLZ77SetStatus_8u(zelLZ77StatusCoding, record.get()), zelOk);
  zelLZ77Pair* pairs = nullptr;
  int32_t position = -1, count = -1;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&pairs, &position, &count, record.get()), zelOk);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(count, 8192);
}

TEST(InflateDictionary, PointersComeBeforeTheLength) {
  const DecoderRecord record;
  const Bytes before = record.Content();
  const uint8_t byte = 1;
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(nullptr, 1, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(nullptr, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(&byte, 1, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(&byte, -1, nullptr), zelErrNullPtr);
  EXPECT_EQ(record.Content(), before);
}

TEST(InflateDictionary, NeedsAByte) {
  const DecoderRecord record;
  const Bytes before = record.Content();
  const uint8_t byte = 1;
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(&byte, 0, record.get()), zelErrSize);
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(&byte, -1, record.get()), zelErrSize);
  EXPECT_EQ(zelsDecodeLZ77SetDictionary_8u(&byte, INT_MIN, record.get()), zelErrSize);
  EXPECT_EQ(record.Content(), before);
}

// Matches that start at the dictionary's far end, at its near end, and run from it into the output.
void ExpectDictionaryIsKnown(const Bytes& dictionary) {
  StreamBuilder s(PaddedDictionary(dictionary));
  s.Fixed().Match(258, 32768).Match(4, 259).Literal('x').Match(258, 3).Match(100, 32767).End();
  s.Stored(ToBytes("stored")).Fixed(kLast).Match(20, 10).Match(50, 32768).End();
  DecodeOptions options;
  options.dictionary = dictionary;
  ExpectDecodes(s, options);
}

TEST(InflateDictionary, OfFortyThousandBytesCountsByItsLast32768) { ExpectDictionaryIsKnown(RandomBytes(40000, 1)); }

TEST(InflateDictionary, Of32768BytesIsKnownWhole) { ExpectDictionaryIsKnown(RandomBytes(32768, 2)); }

TEST(InflateDictionary, OfTenBytesIsPrecededByZeros) { ExpectDictionaryIsKnown(RandomBytes(10, 3)); }

TEST(InflateDictionary, OfOneByteIsPrecededByZeros) { ExpectDictionaryIsKnown({0xEE}); }

TEST(InflateDictionary, FirstMatchMayCopyItOnAndOn) {
  StreamBuilder s(PaddedDictionary(ToBytes("abc")));
  s.Fixed(kLast).Match(258, 3).Match(258, 1).End();
  DecodeOptions options;
  options.dictionary = ToBytes("abc");
  ExpectDecodes(s, options);
}

TEST(InflateDictionary, LastsUntilTheOutputHasPushedItOut) {
  const Bytes dictionary = RandomBytes(32768, 4);
  StreamBuilder s(dictionary);
  s.Fixed(kLast);
  for (int i = 0; i < 200; ++i) s.Literal(i);
  for (int i = 0; i < 120; ++i) s.Match(258, 32768 - i);
  s.Match(258, 32768).Match(258, 32768).Match(258, 32768).Match(258, 32768).End();
  DecodeOptions options;
  options.dictionary = dictionary;
  ExpectDecodes(s, options);
}

TEST(InflateCopy, WantsTwoRecords) {
  const DecoderRecord record;
  const Bytes before = record.Content();
  EXPECT_EQ(zelsDecodeLZ77CopyState_8u(nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77CopyState_8u(nullptr, nullptr), zelErrNullPtr);
  EXPECT_EQ(record.Content(), before);
}

// Copies after every call (of those that are alike, some) and decodes on with the copy and with the original.
void ExpectCopyGoesOn(DecodeOptions options) {
  const DecoderRecord record;
  StreamDecoder decoder(record.get(), Sample().stream(), options);
  int step = 0;
  do {
    if (step <= 60 || step % 53 == 0) {
      const DecoderRecord copy(0x3C, 4);
      ASSERT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), copy.get()), zelOk);
      const Decoded got = decoder.On(copy.get()).Run();
      ASSERT_EQ(got.status, zelWarnStreamEnd) << options << ", copied after call " << step;
      ASSERT_TRUE(got.data == Sample().output()) << options << ", copied after call " << step;
    }
    ++step;
  } while (decoder.Step());
  EXPECT_EQ(decoder.result().status, zelWarnStreamEnd);
  EXPECT_TRUE(decoder.result().data == Sample().output());
}

TEST(InflateCopy, GoesOnFromAnyByteOfTheInput) {
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions options;
    options.path = path;
    options.source_piece = 1;
    ExpectCopyGoesOn(options);
  }
}

TEST(InflateCopy, GoesOnFromTheMiddleOfMatchesAndStoredBlocks) {
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions options;
    options.path = path;
    options.room = 7;
    options.pairs_room = 3;
    ExpectCopyGoesOn(options);
  }
}

TEST(InflateCopy, GoesOnFromRandomPlaces) {
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions options;
    options.path = path;
    options.source_piece = 20;
    options.room = 500;
    options.pairs_room = 50;
    options.split_seed = 11;
    ExpectCopyGoesOn(options);
  }
}

TEST(InflateCopy, OfADictionaryIsADictionary) {
  const Bytes dictionary = RandomBytes(500, 5);
  StreamBuilder s(PaddedDictionary(dictionary));
  s.Fixed(kLast).Match(258, 500).End();
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    const DecoderRecord record, copy;
    ASSERT_EQ(zelsDecodeLZ77SetDictionary_8u(dictionary.data(), 500, record.get()), zelOk);
    ASSERT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), copy.get()), zelOk);
    DecodeOptions options;
    options.path = path;
    EXPECT_EQ(StreamDecoder(copy.get(), s.stream(), options).Run().data, s.output());
  }
}

TEST(InflateCopy, HasItsOwnPairsArrayWithTheSourcesPairs) {
  const DecoderRecord record, copy;
  zelLZ77Pair *from = nullptr, *to = nullptr, *copys = nullptr;
  int32_t position = 0, count = 0;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&from, &position, &count, record.get()), zelOk);
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&to, &position, &count, copy.get()), zelOk);
  from[0] = {258, 32768};
  from[8191] = {7, 0};
  ASSERT_EQ(zelsDecodeLZ77SetStatus_8u(3, record.get()), zelOk);
  ASSERT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), copy.get()), zelOk);
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&copys, &position, &count, copy.get()), zelOk);
  EXPECT_EQ(copys, to);
  EXPECT_EQ(count, 8192);
  EXPECT_EQ(copys[0].length, 258);
  EXPECT_EQ(copys[0].distance, 32768);
  EXPECT_EQ(copys[8191].length, 7);
  int32_t status = -1;
  ASSERT_EQ(zelsDecodeLZ77GetStatus_8u(&status, copy.get()), zelOk);
  EXPECT_EQ(status, 3);
}

TEST(InflateCopy, KeepsACallersPairsArray) {
  const DecoderRecord record, copy;
  zelLZ77Pair callers[5];
  ASSERT_EQ(zelsDecodeLZ77SetPairs_8u(callers, 2, 5, record.get()), zelOk);
  ASSERT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), copy.get()), zelOk);
  zelLZ77Pair* pairs = nullptr;
  int32_t position = 0, count = 0;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&pairs, &position, &count, copy.get()), zelOk);
  EXPECT_EQ(pairs, callers);
  EXPECT_EQ(position, 2);
  EXPECT_EQ(count, 5);
}

TEST(InflateCopy, LeavesTheSourceAsItWas) {
  const DecoderRecord record, copy;
  DecodeOptions options;
  options.source_piece = 30;
  StreamDecoder decoder(record.get(), Sample().stream(), options);
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(decoder.Step());
  const Bytes before = record.Content();
  ASSERT_EQ(zelsDecodeLZ77CopyState_8u(record.get(), copy.get()), zelOk);
  EXPECT_EQ(record.Content(), before);
}

}  // namespace
}  // namespace zeldc_test
