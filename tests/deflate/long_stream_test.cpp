// Streams and calls of more than 2^31 bytes. These take minutes, so they are built only on demand (ZELDC_LONG_TESTS).

#include <string.h>
#include <sys/mman.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

// Decodes a gzip file that comes piece by piece, and compares the output with a block that repeats for ever.
class RepeatsReader {
 public:
  explicit RepeatsReader(const Bytes& block) : block_(block), out_(1 << 20) {
    if (inflateInit2(&z_, 15 + 16) != Z_OK) throw std::runtime_error("inflateInit2");
  }
  ~RepeatsReader() { inflateEnd(&z_); }

  void Take(uint8_t* bytes, size_t size) {
    z_.next_in = bytes;
    z_.avail_in = static_cast<uInt>(size);
    do {
      z_.next_out = out_.data();
      z_.avail_out = static_cast<uInt>(out_.size());
      status_ = inflate(&z_, Z_NO_FLUSH);
      const size_t made = out_.size() - z_.avail_out;
      for (size_t done = 0; done < made;) {
        const size_t at = static_cast<size_t>(total_ % block_.size());
        const size_t n = std::min(made - done, block_.size() - at);
        same_ = same_ && memcmp(out_.data() + done, block_.data() + at, n) == 0;
        done += n;
        total_ += n;
      }
    } while (status_ == Z_OK && z_.avail_out == 0);
    same_ = same_ && (status_ == Z_OK || status_ == Z_STREAM_END || status_ == Z_BUF_ERROR);
  }

  bool ended() const { return status_ == Z_STREAM_END; }  // zlib has found checksum and size right
  bool same() const { return same_; }
  uint64_t total() const { return total_; }

 private:
  const Bytes& block_;
  Bytes out_;
  z_stream z_{};
  int status_ = Z_OK;
  uint64_t total_ = 0;
  bool same_ = true;
};

class Writer {
 public:
  Writer(zelLZ77State* record, RepeatsReader& reader) : record_(record), reader_(reader), room_(1 << 20) {}

  void Block(zelLZ77Pair* pairs, int32_t count, bool is_last) {
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, record_);
    const zelLZ77FlushMode flush = is_last ? zelLZ77FlushFinal : zelLZ77FlushNone;
    Repeat(is_last ? zelWarnStreamEnd : zelOk, [&](uint8_t** dst, int32_t* left) {
      return zelsEncodeLZ77DynamicHuff_8u(&pairs, &count, dst, left, flush, record_);
    });
  }

  void Trailer() {
    zelsEncodeLZ77SetStatus_8u(zelLZ77StatusFinal, record_);
    Repeat(zelOk, [&](uint8_t** dst, int32_t* left) { return zelsEncodeLZ77Flush_8u(dst, left, record_); });
  }

 private:
  template <typename Call>
  void Repeat(zelStatus last, Call call) {
    zelStatus status = zelWarnDstFull;
    while (status == zelWarnDstFull) {
      uint8_t* dst = room_.data();
      int32_t left = static_cast<int32_t>(room_.size());
      status = call(&dst, &left);
      reader_.Take(room_.data(), static_cast<size_t>(dst - room_.data()));
    }
    ASSERT_EQ(status, last);
  }

  zelLZ77State* record_;
  RepeatsReader& reader_;
  Bytes room_;
};

uint8_t kGzipHeader[] = {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 255};

class LongStream : public testing::TestWithParam<zelLZ77Level> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Level, LongStream, testing::ValuesIn(kLevels), LevelName);

TEST_P(LongStream, OfMoreThan4GiBInManyCalls) {
  Bytes block = Text(3000000, 1);  // not a divisor of any power of two
  const EncoderRecord record(GetParam(), zelLZ77CheckCrc32);
  RepeatsReader reader(block);
  reader.Take(kGzipHeader, sizeof(kGzipHeader));
  Writer writer(record.get(), reader);
  std::vector<zelLZ77Pair> pairs(1 << 20);
  constexpr int kRounds = 1500;
  for (int round = 1; round <= kRounds; ++round) {
    uint8_t* src = block.data();
    int32_t left = static_cast<int32_t>(block.size());
    const zelLZ77FlushMode flush = round == kRounds ? zelLZ77FlushFinal : zelLZ77FlushNone;
    while (left > 0) {
      zelLZ77Pair* next = pairs.data();
      int32_t room = static_cast<int32_t>(pairs.size());
      zelsEncodeLZ77_8u(&src, &left, &next, &room, flush, record.get());
      writer.Block(pairs.data(), static_cast<int32_t>(next - pairs.data()), round == kRounds && left == 0);
    }
    ASSERT_TRUE(reader.same()) << round;
  }
  writer.Trailer();
  EXPECT_TRUE(reader.ended());
  EXPECT_EQ(reader.total(), uint64_t{kRounds} * block.size());
}

TEST_P(LongStream, CallsOf2To31Bytes) {
  constexpr size_t kSize = 0x7FFFFFFF;
  void* const zeros = mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (zeros == MAP_FAILED) GTEST_SKIP() << "no address space for 2 GiB";
  const Bytes zero(1000, 0);
  const EncoderRecord record(GetParam(), zelLZ77CheckCrc32);
  RepeatsReader reader(zero);
  reader.Take(kGzipHeader, sizeof(kGzipHeader));
  Writer writer(record.get(), reader);
  std::vector<zelLZ77Pair> pairs(9000000);
  for (int round = 1; round <= 3; ++round) {
    uint8_t* src = static_cast<uint8_t*>(zeros);
    int32_t left = kSize;
    zelLZ77Pair* next = pairs.data();
    int32_t room = static_cast<int32_t>(pairs.size());
    ASSERT_EQ(
        zelsEncodeLZ77_8u(&src, &left, &next, &room, round == 3 ? zelLZ77FlushFinal : zelLZ77FlushNone, record.get()),
        zelOk);
    writer.Block(pairs.data(), static_cast<int32_t>(next - pairs.data()), round == 3);
  }
  writer.Trailer();
  EXPECT_TRUE(reader.same());
  EXPECT_TRUE(reader.ended());
  EXPECT_EQ(reader.total(), 3 * uint64_t{kSize});
  munmap(zeros, kSize);
}
