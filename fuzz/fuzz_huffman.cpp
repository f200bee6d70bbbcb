// The byte Huffman coder, both ways. Any lengths and any bytes through the decoder, in pieces and rooms of any size: it
// does what the plain decoder does, call by call. Any bytes through the encoder, in pieces: they come back.

#include <algorithm>

#include "entropy/huffman_model.h"
#include "fuzz_support.h"
#include "zeldc.h"

using namespace zeldc_fuzz;
using namespace zeldc_test;

namespace {

// Enough for the decoder to make tables of its own.
constexpr size_t kMostBytes = 2500;
constexpr size_t kMostRoom = 8000;

// Lengths in one of three ways: of the code for frequencies, packed, or as they are.
bool ReadLengths(Input& input, Lengths& lengths) {
  lengths = {};
  const uint8_t way = input.Byte();
  const size_t entries = 1 + input.Byte();
  const Bytes bytes = input.Take(entries);
  if (way % 3 == 0) {
    Frequencies frequencies{};
    for (size_t v = 0; v < bytes.size(); ++v) frequencies[v] = bytes[v] == 0 ? 0 : 1 << bytes[v] % 23;
    const HuffRecord encoder;
    if (zelsEncodeHuffInit_8u(frequencies.data(), encoder.get()) != zelOk) return false;
    Check(zelsHuffGetLenCodeTable_8u(encoder.get(), lengths.data()) == zelOk, "GetLenCodeTable");
    return true;
  }
  if (way % 3 == 1) {
    const GuardedBuffer packed(bytes);
    int32_t len = static_cast<int32_t>(bytes.size());
    zelsHuffLenCodeTableUnpack_8u(packed.data(), &len, lengths.data());
    return true;
  }
  std::copy(bytes.begin(), bytes.end(), lengths.begin());
  return true;
}

// Every byte so many times, to make long streams of few bytes.
Bytes Repeated(const Bytes& bytes, size_t times) {
  Bytes all;
  for (size_t i = 0; i < times && all.size() + bytes.size() <= kMostBytes; ++i)
    all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

void CheckAnything(Input& input) {
  Lengths lengths;
  if (!ReadLengths(input, lengths)) return;
  const size_t max_piece = input.Piece(), max_room = input.Piece();
  const uint16_t seed = input.Word();
  const size_t times = 1 + input.Byte();
  const Bytes stream = Repeated(input.Rest(), times);

  const HuffRecord record;
  const zelStatus status = zelsDecodeHuffInit_8u(lengths.data(), record.get());
  if (status != zelOk) {
    Check(status == zelErrHuffLenTable && record.IsUntouched(), "DecodeHuffInit's status");
    return;
  }
  ModelDecoder model(lengths);
  Random random(seed);
  size_t at = 0;
  for (int call = 0; call < 100 && at < stream.size(); ++call) {
    const size_t left = stream.size() - at;
    const auto begin = stream.begin() + static_cast<ptrdiff_t>(at);
    const Bytes piece(begin, begin + static_cast<ptrdiff_t>(Uniform(random, 1, std::min(left, max_piece))));
    const size_t room = Uniform(random, 1, std::min(max_room, kMostRoom));
    const GuardedBuffer source(piece), out(room);
    int32_t len = static_cast<int32_t>(room);
    Check(zelsDecodeHuff_8u(source.data(), static_cast<int32_t>(piece.size()), out.data(), &len, record.get()) == zelOk,
          "DecodeHuff's status");
    const Bytes expected = model.Decode(piece, room);
    Check(len == static_cast<int32_t>(expected.size()), "a wrong number of bytes");
    Check(std::equal(expected.begin(), expected.end(), out.data()), "wrong bytes");
    uint8_t held[4];
    int32_t held_len = 0;
    Check(zelsEncodeHuffFinal_8u(held, &held_len, record.get()) == zelOk, "EncodeHuffFinal");
    Check(Bytes(held, held + held_len) == BytesOfBits(model.held()), "what is held");
    at += model.loaded();
  }
}

void CheckRoundTrip(Input& input) {
  const size_t max_piece = input.Piece();
  const uint16_t seed = input.Word();
  const size_t times = 1 + input.Byte();
  const Bytes data = Repeated(input.Rest(), times);
  if (data.empty()) return;
  Frequencies frequencies = CountBytes(data);
  // Other weights than those of the data: any code serves, as long as every byte has one.
  for (int32_t& f : frequencies) f = f == 0 ? 0 : 1 << (f + seed) % 23;

  const HuffRecord encoder, decoder;
  const zelStatus status = zelsEncodeHuffInit_8u(frequencies.data(), encoder.get());
  if (status != zelOk) return Check(status == zelErrHuffCodeLen, "EncodeHuffInit's status");
  Lengths lengths;
  Check(zelsHuffGetLenCodeTable_8u(encoder.get(), lengths.data()) == zelOk, "GetLenCodeTable");
  Bytes stream;
  uint64_t bits = 0;
  Random random(seed);
  for (size_t at = 0; at < data.size();) {
    const auto begin = data.begin() + static_cast<ptrdiff_t>(at);
    const size_t n = Uniform(random, 1, std::min(data.size() - at, max_piece));
    const Bytes piece(begin, begin + static_cast<ptrdiff_t>(n));
    for (uint8_t byte : piece) bits += static_cast<uint64_t>(lengths[byte]);
    const GuardedBuffer source(piece), out(static_cast<size_t>(bits / 32 * 4) - stream.size());
    int32_t len = 0;
    Check(zelsEncodeHuff_8u(source.data(), static_cast<int32_t>(n), out.data(), &len, encoder.get()) == zelOk,
          "EncodeHuff's status");
    Check(len == static_cast<int32_t>(out.size()), "a wrong number of coded bytes");
    Append(stream, out.ToBytes());
    at += n;
  }
  const GuardedBuffer last(static_cast<size_t>(bits % 32 + 7) / 8);
  int32_t last_len = 0;
  Check(zelsEncodeHuffFinal_8u(last.data(), &last_len, encoder.get()) == zelOk, "EncodeHuffFinal");
  Check(last_len == static_cast<int32_t>(last.size()), "a wrong number of last bytes");
  Append(stream, last.ToBytes());

  Check(zelsDecodeHuffInit_8u(lengths.data(), decoder.get()) == zelOk, "DecodeHuffInit");
  const GuardedBuffer source(stream), out(data.size());
  int32_t len = static_cast<int32_t>(data.size());
  Check(zelsDecodeHuff_8u(source.data(), static_cast<int32_t>(stream.size()), out.data(), &len, decoder.get()) == zelOk,
        "DecodeHuff's status");
  Check(len == static_cast<int32_t>(data.size()) && out.ToBytes() == data, "the bytes do not come back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  if (input.Byte() % 2 == 0) {
    CheckAnything(input);
  } else {
    CheckRoundTrip(input);
  }
  return 0;
}
