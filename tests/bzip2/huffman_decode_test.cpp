// The Huffman stage's decoder: statuses, round trips, and where calls stop and go on.

#include <algorithm>
#include <utility>

#include "bzip2/huffman_calls.h"
#include "gtest/gtest.h"

namespace zeldc_test {
namespace {

TEST(Bzip2HuffmanDecodeSize, IsAByteAGroupAndAFixedPart) {
  int32_t size = 0;
  for (const auto& [symbols, expected] : {std::pair{1, 9301},
                                          {50, 9301},
                                          {51, 9302},
                                          {100, 9302},
                                          {900000, 27300},
                                          {1638350, 42067},
                                          {INT32_MAX, 9300 + 42949673}}) {
    EXPECT_EQ(zelsDecodeHuffGetSize_BZ2_8u16u(symbols, &size), zelOk);
    EXPECT_EQ(size, expected) << symbols;
  }
}

TEST(Bzip2HuffmanDecodeSize, StatusesInOrder) {
  EXPECT_EQ(zelsDecodeHuffGetSize_BZ2_8u16u(0, nullptr), zelErrNullPtr);
  int32_t size = 77;
  EXPECT_EQ(zelsDecodeHuffGetSize_BZ2_8u16u(0, &size), zelErrSize);
  EXPECT_EQ(zelsDecodeHuffGetSize_BZ2_8u16u(-1, &size), zelErrSize);
  EXPECT_EQ(size, 77);
}

TEST(Bzip2HuffmanDecodeInit, StatusesInOrder) {
  EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(0, nullptr), zelErrNullPtr);
  const DecodeRecord record(50);
  const uint8_t* const bytes = static_cast<const uint8_t*>(record.RecordMemory::get());
  for (int32_t alpha_size : {0, -1, INT32_MIN, 259, INT32_MAX}) {
    EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(alpha_size, record.get()), zelErrSize);
  }
  EXPECT_TRUE(std::all_of(bytes, bytes + record.size(), [](uint8_t byte) { return byte == 0xA5; }));
  EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(1, record.get()), zelOk);
  EXPECT_EQ(zelsDecodeHuffInit_BZ2_8u16u(258, record.get()), zelOk);
}

TEST(Bzip2HuffmanUnpack, StatusesInOrder) {
  const DecodeRecord record(50);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(2, record.get()), zelOk);
  const Bytes source = BitString().Put("010").Put(1, 15).Put("0").Put("0000100").Put("0000100").ToBytes(4);
  uint32_t code = 0;
  int32_t bits = 0, len = 0;
  const uint8_t* src = source.data();
  const uint8_t* none = nullptr;
  zelBZ2HuffDecodeState* const s = record.get();
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &bits, nullptr, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, nullptr, s), zelErrNullPtr);
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &len, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &bits, &none, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(nullptr, nullptr, &src, &len, s), zelErrSize);
  len = -1;
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &len, s), zelErrSize);
  len = static_cast<int32_t>(source.size());
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(nullptr, &bits, &src, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, nullptr, &src, &len, s), zelErrNullPtr);
  EXPECT_EQ(src, source.data());
  EXPECT_EQ(zelsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &len, s), zelOk);
}

TEST(Bzip2HuffmanUnpack, AfterBadDataOnlyInitHelps) {
  const DecodeRecord record(50);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(2, record.get()), zelOk);
  const Bytes good = Encode(RandomBlock(2, 20, 0, 1)).ToBytes(3);
  EXPECT_EQ(Unpack(record.get(), 0, 0, Bytes(3, 0xFF)).status, zelErrBadData);
  EXPECT_EQ(Unpack(record.get(), 0, 0, good).status, zelErr);
  EXPECT_EQ(DecodeSymbols(record.get(), 0, 0, good, 50).status, zelErr);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(2, record.get()), zelOk);
  EXPECT_EQ(Unpack(record.get(), 0, 0, good).status, zelOk);
}

