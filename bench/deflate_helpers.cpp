// Deflate encoding by the one-call helpers, whose caller keeps the window and builds codes and headers: all of that
// counts. The peers are those of the stateful encoder.

#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "deflate.h"

namespace {

constexpr int32_t kWindow = 32768;
constexpr int32_t kBlockItems = 16384;
constexpr int32_t kMostItemBytes = 6;  // 48 bits
constexpr int32_t kHeads = 32768;      // more are slower and on the whole compress no better

// Huffman's code lengths of at most `limit` bits for n <= 286 frequencies, at least two codes of one bit.
void MakeLengths(const int32_t* frequencies, int n, int limit, uint8_t* lengths) {
  struct Node {
    int64_t weight;
    int parent;
  };
  Node nodes[2 * 286];
  int order[286];
  int used = 0;
  for (int i = 0; i < n; ++i) {
    lengths[i] = 0;
    if (frequencies[i] > 0) order[used++] = i;
  }
  for (int i = 0; used < 2; ++i) {
    if (frequencies[i] == 0) order[used++] = i;
  }
  std::sort(order, order + used, [&](int a, int b) { return frequencies[a] < frequencies[b]; });
  for (int k = 0; k < used; ++k) nodes[k] = {std::max(frequencies[order[k]], 1), 0};
  // Leaves and inner nodes both come in the order of weight.
  int leaf = 0, inner = used;
  for (int made = used; made < 2 * used - 1; ++made) {
    nodes[made] = {0, 0};
    for (int child = 0; child < 2; ++child) {
      const bool is_leaf = leaf < used && (inner == made || nodes[leaf].weight <= nodes[inner].weight);
      Node& node = nodes[is_leaf ? leaf++ : inner++];
      node.parent = made;
      nodes[made].weight += node.weight;
    }
  }
  int depth[2 * 286];
  int count[64] = {};
  depth[2 * used - 2] = 0;
  for (int k = 2 * used - 3; k >= 0; --k) {
    depth[k] = depth[nodes[k].parent] + 1;
    if (k < used) ++count[std::min(depth[k], limit)];
  }
  // Codes cut at the limit make the code over-full by some of the longest; each longer code elsewhere makes room.
  int64_t sum = 0;
  for (int d = 1; d <= limit; ++d) sum += int64_t{count[d]} << (limit - d);
  for (; sum > int64_t{1} << limit; --sum) {
    int d = limit - 1;
    while (count[d] == 0) --d;
    --count[d];
    count[d + 1] += 2;
    --count[limit];
  }
  int k = 0;
  for (int d = limit; d > 0; --d) {
    for (int left = count[d]; left > 0; --left) lengths[order[k++]] = static_cast<uint8_t>(d);
  }
}

void MakeCodes(const uint8_t* lengths, int n, zelDeflateHuffCode* codes) {
  uint32_t next[17] = {}, count[17] = {};
  for (int i = 0; i < n; ++i) ++count[lengths[i]];
  count[0] = 0;
  for (int d = 1; d <= 15; ++d) next[d + 1] = (next[d] + count[d]) << 1;
  for (int i = 0; i < n; ++i) {
    uint32_t code = next[lengths[i]]++, reversed = 0;
    for (int bit = 0; bit < lengths[i]; ++bit, code >>= 1) reversed = reversed << 1 | (code & 1);
    codes[i] = {static_cast<uint16_t>(lengths[i] > 0 ? reversed : 0), lengths[i]};
  }
}

struct Block {
  std::vector<uint8_t> lit;
  std::vector<uint16_t> dist;
  int32_t lit_counts[286];
  int32_t dist_counts[30];
  int32_t items = 0;
  bool last = false;
};

// What a caller of the helpers keeps.
class OneCallEncoder {
 public:
  explicit OneCallEncoder(int32_t level) : level_(level), window_(kWindow), head_(kHeads), chain_(kWindow) {
    block_.lit.resize(kBlockItems);
    block_.dist.resize(kBlockItems);
    bytes_.resize(kBlockItems * kMostItemBytes + 1024);
  }

