// Decoding of intervals: any container, with any strategy and limit, gives what the plain definition gives, and nothing
// outside the buffers is touched.

#include <string.h>

#include <vector>

#include "entropy/git_model.h"
#include "fuzz_support.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using zeldc_test::Append;
using zeldc_test::GitContainer;
using zeldc_test::GuardedBuffer;
using zeldc_test::PlainGitDecode;
using zeldc_test::PlainGitDecoded;

namespace {

// Streams at places of the input's choice; the others are empty, or end at once.
Bytes BuildContainer(Input& input) {
  std::vector<Bytes> streams(256, Bytes(input.Byte() % 2, 0xFF));
  while (!input.IsEmpty()) {
    Bytes& stream = streams[input.Byte()];
    Append(stream, input.Take(1 + input.Byte() % 16));
  }
  return GitContainer(streams);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint8_t options = input.Byte();
  const int32_t strategy = options % 6 - 1;
  const size_t limit = 1 + input.Word() % 800;
  const Bytes container = options >= 128 ? BuildContainer(input) : input.Rest();

  const GuardedBuffer source(container);
  const GuardedBuffer destination(limit);
  int32_t state_size = 0;
  Check(zelsDecodeGITGetSize_8u(1, &state_size) == zelOk, "GetSize fails");
  const GuardedBuffer memory(static_cast<size_t>(state_size));
  memset(memory.data(), options, memory.size());
  auto* const state = reinterpret_cast<zelGITDecodeState*>(memory.data());
  Check(zelsDecodeGITInit_8u(static_cast<int32_t>(limit), state) == zelOk, "Init fails");
  int32_t length = -1;
  const zelStatus status = zelsDecodeGIT_8u(source.data(), static_cast<int32_t>(container.size()), destination.data(),
                                            &length, strategy, state);

  const PlainGitDecoded expected = PlainGitDecode(container, strategy, limit);
  Check(status == (expected.too_long ? zelErrSize : zelOk), "the status is not the plain definition's");
  if (expected.too_long) {
    Check(length == -1, "an error changed the length");
    length = static_cast<int32_t>(limit);
  }
  const Bytes block(destination.data(), destination.data() + length);
  Check(block == expected.block, "the block is not the plain definition's");
  return 0;
}
