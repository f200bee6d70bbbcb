// The statuses of the one-call decoder in their order, and that a call which answers one of its arguments has changed
// nothing.

#include <string.h>

#include <functional>

#include "gtest/gtest.h"
#include "inflate/one_call.h"

namespace zeldc_test {
namespace {

Bytes ContentOf(const zelInflateState& record) {
  const uint8_t* const bytes = reinterpret_cast<const uint8_t*>(&record);
  return Bytes(bytes, bytes + sizeof(record));
}

std::vector<uint16_t> SomeLengths(size_t lit_lens, size_t distances) {
  std::vector<uint16_t> lengths(lit_lens + distances, 0);
  for (size_t i = 0; i < lit_lens; ++i) lengths[i] = 9;
  lengths[lit_lens] = 1;
  return lengths;
}

class OneCallBuildStatus : public testing::Test {
 protected:
  void ExpectRefusal(const uint16_t* lengths, uint32_t lit_lens, uint32_t distances, zelStatus status) {
    zelInflateState record = RandomRecord(random_);
    const Bytes before = ContentOf(record);
    EXPECT_EQ(zelsInflateBuildHuffTable(lengths, lit_lens, distances, &record), status);
    EXPECT_TRUE(ContentOf(record) == before);
  }

  Random random_{1};
};

TEST_F(OneCallBuildStatus, NullPointersComeFirst) {
  const std::vector<uint16_t> lengths = SomeLengths(286, 30);
  ExpectRefusal(nullptr, 300, 31, zelErrNullPtr);
  EXPECT_EQ(zelsInflateBuildHuffTable(lengths.data(), 300, 31, nullptr), zelErrNullPtr);
}

TEST_F(OneCallBuildStatus, TooManyLengthsComeBeforeTheirContent) {
  std::vector<uint16_t> none(400, 0);
  ExpectRefusal(none.data(), 287, 30, zelErrSize);
  ExpectRefusal(none.data(), 286, 31, zelErrSize);
  ExpectRefusal(none.data(), 0xFFFFFFFF, 1, zelErrSize);
  ExpectRefusal(none.data(), 257, 0x80000000, zelErrSize);
}

TEST_F(OneCallBuildStatus, AlphabetsWithoutCodesAreBadData) {
  std::vector<uint16_t> lengths = SomeLengths(286, 30);
  std::vector<uint16_t> no_distances(lengths.begin(), lengths.begin() + 286);
  no_distances.resize(316, 0);
  ExpectRefusal(no_distances.data(), 286, 30, zelErrBadData);  // even if the block would use no matches
  ExpectRefusal(lengths.data(), 286, 0, zelErrBadData);
  std::fill(lengths.begin(), lengths.begin() + 286, uint16_t{0});
  ExpectRefusal(lengths.data(), 286, 30, zelErrBadData);
  ExpectRefusal(lengths.data() + 286, 0, 30, zelErrBadData);
}

TEST_F(OneCallBuildStatus, LengthsAboveFifteenAreBadData) {
  for (const size_t at : {0, 256, 285, 286, 315}) {
    for (const uint16_t length : std::initializer_list<uint16_t>{16, 255, 265, 0xFFFF}) {
      std::vector<uint16_t> lengths = SomeLengths(286, 30);
      lengths[at] = length;
      ExpectRefusal(lengths.data(), 286, 30, zelErrBadData);
    }
  }
}

TEST_F(OneCallBuildStatus, ShortFormNeedsACodeForTheEndOfTheBlock) {
  std::vector<uint16_t> lengths = SomeLengths(257, 1);
  zelInflateState record = RandomRecord(random_);
  const uint32_t form = record.tableForm;
  lengths[256] = 0;
  EXPECT_EQ(zelsInflateBuildHuffTable(lengths.data(), 257, 1, &record), zelErrBadData);
  EXPECT_EQ(record.maxLitBits, 9u);
  EXPECT_EQ(record.maxDistBits, 1u);
  EXPECT_EQ(record.tableForm, form);
  lengths = SomeLengths(256, 1);
  EXPECT_EQ(zelsInflateBuildHuffTable(lengths.data(), 256, 1, &record), zelErrBadData);
  EXPECT_EQ(record.tableForm, form);
}

TEST_F(OneCallBuildStatus, GeneralFormDoesNotAskForTheEndOfTheBlock) {
  std::vector<uint16_t> lengths = SomeLengths(256, 1);
  lengths[3] = 12;
  zelInflateState record = RandomRecord(random_);
  EXPECT_EQ(zelsInflateBuildHuffTable(lengths.data(), 256, 1, &record), zelOk);
  EXPECT_EQ(record.tableForm, uint32_t{zelInflateGeneral});
}

// A call of zelsInflate_8u with everything in order: a fixed block of 'a' and its end.
struct Call {
  Call() {
    record.tableForm = zelInflateFixed;
    record.window = window;
    record.windowSize = sizeof(window);
    memset(out, 0x77, sizeof(out));
    memset(window, 0x55, sizeof(window));
  }

  zelStatus Run() {
    return zelsInflate_8u(null == 0 ? nullptr : &src, null == 1 ? nullptr : &src_len, null == 2 ? nullptr : &bits,
                          null == 3 ? nullptr : &bit_count, window_fill, null == 4 ? nullptr : &dst,
                          null == 5 ? nullptr : &dst_len, 0, null == 6 ? nullptr : &mode,
                          null == 7 ? nullptr : &record);
  }

