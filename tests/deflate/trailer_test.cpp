// zelsEncodeLZ77Flush_8u: the trailers of zlib and gzip.

#include <string.h>

#include <algorithm>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

// A record that has written a stream and expects to write its trailer.
class FinishedStream {
 public:
  explicit FinishedStream(zelLZ77ChecksumKind checksum, const Bytes& input = ToBytes("123456789"),
                          BlockKind block = BlockKind::kChosen)
      : record_(zelLZ77LevelNormal, checksum) {
    EncodeOptions options;
    options.block = block;
    EncodeWith(record_.get(), input, options);
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, record_.get());
  }

  zelLZ77State* get() const { return record_.get(); }

 private:
  EncoderRecord record_;
};

const Bytes kAdler32Trailer = {0x09, 0x1E, 0x01, 0xDE};
const Bytes kCrc32Trailer = {0x26, 0x39, 0xF4, 0xCB, 9, 0, 0, 0};

}  // namespace

TEST(Trailer, Adler32HasItsHighestByteFirst) {
  const Written written = WriteTrailer(FinishedStream(zelLZ77CheckAdler32).get(), 100);
  EXPECT_EQ(written.status, zelOk);
  EXPECT_EQ(written.bytes, kAdler32Trailer);
}

TEST(Trailer, Crc32AndSizeHaveTheirLowestByteFirst) {
  const Written written = WriteTrailer(FinishedStream(zelLZ77CheckCrc32).get(), 100);
  EXPECT_EQ(written.status, zelOk);
  EXPECT_EQ(written.bytes, kCrc32Trailer);
}

TEST(Trailer, NoChecksumGivesZeroAndSize) {
  EXPECT_EQ(WriteTrailer(FinishedStream(zelLZ77CheckNone).get(), 100).bytes, (Bytes{0, 0, 0, 0, 9, 0, 0, 0}));
}

TEST(Trailer, OfNoInput) {
  EXPECT_EQ(WriteTrailer(FinishedStream(zelLZ77CheckAdler32, {}).get(), 100).bytes, (Bytes{0, 0, 0, 1}));
  EXPECT_EQ(WriteTrailer(FinishedStream(zelLZ77CheckCrc32, {}).get(), 100).bytes, Bytes(8, 0));
  EXPECT_EQ(WriteTrailer(FinishedStream(zelLZ77CheckNone, {}).get(), 100).bytes, Bytes(8, 0));
}

TEST(Trailer, SizeHasFourBytes) {
  EXPECT_EQ(WriteTrailer(FinishedStream(zelLZ77CheckNone, Bytes(0x01020304, 0)).get(), 100).bytes,
            (Bytes{0, 0, 0, 0, 4, 3, 2, 1}));
}

TEST(Trailer, UnknownChecksumKindIsAnErrorAndComputesNothing) {
  for (zelLZ77ChecksumKind kind : {3, 5, -1}) {
    const FinishedStream stream(kind);
    const Written written = WriteTrailer(stream.get(), 100);
    EXPECT_EQ(written.status, zelErr);
    EXPECT_EQ(written.bytes, Bytes());
  }
}

TEST(Trailer, OtherStatusIsAnErrorAndChangesNothing) {
  const FinishedStream stream(zelLZ77CheckCrc32);
  for (zelLZ77DeflateStatus status : {zelLZ77StatusInit, zelLZ77StatusMatching}) {
    zelsEncodeLZ77SetStatus_8u(status, stream.get());
    EXPECT_EQ(WriteTrailer(stream.get(), 100).status, zelErr);
    EXPECT_EQ(WriteTrailer(stream.get(), 0).status, zelErr);
    EXPECT_EQ(WriteTrailer(stream.get(), 100).bytes, Bytes());
  }
  zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, stream.get());
  EXPECT_EQ(WriteTrailer(stream.get(), 100).bytes, kCrc32Trailer);
}

