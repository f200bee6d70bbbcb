// The byte Huffman coder's encoder: every bit of its output, into buffers that end at a guard page.

#if !defined(_WIN32)
#include <sys/mman.h>
#endif

#include <algorithm>

#include "entropy/huffman_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

// An encoder, and the stream that it writes.
class Stream {
 public:
  explicit Stream(const Frequencies& frequencies) {
    EXPECT_EQ(zelsEncodeHuffInit_8u(frequencies.data(), record_.get()), zelOk);
    codes_ = ModelCodes(ModelLengths(frequencies));
  }

  // Encodes into exactly as many bytes as are due.
  void Encode(const Bytes& data) {
    const GuardedBuffer source(data);
    bits_ += ModelBits(codes_, data);
    const size_t due = bits_.size() / 32 * 4 - written_.size();
    const GuardedBuffer out(due);
    int32_t len = -1;
    ASSERT_EQ(zelsEncodeHuff_8u(source.data(), static_cast<int32_t>(data.size()), out.data(), &len, record_.get()),
              zelOk);
    ASSERT_EQ(len, static_cast<int32_t>(due));
    Append(written_, out.ToBytes());
  }

  // The pending bits, which stay pending.
  Bytes Final() const {
    const size_t due = (bits_.size() % 32 + 7) / 8;
    const GuardedBuffer out(due);
    int32_t len = -1;
    EXPECT_EQ(zelsEncodeHuffFinal_8u(out.data(), &len, record_.get()), zelOk);
    EXPECT_EQ(len, static_cast<int32_t>(due));
    return out.ToBytes();
  }

  // What has been written and is pending is as it must be.
  void Check() const {
    Bytes all = written_;
    Append(all, Final());
    EXPECT_TRUE(all == BytesOfBits(bits_));
  }

  zelHuffState* record() const { return record_.get(); }

 private:
  HuffRecord record_;
  Codes codes_;
  std::string bits_;
  Bytes written_;
};

TEST(HuffmanEncode, StatusesInOrder) {
  const Stream stream({1, 1});
  zelHuffState* const s = stream.record();
  uint8_t src[1] = {0}, out[4];
  int32_t len = 77;
  EXPECT_EQ(zelsEncodeHuff_8u(nullptr, 0, out, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_8u(src, 0, nullptr, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_8u(src, 0, out, nullptr, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_8u(src, 0, out, &len, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuff_8u(src, 0, out, &len, s), zelErrSize);
  EXPECT_EQ(zelsEncodeHuff_8u(src, -1, out, &len, s), zelErrSize);
  EXPECT_EQ(len, 77);
  EXPECT_EQ(zelsEncodeHuffFinal_8u(nullptr, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffFinal_8u(out, nullptr, s), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffFinal_8u(out, &len, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffFinal_8u(out, &len, s), zelOk);
  EXPECT_EQ(len, 0) << "nothing is pending";
}

TEST(HuffmanEncode, OneByteInUseIsAZeroBitEachTime) {
  Frequencies f{};
  f['x'] = 1;
  Stream stream(f);
  for (size_t n : {1, 30, 1, 1, 63, 1000, 7}) {
    stream.Encode(Bytes(n, 'x'));
    stream.Check();
  }
}

TEST(HuffmanEncode, ThreeCodesOfFiveBitsAreTwoBytesWithAZeroBit) {
  Frequencies f{};
  std::fill_n(f.begin(), 32, 1);
  Stream stream(f);
  stream.Encode({1, 2, 3});
  const Bytes last = stream.Final();
  ASSERT_EQ(last.size(), 2u);
  EXPECT_EQ(last[1] & 1, 0);
  stream.Check();
}

TEST(HuffmanEncode, FinalLeavesThePendingBitsPending) {
  Stream stream(CountBytes(Text(1000, 1)));
  for (size_t n : {1, 2, 3, 4, 5, 6, 7}) {
    stream.Encode(Text(n, n));
    EXPECT_EQ(stream.Final(), stream.Final());
    stream.Check();
  }
}

TEST(HuffmanEncode, BytesWithoutACodeAddNothing) {
  Frequencies f{};
  f['a'] = 3;
  f['b'] = 1;
  f['c'] = 1;
  Stream stream(f);
  stream.Encode({'z', 'a', 'z', 'z', 'b', 'c', 'z'});
  stream.Encode(Bytes(1000, 'z'));
  stream.Check();
  Bytes mixed = SmallAlphabet(5000, 256, 1);
  stream.Encode(mixed);
  stream.Check();
  // Wide stores must not run ahead of what little there is.
  mixed.resize(2000, 'z');
  stream.Encode(mixed);
  Bytes sparse(3000, 'z');
  for (size_t i = 0; i < sparse.size(); i += 97) sparse[i] = 'b';
  stream.Encode(sparse);
  stream.Check();
}

TEST(HuffmanEncode, EveryDistributionInPiecesOfAllSizes) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const Bytes data = DrawBytes(frequencies, 6000, 1);
    Random random(2);
    for (size_t max_piece : {1, 5, 40, 300, 2000, 6000}) {
      Stream stream(frequencies);
      const size_t end = max_piece < 40 ? 500 : data.size();
      for (size_t at = 0; at < end;) {
        const size_t size = max_piece == 6000 ? end : std::min(Uniform(random, 1, max_piece), end - at);
        stream.Encode(
            Bytes(data.begin() + static_cast<ptrdiff_t>(at), data.begin() + static_cast<ptrdiff_t>(at + size)));
        at += size;
      }
      stream.Check();
    }
  }
}

TEST(HuffmanEncode, EveryLengthAndEveryNumberOfPendingBits) {
  const Frequencies f = CountBytes(Text(3000, 4));
  const Bytes data = Text(3000, 4);
  for (size_t before = 0; before < 12; ++before) {
    for (size_t size = 1; size < 90; ++size) {
      Stream stream(f);
      if (before > 0) stream.Encode(Front(data, before));
      stream.Encode(Bytes(data.begin() + 50, data.begin() + 50 + static_cast<ptrdiff_t>(size)));
      stream.Check();
    }
  }
}

TEST(HuffmanEncode, LongCodesOnly) {
  // The rarest of 33 bytes, with codes of up to 32 bits, one after another.
  const Frequencies f = FibonacciFrequencies(33);
  const Lengths lengths = ModelLengths(f);
  Bytes rare;
  for (size_t v = 0; v < 256; ++v) {
    if (lengths[v] >= 20) rare.push_back(static_cast<uint8_t>(v));
  }
  Bytes data;
  Random random(1);
  for (int i = 0; i < 2000; ++i) data.push_back(rare[Uniform(random, 0, rare.size() - 1)]);
  Stream stream(f);
  stream.Encode(data);
  stream.Encode({0});
  stream.Encode(data);
  stream.Check();
}

TEST(HuffmanEncode, TheToldBufferSizeSuffices) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const Lengths lengths = ModelLengths(frequencies);
    const Codes codes = ModelCodes(lengths);
    // The worst of all: nothing but the longest code.
    const size_t longest = static_cast<size_t>(std::max_element(lengths.begin(), lengths.end()) - lengths.begin());
    for (int32_t n : {1, 2, 3, 100}) {
      int32_t size = 0;
      ASSERT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), n, &size, nullptr), zelOk);
      const size_t bits = static_cast<size_t>(n) * codes[longest].size();
      EXPECT_GE(static_cast<size_t>(size), (bits + 7) / 8);
      EXPECT_GE(static_cast<size_t>(size) + 3, (bits + 31) / 32 * 4) << "31 bits pending";
    }
  }
}

