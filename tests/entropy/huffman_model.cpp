#include "entropy/huffman_model.h"

#include <algorithm>
#include <utility>

#include "support/data.h"

namespace zeldc_test {

Frequencies CountBytes(const Bytes& data) {
  Frequencies frequencies{};
  for (uint8_t byte : data) ++frequencies[byte];
  return frequencies;
}

Lengths ModelLengths(const Frequencies& frequencies) {
  struct Node {
    int64_t weight;
    std::vector<size_t> leaves;
  };
  std::vector<Node> nodes;
  for (size_t v = 0; v < 256; ++v) {
    if (frequencies[v] > 0) nodes.push_back({frequencies[v], {v}});
  }
  Lengths lengths{};
  if (nodes.size() == 1) lengths[nodes[0].leaves[0]] = 1;

  auto lighter = [](const Node& a, const Node& b) { return a.weight < b.weight; };
  if (nodes.size() > 9) {
    std::stable_sort(nodes.begin(), nodes.end(), lighter);
  } else {
    for (auto end = nodes.end(); end > nodes.begin(); --end) {
      std::iter_swap(std::max_element(nodes.begin(), end, lighter), end - 1);
    }
  }
  while (nodes.size() > 1) {
    Node joined = nodes[0];
    joined.weight += nodes[1].weight;
    joined.leaves.insert(joined.leaves.end(), nodes[1].leaves.begin(), nodes[1].leaves.end());
    for (size_t v : joined.leaves) ++lengths[v];
    nodes.erase(nodes.begin(), nodes.begin() + 2);
    nodes.insert(std::upper_bound(nodes.begin(), nodes.end(), joined, lighter), joined);
  }
  return lengths;
}

namespace {

std::string ToBits(uint64_t value, size_t count) {
  std::string bits;
  for (size_t i = count; i-- > 0;) bits += (value >> i & 1) != 0 ? '1' : '0';
  return bits;
}

}  // namespace

Codes ModelCodes(const Lengths& lengths) {
  Codes codes;
  uint64_t code = 0;
  for (int32_t length = 32; length >= 1; --length) {
    for (size_t v = 256; v-- > 0;) {
      if (lengths[v] == length) codes[v] = ToBits(code++, static_cast<size_t>(length));
    }
    code >>= 1;
  }
  return codes;
}

std::string ModelBits(const Codes& codes, const Bytes& data) {
  std::string bits;
  for (uint8_t byte : data) bits += codes[byte];
  return bits;
}

std::string BitsOfBytes(const Bytes& bytes) {
  std::string bits;
  for (uint8_t byte : bytes) bits += ToBits(byte, 8);
  return bits;
}

Bytes BytesOfBits(const std::string& bits) {
  Bytes bytes((bits.size() + 7) / 8);
  for (size_t i = 0; i < bits.size(); ++i) {
    if (bits[i] == '1') bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 0x80 >> i % 8);
  }
  return bytes;
}

Bytes ModelPacked(const Lengths& lengths) {
  std::string bits;
  int32_t bank = 0;
  auto put = [&](int32_t number) {
    if (number / 13 != bank) bits += ToBits(static_cast<uint64_t>(13 + number / 13), 4);
    bank = number / 13;
    bits += ToBits(static_cast<uint64_t>(number % 13), 4);
  };
  size_t v = 0;
  int32_t before = 0;
  int equal = 0;
  while (v < 256) {
    const int32_t length = lengths[v++];
    put(length);
    equal = length == before ? equal + 1 : 0;
    before = length;
    if (equal < 2) continue;
    size_t end = v;
    while (end < 256 && end < v + 32 && lengths[end] == length) ++end;
    put(static_cast<int32_t>(end - v));
    v = end;
    equal = 0;
  }
  return BytesOfBits(bits);
}

ModelDecoder::ModelDecoder(const Lengths& lengths) {
  uint64_t code = 0;
  for (size_t length = 32; length >= 1; --length) {
    for (size_t v = 256; v-- > 0;) {
      if (lengths[v] == static_cast<int32_t>(length)) symbols_[length].push_back(static_cast<uint8_t>(v));
    }
    first_[length] = code;
    code = (code + symbols_[length].size()) >> 1;
    if (!symbols_[length].empty()) min_len_ = length;
    if (!symbols_[length].empty() && max_len_ == 0) max_len_ = length;
  }
}

