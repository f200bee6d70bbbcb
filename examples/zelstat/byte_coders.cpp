#include "zelstat/byte_coders.h"

#include <algorithm>

namespace zelstat {

namespace {

using HuffmanRecord = Record<zelHuffState, zelsHuffFree_8u>;
using IntervalEncoder = Record<zelGITEncodeState, zelsGITFree_8u>;
using IntervalDecoder = Record<zelGITDecodeState, zelsGITFree_8u>;

// A nibble and a change of bank for each length at most, and counts of runs.
constexpr int32_t kTableRoom = 512;

struct Strategy {
  const char* name;
  int32_t number;
};
constexpr Strategy kStrategies[] = {
    {"GIT, moving left", zelGITMoveLeft}, {"GIT, moving right", zelGITMoveRight}, {"GIT, static", zelGITStatic}};

std::vector<uint32_t> CountsOf(const Bytes& data) {
  std::vector<uint32_t> counts(256);
  for (const uint8_t byte : data) ++counts[byte];
  return counts;
}

// The containers of all blocks; in a file each would stand behind its length.
struct IntervalCoded {
  std::vector<Bytes> containers;

  uint64_t size() const {
    uint64_t bytes = 0;
    for (const Bytes& container : containers) bytes += 4 + container.size();
    return bytes;
  }
};

// What does not compress grows a little, and the lengths and first intervals of 256 streams have their size.
int32_t ContainerRoom(int32_t block) { return 2 * block + 8192; }

IntervalCoded EncodeIntervals(const Bytes& data, int32_t block, int32_t strategy, zelGITEncodeState* record,
                              Bytes* room) {
  IntervalCoded coded;
  for (size_t at = 0; at < data.size(); at += static_cast<size_t>(block)) {
    const int32_t size = static_cast<int32_t>(std::min(data.size() - at, static_cast<size_t>(block)));
    int32_t length = static_cast<int32_t>(room->size());
    Check(zelsEncodeGIT_8u(&data[at], size, room->data(), &length, strategy, record), "zelsEncodeGIT_8u");
    coded.containers.emplace_back(room->begin(), room->begin() + length);
  }
  return coded;
}

// False when a block has another size than it had. Behind the data there is room for a block.
bool DecodeIntervals(const IntervalCoded& coded, int32_t block, int32_t strategy, zelGITDecodeState* record,
                     size_t size, uint8_t* data) {
  size_t at = 0;
  for (const Bytes& container : coded.containers) {
    const size_t expected = std::min(size - at, static_cast<size_t>(block));
    int32_t length = 0;
    const zelStatus status = zelsDecodeGIT_8u(container.data(), static_cast<int32_t>(container.size()), data + at,
                                              &length, strategy, record);
    if (status != zelOk || static_cast<size_t>(length) != expected) return false;
    at += expected;
  }
  return at == size;
}

Result CodeByIntervals(const Bytes& data, int32_t block, const Strategy& strategy) {
  IntervalEncoder encoder;
  IntervalDecoder decoder;
  Check(zelsEncodeGITInitAlloc_8u(block, ContainerRoom(block), &encoder), "zelsEncodeGITInitAlloc_8u");
  Bytes room(static_cast<size_t>(ContainerRoom(block)));
  IntervalCoded coded;
  Result result;
  result.coder = strategy.name;
  result.encodeSeconds =
      SecondsOf([&] { coded = EncodeIntervals(data, block, strategy.number, encoder.get(), &room); });
  result.bytes = coded.size();

  // The decoder reads containers where they stand: its record needs no room for them.
  Check(zelsDecodeGITInitAlloc_8u(1, block, &decoder), "zelsDecodeGITInitAlloc_8u");
  Bytes decoded(data.size() + static_cast<size_t>(block));
  result.decodeSeconds = SecondsOf([&] {
    result.comesBack = DecodeIntervals(coded, block, strategy.number, decoder.get(), data.size(), decoded.data());
  });
  result.comesBack = result.comesBack && std::equal(data.begin(), data.end(), decoded.begin());
  return result;
}

}  // namespace

HuffmanCoded EncodeHuffman(const Bytes& data) {
  int32_t frequencies[256] = {};
  for (const uint8_t byte : data) ++frequencies[byte];
  HuffmanRecord record;
  Check(zelsEncodeHuffInitAlloc_8u(frequencies, &record), "zelsEncodeHuffInitAlloc_8u");
  int32_t lengths[256];
  Check(zelsHuffGetLenCodeTable_8u(record.get(), lengths), "zelsHuffGetLenCodeTable_8u");

  HuffmanCoded coded;
  coded.table.resize(kTableRoom);
  int32_t tableSize = kTableRoom;
  Check(zelsHuffLenCodeTablePack_8u(lengths, coded.table.data(), &tableSize), "zelsHuffLenCodeTablePack_8u");
  coded.table.resize(static_cast<size_t>(tableSize));

  // zelsHuffGetDstBuffSize_8u knows the longest code, the frequencies know all.
  uint64_t bits = 0;
  for (int v = 0; v < 256; ++v) bits += static_cast<uint64_t>(frequencies[v]) * static_cast<uint64_t>(lengths[v]);
  coded.stream.resize(static_cast<size_t>((bits + 7) / 8) + 8);
  int32_t whole = 0, rest = 0;
  Check(zelsEncodeHuff_8u(data.data(), static_cast<int32_t>(data.size()), coded.stream.data(), &whole, record.get()),
        "zelsEncodeHuff_8u");
  Check(zelsEncodeHuffFinal_8u(coded.stream.data() + whole, &rest, record.get()), "zelsEncodeHuffFinal_8u");
  coded.stream.resize(static_cast<size_t>(whole + rest));
  return coded;
}

void DecodeHuffman(const HuffmanCoded& coded, Bytes* data) {
  int32_t lengths[256];
  int32_t used = static_cast<int32_t>(coded.table.size());
  Check(zelsHuffLenCodeTableUnpack_8u(coded.table.data(), &used, lengths), "zelsHuffLenCodeTableUnpack_8u");
  HuffmanRecord record;
  Check(zelsDecodeHuffInitAlloc_8u(lengths, &record), "zelsDecodeHuffInitAlloc_8u");
  int32_t size = static_cast<int32_t>(data->size());
  Check(zelsDecodeHuff_8u(coded.stream.data(), static_cast<int32_t>(coded.stream.size()), data->data(), &size,
                          record.get()),
        "zelsDecodeHuff_8u");
  data->resize(static_cast<size_t>(size));
}

std::vector<Result> CodeBytes(const Bytes& data, int32_t block) {
  std::vector<Result> results;
  Result floor;
  floor.coder = "order-0 entropy";
  floor.isFloor = true;
  floor.bytes = EntropyBytes(CountsOf(data));
  results.push_back(floor);

  HuffmanCoded coded;
  Bytes decoded(data.size());
  Result huffman;
  huffman.coder = "byte Huffman";
  huffman.encodeSeconds = SecondsOf([&] { coded = EncodeHuffman(data); });
  huffman.decodeSeconds = SecondsOf([&] { DecodeHuffman(coded, &decoded); });
  huffman.bytes = coded.size();
  huffman.comesBack = decoded == data;
  huffman.remark = "table " + std::to_string(coded.table.size()) + " bytes";
  results.push_back(huffman);

  for (const Strategy& strategy : kStrategies) results.push_back(CodeByIntervals(data, block, strategy));
  return results;
}

}  // namespace zelstat