TEST(Bzip2HuffmanDecode, StatusesInOrder) {
  const DecodeRecord record(50);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(10, record.get()), zelOk);
  const Bytes stream = Encode(RandomBlock(10, 20, 0, 1)).ToBytes(3);
  uint32_t code = 0;
  int32_t bits = 0, src_len = -1, len = 0;
  const uint8_t* src = stream.data();
  const uint8_t* none = nullptr;
  uint16_t dst[50];
  zelBZ2HuffDecodeState* const s = record.get();
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(nullptr, &bits, &src, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, nullptr, &src, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, nullptr, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, nullptr, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &none, &src_len, dst, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, nullptr, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, dst, nullptr, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, dst, &len, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, dst, &len, s), zelErrSize);
  len = 50;
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, dst, &len, s), zelErrSize);
  src_len = static_cast<int32_t>(stream.size());
  EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, dst, &len, s), zelErr);  // nothing unpacked
  EXPECT_EQ(len, 50);
  EXPECT_EQ(src, stream.data());
}

TEST(Bzip2HuffmanDecode, NothingIsDecodedWhileADescriptionIsIncomplete) {
  const DecodeRecord record(50);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(10, record.get()), zelOk);
  const Bytes stream = Encode(RandomBlock(10, 20, 0, 1)).ToBytes(3);
  ASSERT_EQ(Unpack(record.get(), 0, 0, stream).status, zelOk);
  ASSERT_EQ(Unpack(record.get(), 0, 0, Bytes(stream.begin(), stream.begin() + 4)).status, zelWarnSrcShort);
  EXPECT_EQ(DecodeSymbols(record.get(), 0, 0, stream, 50).status, zelErr);
}

TEST(Bzip2HuffmanDecode, BlocksOfEveryKindComeBack) {
  for (const Block& block : AllBlocks()) {
    SCOPED_TRACE(block.name);
    const Bytes stream = Encode(block).ToBytes(3);
    for (const auto& [piece, room, seed] : {std::tuple{size_t{1000000}, size_t{200000}, 0},
                                            {size_t{1000000}, size_t{50}, 0},
                                            {size_t{1000}, size_t{250}, 0},
                                            {size_t{300}, size_t{10000}, 5}}) {
      const Decoded decoded = DecodeBesideModel(block.alpha_size, stream, piece, room, static_cast<uint64_t>(seed));
      ASSERT_EQ(decoded.status, zelOk);
      ASSERT_TRUE(
          std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
    }
  }
}

TEST(Bzip2HuffmanDecode, EverySplitOfTheInputGivesTheSame) {
  const Block block = ChangingBlock(120, 1500, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  for (size_t piece = 1; piece <= 160; ++piece) {
    const Decoded decoded = DecodeBesideModel(120, stream, piece, 2000);
    ASSERT_EQ(decoded.status, zelOk) << piece;
    ASSERT_TRUE(
        std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
  }
  for (size_t seed = 1; seed <= 40; ++seed) {
    const Decoded decoded = DecodeBesideModel(120, stream, 1 + seed * 7, 2000, seed);
    ASSERT_EQ(decoded.status, zelOk) << seed;
    ASSERT_EQ(decoded.symbols.size() + 1, block.symbols.size());
  }
}

TEST(Bzip2HuffmanDecode, EveryCutInTwoGivesTheSame) {
  const Block block = RandomBlock(258, 130, 4, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  for (size_t cut = 1; cut < stream.size(); ++cut) {
    const DecodeRecord record(130);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(258, record.get()), zelOk);
    const Bytes first(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(cut));
    const Bytes second(stream.begin() + static_cast<ptrdiff_t>(cut), stream.end());
    CallResult call = Unpack(record.get(), 0, 0, first);
    Symbols symbols;
    Bytes rest = second;
    if (call.status == zelWarnSrcShort) {
      call = Unpack(record.get(), call.code, call.code_bits, second);
      ASSERT_EQ(call.status, zelOk);
      rest.erase(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(call.consumed));
    } else {
      const Bytes left(first.begin() + static_cast<ptrdiff_t>(call.consumed), first.end());
      call = DecodeSymbols(record.get(), call.code, call.code_bits, left, 200);
      ASSERT_EQ(call.consumed, left.size());
      symbols = call.symbols;
    }
    if (call.status != zelOk || symbols.empty()) {
      call = DecodeSymbols(record.get(), call.code, call.code_bits, rest, 200);
      symbols.insert(symbols.end(), call.symbols.begin(), call.symbols.end());
    }
    ASSERT_TRUE(call.status == zelOk || cut + 2 >= stream.size()) << cut;
    if (call.status != zelOk) continue;
    ASSERT_TRUE(std::equal(symbols.begin(), symbols.end(), block.symbols.begin(), block.symbols.end() - 1)) << cut;
  }
}

TEST(Bzip2HuffmanDecode, BitsThatWaitAreReadFirst) {
  const Block block = RandomBlock(70, 400, 3, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  for (int32_t waiting : {8, 16, 24, 32}) {
    uint32_t code = 0;
    for (int32_t i = 0; i < waiting / 8; ++i) code |= uint32_t{stream[static_cast<size_t>(i)]} << (24 - 8 * i);
    const DecodeRecord record(400);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(70, record.get()), zelOk);
    const Bytes rest(stream.begin() + waiting / 8, stream.end());
    const CallResult unpacked = Unpack(record.get(), code, waiting, rest);
    ModelDecoder model(70);
    EXPECT_TRUE(unpacked == model.Unpack(code, waiting, rest)) << waiting;
  }
}

TEST(Bzip2HuffmanDecode, ACountOfWaitingBitsOutside0To32IsTakenForTheNearest) {
  const Bytes stream = Encode(RandomBlock(70, 400, 3, 1)).ToBytes(3);
  const uint32_t code = uint32_t{stream[0]} << 24 | uint32_t{stream[1]} << 16 | uint32_t{stream[2]} << 8 | stream[3];
  const Bytes rest(stream.begin() + 4, stream.end());
  for (int32_t count : {33, 64, INT32_MAX}) {
    const DecodeRecord record(400);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(70, record.get()), zelOk);
    EXPECT_EQ(Unpack(record.get(), code, count, rest).status, zelOk);
  }
  for (int32_t count : {-1, -8, INT32_MIN}) {
    const DecodeRecord record(400);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(70, record.get()), zelOk);
    const CallResult unpacked = Unpack(record.get(), 0xFFFFFFFF, count, stream);
    EXPECT_EQ(unpacked.status, zelOk);
    const Bytes left(stream.begin() + static_cast<ptrdiff_t>(unpacked.consumed), stream.end());
    EXPECT_EQ(DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, left, 1000).symbols.size(), 399u);
  }
}

