// The coders of bytes.
#pragma once

#include <cstdint>

#include "zelstat/measure.h"

namespace zelstat {

// The floor, byte Huffman, and the interval transformation with each strategy. `data` is not empty and below 1 GiB.
std::vector<Result> CodeBytes(const Bytes& data, int32_t block);

// A byte Huffman code of its own for data, with the packed table of lengths before it.
struct HuffmanCoded {
  Bytes table;
  Bytes stream;

  uint64_t size() const { return table.size() + stream.size(); }
};
HuffmanCoded EncodeHuffman(const Bytes& data);
void DecodeHuffman(const HuffmanCoded& coded, Bytes* data);  // as many bytes as *data has

}  // namespace zelstat
