// The LZO functions as tests call them: every buffer of exactly the promised size, between guard pages.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <optional>

#include "support/bytes.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

// A record in memory that held something else before.
class LzoRecord {
 public:
  LzoRecord(zelLZOMethod method, uint32_t max_src_len, Guard guard = Guard::kBehind, uint8_t fill = 0xA5);
  zelLZOState* get() const { return reinterpret_cast<zelLZOState*>(memory_.data()); }

 private:
  GuardedBuffer memory_;
};

// Throws std::runtime_error for another status than zelOk. threads: of the record.
Bytes LzoEncode(const Bytes& in, const LzoRecord& record, size_t threads = 1, Guard guard = Guard::kBehind);

// With a record of its own, by the single method.
Bytes LzoEncode(const Bytes& in);

enum class LzoDecoder { kChecked, kUnchecked };

// Nothing for zelErrLzoBroken; throws for any other status but zelOk, and if *pDstLen changed in spite of the error.
std::optional<Bytes> LzoDecode(const Bytes& in, size_t room, LzoDecoder decoder = LzoDecoder::kChecked,
                               Guard guard = Guard::kBehind, uint8_t fill = 0xA5);

}  // namespace zeldc_test
