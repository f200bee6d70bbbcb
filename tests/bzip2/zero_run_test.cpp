// Zero-run coding: statuses, edge cases, and the plain definition for every room and data of every kind.

#include <string.h>

#include <algorithm>
#include <vector>

#include "bzip2/plain_move_to_front.h"
#include "bzip2/plain_zero_run.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Frequencies = std::vector<int32_t>;

struct Encoded {
  zelStatus status;
  Symbols symbols;
  size_t consumed;
};

// One call with `room` elements, behind which there are the spare one and an inaccessible page.
Encoded Encode(const Bytes& bytes, size_t room, Frequencies* frequencies) {
  const GuardedBuffer source(bytes);
  const GuardedBuffer destination(2 * (room + 1));
  uint8_t* src = source.data();
  int32_t src_len = static_cast<int32_t>(bytes.size());
  int32_t dst_len = static_cast<int32_t>(room);
  Encoded result;
  result.status = zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, reinterpret_cast<uint16_t*>(destination.data()), &dst_len,
                                           frequencies->data());
  EXPECT_EQ(src + src_len, source.end());
  result.consumed = static_cast<size_t>(src - source.data());
  EXPECT_LE(static_cast<size_t>(dst_len), room + 1);
  result.symbols.resize(static_cast<size_t>(dst_len));
  memcpy(result.symbols.data(), destination.data(), 2 * result.symbols.size());
  return result;
}

Encoded Encode(const Bytes& bytes, size_t room) {
  Frequencies frequencies(257);
  return Encode(bytes, room, &frequencies);
}

struct Decoded {
  zelStatus status;
  Bytes bytes;
  size_t consumed;
};

Decoded Decode(const Symbols& symbols, size_t room, Guard guard = Guard::kBehind) {
  const Bytes stored(reinterpret_cast<const uint8_t*>(symbols.data()),
                     reinterpret_cast<const uint8_t*>(symbols.data() + symbols.size()));
  const GuardedBuffer source(stored, guard);
  const GuardedBuffer destination(room, guard);
  uint16_t* const start = reinterpret_cast<uint16_t*>(source.data());
  uint16_t* src = start;
  int32_t src_len = static_cast<int32_t>(symbols.size());
  int32_t dst_len = static_cast<int32_t>(room);
  Decoded result;
  result.status = zelsDecodeZ1Z2_BZ2_16u8u(&src, &src_len, destination.data(), &dst_len);
  EXPECT_EQ(src + src_len, start + symbols.size());
  result.consumed = static_cast<size_t>(src - start);
  EXPECT_LE(static_cast<size_t>(dst_len), room);
  result.bytes = Bytes(destination.data(), destination.data() + dst_len);
  return result;
}

testing::AssertionResult EncodesAsPlain(const Bytes& bytes, size_t room) {
  Frequencies frequencies(257, 7);
  const Encoded got = Encode(bytes, room, &frequencies);
  const PlainEncoded expected = PlainEncodeZ1Z2(bytes, room);
  Frequencies expected_frequencies(257, 7);
  for (uint16_t symbol : expected.symbols) ++expected_frequencies[symbol];
  const auto failure = [&] { return testing::AssertionFailure() << bytes.size() << " bytes, room " << room << ": "; };
  if (got.symbols != expected.symbols) return failure() << "wrong symbols";
  if (got.consumed != expected.consumed) return failure() << got.consumed << " consumed, not " << expected.consumed;
  if (got.status != expected.status) return failure() << "status " << got.status;
  if (frequencies != expected_frequencies) return failure() << "wrong frequencies";
  return testing::AssertionSuccess();
}

testing::AssertionResult DecodesAsPlain(const Symbols& symbols, size_t room, Guard guard = Guard::kBehind) {
  const Decoded got = Decode(symbols, room, guard);
  const PlainDecoded expected = PlainDecodeZ1Z2(symbols, room);
  const auto failure = [&] {
    return testing::AssertionFailure() << symbols.size() << " symbols, room " << room << ": ";
  };
  if (got.bytes != expected.bytes) return failure() << "wrong bytes";
  if (got.consumed != expected.consumed) return failure() << got.consumed << " consumed, not " << expected.consumed;
  if (got.status != expected.status) return failure() << "status " << got.status;
  return testing::AssertionSuccess();
}

