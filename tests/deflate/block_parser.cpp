#include "deflate/block_parser.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace zeldc_test {

namespace {

// RFC 1951 section 3.2.5.
constexpr int kLengthBase[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                 31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr int kLengthExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                  2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr int kDistanceBase[30] = {1,    2,    3,    4,    5,    7,    9,    13,    17,    25,
                                   33,   49,   65,   97,   129,  193,  257,  385,   513,   769,
                                   1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr int kDistanceExtra[30] = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                    6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};
constexpr int kCodeLengthOrder[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

// Thrown when the stream ends within a block.
struct EndOfInput : std::runtime_error {
  EndOfInput() : std::runtime_error("the stream ends within a block") {}
};

void Require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

class Reader {
 public:
  Reader(const Bytes& stream, size_t bit) : stream_(stream), bit_(bit) {}

  size_t position() const { return bit_; }
  bool at_end() const { return bit_ >= stream_.size() * 8; }

  int Bit() {
    if (at_end()) throw EndOfInput();
    const int bit = stream_[bit_ / 8] >> bit_ % 8 & 1;
    ++bit_;
    return bit;
  }

  // A number, lowest bit first.
  int Bits(int count) {
    int value = 0;
    for (int i = 0; i < count; ++i) value |= Bit() << i;
    return value;
  }

  void SkipToByte() {
    while (bit_ % 8 != 0) Require(Bit() == 0, "padding is not zero");
  }

 private:
  const Bytes& stream_;
  size_t bit_;
};

// A canonical code (RFC 1951 section 3.2.2).
class Code {
 public:
  explicit Code(const std::vector<int>& lengths) {
    int code = 0;
    for (int length = 1; length <= 15; ++length) {
      for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        if (lengths[symbol] == length) symbols_[{length, code++}] = static_cast<int>(symbol);
      }
      code <<= 1;
    }
  }

  int Read(Reader& in) const {
    int code = 0;
    for (int length = 1; length <= 15; ++length) {
      code = code << 1 | in.Bit();
      const auto found = symbols_.find({length, code});
      if (found != symbols_.end()) return found->second;
    }
    throw std::runtime_error("a code without a symbol");
  }

 private:
  std::map<std::pair<int, int>, int> symbols_;
};

std::vector<int> FixedLitLenLengths() {
  std::vector<int> lengths(288, 8);
  std::fill(lengths.begin() + 144, lengths.begin() + 256, 9);
  std::fill(lengths.begin() + 256, lengths.begin() + 280, 7);
  return lengths;
}

void ReadTrees(Reader& in, Block& block) {
  const size_t start = in.position();
  const size_t litlen_count = static_cast<size_t>(in.Bits(5) + 257);
  const size_t distance_count = static_cast<size_t>(in.Bits(5) + 1);
  const int code_length_count = in.Bits(4) + 4;
  Require(litlen_count <= 286, "too many literal/length codes");
  Require(distance_count <= 30, "too many distance codes");
  block.code_lengths_sent = static_cast<size_t>(code_length_count);
  block.code_length_lengths.assign(19, 0);
  for (int i = 0; i < code_length_count; ++i) {
    block.code_length_lengths[static_cast<size_t>(kCodeLengthOrder[i])] = in.Bits(3);
  }
  const Code code(block.code_length_lengths);
  std::vector<int> lengths;
  while (lengths.size() < litlen_count + distance_count) {
    const int symbol = code.Read(in);
    block.length_symbols.push_back(symbol);
    if (symbol < 16) {
      lengths.push_back(symbol);
    } else if (symbol == 16) {
      Require(!lengths.empty(), "a repeat of nothing");
      lengths.insert(lengths.end(), static_cast<size_t>(3 + in.Bits(2)), lengths.back());
    } else {
      lengths.insert(lengths.end(), static_cast<size_t>(symbol == 17 ? 3 + in.Bits(3) : 11 + in.Bits(7)), 0);
    }
  }
  Require(lengths.size() == litlen_count + distance_count, "a repeat past the end");
  const auto middle = lengths.begin() + static_cast<ptrdiff_t>(litlen_count);
  block.litlen_lengths.assign(lengths.begin(), middle);
  block.distance_lengths.assign(middle, lengths.end());
  block.tree_bits = in.position() - start;
}

void ReadSymbols(Reader& in, const Code& litlen, const Code& distances, Block& block) {
  for (;;) {
    const int symbol = litlen.Read(in);
    if (symbol == 256) return;
    if (symbol < 256) {
      block.pairs.push_back({symbol, 0});
      continue;
    }
    Require(symbol <= 285, "a length symbol that does not exist");
    const int length = kLengthBase[symbol - 257] + in.Bits(kLengthExtra[symbol - 257]);
    const int distance_symbol = distances.Read(in);
    Require(distance_symbol <= 29, "a distance symbol that does not exist");
    const int distance = kDistanceBase[distance_symbol] + in.Bits(kDistanceExtra[distance_symbol]);
    block.pairs.push_back({length, distance});
  }
}

Block ReadBlock(Reader& in) {
  Block block;
  block.start_bit = in.position();
  block.is_final = in.Bit() != 0;
  const int type = in.Bits(2);
  Require(type != 3, "the reserved block type");
  if (type == 0) {
    block.kind = zelLZ77HuffStored;
    in.SkipToByte();
    const int length = in.Bits(16);
    Require((length ^ in.Bits(16)) == 0xFFFF, "a length that does not match its complement");
    for (int i = 0; i < length; ++i) block.bytes.push_back(static_cast<uint8_t>(in.Bits(8)));
  } else if (type == 1) {
    block.kind = zelLZ77HuffFixed;
    static const Code litlen(FixedLitLenLengths()), distances(std::vector<int>(32, 5));
    ReadSymbols(in, litlen, distances, block);
  } else {
    block.kind = zelLZ77HuffDynamic;
    ReadTrees(in, block);
    ReadSymbols(in, Code(block.litlen_lengths), Code(block.distance_lengths), block);
  }
  block.end_bit = in.position();
  return block;
}

std::pair<int, int> Symbol(const int* base, const int* extra, int count, int value) {
  const int index = static_cast<int>(std::upper_bound(base, base + count, value) - base) - 1;
  return {index, extra[index]};
}

}  // namespace

std::vector<Block> ParseBlocks(const Bytes& stream, size_t start_bit, bool may_end_early) {
  std::vector<Block> blocks;
  Reader in(stream, start_bit);
  try {
    while (blocks.empty() || !blocks.back().is_final) blocks.push_back(ReadBlock(in));
  } catch (const EndOfInput&) {
    if (!may_end_early) throw;
  }
  return blocks;
}

int KraftSum(const std::vector<int>& lengths) {
  int sum = 0;
  for (int length : lengths) {
    if (length > 0) sum += 1 << (15 - length);
  }
  return sum;
}

std::pair<int, int> LengthSymbol(int length) {
  const auto [index, extra] = Symbol(kLengthBase, kLengthExtra, 29, length);
  return {257 + index, extra};
}

std::pair<int, int> DistanceSymbol(int distance) { return Symbol(kDistanceBase, kDistanceExtra, 30, distance); }

int FixedBits(const Pair& pair) {
  if (pair.second == 0) return pair.first < 144 ? 8 : 9;
  const auto [symbol, extra] = LengthSymbol(pair.first);
  return (symbol < 280 ? 7 : 8) + extra + 5 + DistanceSymbol(pair.second).second;
}

std::vector<zelLZ77Pair> ToRecords(const Pairs& pairs) {
  std::vector<zelLZ77Pair> records;
  for (const Pair& pair : pairs) {
    records.push_back({static_cast<uint16_t>(pair.first), static_cast<uint16_t>(pair.second)});
  }
  return records;
}

Pairs FromRecords(const zelLZ77Pair* begin, const zelLZ77Pair* end) {
  Pairs pairs;
  for (; begin != end; ++begin) pairs.push_back({begin->length, begin->distance});
  return pairs;
}

Bytes Expand(const Pairs& pairs, const Bytes& history) {
  Bytes out = history;
  for (const auto& [length, distance] : pairs) {
    if (distance == 0) {
      out.push_back(static_cast<uint8_t>(length));
      continue;
    }
    Require(static_cast<size_t>(distance) <= out.size(), "a match before the first byte");
    for (int i = 0; i < length; ++i) out.push_back(out[out.size() - static_cast<size_t>(distance)]);
  }
  out.erase(out.begin(), out.begin() + static_cast<ptrdiff_t>(history.size()));
  return out;
}

}  // namespace zeldc_test
