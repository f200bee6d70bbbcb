// The encoder as a caller drives it: the one place in the tests that knows the order of the calls.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "support/bytes.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

// An encoder's record between guard pages, in memory that held something else before.
class EncoderRecord {
 public:
  EncoderRecord(zelLZ77Level level, zelLZ77ChecksumKind checksum, Guard guard = Guard::kBehind, uint8_t fill = 0xA5);
  zelLZ77State* get() const { return reinterpret_cast<zelLZ77State*>(memory_.data()); }

 private:
  GuardedBuffer memory_;
};

enum class BlockKind { kChosen, kFixed, kDynamic, kStored, kInTurn };

struct EncodeOptions {
  zelLZ77Level level = zelLZ77LevelNormal;
  zelLZ77ChecksumKind checksum = zelLZ77CheckNone;
  BlockKind block = BlockKind::kChosen;
  // Flush mode of all calls but the last block's. With a mode other than zelLZ77FlushNone a block ends with each call
  // of the match search.
  zelLZ77FlushMode flush = zelLZ77FlushNone;
  size_t input_piece = SIZE_MAX;        // bytes that a call of the match search gets
  size_t pairs_room = zelLZ77MaxPairs;  // pairs of a block; another number than this makes the array the caller's
  size_t room = SIZE_MAX;               // bytes of output that a block writer gets at a time
  uint64_t split_seed = 0;              // not 0: pieces and rooms are random, from 0 to the numbers above
  Bytes dictionary = {};
  bool trailer = false;
  Guard record_guard = Guard::kBehind;  // kBehind: the record's address is an odd multiple of 4
  uint8_t record_fill = 0xA5;
};

// The raw Deflate stream of `input`, with the trailer if wanted. Throws std::runtime_error when a call answers what its
// contract does not allow.
Bytes Encode(const Bytes& input, const EncodeOptions& options = {});

// The same with a record of the caller's, which Init or Reset has made and which has status zelLZ77StatusInit if there
// is a dictionary. The options' level, checksum and record fields are not looked at.
Bytes EncodeWith(zelLZ77State* record, const Bytes& input, const EncodeOptions& options = {});

// A whole gzip or zlib file, by checksum zelLZ77CheckCrc32 or zelLZ77CheckAdler32.
Bytes EncodeFile(const Bytes& input, EncodeOptions options);

}  // namespace zeldc_test
