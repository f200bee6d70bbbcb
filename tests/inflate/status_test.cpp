// Statuses in the order in which the calls check for them, and that a call which answers one has changed nothing.

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <functional>

#include "gtest/gtest.h"
#include "inflate/checks.h"

namespace zeldc_test {
namespace {

// A decoder's arguments, for bytes or pairs.
template <typename Out>
struct Arguments {
  const uint8_t** source;
  int32_t* source_size;
  Out** out;
  int32_t* room;
  zelLZ77FlushMode flush;
  zelLZ77State* record;
};

using ByteArguments = Arguments<uint8_t>;
using PairArguments = Arguments<zelLZ77Pair>;

template <typename Out>
struct Function {
  const char* name;
  std::function<zelStatus(const Arguments<Out>&)> call;
};

const Function<uint8_t> kByteDecoders[] = {
    {"StoredBlock",
     [](const ByteArguments& a) {
       return zelsDecodeLZ77StoredBlock_8u(a.source, a.source_size, a.out, a.room, a.record);
     }},
    {"FixedHuffFull",
     [](const ByteArguments& a) {
       return zelsDecodeLZ77FixedHuffFull_8u(a.source, a.source_size, a.out, a.room, a.flush, a.record);
     }},
    {"DynamicHuffFull",
     [](const ByteArguments& a) {
       return zelsDecodeLZ77DynamicHuffFull_8u(a.source, a.source_size, a.out, a.room, a.flush, a.record);
     }},
};

const Function<zelLZ77Pair> kPairDecoders[] = {
    {"StoredHuff",
     [](const PairArguments& a) {
       return zelsDecodeLZ77StoredHuff_8u(a.source, a.source_size, a.out, a.room, a.record);
     }},
    {"FixedHuff",
     [](const PairArguments& a) {
       return zelsDecodeLZ77FixedHuff_8u(a.source, a.source_size, a.out, a.room, a.flush, a.record);
     }},
    {"DynamicHuff",
     [](const PairArguments& a) {
       return zelsDecodeLZ77DynamicHuff_8u(a.source, a.source_size, a.out, a.room, a.flush, a.record);
     }},
};

// What a call of a test stands on: 8 bytes of input, 4 units of room.
template <typename Out>
struct Setting {
  Setting() { memset(out, 0x77, sizeof(out)); }

  Arguments<Out> All() { return {&source, &source_size, &next, &room, flush, record.get()}; }

  // Requires that the call answers the status and changes nothing.
  void ExpectRefusal(const Function<Out>& function, const Arguments<Out>& arguments, zelStatus status) {
    const uint8_t* const source_before = source;
    Out* const next_before = next;
    const int32_t source_size_before = source_size, room_before = room;
    const Bytes content = record.Content();
    EXPECT_EQ(function.call(arguments), status) << function.name;
    EXPECT_EQ(source, source_before) << function.name;
    EXPECT_EQ(source_size, source_size_before) << function.name;
    EXPECT_EQ(next, next_before) << function.name;
    EXPECT_EQ(room, room_before) << function.name;
    const uint8_t* const out_bytes = reinterpret_cast<const uint8_t*>(out);
    EXPECT_TRUE(std::all_of(out_bytes, out_bytes + sizeof(out), [](uint8_t byte) { return byte == 0x77; }));
    EXPECT_TRUE(record.Content() == content) << function.name;
  }

