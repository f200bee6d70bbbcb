#include "deflate/one_call_stream.h"

#include <algorithm>
#include <queue>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/data.h"

namespace zeldc_test {

namespace {

// First value and extra bits of the symbols that stand for ranges (RFC 1951 section 3.2.5).
constexpr int kLengthBase[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                 31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr int kLengthExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                  2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr int kDistBase[30] = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
                               193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr int kDistExtra[30] = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

size_t SymbolOf(int value, const int* bases, size_t symbols) {
  return static_cast<size_t>(std::upper_bound(bases, bases + symbols, value) - bases) - 1;
}
size_t LengthSymbolOf(uint8_t lit) { return SymbolOf(lit + 3, kLengthBase, 29); }
size_t DistSymbolOf(uint16_t dist) { return SymbolOf(dist, kDistBase, 30); }

template <typename T>
GuardedBuffer Guarded(const std::vector<T>& values, Guard guard) {
  const uint8_t* const bytes = reinterpret_cast<const uint8_t*>(values.data());
  return GuardedBuffer(Bytes(bytes, bytes + values.size() * sizeof(T)), guard);
}

uint16_t Reverse(int code, int length) {
  int reversed = 0;
  for (int i = 0; i < length; ++i) reversed |= ((code >> i) & 1) << (length - 1 - i);
  return static_cast<uint16_t>(reversed);
}

std::vector<zelDeflateHuffCode> CanonicalCodes(const std::vector<int>& lengths, size_t symbols) {
  std::vector<zelDeflateHuffCode> codes(lengths.size());
  int next = 0;
  for (int length = 1; length <= 15; ++length) {
    for (size_t i = 0; i < lengths.size(); ++i) {
      if (lengths[i] == length) codes[i] = {Reverse(next++, length), static_cast<uint16_t>(length)};
    }
    next *= 2;
  }
  codes.resize(symbols);
  return codes;
}

// The depths of Huffman's tree.
std::vector<int> TreeDepths(const std::vector<int32_t>& counts) {
  struct Node {
    int64_t weight;
    std::vector<size_t> symbols;
    bool operator<(const Node& other) const { return weight > other.weight; }
  };
  std::vector<int> depths(counts.size());
  std::priority_queue<Node> nodes;
  for (size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] > 0) nodes.push({counts[i], {i}});
  }
  while (nodes.size() > 1) {
    Node joined = nodes.top();
    nodes.pop();
    joined.weight += nodes.top().weight;
    joined.symbols.insert(joined.symbols.end(), nodes.top().symbols.begin(), nodes.top().symbols.end());
    nodes.pop();
    for (size_t symbol : joined.symbols) ++depths[symbol];
    nodes.push(std::move(joined));
  }
  return depths;
}

}  // namespace

Counts CountItems(const Items& items) {
  Counts counts;
  for (size_t k = 0; k < items.size(); ++k) {
    if (items.dist[k] == 0) {
      ++counts.lit[items.lit[k]];
    } else {
      ++counts.lit[257 + LengthSymbolOf(items.lit[k])];
      ++counts.dist[DistSymbolOf(items.dist[k])];
    }
  }
  return counts;
}

Bytes ExpandItems(const Items& items, const Bytes& history) {
  Bytes out = history;
  for (size_t k = 0; k < items.size(); ++k) {
    if (items.dist[k] == 0) {
      out.push_back(items.lit[k]);
      continue;
    }
    if (items.dist[k] > out.size()) throw std::runtime_error("a match starts before the history");
    for (int n = 0; n < items.lit[k] + 3; ++n) out.push_back(out[out.size() - items.dist[k]]);
  }
  return Bytes(out.begin() + static_cast<ptrdiff_t>(history.size()), out.end());
}

OneCallStream::OneCallStream(int32_t stream_level, int32_t window_size, int32_t heads, Guard guard)
    : level(stream_level),
      win_size(window_size),
      hash_size(heads),
      guard_(guard),
      window_(static_cast<size_t>(window_size), guard),
      head_(4 * static_cast<size_t>(heads), guard),
      chain_(4 * static_cast<size_t>(window_size), guard) {
  std::fill(window_.data(), window_.end(), uint8_t{0xC7});
  std::fill(head(), head() + heads, kNoPosition);
  std::fill(chain(), chain() + window_size, kNoPosition);
}

zelStatus OneCallStream::SetDictionary(const Bytes& dictionary) {
  const GuardedBuffer source(dictionary, guard_);
  const zelStatus status = zelsDeflateDictionarySet_8u(source.data(), static_cast<int32_t>(dictionary.size()), head(),
                                                       hash_size, chain(), window_.data(), win_size, level);
  if (dictionary.size() >= 3) index = std::min(static_cast<int32_t>(dictionary.size()), win_size);
  return status;
}

