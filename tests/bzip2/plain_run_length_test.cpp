// Plain run-length coding: statuses, edge cases, and the plain definition for every split.

#include <algorithm>

#include "bzip2/run_length_calls.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Coder = zelStatus (*)(uint8_t**, int32_t*, uint8_t*, int32_t*);

RunLengthResult Encode(const Bytes& src, size_t room, Guard guard = Guard::kBehind) {
  return RunLengthCall(src, room, guard, zelsEncodeRLE_8u);
}

RunLengthResult Decode(const Bytes& src, size_t room, Guard guard = Guard::kBehind) {
  return RunLengthCall(src, room, guard, zelsDecodeRLE_8u);
}

Bytes EncodeAll(const Bytes& src) {
  const RunLengthResult result = Encode(src, 2 * src.size() + 2);
  EXPECT_EQ(result.status, zelOk);
  EXPECT_EQ(result.consumed, src.size());
  return result.bytes;
}

}  // namespace

TEST(PlainRunLengthStatus, ErrorsInTheirOrderChangeNothing) {
  for (Coder coder : {zelsEncodeRLE_8u, zelsDecodeRLE_8u}) {
    Bytes bytes = {7, 7, 7};
    uint8_t* src = bytes.data();
    uint8_t* no_src = nullptr;
    int32_t src_len = 0, dst_len = 0;
    Bytes room(4, 0xEE);
    EXPECT_EQ(coder(nullptr, &src_len, room.data(), &dst_len), zelErrNullPtr);
    EXPECT_EQ(coder(&src, &src_len, nullptr, &dst_len), zelErrNullPtr);
    EXPECT_EQ(coder(&src, nullptr, room.data(), &dst_len), zelErrNullPtr);
    EXPECT_EQ(coder(&src, &src_len, room.data(), nullptr), zelErrNullPtr);
    EXPECT_EQ(coder(&no_src, &src_len, room.data(), &dst_len), zelErrNullPtr);
    for (const auto& [source, destination] : {std::pair{0, 4}, {-1, 4}, {3, 0}, {3, -1}, {0, 0}, {INT32_MIN, 1}}) {
      src_len = source;
      dst_len = destination;
      EXPECT_EQ(coder(&src, &src_len, room.data(), &dst_len), zelErrSize);
      EXPECT_EQ(src_len, source);
      EXPECT_EQ(dst_len, destination);
    }
    EXPECT_EQ(src, bytes.data());
    EXPECT_EQ(room, Repeated(0xEE, 4));
  }
}

TEST(PlainRunLengthEncoder, PairsHaveACount) {
  EXPECT_EQ(EncodeAll({5, 5, 5, 5}), (Bytes{5, 5, 2}));
  EXPECT_EQ(EncodeAll({5, 5}), (Bytes{5, 5, 0}));
  EXPECT_EQ(EncodeAll({5}), (Bytes{5}));
  EXPECT_EQ(EncodeAll({5, 6, 5, 5, 6}), (Bytes{5, 6, 5, 5, 0, 6}));
}

TEST(PlainRunLengthEncoder, RunsAroundTheLongest) {
  EXPECT_EQ(EncodeAll(Repeated(5, 256)), (Bytes{5, 5, 254}));
  EXPECT_EQ(EncodeAll(Repeated(5, 257)), (Bytes{5, 5, 255}));
  EXPECT_EQ(EncodeAll(Repeated(5, 258)), (Bytes{5, 5, 255, 5}));
  EXPECT_EQ(EncodeAll(Repeated(5, 259)), (Bytes{5, 5, 255, 5, 5, 0}));
  EXPECT_EQ(EncodeAll(Repeated(5, 514)), (Bytes{5, 5, 255, 5, 5, 255}));
  EXPECT_EQ(EncodeAll(Joined({Repeated(5, 258), {6, 6}})), (Bytes{5, 5, 255, 5, 6, 6, 0}));
}

TEST(PlainRunLengthEncoder, PairWithoutRoomForItsCountStaysInTheSource) {
  const RunLengthResult result = Encode({1, 5, 5, 5}, 3);
  EXPECT_EQ(result.bytes, Bytes{1});
  EXPECT_EQ(result.consumed, 1u);
  EXPECT_EQ(result.status, zelWarnDstFull);
}

TEST(PlainRunLengthEncoder, RoomThatEndsWithinAPairLeavesAllOfItInTheSource) {
  const RunLengthResult result = Encode({1, 5, 5, 5}, 2);
  EXPECT_EQ(result.bytes, Bytes{1});
  EXPECT_EQ(result.consumed, 1u);
  EXPECT_EQ(result.status, zelWarnDstFull);
}

TEST(PlainRunLengthEncoder, CountMayTakeTheLastByteOfTheRoom) {
  const RunLengthResult result = Encode({5, 5, 5, 5, 6}, 3);
  EXPECT_EQ(result.bytes, (Bytes{5, 5, 2}));
  EXPECT_EQ(result.consumed, 4u);
  EXPECT_EQ(result.status, zelWarnDstFull);
  EXPECT_EQ(Encode({5, 5, 5, 5}, 3).status, zelOk);
}

