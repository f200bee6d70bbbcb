// The LZSS coder as a caller drives it, with any split of input and output. Every call gets buffers of its own between
// guard pages, and what it answers is held against the contract: what does not agree throws std::runtime_error.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "support/bytes.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

inline constexpr size_t kLzssRecordSize = 327724;

enum class LzssKind { kEncoder, kDecoder };

// A record that Init has made between guard pages, in memory that held something else before.
class LzssRecord {
 public:
  explicit LzssRecord(LzssKind kind, uint8_t fill = 0xA5, Guard guard = Guard::kBehind);
  zelLZSSState* get() const { return reinterpret_cast<zelLZSSState*>(memory_.data()); }
  Bytes Content() const { return memory_.ToBytes(); }

 private:
  GuardedBuffer memory_;
};

struct LzssResult {
  zelStatus status = zelOk;
  Bytes bytes;  // written
  size_t consumed = 0;
};

LzssResult LzssEncodeCall(zelLZSSState* state, const Bytes& input, size_t room);
LzssResult LzssFlushCall(zelLZSSState* state, size_t room);
LzssResult LzssDecodeCall(zelLZSSState* state, const Bytes& stream, size_t room);

// What one call gets at most. seed not 0: pieces and rooms are random, from 1 to these numbers.
struct LzssSplits {
  size_t piece = SIZE_MAX;
  size_t room = SIZE_MAX;
  uint64_t seed = 0;
};

// The whole stream, flushed. A piece is given again until all of it is consumed.
Bytes LzssEncodeWith(zelLZSSState* state, const Bytes& input, const LzssSplits& splits = {});
Bytes LzssEncode(const Bytes& input, const LzssSplits& splits = {});

// Room enough for what so many bytes of a stream, and what waits, may decode to.
inline size_t LzssDecodedBound(size_t size) { return (size / 3 + 3) * 258; }

// Up to the stream's end, an error, or max_output bytes.
LzssResult LzssDecodeWith(zelLZSSState* state, const Bytes& stream, const LzssSplits& splits = {},
                          size_t max_output = size_t{1} << 22);
LzssResult LzssDecode(const Bytes& stream, const LzssSplits& splits = {}, size_t max_output = size_t{1} << 22);

}  // namespace zeldc_test