OneCallSearched OneCallStream::Search(const Bytes& input, zelLZ77FlushMode flush, size_t room) {
  room = std::min(room, input.size() + 1);
  const GuardedBuffer source(input, guard_);
  const GuardedBuffer lit(room, guard_), dist(2 * room, guard_);
  const GuardedBuffer lit_counts(4 * 286, guard_), dist_counts(4 * 30, guard_);
  uint8_t* next = source.data();
  int32_t left = static_cast<int32_t>(input.size()), room_left = static_cast<int32_t>(room);
  const int32_t before = index;
  OneCallSearched result;
  result.status =
      zelsDeflateLZ77_8u(&next, &left, &index, window_.data(), win_size, head(), chain(), hash_size,
                         reinterpret_cast<int32_t*>(lit_counts.data()), reinterpret_cast<int32_t*>(dist_counts.data()),
                         lit.data(), reinterpret_cast<uint16_t*>(dist.data()), &room_left, level, flush);
  result.consumed = static_cast<size_t>(next - source.data());
  if (result.consumed > input.size() || static_cast<size_t>(left) != input.size() - result.consumed) {
    throw std::runtime_error("the bytes left are not those behind the consumed ones");
  }
  if (static_cast<uint32_t>(index) - static_cast<uint32_t>(before) != result.consumed) {
    throw std::runtime_error("the index has not moved with the input");
  }
  if (room_left < 0 || static_cast<size_t>(room_left) > room) throw std::runtime_error("more items than room");
  const size_t made = room - static_cast<size_t>(room_left);
  const uint16_t* const distances = reinterpret_cast<const uint16_t*>(dist.data());
  result.items.lit.assign(lit.data(), lit.data() + made);
  result.items.dist.assign(distances, distances + made);
  std::copy_n(reinterpret_cast<const int32_t*>(lit_counts.data()), 286, result.counts.lit.begin());
  std::copy_n(reinterpret_cast<const int32_t*>(dist_counts.data()), 30, result.counts.dist.begin());
  MoveWindow(input, result.consumed, before);
  return result;
}

void OneCallStream::MoveWindow(const Bytes& input, size_t consumed, int32_t before) {
  const size_t size = static_cast<size_t>(win_size);
  const auto end = input.begin() + static_cast<ptrdiff_t>(consumed);
  if (consumed >= size) {
    std::copy(end - win_size, end, window_.data());
    return;
  }
  const size_t have = static_cast<size_t>(std::clamp(before, 0, win_size));
  const size_t keep = std::min(have, size - consumed);
  std::copy(window_.data() + (have - keep), window_.data() + have, window_.data());
  std::copy(input.begin(), end, window_.data() + keep);
}

void BitString::Put(uint32_t value, int count) {
  for (int i = 0; i < count; ++i) {
    code = static_cast<uint16_t>(code | ((value >> i) & 1) << bits);
    if (++bits == 8) {
      bytes.push_back(static_cast<uint8_t>(code));
      code = 0;
      bits = 0;
    }
  }
}

void BitString::PadToByte() {
  while (bits != 0) Put(0, 1);
}

HuffCodes MakeCodes(const std::vector<int>& lit_lengths, const std::vector<int>& dist_lengths) {
  return {CanonicalCodes(lit_lengths, 286), CanonicalCodes(dist_lengths, 30)};
}

HuffCodes FixedCodes() {
  std::vector<int> lengths(288, 8);
  std::fill(lengths.begin() + 144, lengths.begin() + 256, 9);
  std::fill(lengths.begin() + 256, lengths.begin() + 280, 7);
  return MakeCodes(lengths, std::vector<int>(32, 5));
}

std::vector<int> MakeLengths(const std::vector<int32_t>& counts) {
  std::vector<int32_t> weights = counts;
  for (size_t i = 0; std::count(weights.begin(), weights.end(), 0) > static_cast<ptrdiff_t>(weights.size()) - 2; ++i) {
    if (weights[i] == 0) weights[i] = 1;
  }
  for (;;) {
    std::vector<int> depths = TreeDepths(weights);
    if (*std::max_element(depths.begin(), depths.end()) <= 15) return depths;
    for (int32_t& w : weights) w = (w + 1) / 2;
  }
}

