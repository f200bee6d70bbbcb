// Variable-length codes of 16-bit values: a table of 300 codes of 2 to 20 bits, values as frequent as their codes are
// short, in blocks as media coders have them and in long ones. Beside them plain loops, and the copying of the values.

#include <cstring>
#include <memory>
#include <random>

#include "bench.h"

namespace {

using Values = std::vector<int16_t>;

constexpr int kLongest = 20;
constexpr size_t kValues = 1 << 20;

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
    while (values.size() < kValues) {
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
  Material() : values(codes.Draw()), decoded(kValues), stream(kValues) {
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
  for (size_t i = 0; i < kValues; i += block) {
    zelsVLCEncodeBlock_16s1u(&m.values[i], static_cast<int32_t>(block), &byte, &bit, m.encoder);
  }
}

void Decode(Material& m, size_t block) {
  uint8_t* byte = m.Bytes();
  int32_t bit = 0;
  for (size_t i = 0; i < kValues; i += block) {
    zelsVLCDecodeBlock_1u16s(&byte, &bit, &m.decoded[i], static_cast<int32_t>(block), m.decoder);
  }
}

void CountBits(Material& m, size_t block) {
  for (size_t i = 0; i < kValues; i += block) {
    int32_t bits = 0;
    zelsVLCCountBits_16s32s(&m.values[i], static_cast<int32_t>(block), &bits, m.encoder);
    benchmark::DoNotOptimize(bits);
  }
}

void PlainEncode(Material& m) {
  uint8_t* out = m.Bytes();
  uint64_t bits = 0;
  int count = 0;
  for (int16_t value : m.values) {
    bits = bits << m.lengths[value + 150] | m.words[value + 150];
    count += m.lengths[value + 150];
    for (; count >= 8; count -= 8) *out++ = static_cast<uint8_t>(bits >> (count - 8));
  }
  if (count > 0) *out = static_cast<uint8_t>(bits << (8 - count) | 0xFF >> count);
}

void PlainDecode(Material& m) {
  const uint8_t* in = m.Bytes();
  uint64_t bits = 0;
  int count = 0;
  for (int16_t& value : m.decoded) {
    for (; count < kLongest; count += 8) bits = bits << 8 | *in++;
    const uint32_t next = static_cast<uint32_t>(bits >> (count - kLongest)) & ((1u << kLongest) - 1);
    int length = 1;
    while (next >> (kLongest - length) >= m.codes.end[length]) ++length;
    const int32_t place = m.codes.base[length] + static_cast<int32_t>(next >> (kLongest - length));
    value = static_cast<int16_t>(m.codes.table[static_cast<size_t>(place)].value);
    count -= length;
  }
}

void PlainCountBits(Material& m) {
  int64_t bits = 0;
  for (int16_t value : m.values) bits += m.lengths[value + 150];
  benchmark::DoNotOptimize(bits);
}

void Copy(Material& m) {
  std::memcpy(m.decoded.data(), m.values.data(), 2 * kValues);
  benchmark::ClobberMemory();
}

// Values are encoded and decoded again, for the check, around whatever is measured.
void RegisterStage(const std::string& stage, const std::string& coder, size_t block,
                   std::function<void(Material&, size_t)> run) {
  const std::string name = "vlc/" + stage + "/" + coder + "/" + std::to_string(2 * block);
  Register(name, 2 * kValues, [=] {
    Material& m = TheMaterial();
    Encode(m, kValues);
    run(m, block);
    Decode(m, kValues);
    if (m.decoded != m.values) Fail(name + " is wrong");
    std::fill(m.decoded.begin(), m.decoded.end(), int16_t{0});
    if (stage == "decode") run(m, block);
    if (stage == "decode" && m.decoded != m.values) Fail(name + " is wrong");
    Task task;
    task.run = [=, &m] { run(m, block); };
    task.symbols = kValues;
    return task;
  });
}

}  // namespace

void RegisterVlc() {
  for (size_t block : {size_t{64}, size_t{1024}, size_t{16384}, kValues}) {
    RegisterStage("encode", "zeldc", block, Encode);
    RegisterStage("encode", "plain", block, [](Material& m, size_t) { PlainEncode(m); });
    RegisterStage("encode", "memcpy", block, [](Material& m, size_t) { Copy(m); });
    RegisterStage("decode", "zeldc", block, Decode);
    RegisterStage("decode", "plain", block, [](Material& m, size_t) { PlainDecode(m); });
    RegisterStage("decode", "memcpy", block, [](Material& m, size_t) { Copy(m); });
    RegisterStage("count", "zeldc", block, CountBits);
    RegisterStage("count", "plain", block, [](Material& m, size_t) { PlainCountBits(m); });
  }
}
