// Variable-length codes of 16-bit values: a table of 300 codes of 2 to 20 bits, values as frequent as their codes are
// short, in calls of few values as media coders have them and of many. Beside them plain loops, and the copying of the
// values.

#include <cstring>
#include <memory>
#include <random>

#include "bench.h"

namespace {

using Values = std::vector<int16_t>;

constexpr int kLongest = 20;
constexpr size_t kMostValues = 1 << 23;
constexpr size_t kFewValues = 1 << 16;  // worked through in any case, by several calls if need be

size_t Total(size_t block) { return std::max(block, kFewValues); }

// Canonical codes, by value from -150 on.
struct Codes {
  Codes() {
    // As many codes of each length as a few splits of 4 codes of 2 bits leave, most of them of middle lengths.
    int count[kLongest + 1] = {};
    std::mt19937_64 random(1);
    std::vector<int> lengths(4, 2);
    while (lengths.size() < 300) {
      int& length = lengths[random() % 2 ? lengths.size() - 1 : 1 + random() % (lengths.size() - 1)];
      if (length == kLongest) continue;
      ++length;
      lengths.push_back(length);
    }
    std::sort(lengths.begin(), lengths.end());
    uint32_t next = 0;
    for (size_t i = 0; i < lengths.size(); ++i) {
      if (i > 0) next = (next + 1) << (lengths[i] - lengths[i - 1]);
      // The shortest codes are those of the values nearest to 0.
      const int32_t distance = static_cast<int32_t>((i + 1) / 2);
      table.push_back({i % 2 ? -distance : distance, static_cast<int32_t>(next), lengths[i]});
      ++count[lengths[i]];
    }
    uint32_t first = 0;
    int32_t place = 0;
    for (int length = 1; length <= kLongest; ++length) {
      first <<= 1;
      base[length] = place - static_cast<int32_t>(first);
      first += static_cast<uint32_t>(count[length]);
      place += count[length];
      end[length] = first;
    }
  }

  Values Draw() const {
    std::mt19937_64 random(2);
    Values values;
    while (values.size() < kMostValues) {
      const uint32_t bits = static_cast<uint32_t>(random() >> (64 - kLongest));
      int length = 1;
      while (bits >> (kLongest - length) >= end[length]) ++length;
      const int32_t place = base[length] + static_cast<int32_t>(bits >> (kLongest - length));
      values.push_back(static_cast<int16_t>(table[static_cast<size_t>(place)].value));
    }
    return values;
  }

  std::vector<zelVLCCode> table;
  uint32_t end[kLongest + 1] = {};  // behind the last code of each length
  int32_t base[kLongest + 1] = {};  // added to a code, its place in the table
};

// What all benchmarks work on.
struct Material {
  Material() : values(codes.Draw()), decoded(kMostValues), stream(kMostValues) {
    const int32_t widths[] = {10, 6, 4};
    const int32_t n = static_cast<int32_t>(codes.table.size());
    Check(zelsVLCEncodeInitAlloc_32s(codes.table.data(), n, &encoder), "zelsVLCEncodeInitAlloc_32s");
    Check(zelsVLCDecodeInitAlloc_32s(codes.table.data(), n, widths, 3, &decoder), "zelsVLCDecodeInitAlloc_32s");
    for (const zelVLCCode& code : codes.table) {
      lengths[code.value + 150] = static_cast<uint8_t>(code.length);
      words[code.value + 150] = static_cast<uint32_t>(code.code);
    }
  }

  uint8_t* Bytes() { return reinterpret_cast<uint8_t*>(stream.data()); }

