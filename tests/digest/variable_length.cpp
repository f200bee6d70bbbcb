// Variable-length codes: streams and counted bits of three tables, from every bit of a byte.

#include "families.h"
#include "zeldc/vlc.h"

namespace zeldc_digest {

namespace {

using Table = std::vector<zelVLCCode>;

// Values from -reach to reach, the small ones with the short codes of an Elias gamma code; some left out.
Table GammaTable(int32_t reach, int32_t left_out) {
  Table table;
  for (int32_t value = -reach; value <= reach; ++value) {
    if (left_out > 0 && value != 0 && value % left_out == 0) continue;
    const int32_t rank = value > 0 ? 2 * value : 1 - 2 * value;
    int32_t bits = 0;
    while (rank >> bits > 1) ++bits;
    table.push_back({value, rank, 2 * bits + 1});
  }
  return table;
}

// Codes of one length, listed from the last to the first, and with bits above them.
Table FlatTable(int32_t values, int32_t length) {
  Table table;
  for (int32_t value = values - 1; value >= 0; --value) {
    table.push_back({value - 20, value | (value % 3) << length, length});
  }
  return table;
}

// A stream of bits: words are read and written whole, so there is room around it.
class Bits {
 public:
  Bits(Run& run, size_t values, int32_t offset)
      : run_(run), room_(run.conditions, values * 4 + 32), next_(start()), offset_(offset) {
    *start() = 0;
  }

  uint8_t** next() { return &next_; }
  int32_t* offset() { return &offset_; }

  // Puts the bits of the stream into the digest; what stands behind them is not the stream's.
  void Digest() {
    run_.digest.Bytes(start(), static_cast<size_t>(next_ - start()));
    run_.digest.Int(offset_);
    if (offset_ > 0) run_.digest.Byte(static_cast<uint8_t>(*next_ & ~(0xFF >> offset_)));
  }

 private:
  uint8_t* start() const { return room_.data() + 8; }

  Run& run_;
  const Memory<uint8_t> room_;
  uint8_t* next_;
  int32_t offset_;
};

void Encode(Run& run, const std::vector<int16_t>& values, int32_t offset, const zelVLCEncodeState* state) {
  const Memory<int16_t> source(run.conditions, values);
  const int32_t count = static_cast<int32_t>(values.size());
  int32_t bits = -1;
  run.Status(zelsVLCCountBits_16s32s(source.data(), count, &bits, state));
  run.digest.Int(bits);
  Bits stream(run, values.size(), offset);
  run.Status(zelsVLCEncodeBlock_16s1u(source.data(), count, stream.next(), stream.offset(), state));
  stream.Digest();
  // One by one is slower, so not for the longest.
  if (values.size() > 70000) return;
  Bits one_by_one(run, values.size(), offset);
  for (const int16_t value : values) {
    if (run.Status(zelsVLCEncodeOne_16s1u(value, one_by_one.next(), one_by_one.offset(), state)) != zelOk) break;
  }
  one_by_one.Digest();
}

std::vector<int16_t> Values(const Data& data, int32_t most) {
  std::vector<int16_t> values;
  for (const uint8_t byte : data) values.push_back(static_cast<int16_t>(byte % (most + 1) - most / 4));
  return values;
}

}  // namespace

void DigestVariableLength(Run& run) {
  const Table tables[] = {GammaTable(200, 0), GammaTable(2000, 77), FlatTable(256, 8)};
  const int32_t most[] = {255, 300, 160};
  for (int i = 0; i < 3; ++i) {
    const Memory<zelVLCCode> table(run.conditions, tables[i]);
    const int32_t entries = static_cast<int32_t>(table.size());
    int32_t size = 0;
    run.Status(zelsVLCEncodeGetSize_32s(table.data(), entries, &size));
    run.digest.Int(size);
    const Memory<uint8_t> record(run.conditions, static_cast<size_t>(size));
    zelVLCEncodeState* const state = reinterpret_cast<zelVLCEncodeState*>(record.data());
    run.Status(zelsVLCEncodeInit_32s(table.data(), entries, state));
    zelVLCEncodeState* allocated = nullptr;
    run.Status(zelsVLCEncodeInitAlloc_32s(table.data(), entries, &allocated));
    int32_t offset = 0;
    for (const Data* data : AllInputs()) {
      const auto values = Values(*data, most[i]);
      Encode(run, values, ++offset % 8, state);
      Encode(run, values, offset * 3 % 8, allocated);
    }
    zelsVLCEncodeFree_32s(state);
    zelsVLCEncodeFree_32s(allocated);
  }
}

}  // namespace zeldc_digest
