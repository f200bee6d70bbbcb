// The Huffman stage of bzip2 on blocks of 900000 bytes: making of codes, writing and reading of symbols. The peers are
// plain loops as one writes them first: bits through a word of 32, codes bit by bit behind the shortest length.

#include <divsufsort.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "bench.h"

namespace {

constexpr size_t kBlockSize = 900000;
constexpr size_t kGroup = 50;

using Symbols = std::vector<uint16_t>;

// A block as it comes to the Huffman stage: transformed, moved to front, its runs of zeros coded.
struct Block {
  int32_t alphaSize;
  Symbols symbols;  // the last one is the end of the block
  std::vector<uint32_t> frequencies;
  Bytes stream;  // by our encoder: description and symbols, and bytes of zeros that a decoder may want

  int32_t count() const { return static_cast<int32_t>(symbols.size()); }
};

Symbols ToSymbols(const uint8_t* data, size_t size, int32_t* alphaSize) {
  Bytes column(size);
  std::vector<int32_t> buffer(size + 1);
  if (divbwt(data, column.data(), buffer.data(), static_cast<int32_t>(size)) < 0) Fail("libdivsufsort's divbwt fails");

  std::array<bool, 256> used{};
  for (uint8_t byte : column) used[byte] = true;
  Bytes order;
  for (size_t value = 0; value < 256; ++value) {
    if (used[value]) order.push_back(static_cast<uint8_t>(value));
  }
  *alphaSize = static_cast<int32_t>(order.size()) + 2;

  Symbols symbols;
  size_t run = 0;
  auto putRun = [&] {
    for (; run > 0; run >>= 1) symbols.push_back(static_cast<uint16_t>(--run & 1));
  };
  for (uint8_t byte : column) {
    const auto found = std::find(order.begin(), order.end(), byte);
    if (found == order.begin()) {
      ++run;
      continue;
    }
    putRun();
    symbols.push_back(static_cast<uint16_t>(found - order.begin() + 1));
    std::rotate(order.begin(), found, found + 1);
  }
  putRun();
  symbols.push_back(static_cast<uint16_t>(*alphaSize - 1));
  return symbols;
}

class Encoder {
 public:
  Encoder() {
    int32_t size = 0;
    Check(zelsEncodeHuffGetSize_BZ2_16u8u(static_cast<int32_t>(kBlockSize + 1), &size), "GetSize");
    memory_.resize(static_cast<size_t>(size) / 4 + 1);
    stream_.resize(2 * kBlockSize);
  }

  void Init(const Block& block) {
    Check(zelsEncodeHuffInit_BZ2_16u8u(block.alphaSize, block.frequencies.data(), block.symbols.data(), block.count(),
                                       state()),
          "zelsEncodeHuffInit_BZ2_16u8u");
  }

  // The description, which the symbols then follow.
  void Pack() {
    code_ = 0;
    codeBits_ = 0;
    packed_ = static_cast<int32_t>(stream_.size());
    Check(zelsPackHuffContext_BZ2_16u8u(&code_, &codeBits_, stream_.data(), &packed_, state()),
          "zelsPackHuffContext_BZ2_16u8u");
  }

  // The size of all.
  size_t Encode(const Block& block) {
    uint32_t code = code_;
    int32_t codeBits = codeBits_, count = block.count(), size = static_cast<int32_t>(stream_.size()) - packed_;
    const uint16_t* symbols = block.symbols.data();
    Check(zelsEncodeHuff_BZ2_16u8u(&code, &codeBits, &symbols, &count, stream_.data() + packed_, &size, state()),
          "zelsEncodeHuff_BZ2_16u8u");
    size_t end = static_cast<size_t>(packed_ + size);
    for (int32_t i = 0; i < codeBits; i += 8) stream_[end++] = static_cast<uint8_t>(code >> (24 - i));
    return end;
  }

  const Bytes& stream() const { return stream_; }

 private:
  zelBZ2HuffEncodeState* state() { return reinterpret_cast<zelBZ2HuffEncodeState*>(memory_.data()); }

  std::vector<uint32_t> memory_;
  Bytes stream_;
  uint32_t code_ = 0;
  int32_t codeBits_ = 0;
  int32_t packed_ = 0;
};

class Decoder {
 public:
  Decoder() {
    int32_t size = 0;
    Check(zelsDecodeHuffGetSize_BZ2_8u16u(static_cast<int32_t>(kBlockSize + 1), &size), "GetSize");
    memory_.resize(static_cast<size_t>(size) / 4 + 1);
    symbols_.resize(kBlockSize + 1);
  }

