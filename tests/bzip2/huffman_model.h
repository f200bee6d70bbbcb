// The rules of the Huffman stage in their plainest form: what the encoder must write, and what a decoder that loads
// byte by byte does in every call.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "bzip2/bit_string.h"
#include "zeldc.h"

namespace zeldc_test {

using Symbols = std::vector<uint16_t>;
using Lengths = std::vector<int>;

// A block's codes.
struct HuffmanContext {
  std::vector<int> selectors;    // of each group
  std::vector<Lengths> lengths;  // of each table: of each symbol
};

int ModelNumTables(size_t symbols);

// Code lengths for the weights of the symbols, none of which is 0.
Lengths ModelLengths(const std::vector<uint32_t>& weights);

// Canonical codes, as text.
std::vector<std::string> ModelCodes(const Lengths& lengths);

// The choice of tables, as the encoder makes it.
HuffmanContext ModelContext(int alpha_size, const Symbols& source);

// The description of the codes.
BitString ModelDescription(const HuffmanContext& context);

// The coded symbols.
BitString ModelCoded(const HuffmanContext& context, const Symbols& source);

// What a call leaves behind.
struct CallResult {
  zelStatus status = zelOk;
  size_t consumed = 0;  // bytes of the source
  uint32_t code = 0;
  int32_t code_bits = 0;
  Symbols symbols;  // counted ones

  bool operator==(const CallResult&) const = default;
};

// The decoder: a word of 32 bits into which single bytes are loaded until a field's minimum is there.
class ModelDecoder {
 public:
  explicit ModelDecoder(int alpha_size) : alpha_size_(alpha_size) {}

  CallResult Unpack(uint32_t code, int32_t code_bits, const Bytes& source);
  CallResult Decode(uint32_t code, int32_t code_bits, const Bytes& source, size_t room);

  const std::vector<int>& selectors() const { return selectors_; }
  const std::vector<Lengths>& lengths() const { return lengths_; }

 private:
  struct ShortOfSource {};
  struct Malformed {};

  void Need(int bits);
  uint32_t Take(int bits);
  void UnpackOn();
  void FinishTable();

  // The current call's.
  uint32_t code_ = 0;
  int32_t code_bits_ = 0;
  const Bytes* source_ = nullptr;
  size_t at_ = 0;

  int alpha_size_;
  int stage_ = 0;
  size_t num_tables_ = 0, num_selectors_ = 0;
  std::vector<int> selectors_, order_;
  std::vector<Lengths> lengths_;
  Lengths current_;
  int length_ = 0;
  std::string steps_;  // of the current symbol
  std::vector<std::map<std::string, int>> codes_;
  size_t group_ = 0;
  int in_group_ = 0;
};

}  // namespace zeldc_test
