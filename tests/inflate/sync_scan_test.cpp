// Huffman decoders called with zelLZ77FlushSync or zelLZ77FlushFull: the search for the marker 00 00 FF FF.

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

enum Scanner { kFixedPairs, kDynamicPairs, kFixedBytes, kDynamicBytes };
constexpr Scanner kScanners[] = {kFixedPairs, kDynamicPairs, kFixedBytes, kDynamicBytes};

// A record and a source of which calls see as much as they are given.
class Scan {
 public:
  explicit Scan(const Bytes& input) : input_(input), source_(input_.data()) {}

  // A call with the next `size` bytes.
  zelStatus Call(Scanner scanner, size_t size, zelLZ77FlushMode flush, size_t room = 1) {
    const GuardedBuffer given(Bytes(source_, source_ + size));
    const GuardedBuffer output(room * sizeof(zelLZ77Pair));
    const uint8_t* source = given.data();
    int32_t left = static_cast<int32_t>(size), room_left = static_cast<int32_t>(room);
    uint8_t* dst = output.data();
    zelLZ77Pair* next = reinterpret_cast<zelLZ77Pair*>(output.data());
    zelStatus status = zelErr;
    switch (scanner) {
      case kFixedPairs:
        status = zelsDecodeLZ77FixedHuff_8u(&source, &left, &next, &room_left, flush, record.get());
        break;
      case kDynamicPairs:
        status = zelsDecodeLZ77DynamicHuff_8u(&source, &left, &next, &room_left, flush, record.get());
        break;
      case kFixedBytes:
        status = zelsDecodeLZ77FixedHuffFull_8u(&source, &left, &dst, &room_left, flush, record.get());
        break;
      default:
        status = zelsDecodeLZ77DynamicHuffFull_8u(&source, &left, &dst, &room_left, flush, record.get());
        break;
    }
    EXPECT_EQ(source, given.data() + (size - static_cast<size_t>(left)));
    source_ += size - static_cast<size_t>(left);
    made = room - static_cast<size_t>(room_left);
    const bool by_pairs = scanner == kFixedPairs || scanner == kDynamicPairs;
    if (made > 0) first_literal = by_pairs ? reinterpret_cast<zelLZ77Pair*>(output.data())->length : *output.data();
    return status;
  }

  size_t consumed() const { return static_cast<size_t>(source_ - input_.data()); }
  size_t left() const { return static_cast<size_t>(input_.end() - source_); }

  const DecoderRecord record;
  size_t made = 0;
  int first_literal = -1;

 private:
  const GuardedBuffer input_;
  const uint8_t* source_;
};

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

const Bytes kMarker = {0, 0, 0xFF, 0xFF};

TEST(InflateSyncScan, TakesInputUpToAndIncludingTheMarker) {
  for (const Scanner scanner : kScanners) {
    for (const zelLZ77FlushMode flush : {zelLZ77FlushSync, zelLZ77FlushFull}) {
      for (size_t before = 0; before < 10; ++before) {
        Scan scan(Join({Bytes(before, 0x55), kMarker, ToBytes("behind")}));
        EXPECT_EQ(scan.Call(scanner, scan.left(), flush), zelOk);
        EXPECT_EQ(scan.consumed(), before + 4);
        EXPECT_EQ(scan.made, 0u);
      }
    }
  }
}

TEST(InflateSyncScan, WithoutAMarkerAllInputIsTaken) {
  for (const Scanner scanner : kScanners) {
    Scan scan(Join({RandomBytes(1000, 1), {0, 0, 0xFF}}));
    EXPECT_EQ(scan.Call(scanner, 500, zelLZ77FlushSync), zelWarnSrcShort);
    EXPECT_EQ(scan.consumed(), 500u);
    EXPECT_EQ(scan.Call(scanner, 503, zelLZ77FlushSync), zelWarnSrcShort);
    EXPECT_EQ(scan.left(), 0u);
    EXPECT_EQ(scan.Call(scanner, 0, zelLZ77FlushSync), zelWarnSrcShort);
  }
}

