// Intervals there and back: any block in any strategy becomes the plain definition's container, which the decoder turns
// into the block again, and nothing outside the buffers is touched.

#include <string.h>

#include "entropy/git_model.h"
#include "fuzz_support.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using zeldc_test::GuardedBuffer;
using zeldc_test::PlainGitEncode;

namespace {

constexpr size_t kMostBytes = 6000;

// The record's memory ends where its size says.
zelStatus Encode(const Bytes& block, int32_t max_dst_len, int32_t strategy, uint8_t* dst, int32_t* length) {
  int32_t size = 0;
  Check(zelsEncodeGITGetSize_8u(kMostBytes, max_dst_len, &size) == zelOk, "GetSize fails");
  const GuardedBuffer memory(static_cast<size_t>(size));
  auto* const state = reinterpret_cast<zelGITEncodeState*>(memory.data());
  Check(zelsEncodeGITInit_8u(kMostBytes, max_dst_len, state) == zelOk, "Init fails");
  const GuardedBuffer source(block);
  return zelsEncodeGIT_8u(source.data(), static_cast<int32_t>(block.size()), dst, length, strategy, state);
}

zelStatus Decode(const Bytes& container, size_t limit, int32_t strategy, Bytes* block) {
  const GuardedBuffer memory(28824);
  auto* const state = reinterpret_cast<zelGITDecodeState*>(memory.data());
  Check(zelsDecodeGITInit_8u(static_cast<int32_t>(limit), state) == zelOk, "Init fails");
  const GuardedBuffer source(container);
  const GuardedBuffer destination(limit);
  int32_t length = 0;
  const zelStatus status = zelsDecodeGIT_8u(source.data(), static_cast<int32_t>(container.size()), destination.data(),
                                            &length, strategy, state);
  *block = Bytes(destination.data(), destination.data() + length);
  return status;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const int32_t strategy = input.Byte() % 6 - 1;
  const unsigned divisor = 1 + input.Byte();  // makes bytes few
  const size_t repeats = input.Byte();        // of every fifth
  Bytes block;
  for (size_t i = 0; !input.IsEmpty() && block.size() < kMostBytes - 256; ++i) {
    block.insert(block.end(), i % 5 == 4 ? 1 + repeats : 1, static_cast<uint8_t>(input.Byte() / divisor));
  }

  const Bytes expected = PlainGitEncode(block, strategy);
  const int32_t expected_size = static_cast<int32_t>(expected.size());
  const GuardedBuffer destination(expected.size());
  int32_t length = -1;
  Check(Encode(block, expected_size, strategy, destination.data(), &length) == zelOk, "the encoder fails");
  Check(length == expected_size && destination.ToBytes() == expected, "the container is not the plain definition's");
  length = -1;
  Check(Encode(block, expected_size - 1, strategy, destination.data(), &length) == zelErrSize && length == -1,
        "a container larger than the record allows is written");

  Bytes back;
  Check(Decode(expected, block.size() + 1, strategy, &back) == zelOk && back == block, "the block does not come back");
  if (block.size() > 1) {
    Check(Decode(expected, block.size() - 1, strategy, &back) == zelErrSize, "a block longer than the limit passes");
  }
  return 0;
}