TEST(Bzip2HuffmanDecode, ABlockWantsTwentyBitsAtItsLastCode) {
  const Block block = RandomBlock(3, 60, 0, 1);
  const BitString bits = Encode(block);
  size_t incomplete = 0;
  for (size_t more = 0; more <= 3; ++more) {
    const Bytes stream = bits.ToBytes(more);
    const Decoded decoded = DecodeBesideModel(3, stream, 1000, 1000);
    const HuffmanContext context = ModelContext(3, block.symbols);
    const size_t last = ModelCodes(context.lengths[static_cast<size_t>(context.selectors[1])])[2].size();
    const bool enough = stream.size() * 8 >= bits.bits.size() - last + 20;
    EXPECT_EQ(decoded.status, enough ? zelOk : zelWarnSrcShort);
    incomplete += !enough;
  }
  EXPECT_TRUE(incomplete > 0 && incomplete < 4);
}

TEST(Bzip2HuffmanDecode, BytesOfZerosBehindTheBlockFinishIt) {
  const Block block = RandomBlock(3, 60, 0, 1);
  const Bytes stream = Encode(block).ToBytes();
  const DecodeRecord record(60);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(3, record.get()), zelOk);
  CallResult call = Unpack(record.get(), 0, 0, stream);
  ASSERT_EQ(call.status, zelOk);
  const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(call.consumed), stream.end());
  call = DecodeSymbols(record.get(), call.code, call.code_bits, rest, 100);
  ASSERT_EQ(call.status, zelWarnSrcShort);
  Symbols symbols = call.symbols;
  call = DecodeSymbols(record.get(), call.code, call.code_bits, Bytes(3, 0), 100);
  EXPECT_EQ(call.status, zelOk);
  symbols.insert(symbols.end(), call.symbols.begin(), call.symbols.end());
  EXPECT_TRUE(std::equal(symbols.begin(), symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
}

TEST(Bzip2HuffmanDecode, ADestinationOf50DecodesABlock) {
  const Block block = ChangingBlock(90, 5000, 1);
  const Decoded decoded = DecodeBesideModel(90, Encode(block).ToBytes(3), 1000000, 50);
  EXPECT_EQ(decoded.status, zelOk);
  EXPECT_TRUE(
      std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
}

TEST(Bzip2HuffmanDecode, ADestinationOf7EntersAGroupWithEachCall) {
  const Block block = ChangingBlock(90, 5000, 1);
  // As the model does it, and therefore wrong.
  const Decoded decoded = DecodeBesideModel(90, Encode(block).ToBytes(3), 1000000, 7);
  EXPECT_FALSE(decoded.symbols.size() + 1 == block.symbols.size() &&
               std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin()));
}

TEST(Bzip2HuffmanDecode, LargeCallsEndWhereTheModelsDo) {
  // Long codes among short ones, with rooms and pieces around those from which on a call makes tables of its own.
  const Block block = ChangingBlock(258, 60000, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  for (size_t room : {16383u, 16384u, 16399u, 16400u, 16401u, 16402u, 20000u, 59999u, 60000u, 60001u}) {
    const Decoded decoded = DecodeBesideModel(258, stream, 1000000, room);
    ASSERT_FALSE(HasFailure()) << room;
    if (room >= 59999 || room % 50 == 0) {
      EXPECT_TRUE(
          std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
    }
  }
  for (size_t piece = 8190; piece < 9000; piece += 101) {
    const Decoded decoded = DecodeBesideModel(258, stream, piece, 100000);
    ASSERT_EQ(decoded.status, zelOk) << piece;
    ASSERT_TRUE(
        std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
  }
}

TEST(Bzip2HuffmanDecode, ALargeCallEndsAtEveryPlaceOfAGroup) {
  // The call goes on by whole groups up to the end only if there is source behind it.
  for (size_t count = 17000; count <= 17050; ++count) {
    const Block block = RandomBlock(30, count, 1, count);
    Bytes stream = Encode(block).ToBytes(3);
    stream.resize(stream.size() + 200);
    const Decoded decoded = DecodeBesideModel(30, stream, 1000000, 20000);
    ASSERT_EQ(decoded.status, zelOk) << count;
    ASSERT_TRUE(
        std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
  }
}

TEST(Bzip2HuffmanDecode, ALargeCallThatFillsItsRoomTakesNoMoreThanTheModel) {
  // Short codes, so that the last symbols come in pairs, too.
  const Block block = RandomBlock(30, 60000, 4, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  ModelDecoder unpacked_model(30);
  unpacked_model.Unpack(0, 0, stream);
  const DecodeRecord record(60000);
  for (size_t room = 16384; room < 18000; room += room % 50 == 0 ? 50 : 1) {
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(30, record.get()), zelOk);
    const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
    const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(unpacked.consumed), stream.end());
    ModelDecoder model = unpacked_model;
    ASSERT_TRUE(DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, rest, room) ==
                model.Decode(unpacked.code, unpacked.code_bits, rest, room))
        << room;
  }
}

TEST(Bzip2HuffmanDecode, ADescriptionOfOneSymbolTakesNoMoreThanTheModel) {
  // Its last field has six bits, of which none are left over; here at every place in a byte.
  for (size_t before = 0; before < 8; ++before) {
    const BitString shifted = BitString().Put(std::string(before, '0')).Put(Encode({"", 1, {0}}).bits);
    const Bytes stream = shifted.ToBytes(5);
    const uint32_t code = static_cast<uint32_t>(stream[0]) << (24 + before);
    const int32_t code_bits = before == 0 ? 0 : 8 - static_cast<int32_t>(before);
    const Bytes rest(stream.begin() + (before == 0 ? 0 : 1), stream.end());
    const DecodeRecord record(1);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(1, record.get()), zelOk);
    ModelDecoder model(1);
    EXPECT_TRUE(Unpack(record.get(), before == 0 ? 0 : code, code_bits, rest) ==
                model.Unpack(before == 0 ? 0 : code, code_bits, rest));
  }
}

TEST(Bzip2HuffmanDecode, ABlockThatIsGivenUpLeavesNothingToTheNext) {
  const Block block = ChangingBlock(100, 500, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  const DecodeRecord record(500);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(100, record.get()), zelOk);
  for (size_t size : {20u, 100u, 1000u}) {
    const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
    ASSERT_EQ(unpacked.status, zelOk);
    Bytes rest(stream.begin() + static_cast<ptrdiff_t>(unpacked.consumed), stream.end());
    rest.resize(std::min(rest.size(), size));
    const CallResult decoded = DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, rest, 1000);
    EXPECT_EQ(decoded.status, size == 1000 ? zelOk : zelWarnSrcShort);
    EXPECT_TRUE(std::equal(decoded.symbols.begin(), decoded.symbols.end(), block.symbols.begin()));
  }
}

TEST(Bzip2HuffmanDecode, TheEndOfTheBlockStandsBehindTheCountedSymbols) {
  const Block block = RandomBlock(90, 200, 1, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  for (size_t room : {200u, 201u, 500u}) {
    const DecodeRecord record(200);
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(90, record.get()), zelOk);
    const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
    std::vector<uint16_t> dst(room, 0xDEAD);
    uint32_t code = unpacked.code;
    int32_t bits = unpacked.code_bits, len = static_cast<int32_t>(room);
    const uint8_t* src = stream.data() + unpacked.consumed;
    int32_t src_len = static_cast<int32_t>(stream.size() - unpacked.consumed);
    EXPECT_EQ(zelsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &src_len, dst.data(), &len, record.get()), zelOk);
    EXPECT_EQ(len, 199);
    EXPECT_EQ(dst[199], 89);
    for (size_t i = 200; i < room; ++i) EXPECT_EQ(dst[i], 0xDEAD);
  }
}

