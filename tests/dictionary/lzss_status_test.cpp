// Every status of the LZSS functions, in the order in which they are found.

#include <string.h>

#include "dictionary/lzss_calls.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

// The arguments of a coding call, valid ones, to be spoilt one by one.
struct Arguments {
  explicit Arguments(LzssKind kind) : record(kind), state(record.get()) {}

  LzssRecord record;
  uint8_t source[4] = {0x80, 0x40, 0x20, 0x10};
  uint8_t room[64] = {};
  uint8_t* src = source;
  uint8_t* dst = room;
  int32_t src_len = 4;
  int32_t dst_len = 64;
  uint8_t** src_ref = &src;
  uint8_t** dst_ref = &dst;
  int32_t* src_len_ref = &src_len;
  int32_t* dst_len_ref = &dst_len;
  zelLZSSState* state;

  zelStatus Encode() { return zelsEncodeLZSS_8u(src_ref, src_len_ref, dst_ref, dst_len_ref, state); }
  zelStatus Flush() { return zelsEncodeLZSSFlush_8u(dst_ref, dst_len_ref, state); }
  zelStatus Decode() { return zelsDecodeLZSS_8u(src_ref, src_len_ref, dst_ref, dst_len_ref, state); }
};

// A call that answers an error because of its arguments changes nothing.
void ExpectRefused(LzssKind kind, zelStatus (Arguments::*call)(), void (*spoil)(Arguments&), zelStatus expected,
                   const char* what) {
  SCOPED_TRACE(what);
  Arguments a(kind);
  spoil(a);
  const Bytes before = a.record.Content();
  const int32_t src_len = a.src_len, dst_len = a.dst_len;
  uint8_t* const src = a.src;
  uint8_t* const dst = a.dst;
  EXPECT_EQ((a.*call)(), expected);
  EXPECT_EQ(a.record.Content(), before);
  EXPECT_EQ(a.src_len, src_len);
  EXPECT_EQ(a.dst_len, dst_len);
  EXPECT_EQ(a.src, src);
  EXPECT_EQ(a.dst, dst);
  for (const uint8_t byte : a.room) EXPECT_EQ(byte, 0);
}

constexpr LzssKind kEncoder = LzssKind::kEncoder;
constexpr LzssKind kDecoder = LzssKind::kDecoder;

}  // namespace

TEST(LzssStatus, GetSize) {
  EXPECT_EQ(zelsLZSSGetSize_8u(nullptr), zelErrNullPtr);
  int32_t size = 0;
  EXPECT_EQ(zelsLZSSGetSize_8u(&size), zelOk);
  EXPECT_EQ(size, 327724);
}

