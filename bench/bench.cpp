#include "bench.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include "zlib_streams.h"

void Fail(const std::string& message) {
  std::fprintf(stderr, "bench_zeldc: %s\n", message.c_str());
  std::exit(1);
}

void Check(zelStatus status, const char* what) {
  if (status != zelOk) Fail(std::string(what) + " answers " + std::to_string(status));
}

Sample::Sample(const std::string& path) : name_(std::filesystem::path(path).filename().string()) {
  constexpr size_t kLimit = size_t{1} << 30;  // every coder's counts hold its compressed size, too
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail(path + ": cannot be opened");
  data_.assign(std::istreambuf_iterator<char>(file), {});
  if (data_.empty() || data_.size() > kLimit) Fail(path + ": must hold 1 byte to 1 GiB");
}

const Bytes& Sample::deflated() {
  if (deflated_.empty()) {
    ZlibEncoder encoder(6);
    deflated_.resize(encoder.Bound(data_.size()));
    deflated_.resize(encoder.Encode(data_.data(), data_.size(), deflated_.data(), deflated_.size()));
  }
  return deflated_;
}

std::vector<Bytes> CutIntoBlocks(const Bytes& data, size_t size) {
  std::vector<Bytes> blocks;
  for (size_t at = 0; at < data.size(); at += size) {
    const size_t end = std::min(data.size(), at + size);
    blocks.emplace_back(data.begin() + static_cast<ptrdiff_t>(at), data.begin() + static_cast<ptrdiff_t>(end));
  }
  return blocks;
}

Output::Output(Buffers buffers, size_t whole, Bytes* copy) : copy_(copy) {
  static Bytes memory;
  const size_t size = BufferSize(buffers, whole);
  if (memory.size() < size) memory.resize(size);
  next = memory.data();
  room = size_ = static_cast<int32_t>(size);
}

void Output::Drain() {
  const int32_t used = size_ - room;
  next -= used;
  room = size_;
  drained += static_cast<size_t>(used);
  if (copy_) copy_->insert(copy_->end(), next, next + used);
}

std::string Name(const std::string& family, const std::string& stage, const std::string& coder,
                 const std::string& what) {
  return family + "/" + stage + "/" + coder + "/" + what;
}

std::vector<size_t> LadderSizes(size_t largest) {
  std::vector<size_t> sizes;
  for (size_t size = 64; size <= std::min(largest, size_t{16} << 20); size *= 8) sizes.push_back(size);
  return sizes;
}

void Register(const std::string& name, size_t bytes, std::function<Task()> make) {
  auto task = std::make_shared<std::optional<Task>>();
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    if (!*task) *task = make();
    for (auto _ : state) (*task)->run();
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * static_cast<int64_t>(state.iterations()));
    if ((*task)->output_size > 0) state.counters["output"] = static_cast<double>((*task)->output_size);
    if ((*task)->symbols > 0) state.counters["symbols"] = static_cast<double>((*task)->symbols);
  });
}