  void Decode(const Block& block) {
    auto* const state = reinterpret_cast<zelBZ2HuffDecodeState*>(memory_.data());
    Check(zelsDecodeHuffInit_BZ2_8u16u(block.alphaSize, state), "zelsDecodeHuffInit_BZ2_8u16u");
    uint32_t code = 0;
    int32_t codeBits = 0, size = static_cast<int32_t>(block.stream.size());
    const uint8_t* next = block.stream.data();
    Check(zelsUnpackHuffContext_BZ2_8u16u(&code, &codeBits, &next, &size, state), "zelsUnpackHuffContext_BZ2_8u16u");
    int32_t count = static_cast<int32_t>(symbols_.size());
    Check(zelsDecodeHuff_BZ2_8u16u(&code, &codeBits, &next, &size, symbols_.data(), &count, state),
          "zelsDecodeHuff_BZ2_8u16u");
  }

  bool Holds(const Symbols& symbols) const { return std::equal(symbols.begin(), symbols.end(), symbols_.begin()); }

 private:
  std::vector<uint32_t> memory_;
  Symbols symbols_;
};

// Reads bits through a word of 32, a byte at a time.
struct PlainReader {
  const uint8_t* next;
  uint32_t bits = 0;
  int count = 0;

  uint32_t Take(int n) {
    while (count < n) {
      bits = bits << 8 | *next++;
      count += 8;
    }
    count -= n;
    return bits >> count & ((1u << n) - 1);
  }
};

// Codes as their description says, canonical.
struct PlainTable {
  std::array<uint8_t, 258> lengths{};
  std::array<uint32_t, 258> codes{};
  std::array<uint32_t, 22> first{}, count{}, offset{};
  std::array<uint16_t, 258> sorted{};
  int shortest = 21;

  void Make(size_t alphaSize) {
    for (size_t v = 0; v < alphaSize; ++v) {
      ++count[lengths[v]];
      shortest = std::min<int>(shortest, lengths[v]);
    }
    size_t place = 0;
    uint32_t code = 0;
    for (size_t length = 1; length <= 20; ++length) {
      code <<= 1;
      first[length] = code;
      offset[length] = static_cast<uint32_t>(place);
      for (size_t v = 0; v < alphaSize; ++v) {
        if (lengths[v] != length) continue;
        sorted[place++] = static_cast<uint16_t>(v);
        codes[v] = code++;
      }
    }
  }
};

class PlainCoder {
 public:
  PlainCoder() : symbols_(kBlockSize + 1), coded_(2 * kBlockSize) {}

  void ReadDescription(const Block& block) {
    PlainReader in{block.stream.data()};
    tables_.assign(in.Take(3), PlainTable());
    selectors_.resize(in.Take(15));
    std::array<uint8_t, 6> order = {0, 1, 2, 3, 4, 5};
    for (uint8_t& selector : selectors_) {
      size_t place = 0;
      while (in.Take(1) != 0) ++place;
      std::rotate(order.begin(), order.begin() + static_cast<ptrdiff_t>(place),
                  order.begin() + static_cast<ptrdiff_t>(place) + 1);
      selector = order[0];
    }
    for (PlainTable& table : tables_) {
      uint32_t length = in.Take(5);
      for (size_t v = 0; v < static_cast<size_t>(block.alphaSize); ++v) {
        while (in.Take(1) != 0) length += in.Take(1) != 0 ? ~0u : 1u;
        table.lengths[v] = static_cast<uint8_t>(length);
      }
      table.Make(static_cast<size_t>(block.alphaSize));
    }
    in_ = in;
  }

  void Decode(const Block& block) {
    ReadDescription(block);
    PlainReader in = in_;
    const uint32_t end = static_cast<uint32_t>(block.alphaSize - 1);
    uint16_t* out = symbols_.data();
    for (uint8_t selector : selectors_) {
      const PlainTable& table = tables_[selector];
      for (size_t i = 0; i < kGroup; ++i) {
        int length = table.shortest;
        uint32_t code = in.Take(length);
        while (code - table.first[static_cast<size_t>(length)] >= table.count[static_cast<size_t>(length)]) {
          code = code << 1 | in.Take(1);
          ++length;
        }
        const size_t l = static_cast<size_t>(length);
        const uint16_t symbol = table.sorted[table.offset[l] + code - table.first[l]];
        *out++ = symbol;
        if (symbol == end) return;
      }
    }
  }

