// The interval coder's calls, with records and buffers that end at guard pages.
#pragma once

#include "support/bytes.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

class GitEncoder {
 public:
  GitEncoder(int32_t max_src_len, int32_t max_dst_len);

  zelGITEncodeState* state() { return reinterpret_cast<zelGITEncodeState*>(memory_.data()); }
  // The container of a block that the record has room for.
  Bytes Encode(const Bytes& block, int strategy);

 private:
  GuardedBuffer memory_;
};

struct GitDecoded {
  zelStatus status;
  Bytes block;
};

// Decodes into room for exactly `room` bytes, with a record for one byte and blocks of up to `room`.
GitDecoded GitDecode(const Bytes& container, int strategy, size_t room);

}  // namespace zeldc_test