// What move-to-front gives: mostly small numbers.
Bytes Ranks(const Bytes& bytes) {
  MTFTable table = FreshMTFTable();
  return PlainMTFFwd(bytes, table);
}

// Zeros with other bytes at random places, `mean` apart.
Bytes ZerosWithLiterals(size_t size, size_t mean, uint64_t seed) {
  Random random(seed);
  Bytes out(size);
  for (size_t i = Uniform(random, 0, 2 * mean); i < size; i += Uniform(random, 1, 2 * mean)) {
    out[i] = static_cast<uint8_t>(Uniform(random, 1, 255));
  }
  return out;
}

std::vector<NamedData> Inputs(size_t size) {
  std::vector<NamedData> all;
  for (NamedData& input : AllKinds(size)) {
    if (input.data.empty()) continue;
    all.push_back({input.name + ", ranks", Ranks(input.data)});
    all.push_back(std::move(input));
  }
  for (size_t mean : {1, 2, 3, 8, 30, 33, 60, 70, 500}) {
    all.push_back({"literals " + std::to_string(mean) + " apart", ZerosWithLiterals(size, mean, mean)});
  }
  all.push_back({"zeros", Bytes(size, 0)});
  Bytes literal_behind(size, 0);
  literal_behind.push_back(9);
  all.push_back({"zeros and a literal", literal_behind});
  all.push_back({"no zeros", Bytes(size, 255)});
  return all;
}

Bytes Zeros(size_t count, const Bytes& behind = {}) {
  Bytes out(count, 0);
  out.insert(out.end(), behind.begin(), behind.end());
  return out;
}

}  // namespace

TEST(ZeroRunStatus, EncoderErrorsInTheirOrderChangeNothing) {
  Bytes bytes = {0, 0, 5};
  uint8_t* src = bytes.data();
  uint8_t* const null_src = nullptr;
  uint8_t* no_src = null_src;
  int32_t src_len = 0, dst_len = 0;
  Symbols room(4, 0xEEEE);
  Frequencies freq(257);
  EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(nullptr, &src_len, room.data(), &dst_len, freq.data()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, nullptr, &dst_len, freq.data()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, nullptr, room.data(), &dst_len, freq.data()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, room.data(), nullptr, freq.data()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&no_src, &src_len, room.data(), &dst_len, freq.data()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, room.data(), &dst_len, nullptr), zelErrNullPtr);
  for (const auto& [source, destination] :
       {std::pair{0, 4}, {-1, 4}, {3, 0}, {3, -1}, {0, 0}, {INT32_MIN, INT32_MIN}}) {
    src_len = source;
    dst_len = destination;
    EXPECT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, room.data(), &dst_len, freq.data()), zelErrSize);
    EXPECT_EQ(src_len, source);
    EXPECT_EQ(dst_len, destination);
  }
  EXPECT_EQ(src, bytes.data());
  EXPECT_EQ(room, Symbols(4, 0xEEEE));
  EXPECT_EQ(freq, Frequencies(257));
}

TEST(ZeroRunStatus, DecoderErrorsInTheirOrderChangeNothing) {
  Symbols symbols = {0, 0, 6};
  uint16_t* src = symbols.data();
  uint16_t* no_src = nullptr;
  int32_t src_len = 0, dst_len = 0;
  Bytes room(4, 0xEE);
  EXPECT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(nullptr, &src_len, room.data(), &dst_len), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(&src, &src_len, nullptr, &dst_len), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(&src, nullptr, room.data(), &dst_len), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(&src, &src_len, room.data(), nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(&no_src, &src_len, room.data(), &dst_len), zelErrNullPtr);
  for (const auto& [source, destination] :
       {std::pair{0, 4}, {-1, 4}, {3, 0}, {3, -1}, {0, 0}, {INT32_MIN, INT32_MIN}}) {
    src_len = source;
    dst_len = destination;
    EXPECT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(&src, &src_len, room.data(), &dst_len), zelErrSize);
    EXPECT_EQ(src_len, source);
    EXPECT_EQ(dst_len, destination);
  }
  EXPECT_EQ(src, symbols.data());
  EXPECT_EQ(room, Bytes(4, 0xEE));
}

TEST(ZeroRunEncoder, RunOfThreeAndALiteral) {
  Frequencies freq(257);
  const Encoded got = Encode({0, 0, 0, 5}, 100, &freq);
  EXPECT_EQ(got.symbols, (Symbols{0, 0, 6}));
  EXPECT_EQ(got.status, zelOk);
  EXPECT_EQ(freq[0], 2);
  EXPECT_EQ(freq[1], 0);
  EXPECT_EQ(freq[6], 1);
}

