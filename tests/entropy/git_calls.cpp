#include "entropy/git_calls.h"

#include <string.h>

#include "gtest/gtest.h"

namespace zeldc_test {
namespace {

size_t EncoderSize(int32_t max_src_len, int32_t max_dst_len) {
  int32_t size = 0;
  EXPECT_GE(zelsEncodeGITGetSize_8u(max_src_len, max_dst_len, &size), zelOk);
  return static_cast<size_t>(size);
}

}  // namespace

GitEncoder::GitEncoder(int32_t max_src_len, int32_t max_dst_len) : memory_(EncoderSize(max_src_len, max_dst_len)) {
  memset(memory_.data(), 0xA5, 40000);  // behind that only streams
  EXPECT_GE(zelsEncodeGITInit_8u(max_src_len, max_dst_len, state()), zelOk);
}

Bytes GitEncoder::Encode(const Bytes& block, int strategy) {
  const GuardedBuffer source(block);
  Bytes container(2 * block.size() + 10000);
  int32_t size = -1;
  EXPECT_EQ(
      zelsEncodeGIT_8u(source.data(), static_cast<int32_t>(block.size()), container.data(), &size, strategy, state()),
      zelOk);
  EXPECT_GE(size, 1280);
  EXPECT_LE(static_cast<size_t>(size), container.size());
  container.resize(static_cast<size_t>(size));
  return container;
}

GitDecoded GitDecode(const Bytes& container, int strategy, size_t room) {
  const GuardedBuffer source(container);
  const GuardedBuffer destination(room);
  int32_t state_size = 0;
  EXPECT_EQ(zelsDecodeGITGetSize_8u(1, &state_size), zelOk);
  const GuardedBuffer memory(static_cast<size_t>(state_size));
  memset(memory.data(), 0xA5, memory.size());
  auto* const state = reinterpret_cast<zelGITDecodeState*>(memory.data());
  EXPECT_EQ(zelsDecodeGITInit_8u(room > 0 ? static_cast<int32_t>(room) : 1, state), zelOk);
  int32_t size = -1;
  GitDecoded result;
  result.status = zelsDecodeGIT_8u(source.data(), static_cast<int32_t>(container.size()), destination.data(), &size,
                                   strategy, state);
  if (result.status != zelOk) {
    EXPECT_EQ(size, -1);
    size = static_cast<int32_t>(room);
  }
  EXPECT_LE(static_cast<size_t>(size), room);
  result.block = Front(destination.ToBytes(), static_cast<size_t>(size));
  return result;
}

}  // namespace zeldc_test
