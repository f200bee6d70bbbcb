// The run-length stage of the bzip2 format: statuses, edge cases, and the plain definition for every split.

#include <string.h>

#include <algorithm>

#include "bzip2/run_length_calls.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

zelRLEState_BZ2 FreshState() {
  zelRLEState_BZ2 state;
  memset(&state, 0xA5, sizeof(state));
  EXPECT_EQ(zelsEncodeRLEInit_BZ2_8u(&state), zelOk);
  return state;
}

RunLengthResult Encode(const Bytes& src, size_t room, zelRLEState_BZ2* state, Guard guard = Guard::kBehind) {
  return RunLengthCall(src, room, guard, [&](uint8_t** next, int32_t* src_len, uint8_t* dst, int32_t* dst_len) {
    return zelsEncodeRLE_BZ2_8u(next, src_len, dst, dst_len, state);
  });
}

Bytes Flush(zelRLEState_BZ2* state) {
  Bytes room(5, 0xEE);
  int32_t len = 5;
  EXPECT_EQ(zelsEncodeRLEFlush_BZ2_8u(room.data(), &len, state), zelOk);
  EXPECT_LE(len, 1);
  EXPECT_EQ(Slice(room, 1), Repeated(0xEE, 4));
  return Slice(room, 0, static_cast<size_t>(len));
}

Bytes EncodeAll(const Bytes& src, zelRLEState_BZ2* state) {
  Bytes out;
  if (!src.empty()) {
    const RunLengthResult result = Encode(src, 2 * src.size() + 10, state);
    EXPECT_EQ(result.status, zelOk);
    EXPECT_EQ(result.consumed, src.size());
    out = result.bytes;
  }
  return Joined({out, Flush(state)});
}

Bytes EncodeAll(const Bytes& src) {
  zelRLEState_BZ2 state = FreshState();
  return EncodeAll(src, &state);
}

RunLengthResult Decode(const Bytes& src, size_t room, Guard guard = Guard::kBehind) {
  return RunLengthCall(src, room, guard, zelsDecodeRLE_BZ2_8u);
}

bool AreEqual(const zelRLEState_BZ2& a, const zelRLEState_BZ2& b) { return memcmp(&a, &b, sizeof(a)) == 0; }

// The call gives what the plain definition gives, and leaves the same state.
testing::AssertionResult EncodesAsPlain(const Bytes& src, size_t room, zelRLEState_BZ2* state,
                                        Guard guard = Guard::kBehind) {
  zelRLEState_BZ2 expected_state = *state;
  const RunLengthResult expected = PlainEncodeBzip2(src, room, expected_state);
  const RunLengthResult got = Encode(src, room, state, guard);
  testing::AssertionResult alike = AreAlike(got, expected);
  if (!alike) return alike << ", " << src.size() << " bytes in a room of " << room;
  if (!AreEqual(*state, expected_state)) {
    return testing::AssertionFailure() << "wrong state, " << src.size() << " bytes in a room of " << room;
  }
  return alike;
}

}  // namespace

TEST(RunLengthStatus, GetSizeTells264) {
  int32_t size = 0;
  EXPECT_EQ(zelsRLEGetSize_BZ2_8u(&size), zelOk);
  EXPECT_EQ(size, 264);
  EXPECT_EQ(sizeof(zelRLEState_BZ2), 264u);
  EXPECT_EQ(zelsRLEGetSize_BZ2_8u(nullptr), zelErrNullPtr);
}

TEST(RunLengthStatus, InitWritesEveryField) {
  EXPECT_EQ(zelsEncodeRLEInit_BZ2_8u(nullptr), zelErrNullPtr);
  const zelRLEState_BZ2 state = FreshState();
  for (uint8_t flag : state.inUse) EXPECT_EQ(flag, 0);
  EXPECT_EQ(state.lastByte, -1);
  EXPECT_EQ(state.runLen, 0);
}