TEST(InflateSyncScan, FindsAMarkerThatCallsDivide) {
  for (const Scanner scanner : kScanners) {
    for (size_t cut = 0; cut <= 9; ++cut) {
      Scan scan(Join({ToBytes("12345"), kMarker, ToBytes("x")}));
      ASSERT_EQ(scan.Call(scanner, cut, zelLZ77FlushSync), cut == 9 ? zelOk : zelWarnSrcShort) << cut;
      if (cut < 9) {
        EXPECT_EQ(scan.Call(scanner, 10 - cut, zelLZ77FlushSync), zelOk);
      }
      EXPECT_EQ(scan.consumed(), 9u);
    }
    Scan bytewise(Join({ToBytes("12345"), kMarker, ToBytes("x")}));
    for (int i = 0; i < 8; ++i) ASSERT_EQ(bytewise.Call(scanner, 1, zelLZ77FlushSync), zelWarnSrcShort);
    EXPECT_EQ(bytewise.Call(scanner, 1, zelLZ77FlushSync), zelOk);
  }
}

TEST(InflateSyncScan, FindsAMarkerBehindItsOwnBeginnings) {
  const struct {
    Bytes input;
    size_t end;
  } kCases[] = {
      {{0, 0, 0, 0xFF, 0xFF, 1}, 5},
      {{0, 0, 0, 0, 0, 0xFF, 0xFF, 1}, 7},
      {{0, 0, 0xFF, 0, 0, 0xFF, 0xFF, 1}, 7},
      {{0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 1}, 7},
      {{0, 0, 0xFF, 0xFE, 0, 0, 0xFF, 0xFF}, 8},
      {{0, 0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF}, 4},
  };
  for (const auto& c : kCases) {
    Scan whole(c.input);
    EXPECT_EQ(whole.Call(kFixedBytes, whole.left(), zelLZ77FlushSync), zelOk);
    EXPECT_EQ(whole.consumed(), c.end);
    Scan bytewise(c.input);
    zelStatus status = zelWarnSrcShort;
    while (status == zelWarnSrcShort) status = bytewise.Call(kFixedBytes, 1, zelLZ77FlushSync);
    EXPECT_EQ(status, zelOk);
    EXPECT_EQ(bytewise.consumed(), c.end);
  }
}

TEST(InflateSyncScan, DoesNotFindAMarkerThatStartsWithinAByte) {
  StreamBuilder s;
  s.Bits(1, 4).Bits(0, 16).Bits(0xFFFF, 16).Bits(0, 20);
  Scan scan(s.stream());
  EXPECT_EQ(scan.Call(kFixedBytes, scan.left(), zelLZ77FlushSync), zelWarnSrcShort);
}

TEST(InflateSyncScan, NeedsNoRoom) {
  for (const Scanner scanner : kScanners) {
    Scan scan(Join({ToBytes("1"), kMarker}));
    EXPECT_EQ(scan.Call(scanner, 5, zelLZ77FlushFull, 0), zelOk);
  }
}

TEST(InflateSyncScan, GoesOnWithTheNextBlockHeader) {
  // Damaged bytes, the marker, then two more blocks.
  const Bytes rest = StreamBuilder().Fixed().Literal('R').End().Fixed(kLast).End().stream();
  for (const Scanner scanner : {kFixedPairs, kFixedBytes}) {
    Scan scan(Join({RandomBytes(50, 2), kMarker, rest}));
    ASSERT_EQ(scan.Call(scanner, scan.left(), zelLZ77FlushSync), zelOk);
    EXPECT_EQ(scan.Call(scanner, scan.left(), zelLZ77FlushNone, 4), zelOk);
    EXPECT_EQ(scan.made, 1u);
    EXPECT_EQ(scan.first_literal, 'R');
    EXPECT_EQ(scan.Call(scanner, scan.left(), zelLZ77FlushNone, 4), zelWarnStreamEnd);
    EXPECT_EQ(scan.left(), 0u);
  }
}

TEST(InflateSyncScan, DropsTheRestOfTheByteAtABlocksEnd) {
  // The block's 10 bits leave 6, which belong to no byte of the marker.
  const Bytes rest = StreamBuilder().Fixed(kLast).Literal('R').End().stream();
  for (uint32_t bits = 0; bits < 64; bits += 9) {
    Scan scan(Join({StreamBuilder().Fixed().End().Bits(bits, 6).stream(), kMarker, rest}));
    ASSERT_EQ(scan.Call(kFixedBytes, scan.left(), zelLZ77FlushNone), zelOk);
    ASSERT_EQ(scan.consumed(), 2u);
    EXPECT_EQ(scan.Call(kFixedBytes, scan.left(), zelLZ77FlushSync), zelOk);
    EXPECT_EQ(scan.consumed(), 6u);
    EXPECT_EQ(scan.Call(kFixedBytes, scan.left(), zelLZ77FlushNone), zelWarnStreamEnd);
    EXPECT_EQ(scan.first_literal, 'R');
  }
}

