// LZO beside liblzo2: its LZO1X-1 compressor, and its decompressors on our own streams. Parallel coders are measured by
// the clock on the wall.

#include <lzo/lzo1x.h>

#include <memory>
#include <utility>

#include "bench.h"

namespace {

using Record = std::vector<uint32_t>;

zelLZOState* StateOf(Record& record) { return reinterpret_cast<zelLZOState*>(record.data()); }

Record MakeRecord(zelLZOMethod method, size_t max_size) {
  int32_t size = 0;
  Check(zelsEncodeLZOGetSize(method, static_cast<uint32_t>(max_size), &size), "zelsEncodeLZOGetSize");
  Record record(static_cast<size_t>(size) / 4 + 1);
  Check(zelsEncodeLZOInit_8u(method, static_cast<uint32_t>(max_size), StateOf(record)), "zelsEncodeLZOInit_8u");
  return record;
}

size_t Bound(size_t size) { return size + size / 16 + 67 + 129; }

size_t Encode(const Bytes& data, Bytes& out, Record& record) {
  uint32_t size = 0;
  Check(zelsEncodeLZO_8u(data.data(), static_cast<uint32_t>(data.size()), out.data(), &size, StateOf(record)),
        "zelsEncodeLZO_8u");
  return size;
}

Bytes Encoded(const Bytes& data, zelLZOMethod method) {
  Bytes out(Bound(data.size()));
  Record record = MakeRecord(method, data.size());
  out.resize(Encode(data, out, record));
  return out;
}

using Decoder = zelStatus (*)(const uint8_t*, uint32_t, uint8_t*, uint32_t*);

void Decode(Decoder decoder, const Bytes& stream, Bytes& out) {
  uint32_t size = static_cast<uint32_t>(out.size());
  Check(decoder(stream.data(), static_cast<uint32_t>(stream.size()), out.data(), &size), "the decoder");
  if (size != out.size()) Fail("the decoder's output is of another size");
}

Task EncodeTask(const Bytes& data, zelLZOMethod method) {
  const Bytes stream = Encoded(data, method);
  Bytes back(data.size());
  Decode(zelsDecodeLZOSafe_8u, stream, back);
  if (back != data) Fail("LZO does not come back");
  return {[&data, out = Bytes(Bound(data.size())), record = MakeRecord(method, data.size())]() mutable {
            Encode(data, out, record);
          },
          stream.size()};
}

Task DecodeTask(const Bytes& data, zelLZOMethod method, Decoder decoder) {
  return {[stream = Encoded(data, method), back = Bytes(data.size()), decoder]() mutable {
    Decode(decoder, stream, back);
  }};
}

using Liblzo2 = int (*)(const lzo_bytep, lzo_uint, lzo_bytep, lzo_uintp, lzo_voidp);

size_t CompressWithLiblzo2(const Bytes& data, Bytes& out, std::vector<uint64_t>& work) {
  lzo_uint size = 0;
  if (lzo1x_1_compress(data.data(), data.size(), out.data(), &size, work.data()) != LZO_E_OK) Fail("lzo1x_1_compress");
  return size;
}

void DecompressWithLiblzo2(Liblzo2 decompress, const Bytes& stream, Bytes& out) {
  lzo_uint size = out.size();
  if (decompress(stream.data(), stream.size(), out.data(), &size, nullptr) != LZO_E_OK || size != out.size()) {
    Fail("liblzo2 does not decompress");
  }
}

// By the clock on the wall, with the first peer beside it, which knows one thread only.
void RegisterThreads(const std::string& name, const Bytes& data, int32_t threads, std::function<Task()> make) {
  auto task = std::make_shared<Task>();
  benchmark::RegisterBenchmark(name.c_str(), [&data, threads, make = std::move(make), task](benchmark::State& state) {
    SetThreads(threads);
    if (!task->run) *task = make();
    for (auto _ : state) task->run();
    state.SetBytesProcessed(static_cast<int64_t>(data.size()) * state.iterations());
  })->UseRealTime();
}

Task Liblzo2Task(const Bytes& data) {
  Bytes out(Bound(data.size()));
  std::vector<uint64_t> work(LZO1X_1_MEM_COMPRESS / 8 + 1);
  const size_t size = CompressWithLiblzo2(data, out, work);
  return {[&data, out, work]() mutable { CompressWithLiblzo2(data, out, work); }, size};
}

Task Liblzo2Task(const Bytes& data, Liblzo2 decompress) {
  return {[stream = Encoded(data, zelLZOMethodSingle), back = Bytes(data.size()), decompress]() mutable {
    DecompressWithLiblzo2(decompress, stream, back);
  }};
}

}  // namespace

void RegisterLzo(Sample& sample) {
  const Bytes& data = sample.data();
  const auto add = [&](const char* stage, const char* coder, std::function<Task()> make) {
    Register(Name("lzo", stage, coder, sample.name()), data.size(), std::move(make));
  };
  add("compress", "zeldc", [&data] { return EncodeTask(data, zelLZOMethodSingle); });
  add("compress", "lzo1x_1", [&data] { return Liblzo2Task(data); });
  add("decompress", "zeldc", [&data] { return DecodeTask(data, zelLZOMethodSingle, zelsDecodeLZOSafe_8u); });
  add("decompress", "zeldc-unchecked", [&data] { return DecodeTask(data, zelLZOMethodSingle, zelsDecodeLZO_8u); });
  add("decompress", "lzo1x_decompress_safe", [&data] { return Liblzo2Task(data, lzo1x_decompress_safe); });
  add("decompress", "lzo1x_decompress", [&data] { return Liblzo2Task(data, lzo1x_decompress); });

  const auto addThreads = [&](const char* stage, const std::string& coder, int32_t threads,
                              std::function<Task()> make) {
    RegisterThreads(Name("lzo-threads", stage, coder, sample.name()), data, threads, std::move(make));
  };
  for (int32_t threads : {1, 2}) {
    const std::string coder = "zeldc-" + std::to_string(threads) + (threads == 1 ? " thread" : " threads");
    addThreads("compress", coder, threads, [&data] { return EncodeTask(data, zelLZOMethodParallel); });
    addThreads("decompress", coder, threads,
               [&data] { return DecodeTask(data, zelLZOMethodParallel, zelsDecodeLZOSafe_8u); });
  }
  addThreads("compress", "liblzo2", 1, [&data] { return Liblzo2Task(data); });
  addThreads("decompress", "liblzo2", 1, [&data] { return Liblzo2Task(data, lzo1x_decompress_safe); });
}
