// The decoder as a caller drives it, on either path and with any split of input, output and pairs: the one place in the
// tests that knows the order of the calls.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <vector>

#include "support/bytes.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

inline constexpr size_t kDecoderRecordSize = 112896;

// A decoder's record that Init has made in memory that held something else before. The memory ends at a guard page;
// with a shift, a multiple of 4, the record starts and ends that many bytes before the places where it does with 0.
class DecoderRecord {
 public:
  explicit DecoderRecord(uint8_t fill = 0xA5, size_t shift = 0);
  ~DecoderRecord();  // aborts when bytes behind the record have changed
  zelLZ77State* get() const { return reinterpret_cast<zelLZ77State*>(memory_.data()); }
  Bytes Content() const { return Bytes(memory_.data(), memory_.data() + kDecoderRecordSize); }

 private:
  GuardedBuffer memory_;
  uint8_t fill_;
};

enum class Path { kBytes, kPairs };

struct DecodeOptions {
  Path path = Path::kBytes;
  // What one call gets at most: bytes of input, bytes of room, pairs of room (and pairs to expand).
  size_t source_piece = SIZE_MAX;
  size_t room = SIZE_MAX;
  size_t pairs_room = SIZE_MAX;
  uint64_t split_seed = 0;  // not 0: pieces and rooms are random, from 0 to the numbers above
  size_t max_output = size_t{1} << 20;
  Bytes dictionary;
};

struct Decoded {
  // zelWarnStreamEnd; zelWarnSrcShort when the stream breaks off; zelWarnDstFull when it makes max_output bytes or
  // more; zelErr for the reserved block type; or the error of a decoder or of the expansion.
  zelStatus status = zelOk;
  Bytes data;
  size_t consumed = 0;             // input bytes taken
  std::vector<size_t> block_ends;  // input bytes taken at each block's end
  std::vector<zelLZ77Pair> pairs;  // on the pair path
};

// A stream on its way through the decoder. Every call of the library gets buffers of its own that end at guard pages,
// and its results are held against the contract: what does not agree throws std::runtime_error.
class StreamDecoder {
 public:
  // Gives the record, which Init or Reset has made, the options' dictionary, if any.
  StreamDecoder(zelLZ77State* record, const Bytes& stream, const DecodeOptions& options);

  // The next call of the library, on the pair path with the expansion of the pairs that it gave. Answers whether there
  // is more to do.
  bool Step();
  // The same decoder on another record, which holds a copy of this one's state.
  StreamDecoder On(zelLZ77State* record) const;

  const Decoded& result() const { return result_; }
  Decoded Run();

 private:
  size_t Piece(size_t limit, size_t available);
  const uint8_t* NextSource(int32_t* size);
  void Took(const uint8_t* start, const uint8_t* now, int32_t given, int32_t left);
  bool DecodeBytes();
  bool DecodePairs();
  bool Settle(zelStatus status);
  bool Finish(zelStatus status);
  void ExpandAllButOne();
  void ExpandAll();
  zelStatus Expand(size_t count, size_t room);
  bool OutputIsFull();

  zelLZ77State* record_;
  DecodeOptions options_;
  Random random_;
  std::shared_ptr<const GuardedBuffer> stream_;
  Decoded result_;
  int block_ = -1;             // byte path: type of the block, -1 between blocks; pair path: the decoder to try
  size_t expanded_ = 0;        // pairs that the expansion has used
  size_t bytes_of_pairs_ = 0;  // bytes that these stand for
  bool stream_ended_ = false;
};

// Decodes the whole stream with a record that Init makes of one that decoded another.
Decoded Decode(const Bytes& stream, const DecodeOptions& options = {});

// The splits that tests try: all at once, a byte or pair at a time, mixtures and random ones, for the path.
std::vector<DecodeOptions> AllSplits(Path path, uint64_t seed = 1);

}  // namespace zeldc_test
