// Where a call stops, and that the next one goes on there.

#include "gtest/gtest.h"
#include "inflate/one_call.h"
#include "inflate/random_stream.h"
#include "inflate/stream_builder.h"

namespace zeldc_test {
namespace {

// A fixed block, read by hand.
class Block {
 public:
  explicit Block(const StreamBuilder& builder, Bytes window = {'w', 'x', 'y', 'z'})
      : stream_(builder.stream()), bits_(builder.bits()), window_(std::move(window)) {
    // Behind the header's three bits.
    position_ = 3;
    Random random(5);
    record_ = RandomRecord(random);
    record_.tableForm = zelInflateFixed;
    record_.window = window_.data();
    record_.windowSize = static_cast<uint32_t>(window_.size());
  }

  // Gives bits up to `end`, which is behind `position`, and room.
  zelStatus Call(size_t end, size_t room, uint32_t window_fill = 0) {
    // Through the bit buffer alone: so any bit can be the last.
    uint32_t bits = 0, count = 0;
    for (; position_ + count < std::min(end, bits_) && count < 32; ++count) {
      const size_t at = position_ + count;
      bits |= uint32_t{stream_[at / 8]} >> (at % 8) << 31 >> (31 - count);
    }
    const uint32_t given = count;
    const uint8_t nothing = 0;
    const uint8_t* src = &nothing;
    uint32_t src_len = 0;
    const size_t before = output_.size();
    output_.resize(before + room);
    uint8_t none;
    uint8_t* const start = output_.empty() ? &none : output_.data() + before;
    uint8_t* dst = start;
    uint32_t dst_len = static_cast<uint32_t>(room);
    const zelStatus status = zelsInflate_8u(&src, &src_len, &bits, &count, window_fill, &dst, &dst_len,
                                            static_cast<uint32_t>(before), &mode_, &record_);
    position_ += given - count;
    output_.resize(before + static_cast<size_t>(dst - start));
    return status;
  }