TEST(InflateSyncScan, FindsAMarkerWhoseFirstBytesWaitInTheRecord) {
  // A dynamic header breaks off before its code-length code is complete: the bytes taken wait, and are scanned.
  for (size_t of_marker = 0; of_marker <= 3; ++of_marker) {
    StreamBuilder header;
    header.Bits(4, 3).Bits(0, 10).Bits(15, 4).Bits(0x7F, 7);
    Scan scan(Join({header.stream(), kMarker, ToBytes("x")}));
    ASSERT_EQ(scan.Call(kDynamicBytes, 3 + of_marker, zelLZ77FlushNone), zelWarnSrcShort);
    EXPECT_EQ(scan.Call(kDynamicBytes, scan.left(), zelLZ77FlushSync), zelOk);
    EXPECT_EQ(scan.consumed(), 7u) << of_marker;
  }
}

TEST(InflateSyncScan, KeepsWhatStandsBehindAMarkerInTheRecord) {
  // The longest symbol there is, 48 bits, with the marker in it from its 8th bit on: of its last bit's lack, the marker
  // and 8 bits behind it wait in the record. After the scan these 8 are the next symbols: the block's end.
  //
  //   length symbol 281, code 000000100000000 | extra 00000 | distance symbol 29, code 000111111111111 | 1111 00000000
  //   0
  //          7 bits | marker 00000000 00000                                   000 11111111 1111         1111 | behind
  Lengths lit_len = MakeLengths(282, {{256, 7}, {281, 15}});
  Lengths distance(30, 0);
  for (size_t i = 0; i < 13; ++i) distance[17 + i] = i < 11 ? static_cast<int>(i) + 4 : 15;
  StreamBuilder s;
  // The symbol has to start with a byte's first bit but one, so that its 8th bit is a byte's first.
  s.Dynamic(lit_len, distance, kLast);
  const size_t header_bits = s.bits();
  const int padding = static_cast<int>((17 - header_bits % 8) % 8);
  StreamBuilder t;
  for (int i = 0; i < 8 && t.bits() % 8 != static_cast<size_t>(padding); ++i) t.Fixed().Literal(144).End();
  const size_t fixed_blocks = t.marks().size() / 2;
  t.Dynamic(lit_len, distance, kLast);
  ASSERT_EQ(t.bits() % 8, 1u);
  t.LitLenSymbol(281).Bits(0, 5).DistanceSymbol(29).Bits(0x000F, 4).Bits(0, 8);
  ASSERT_EQ(t.bits() % 8, 0u);
  const Bytes stream = t.stream();
  ASSERT_EQ(Bytes(stream.end() - 5, stream.end() - 1), kMarker);

  for (const bool by_bytes : {false, true}) {
    const Scanner fixed = by_bytes ? kFixedBytes : kFixedPairs;
    const Scanner dynamic = by_bytes ? kDynamicBytes : kDynamicPairs;
    Scan scan(stream);
    for (size_t i = 0; i < fixed_blocks; ++i) {
      ASSERT_EQ(scan.Call(fixed, scan.left(), zelLZ77FlushNone, 2), zelOk);
    }
    ASSERT_EQ(scan.Call(dynamic, scan.left(), zelLZ77FlushNone), zelWarnSrcShort);
    ASSERT_EQ(scan.left(), 0u);
    ASSERT_EQ(scan.made, 0u);
    EXPECT_EQ(scan.Call(dynamic, 0, zelLZ77FlushSync), zelOk);
    EXPECT_EQ(scan.Call(dynamic, 0, zelLZ77FlushNone), zelWarnStreamEnd);
  }
}

TEST(InflateSyncScan, SkipsToTheNextPieceOfARealStream) {
  // Each piece behind a full flush decodes by itself.
  const Bytes data = Text(6000, 3);
  ZlibOptions options;
  options.flush = 3;  // Z_FULL_FLUSH
  options.flush_every = 2000;
  const Bytes stream = DeflateWithZlib(data, options);
  Scan scan(stream);
  ASSERT_EQ(scan.Call(kDynamicBytes, scan.left(), zelLZ77FlushFull), zelOk);
  const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(scan.consumed()), stream.end());
  const Decoded got = StreamDecoder(scan.record.get(), rest, {}).Run();
  EXPECT_EQ(got.status, zelWarnStreamEnd);
  EXPECT_EQ(got.data, Bytes(data.begin() + 2000, data.end()));
}

}  // namespace
}  // namespace zeldc_test
