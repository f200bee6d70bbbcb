// What a coder makes of a file, and how fast.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "zeldc.h"

namespace zelstat {

using Bytes = std::vector<uint8_t>;

struct Result {
  std::string coder;
  uint64_t bytes = 0;        // with everything that the decoder needs
  double encodeSeconds = 0;  // of processor time; so is the next
  double decodeSeconds = 0;
  bool isFloor = false;   // no coder, but what none goes below without a model of what stands together
  bool comesBack = true;  // what is decoded is what was encoded
  std::string remark;
};

struct FileResults {
  std::string name;
  uint64_t bytes = 0;
  std::vector<Result> results;
};

// A call of the library that should have succeeded did not.
class CoderError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};
void Check(zelStatus status, const char* function);

// The shortest of up to five runs, fewer when they take long, in seconds of processor time.
double SecondsOf(const std::function<void()>& run);

// The bits that symbols of such counts cannot do without, as far as each is coded for itself, in whole bytes.
uint64_t EntropyBytes(const std::vector<uint32_t>& counts);

// A record that InitAlloc made.
template <typename State, auto Free>
class Record {
 public:
  Record() = default;
  ~Record() { Free(state_); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  State** operator&() { return &state_; }
  State* get() const { return state_; }

 private:
  State* state_ = nullptr;
};

}  // namespace zelstat
