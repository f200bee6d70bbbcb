// Usage: bench_zeldc [--benchmark_...] [--largest=BYTES] [--] [FILE...]
//
// Measures the checksums, dictionary reduction and variable-length codes, and with files the stages of block sorting
// and all coders on each of them, beside zlib, libdeflate, libbz2, liblzo2 and plain loops. What is measured by size is
// measured up to so many bytes, by default 16 MiB.

#include <memory>
#include <string>
#include <vector>

#include "bench.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);  // takes its own arguments out
  size_t largest = size_t{16} << 20;
  bool options = true;
  std::vector<std::unique_ptr<Sample>> samples;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (options && argument == "--") {
      options = false;
    } else if (options && argument.starts_with("--largest=")) {
      largest = std::stoul(argument.substr(10));
    } else if (options && argument.starts_with("-")) {
      Fail("unknown option " + argument);
    } else {
      samples.push_back(std::make_unique<Sample>(argument));
    }
  }
  for (size_t i = 0; i < samples.size(); ++i) {
    for (size_t j = 0; j < i; ++j) {
      if (samples[i]->name() == samples[j]->name()) Fail("two files are called " + samples[i]->name());
    }
  }

  RegisterChecksums(largest);
  for (const auto& sample : samples) RegisterBwt(*sample);
  for (const auto& sample : samples) RegisterBzip2Chain(*sample);
  RegisterReduction();
  for (const auto& sample : samples) RegisterBzip2Stages(*sample);
  for (const auto& sample : samples) RegisterBzip2Huffman(*sample);
  for (const auto& sample : samples) RegisterHuffman(*sample);
  for (const auto& sample : samples) RegisterGit(*sample);
  RegisterVlc(largest);
  for (const auto& sample : samples) RegisterLzss(*sample);
  for (const auto& sample : samples) RegisterLzo(*sample);
  for (const auto& sample : samples) RegisterInflate(*sample);
  for (const auto& sample : samples) RegisterDeflate(*sample);
  for (const auto& sample : samples) RegisterDeflateHelpers(*sample);
  RegisterSizes(samples, largest);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
