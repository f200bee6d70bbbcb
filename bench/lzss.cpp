// LZSS: encoding beside the search for the same matches without any coding, and decoding beside zlib, which decodes
// the same file from a smaller stream.

#include <memory>

#include "bench.h"
#include "zlib_streams.h"

namespace {

using State = std::shared_ptr<zelLZSSState>;

State MakeState(zelStatus (*init_alloc)(zelLZSSState**)) {
  zelLZSSState* state = nullptr;
  Check(init_alloc(&state), "an LZSS InitAlloc");
  return {state, zelsLZSSFree_8u};
}

// Up to 9 bits a byte.
size_t Bound(size_t size) { return size + size / 8 + 16; }

size_t Encode(zelLZSSState* state, const Bytes& data, Bytes* stream) {
  Check(zelsEncodeLZSSInit_8u(state), "zelsEncodeLZSSInit_8u");
  uint8_t* src = const_cast<uint8_t*>(data.data());  // which it only reads
  uint8_t* dst = stream->data();
  int32_t left = static_cast<int32_t>(data.size());
  int32_t room = static_cast<int32_t>(stream->size());
  Check(zelsEncodeLZSS_8u(&src, &left, &dst, &room, state), "zelsEncodeLZSS_8u");
  Check(zelsEncodeLZSSFlush_8u(&dst, &room, state), "zelsEncodeLZSSFlush_8u");
  return static_cast<size_t>(dst - stream->data());
}

void Decode(zelLZSSState* state, const Bytes& stream, Bytes* data, size_t piece) {
  Check(zelsDecodeLZSSInit_8u(state), "zelsDecodeLZSSInit_8u");
  uint8_t* src = const_cast<uint8_t*>(stream.data());
  int32_t left = static_cast<int32_t>(stream.size());
  uint8_t* dst = data->data();
  for (;;) {
    int32_t room =
        static_cast<int32_t>(std::min<size_t>(piece, static_cast<size_t>(data->data() + data->size() - dst)));
    const zelStatus status = zelsDecodeLZSS_8u(&src, &left, &dst, &room, state);
    if (status == zelOk) break;
    if (status != zelWarnDstFull) Fail("zelsDecodeLZSS_8u answers " + std::to_string(status));
  }
}

Bytes MakeStream(zelLZSSState* encoder, const Bytes& data) {
  Bytes stream(Bound(data.size()));
  stream.resize(Encode(encoder, data, &stream));
  return stream;
}

void RegisterCompress(Sample& sample) {
  const State encoder = MakeState(zelsEncodeLZSSInitAlloc_8u);
  Register(Name("lzss", "compress", "zeldc", sample.name()), sample.data().size(), [=, &sample]() -> Task {
    const auto stream = std::make_shared<Bytes>(Bound(sample.data().size()));
    const size_t size = Encode(encoder.get(), sample.data(), stream.get());
    return {[=, &sample] { Encode(encoder.get(), sample.data(), stream.get()); }, size};
  });
}

// The search of the Deflate encoder's normal level, with the pairs thrown away.
void RegisterSearch(Sample& sample) {
  zelLZ77State* record = nullptr;
  Check(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelNormal, zelLZ77CheckNone, &record), "zelsEncodeLZ77InitAlloc_8u");
  const std::shared_ptr<zelLZ77State> state(record, zelsLZ77Free_8u);
  const auto pairs = std::make_shared<std::vector<zelLZ77Pair>>(zelLZ77MaxPairs);
  Register(Name("lzss", "compress", "deflate-search", sample.name()), sample.data().size(), [=, &sample]() -> Task {
    return {[=, &sample] {
      Check(zelsEncodeLZ77Reset_8u(state.get()), "zelsEncodeLZ77Reset_8u");
      uint8_t* src = const_cast<uint8_t*>(sample.data().data());
      int32_t left = static_cast<int32_t>(sample.data().size());
      while (left > 0) {
        zelLZ77Pair* next = pairs->data();
        int32_t room = zelLZ77MaxPairs;
        const zelStatus status = zelsEncodeLZ77_8u(&src, &left, &next, &room, zelLZ77FlushNone, state.get());
        if (status != zelWarnDstFull) Check(status, "zelsEncodeLZ77_8u");
      }
    }};
  });
}

void RegisterDecompress(Sample& sample, Buffers buffers) {
  const State encoder = MakeState(zelsEncodeLZSSInitAlloc_8u);
  const State decoder = MakeState(zelsDecodeLZSSInitAlloc_8u);
  const std::string stage = buffers == Buffers::kWhole ? "decompress" : StageName(buffers);
  const std::string name = Name("lzss", stage, "zeldc", sample.name());
  Register(name, sample.data().size(), [=, &sample]() -> Task {
    const auto stream = std::make_shared<Bytes>(MakeStream(encoder.get(), sample.data()));
    const auto data = std::make_shared<Bytes>(sample.data().size() + 1);  // so that it is never full at the end
    const size_t piece = BufferSize(buffers, data->size());
    Decode(decoder.get(), *stream, data.get(), piece);
    if (!std::equal(sample.data().begin(), sample.data().end(), data->begin())) Fail(name + " is wrong");
    return {[=] { Decode(decoder.get(), *stream, data.get(), piece); }};
  });
}

void RegisterInflatePeer(Sample& sample) {
  const auto zlib = std::make_shared<ZlibDecoder>();
  Register(Name("lzss", "decompress", "zlib-inflate", sample.name()), sample.data().size(), [=, &sample]() -> Task {
    const Bytes& stream = sample.deflated();
    const auto data = std::make_shared<Bytes>(sample.data().size() + 1);
    return {[=, &stream] { zlib->Decode(stream.data(), stream.size(), data->data(), data->size()); }};
  });
}

}  // namespace

void RegisterLzss(Sample& sample) {
  RegisterCompress(sample);
  RegisterSearch(sample);
  RegisterDecompress(sample, Buffers::kWhole);
  RegisterInflatePeer(sample);
  RegisterDecompress(sample, Buffers::k64KiB);
}
