// Deflate encoding: match search, choice of the block type and block writing, together and apart. The peers run at all
// their levels, since only a level that compresses as well is a fair peer.

#include "deflate.h"

#include <libdeflate.h>

#include <memory>

#include "zlib_streams.h"

namespace {

std::shared_ptr<zelLZ77State> MakeEncoder(zelLZ77Level level) {
  zelLZ77State* state = nullptr;
  Check(zelsEncodeLZ77InitAlloc_8u(level, zelLZ77CheckNone, &state), "zelsEncodeLZ77InitAlloc_8u");
  return {state, zelsLZ77Free_8u};
}

// What becomes one block.
struct Block {
  zelLZ77Pair* pairs;
  int32_t count;
  const uint8_t* data;  // the bytes that the pairs stand for
  int32_t size;
  bool last;
};

// Collects pairs until the record's array is full or the input is spent, and hands them to sink(block).
template <typename Sink>
void Search(zelLZ77State* state, Input in, Sink sink) {
  Check(zelsEncodeLZ77Reset_8u(state), "zelsEncodeLZ77Reset_8u");
  for (bool last = false; !last;) {
    Check(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusMatching, state), "zelsEncodeLZ77SetStatus_8u");
    zelLZ77Pair* pairs = nullptr;
    int32_t position = 0, room = 0;
    Check(zelsEncodeLZ77GetPairs_8u(&pairs, &position, &room, state), "zelsEncodeLZ77GetPairs_8u");
    const uint8_t* const data = in.next;
    zelLZ77Pair* next = pairs;
    zelStatus status = zelOk;
    do {
      if (in.left == 0) in.Refill();
      uint8_t* source = const_cast<uint8_t*>(in.next);  // which it only reads
      const zelLZ77FlushMode flush = in.last() ? zelLZ77FlushFinal : zelLZ77FlushNone;
      status = zelsEncodeLZ77_8u(&source, &in.left, &next, &room, flush, state);
      in.next = source;
      if (status != zelWarnDstFull) Check(status, "zelsEncodeLZ77_8u");
      last = status == zelOk && in.last();
    } while (status == zelOk && !last);
    const int32_t count = static_cast<int32_t>(next - pairs);
    Check(zelsEncodeLZ77SetPairs_8u(pairs, count, count, state), "zelsEncodeLZ77SetPairs_8u");
    sink(Block{pairs, count, data, static_cast<int32_t>(in.next - data), last});
  }
}

// Repeats a writer while the output is full.
template <typename Write>
void WriteAll(bool last, Output& out, Write write) {
  zelStatus status;
  while ((status = write()) == zelWarnDstFull) out.Drain();
  if (status != (last ? zelWarnStreamEnd : zelOk)) Fail("a block writer answers " + std::to_string(status));
}

void WriteBlock(zelLZ77State* state, Block block, Output& out) {
  Check(zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, state), "zelsEncodeLZ77SetStatus_8u");
  zelLZ77HuffMode mode = zelLZ77HuffDynamic;
  Check(zelsEncodeLZ77SelectHuffMode_8u(block.pairs, block.count, &mode, state), "zelsEncodeLZ77SelectHuffMode_8u");
  const zelLZ77FlushMode flush = block.last ? zelLZ77FlushFinal : zelLZ77FlushNone;
  if (mode != zelLZ77HuffStored) {
    const auto writer = mode == zelLZ77HuffFixed ? zelsEncodeLZ77FixedHuff_8u : zelsEncodeLZ77DynamicHuff_8u;
    WriteAll(block.last, out, [&] { return writer(&block.pairs, &block.count, &out.next, &out.room, flush, state); });
    return;
  }
  // With zelLZ77FlushFinal every stored block of a call is a last one, so only one's worth of bytes gets it.
  constexpr int32_t kMaxStored = 65535;
  uint8_t* data = const_cast<uint8_t*>(block.data);
  int32_t before = block.last && block.size > kMaxStored ? block.size - kMaxStored : 0;
  if (!block.last) before = block.size;
  int32_t rest = block.size - before;
  if (before > 0) {
    WriteAll(false, out, [&] {
      return zelsEncodeLZ77StoredBlock_8u(&data, &before, &out.next, &out.room, zelLZ77FlushNone, state);
    });
  }
  if (block.last) {
    WriteAll(true, out, [&] {
      return zelsEncodeLZ77StoredBlock_8u(&data, &rest, &out.next, &out.room, zelLZ77FlushFinal, state);
    });
  }
}

void Deflate(zelLZ77State* state, Input in, Output& out) {
  Search(state, in, [&](const Block& block) { WriteBlock(state, block, out); });
  out.Drain();
}

// A parse to write blocks from, without the search.
struct Parse {
  std::vector<zelLZ77Pair> pairs;
  std::vector<Block> blocks;
};

Parse MakeParse(zelLZ77State* state, const Bytes& data) {
  Parse parse;
  Search(state, Input(data, Buffers::kWhole), [&](const Block& block) {
    parse.pairs.insert(parse.pairs.end(), block.pairs, block.pairs + block.count);
    parse.blocks.push_back(block);
  });
  zelLZ77Pair* pairs = parse.pairs.data();
  for (Block& block : parse.blocks) {
    block.pairs = pairs;
    pairs += block.count;
  }
  return parse;
}

