// Damaged and truncated files: a message that names the file, exit status 1, the input kept and nothing left behind.

#include "inflate/stream_builder.h"
#include "shell.h"
#include "support/data.h"
#include "zlib_file.h"

namespace zeldc_test {
namespace {

using Names = std::vector<std::string>;

class ZelzlibDamage : public ShellTest {
 protected:
  void ExpectDamaged(const Bytes& file, const std::string& message) {
    Write("x.zz", file);
    const Outcome outcome = Run("zelzlib -d x.zz");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zelzlib: x.zz: " + message + "\n");
    EXPECT_EQ(Files(), Names{"x.zz"});
    EXPECT_EQ(Read("x.zz"), file);
  }

  void ExpectInvalid(const StreamBuilder& stream, const std::string& message) {
    SCOPED_TRACE(message);
    Bytes bytes = stream.stream();
    bytes.insert(bytes.end(), 8, 0);
    ExpectDamaged(ZlibFileAround(bytes, {}), "invalid compressed data--" + message);
  }

  const Bytes text_ = Text(300, 61);
};

TEST_F(ZelzlibDamage, EveryTruncationIsAnUnexpectedEnd) {
  const Bytes file = ZlibFile(text_);
  for (size_t size = 0; size < file.size(); size += size < 8 || file.size() - size < 8 ? 1 : 9) {
    SCOPED_TRACE(size);
    ExpectDamaged(Bytes(file.begin(), file.begin() + static_cast<ptrdiff_t>(size)), "unexpected end of file");
  }
}

TEST_F(ZelzlibDamage, TruncationWithinAStoredBlockIsAnUnexpectedEnd) {
  const Bytes file = ZlibFile(RandomBytes(100, 62), {.level = 0});
  for (size_t size = 3; size < file.size(); size += 9) {
    ExpectDamaged(Bytes(file.begin(), file.begin() + static_cast<ptrdiff_t>(size)), "unexpected end of file");
  }
}

TEST_F(ZelzlibDamage, WhatIsNotZlibIsToldSo) {
  for (const Bytes& header : {Bytes{0x78, 0x9D}, {0x77, 0x85}, {0x88, 0x1C}, {0x1F, 0x8B}, {0, 0}}) {
    Bytes file = ZlibFile(text_);
    std::copy(header.begin(), header.end(), file.begin());
    ExpectDamaged(file, "not in zlib format");
  }
}

TEST_F(ZelzlibDamage, AWrongChecksumIsAnError) {
  for (size_t i = 1; i <= 4; ++i) {
    Bytes file = ZlibFile(text_);
    file[file.size() - i] ^= 1;
    ExpectDamaged(file, "invalid compressed data--checksum error");
  }
}

TEST_F(ZelzlibDamage, TheDictionaryMustBeTheOne) {
  Bytes dictionary = Text(500, 63);
  const Bytes file = ZlibFile(text_, {}, dictionary);
  ExpectDamaged(file, "needs the dictionary that it was compressed with");
  dictionary[0] ^= 1;
  Write("dictionary", dictionary);
  const Outcome outcome = Run("zelzlib -D dictionary -t x.zz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "zelzlib: x.zz: was compressed with another dictionary\n");
}

TEST_F(ZelzlibDamage, MalformedBlocks) {
  ExpectInvalid(StreamBuilder().Bits(7, 3), "unknown type of block");
  ExpectInvalid(StreamBuilder().Bits(1, 3).Align().Bits(5, 16).Bits(5, 16), "damaged stored block");
  ExpectInvalid(StreamBuilder().Fixed(kLast).BadMatch(3, 1), "damaged block");
  ExpectInvalid(StreamBuilder().Fixed(kLast).LitLenSymbol(286), "damaged block");
  ExpectInvalid(StreamBuilder().Fixed(kLast).Literal('a').LitLenSymbol(257).DistanceSymbol(30), "damaged block");
}

TEST_F(ZelzlibDamage, MalformedCodes) {
  const Lengths lit_len = MakeLengths(257, {{'a', 1}, {256, 1}});
  const Lengths distance = MakeLengths(1, {{0, 1}});
  const auto with = [&](auto change) {
    DynamicHeader header = DescribeLengths(lit_len, distance);
    change(header);
    return StreamBuilder().Dynamic(header, lit_len, distance, kLast);
  };
  ExpectInvalid(with([](DynamicHeader& h) { h.lit_len_codes = 287; }), "too many codes");
  ExpectInvalid(with([](DynamicHeader& h) { h.distance_codes = 31; }), "too many codes");
  ExpectInvalid(with([](DynamicHeader& h) { h.code_length_lengths = Lengths(19, 1); }), "over-subscribed code lengths");
  ExpectInvalid(with([](DynamicHeader& h) { h.items.insert(h.items.begin(), {16, 0}); }), "nothing to repeat");
  ExpectInvalid(with([](DynamicHeader& h) { h.items = {{18, 127}, {18, 127}}; }), "too many code lengths");
  const Lengths no_end = MakeLengths(257, {{'a', 1}, {'b', 1}});
  ExpectInvalid(StreamBuilder().Dynamic(no_end, distance, kLast), "no code for the end of a block");
}

TEST_F(ZelzlibDamage, ACodeLengthWithoutACode) {
  DynamicHeader header;
  header.code_length_lengths = Lengths(19, 0);
  header.code_length_lengths[0] = 1;  // one code, and what is behind it are ones
  StreamBuilder s;
  s.Dynamic(header, {}, {}, kLast).Bits(0xFFFF, 16);
  ExpectInvalid(s, "undefined code length");
}

TEST_F(ZelzlibDamage, AnyBitWrong) {
  const Bytes file = ZlibFile(text_);
  for (size_t i = 0; i < 40; ++i) {
    Bytes damaged = file;
    const size_t bit = i * 8 * file.size() / 40;
    damaged[bit / 8] = static_cast<uint8_t>(damaged[bit / 8] ^ 1u << bit % 8);
    Write("x.zz", damaged);
    const Outcome outcome = Run("zelzlib -d x.zz");
    EXPECT_EQ(outcome.status, 1) << bit;
    EXPECT_EQ(outcome.err.substr(0, 15), "zelzlib: x.zz: ") << bit;
    EXPECT_EQ(Files(), Names{"x.zz"}) << bit;
  }
}

TEST_F(ZelzlibDamage, APipeGetsWhatComesBeforeTheDamage) {
  Bytes file = ZlibFile(text_);
  file.back() ^= 1;
  Write("x.zz", file);
  const Outcome outcome = Run("zelzlib -dc x.zz");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, std::string(text_.begin(), text_.end()));
}

}  // namespace
}  // namespace zeldc_test
