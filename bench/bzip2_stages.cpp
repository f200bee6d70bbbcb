// The stages of block sorting but the transform and the Huffman code, each beside the plain way to do it, on blocks of
// 900,000 bytes; and dictionary reduction by threads.

#include <divsufsort.h>
#include <zelcore.h>

#include <cstring>
#include <memory>
#include <numeric>
#include <utility>

#include "bench.h"

namespace {

constexpr size_t kBlock = 900000;
constexpr size_t kMostBlocks = 5;

using Symbols = std::vector<uint16_t>;

// ---- The plain ways ----

// A list of the byte values: searched, and shifted on the way.
void ListForward(const Bytes& bytes, Bytes* ranks) {
  uint8_t list[256];
  std::iota(list, list + 256, uint8_t{0});
  for (size_t i = 0; i < bytes.size(); ++i) {
    uint8_t carried = list[0];
    size_t rank = 0;
    while (carried != bytes[i]) std::swap(carried, list[++rank]);
    list[0] = carried;
    (*ranks)[i] = static_cast<uint8_t>(rank);
  }
}

void ListInverse(const Bytes& ranks, Bytes* bytes) {
  uint8_t list[256];
  std::iota(list, list + 256, uint8_t{0});
  for (size_t i = 0; i < ranks.size(); ++i) {
    const uint8_t byte = list[ranks[i]];
    for (size_t r = ranks[i]; r > 0; --r) list[r] = list[r - 1];
    (*bytes)[i] = list[0] = byte;
  }
}

size_t LoopEncodeZeroRuns(const Bytes& ranks, Symbols* symbols, int32_t* freq) {
  size_t count = 0;
  size_t run = 0;
  const auto put = [&](uint16_t symbol) {
    (*symbols)[count++] = symbol;
    ++freq[symbol];
  };
  for (size_t i = 0; i <= ranks.size(); ++i) {
    if (i < ranks.size() && ranks[i] == 0) {
      ++run;
      continue;
    }
    for (; run > 0; run >>= 1) put(static_cast<uint16_t>(--run & 1));
    if (i < ranks.size()) put(static_cast<uint16_t>(ranks[i] + 1));
  }
  return count;
}

size_t LoopDecodeZeroRuns(const Symbols& symbols, Bytes* ranks) {
  size_t count = 0;
  size_t run = 0;
  size_t weight = 1;
  for (size_t i = 0; i <= symbols.size(); ++i) {
    if (i < symbols.size() && symbols[i] < 2) {
      run += weight * (symbols[i] + 1u);
      weight *= 2;
      continue;
    }
    for (; run > 0; --run) (*ranks)[count++] = 0;
    weight = 1;
    if (i < symbols.size()) (*ranks)[count++] = static_cast<uint8_t>(symbols[i] - 1);
  }
  return count;
}

// Both run-length codes: a count behind `threshold` equal bytes. in_use may be null.
size_t LoopEncodeRuns(const Bytes& bytes, int threshold, Bytes* out, uint8_t* in_use) {
  size_t count = 0;
  int run = 0;
  int last = -1;
  const auto put = [&](uint8_t byte) {
    (*out)[count++] = byte;
    if (in_use) in_use[byte] = 1;
  };
  for (size_t i = 0; i < bytes.size();) {
    const uint8_t byte = bytes[i++];
    put(byte);
    run = byte == last ? run + 1 : 1;
    last = byte;
    if (run < threshold) continue;
    int more = 0;
    while (i < bytes.size() && more < 255 && bytes[i] == byte) ++i, ++more;
    put(static_cast<uint8_t>(more));
    run = 0;
    last = -1;
  }
  return count;
}

size_t LoopDecodeRuns(const Bytes& bytes, int threshold, Bytes* out) {
  size_t count = 0;
  int run = 0;
  int last = -1;
  for (size_t i = 0; i < bytes.size();) {
    const uint8_t byte = bytes[i++];
    (*out)[count++] = byte;
    run = byte == last ? run + 1 : 1;
    last = byte;
    if (run < threshold || i == bytes.size()) continue;
    for (int more = bytes[i++]; more > 0; --more) (*out)[count++] = byte;
    run = 0;
    last = -1;
  }
  return count;
}

// ---- The library's ----

void Forward(const Bytes& bytes, Bytes* ranks) {
  zelMTFState state;
  zelsMTFInit_8u(&state);
  zelsMTFFwd_8u(bytes.data(), ranks->data(), static_cast<int32_t>(bytes.size()), &state);
}

void Inverse(const Bytes& ranks, Bytes* bytes) {
  zelMTFState state;
  zelsMTFInit_8u(&state);
  zelsMTFInv_8u(ranks.data(), bytes->data(), static_cast<int32_t>(ranks.size()), &state);
}

template <typename Coder, typename In, typename Out, typename... Rest>
size_t Run(Coder coder, const In& in, Out* out, Rest... rest) {
  auto* src = const_cast<typename In::value_type*>(in.data());
  int32_t src_len = static_cast<int32_t>(in.size());
  int32_t dst_len = static_cast<int32_t>(out->size());
  coder(&src, &src_len, out->data(), &dst_len, rest...);
  return static_cast<size_t>(dst_len);
}

size_t EncodeRuns(const Bytes& bytes, Bytes* out) {
  zelRLEState_BZ2 state;
  zelsEncodeRLEInit_BZ2_8u(&state);
  const size_t count = Run(zelsEncodeRLE_BZ2_8u, bytes, out, &state);
  int32_t room = static_cast<int32_t>(out->size() - count);
  zelsEncodeRLEFlush_BZ2_8u(out->data() + count, &room, &state);
  return count + static_cast<size_t>(room);
}

// ---- Files ----

// A block at each stage.
struct Block {
  Bytes bytes;
  Bytes runs;         // run-length coded as in bzip2
  Bytes pairs;        // run-length coded plainly
  Bytes transformed;  // of the bytes themselves, so that all stages are measured per byte of the file
  Bytes ranks;
  Symbols symbols;
};

Block MakeBlock(Bytes bytes) {
  Block block;
  block.bytes = std::move(bytes);
  const size_t size = block.bytes.size();
  block.runs.resize(2 * size);
  block.runs.resize(LoopEncodeRuns(block.bytes, 4, &block.runs, nullptr));
  block.pairs.resize(2 * size);
  block.pairs.resize(LoopEncodeRuns(block.bytes, 2, &block.pairs, nullptr));
  block.transformed.resize(size);
  if (divbwt(block.bytes.data(), block.transformed.data(), nullptr, static_cast<saidx_t>(size)) < 0)
    Fail("divbwt fails");
  block.ranks.resize(size);
  ListForward(block.transformed, &block.ranks);
  block.symbols.resize(size);
  int32_t freq[257] = {};
  block.symbols.resize(LoopEncodeZeroRuns(block.ranks, &block.symbols, freq));
  return block;
}

class Blocks {
 public:
  explicit Blocks(Sample& sample) : sample_(sample) {}