TEST(ZeroRunEncoder, RunsOfTwoFourAndSix) {
  EXPECT_EQ(Encode({0, 0}, 100).symbols, (Symbols{1}));
  EXPECT_EQ(Encode({0, 0, 0, 0}, 100).symbols, (Symbols{1, 0}));
  EXPECT_EQ(Encode({0, 0, 0, 0, 0, 0}, 100).symbols, (Symbols{1, 1}));
}

TEST(ZeroRunEncoder, LargestByteIsSymbol256) { EXPECT_EQ(Encode({255, 1}, 100).symbols, (Symbols{256, 2})); }

TEST(ZeroRunEncoder, OnlyZerosAreOneRunCode) {
  for (size_t count : {1, 5, 63, 64, 65, 1000, 1 << 20}) {
    const Encoded got = Encode(Zeros(count), 100);
    EXPECT_EQ(got.symbols, RunCode(count));
    EXPECT_EQ(got.consumed, count);
    EXPECT_EQ(got.status, zelOk);
  }
}

TEST(ZeroRunEncoder, LiteralBehindARunMayTakeTheSpareElement) {
  const Encoded got = Encode({0, 0, 7}, 1);
  EXPECT_EQ(got.symbols, (Symbols{1, 8}));
  EXPECT_EQ(got.consumed, 3u);
  EXPECT_EQ(got.status, zelOk);
}

// A room of k symbols takes runs of up to 2^(k+1) - 2.
TEST(ZeroRunEncoder, RunsThatFitExactlyAndByOneNot) {
  for (size_t room = 1; room <= 22; ++room) {
    const size_t capacity = (size_t{2} << room) - 2;
    for (const Bytes& behind : {Bytes{}, Bytes{3}}) {
      const Encoded fits = Encode(Zeros(capacity, behind), room);
      EXPECT_EQ(fits.status, zelOk);
      EXPECT_EQ(fits.symbols.size(), room + behind.size());
      const Encoded cut = Encode(Zeros(capacity + 1, behind), room);
      EXPECT_EQ(cut.status, zelWarnDstFull);
      EXPECT_EQ(cut.symbols, Symbols(room, 1));
      EXPECT_EQ(cut.consumed, capacity);
    }
  }
}

TEST(ZeroRunEncoder, VeryLongRunsStayInTheRoom) {
  for (size_t run : {(1 << 21) - 2, (1 << 21) - 1, 1 << 21, (1 << 22) - 1, (1 << 23) + 5}) {
    for (size_t room : {19, 20, 21, 22, 23, 24, 40, 99, 100, 101, 140}) {
      ASSERT_TRUE(EncodesAsPlain(Zeros(run), room)) << run;
      ASSERT_TRUE(EncodesAsPlain(Zeros(run, {1, 0, 0, 2}), room)) << run;
      Bytes literals_first(10, 5);
      literals_first.resize(run + 10);
      ASSERT_TRUE(EncodesAsPlain(literals_first, room)) << run;
    }
  }
}

TEST(ZeroRunEncoder, FrequenciesGoOnFromCallToCall) {
  Frequencies freq(257);
  Encode({0, 0, 0, 5}, 100, &freq);
  Encode({0, 0, 5}, 100, &freq);
  EXPECT_EQ(freq[0], 2);
  EXPECT_EQ(freq[1], 1);
  EXPECT_EQ(freq[6], 2);
}

TEST(ZeroRunEncoder, IsThePlainDefinitionInEveryRoom) {
  for (const NamedData& input : Inputs(330)) {
    for (size_t room = 1; room <= 340; ++room) ASSERT_TRUE(EncodesAsPlain(input.data, room)) << input.name;
  }
}

TEST(ZeroRunEncoder, IsThePlainDefinitionOnLongData) {
  for (const NamedData& input : Inputs(20000)) {
    for (size_t room : {100, 5000, 19999, 20000, 20001, 50000}) {
      ASSERT_TRUE(EncodesAsPlain(input.data, room)) << input.name;
    }
  }
}