  void ExpectRefusal(zelStatus status) {
    const Call before = *this;
    EXPECT_EQ(Run(), status);
    EXPECT_EQ(src, before.src);
    EXPECT_EQ(src_len, before.src_len);
    EXPECT_EQ(bits, before.bits);
    EXPECT_EQ(bit_count, before.bit_count);
    EXPECT_EQ(dst, before.dst);
    EXPECT_EQ(dst_len, before.dst_len);
    EXPECT_EQ(mode, before.mode);
    EXPECT_TRUE(ContentOf(record) == ContentOf(before.record));
    for (uint8_t byte : out) EXPECT_EQ(byte, 0x77);
  }

  int null = -1;  // the argument that is a null pointer
  Random random{2};
  zelInflateState record = RandomRecord(random);
  const uint8_t* input = reinterpret_cast<const uint8_t*>("\x89\x00");  // the codes of 'a' and of the block's end
  const uint8_t* src = input;
  uint32_t src_len = 2;
  uint32_t bits = 0, bit_count = 0;
  uint8_t window[10];
  uint32_t window_fill = 10;
  uint8_t out[4];
  uint8_t* dst = out;
  uint32_t dst_len = 4;
  int32_t mode = 1;
};

TEST(OneCallStatus, TheCallOfTheseTestsIsInOrder) {
  Call call;
  EXPECT_EQ(call.Run(), zelOk);
  EXPECT_EQ(call.mode, 0);
  EXPECT_EQ(call.dst, call.out + 1);
  EXPECT_EQ(call.dst_len, 3u);
  EXPECT_EQ(call.out[0], 'a');
  EXPECT_EQ(call.src_len, 0u);
  EXPECT_EQ(call.bit_count, 1u);
  EXPECT_EQ(call.bits, 0u);
}

TEST(OneCallStatus, NullPointersComeFirst) {
  for (int null = 0; null < 8; ++null) {
    Call call;
    call.null = null;
    call.bit_count = 33;
    call.window_fill = 11;
    call.record.tableForm = 3;
    call.ExpectRefusal(zelErrNullPtr);
  }
  Call no_source;
  no_source.src = nullptr;
  no_source.src_len = 0;
  no_source.bit_count = 33;
  no_source.ExpectRefusal(zelErrNullPtr);
  Call no_room;
  no_room.dst = nullptr;
  no_room.dst_len = 0;
  no_room.bit_count = 33;
  no_room.ExpectRefusal(zelErrNullPtr);
}

TEST(OneCallStatus, MoreThan32BitsAreRefusedBeforeAnythingIsRead) {
  for (const uint32_t count : {33u, 64u, 0xFFFFFFFFu}) {
    Call call;
    call.bit_count = count;
    call.window_fill = 11;
    call.record.tableForm = 3;
    call.ExpectRefusal(zelErrSize);
  }
}

TEST(OneCallStatus, AWindowFilledBeyondItsSizeIsRefused) {
  for (const uint32_t fill : {11u, 0xFFFFFFFFu}) {
    Call call;
    call.window_fill = fill;
    call.record.tableForm = 3;
    call.ExpectRefusal(zelErrSize);
  }
}

TEST(OneCallStatus, OtherTableFormsAreBadData) {
  for (const uint32_t form : {3u, 4u, 0x80000000u, 0xFFFFFFFFu}) {
    Call call;
    call.record.tableForm = form;
    call.ExpectRefusal(zelErrBadData);
  }
}

TEST(OneCallStatus, ShortTablesOfOtherWidthsAreBadData) {
  for (const auto& [lit_bits, dist_bits] : {std::pair<uint32_t, uint32_t>{12, 10}, {11, 11}, {32, 1}, {1, ~0u}}) {
    Call call;
    call.record.tableForm = zelInflateShort;
    call.record.maxLitBits = lit_bits;
    call.record.maxDistBits = dist_bits;
    call.ExpectRefusal(zelErrBadData);
  }
}

TEST(OneCallStatus, ResumeFieldsOutOfRangeAreBadData) {
  struct Slots {
    uint32_t state, value, info, distance;
  };
  for (const Slots& slots : {Slots{0, 0, 0, 0},
                             {7, 0, 0, 0},
                             {~0u, 0, 0, 0},
                             {2, 259, 0, 0},
                             {2, 3, 6, 0},
                             {3, 259, 0, 0},
                             {4, 3, 14, 1},
                             {4, 259, 0, 1},
                             {4, 3, 0, 0},
                             {4, 3, 0, 32769},
                             {5, 259, 0, 1},
                             {5, 3, 0, 0},
                             {5, 3, 0, 32769},
                             {6, 256, 0, 0}}) {
    Call call;
    call.mode = 2;
    call.record.resumeState = slots.state;
    call.record.resumeValue = slots.value;
    call.record.resumeInfo = slots.info;
    call.record.resumeDist = slots.distance;
    call.ExpectRefusal(zelErrBadData);
  }
}

TEST(OneCallStatus, ResumeFieldsAreNotLookedAtWithAnotherMode) {
  for (const int32_t mode : {0, 1, 3, -1, 7}) {
    Call call;
    call.mode = mode;
    call.record.resumeState = 7;
    EXPECT_EQ(call.Run(), zelOk);
    EXPECT_EQ(call.mode, 0);
  }
}

TEST(OneCallStatus, AWindowOfNothingMayBeNull) {
  Call call;
  call.window_fill = 0;
  call.record.window = nullptr;
  EXPECT_EQ(call.Run(), zelOk);
}

// Then it is taken for empty, and only what reaches into it fails.
TEST(OneCallStatus, AWindowWithoutMemoryHoldsNothing) {
  Call call;
  call.record.window = nullptr;
  EXPECT_EQ(call.Run(), zelOk);
  EXPECT_EQ(call.out[0], 'a');
}

}  // namespace
}  // namespace zeldc_test