TEST(PlainRunLengthEncoder, IsThePlainDefinitionInEveryRoom) {
  for (const NamedData& input : RunLengthInputs(400)) {
    for (size_t room = 1; room <= 620; room = room < 420 ? room + 1 : room + 7) {
      ASSERT_TRUE(AreAlike(Encode(input.data, room), PlainEncodePairs(input.data, room))) << input.name << " " << room;
    }
  }
}

TEST(PlainRunLengthEncoder, IsThePlainDefinitionOnLongData) {
  for (const NamedData& input : RunLengthInputs(30000)) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      for (size_t room : {1000, 29999, 60000}) {
        ASSERT_TRUE(AreAlike(Encode(input.data, room, guard), PlainEncodePairs(input.data, room))) << input.name;
      }
    }
  }
}

// However the room is cut, the pieces make one stream.
TEST(PlainRunLengthEncoder, CallsInAnyRoomsMakeOneStream) {
  Random random(3);
  for (const NamedData& input : RunLengthInputs(3000)) {
    for (size_t largest : {3, 4, 9, 300}) {
      Bytes stream;
      for (size_t done = 0; done < input.data.size();) {
        const RunLengthResult result = Encode(Slice(input.data, done), Uniform(random, 3, largest));
        ASSERT_GT(result.consumed, 0u);
        ASSERT_EQ(result.status, done + result.consumed == input.data.size() ? zelOk : zelWarnDstFull);
        done += result.consumed;
        stream = Joined({stream, result.bytes});
      }
      const RunLengthResult back = Decode(stream, input.data.size());
      ASSERT_EQ(back.bytes, input.data) << input.name << ", rooms to " << largest;
      ASSERT_EQ(back.status, zelOk);
    }
  }
}

TEST(PlainRunLengthDecoder, CountTellsFurtherCopies) {
  EXPECT_EQ(Decode({5, 5, 2}, 100).bytes, Repeated(5, 4));
  EXPECT_EQ(Decode({5, 5, 0, 5, 6}, 100).bytes, (Bytes{5, 5, 5, 6}));
  EXPECT_EQ(Decode({5, 5, 255}, 257).bytes, Repeated(5, 257));
}

TEST(PlainRunLengthDecoder, MissingCountMeansNoCopies) {
  const RunLengthResult result = Decode({6, 5, 5}, 3);
  EXPECT_EQ(result.bytes, (Bytes{6, 5, 5}));
  EXPECT_EQ(result.status, zelOk);
}

TEST(PlainRunLengthDecoder, CopiesThatDoNotFitLeaveTheThreeBytes) {
  for (size_t room : {1, 2, 3, 4, 5}) {
    const RunLengthResult result = Decode({6, 5, 5, 3, 7}, room);
    EXPECT_EQ(result.bytes, Bytes{6}) << room;
    EXPECT_EQ(result.consumed, 1u) << room;
    EXPECT_EQ(result.status, zelWarnDstFull) << room;
  }
  EXPECT_EQ(Decode({6, 5, 5, 3, 7}, 6).consumed, 4u);
  EXPECT_EQ(Decode({6, 5, 5, 0, 7}, 3).consumed, 4u);
}

TEST(PlainRunLengthDecoder, IsThePlainDefinitionInEveryRoom) {
  for (const NamedData& input : RunLengthInputs(400)) {
    const Bytes encoded = EncodeAll(input.data);
    for (size_t room = 1; room <= 410; ++room) {
      ASSERT_TRUE(AreAlike(Decode(encoded, room), PlainDecodePairs(encoded, room))) << input.name << " " << room;
      ASSERT_TRUE(AreAlike(Decode(input.data, room), PlainDecodePairs(input.data, room))) << input.name << " " << room;
    }
  }
}

TEST(PlainRunLengthDecoder, AnyBytesInAnyRoom) {
  Random random(6);
  for (int round = 0; round < 3000; ++round) {
    const Bytes bytes = Runs(Uniform(random, 1, 600), Uniform(random, 1, 12), random());
    const size_t room = Uniform(random, 1, round % 2 ? 300 : 30000);
    const Guard guard = round % 4 < 2 ? Guard::kBehind : Guard::kBefore;
    ASSERT_TRUE(AreAlike(Decode(bytes, room, guard), PlainDecodePairs(bytes, room))) << round;
  }
}

// What is left of one call is what the next one needs.
TEST(PlainRunLengthDecoder, CallsInAnyRoomsGiveTheWhole) {
  Random random(7);
  for (const NamedData& input : RunLengthInputs(3000)) {
    const Bytes stream = EncodeAll(input.data);
    Bytes got;
    for (size_t done = 0; done < stream.size();) {
      const RunLengthResult result = Decode(Slice(stream, done), Uniform(random, 257, 600));
      ASSERT_GT(result.consumed, 0u);
      done += result.consumed;
      got = Joined({got, result.bytes});
    }
    ASSERT_EQ(got, input.data) << input.name;
  }
}

TEST(PlainRunLength, RoundTripOfDataOfEveryKind) {
  for (const NamedData& input : RunLengthInputs(30000)) {
    const RunLengthResult back = Decode(EncodeAll(input.data), input.data.size());
    ASSERT_EQ(back.bytes, input.data) << input.name;
    ASSERT_EQ(back.status, zelOk);
  }
}
