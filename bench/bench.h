// What the families share: the files to measure on, buffers, and the registration of a benchmark.
//
// The report compares benchmarks of one family, stage and case, which their names tell. A coder of this library is
// called zeldc or zeldc-something, every other one is a peer.
#pragma once

#include <benchmark/benchmark.h>
#include <zeldc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

// Ends the program. The speed of a wrong result is of no interest, so everything that goes wrong ends here.
[[noreturn]] void Fail(const std::string& message);

// Ends the program unless status is zelOk.
void Check(zelStatus status, const char* what);

// A file to measure on.
class Sample {
 public:
  explicit Sample(const std::string& path);

  const std::string& name() const { return name_; }
  const Bytes& data() const { return data_; }
  const Bytes& deflated();  // the file as a raw Deflate stream by zlib at level 6, made at the first call

 private:
  std::string name_;
  Bytes data_;
  Bytes deflated_;
};

// Blocks of this size, the last one maybe smaller.
std::vector<Bytes> CutIntoBlocks(const Bytes& data, size_t size);

// How a coder meets its data: all at once, or in pieces of 64 KiB as from a file read and written through buffers.
enum class Buffers { kWhole, k64KiB };
inline const char* StageName(Buffers buffers) { return buffers == Buffers::kWhole ? "whole" : "64KiB"; }
inline size_t BufferSize(Buffers buffers, size_t whole) { return buffers == Buffers::kWhole ? whole : 65536; }

// A source that is handed over in pieces.
class Input {
 public:
  Input(const Bytes& bytes, Buffers buffers)
      : next(bytes.data()), unread_(bytes.size()), piece_(BufferSize(buffers, bytes.size())) {
    Refill();
  }

  // Makes the next piece available behind the current one, which has been read to its end. False at the source's end.
  bool Refill() {
    const size_t size = std::min(unread_, piece_);
    unread_ -= size;
    left = static_cast<int32_t>(size);
    return size > 0;
  }
  bool last() const { return unread_ == 0; }  // whether the current piece is the source's last

  const uint8_t* next;
  int32_t left = 0;

 private:
  size_t unread_;
  size_t piece_;
};

// A destination that is emptied when it is full. All outputs use the same memory: one lives at a time.
class Output {
 public:
  // copy: what is emptied is appended there; null while the time counts
  Output(Buffers buffers, size_t whole, Bytes* copy = nullptr);
  // Memory of the caller's own, for all of the output.
  Output(uint8_t* memory, size_t size) : next(memory), room(static_cast<int32_t>(size)), size_(room), copy_(nullptr) {}

  void Drain();  // also due once at the end

  uint8_t* next;
  int32_t room;
  size_t drained = 0;  // bytes so far

 private:
  int32_t size_;
  Bytes* copy_;
};

// Work to be timed.
struct Task {
  std::function<void()> run;
  size_t output_size = 0;  // of a compressor: bytes
  size_t symbols = 0;      // of a stage that works on symbols: how many
};

// A benchmark's name: "family/stage/coder/case". What is measured by size has the number of bytes for its case.
std::string Name(const std::string& family, const std::string& stage, const std::string& coder,
                 const std::string& what);
inline std::string Name(const std::string& family, const std::string& stage, const std::string& coder, size_t bytes) {
  return Name(family, stage, coder, std::to_string(bytes));
}

// Registers a benchmark that works through `bytes` bytes. `make` allocates what the work needs and verifies its result;
// it is called once, outside the timing, when the benchmark is first run.
void Register(const std::string& name, size_t bytes, std::function<Task()> make);

// How many threads the library uses from now on.
void SetThreads(int32_t count);

// The families.
void RegisterChecksums(size_t largest);
void RegisterBwt(Sample& sample);
void RegisterBzip2Chain(Sample& sample);
void RegisterReduction();
void RegisterBzip2Stages(Sample& sample);
void RegisterBzip2Huffman(Sample& sample);
void RegisterGit(Sample& sample);
void RegisterVlc(size_t largest);
void RegisterHuffman(Sample& sample);
void RegisterInflate(Sample& sample);
void InflateWhole(const Input& in, Output& out);     // parts of these: the byte path,
void InflateByBlocks(const Input& in, Output& out);  // one-call decoding
void RegisterLzo(Sample& sample);
void RegisterDeflate(Sample& sample);
void RegisterLzss(Sample& sample);
void RegisterDeflateHelpers(Sample& sample);
void RegisterSizes(const std::vector<std::unique_ptr<Sample>>& samples, size_t largest);  // one-shot coders by size

// 64 bytes to 16 MiB: what calls of one-shot stages are measured on to show how their cost depends on the size.
std::vector<size_t> LadderSizes(size_t largest);
