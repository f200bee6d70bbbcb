// The one-call Deflate helpers as a caller drives them: window, tables, block structure and codes, with guard pages
// around everything that a call may touch.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "support/bytes.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

inline constexpr int32_t kNoPosition = -32768;

// Literal/length bytes and distances, as the helpers exchange them.
struct Items {
  std::vector<uint8_t> lit;
  std::vector<uint16_t> dist;

  size_t size() const { return lit.size(); }
  bool operator==(const Items&) const = default;
};

// Symbols counted: 286 literals and lengths, 30 distances.
struct Counts {
  std::vector<int32_t> lit = std::vector<int32_t>(286);
  std::vector<int32_t> dist = std::vector<int32_t>(30);
  bool operator==(const Counts&) const = default;
};

Counts CountItems(const Items& items);

// The bytes that items stand for, behind `history`. Throws std::runtime_error at a distance that reaches before it.
Bytes ExpandItems(const Items& items, const Bytes& history = {});

struct OneCallSearched {
  zelStatus status = zelOk;
  size_t consumed = 0;
  Items items;
  Counts counts;  // what the call counted
};

// What a caller keeps for a stream.
class OneCallStream {
 public:
  OneCallStream(int32_t level, int32_t win_size = 32768, int32_t hash_size = 65536, Guard guard = Guard::kBehind);

  zelStatus SetDictionary(const Bytes& dictionary);

  // One call, after which the window is moved on. Throws std::runtime_error when in/out arguments contradict each
  // other.
  OneCallSearched Search(const Bytes& input, zelLZ77FlushMode flush, size_t room = SIZE_MAX);

  int32_t* head() const { return reinterpret_cast<int32_t*>(head_.data()); }
  int32_t* chain() const { return reinterpret_cast<int32_t*>(chain_.data()); }
  std::vector<int32_t> HeadTable() const { return {head(), head() + hash_size}; }
  std::vector<int32_t> ChainTable() const { return {chain(), chain() + win_size}; }
  GuardedBuffer& window() { return window_; }

  const int32_t level;
  const int32_t win_size;
  const int32_t hash_size;
  int32_t index = 0;

 private:
  void MoveWindow(const Bytes& input, size_t consumed, int32_t before);

  Guard guard_;
  GuardedBuffer window_;
  GuardedBuffer head_;
  GuardedBuffer chain_;
};

// A stream of bits, least significant bit of each byte first, of which up to 7 wait.
struct BitString {
  Bytes bytes;
  uint16_t code = 0;
  int32_t bits = 0;

  void Put(uint32_t value, int count);
  void PadToByte();
};

struct HuffCodes {
  std::vector<zelDeflateHuffCode> lit = std::vector<zelDeflateHuffCode>(286);
  std::vector<zelDeflateHuffCode> dist = std::vector<zelDeflateHuffCode>(30);
};

// Canonical codes from lengths.
HuffCodes MakeCodes(const std::vector<int>& lit_lengths, const std::vector<int>& dist_lengths);
HuffCodes FixedCodes();
// Lengths of a complete code of at most 15 bits, also for fewer than two symbols in use.
std::vector<int> MakeLengths(const std::vector<int32_t>& counts);

// One call of zelsDeflateHuff_8u with exactly the room that its output takes.
zelStatus PutItems(const Items& items, const HuffCodes& codes, BitString* out, Guard guard = Guard::kBehind);

// A whole block, with the fixed code or one for the counts, in which the end of block is counted.
void PutBlock(const Items& items, Counts counts, bool dynamic, bool last, BitString* out);

struct OneCallOptions {
  int32_t level = 1;
  int32_t win_size = 32768;
  int32_t hash_size = 65536;
  size_t input_piece = SIZE_MAX;  // bytes that a call of the search gets, and those that the last one left
  size_t room = SIZE_MAX;         // items of a call
  size_t block_items = 16384;     // a block ends with the call that makes as many
  bool flush_pieces = false;      // every piece is consumed to its end
  uint64_t split_seed = 0;        // not 0: pieces and rooms are random, up to the numbers above
  Bytes dictionary = {};
  Guard guard = Guard::kBehind;
};

// A raw Deflate stream of dynamic and fixed blocks.
Bytes EncodeByOneCalls(const Bytes& input, const OneCallOptions& options);

}  // namespace zeldc_test