  // Collects items until a block is full or the input is spent, and hands them to sink(block).
  template <typename Sink>
  void Search(Input in, Sink sink) {
    std::fill(head_.begin(), head_.end(), -kWindow);
    std::fill(chain_.begin(), chain_.end(), -kWindow);
    int32_t index = 0;
    bool spent = false;
    while (!spent) {
      std::fill(std::begin(block_.lit_counts), std::end(block_.lit_counts), 0);
      std::fill(std::begin(block_.dist_counts), std::end(block_.dist_counts), 0);
      int32_t room = kBlockItems;
      while (room > 0 && !spent) {
        if (in.left < 260 && !in.last()) {
          const int32_t rest = in.left;  // stands before the next piece
          in.Refill();
          in.left += rest;
        }
        uint8_t* source = const_cast<uint8_t*>(in.next);  // which it only reads
        const int32_t before = index, used = kBlockItems - room;
        Check(zelsDeflateLZ77_8u(&source, &in.left, &index, window_.data(), kWindow, head_.data(), chain_.data(),
                                 kHeads, block_.lit_counts, block_.dist_counts, block_.lit.data() + used,
                                 block_.dist.data() + used, &room, level_,
                                 in.last() ? zelLZ77FlushFinal : zelLZ77FlushNone),
              "zelsDeflateLZ77_8u");
        MoveWindow(source, index - before, before);
        in.next = source;
        spent = in.last() && in.left == 0;
      }
      block_.items = kBlockItems - room;
      block_.last = spent;
      sink(block_);
    }
  }

  void Write(Block& block, Output& out) {
    index_ = 0;
    block.lit_counts[256] = 1;
    uint8_t lengths[286 + 30];
    MakeLengths(block.lit_counts, 286, 15, lengths);
    int lits = 286, dists = 30;
    while (lits > 257 && lengths[lits - 1] == 0) --lits;
    MakeLengths(block.dist_counts, 30, 15, lengths + lits);
    while (dists > 1 && lengths[lits + dists - 1] == 0) --dists;
    zelDeflateHuffCode lit_codes[286] = {}, dist_codes[30] = {};
    MakeCodes(lengths, lits, lit_codes);
    MakeCodes(lengths + lits, dists, dist_codes);
    PutHeader(lengths, lits, dists, block.last);
    Check(zelsDeflateHuff_8u(block.lit.data(), block.dist.data(), block.items, &code_, &bits_, lit_codes, dist_codes,
                             bytes_.data(), &index_),
          "zelsDeflateHuff_8u");
    Put(lit_codes[256].code, lit_codes[256].lenBits);
    if (block.last) Put(0, -bits_ & 7);
    for (int32_t at = 0; at < index_;) {
      if (out.room == 0) out.Drain();
      const int32_t n = std::min(index_ - at, out.room);
      std::memcpy(out.next, bytes_.data() + at, static_cast<size_t>(n));
      out.next += n;
      out.room -= n;
      at += n;
    }
  }

  void Encode(Input in, Output& out) {
    code_ = 0;
    bits_ = 0;
    Search(in, [&](Block& block) { Write(block, out); });
    out.Drain();
  }

 private:
  void MoveWindow(const uint8_t* end, int32_t n, int32_t before) {
    if (n >= kWindow) {
      std::memcpy(window_.data(), end - kWindow, kWindow);
      return;
    }
    const int32_t have = std::min(before, kWindow), keep = std::min(have, kWindow - n);
    std::memmove(window_.data(), window_.data() + (have - keep), static_cast<size_t>(keep));
    std::memcpy(window_.data() + keep, end - n, static_cast<size_t>(n));
  }

  void Put(uint32_t value, int count) {
    uint32_t bits = code_ | value << bits_;
    for (bits_ += count; bits_ >= 8; bits_ -= 8, bits >>= 8)
      bytes_[static_cast<size_t>(index_++)] = static_cast<uint8_t>(bits);
    code_ = static_cast<uint16_t>(bits);
  }