  // The symbols behind the description. The number of whole bytes.
  size_t Encode(const Block& block) {
    uint32_t bits = 0;
    uint32_t count = 0;
    uint8_t* out = coded_.data();
    for (size_t i = 0; i < block.symbols.size(); ++i) {
      const PlainTable& table = tables_[selectors_[i / kGroup]];
      const uint16_t symbol = block.symbols[i];
      for (; count >= 8; count -= 8) {
        *out++ = static_cast<uint8_t>(bits >> 24);
        bits <<= 8;
      }
      count += table.lengths[symbol];
      bits |= table.codes[symbol] << (32 - count);
    }
    return static_cast<size_t>(out - coded_.data());
  }

  bool Holds(const Symbols& symbols) const { return std::equal(symbols.begin(), symbols.end(), symbols_.begin()); }

 private:
  std::vector<PlainTable> tables_;
  Bytes selectors_;
  PlainReader in_{};
  Symbols symbols_;
  Bytes coded_;
};

using Blocks = std::vector<Block>;

// Each file's blocks are made once.
std::shared_ptr<const Blocks> BlocksOf(const Sample& sample) {
  static std::pair<const Sample*, std::shared_ptr<const Blocks>> last;
  if (last.first == &sample) return last.second;
  auto blocks = std::make_shared<Blocks>();
  Encoder encoder;
  for (size_t at = 0; at < sample.data().size(); at += kBlockSize) {
    Block block;
    block.symbols =
        ToSymbols(sample.data().data() + at, std::min(kBlockSize, sample.data().size() - at), &block.alphaSize);
    block.frequencies.resize(static_cast<size_t>(block.alphaSize));
    for (uint16_t symbol : block.symbols) ++block.frequencies[symbol];
    encoder.Init(block);
    encoder.Pack();
    const size_t size = encoder.Encode(block);
    block.stream.assign(encoder.stream().begin(), encoder.stream().begin() + static_cast<ptrdiff_t>(size));
    block.stream.resize(size + 8);
    blocks->push_back(std::move(block));
  }
  last = {&sample, blocks};
  return blocks;
}

size_t CountSymbols(const Blocks& blocks) {
  size_t symbols = 0;
  for (const Block& block : blocks) symbols += block.symbols.size();
  return symbols;
}

template <typename Coder>
void RegisterDecoder(Sample& sample, const char* coder) {
  const std::string name = Name("bzip2-huffman", "decode", coder, sample.name());
  Register(name, sample.data().size(), [=, &sample]() -> Task {
    const auto blocks = BlocksOf(sample);
    const auto decoder = std::make_shared<Coder>();
    for (const Block& block : *blocks) {
      decoder->Decode(block);
      if (!decoder->Holds(block.symbols)) Fail(name + " is wrong");
    }
    Task task;
    task.run = [=] {
      for (const Block& block : *blocks) decoder->Decode(block);
    };
    task.symbols = CountSymbols(*blocks);
    return task;
  });
}

// Of each block a coder that knows its codes, so that the symbols alone are timed.
template <typename Coder, typename Prepare>
void RegisterEncoder(Sample& sample, const char* coder, Prepare prepare) {
  const std::string name = Name("bzip2-huffman", "encode", coder, sample.name());
  Register(name, sample.data().size(), [=, &sample]() -> Task {
    const auto blocks = BlocksOf(sample);
    const auto coders = std::make_shared<std::vector<Coder>>(blocks->size());
    for (size_t i = 0; i < blocks->size(); ++i) prepare((*coders)[i], (*blocks)[i]);
    Task task;
    task.run = [=] {
      for (size_t i = 0; i < blocks->size(); ++i) (*coders)[i].Encode((*blocks)[i]);
    };
    task.symbols = CountSymbols(*blocks);
    return task;
  });
}

}  // namespace

void RegisterBzip2Huffman(Sample& sample) {
  Register(Name("bzip2-huffman", "init", "zeldc", sample.name()), sample.data().size(), [&sample]() -> Task {
    const auto blocks = BlocksOf(sample);
    const auto encoder = std::make_shared<Encoder>();
    Task task;
    task.run = [=] {
      for (const Block& block : *blocks) encoder->Init(block);
    };
    task.symbols = CountSymbols(*blocks);
    return task;
  });
  RegisterEncoder<Encoder>(sample, "zeldc", [](Encoder& encoder, const Block& block) {
    encoder.Init(block);
    encoder.Pack();
  });
  RegisterEncoder<PlainCoder>(sample, "plain",
                              [](PlainCoder& coder, const Block& block) { coder.ReadDescription(block); });
  RegisterDecoder<Decoder>(sample, "zeldc");
  RegisterDecoder<PlainCoder>(sample, "plain");
}
