// LZO1X streams of liblzo2 and for it.

#include <lzo/lzo1x.h>

#include <optional>
#include <vector>

#include "dictionary/lzo_calls.h"
#include "dictionary/lzo_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

using Compress = int (*)(const lzo_bytep, lzo_uint, lzo_bytep, lzo_uintp, lzo_voidp);

Bytes CompressWithLiblzo2(const Bytes& in, Compress compress, size_t work_size) {
  std::vector<uint64_t> work(work_size / 8 + 1);
  Bytes out(in.size() + in.size() / 16 + 67);
  lzo_uint size = out.size();
  EXPECT_EQ(compress(in.data(), in.size(), out.data(), &size, work.data()), LZO_E_OK);
  return Front(out, size);
}

Bytes DecompressWithLiblzo2(const Bytes& stream, size_t room) {
  Bytes out(room);
  lzo_uint size = room;
  EXPECT_EQ(lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &size, nullptr), LZO_E_OK);
  return Front(out, size);
}

class LzoInterop : public testing::Test {
 protected:
  LzoInterop() { EXPECT_EQ(lzo_init(), LZO_E_OK); }
};

std::vector<NamedData> Inputs() {
  std::vector<NamedData> inputs = AllKinds(150000);
  for (size_t size : {5, 17, 18, 19, 30, 100, 237, 238, 239, 300, 1000}) {
    inputs.push_back({"text of " + std::to_string(size), Text(size, size)});
    inputs.push_back({"noise of " + std::to_string(size), RandomBytes(size, size)});
  }
  return inputs;
}

}  // namespace

TEST_F(LzoInterop, Liblzo2ReadsOurStreams) {
  const LzoRecord record(zelLZOMethodSingle, 0);
  for (const NamedData& input : Inputs()) {
    if (input.data.empty()) continue;
    EXPECT_EQ(DecompressWithLiblzo2(LzoEncode(input.data, record), input.data.size()), input.data) << input.name;
  }
}

TEST_F(LzoInterop, WeReadStreamsOfLzo1x1) {
  for (const NamedData& input : Inputs()) {
    for (const auto& [compress, work] : {std::pair<Compress, size_t>{lzo1x_1_compress, LZO1X_1_MEM_COMPRESS},
                                         {lzo1x_1_11_compress, LZO1X_1_11_MEM_COMPRESS},
                                         {lzo1x_1_15_compress, LZO1X_1_15_MEM_COMPRESS}}) {
      const Bytes stream = CompressWithLiblzo2(input.data, compress, work);
      for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
        EXPECT_EQ(LzoDecode(stream, input.data.size(), decoder), input.data) << input.name;
      }
    }
  }
}

// Streams of the slow compressor may hold matches of two bytes, which the format as it is read here does not have. What
// holds none comes back; the rest is answered as the model answers it.
TEST_F(LzoInterop, WeReadStreamsOfLzo1x999AsFarAsTheirTokensAreKnown) {
  size_t same = 0;
  for (const NamedData& input : Inputs()) {
    const Bytes stream = CompressWithLiblzo2(input.data, lzo1x_999_compress, LZO1X_999_MEM_COMPRESS);
    const std::optional<Bytes> out = LzoDecode(stream, input.data.size());
    EXPECT_EQ(out, LzoModelDecode(stream, input.data.size())) << input.name;
    same += out == input.data;
  }
  EXPECT_GE(same, 10u);
}
