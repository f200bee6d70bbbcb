// The byte Huffman coder: codes from frequencies of many shapes, packed lengths, streams in pieces, single codes.

#include "zeldc/huffman.h"

#include <utility>

#include "families.h"

namespace zeldc_digest {

namespace {

using Frequencies = std::vector<int32_t>;

// What a record says of its code; returns the lengths.
std::vector<int32_t> DigestCode(Run& run, const zelHuffState* state, int32_t source_size) {
  const Memory<int32_t> lengths(run.conditions, 256);
  run.Status(zelsHuffGetLenCodeTable_8u(state, lengths.data()));
  run.digest.Ints(lengths.data(), lengths.size());
  int32_t to_encode = -1, to_decode = -1;
  run.Status(zelsHuffGetDstBuffSize_8u(lengths.data(), source_size, &to_encode, &to_decode));
  run.digest.Int(to_encode);
  run.digest.Int(to_decode);
  for (const int32_t room : {384, 3}) {
    const Memory<uint8_t> packed(run.conditions, static_cast<size_t>(room));
    int32_t count = room;
    if (run.Status(zelsHuffLenCodeTablePack_8u(lengths.data(), packed.data(), &count)) != zelOk) continue;
    run.digest.Bytes(packed.data(), static_cast<size_t>(count));
  }
  return std::vector<int32_t>(lengths.data(), lengths.data() + lengths.size());
}

void EncodeStream(Run& run, const Data& data, zelHuffState* state, uint32_t split) {
  const Memory<uint8_t> source(run.conditions, data);
  Split pieces(split);
  for (size_t done = 0; done < data.size();) {
    const size_t piece = pieces.Next(data.size() - done);
    const Memory<uint8_t> room(run.conditions, piece * 4 + 8);
    int32_t count = -1;
    run.Status(zelsEncodeHuff_8u(source.data() + done, static_cast<int32_t>(piece), room.data(), &count, state));
    run.digest.Bytes(room.data(), static_cast<size_t>(count));
    done += piece;
  }
  const Memory<uint8_t> last(run.conditions, 4);
  int32_t count = -1;
  run.Status(zelsEncodeHuffFinal_8u(last.data(), &count, state));
  run.digest.Bytes(last.data(), static_cast<size_t>(count));
}

// The code of each byte value at some bit, into bytes that are 0.
void EncodeEach(Run& run, const zelHuffState* state, const std::vector<int32_t>& lengths) {
  for (size_t value = 0; value < 256; ++value) {
    const int32_t offset = static_cast<int32_t>(value % 8);
    const Memory<uint8_t> room(run.conditions, std::vector<uint8_t>(8));
    const zelStatus status = run.Status(zelsEncodeHuffOne_8u(static_cast<uint8_t>(value), room.data(), offset, state));
    if (status != zelOk) continue;
    run.digest.Bytes(room.data(), static_cast<size_t>((lengths[value] + offset + 7) / 8));
  }
}

// A code made from frequencies in memory of the caller's and in the library's; data to encode may be none.
void Code(Run& run, const Frequencies& frequencies, const Data& data, uint32_t split) {
  int32_t size = 0;
  run.Status(zelsHuffGetSize_8u(&size));
  run.digest.Int(size);
  const Memory<int32_t> table(run.conditions, frequencies);
  const Record<zelHuffState> record(run.conditions, size);
  if (run.Status(zelsEncodeHuffInit_8u(table.data(), record.get())) == zelOk) {
    const auto lengths = DigestCode(run, record.get(), static_cast<int32_t>(data.size()));
    EncodeStream(run, data, record.get(), split);
    EncodeEach(run, record.get(), lengths);
  }
  zelHuffState* allocated = nullptr;
  if (run.Status(zelsEncodeHuffInitAlloc_8u(table.data(), &allocated)) == zelOk) {
    DigestCode(run, allocated, 1000);
    EncodeStream(run, data, allocated, 0);
  }
  run.Status(zelsHuffFree_8u(allocated));
}

}  // namespace

void DigestHuffman(Run& run) {
  uint32_t number = 0;
  for (const Data* data : AllInputs()) {
    Frequencies frequencies(256);
    for (const uint8_t byte : *data) ++frequencies[byte];
    Code(run, frequencies, *data, ++number);
    // Values that do not occur have codes, too: every length up to the longest that data of any size can have.
    for (int32_t& frequency : frequencies) frequency = frequency * 3 + 1;
    Code(run, frequencies, *data, number * 3);
  }
  // Frequencies as in the sequence of Fibonacci, with the longest code that so many can have, up to one too long.
  for (const size_t values : {2u, 3u, 5u, 16u, 17u, 31u, 32u, 33u, 34u}) {
    Frequencies frequencies(256);
    int32_t last = 0, next = 1;
    for (size_t i = 0; i < values; ++i) {
      frequencies[(i * 37 + values) % 256] = next;
      last = std::exchange(next, last + next);
    }
    Data data;
    for (size_t i = 0; i < 500; ++i) data.push_back(static_cast<uint8_t>((i * i % values * 37 + values) % 256));
    Code(run, frequencies, data, static_cast<uint32_t>(values));
  }
  // Frequencies of every size, many of them equal, and such as make no code.
  for (uint32_t i = 0; i < 60; ++i) {
    Numbers numbers(i);
    Frequencies frequencies(256);
    for (int32_t& frequency : frequencies) frequency = static_cast<int32_t>(numbers.Next() >> (40 + i % 24));
    if (i % 3 == 0) {
      for (int32_t& frequency : frequencies) frequency %= 4;
    }
    if (i == 59) frequencies[200] = -1;
    Code(run, frequencies, SmallInputs()[i + 20], i);
  }
}

}  // namespace zeldc_digest
