// zelsDeflateHuff_8u: the bits of every item, at every bit position, on both sides of the number of items from which it
// makes tables.

#include <string>

#include "deflate/block_parser.h"
#include "deflate/one_call_stream.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

// Item by item, bit by bit.
BitString PutPlainly(const Items& items, const HuffCodes& codes, BitString out = {}) {
  for (size_t k = 0; k < items.size(); ++k) {
    if (items.dist[k] == 0) {
      out.Put(codes.lit[items.lit[k]].code, codes.lit[items.lit[k]].lenBits);
      continue;
    }
    const int length = items.lit[k] + 3, distance = items.dist[k];
    const auto [length_symbol, length_extra] = LengthSymbol(length);
    const auto [distance_symbol, distance_extra] = DistanceSymbol(distance);
    const auto base = [](auto symbol_of, int value) {
      while (value > 1 && symbol_of(value - 1).first == symbol_of(value).first) --value;
      return value;
    };
    const zelDeflateHuffCode l = codes.lit[static_cast<size_t>(length_symbol)];
    const zelDeflateHuffCode d = codes.dist[static_cast<size_t>(distance_symbol)];
    out.Put(l.code, l.lenBits);
    // Without extra bits there is no need to find the first value.
    if (length_extra > 0) {
      out.Put(
          static_cast<uint32_t>(length - base([](int v) { return v < 3 ? std::pair(0, 0) : LengthSymbol(v); }, length)),
          length_extra);
    }
    out.Put(d.code, d.lenBits);
    if (distance_extra > 0) out.Put(static_cast<uint32_t>(distance - base(DistanceSymbol, distance)), distance_extra);
  }
  return out;
}

// Codes of 15 bits throughout: no prefix code, but as long as codes may be.
HuffCodes LongCodes() {
  HuffCodes codes;
  for (size_t i = 0; i < 286; ++i) codes.lit[i] = {static_cast<uint16_t>((i * 40503) & 0x7FFF), 15};
  for (size_t i = 0; i < 30; ++i) codes.dist[i] = {static_cast<uint16_t>((i * 30011 + 5) & 0x7FFF), 15};
  return codes;
}

HuffCodes CodesFor(const Items& items) {
  Counts counts = CountItems(items);
  ++counts.lit[256];
  return MakeCodes(MakeLengths(counts.lit), MakeLengths(counts.dist));
}

Items RandomItems(size_t size, uint64_t seed) {
  Random random(seed);
  Items items;
  for (size_t k = 0; k < size; ++k) {
    items.lit.push_back(static_cast<uint8_t>(random() >> (random() % 8)));
    const size_t bits = Uniform(random, 0, 2) == 0 ? 0 : Uniform(random, 1, 15);
    items.dist.push_back(static_cast<uint16_t>(bits == 0 ? 0 : Uniform(random, 1, size_t{1} << bits)));
  }
  return items;
}

void ExpectPlainBits(const Items& items, const HuffCodes& codes, BitString before = {}, Guard guard = Guard::kBehind) {
  const BitString expected = PutPlainly(items, codes, before);
  BitString got = before;
  EXPECT_EQ(PutItems(items, codes, &got, guard), zelOk);
  EXPECT_EQ(got.bytes, expected.bytes);
  EXPECT_EQ(got.code, expected.code);
  EXPECT_EQ(got.bits, expected.bits);
}

}  // namespace

TEST(OneCallWriter, OfEveryLiteralAndLength) {
  Items items;
  for (int round = 0; round < 6; ++round) {
    for (int i = 0; i < 256; ++i) {
      items.lit.push_back(static_cast<uint8_t>(i));
      items.dist.push_back(static_cast<uint16_t>(round % 2 == 0 ? 0 : round));
    }
    SCOPED_TRACE(items.size());
    ExpectPlainBits(items, FixedCodes());
    ExpectPlainBits(items, LongCodes());
  }
}

