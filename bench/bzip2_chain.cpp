// bzip2 streams in one thread: the whole chain of stages, as zelbzip2 runs it, in blocks of 900,000 bytes.

#include <bzlib.h>

#include <memory>

#include "bench.h"
#include "zelbzip2/bit_joiner.h"
#include "zelbzip2/block_decoder.h"
#include "zelbzip2/block_encoder.h"
#include "zelbzip2/block_filler.h"
#include "zelbzip2/run_expansion.h"

namespace {

using zelbzip2::Block;
using zelbzip2::BlockDecoder;
using zelbzip2::BlockEncoder;
using zelbzip2::BlockFiller;
using zelbzip2::DecodedBlock;

constexpr int kLevel = 9;

void Compress(BlockEncoder& encoder, const Bytes& data, Bytes& out) {
  out.assign({'B', 'Z', 'h', '0' + kLevel});
  BlockFiller filler(kLevel);
  zelbzip2::BitJoiner joiner;
  uint32_t crc = 0;
  const uint8_t* next = data.data();
  int32_t left = static_cast<int32_t>(data.size());
  while (left > 0) {
    filler.Add(next, left);
    Block block = filler.Finish();
    encoder.Do(block);
    joiner.Put(block.coded, block.bits, out);
    crc = zelbzip2::CombinedCrc(crc, block.crc);
  }
  joiner.Put(zelbzip2::kStreamEnd, zelbzip2::kMarkBits, out);
  joiner.Put(crc, 32, out);
  joiner.Finish(out);
}

// The output is dropped piece by piece, which is how its runs are expanded into a buffer that stays in the cache; the
// peer's goes to one large buffer, the only way that its function knows. Both check the CRC of each block.
void Decompress(BlockDecoder& decoder, const Bytes& stream, example::Output& out) {
  uint64_t bit = 32;
  DecodedBlock block;
  for (;;) {
    const size_t byte = static_cast<size_t>(bit / 8);
    uint64_t mark = 0;
    for (size_t i = 0; i < 7; ++i) mark = mark << 8 | stream[byte + i];
    mark = mark >> (8 - bit % 8) & ((uint64_t{1} << zelbzip2::kMarkBits) - 1);
    if (mark == zelbzip2::kStreamEnd) return;
    if (decoder.Decode(stream.data() + byte, stream.size() - byte, static_cast<int>(bit % 8), block) !=
        zelbzip2::Verdict::kGood) {
      Fail("a block cannot be decoded");
    }
    if (zelbzip2::ExpandRuns(block.data, out) != block.crc) Fail("a block has a wrong CRC");
    bit += block.bits;
  }
}

unsigned Size(const Bytes& bytes) { return static_cast<unsigned>(bytes.size()); }

char* Chars(const Bytes& bytes) { return reinterpret_cast<char*>(const_cast<uint8_t*>(bytes.data())); }

void Libbz2Compress(const Bytes& data, Bytes& out) {
  out.resize(data.size() + data.size() / 50 + 1000);
  unsigned size = Size(out);
  if (BZ2_bzBuffToBuffCompress(Chars(out), &size, Chars(data), Size(data), kLevel, 0, 0) != BZ_OK) {
    Fail("libbz2 cannot compress");
  }
  out.resize(size);
}

void Libbz2Decompress(const Bytes& stream, Bytes& out) {
  unsigned size = Size(out);
  if (BZ2_bzBuffToBuffDecompress(Chars(out), &size, Chars(stream), Size(stream), 0, 0) != BZ_OK || size != out.size()) {
    Fail("libbz2 cannot decompress");
  }
}

}  // namespace

void RegisterBzip2Chain(Sample& sample) {
  const Bytes& data = sample.data();
  const auto name = [&](const char* stage, const char* coder) { return Name("bzip2", stage, coder, sample.name()); };
  Register(name("compress", "zeldc"), data.size(), [&data]() -> Task {
    const auto encoder = std::make_shared<BlockEncoder>(BlockFiller::Capacity(kLevel));
    const auto out = std::make_shared<Bytes>();
    Compress(*encoder, data, *out);
    Bytes back(data.size());
    Libbz2Decompress(*out, back);
    if (back != data) Fail("libbz2 makes something else of our stream");
    return {[=, &data] { Compress(*encoder, data, *out); }, out->size()};
  });
  Register(name("compress", "libbz2"), data.size(), [&data]() -> Task {
    const auto out = std::make_shared<Bytes>();
    Libbz2Compress(data, *out);
    return {[=, &data] { Libbz2Compress(data, *out); }, out->size()};
  });

  // The streams to be decompressed are libbz2's.
  Register(name("decompress", "zeldc"), data.size(), [&data]() -> Task {
    const auto stream = std::make_shared<Bytes>();
    Libbz2Compress(data, *stream);
    const auto decoder = std::make_shared<BlockDecoder>();
    const auto out = std::make_shared<example::Output>(zelbzip2::kExpansionBufferBytes);
    Decompress(*decoder, *stream, *out);
    if (out->total() != data.size()) Fail("we make something else of libbz2's stream");
    return {[=] { Decompress(*decoder, *stream, *out); }};
  });
  Register(name("decompress", "libbz2"), data.size(), [&data]() -> Task {
    const auto stream = std::make_shared<Bytes>();
    Libbz2Compress(data, *stream);
    const auto out = std::make_shared<Bytes>(data.size());
    return {[=] { Libbz2Decompress(*stream, *out); }};
  });
}