TEST(Bzip2HuffmanDecode, WithRoomForAllButTheEndTheDestinationIsFull) {
  const Block block = RandomBlock(90, 151, 1, 1);
  const Bytes stream = Encode(block).ToBytes(10);
  const DecodeRecord record(151);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(90, record.get()), zelOk);
  CallResult call = Unpack(record.get(), 0, 0, stream);
  Bytes rest(stream.begin() + static_cast<ptrdiff_t>(call.consumed), stream.end());
  call = DecodeSymbols(record.get(), call.code, call.code_bits, rest, 150);
  EXPECT_EQ(call.status, zelWarnDstFull);
  EXPECT_EQ(call.symbols.size(), 150u);
  rest.erase(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(call.consumed));
  call = DecodeSymbols(record.get(), call.code, call.code_bits, rest, 1);
  EXPECT_EQ(call.status, zelOk);
  EXPECT_TRUE(call.symbols.empty());
}

TEST(Bzip2HuffmanDecode, ShortOfSourceWinsOverAFullDestination) {
  const Block block = RandomBlock(90, 500, 1, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  const DecodeRecord record(500);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(90, record.get()), zelOk);
  const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
  const Bytes rest(stream.begin() + static_cast<ptrdiff_t>(unpacked.consumed), stream.end());
  DecodeRecord full_only(500);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(90, full_only.get()), zelOk);
  Unpack(full_only.get(), 0, 0, stream);
  CallResult call = DecodeSymbols(full_only.get(), unpacked.code, unpacked.code_bits, rest, 100);
  ASSERT_EQ(call.status, zelWarnDstFull);
  // Exactly the bytes that this took.
  const Bytes exact(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(call.consumed));
  const CallResult both = DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, exact, 100);
  EXPECT_EQ(both.status, zelWarnSrcShort);
  EXPECT_EQ(both.symbols, call.symbols);
  EXPECT_EQ(both.code, call.code);
  EXPECT_EQ(both.code_bits, call.code_bits);
}