bool Gives(const Parse& parse, const Bytes& data) {
  Bytes made;
  made.reserve(data.size());
  for (const zelLZ77Pair& pair : parse.pairs) {
    if (pair.distance == 0) {
      made.push_back(static_cast<uint8_t>(pair.length));
    } else if (pair.distance > made.size()) {
      return false;
    } else {
      for (int i = 0; i < pair.length; ++i) made.push_back(made[made.size() - pair.distance]);
    }
  }
  return made == data;
}

void WriteBlocks(zelLZ77State* state, const Parse& parse, Output& out) {
  Check(zelsEncodeLZ77Reset_8u(state), "zelsEncodeLZ77Reset_8u");
  for (const Block& block : parse.blocks) {
    // A search without input only tells the dynamic writer whether the block is the last.
    uint8_t* source = const_cast<uint8_t*>(block.data);
    int32_t source_size = 0, room = 1;
    zelLZ77Pair* pairs = block.pairs;
    const zelLZ77FlushMode flush = block.last ? zelLZ77FlushFinal : zelLZ77FlushNone;
    Check(zelsEncodeLZ77_8u(&source, &source_size, &pairs, &room, flush, state), "zelsEncodeLZ77_8u");
    WriteBlock(state, block, out);
  }
  out.Drain();
}

void RegisterLevel(Sample& sample, const std::string& coder, zelLZ77Level level) {
  const std::shared_ptr<zelLZ77State> state = MakeEncoder(level);
  for (Buffers buffers : {Buffers::kWhole, Buffers::k64KiB}) {
    RegisterEncoder(sample, buffers, coder, [=](Input in, Output& out) { Deflate(state.get(), in, out); });
  }

  const std::string search = Name("deflate", "search", coder, sample.name());
  Register(search, sample.data().size(), [=, &sample]() -> Task {
    if (!Gives(MakeParse(state.get(), sample.data()), sample.data())) Fail(search + " is wrong");
    return {[=, &sample] { Search(state.get(), Input(sample.data(), Buffers::kWhole), [](const Block&) {}); }};
  });

  const std::string blocks = Name("deflate", "blocks", coder, sample.name());
  Register(blocks, sample.data().size(), [=, &sample]() -> Task {
    const auto parse = std::make_shared<Parse>(MakeParse(state.get(), sample.data()));
    Bytes deflated;
    Output out(Buffers::kWhole, DeflateBound(sample.data().size()), &deflated);
    WriteBlocks(state.get(), *parse, out);
    CheckDeflated(blocks, deflated, sample.data());
    return {[=, size = sample.data().size()] {
      Output timed(Buffers::kWhole, DeflateBound(size));
      WriteBlocks(state.get(), *parse, timed);
    }};
  });
}

void RegisterZlib(Sample& sample, int level) {
  const auto encoder = std::make_shared<ZlibEncoder>(level);
  RegisterEncoder(sample, Buffers::kWhole, "zlib-" + std::to_string(level), [=](Input in, Output& out) {
    const size_t made = encoder->Encode(in.next, static_cast<size_t>(in.left), out.next, static_cast<size_t>(out.room));
    out.next += made;
    out.room -= static_cast<int32_t>(made);
    out.Drain();
  });
}

void RegisterLibdeflate(Sample& sample, int level) {
  const std::shared_ptr<libdeflate_compressor> compressor(libdeflate_alloc_compressor(level),
                                                          libdeflate_free_compressor);
  RegisterEncoder(sample, Buffers::kWhole, "libdeflate-" + std::to_string(level), [=](Input in, Output& out) {
    const size_t made = libdeflate_deflate_compress(compressor.get(), in.next, static_cast<size_t>(in.left), out.next,
                                                    static_cast<size_t>(out.room));
    if (made == 0) Fail("libdeflate's compressor fails");
    out.next += made;
    out.room -= static_cast<int32_t>(made);
    out.Drain();
  });
}

}  // namespace

void DeflateFast(const Input& in, Output& out) {
  static const std::shared_ptr<zelLZ77State> state = MakeEncoder(zelLZ77LevelFast);
  Deflate(state.get(), in, out);
}

void CheckDeflated(const std::string& name, const Bytes& deflated, const Bytes& data) {
  Bytes decoded(data.size());
  libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
  const libdeflate_result result = libdeflate_deflate_decompress(decompressor, deflated.data(), deflated.size(),
                                                                 decoded.data(), decoded.size(), nullptr);
  libdeflate_free_decompressor(decompressor);
  if (result != LIBDEFLATE_SUCCESS || decoded != data) Fail(name + " is wrong");
}

void RegisterEncoder(Sample& sample, Buffers buffers, const std::string& coder,
                     std::function<void(Input in, Output& out)> encode) {
  const std::string name = Name("deflate", StageName(buffers), coder, sample.name());
  Register(name, sample.data().size(), [=, &sample]() -> Task {
    const Bytes& data = sample.data();
    Bytes deflated;
    Output out(buffers, DeflateBound(data.size()), &deflated);
    encode(Input(data, buffers), out);
    CheckDeflated(name, deflated, data);
    const auto run = [=, &data] {
      Output timed(buffers, DeflateBound(data.size()));
      encode(Input(data, buffers), timed);
    };
    return {run, deflated.size()};
  });
}

void RegisterDeflate(Sample& sample) {
  RegisterLevel(sample, "zeldc-fast", zelLZ77LevelFast);
  RegisterLevel(sample, "zeldc-normal", zelLZ77LevelNormal);
  RegisterLevel(sample, "zeldc-best", zelLZ77LevelBest);
  for (int level = 1; level <= 9; ++level) RegisterZlib(sample, level);
  for (int level = 1; level <= 12; ++level) RegisterLibdeflate(sample, level);
}