TEST(RunLengthStatus, InitAllocGivesAFreshState) {
  EXPECT_EQ(zelsEncodeRLEInitAlloc_BZ2_8u(nullptr), zelErrNullPtr);
  zelRLEState_BZ2* state = nullptr;
  ASSERT_EQ(zelsEncodeRLEInitAlloc_BZ2_8u(&state), zelOk);
  EXPECT_TRUE(AreEqual(*state, FreshState()));
  EXPECT_EQ(zelsRLEFree_BZ2_8u(state), zelOk);
}

TEST(RunLengthStatus, EncoderErrorsInTheirOrderChangeNothing) {
  Bytes bytes = {7, 7, 7};
  uint8_t* src = bytes.data();
  uint8_t* no_src = nullptr;
  int32_t src_len = 0, dst_len = 0;
  Bytes room(4, 0xEE);
  zelRLEState_BZ2 state = FreshState();
  EXPECT_EQ(zelsEncodeRLE_BZ2_8u(nullptr, &src_len, room.data(), &dst_len, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLE_BZ2_8u(&src, &src_len, nullptr, &dst_len, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLE_BZ2_8u(&src, nullptr, room.data(), &dst_len, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLE_BZ2_8u(&src, &src_len, room.data(), nullptr, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLE_BZ2_8u(&no_src, &src_len, room.data(), &dst_len, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLE_BZ2_8u(&src, &src_len, room.data(), &dst_len, nullptr), zelErrNullPtr);
  for (const auto& [source, destination] :
       {std::pair{0, 4}, {-1, 4}, {3, 0}, {3, -1}, {0, 0}, {INT32_MIN, INT32_MIN}}) {
    src_len = source;
    dst_len = destination;
    EXPECT_EQ(zelsEncodeRLE_BZ2_8u(&src, &src_len, room.data(), &dst_len, &state), zelErrSize);
    EXPECT_EQ(src_len, source);
    EXPECT_EQ(dst_len, destination);
  }
  EXPECT_EQ(src, bytes.data());
  EXPECT_EQ(room, Repeated(0xEE, 4));
  EXPECT_TRUE(AreEqual(state, FreshState()));
}

TEST(RunLengthStatus, FlushErrorsInTheirOrderChangeNothing) {
  zelRLEState_BZ2 state = FreshState();
  Encode(Repeated(7, 5), 10, &state);
  const zelRLEState_BZ2 before = state;
  Bytes room(4, 0xEE);
  int32_t len = 0;
  EXPECT_EQ(zelsEncodeRLEFlush_BZ2_8u(nullptr, &len, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLEFlush_BZ2_8u(room.data(), nullptr, &state), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeRLEFlush_BZ2_8u(room.data(), &len, nullptr), zelErrNullPtr);
  for (int32_t bad : {0, -1, INT32_MIN}) {
    len = bad;
    EXPECT_EQ(zelsEncodeRLEFlush_BZ2_8u(room.data(), &len, &state), zelErrSize);
    EXPECT_EQ(len, bad);
  }
  EXPECT_EQ(room, Repeated(0xEE, 4));
  EXPECT_TRUE(AreEqual(state, before));
}

TEST(RunLengthStatus, InUseTableErrors) {
  zelRLEState_BZ2 state = FreshState();
  Bytes table(256, 0xEE);
  EXPECT_EQ(zelsRLEGetInUseTable_8u(nullptr, &state), zelErrNullPtr);
  EXPECT_EQ(zelsRLEGetInUseTable_8u(table.data(), nullptr), zelErrNullPtr);
  EXPECT_EQ(table, Bytes(256, 0xEE));
}

TEST(RunLengthStatus, DecoderErrorsInTheirOrderChangeNothing) {
  Bytes bytes = {7, 7, 7};
  uint8_t* src = bytes.data();
  uint8_t* no_src = nullptr;
  int32_t src_len = -1, dst_len = 0;
  Bytes room(4, 0xEE);
  EXPECT_EQ(zelsDecodeRLE_BZ2_8u(nullptr, &src_len, room.data(), &dst_len), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeRLE_BZ2_8u(&src, &src_len, nullptr, &dst_len), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeRLE_BZ2_8u(&src, nullptr, room.data(), &dst_len), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeRLE_BZ2_8u(&src, &src_len, room.data(), nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeRLE_BZ2_8u(&no_src, &src_len, room.data(), &dst_len), zelErrNullPtr);
  for (const auto& [source, destination] : {std::pair{-1, 4}, {INT32_MIN, 4}, {3, 0}, {0, 0}, {0, -1}, {-1, -1}}) {
    src_len = source;
    dst_len = destination;
    EXPECT_EQ(zelsDecodeRLE_BZ2_8u(&src, &src_len, room.data(), &dst_len), zelErrSize);
    EXPECT_EQ(src_len, source);
    EXPECT_EQ(dst_len, destination);
  }
  EXPECT_EQ(src, bytes.data());
  EXPECT_EQ(room, Repeated(0xEE, 4));
}

TEST(RunLengthEncoder, RunThatEndsTheSourceWaitsForFlush) {
  zelRLEState_BZ2 state = FreshState();
  const RunLengthResult result = Encode(Repeated(7, 5), 100, &state);
  EXPECT_EQ(result.bytes, Repeated(7, 4));
  EXPECT_EQ(result.status, zelOk);
  EXPECT_EQ(state.runLen, 5);
  EXPECT_EQ(state.lastByte, 7);
  EXPECT_EQ(Flush(&state), Bytes{1});
  EXPECT_EQ(state.runLen, 0);
  EXPECT_EQ(state.lastByte, 7);
  EXPECT_EQ(state.inUse[1], 1);
  EXPECT_EQ(Flush(&state), Bytes{});
}

TEST(RunLengthEncoder, FlushBelowFourWritesNothing) {
  for (size_t run : {0, 1, 2, 3}) {
    zelRLEState_BZ2 state = FreshState();
    if (run > 0) Encode(Repeated(9, run), 100, &state);
    EXPECT_EQ(Flush(&state), Bytes{});
    EXPECT_EQ(state.runLen, static_cast<int32_t>(run));
  }
}

TEST(RunLengthEncoder, FourAndAnotherByte) {
  zelRLEState_BZ2 state = FreshState();
  EXPECT_EQ(Encode({7, 7, 7, 7, 8}, 100, &state).bytes, (Bytes{7, 7, 7, 7, 0, 8}));
  Bytes table(256, 0xEE);
  EXPECT_EQ(zelsRLEGetInUseTable_8u(table.data(), &state), zelOk);
  Bytes expected(256, 0);
  expected[0] = expected[7] = expected[8] = 1;
  EXPECT_EQ(table, expected);
}

TEST(RunLengthEncoder, RunsAroundTheLongest) {
  const Bytes four = Repeated(7, 4);
  EXPECT_EQ(EncodeAll(Joined({Repeated(7, 258), {8}})), Joined({four, {254, 8}}));
  EXPECT_EQ(EncodeAll(Joined({Repeated(7, 259), {8}})), Joined({four, {255, 8}}));
  EXPECT_EQ(EncodeAll(Joined({Repeated(7, 260), {8}})), Joined({four, {255, 7, 8}}));
  EXPECT_EQ(EncodeAll(Joined({Repeated(7, 263), {8}})), Joined({four, {255}, four, {0, 8}}));
  EXPECT_EQ(EncodeAll(Repeated(7, 259)), Joined({four, {255}}));
  EXPECT_EQ(EncodeAll(Repeated(7, 518)), Joined({four, {255}, four, {255}}));
}

TEST(RunLengthEncoder, FullDestinationStopsBeforeTheCount) {
  zelRLEState_BZ2 state = FreshState();
  const RunLengthResult first = Encode({7, 7, 7, 7, 7, 8}, 4, &state);
  EXPECT_EQ(first.bytes, Repeated(7, 4));
  EXPECT_EQ(first.consumed, 4u);
  EXPECT_EQ(first.status, zelWarnDstFull);
  EXPECT_EQ(state.runLen, 4);
  const RunLengthResult second = Encode({7, 8}, 1, &state);
  EXPECT_EQ(second.bytes, Bytes{1});
  EXPECT_EQ(second.consumed, 1u);
  EXPECT_EQ(second.status, zelWarnDstFull);
  EXPECT_EQ(Encode({8}, 1, &state).bytes, Bytes{8});
}

TEST(RunLengthEncoder, ByteEqualToTheLastAfterACountStartsAfresh) {
  zelRLEState_BZ2 state = FreshState();
  EXPECT_EQ(EncodeAll(Repeated(7, 4), &state), (Bytes{7, 7, 7, 7, 0}));
  EXPECT_EQ(EncodeAll(Repeated(7, 3), &state), (Bytes{7, 7, 7}));
  EXPECT_EQ(EncodeAll({7, 7}, &state), (Bytes{7, 1}));
}

TEST(RunLengthEncoder, IsThePlainDefinitionInEveryRoom) {
  for (const NamedData& input : RunLengthInputs(400)) {
    for (size_t room = 1; room <= 410; ++room) {
      zelRLEState_BZ2 state = FreshState();
      ASSERT_TRUE(EncodesAsPlain(input.data, room, &state)) << input.name;
    }
  }
}

TEST(RunLengthEncoder, EverySplitOfTheSourceIsTheWhole) {
  for (const NamedData& input : RunLengthInputs(400)) {
    zelRLEState_BZ2 whole = FreshState();
    const Bytes expected = EncodeAll(input.data, &whole);
    for (size_t at = 1; at < input.data.size(); ++at) {
      zelRLEState_BZ2 state = FreshState();
      Bytes got = Encode(Slice(input.data, 0, at), 1000, &state).bytes;
      got = Joined({got, Encode(Slice(input.data, at), 1000, &state).bytes, Flush(&state)});
      ASSERT_EQ(got, expected) << input.name << " split at " << at;
      ASSERT_TRUE(AreEqual(state, whole)) << input.name << " split at " << at;
    }
  }
}

TEST(RunLengthEncoder, AnyPiecesAndRoomsAreTheWhole) {
  Random random(3);
  for (const NamedData& input : RunLengthInputs(1000)) {
    const Bytes expected = EncodeAll(input.data);
    for (size_t largest : {1, 2, 3, 7, 100, 3000}) {
      zelRLEState_BZ2 state = FreshState();
      Bytes got;
      for (size_t done = 0; done < input.data.size();) {
        const Bytes piece = Slice(input.data, done, done + Uniform(random, 1, largest));
        zelRLEState_BZ2 before = state;
        const size_t room = Uniform(random, 1, largest);
        ASSERT_TRUE(EncodesAsPlain(piece, room, &state)) << input.name;
        const RunLengthResult result = PlainEncodeBzip2(piece, room, before);
        done += result.consumed;
        got = Joined({got, result.bytes});
      }
      ASSERT_EQ(Joined({got, Flush(&state)}), expected) << input.name << ", pieces to " << largest;
    }
  }
}

TEST(RunLengthEncoder, IsThePlainDefinitionOnLongData) {
  for (const NamedData& input : RunLengthInputs(40000)) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      zelRLEState_BZ2 state = FreshState();
      ASSERT_TRUE(EncodesAsPlain(input.data, 60000, &state, guard)) << input.name;
      ASSERT_TRUE(EncodesAsPlain(input.data, 9000, &state, guard)) << input.name << ", going on";
    }
  }
}

TEST(RunLengthEncoder, InUseIsWhatTheOutputHolds) {
  for (const NamedData& input : RunLengthInputs(10000)) {
    zelRLEState_BZ2 state = FreshState();
    const Bytes out = EncodeAll(input.data, &state);
    Bytes expected(256, 0);
    for (uint8_t byte : out) expected[byte] = 1;
    Bytes table(256);
    ASSERT_EQ(zelsRLEGetInUseTable_8u(table.data(), &state), zelOk);
    ASSERT_EQ(table, expected) << input.name;
  }
}

TEST(RunLengthEncoder, InUseOfSingleBytesAnywhere) {
  for (size_t len : {1, 15, 31, 32, 33, 64, 100, 8192, 8193}) {
    for (size_t at : {size_t{0}, len / 2, len - 1}) {
      Bytes bytes(len);
      for (size_t i = 0; i < len; ++i) bytes[i] = static_cast<uint8_t>(i % 2);
      bytes[at] = static_cast<uint8_t>(200 + len % 50);
      zelRLEState_BZ2 state = FreshState();
      ASSERT_TRUE(EncodesAsPlain(bytes, len, &state));
    }
  }
}

TEST(RunLengthEncoder, StateMayStandAtAnyAddress) {
  const Bytes bytes = Runs(3000, 300, 5);
  for (size_t offset = 0; offset < 8; ++offset) {
    const GuardedBuffer memory(sizeof(zelRLEState_BZ2) + offset, Guard::kBefore);
    zelRLEState_BZ2* const state = reinterpret_cast<zelRLEState_BZ2*>(memory.data() + offset);
    ASSERT_EQ(zelsEncodeRLEInit_BZ2_8u(state), zelOk);
    ASSERT_EQ(EncodeAll(bytes, state), EncodeAll(bytes));
    Bytes table(256), expected(256);
    zelRLEState_BZ2 aligned = FreshState();
    EncodeAll(bytes, &aligned);
    ASSERT_EQ(zelsRLEGetInUseTable_8u(expected.data(), &aligned), zelOk);
    ASSERT_EQ(zelsRLEGetInUseTable_8u(table.data(), state), zelOk);
    ASSERT_EQ(table, expected);
  }
}

TEST(RunLengthEncoder, AnyStateIsHarmless) {
  const Bytes bytes = Runs(3000, 300, 5);
  for (int32_t run : {-5, -1, 4, 200, 258, 259, 260, 100000, INT32_MAX, INT32_MIN}) {
    for (int32_t last : {-1, 0, 7, 255, 256, INT32_MAX, INT32_MIN}) {
      zelRLEState_BZ2 state = FreshState();
      state.runLen = run;
      state.lastByte = last;
      const RunLengthResult result = Encode(bytes, 5000, &state);
      EXPECT_EQ(result.consumed, bytes.size());
      state.runLen = run;
      Flush(&state);
    }
  }
}

TEST(RunLengthDecoder, CountTellsFurtherCopies) {
  EXPECT_EQ(Decode({7, 7, 7, 7, 3}, 100).bytes, Repeated(7, 7));
  EXPECT_EQ(Decode({7, 7, 7, 7, 0, 8}, 100).bytes, (Bytes{7, 7, 7, 7, 8}));
  EXPECT_EQ(Decode({7, 7, 7, 7, 255}, 259).bytes, Repeated(7, 259));
}

TEST(RunLengthDecoder, EmptySourceIsEmpty) {
  Bytes bytes = {1};
  uint8_t* src = bytes.data();
  uint8_t room = 0xEE;
  int32_t src_len = 0, dst_len = 1;
  EXPECT_EQ(zelsDecodeRLE_BZ2_8u(&src, &src_len, &room, &dst_len), zelOk);
  EXPECT_EQ(src, bytes.data());
  EXPECT_EQ(dst_len, 0);
  EXPECT_EQ(room, 0xEE);
}

TEST(RunLengthDecoder, MissingCount) {
  const RunLengthResult wide = Decode(Repeated(7, 4), 5);
  EXPECT_EQ(wide.bytes, Repeated(7, 4));
  EXPECT_EQ(wide.status, zelOk);
  const RunLengthResult narrow = Decode(Repeated(7, 4), 4);
  EXPECT_EQ(narrow.bytes, Repeated(7, 4));
  EXPECT_EQ(narrow.status, zelWarnDstFull);
}

TEST(RunLengthDecoder, ExactlyFullIsAWarning) {
  EXPECT_EQ(Decode({1, 2, 3}, 3).status, zelWarnDstFull);
  EXPECT_EQ(Decode({1, 2, 3}, 4).status, zelOk);
  EXPECT_EQ(Decode({7, 7, 7, 7, 3}, 7).status, zelWarnDstFull);
}

TEST(RunLengthDecoder, CountIsReadWhenTheFourthByteFillsTheDestination) {
  const RunLengthResult zero = Decode({7, 7, 7, 7, 0, 8}, 4);
  EXPECT_EQ(zero.bytes, Repeated(7, 4));
  EXPECT_EQ(zero.consumed, 5u);
  EXPECT_EQ(zero.status, zelWarnDstFull);
  const RunLengthResult three = Decode({7, 7, 7, 7, 3, 8}, 4);
  EXPECT_EQ(three.bytes, Repeated(7, 4));
  EXPECT_EQ(three.consumed, 5u);
  EXPECT_EQ(three.status, zelWarnDstFull);
}

TEST(RunLengthDecoder, CopiesThatDoNotFitAreLostWithTheirCount) {
  const RunLengthResult result = Decode({1, 7, 7, 7, 7, 3, 8}, 7);
  EXPECT_EQ(result.bytes, (Bytes{1, 7, 7, 7, 7}));
  EXPECT_EQ(result.consumed, 6u);
  EXPECT_EQ(result.status, zelWarnDstFull);
}

TEST(RunLengthDecoder, EqualBytesAfterACountStartAfresh) {
  EXPECT_EQ(Decode({7, 7, 7, 7, 1, 7, 7, 7, 7, 2}, 100).bytes, Repeated(7, 11));
  EXPECT_EQ(Decode({7, 7, 7, 7, 7, 7, 7, 8}, 100).bytes, Joined({Repeated(7, 13), {8}}));
}

TEST(RunLengthDecoder, IsThePlainDefinitionInEveryRoom) {
  for (const NamedData& input : RunLengthInputs(400)) {
    const Bytes encoded = EncodeAll(input.data);
    for (size_t room = 1; room <= 410; ++room) {
      ASSERT_TRUE(AreAlike(Decode(encoded, room), PlainDecodeBzip2(encoded, room))) << input.name << " " << room;
      ASSERT_TRUE(AreAlike(Decode(input.data, room), PlainDecodeBzip2(input.data, room))) << input.name << " " << room;
    }
  }
}

TEST(RunLengthDecoder, AnyBytesInAnyRoom) {
  Random random(6);
  for (int round = 0; round < 3000; ++round) {
    const Bytes bytes = Runs(Uniform(random, 1, 600), Uniform(random, 1, 12), random());
    const size_t room = Uniform(random, 1, round % 2 ? 300 : 30000);
    const Guard guard = round % 4 < 2 ? Guard::kBehind : Guard::kBefore;
    ASSERT_TRUE(AreAlike(Decode(bytes, room, guard), PlainDecodeBzip2(bytes, room))) << round;
  }
}

TEST(RunLength, RoundTripOfDataOfEveryKind) {
  for (const NamedData& input : RunLengthInputs(30000)) {
    const RunLengthResult back = Decode(EncodeAll(input.data), input.data.size() + 1);
    ASSERT_EQ(back.bytes, input.data) << input.name;
    ASSERT_EQ(back.status, zelOk);
    ASSERT_EQ(Decode(EncodeAll(input.data), input.data.size()).bytes, input.data) << input.name;
  }
}