void ModelDecoder::Load(const Bytes& source) {
  for (bool changed = true; changed;) {
    changed = false;
    while (held_.size() <= 16 && loaded_ < source.size()) {
      held_ += ToBits(source[loaded_++], 8);
      changed = true;
    }
    if (held_.size() >= 8 && held_.compare(0, 8, "00000000") == 0) {
      held_.erase(0, 8);
      zeros_ += 8;
      changed = true;
    }
  }
}

Bytes ModelDecoder::Decode(const Bytes& source, size_t room) {
  Bytes out;
  loaded_ = 0;
  while (max_len_ > 0 && out.size() < room) {
    Load(source);
    if (zeros_ >= max_len_) {
      const size_t run = static_cast<size_t>(std::min<uint64_t>(zeros_ / max_len_, room - out.size()));
      out.insert(out.end(), run, symbols_[max_len_][0]);
      zeros_ -= run * max_len_;
      continue;
    }
    const size_t zeros = static_cast<size_t>(zeros_);
    uint64_t w = 0;
    for (size_t i = 0; i < max_len_; ++i) {
      const bool is_held = i >= zeros && i - zeros < held_.size();
      w = w << 1 | (is_held && held_[i - zeros] == '1' ? 1 : 0);
    }
    size_t length = min_len_;
    while (w < first_[length] << (max_len_ - length)) ++length;
    if (length > held_.size() + zeros_) break;
    const uint64_t index = (w - (first_[length] << (max_len_ - length))) >> (max_len_ - length);
    out.push_back(symbols_[length][static_cast<size_t>(std::min<uint64_t>(index, symbols_[length].size() - 1))]);
    if (length >= zeros_) {
      held_.erase(0, length - zeros);
      zeros_ = 0;
    } else {
      zeros_ -= length;
    }
  }
  return out;
}

Frequencies FibonacciFrequencies(int symbols, int start) {
  Frequencies frequencies{};
  int32_t a = 1, b = 1;
  for (int i = 0; i < symbols; ++i) {
    frequencies[static_cast<size_t>(start + 7 * i) % 256] = a;
    a = std::exchange(b, a + b);
  }
  return frequencies;
}

std::vector<NamedFrequencies> AllFrequencies() {
  std::vector<NamedFrequencies> all;
  Frequencies f{};
  f['x'] = 12345;
  all.push_back({"one", f});
  f[255] = 1;
  all.push_back({"two", f});
  f[0] = 1;
  all.push_back({"three", f});
  f.fill(3);
  all.push_back({"all equal", f});
  f[200] = 0;
  all.push_back({"all but one", f});
  f[0] = 1000000;
  all.push_back({"all but one, and a heavy one", f});
  f.fill(0);
  for (size_t v = 0; v < 25; ++v) f[255 - 10 * v] = 1 << v;
  all.push_back({"powers of two", f});
  for (size_t v = 0; v < 256; ++v) f[v] = static_cast<int32_t>(v * v * v / 50);
  all.push_back({"cubes", f});
  all.push_back({"Fibonacci, 10", FibonacciFrequencies(10)});
  all.push_back({"Fibonacci, 20", FibonacciFrequencies(20, 100)});
  all.push_back({"Fibonacci, 33", FibonacciFrequencies(33)});
  all.push_back({"text", CountBytes(Text(20000, 1))});
  all.push_back({"mixed", CountBytes(Mixed(100000, 2))});
  Random random(3);
  for (int i = 0; i < 12; ++i) {
    f.fill(0);
    for (size_t k = Uniform(random, 2, 300); k > 0; --k) {
      f[Uniform(random, 0, 255)] =
          static_cast<int32_t>(uint64_t{1} << Uniform(random, 0, 22)) + static_cast<int32_t>(Uniform(random, 0, 9));
    }
    all.push_back({"random " + std::to_string(i), f});
  }
  return all;
}

Bytes DrawBytes(const Frequencies& frequencies, size_t size, uint64_t seed) {
  Random random(seed);
  std::vector<uint64_t> ends;
  uint64_t sum = 0;
  Bytes out;
  for (size_t v = 0; v < 256; ++v) {
    sum += static_cast<uint64_t>(frequencies[v]);
    ends.push_back(sum);
    if (frequencies[v] > 0 && out.size() < size) out.push_back(static_cast<uint8_t>(v));
  }
  while (out.size() < size) {
    const uint64_t at = random() % sum;
    out.push_back(static_cast<uint8_t>(std::upper_bound(ends.begin(), ends.end(), at) - ends.begin()));
  }
  std::shuffle(out.begin(), out.end(), random);
  return out;
}

}  // namespace zeldc_test