  DecoderRecord record;
  // The first header is none of the three types'.
  uint8_t input[8] = {6, 0, 0, 0, 0, 0, 0, 0};
  const uint8_t* source = input;
  int32_t source_size = 8;
  Out out[4];
  Out* next = out;
  int32_t room = 4;
  zelLZ77FlushMode flush = zelLZ77FlushNone;
};

template <typename Out>
void ExpectNullPointersAreRefused(const Function<Out>& function) {
  Setting<Out> s;
  // Pointers come before lengths: these would be refused, too.
  s.source_size = -1;
  s.room = -1;
  Arguments<Out> a = s.All();
  a.source = nullptr;
  s.ExpectRefusal(function, a, zelErrNullPtr);
  a = s.All();
  a.source_size = nullptr;
  s.ExpectRefusal(function, a, zelErrNullPtr);
  a = s.All();
  a.out = nullptr;
  s.ExpectRefusal(function, a, zelErrNullPtr);
  a = s.All();
  a.room = nullptr;
  s.ExpectRefusal(function, a, zelErrNullPtr);
  a = s.All();
  a.record = nullptr;
  s.ExpectRefusal(function, a, zelErrNullPtr);
  s.source = nullptr;
  s.ExpectRefusal(function, s.All(), zelErrNullPtr);
  s.source = s.input;
  s.next = nullptr;
  s.ExpectRefusal(function, s.All(), zelErrNullPtr);
}

template <typename Out>
void ExpectNegativeCountsAreRefused(const Function<Out>& function) {
  for (const int32_t negative : {-1, INT_MIN}) {
    for (const zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushSync}) {
      Setting<Out> s;
      s.flush = flush;
      s.source_size = negative;
      s.ExpectRefusal(function, s.All(), zelErrSize);
      s.room = 0;  // would be zelWarnDstFull
      s.ExpectRefusal(function, s.All(), zelErrSize);
      s.room = negative;
      s.ExpectRefusal(function, s.All(), zelErrSize);
      s.source_size = 8;
      s.ExpectRefusal(function, s.All(), zelErrSize);
      s.source_size = 0;
      s.ExpectRefusal(function, s.All(), zelErrSize);
    }
  }
}

TEST(InflateStatus, ByteDecodersRefuseNullPointersFirst) {
  for (const auto& function : kByteDecoders) ExpectNullPointersAreRefused(function);
}

TEST(InflateStatus, PairDecodersRefuseNullPointersFirst) {
  for (const auto& function : kPairDecoders) ExpectNullPointersAreRefused(function);
}

TEST(InflateStatus, ByteDecodersRefuseNegativeCountsNext) {
  for (const auto& function : kByteDecoders) ExpectNegativeCountsAreRefused(function);
}

TEST(InflateStatus, PairDecodersRefuseNegativeCountsNext) {
  for (const auto& function : kPairDecoders) ExpectNegativeCountsAreRefused(function);
}

TEST(InflateStatus, ByteDecodersWithoutRoomAnswerDstFullBeforeTheyLookAtTheBlock) {
  for (const auto& function : kByteDecoders) {
    Setting<uint8_t> s;
    s.room = 0;
    s.ExpectRefusal(function, s.All(), zelWarnDstFull);
    s.source_size = 0;
    s.ExpectRefusal(function, s.All(), zelWarnDstFull);
  }
}

TEST(InflateStatus, HuffmanPairDecodersWithoutRoomAnswerDstFullBeforeTheyLookAtTheBlock) {
  for (const int i : {1, 2}) {
    Setting<zelLZ77Pair> s;
    s.room = 0;
    s.ExpectRefusal(kPairDecoders[i], s.All(), zelWarnDstFull);
    s.source_size = 0;
    s.ExpectRefusal(kPairDecoders[i], s.All(), zelWarnDstFull);
  }
}

TEST(InflateStatus, SyncScanComesBeforeTheRoom) {
  for (const zelLZ77FlushMode flush : {zelLZ77FlushSync, zelLZ77FlushFull}) {
    for (const int i : {1, 2}) {
      Setting<uint8_t> bytes;
      bytes.room = 0;
      bytes.flush = flush;
      EXPECT_EQ(kByteDecoders[i].call(bytes.All()), zelWarnSrcShort) << kByteDecoders[i].name;
      EXPECT_EQ(bytes.source_size, 0);
      Setting<zelLZ77Pair> pairs;
      pairs.room = 0;
      pairs.flush = flush;
      EXPECT_EQ(kPairDecoders[i].call(pairs.All()), zelWarnSrcShort) << kPairDecoders[i].name;
      EXPECT_EQ(pairs.source_size, 0);
    }
  }
}

TEST(InflateStatus, StoredBlockWithoutAnAnnouncementIsErr) {
  Setting<uint8_t> s;
  for (uint8_t header = 0; header < 8; ++header) {
    s.input[0] = header;
    s.ExpectRefusal(kByteDecoders[0], s.All(), zelErr);
  }
}

TEST(InflateStatus, StoredBlockAfterAnotherTypesAnnouncementIsErr) {
  for (uint8_t header = 2; header < 6; ++header) {
    Setting<uint8_t> s;
    s.input[0] = header;
    int32_t type = -1;
    ASSERT_EQ(zelsDecodeLZ77GetBlockType_8u(&s.source, &s.source_size, &type, s.record.get()), zelOk);
    s.ExpectRefusal(kByteDecoders[0], s.All(), zelErr);
  }
}

// Header bits in the order BFINAL, BTYPE: 0, 1 stored; 2, 3 fixed; 4, 5 dynamic; 6, 7 reserved.
template <typename Out>
void ExpectForeignHeadersAreRefused(const Function<Out>& function, uint8_t own) {
  for (uint8_t header = 0; header < 8; ++header) {
    if (header / 2 == own) continue;
    // With no bit left over from a block, and with one (the fixed block of 10 bits before takes 7 of the byte) or two.
    for (const int blocks : {0, 1, 2, 3}) {
      StreamBuilder built;
      for (int i = 0; i < blocks; ++i) built.Fixed().End();
      built.Bits(header, 3).Bits(0, 32).Bits(0, 8);
      const Bytes stream = built.stream();
      Setting<Out> s;
      s.source = stream.data();
      s.source_size = static_cast<int32_t>(stream.size());
      for (int i = 0; i < blocks; ++i) {
        uint8_t byte = 0;
        uint8_t* dst = &byte;
        int32_t room = 1;
        ASSERT_EQ(zelsDecodeLZ77FixedHuffFull_8u(&s.source, &s.source_size, &dst, &room, 0, s.record.get()), zelOk);
      }
      const uint8_t* const source = s.source;
      EXPECT_EQ(function.call(s.All()), zelErr) << function.name << " on header " << int{header};
      EXPECT_EQ(s.source, source);
      EXPECT_EQ(s.room, 4);
      // The header is still there for others.
      int32_t type = -1;
      ASSERT_EQ(zelsDecodeLZ77GetBlockType_8u(&s.source, &s.source_size, &type, s.record.get()), zelOk);
      static const int32_t kTypes[] = {zelLZ77HuffStored, zelLZ77HuffFixed, zelLZ77HuffDynamic, -1};
      EXPECT_EQ(type, kTypes[header / 2]) << function.name;
    }
  }
}

TEST(InflateStatus, AnotherTypesHeaderIsErrAndStaysWhereItIs) {
  ExpectForeignHeadersAreRefused(kPairDecoders[0], 0);
  ExpectForeignHeadersAreRefused(kPairDecoders[1], 1);
  ExpectForeignHeadersAreRefused(kPairDecoders[2], 2);
  ExpectForeignHeadersAreRefused(kByteDecoders[1], 1);
  ExpectForeignHeadersAreRefused(kByteDecoders[2], 2);
}

TEST(InflateStatus, HeaderlessInputIsSrcShort) {
  for (const int i : {1, 2}) {
    Setting<uint8_t> bytes;
    bytes.source_size = 0;
    EXPECT_EQ(kByteDecoders[i].call(bytes.All()), zelWarnSrcShort);
    EXPECT_EQ(bytes.room, 4);
  }
  for (const auto& function : kPairDecoders) {
    Setting<zelLZ77Pair> pairs;
    pairs.source_size = 0;
    EXPECT_EQ(function.call(pairs.All()), zelWarnSrcShort);
    EXPECT_EQ(pairs.room, 4);
  }
}

TEST(InflateStatus, GetBlockTypeRefusesNullPointersFirst) {
  const DecoderRecord record;
  const Bytes content = record.Content();
  const uint8_t input[1] = {0};
  const uint8_t* source = input;
  const uint8_t* none = nullptr;
  int32_t size = -1, type = 55;
  EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(nullptr, &size, &type, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&none, &size, &type, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, nullptr, &type, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, nullptr), zelErrNullPtr);
  EXPECT_EQ(source, input);
  EXPECT_EQ(size, -1);
  EXPECT_EQ(type, 55);
  EXPECT_EQ(record.Content(), content);
}