TEST(Bzip2HuffmanDecode, NoSourceIsNoError) {
  const Block block = RandomBlock(90, 500, 1, 1);
  const Bytes stream = Encode(block).ToBytes(3);
  const DecodeRecord record(500);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(90, record.get()), zelOk);
  const CallResult unpacked = Unpack(record.get(), 0, 0, stream);
  const CallResult none = DecodeSymbols(record.get(), unpacked.code, unpacked.code_bits, {}, 100);
  EXPECT_EQ(none.status, zelWarnSrcShort);
  EXPECT_TRUE(none.symbols.empty());
  EXPECT_EQ(none.code, unpacked.code);
  EXPECT_EQ(none.code_bits, unpacked.code_bits);
  // Symbols that wait come without a source.
  uint32_t code = 0;
  for (size_t i = 0; i < 4; ++i) code = code << 8 | stream[unpacked.consumed + i];
  EXPECT_GE(DecodeSymbols(record.get(), code, 32, {}, 100).symbols.size(), 1u);
}

TEST(Bzip2HuffmanDecode, OneRecordServesBlockAfterBlockWithoutInit) {
  BitString bits;
  std::vector<Block> blocks;
  for (size_t seed = 1; seed <= 5; ++seed) blocks.push_back(ChangingBlock(50, 300 * seed, seed));
  for (const Block& block : blocks) bits.Put(Encode(block).bits);
  const Bytes stream = bits.ToBytes(3);
  const DecodeRecord record(1500);
  ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(50, record.get()), zelOk);
  CallResult call;
  size_t at = 0;
  for (const Block& block : blocks) {
    call = Unpack(record.get(), call.code, call.code_bits,
                  Bytes(stream.begin() + static_cast<ptrdiff_t>(at), stream.end()));
    ASSERT_EQ(call.status, zelOk);
    at += call.consumed;
    call = DecodeSymbols(record.get(), call.code, call.code_bits,
                         Bytes(stream.begin() + static_cast<ptrdiff_t>(at), stream.end()), 2000);
    ASSERT_EQ(call.status, zelOk);
    at += call.consumed;
    EXPECT_TRUE(std::equal(call.symbols.begin(), call.symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
  }
}

TEST(Bzip2HuffmanDecode, ARecordCanBeMovedBetweenCallsAndHoldAnything) {
  for (int32_t groups : {24, 25, 26, 27}) {
    const Block block = ChangingBlock(200, static_cast<size_t>(groups) * 50, 1);
    const Bytes stream = Encode(block).ToBytes(3);
    DecodeRecord first(groups * 50, static_cast<uint8_t>(groups * 77));
    ASSERT_EQ(zelsDecodeHuffInit_BZ2_8u16u(200, first.get()), zelOk);
    auto record = std::make_unique<DecodeRecord>(std::move(first));
    CallResult call;
    Symbols symbols;
    bool unpacked = false;
    for (size_t at = 0; at < stream.size(); at += 100) {
      Bytes source(stream.begin() + static_cast<ptrdiff_t>(at),
                   stream.begin() + static_cast<ptrdiff_t>(std::min(at + 100, stream.size())));
      if (!unpacked) {
        call = Unpack(record->get(), call.code, call.code_bits, source);
        unpacked = call.status == zelOk;
        source.erase(source.begin(), source.begin() + static_cast<ptrdiff_t>(call.consumed));
        record = std::make_unique<DecodeRecord>(std::move(*record));
      }
      if (unpacked) {
        call = DecodeSymbols(record->get(), call.code, call.code_bits, source, 10000);
        symbols.insert(symbols.end(), call.symbols.begin(), call.symbols.end());
        if (call.status == zelOk) break;
        record = std::make_unique<DecodeRecord>(std::move(*record));
      }
      EXPECT_TRUE(record->IsTailIntact());
    }
    EXPECT_EQ(call.status, zelOk);
    EXPECT_TRUE(std::equal(symbols.begin(), symbols.end(), block.symbols.begin(), block.symbols.end() - 1));
    EXPECT_TRUE(record->IsTailIntact());
  }
}

}  // namespace
}  // namespace zeldc_test