  Bytes stream_;
  size_t bits_;
  size_t position_;
  int32_t mode_ = 1;
  Bytes output_;
  Bytes window_;
  zelInflateState record_;
};

TEST(OneCallResume, ALiteralWithoutRoomWaits) {
  StreamBuilder s;
  s.Fixed().Literals("ab").End();
  Block block(s);
  EXPECT_EQ(block.Call(1000, 0), zelOk);
  EXPECT_EQ(block.mode_, 2);
  EXPECT_EQ(block.record_.resumeState, 6u);
  EXPECT_EQ(block.position_, 3u + 8);
  EXPECT_EQ(block.Call(1000, 0), zelOk);
  EXPECT_EQ(block.mode_, 2);
  EXPECT_EQ(block.position_, 3u + 8);
  EXPECT_EQ(block.Call(1000, 1), zelOk);  // room for 'a', then 'b' waits
  EXPECT_EQ(block.mode_, 2);
  EXPECT_EQ(block.output_, Bytes({'a'}));
  EXPECT_EQ(block.Call(0, 1), zelOk);  // without input
  EXPECT_EQ(block.mode_, 1);
  EXPECT_EQ(block.output_, Bytes({'a', 'b'}));
  EXPECT_EQ(block.Call(1000, 0), zelOk);
  EXPECT_EQ(block.mode_, 0);
}

TEST(OneCallResume, TheEndOfTheBlockNeedsNoRoom) {
  StreamBuilder s;
  s.Fixed().Literals("abc").End();
  Block block(s);
  EXPECT_EQ(block.Call(1000, 3), zelOk);
  EXPECT_EQ(block.mode_, 0);
  EXPECT_EQ(block.position_, s.bits());
}

TEST(OneCallResume, NeitherInputNorRoomIsBetweenSymbols) {
  StreamBuilder s;
  s.Fixed().Literals("abc").End();
  Block block(s);
  EXPECT_EQ(block.Call(0, 0), zelOk);
  EXPECT_EQ(block.mode_, 1);
  EXPECT_EQ(block.position_, 3u);
}

// Length 20 has 2 extra bits behind a code of 7, distance 100 has 5 behind one of 5.
TEST(OneCallResume, EachPieceOfAMatchWaitsForItsBits) {
  StreamBuilder s(Bytes(100, 'd'));
  s.Fixed().Match(20, 100).End();
  struct Stop {
    size_t bits, position;
    uint32_t state;
  };
  for (const Stop& stop : {Stop{6, 0, 1}, {7, 7, 2}, {8, 7, 2}, {9, 9, 3}, {13, 9, 3}, {14, 14, 4}, {18, 14, 4}}) {
    Block block(s);
    EXPECT_EQ(block.Call(3 + stop.bits, 50, 0), zelOk);
    EXPECT_EQ(block.mode_, stop.state == 1 ? 1 : 2);
    if (stop.state != 1) {
      EXPECT_EQ(block.record_.resumeState, stop.state);
    }
    EXPECT_EQ(block.position_, 3 + stop.position) << stop.bits;
    EXPECT_TRUE(block.output_.empty());
  }
  // With all of them but no room, the whole match waits.
  Block block(s, Bytes(100, 'd'));
  EXPECT_EQ(block.Call(3 + 19, 0, 100), zelOk);
  EXPECT_EQ(block.mode_, 2);
  EXPECT_EQ(block.record_.resumeState, 5u);
  EXPECT_EQ(block.position_, 3u + 19);
  EXPECT_EQ(block.Call(1000, 20, 100), zelOk);
  EXPECT_EQ(block.mode_, 0);
  EXPECT_EQ(block.output_, Bytes(20, 'd'));
}

TEST(OneCallResume, AMatchIsCutAnywhere) {
  StreamBuilder s(Bytes({'w', 'x', 'y', 'z'}));
  s.Fixed().Match(11, 3).Literal('!').End();
  for (size_t first = 0; first <= 12; ++first) {
    for (size_t second = 0; first + second <= 12; ++second) {
      Block block(s);
      EXPECT_EQ(block.Call(1000, first, 4), zelOk);
      EXPECT_EQ(block.mode_, first == 12 ? 0 : 2);
      if (first < 11) {
        EXPECT_EQ(block.record_.resumeState, 5u);
      }
      if (block.mode_ != 0) {
        EXPECT_EQ(block.Call(1000, second, 4), zelOk);
      }
      if (block.mode_ != 0) {
        EXPECT_EQ(block.Call(1000, 12, 4), zelOk);
      }
      EXPECT_EQ(block.mode_, 0);
      EXPECT_EQ(block.output_, s.output());
    }
  }
}

TEST(OneCallResume, ADistanceBeforeTheWindowsFirstByteIsBadData) {
  StreamBuilder s(Bytes({'w', 'x', 'y', 'z'}));
  s.Fixed().Literal('a').Match(3, 5).End();
  for (uint32_t fill = 0; fill <= 4; ++fill) {
    Block block(s);
    // The window ends with the byte at fill - 1.
    EXPECT_EQ(block.Call(1000, 10, fill), fill < 4 ? zelErrBadData : zelOk);
    EXPECT_EQ(block.output_, fill < 4 ? Bytes({'a'}) : Bytes({'a', 'w', 'x', 'y'}));
  }
}

TEST(OneCallResume, HistoryTakenAwayFromACutMatchIsBadData) {
  StreamBuilder s(Bytes({'w', 'x', 'y', 'z'}));
  s.Fixed().Match(10, 4).End();
  Block block(s);
  EXPECT_EQ(block.Call(1000, 2, 4), zelOk);
  EXPECT_EQ(block.mode_, 2);
  EXPECT_EQ(block.Call(1000, 10, 1), zelErrBadData);
  EXPECT_EQ(block.output_, Bytes({'w', 'x'}));
}

TEST(OneCallResume, SymbolsThatMayNotOccurAreBadData) {
  for (const int symbol : {286, 287}) {
    StreamBuilder s;
    s.Fixed().Literal('a').LitLenSymbol(symbol);
    Block block(s);
    EXPECT_EQ(block.Call(1000, 10), zelErrBadData);
    EXPECT_EQ(block.position_, 3u + 8);
    EXPECT_EQ(block.output_, Bytes({'a'}));
  }
  for (const int symbol : {30, 31}) {
    StreamBuilder s;
    s.Fixed().Literal('a').LitLenSymbol(257).DistanceSymbol(symbol);
    Block block(s);
    EXPECT_EQ(block.Call(1000, 10), zelErrBadData);
    EXPECT_EQ(block.output_, Bytes({'a'}));
  }
}

TEST(OneCallResume, LengthSymbol285IsALengthOf258) {
  StreamBuilder s;
  s.Fixed().Literal('a').Match(258, 1).End();
  Block block(s);
  EXPECT_EQ(block.Call(1000, 300), zelOk);
  EXPECT_EQ(block.mode_, 0);
  EXPECT_EQ(block.output_, Bytes(259, 'a'));
}

// Every split of a stream's bytes and of its output in two, in both forms and the fixed code.
TEST(OneCallResume, EverySplitInTwo) {
  for (const uint64_t seed : {3, 6, 11, 14}) {
    const StreamBuilder s = RandomStream(seed, 3, 25);
    const Bytes expected = s.output();
    for (size_t piece = 1; piece <= s.stream().size(); ++piece) {
      OneCallOptions options;
      options.source_piece = piece;
      options.history = static_cast<History>(piece % 3);
      ASSERT_TRUE(DecodeOneCall(s.stream(), options).data == expected);
    }
    for (size_t room = 1; room <= std::min<size_t>(expected.size(), 700); ++room) {
      OneCallOptions options;
      options.room = room;
      options.history = static_cast<History>(room % 3);
      ASSERT_TRUE(DecodeOneCall(s.stream(), options).data == expected);
    }
  }
}

TEST(OneCallResume, TestsMeetAllStatesAndForms) {
  std::vector<uint32_t> suspends(7, 0);
  std::vector<size_t> forms(3, 0);
  for (uint64_t seed = 0; seed < 40; ++seed) {
    OneCallOptions options;
    options.source_piece = 1;
    options.room = 5;
    const OneCallResult got = DecodeOneCall(RandomStream(seed, 4, 60).stream(), options);
    for (size_t i = 0; i < 7; ++i) suspends[i] += got.suspends[i];
    for (uint32_t form : got.forms) ++forms.at(form);
  }
  for (size_t state = 1; state <= 6; ++state) EXPECT_GT(suspends[state], 10u) << state;
  for (size_t form = 0; form < 3; ++form) EXPECT_GT(forms[form], 5u) << form;
}

}  // namespace
}  // namespace zeldc_test