  // The header of a dynamic block (RFC 1951 section 3.2.7).
  void PutHeader(const uint8_t* lengths, int lits, int dists, bool last) {
    constexpr uint8_t kOrder[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    struct Piece {
      uint8_t symbol, extra;
    } pieces[286 + 30];
    int n = 0;
    int32_t counts[19] = {};
    const auto add = [&](int symbol, int extra) {
      pieces[n++] = {static_cast<uint8_t>(symbol), static_cast<uint8_t>(extra)};
      ++counts[symbol];
    };
    const int all = lits + dists;
    for (int i = 0; i < all;) {
      int run = 1;
      while (i + run < all && lengths[i + run] == lengths[i]) ++run;
      const int value = lengths[i];
      i += run;
      if (value == 0) {
        for (; run >= 11; run -= std::min(run, 138)) add(18, std::min(run, 138) - 11);
        if (run >= 3) add(17, std::exchange(run, 0) - 3);
      } else {
        add(value, 0);
        --run;
        for (; run >= 3; run -= std::min(run, 6)) add(16, std::min(run, 6) - 3);
      }
      for (; run > 0; --run) add(value, 0);
    }
    uint8_t code_lengths[19];
    zelDeflateHuffCode codes[19];
    MakeLengths(counts, 19, 7, code_lengths);
    MakeCodes(code_lengths, 19, codes);
    int sent = 19;
    while (sent > 4 && code_lengths[kOrder[sent - 1]] == 0) --sent;
    Put(last ? 5 : 4, 3);
    Put(static_cast<uint32_t>(lits - 257), 5);
    Put(static_cast<uint32_t>(dists - 1), 5);
    Put(static_cast<uint32_t>(sent - 4), 4);
    for (int i = 0; i < sent; ++i) Put(code_lengths[kOrder[i]], 3);
    for (int i = 0; i < n; ++i) {
      const Piece piece = pieces[i];
      Put(codes[piece.symbol].code, codes[piece.symbol].lenBits);
      if (piece.symbol >= 16) Put(piece.extra, piece.symbol == 16 ? 2 : piece.symbol == 17 ? 3 : 7);
    }
  }

  int32_t level_;
  Bytes window_;
  std::vector<int32_t> head_;
  std::vector<int32_t> chain_;
  Block block_;
  Bytes bytes_;
  int32_t index_ = 0;
  uint16_t code_ = 0;
  int32_t bits_ = 0;
};

void RegisterLevel(Sample& sample, int32_t level) {
  const std::string coder = "zeldc-one-call-" + std::to_string(level);
  const auto encoder = std::make_shared<OneCallEncoder>(level);
  for (Buffers buffers : {Buffers::kWhole, Buffers::k64KiB}) {
    RegisterEncoder(sample, buffers, coder, [=](Input in, Output& out) { encoder->Encode(in, out); });
  }
  // What the parts make is verified with the whole.
  Register(Name("deflate", "search", coder, sample.name()), sample.data().size(), [=, &sample]() -> Task {
    return {[=, &sample] { encoder->Search(Input(sample.data(), Buffers::kWhole), [](Block&) {}); }};
  });
  Register(Name("deflate", "blocks", coder, sample.name()), sample.data().size(), [=, &sample]() -> Task {
    const auto blocks = std::make_shared<std::vector<Block>>();
    encoder->Search(Input(sample.data(), Buffers::kWhole), [&](Block& block) { blocks->push_back(block); });
    return {[=, size = sample.data().size()] {
      Output out(Buffers::kWhole, DeflateBound(size));
      for (Block& block : *blocks) encoder->Write(block, out);
      out.Drain();
    }};
  });
}

}  // namespace

void RegisterDeflateHelpers(Sample& sample) {
  for (int32_t level : {1, 4, 6, 9}) RegisterLevel(sample, level);
}
