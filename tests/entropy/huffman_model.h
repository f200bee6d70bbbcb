// The rules of the byte Huffman coder in their plainest form, on bits as text.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {

using Frequencies = std::array<int32_t, 256>;
using Lengths = std::array<int32_t, 256>;
using Codes = std::array<std::string, 256>;  // of '0' and '1'

Frequencies CountBytes(const Bytes& data);

// Lengths of the code that Huffman's algorithm makes.
Lengths ModelLengths(const Frequencies& frequencies);

Codes ModelCodes(const Lengths& lengths);

// The bits of the bytes' codes.
std::string ModelBits(const Codes& codes, const Bytes& data);

std::string BitsOfBytes(const Bytes& bytes);
// The last byte is filled up with zeros.
Bytes BytesOfBits(const std::string& bits);

// The packed form of a length table.
Bytes ModelPacked(const Lengths& lengths);

// The decoder: bytes are loaded one at a time, bytes of zeros counted out, codes compared with the first one of each
// length.
class ModelDecoder {
 public:
  explicit ModelDecoder(const Lengths& lengths);

  // What a call decodes.
  Bytes Decode(const Bytes& source, size_t room);

  // Replaces what is held.
  void Hold(const std::string& bits) { held_ = bits; }

  size_t loaded() const { return loaded_; }  // bytes of the last call's source
  const std::string& held() const { return held_; }
  uint64_t zeros() const { return zeros_; }

 private:
  void Load(const Bytes& source);

  std::array<Bytes, 33> symbols_;  // of each length by their codes
  std::array<uint64_t, 33> first_{};
  size_t min_len_ = 0;
  size_t max_len_ = 0;
  std::string held_;
  uint64_t zeros_ = 0;
  size_t loaded_ = 0;
};

// A record between guard pages, at an odd multiple of 4, full of what Init must not rely on.
class HuffRecord {
 public:
  HuffRecord() : memory_(2596) { std::fill_n(memory_.data(), 2596, uint8_t{0xA5}); }
  zelHuffState* get() const { return reinterpret_cast<zelHuffState*>(memory_.data()); }
  bool IsUntouched() const { return memory_.ToBytes() == Bytes(2596, 0xA5); }

 private:
  GuardedBuffer memory_;
};

struct NamedFrequencies {
  std::string name;
  Frequencies frequencies;
};

// Weights 1, 1, 2, 3, 5 ... of the first `symbols` of the byte values that begin with `start` and step by 7.
Frequencies FibonacciFrequencies(int symbols, int start = 0);

// Distributions of all shapes: one symbol, two, all equal, powers, Fibonacci, text, random.
std::vector<NamedFrequencies> AllFrequencies();

// Bytes of roughly these frequencies, and each of them at least once where there is room.
Bytes DrawBytes(const Frequencies& frequencies, size_t size, uint64_t seed);

}  // namespace zeldc_test