TEST(ZeroRunEncoder, EveryStartInARunAndEveryLength) {
  const Bytes bytes = ZerosWithLiterals(500, 20, 77);
  for (size_t start = 0; start < 130; ++start) {
    for (size_t end = start + 1; end <= bytes.size(); end += 61) {
      ASSERT_TRUE(EncodesAsPlain(
          Bytes(bytes.begin() + static_cast<ptrdiff_t>(start), bytes.begin() + static_cast<ptrdiff_t>(end)), 1000));
    }
  }
}

TEST(ZeroRunEncoder, UsesNothingBehindWhatItTellsButTheRoom) {
  // The elements between what is written and the capacity are the library's to use; those behind the spare one are not.
  const Bytes bytes = Ranks(Text(3000, 3));
  for (size_t room : {1, 7, 90, 99, 100, 101, 120, 1000}) {
    Symbols memory(room + 40, 0xEEEE);
    uint8_t* src = const_cast<uint8_t*>(bytes.data());
    int32_t src_len = static_cast<int32_t>(bytes.size());
    int32_t dst_len = static_cast<int32_t>(room);
    Frequencies freq(257 + 8, 1);
    ASSERT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, memory.data(), &dst_len, freq.data()), zelWarnDstFull);
    for (size_t i = room + 1; i < memory.size(); ++i) ASSERT_EQ(memory[i], 0xEEEE) << room << " " << i;
    if (static_cast<size_t>(dst_len) <= room) {
      ASSERT_EQ(memory[room], 0xEEEE) << room;
    }
    for (size_t i = 257; i < freq.size(); ++i) ASSERT_EQ(freq[i], 1);
  }
}

TEST(ZeroRunEncoder, CallsInSmallRoomsDecodeOneByOne) {
  for (const NamedData& input : Inputs(500)) {
    for (size_t room : {1, 2, 3, 10, 150}) {
      Bytes all, left = input.data;
      while (!left.empty()) {
        const Encoded got = Encode(left, room);
        ASSERT_GT(got.consumed, 0u);
        ASSERT_EQ(got.status, got.consumed == left.size() ? zelOk : zelWarnDstFull);
        const Decoded back = Decode(got.symbols, got.consumed);
        ASSERT_EQ(back.status, zelOk);
        all.insert(all.end(), back.bytes.begin(), back.bytes.end());
        left.erase(left.begin(), left.begin() + static_cast<ptrdiff_t>(got.consumed));
      }
      ASSERT_EQ(all, input.data) << input.name << ", room " << room;
    }
  }
}

// Why the symbols of two calls must not be joined within a run.
TEST(ZeroRunEncoder, TwoCodesOfACutRunAreNotItsCode) {
  Encoded first = Encode(Zeros(5), 1);
  ASSERT_EQ(first.consumed, 2u);
  const Encoded second = Encode(Zeros(3), 10);
  first.symbols.insert(first.symbols.end(), second.symbols.begin(), second.symbols.end());
  EXPECT_NE(Decode(first.symbols, 100).bytes, Zeros(5));
}

TEST(ZeroRunDecoder, RunAndLiteral) {
  EXPECT_EQ(Decode({0, 0, 6}, 100).bytes, (Bytes{0, 0, 0, 5}));
  EXPECT_EQ(Decode({0, 0, 6}, 4).bytes, (Bytes{0, 0, 0, 5}));
}

TEST(ZeroRunDecoder, TrailingRunNeedsNoRoomForAByteBehindIt) {
  const Decoded got = Decode({1}, 2);
  EXPECT_EQ(got.bytes, (Bytes{0, 0}));
  EXPECT_EQ(got.status, zelOk);
}

TEST(ZeroRunDecoder, TrailingRunWithoutRoomIsConsumedAndLost) {
  const Decoded got = Decode({5, 1, 1}, 6);
  EXPECT_EQ(got.bytes, (Bytes{4}));
  EXPECT_EQ(got.consumed, 3u);
  EXPECT_EQ(got.status, zelWarnDstFull);
}

TEST(ZeroRunDecoder, RunWithoutRoomForTheLiteralBehindItIsConsumedAndLost) {
  const Decoded got = Decode({5, 1, 9, 9}, 3);
  EXPECT_EQ(got.bytes, (Bytes{4}));
  EXPECT_EQ(got.consumed, 2u);
  EXPECT_EQ(got.status, zelWarnDstFull);
}