TEST(Trailer, NullPointersChangeNothing) {
  const FinishedStream stream(zelLZ77CheckCrc32);
  uint8_t output[100];
  uint8_t* dst = output;
  uint8_t* null = nullptr;
  int32_t room = 100;
  EXPECT_EQ(zelsEncodeLZ77Flush_8u(nullptr, &room, stream.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77Flush_8u(&dst, nullptr, stream.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77Flush_8u(&dst, &room, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZ77Flush_8u(&null, &room, stream.get()), zelErrNullPtr);
  EXPECT_EQ(dst, output);
  EXPECT_EQ(room, 100);
  EXPECT_EQ(WriteTrailer(stream.get(), 100).bytes, kCrc32Trailer);
}

TEST(Trailer, NegativeRoomChangesNothing) {
  const FinishedStream stream(zelLZ77CheckCrc32);
  uint8_t output[100];
  uint8_t* dst = output;
  int32_t room = -1;
  EXPECT_EQ(zelsEncodeLZ77Flush_8u(&dst, &room, stream.get()), zelErrSize);
  EXPECT_EQ(dst, output);
  EXPECT_EQ(room, -1);
  EXPECT_EQ(WriteTrailer(stream.get(), 100).bytes, kCrc32Trailer);
}

TEST(Trailer, NoRoomWritesNothing) {
  const FinishedStream stream(zelLZ77CheckCrc32);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(WriteTrailer(stream.get(), 0).status, zelWarnDstFull);
  EXPECT_EQ(WriteTrailer(stream.get(), 100).bytes, kCrc32Trailer);
}

TEST(Trailer, ExactRoomAsksForMoreAndThenWritesNothing) {
  for (zelLZ77ChecksumKind kind : {zelLZ77CheckAdler32, zelLZ77CheckCrc32}) {
    const FinishedStream stream(kind);
    const Bytes& expected = kind == zelLZ77CheckAdler32 ? kAdler32Trailer : kCrc32Trailer;
    Written written = WriteTrailer(stream.get(), expected.size());
    EXPECT_EQ(written.status, zelWarnDstFull);
    EXPECT_EQ(written.bytes, expected);
    EXPECT_EQ(WriteTrailer(stream.get(), 0).status, zelWarnDstFull);
    written = WriteTrailer(stream.get(), 1);
    EXPECT_EQ(written.status, zelOk);
    EXPECT_EQ(written.bytes, Bytes());
  }
}

TEST(Trailer, AnyRoomGivesTheSameBytes) {
  for (size_t room = 1; room <= 9; ++room) {
    const FinishedStream stream(zelLZ77CheckCrc32);
    Bytes got;
    zelStatus status = zelWarnDstFull;
    while (status == zelWarnDstFull && got.size() < 100) {
      WriteTrailer(stream.get(), 0);
      const Written part = WriteTrailer(stream.get(), room);
      got.insert(got.end(), part.bytes.begin(), part.bytes.end());
      status = part.status;
    }
    EXPECT_EQ(status, zelOk);
    EXPECT_EQ(got, kCrc32Trailer) << room;
  }
}

TEST(Trailer, ByteBehindIsClearedWhileRoomIsLeft) {
  for (size_t room = 1; room <= 6; ++room) {
    const FinishedStream stream(zelLZ77CheckAdler32);
    const GuardedBuffer buffer(room);
    memset(buffer.data(), 0xEE, room);
    uint8_t* dst = buffer.data();
    int32_t left = static_cast<int32_t>(room);
    zelsEncodeLZ77Flush_8u(&dst, &left, stream.get());
    Bytes expected = kAdler32Trailer;
    expected.push_back(0);
    expected.push_back(0xEE);
    expected.resize(room);
    EXPECT_EQ(buffer.ToBytes(), expected) << room;
  }
}

TEST(Trailer, FollowsEveryKindOfLastBlock) {
  for (BlockKind block : {BlockKind::kFixed, BlockKind::kDynamic, BlockKind::kStored}) {
    EXPECT_EQ(WriteTrailer(FinishedStream(zelLZ77CheckCrc32, ToBytes("123456789"), block).get(), 9).bytes,
              kCrc32Trailer);
  }
}

TEST(Trailer, WholeFilesAreReadByZlib) {
  for (const NamedData& input : AllKinds(70000)) {
    for (zelLZ77ChecksumKind kind : {zelLZ77CheckAdler32, zelLZ77CheckCrc32}) {
      for (size_t piece : {size_t{5000}, SIZE_MAX}) {
        EncodeOptions options;
        options.checksum = kind;
        options.input_piece = piece;
        EXPECT_TRUE(UnzipsTo(EncodeFile(input.data, options), input.data)) << input.name;
      }
    }
  }
}

// Sums that come close to the modulus, in both halves.
TEST(Trailer, Adler32OfLargeBytes) {
  for (size_t size : {1, 2, 256, 257, 258, 5552, 65520, 65521, 65522, 131042, 200000}) {
    EncodeOptions options;
    options.checksum = zelLZ77CheckAdler32;
    options.input_piece = 60000;
    const Bytes input(size, 0xFF);
    EXPECT_TRUE(UnzipsTo(EncodeFile(input, options), input)) << size;
  }
}