TEST(InflateStatus, GetBlockTypeRefusesANegativeCountNext) {
  const DecoderRecord record;
  const Bytes content = record.Content();
  const uint8_t input[1] = {0};
  const uint8_t* source = input;
  int32_t type = 55;
  for (int32_t size : {-1, INT_MIN}) {
    const int32_t before = size;
    EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, record.get()), zelErrSize);
    EXPECT_EQ(size, before);
  }
  EXPECT_EQ(source, input);
  EXPECT_EQ(type, 55);
  EXPECT_EQ(record.Content(), content);
}

TEST(InflateStatus, GetBlockTypeRefusesANegativeCountWithinABlock) {
  const DecoderRecord record;
  const uint8_t input[1] = {3};
  const uint8_t* source = input;
  int32_t size = 1, type = -1;
  ASSERT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, record.get()), zelOk);
  size = -1;
  EXPECT_EQ(zelsDecodeLZ77GetBlockType_8u(&source, &size, &type, record.get()), zelErrSize);
}

TEST(InflateStatus, ExpansionRefusesNullPointersFirst) {
  const DecoderRecord record;
  const Bytes content = record.Content();
  zelLZ77Pair pair = {'a', 0};
  zelLZ77Pair* pairs = &pair;
  zelLZ77Pair* no_pairs = nullptr;
  uint8_t byte = 0x77;
  uint8_t* dst = &byte;
  uint8_t* no_dst = nullptr;
  int32_t count = -1, room = -1;
  EXPECT_EQ(zelsDecodeLZ77_8u(nullptr, &count, &dst, &room, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, nullptr, &dst, &room, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, nullptr, &room, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &dst, nullptr, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &dst, &room, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(room, -1);
  count = 1;
  room = 1;
  EXPECT_EQ(zelsDecodeLZ77_8u(&no_pairs, &count, &dst, &room, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &no_dst, &room, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(room, 1);
  EXPECT_EQ(pairs, &pair);
  EXPECT_EQ(dst, &byte);
  EXPECT_EQ(byte, 0x77);
  EXPECT_EQ(record.Content(), content);
}

TEST(InflateStatus, ExpansionChecksCountsThenPairsThenRoom) {
  struct Case {
    int32_t count, room;
    zelStatus status;
  };
  static const Case kCases[] = {
      {-1, -1, zelErrSize}, {-1, 0, zelErrSize},      {0, -1, zelErrSize},      {1, -1, zelErrSize},
      {-1, 1, zelErrSize},  {INT_MIN, 1, zelErrSize}, {1, INT_MIN, zelErrSize}, {0, 0, zelOk},
      {0, 1, zelOk},        {1, 0, zelWarnDstFull},
  };
  for (const Case& c : kCases) {
    const DecoderRecord record;
    const Bytes content = record.Content();
    zelLZ77Pair pair = {'a', 0};
    zelLZ77Pair* pairs = &pair;
    uint8_t byte = 0x77;
    uint8_t* dst = &byte;
    int32_t count = c.count, room = c.room;
    EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &dst, &room, 0, record.get()), c.status) << c.count << " " << c.room;
    EXPECT_EQ(pairs, &pair);
    EXPECT_EQ(dst, &byte);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(room, c.room);
    EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(record.Content(), content);
  }
}

}  // namespace
}  // namespace zeldc_test
