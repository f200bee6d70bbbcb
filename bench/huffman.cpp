// The byte Huffman coder beside zlib's Deflate without matches, which is a Huffman coder for bytes, too: whole files,
// the making of codes and their description included on both sides. zlib counts the bytes besides, and so does one of
// ours.

#include <array>
#include <memory>

#include "bench.h"
#include "zlib_streams.h"

namespace {

using Lengths = std::array<int32_t, 256>;

// How often each byte occurs, in four tables, so that equal neighbours do not wait for each other.
std::array<int32_t, 256> Count(const Bytes& data) {
  std::array<std::array<int32_t, 256>, 4> counts{};
  size_t i = 0;
  for (; i + 4 <= data.size(); i += 4) {
    for (size_t k = 0; k < 4; ++k) ++counts[k][data[i + k]];
  }
  for (; i < data.size(); ++i) ++counts[0][data[i]];
  for (size_t v = 0; v < 256; ++v) counts[0][v] += counts[1][v] + counts[2][v] + counts[3][v];
  return counts[0];
}

// With or without the count, which is the application's business.
template <bool kCounts>
class OurCoder {
 public:
  explicit OurCoder(const Bytes& data)
      : frequencies_(Count(data)), coded_(2 * data.size() + 1000), decoded_(data.size()) {}

  void Encode(const Bytes& data) {
    if (kCounts) frequencies_ = Count(data);
    Check(zelsEncodeHuffInit_8u(frequencies_.data(), state()), "zelsEncodeHuffInit_8u");
    Lengths lengths;
    Check(zelsHuffGetLenCodeTable_8u(state(), lengths.data()), "zelsHuffGetLenCodeTable_8u");
    packed_ = 384;
    Check(zelsHuffLenCodeTablePack_8u(lengths.data(), coded_.data(), &packed_), "zelsHuffLenCodeTablePack_8u");
    int32_t len = 0, last = 0;
    uint8_t* const out = coded_.data() + packed_;
    Check(zelsEncodeHuff_8u(data.data(), static_cast<int32_t>(data.size()), out, &len, state()), "zelsEncodeHuff_8u");
    Check(zelsEncodeHuffFinal_8u(out + len, &last, state()), "zelsEncodeHuffFinal_8u");
    size_ = packed_ + len + last;
  }

  void Decode() {
    Lengths lengths;
    int32_t used = size_;
    Check(zelsHuffLenCodeTableUnpack_8u(coded_.data(), &used, lengths.data()), "zelsHuffLenCodeTableUnpack_8u");
    Check(zelsDecodeHuffInit_8u(lengths.data(), state()), "zelsDecodeHuffInit_8u");
    int32_t len = static_cast<int32_t>(decoded_.size());
    Check(zelsDecodeHuff_8u(coded_.data() + used, size_ - used, decoded_.data(), &len, state()), "zelsDecodeHuff_8u");
  }

  size_t size() const { return static_cast<size_t>(size_); }
  const Bytes& decoded() const { return decoded_; }

 private:
  zelHuffState* state() { return reinterpret_cast<zelHuffState*>(record_.data()); }

  std::array<int32_t, 256> frequencies_;
  std::array<uint32_t, 649> record_{};
  Bytes coded_, decoded_;
  int32_t packed_ = 0;
  int32_t size_ = 0;
};

class ZlibCoder {
 public:
  explicit ZlibCoder(const Bytes& data) : coded_(2 * data.size() + 1000), decoded_(data.size()) {}

  void Encode(const Bytes& data) {
    size_ = ZlibEncoder(6, Z_HUFFMAN_ONLY).Encode(data.data(), data.size(), coded_.data(), coded_.size());
  }

  void Decode() { ZlibDecoder().Decode(coded_.data(), size_, decoded_.data(), decoded_.size()); }

  size_t size() const { return size_; }
  const Bytes& decoded() const { return decoded_; }

 private:
  Bytes coded_, decoded_;
  size_t size_ = 0;
};

template <typename Coder>
std::shared_ptr<Coder> MakeCoder(const Sample& sample) {
  const auto coder = std::make_shared<Coder>(sample.data());
  coder->Encode(sample.data());
  coder->Decode();
  if (coder->decoded() != sample.data()) Fail("a Huffman coder is wrong");
  return coder;
}

template <typename Coder>
void RegisterEncoder(Sample& sample, const char* name) {
  Register(Name("huffman", "bytes-encode", name, sample.name()), sample.data().size(), [&sample]() -> Task {
    const auto coder = MakeCoder<Coder>(sample);
    return {[=, &sample] { coder->Encode(sample.data()); }, coder->size(), 0};
  });
}

template <typename Coder>
void RegisterDecoder(Sample& sample, const char* name) {
  Register(Name("huffman", "bytes-decode", name, sample.name()), sample.data().size(), [&sample]() -> Task {
    const auto coder = MakeCoder<Coder>(sample);
    return {[=] { coder->Decode(); }, 0, 0};
  });
}

}  // namespace

void RegisterHuffman(Sample& sample) {
  RegisterEncoder<OurCoder<false>>(sample, "zeldc");
  RegisterEncoder<OurCoder<true>>(sample, "zeldc-counting");
  RegisterEncoder<ZlibCoder>(sample, "zlib");
  RegisterDecoder<OurCoder<false>>(sample, "zeldc");
  RegisterDecoder<ZlibCoder>(sample, "zlib");
}