  size_t size() const { return std::min(sample_.data().size(), kBlock * kMostBlocks); }

  const std::vector<Block>& get() {
    for (size_t at = blocks_.size() * kBlock; at < size(); at += kBlock) {
      const auto start = sample_.data().begin() + static_cast<ptrdiff_t>(at);
      blocks_.push_back(MakeBlock(Bytes(start, start + static_cast<ptrdiff_t>(std::min(kBlock, size() - at)))));
    }
    return blocks_;
  }

 private:
  Sample& sample_;
  std::vector<Block> blocks_;
};

// code(block, out) gives the number of elements written; the first ones of a run must be expected(block).
template <typename Out, typename Code>
void RegisterStage(const std::string& name, const std::shared_ptr<Blocks>& blocks, Out Block::*expected, Code code) {
  Register(name, blocks->size(), [=] {
    auto out = std::make_shared<Out>(2 * kBlock + 1);
    for (const Block& block : blocks->get()) {
      const Out& wanted = block.*expected;
      const size_t count = code(block, out.get());
      if (count != wanted.size() || !std::equal(wanted.begin(), wanted.end(), out->begin())) Fail(name + " is wrong");
    }
    return Task{[=] {
      for (const Block& block : blocks->get()) code(block, out.get());
    }};
  });
}

// ---- Threads ----

int32_t threads = 1;

void TableLoop(const uint8_t* in_use, uint8_t* bytes, size_t size) {
  uint8_t table[256];
  uint8_t number = 0;
  for (int v = 0; v < 256; ++v) {
    table[v] = number;
    number = static_cast<uint8_t>(number + in_use[v]);
  }
  for (size_t i = 0; i < size; ++i) bytes[i] = table[bytes[i]];
}

// `thread_count` 0 is the plain loop. The clock on the wall counts, since threads are to make use of it.
void RegisterReductionOf(const std::string& coder, int32_t thread_count, size_t size) {
  const std::string name = Name("reduction", "reduce", coder, size);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    uint8_t in_use[256];
    for (int v = 0; v < 256; ++v) in_use[v] = v % 3 != 0;
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    Bytes expected = bytes;
    TableLoop(in_use, expected.data(), size);
    int32_t count = 0;
    threads = thread_count;
    const auto run = [&] {
      if (thread_count == 0) {
        TableLoop(in_use, bytes.data(), size);
      } else {
        zelsReduceDictionary_8u_I(in_use, bytes.data(), static_cast<int32_t>(size), &count);
      }
      benchmark::ClobberMemory();
    };
    run();
    if (bytes != expected) Fail(name + " is wrong");
    for (auto _ : state) run();
    state.SetBytesProcessed(static_cast<int64_t>(size) * static_cast<int64_t>(state.iterations()));
  })->UseRealTime();
}

}  // namespace