zelStatus PutItems(const Items& items, const HuffCodes& codes, BitString* out, Guard guard) {
  size_t bits = static_cast<size_t>(out->bits);
  for (size_t k = 0; k < items.size(); ++k) {
    if (items.dist[k] == 0) {
      bits += codes.lit[items.lit[k]].lenBits;
    } else {
      const size_t length = LengthSymbolOf(items.lit[k]), distance = DistSymbolOf(items.dist[k]);
      bits += codes.lit[257 + length].lenBits + static_cast<size_t>(kLengthExtra[length]) +
              codes.dist[distance].lenBits + static_cast<size_t>(kDistExtra[distance]);
    }
  }
  const GuardedBuffer lit(items.lit, guard), dist = Guarded(items.dist, guard);
  const GuardedBuffer lit_codes = Guarded(codes.lit, guard), dist_codes = Guarded(codes.dist, guard);
  const GuardedBuffer room(bits / 8, guard);
  constexpr int32_t kIndex = 1000;  // need not be 0
  int32_t index = kIndex;
  const zelStatus status =
      zelsDeflateHuff_8u(lit.data(), reinterpret_cast<const uint16_t*>(dist.data()), static_cast<int32_t>(items.size()),
                         &out->code, &out->bits, reinterpret_cast<const zelDeflateHuffCode*>(lit_codes.data()),
                         reinterpret_cast<const zelDeflateHuffCode*>(dist_codes.data()), room.data() - kIndex, &index);
  if (static_cast<size_t>(index - kIndex) != bits / 8 || static_cast<size_t>(out->bits) != bits % 8) {
    throw std::runtime_error("the writer makes another number of bits than the codes have");
  }
  Append(out->bytes, room.ToBytes());
  return status;
}

void PutBlock(const Items& items, Counts counts, bool dynamic, bool last, BitString* out) {
  HuffCodes codes = FixedCodes();
  zelDeflateHuffCode end_of_block = {0, 7};
  out->Put(last, 1);
  out->Put(dynamic ? 2 : 1, 2);
  if (dynamic) {
    ++counts.lit[256];
    const std::vector<int> lit = MakeLengths(counts.lit), dist = MakeLengths(counts.dist);
    codes = MakeCodes(lit, dist);
    end_of_block = codes.lit[256];
    // Each length is sent by a code of its own, of 4 bits for all of 0..15.
    out->Put(286 - 257, 5);
    out->Put(30 - 1, 5);
    out->Put(19 - 4, 4);
    for (int i = 0; i < 19; ++i) out->Put(i < 3 ? 0 : 4, 3);
    for (int length : lit) out->Put(Reverse(length, 4), 4);
    for (int length : dist) out->Put(Reverse(length, 4), 4);
  }
  if (PutItems(items, codes, out) != zelOk) throw std::runtime_error("zelsDeflateHuff_8u fails");
  out->Put(end_of_block.code, end_of_block.lenBits);
}

Bytes EncodeByOneCalls(const Bytes& input, const OneCallOptions& options) {
  Random random(options.split_seed);
  auto choose = [&](size_t most) { return options.split_seed == 0 ? most : Uniform(random, 1, most); };
  OneCallStream stream(options.level, options.win_size, options.hash_size, options.guard);
  if (stream.SetDictionary(options.dictionary) != zelOk) throw std::runtime_error("SetDictionary fails");
  BitString out;
  Items block;
  Counts counts;
  int blocks = 0;
  Bytes pending;  // what the last call left
  for (size_t taken = 0;;) {
    // A piece that a call may not consume is never the only one to come.
    const size_t piece =
        std::min(choose(std::min(options.input_piece, std::max<size_t>(input.size(), 1))), input.size() - taken);
    pending.insert(pending.end(), input.begin() + static_cast<ptrdiff_t>(taken),
                   input.begin() + static_cast<ptrdiff_t>(taken + piece));
    taken += piece;
    const zelLZ77FlushMode flush = taken == input.size()  ? zelLZ77FlushFinal
                                   : options.flush_pieces ? zelLZ77FlushFull
                                                          : zelLZ77FlushNone;
    const size_t room = choose(std::min(options.room, pending.size() + 1));
    const OneCallSearched made = stream.Search(pending, flush, room);
    if (made.status != zelOk) throw std::runtime_error("zelsDeflateLZ77_8u fails");
    if (made.counts != CountItems(made.items)) throw std::runtime_error("the counts are not those of the items");
    pending.erase(pending.begin(), pending.begin() + static_cast<ptrdiff_t>(made.consumed));
    if (flush >= zelLZ77FlushFull && made.items.size() < room && !pending.empty()) {
      throw std::runtime_error("input is left in spite of flush and room");
    }
    block.lit.insert(block.lit.end(), made.items.lit.begin(), made.items.lit.end());
    block.dist.insert(block.dist.end(), made.items.dist.begin(), made.items.dist.end());
    for (size_t i = 0; i < 286; ++i) counts.lit[i] += made.counts.lit[i];
    for (size_t i = 0; i < 30; ++i) counts.dist[i] += made.counts.dist[i];
    const bool last = taken == input.size() && pending.empty();
    if (last || block.size() >= options.block_items) {
      PutBlock(block, counts, blocks++ % 4 != 3, last, &out);
      block = {};
      counts = {};
    }
    if (last) break;
  }
  out.PadToByte();
  return out.bytes;
}

}  // namespace zeldc_test