TEST(OneCallWriter, OfEveryDistance) {
  for (size_t piece : {size_t{1500}, size_t{32768}}) {
    for (size_t first = 1; first <= 32768; first += piece) {
      Items items;
      for (size_t d = first; d < first + piece && d <= 32768; ++d) {
        items.lit.push_back(static_cast<uint8_t>(d % 3));
        items.dist.push_back(static_cast<uint16_t>(d));
      }
      const BitString expected = [&] {
        // The plain writer is slow in finding first values: here the symbols follow each other.
        BitString out;
        size_t base = first;
        for (size_t b = first;
             b > 1 && DistanceSymbol(static_cast<int>(b - 1)).first == DistanceSymbol(static_cast<int>(first)).first;) {
          base = --b;
        }
        const HuffCodes codes = LongCodes();
        for (size_t k = 0; k < items.size(); ++k) {
          const int d = items.dist[k];
          const auto [symbol, extra] = DistanceSymbol(d);
          if (d > 1 && DistanceSymbol(d - 1).first != symbol) base = static_cast<size_t>(d);
          out.Put(codes.lit[257 + items.lit[k]].code, 15);
          out.Put(codes.dist[static_cast<size_t>(symbol)].code, 15);
          out.Put(static_cast<uint32_t>(static_cast<size_t>(d) - base), extra);
        }
        return out;
      }();
      BitString got;
      EXPECT_EQ(PutItems(items, LongCodes(), &got), zelOk);
      EXPECT_EQ(got.bytes, expected.bytes) << first;
      EXPECT_EQ(got.code, expected.code);
    }
  }
}

TEST(OneCallWriter, OfAnyNumberOfItems) {
  for (size_t size : {0, 1, 2, 3, 7, 100, 511, 512, 513, 2046, 2047, 2048, 2049, 2050, 2560, 2561, 5000}) {
    SCOPED_TRACE(size);
    Items items = RandomItems(size, size);
    for (size_t k = 0; k < size; k += 2) items.dist[k] = static_cast<uint16_t>(items.dist[k] % 300);
    ExpectPlainBits(items, CodesFor(items), {}, size % 2 == 0 ? Guard::kBehind : Guard::kBefore);
    ExpectPlainBits(items, LongCodes());
  }
}

TEST(OneCallWriter, BehindAnyNumberOfBits) {
  for (size_t size : {size_t{5}, size_t{2100}}) {
    const Items items = RandomItems(size, 3);
    for (int bits = 0; bits < 8; ++bits) {
      BitString before;
      before.Put(0x5B & ((1u << bits) - 1), bits);
      ExpectPlainBits(items, CodesFor(items), before);
    }
  }
}

TEST(OneCallWriter, MayBeHandedTwoBytesOfBits) {
  for (size_t size : {size_t{0}, size_t{5}, size_t{2100}}) {
    const Items items = RandomItems(size, 4);
    for (int bits = 8; bits <= 16; ++bits) {
      const uint16_t held = static_cast<uint16_t>(0x9D5B & ((1u << bits) - 1));
      BitString before;
      before.Put(held, bits);
      const BitString expected = PutPlainly(items, LongCodes(), before);
      BitString got;
      got.code = held;
      got.bits = bits;
      EXPECT_EQ(PutItems(items, LongCodes(), &got), zelOk);
      EXPECT_EQ(got.bytes, expected.bytes);
      EXPECT_EQ(got.code, expected.code);
      EXPECT_EQ(got.bits, expected.bits);
    }
  }
}

TEST(OneCallWriter, TablesWriteWhatSingleItemsDo) {
  const Items items = RandomItems(10000, 5);
  const HuffCodes codes = CodesFor(items);
  BitString whole, pieces;
  EXPECT_EQ(PutItems(items, codes, &whole), zelOk);
  Random random(6);
  for (size_t k = 0; k < items.size();) {
    const size_t n = std::min(Uniform(random, 1, 1000), items.size() - k);
    const auto at = static_cast<ptrdiff_t>(k), end = static_cast<ptrdiff_t>(k + n);
    EXPECT_EQ(PutItems({Bytes(items.lit.begin() + at, items.lit.begin() + end),
                        std::vector<uint16_t>(items.dist.begin() + at, items.dist.begin() + end)},
                       codes, &pieces),
              zelOk);
    k += n;
  }
  EXPECT_EQ(whole.bytes, pieces.bytes);
  EXPECT_EQ(whole.code, pieces.code);
}

TEST(OneCallWriter, SymbolsWithoutACodeWriteNone) {
  for (size_t size : {size_t{10}, size_t{3000}}) {
    BitString got;
    const Items items{Bytes(size, 'a'), std::vector<uint16_t>(size)};
    EXPECT_EQ(PutItems(items, HuffCodes{}, &got), zelOk);
    EXPECT_TRUE(got.bytes.empty());
    EXPECT_EQ(got.bits, 0);
  }
}
