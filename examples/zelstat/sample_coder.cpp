#include "zelstat/sample_coder.h"

#include <algorithm>

#include "zelstat/byte_coders.h"
#include "zelstat/code_table.h"

namespace zelstat {

namespace {

using Values = std::vector<int16_t>;
using Encoder = Record<zelVLCEncodeState, zelsVLCEncodeFree_32s>;
using Decoder = Record<zelVLCDecodeState, zelsVLCDecodeFree_32s>;

// Most codes take one look-up, the longest three.
constexpr int32_t kSubTables[] = {10, 5, 5};
constexpr int32_t kNumSubTables = 3;

ValueCounts CountsOf(const Values& values) {
  ValueCounts counts(kNumValues);
  for (const int16_t value : values) ++counts[static_cast<size_t>(value - kSmallestValue)];
  return counts;
}

// What a decoder needs.
struct Coded {
  HuffmanCoded lengths;  // those from the smallest value that occurs to the largest, and before them where
  int32_t smallest = 0;  // these are
  int32_t largest = 0;
  std::vector<uint32_t> stream;  // VLC coders work on words of 32 bits
  uint64_t bits = 0;

  uint64_t size() const { return 8 + lengths.size() + (bits + 7) / 8; }
};

// The codes of all lengths, as a decoder makes them of what it is given.
std::vector<uint8_t> LengthsOf(const Coded& coded) {
  Bytes part(static_cast<size_t>(coded.largest - coded.smallest + 1));
  DecodeHuffman(coded.lengths, &part);
  std::vector<uint8_t> lengths(kNumValues);
  std::copy(part.begin(), part.end(), lengths.begin() + (coded.smallest - kSmallestValue));
  return lengths;
}

Coded Encode(const Values& values) {
  const std::vector<uint8_t> lengths = CodeLengths(CountsOf(values));
  const std::vector<zelVLCCode> table = CodeTable(lengths);
  Coded coded;
  const auto [smallest, largest] = std::minmax_element(values.begin(), values.end());
  coded.smallest = *smallest;
  coded.largest = *largest;
  coded.lengths = EncodeHuffman(Bytes(lengths.begin() + (coded.smallest - kSmallestValue),
                                      lengths.begin() + (coded.largest - kSmallestValue) + 1));

  Encoder encoder;
  Check(zelsVLCEncodeInitAlloc_32s(table.data(), static_cast<int32_t>(table.size()), &encoder),
        "zelsVLCEncodeInitAlloc_32s");
  const int32_t count = static_cast<int32_t>(values.size());
  int32_t bits = 0;
  Check(zelsVLCCountBits_16s32s(values.data(), count, &bits, encoder.get()), "zelsVLCCountBits_16s32s");
  coded.bits = static_cast<uint64_t>(bits);
  coded.stream.resize(static_cast<size_t>((coded.bits + 31) / 32));
  uint8_t* byte = reinterpret_cast<uint8_t*>(coded.stream.data());
  int32_t bit = 0;
  Check(zelsVLCEncodeBlock_16s1u(values.data(), count, &byte, &bit, encoder.get()), "zelsVLCEncodeBlock_16s1u");
  // The decoder may look at as many bits behind the last code as the longest one has.
  coded.stream.resize(coded.stream.size() + 1);
  return coded;
}

void Decode(Coded& coded, Values* values) {
  const std::vector<zelVLCCode> table = CodeTable(LengthsOf(coded));
  Decoder decoder;
  Check(
      zelsVLCDecodeInitAlloc_32s(table.data(), static_cast<int32_t>(table.size()), kSubTables, kNumSubTables, &decoder),
      "zelsVLCDecodeInitAlloc_32s");
  uint8_t* byte = reinterpret_cast<uint8_t*>(coded.stream.data());
  int32_t bit = 0;
  Check(zelsVLCDecodeBlock_1u16s(&byte, &bit, values->data(), static_cast<int32_t>(values->size()), decoder.get()),
        "zelsVLCDecodeBlock_1u16s");
}

}  // namespace

std::vector<int16_t> Differences(const Samples& samples) {
  Values differences = samples.values;
  const size_t channels = static_cast<size_t>(samples.channels);
  for (size_t i = differences.size(); i-- > channels;) {
    differences[i] = static_cast<int16_t>(differences[i] - differences[i - channels]);
  }
  return differences;
}

void Integrate(int32_t channels, std::vector<int16_t>* values) {
  for (size_t i = static_cast<size_t>(channels); i < values->size(); ++i) {
    (*values)[i] = static_cast<int16_t>((*values)[i] + (*values)[i - static_cast<size_t>(channels)]);
  }
}

std::vector<Result> CodeSamples(const Samples& samples) {
  const Values differences = Differences(samples);
  const ValueCounts counts = CountsOf(differences);
  std::vector<Result> results;
  Result floor;
  floor.coder = "order-0 entropy";
  floor.isFloor = true;
  floor.bytes = EntropyBytes(counts);
  floor.remark = "of the differences";
  results.push_back(floor);

  Coded coded;
  Values decoded(differences.size());
  Result vlc;
  vlc.coder = "VLC";
  vlc.encodeSeconds = SecondsOf([&] { coded = Encode(Differences(samples)); });
  vlc.decodeSeconds = SecondsOf([&] {
    Decode(coded, &decoded);
    Integrate(samples.channels, &decoded);
  });
  vlc.bytes = coded.size();
  vlc.comesBack = decoded == samples.values;
  const auto codes = std::count_if(counts.begin(), counts.end(), [](uint32_t count) { return count > 0; });
  vlc.remark =
      std::to_string(codes) + " codes, table " + std::to_string(coded.size() - (coded.bits + 7) / 8) + " bytes";
  results.push_back(vlc);

  Bytes bytes;
  for (const int16_t value : samples.values) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(static_cast<uint16_t>(value) >> 8));
  }
  HuffmanCoded huffmanCoded;
  Bytes decodedBytes(bytes.size());
  Result huffman;
  huffman.coder = "byte Huffman";
  huffman.encodeSeconds = SecondsOf([&] { huffmanCoded = EncodeHuffman(bytes); });
  huffman.decodeSeconds = SecondsOf([&] { DecodeHuffman(huffmanCoded, &decodedBytes); });
  huffman.bytes = huffmanCoded.size();
  huffman.comesBack = decodedBytes == bytes;
  huffman.remark = "of the samples' bytes";
  results.push_back(huffman);
  return results;
}

}  // namespace zelstat
