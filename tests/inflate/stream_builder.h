// Deflate streams written bit by bit: valid ones together with what they stand for, and any other.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "support/bytes.h"
#include "zeldc.h"

namespace zeldc_test {

// The code length of every symbol of an alphabet.
using Lengths = std::vector<int>;

// `count` code lengths, all 0 but those given as (symbol, length).
Lengths MakeLengths(size_t count, std::initializer_list<std::pair<size_t, int>> used);

// The lengths of the fixed code, 288 and 32 of them.
Lengths FixedLitLenLengths();
Lengths FixedDistanceLengths();

// Complete codes: of lengths 1, 2, ..., 15, 15 for the 16 given symbols; for all 286 literal/length symbols and all 30
// distances that a stream may use.
Lengths Staircase(size_t count, const std::vector<size_t>& symbols);
Lengths AllLitLens();
Lengths AllDistances();

// The canonical codes for the lengths (RFC 1951 section 3.2.2). Of an over-subscribed set the surplus wraps.
std::vector<uint32_t> CanonicalCodes(const Lengths& lengths);

// What a length (3..258) or a distance (1..32768) is written with.
struct RangeCode {
  int symbol;
  uint32_t extra;
  int extra_bits;
};
RangeCode LengthCode(int length);
RangeCode DistanceCode(int distance);

// A symbol of the code-length code with its extra bits.
struct LengthItem {
  int symbol;
  uint32_t extra = 0;
};

// A dynamic block's header, field by field. Counts are those of the codes, so that 257 means HLIT 0.
struct DynamicHeader {
  int lit_len_codes = 257;
  int distance_codes = 1;
  Lengths code_length_lengths = Lengths(19, 0);  // by symbol
  std::vector<LengthItem> items;
  int code_length_codes = 19;
};

// A header that describes the lengths, all runs written with repeats.
DynamicHeader DescribeLengths(const Lengths& lit_len, const Lengths& distance);

enum Last : bool { kNotLast = false, kLast = true };

class StreamBuilder {
 public:
  // Where the stream stands behind a symbol or a stored block.
  struct Mark {
    size_t bits;    // of the stream
    size_t output;  // bytes
    size_t pairs;
    bool ends_block;
  };

  explicit StreamBuilder(Bytes dictionary = {}) : history_(std::move(dictionary)), dictionary_size_(history_.size()) {}

  // Fields: numbers go lowest bit first, codes highest bit first.
  StreamBuilder& Bits(uint32_t value, int count);
  StreamBuilder& Code(uint32_t code, int count);
  StreamBuilder& Align();
  StreamBuilder& Raw(const Bytes& bytes);

  // A stored block.
  StreamBuilder& Stored(const Bytes& bytes, Last last = kNotLast);
  // The head of a Huffman block; its symbols follow.
  StreamBuilder& Fixed(Last last = kNotLast);
  StreamBuilder& Dynamic(const Lengths& lit_len, const Lengths& distance, Last last = kNotLast);
  // The same with a header of the caller's. The lengths tell how the symbols that follow are coded.
  StreamBuilder& Dynamic(const DynamicHeader& header, const Lengths& lit_len, const Lengths& distance,
                         Last last = kNotLast);

  // Symbols of the current block, in its code.
  StreamBuilder& Literal(int byte);
  StreamBuilder& Literals(std::string_view text);
  StreamBuilder& Match(int length, int distance);
  StreamBuilder& End();
  // A match, or a part of one, that the output does not follow.
  StreamBuilder& BadMatch(int length, int distance);
  StreamBuilder& LitLenSymbol(int symbol);
  StreamBuilder& DistanceSymbol(int symbol);

  // The stream so far, its last byte filled up with zero bits.
  Bytes stream() const { return stream_; }
  size_t bits() const { return bits_; }
  Bytes output() const { return Bytes(history_.begin() + static_cast<ptrdiff_t>(dictionary_size_), history_.end()); }
  const std::vector<zelLZ77Pair>& pairs() const { return pairs_; }
  const std::vector<Mark>& marks() const { return marks_; }
  // Input bytes that a decoder has taken at each block's end.
  std::vector<size_t> BlockEnds() const;

 private:
  void SetCodes(const Lengths& lit_len, const Lengths& distance);
  void AddMark(bool ends_block);

  Bytes stream_;
  size_t bits_ = 0;
  Bytes history_;
  size_t dictionary_size_;
  std::vector<zelLZ77Pair> pairs_;
  std::vector<Mark> marks_;
  Lengths lit_len_lengths_, distance_lengths_;
  std::vector<uint32_t> lit_len_codes_, distance_codes_;
};

}  // namespace zeldc_test