#if !defined(_WIN32)  // which has no such mappings
TEST(HuffmanEncode, MoreOutputThanACountCanSayIsRefused) {
  // 2^29 codes of 32 bits; all zeros, of which a mapping needs no memory.
  const size_t size = size_t{1} << 29;
  void* const zeros = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (zeros == MAP_FAILED) GTEST_SKIP() << "no address space";
  const Stream stream(FibonacciFrequencies(33));
  uint8_t out[4] = {9};
  int32_t len = 77;
  EXPECT_EQ(zelsEncodeHuff_8u(static_cast<uint8_t*>(zeros), static_cast<int32_t>(size), out, &len, stream.record()),
            zelErrSize);
  EXPECT_EQ(len, 77);
  EXPECT_EQ(out[0], 9);
  munmap(zeros, size);
}
#endif

TEST(HuffmanEncodeOne, StatusesInOrder) {
  const Stream stream({1, 1, 1});
  uint8_t out[2] = {7, 7};
  EXPECT_EQ(zelsEncodeHuffOne_8u(9, nullptr, 8, stream.record()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffOne_8u(9, out, 8, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffOne_8u(9, out, 8, stream.record()), zelErrSize);
  EXPECT_EQ(zelsEncodeHuffOne_8u(9, out, -1, stream.record()), zelErrSize);
  EXPECT_EQ(zelsEncodeHuffOne_8u(9, out, 7, stream.record()), zelErrHuffLenTable);
  EXPECT_EQ(out[0], 7);
}

TEST(HuffmanEncodeOne, IsOredIntoTheFirstByteAndOverwritesTheOthers) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const Stream stream(frequencies);
    const Codes codes = ModelCodes(ModelLengths(frequencies));
    for (size_t v = 0; v < 256; ++v) {
      if (codes[v].empty()) continue;
      for (size_t offset = 0; offset < 8; ++offset) {
        const size_t size = (codes[v].size() + offset + 7) / 8;
        const GuardedBuffer out(size);
        std::fill_n(out.data(), size, uint8_t{0xFF});
        out.data()[0] = static_cast<uint8_t>(0xFF00 >> offset);  // the bits before are set, those behind are not
        ASSERT_EQ(
            zelsEncodeHuffOne_8u(static_cast<uint8_t>(v), out.data(), static_cast<int32_t>(offset), stream.record()),
            zelOk);
        ASSERT_EQ(out.ToBytes(), BytesOfBits(std::string(offset, '1') + codes[v])) << v << " at " << offset;
      }
    }
  }
}

TEST(HuffmanEncodeOne, DoesNotKnowThePendingBits) {
  Stream stream(CountBytes(Text(1000, 1)));
  stream.Encode(Text(10, 1));
  uint8_t out[5] = {};
  ASSERT_EQ(zelsEncodeHuffOne_8u('e', out, 3, stream.record()), zelOk);
  stream.Encode(Text(10, 2));
  stream.Check();
}

}  // namespace
}  // namespace zeldc_test