  Codes codes;
  Values values, decoded;
  std::vector<uint32_t> stream;
  zelVLCEncodeState* encoder = nullptr;
  zelVLCDecodeState* decoder = nullptr;
  uint8_t lengths[301];
  uint32_t words[301];
};

Material& TheMaterial() {
  static Material material;
  return material;
}

void Encode(Material& m, size_t block) {
  uint8_t* byte = m.Bytes();
  int32_t bit = 0;
  for (size_t i = 0; i < Total(block); i += block) {
    zelsVLCEncodeBlock_16s1u(&m.values[i], static_cast<int32_t>(block), &byte, &bit, m.encoder);
  }
}

void Decode(Material& m, size_t block) {
  uint8_t* byte = m.Bytes();
  int32_t bit = 0;
  for (size_t i = 0; i < Total(block); i += block) {
    zelsVLCDecodeBlock_1u16s(&byte, &bit, &m.decoded[i], static_cast<int32_t>(block), m.decoder);
  }
}

void CountBits(Material& m, size_t block) {
  for (size_t i = 0; i < Total(block); i += block) {
    int32_t bits = 0;
    zelsVLCCountBits_16s32s(&m.values[i], static_cast<int32_t>(block), &bits, m.encoder);
    benchmark::DoNotOptimize(bits);
  }
}

void PlainEncode(Material& m, size_t block) {
  uint8_t* out = m.Bytes();
  uint64_t bits = 0;
  int count = 0;
  for (size_t i = 0; i < Total(block); ++i) {
    const int16_t value = m.values[i];
    bits = bits << m.lengths[value + 150] | m.words[value + 150];
    count += m.lengths[value + 150];
    for (; count >= 8; count -= 8) *out++ = static_cast<uint8_t>(bits >> (count - 8));
  }
  if (count > 0) *out = static_cast<uint8_t>(bits << (8 - count) | 0xFF >> count);
}

void PlainDecode(Material& m, size_t block) {
  const uint8_t* in = m.Bytes();
  uint64_t bits = 0;
  int count = 0;
  for (size_t i = 0; i < Total(block); ++i) {
    for (; count < kLongest; count += 8) bits = bits << 8 | *in++;
    const uint32_t next = static_cast<uint32_t>(bits >> (count - kLongest)) & ((1u << kLongest) - 1);
    int length = 1;
    while (next >> (kLongest - length) >= m.codes.end[length]) ++length;
    const int32_t place = m.codes.base[length] + static_cast<int32_t>(next >> (kLongest - length));
    m.decoded[i] = static_cast<int16_t>(m.codes.table[static_cast<size_t>(place)].value);
    count -= length;
  }
}

void PlainCountBits(Material& m, size_t block) {
  int64_t bits = 0;
  for (size_t i = 0; i < Total(block); ++i) bits += m.lengths[m.values[i] + 150];
  benchmark::DoNotOptimize(bits);
}

void Copy(Material& m, size_t block) {
  std::memcpy(m.decoded.data(), m.values.data(), 2 * Total(block));
  benchmark::ClobberMemory();
}

bool Decoded(const Material& m, size_t count) {
  return std::equal(m.values.begin(), m.values.begin() + static_cast<ptrdiff_t>(count), m.decoded.begin());
}

// Values are encoded and decoded again, for the check, around whatever is measured.
void RegisterStage(const std::string& stage, const std::string& coder, size_t block,
                   std::function<void(Material&, size_t)> run) {
  const std::string name = Name("vlc", stage, coder, 2 * block);
  const size_t total = Total(block);
  Register(name, 2 * total, [=] {
    Material& m = TheMaterial();
    Encode(m, total);
    run(m, block);
    Decode(m, total);
    if (!Decoded(m, total)) Fail(name + " is wrong");
    std::fill_n(m.decoded.begin(), total, int16_t{0});
    if (stage == "decode") run(m, block);
    if (stage == "decode" && !Decoded(m, total)) Fail(name + " is wrong");
    Task task;
    task.run = [=, &m] { run(m, block); };
    task.symbols = total;
    return task;
  });
}

}  // namespace

void RegisterVlc(size_t largest) {
  for (size_t size : LadderSizes(largest)) {
    const size_t block = size / 2;
    RegisterStage("encode", "zeldc", block, Encode);
    RegisterStage("encode", "plain", block, PlainEncode);
    RegisterStage("encode", "memcpy", block, Copy);
    RegisterStage("decode", "zeldc", block, Decode);
    RegisterStage("decode", "plain", block, PlainDecode);
    RegisterStage("decode", "memcpy", block, Copy);
    RegisterStage("count", "zeldc", block, CountBits);
    RegisterStage("count", "plain", block, PlainCountBits);
  }
}