// In front of zelcore's.
extern "C" int32_t ownGetNumThreads(void) { return threads; }

void SetThreads(int32_t count) { threads = count; }

void RegisterBzip2Stages(Sample& sample) {
  const auto blocks = std::make_shared<Blocks>(sample);
  const auto name = [&](const char* stage, const char* coder) { return Name("stages", stage, coder, sample.name()); };
  const auto ranks_with = [](auto way) {
    return [way](const Block& block, Bytes* out) {
      way(block.transformed, out);
      return block.bytes.size();
    };
  };
  const auto bytes_with = [](auto way) {
    return [way](const Block& block, Bytes* out) {
      way(block.ranks, out);
      return block.bytes.size();
    };
  };
  RegisterStage(name("mtf-forward", "zeldc"), blocks, &Block::ranks, ranks_with(Forward));
  RegisterStage(name("mtf-forward", "plain"), blocks, &Block::ranks, ranks_with(ListForward));
  RegisterStage(name("mtf-inverse", "zeldc"), blocks, &Block::transformed, bytes_with(Inverse));
  RegisterStage(name("mtf-inverse", "plain"), blocks, &Block::transformed, bytes_with(ListInverse));

  RegisterStage(name("zero-run-encode", "zeldc"), blocks, &Block::symbols, [](const Block& block, Symbols* out) {
    int32_t freq[257] = {};
    return Run(zelsEncodeZ1Z2_BZ2_8u16u, block.ranks, out, freq);
  });
  RegisterStage(name("zero-run-encode", "plain"), blocks, &Block::symbols, [](const Block& block, Symbols* out) {
    int32_t freq[257] = {};
    return LoopEncodeZeroRuns(block.ranks, out, freq);
  });
  RegisterStage(name("zero-run-decode", "zeldc"), blocks, &Block::ranks,
                [](const Block& block, Bytes* out) { return Run(zelsDecodeZ1Z2_BZ2_16u8u, block.symbols, out); });
  RegisterStage(name("zero-run-decode", "plain"), blocks, &Block::ranks,
                [](const Block& block, Bytes* out) { return LoopDecodeZeroRuns(block.symbols, out); });

  RegisterStage(name("run-length-encode", "zeldc"), blocks, &Block::runs,
                [](const Block& block, Bytes* out) { return EncodeRuns(block.bytes, out); });
  RegisterStage(name("run-length-encode", "plain"), blocks, &Block::runs, [](const Block& block, Bytes* out) {
    uint8_t in_use[256] = {};
    return LoopEncodeRuns(block.bytes, 4, out, in_use);
  });
  RegisterStage(name("run-length-decode", "zeldc"), blocks, &Block::bytes,
                [](const Block& block, Bytes* out) { return Run(zelsDecodeRLE_BZ2_8u, block.runs, out); });
  RegisterStage(name("run-length-decode", "plain"), blocks, &Block::bytes,
                [](const Block& block, Bytes* out) { return LoopDecodeRuns(block.runs, 4, out); });

  RegisterStage(name("pairs-encode", "zeldc"), blocks, &Block::pairs,
                [](const Block& block, Bytes* out) { return Run(zelsEncodeRLE_8u, block.bytes, out); });
  RegisterStage(name("pairs-encode", "plain"), blocks, &Block::pairs,
                [](const Block& block, Bytes* out) { return LoopEncodeRuns(block.bytes, 2, out, nullptr); });
  RegisterStage(name("pairs-decode", "zeldc"), blocks, &Block::bytes,
                [](const Block& block, Bytes* out) { return Run(zelsDecodeRLE_8u, block.pairs, out); });
  RegisterStage(name("pairs-decode", "plain"), blocks, &Block::bytes,
                [](const Block& block, Bytes* out) { return LoopDecodeRuns(block.pairs, 2, out); });
}

void RegisterReduction() {
  for (size_t size : {1024, 2048, 16384, 65536, 1 << 20, 16 << 20}) {
    RegisterReductionOf("zeldc-1 thread", 1, size);
    RegisterReductionOf("zeldc-2 threads", 2, size);
    RegisterReductionOf("table loop", 0, size);
  }
}