TEST(ZeroRunDecoder, LiteralWithoutRoomIsNotConsumed) {
  const Decoded got = Decode({5, 6, 7}, 2);
  EXPECT_EQ(got.bytes, (Bytes{4, 5}));
  EXPECT_EQ(got.consumed, 2u);
  EXPECT_EQ(got.status, zelWarnDstFull);
}

TEST(ZeroRunDecoder, SymbolsAbove256GiveTheirLowByte) {
  EXPECT_EQ(Decode({257, 258, 0x1234, 0xFFFF, 0x0100}, 10).bytes, (Bytes{0, 1, 0x33, 0xFE, 0xFF}));
}

TEST(ZeroRunDecoder, RunsBeyondAnyRoomAreConsumedAndLost) {
  for (size_t digits : {20, 31, 32, 33, 63, 64, 65, 66, 127, 128, 1000, 100000}) {
    for (uint16_t digit : Symbols{0, 1}) {
      for (const Symbols& behind : {Symbols{}, Symbols{9}, Symbols(200, 9)}) {
        Symbols symbols = {5};
        symbols.resize(1 + digits, digit);
        symbols.insert(symbols.end(), behind.begin(), behind.end());
        ASSERT_TRUE(DecodesAsPlain(symbols, 5000)) << digits;
      }
    }
  }
}

TEST(ZeroRunDecoder, IsThePlainDefinitionInEveryRoom) {
  for (const NamedData& input : Inputs(330)) {
    const Symbols symbols = PlainEncodeZ1Z2(input.data, 1000).symbols;
    for (size_t room = 1; room <= 340; ++room) ASSERT_TRUE(DecodesAsPlain(symbols, room)) << input.name;
    for (size_t room = 2000; room <= 2600; room += 23) ASSERT_TRUE(DecodesAsPlain(symbols, room)) << input.name;
  }
}

TEST(ZeroRunDecoder, IsThePlainDefinitionOnLongDataWithEveryRoomNearItsEnd) {
  for (const NamedData& input : Inputs(6000)) {
    const Symbols symbols = PlainEncodeZ1Z2(input.data, 10000).symbols;
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      for (size_t less = 0; less < 2300; less = less < 40 ? less + 1 : less + 37) {
        ASSERT_TRUE(DecodesAsPlain(symbols, input.data.size() - std::min(less, input.data.size() - 1), guard))
            << input.name;
      }
      ASSERT_TRUE(DecodesAsPlain(symbols, input.data.size() + 3000, guard)) << input.name;
    }
  }
}

TEST(ZeroRunDecoder, AnySymbolsInAnyRoom) {
  Random random(5);
  for (int round = 0; round < 3000; ++round) {
    Symbols symbols(Uniform(random, 1, 300));
    const size_t largest = size_t{1} << Uniform(random, 1, 16);
    const size_t run_share = Uniform(random, 0, 10);
    for (uint16_t& symbol : symbols) {
      symbol = static_cast<uint16_t>(Uniform(random, 0, 9) < run_share ? Uniform(random, 0, 1)
                                                                       : Uniform(random, 0, largest - 1));
    }
    ASSERT_TRUE(DecodesAsPlain(symbols, Uniform(random, 1, round % 2 ? 400 : 20000)));
  }
}

TEST(ZeroRun, RoundTripAtAnyByteAlignment) {
  const Bytes bytes = Ranks(Mixed(5000, 4));
  for (size_t offset = 0; offset < 16; ++offset) {
    Bytes source(offset);
    source.insert(source.end(), bytes.begin(), bytes.end());
    Symbols symbols(bytes.size() + 1 + offset);
    Frequencies freq(257);
    uint8_t* src = source.data() + offset;
    int32_t src_len = static_cast<int32_t>(bytes.size());
    int32_t count = static_cast<int32_t>(bytes.size());
    ASSERT_EQ(zelsEncodeZ1Z2_BZ2_8u16u(&src, &src_len, symbols.data() + offset, &count, freq.data()), zelOk);
    Bytes back(bytes.size() + offset);
    uint16_t* from = symbols.data() + offset;
    int32_t len = static_cast<int32_t>(bytes.size());
    ASSERT_EQ(zelsDecodeZ1Z2_BZ2_16u8u(&from, &count, back.data() + offset, &len), zelOk);
    ASSERT_EQ(Bytes(back.begin() + static_cast<ptrdiff_t>(offset), back.end()), bytes);
  }
}