TEST(LzssStatus, Init) {
  EXPECT_EQ(zelsEncodeLZSSInit_8u(nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZSSInit_8u(nullptr), zelErrNullPtr);
}

TEST(LzssStatus, InitAlloc) {
  EXPECT_EQ(zelsEncodeLZSSInitAlloc_8u(nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZSSInitAlloc_8u(nullptr), zelErrNullPtr);
  zelLZSSState* state = nullptr;
  ASSERT_EQ(zelsEncodeLZSSInitAlloc_8u(&state), zelOk);
  EXPECT_EQ(LzssEncodeCall(state, ToBytes("ab"), 10).bytes, (Bytes{0xB0, 0xD8}));
  EXPECT_EQ(zelsLZSSFree_8u(state), zelOk);
  ASSERT_EQ(zelsDecodeLZSSInitAlloc_8u(&state), zelOk);
  EXPECT_EQ(LzssDecodeCall(state, {0xB0, 0xD8, 0x80}, 10).bytes, ToBytes("ab"));
  EXPECT_EQ(zelsLZSSFree_8u(state), zelOk);
}

TEST(LzssStatus, EncoderRefuses) {
  const auto encode = &Arguments::Encode;
  auto null = [&](void (*spoil)(Arguments&), const char* what) {
    ExpectRefused(kEncoder, encode, spoil, zelErrNullPtr, what);
  };
  null([](Arguments& a) { a.src_ref = nullptr; }, "ppSrc");
  null([](Arguments& a) { a.src_len_ref = nullptr; }, "pSrcLen");
  null([](Arguments& a) { a.dst_ref = nullptr; }, "ppDst");
  null([](Arguments& a) { a.dst_len_ref = nullptr; }, "pDstLen");
  null([](Arguments& a) { a.state = nullptr; }, "pState");
  null([](Arguments& a) { a.src = nullptr; }, "*ppSrc");
  null([](Arguments& a) { a.dst = nullptr; }, "*ppDst");
  null([](Arguments& a) { a.state = nullptr, a.dst_len = -1; }, "pointers before counts");
  auto size = [&](void (*spoil)(Arguments&), const char* what) {
    ExpectRefused(kEncoder, encode, spoil, zelErrSize, what);
  };
  size([](Arguments& a) { a.src_len = -1; }, "source below 0");
  size([](Arguments& a) { a.dst_len = -1; }, "room below 0");
  size([](Arguments& a) { a.dst_len = INT32_MIN, a.src_len = 0; }, "room below 0, no source");
  size([](Arguments& a) { a.dst_len = 0, a.src_len = -1; }, "source below 0, no room");
  ExpectRefused(
      kDecoder, encode, [](Arguments&) {}, zelErr, "a decoder's record");
}

TEST(LzssStatus, EncoderWithoutRoomIsFullEvenWithoutInput) {
  const auto encode = &Arguments::Encode;
  ExpectRefused(
      kEncoder, encode, [](Arguments& a) { a.dst_len = 0; }, zelWarnDstFull, "input");
  ExpectRefused(
      kEncoder, encode, [](Arguments& a) { a.dst_len = 0, a.src_len = 0; }, zelWarnDstFull, "no input");
  ExpectRefused(
      kEncoder, encode, [](Arguments& a) { a.dst_len = 0, a.dst = nullptr; }, zelWarnDstFull, "null room");
}

TEST(LzssStatus, EncoderWithoutInputDoesNothing) {
  const auto encode = &Arguments::Encode;
  ExpectRefused(
      kEncoder, encode, [](Arguments& a) { a.src_len = 0; }, zelOk, "no input");
  ExpectRefused(
      kEncoder, encode, [](Arguments& a) { a.src_len = 0, a.src = nullptr; }, zelOk, "null input");
}

TEST(LzssStatus, FlushRefuses) {
  const auto flush = &Arguments::Flush;
  auto null = [&](void (*spoil)(Arguments&), const char* what) {
    ExpectRefused(kEncoder, flush, spoil, zelErrNullPtr, what);
  };
  null([](Arguments& a) { a.dst_ref = nullptr; }, "ppDst");
  null([](Arguments& a) { a.dst_len_ref = nullptr; }, "pDstLen");
  null([](Arguments& a) { a.state = nullptr; }, "pState");
  null([](Arguments& a) { a.dst = nullptr; }, "*ppDst");
  null([](Arguments& a) { a.state = nullptr, a.dst_len = 0; }, "pointers before counts");
  ExpectRefused(
      kEncoder, flush, [](Arguments& a) { a.dst_len = 0; }, zelErrSize, "no room");
  ExpectRefused(
      kEncoder, flush, [](Arguments& a) { a.dst_len = -1; }, zelErrSize, "room below 0");
  ExpectRefused(
      kDecoder, flush, [](Arguments&) {}, zelErr, "a decoder's record");
  ExpectRefused(
      kEncoder, flush, [](Arguments&) {}, zelOk, "nothing waits");
}

TEST(LzssStatus, DecoderRefuses) {
  const auto decode = &Arguments::Decode;
  auto null = [&](void (*spoil)(Arguments&), const char* what) {
    ExpectRefused(kDecoder, decode, spoil, zelErrNullPtr, what);
  };
  null([](Arguments& a) { a.src_ref = nullptr; }, "ppSrc");
  null([](Arguments& a) { a.src_len_ref = nullptr; }, "pSrcLen");
  null([](Arguments& a) { a.dst_ref = nullptr; }, "ppDst");
  null([](Arguments& a) { a.dst_len_ref = nullptr; }, "pDstLen");
  null([](Arguments& a) { a.state = nullptr; }, "pState");
  null([](Arguments& a) { a.src = nullptr; }, "*ppSrc");
  null([](Arguments& a) { a.dst = nullptr; }, "*ppDst");
  auto size = [&](void (*spoil)(Arguments&), const char* what) {
    ExpectRefused(kDecoder, decode, spoil, zelErrSize, what);
  };
  size([](Arguments& a) { a.dst_len = 0; }, "no room");
  size([](Arguments& a) { a.dst_len = -1; }, "room below 0");
  size([](Arguments& a) { a.src_len = -1; }, "source below 0");
  size([](Arguments& a) { a.dst_len = 0, a.state = nullptr; }, "counts before the record");
  size([](Arguments& a) { a.dst_len = 0, a.src_ref = nullptr; }, "counts before ppSrc");
  size([](Arguments& a) { a.dst_len = 0, a.dst_ref = nullptr; }, "counts before ppDst");
  ExpectRefused(
      kEncoder, decode, [](Arguments&) {}, zelErr, "an encoder's record");
}

TEST(LzssStatus, DecoderWithoutInputDoesNothing) {
  const auto decode = &Arguments::Decode;
  ExpectRefused(
      kDecoder, decode, [](Arguments& a) { a.src_len = 0, a.src = nullptr; }, zelOk, "no input");
}

// A record is the caller's memory: whatever it holds, no call leaves it or the buffers.
TEST(LzssDamage, ARecordOfAnyContentHarmsNothingElse) {
  Random random(5);
  for (int round = 0; round < 120; ++round) {
    const LzssKind kind = round % 2 ? kEncoder : kDecoder;
    const LzssRecord record(kind, 0xA5, round % 4 < 2 ? Guard::kBehind : Guard::kBefore);
    uint8_t* const bytes = reinterpret_cast<uint8_t*>(record.get());
    for (int call = 0; call < 6; ++call) {
      // Behind the first word, which says what the record is: the head's fields, a few bytes anywhere, or all.
      const size_t last = call % 3 == 0 ? 32 : kLzssRecordSize - 1;
      for (size_t n = call == 4 ? kLzssRecordSize : Uniform(random, 0, 8); n > 0; --n) {
        bytes[Uniform(random, 4, last)] = static_cast<uint8_t>(random());
      }
      const GuardedBuffer source(call % 2 ? Text(Uniform(random, 1, 3000), random())
                                          : RandomBytes(Uniform(random, 1, 3000), random()));
      const GuardedBuffer room(Uniform(random, 1, 40000));
      uint8_t* src = source.data();
      uint8_t* dst = room.data();
      int32_t src_len = static_cast<int32_t>(source.size()), dst_len = static_cast<int32_t>(room.size());
      if (kind == kEncoder) {
        zelsEncodeLZSS_8u(&src, &src_len, &dst, &dst_len, record.get());
        zelsEncodeLZSSFlush_8u(&dst, &dst_len, record.get());
      } else {
        zelsDecodeLZSS_8u(&src, &src_len, &dst, &dst_len, record.get());
      }
      ASSERT_EQ(src + src_len, source.end());
      ASSERT_EQ(dst + dst_len, room.end());
      ASSERT_GE(src_len, 0);
      ASSERT_GE(dst_len, 0);
    }
  }
}

TEST(LzssDamage, AHistoryThatCannotBeIsRefused) {
  // The number of bytes in the window stands behind the five words of the decoder's head.
  for (const int32_t fill : {-1, 2 * 32768 + 1, INT32_MAX, INT32_MIN}) {
    Arguments a(kDecoder);
    memcpy(reinterpret_cast<uint8_t*>(a.state) + 20, &fill, sizeof(fill));
    EXPECT_EQ(a.Decode(), zelErr) << fill;
    EXPECT_EQ(a.src_len, 4);
    EXPECT_EQ(a.dst_len, 64);
  }
}
