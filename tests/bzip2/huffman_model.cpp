#include "bzip2/huffman_model.h"

#include <algorithm>
#include <utility>

namespace zeldc_test {

int ModelNumTables(size_t symbols) {
  if (symbols >= 2400) return 6;
  if (symbols >= 1200) return 5;
  if (symbols >= 600) return 4;
  if (symbols >= 200) return 3;
  return 2;
}

namespace {

using Entry = std::pair<uint32_t, int>;  // weight, symbol

void SortByWeight(std::vector<Entry>* entries) {
  if (entries->size() > 9) {
    std::stable_sort(entries->begin(), entries->end(), [](Entry a, Entry b) { return a.first < b.first; });
    return;
  }
  for (size_t end = entries->size(); end > 1; --end) {
    const auto last = entries->begin() + static_cast<ptrdiff_t>(end);
    const auto heaviest = std::max_element(entries->begin(), last, [](Entry a, Entry b) { return a.first < b.first; });
    std::iter_swap(heaviest, last - 1);
  }
}

}  // namespace

Lengths ModelLengths(const std::vector<uint32_t>& weights) {
  const size_t n = weights.size();
  if (n == 1) return {1};
  std::vector<Entry> list;
  for (size_t v = 0; v < n; ++v) list.push_back({weights[v], static_cast<int>(v)});
  SortByWeight(&list);
  const std::vector<Entry> sorted = list;

  // Each merge takes the two lightest nodes; the second one's symbol stands for both from then on.
  std::vector<std::pair<int, int>> merges;  // symbol, representative
  for (size_t i = 0; i + 1 < n; ++i) {
    const Entry node = {list[i].first + list[i + 1].first, list[i + 1].second};
    merges.push_back({list[i].second, node.second});
    size_t to = i + 1;
    for (; to + 1 < n && list[to + 1].first <= node.first; ++to) list[to] = list[to + 1];
    list[to] = node;
  }

  Lengths lengths(n, 0);
  std::vector<int> count(n + 2, 0);
  count[0] = 1;
  int deepest = 0;
  for (size_t i = merges.size(); i-- > 0;) {
    const auto [symbol, representative] = merges[i];
    const int above = lengths[static_cast<size_t>(representative)];
    lengths[static_cast<size_t>(symbol)] = lengths[static_cast<size_t>(representative)] = above + 1;
    --count[static_cast<size_t>(above)];
    count[static_cast<size_t>(above) + 1] += 2;
    deepest = std::max(deepest, above + 1);
  }
  if (deepest <= 17) return lengths;

  for (size_t m = static_cast<size_t>(deepest); m > 17; --m) {
    for (int left = (count[m] + 1) / 2; left > 0; --left) {
      size_t l = 16;
      while (count[l] == 0) --l;
      --count[l];
      count[l + 1] += 2;
      ++count[m - 1];
    }
  }
  size_t at = 0;
  for (size_t l = 17; l > 0; --l) {
    for (int left = count[l]; left > 0; --left) lengths[static_cast<size_t>(sorted[at++].second)] = static_cast<int>(l);
  }
  return lengths;
}

std::vector<std::string> ModelCodes(const Lengths& lengths) {
  std::vector<std::string> codes(lengths.size());
  uint32_t code = 0;
  for (int length = 1; length <= 20; ++length) {
    code <<= 1;
    for (size_t v = 0; v < lengths.size(); ++v) {
      if (lengths[v] == length) codes[v] = BitString().Put(code++, length).bits;
    }
  }
  return codes;
}

HuffmanContext ModelContext(int alpha_size, const Symbols& source) {
  const size_t n = static_cast<size_t>(alpha_size);
  const int num_tables = ModelNumTables(source.size());
  HuffmanContext context;
  context.lengths.assign(static_cast<size_t>(num_tables), Lengths(n, 15));
  std::vector<int> frequencies(n, 0);
  for (uint16_t symbol : source) ++frequencies[symbol];
  const int step = (static_cast<int>(source.size()) + 4024) / num_tables;
  int threshold = step, sum = 0;
  size_t table = 0;
  for (size_t v = 0; v < n; ++v) {
    context.lengths[table][v] = 0;
    sum += frequencies[v];
    if (sum > threshold) {
      ++table;
      threshold += step;
    }
  }

  for (int pass = 0; pass < 5; ++pass) {
    context.selectors.clear();
    std::vector<std::vector<uint32_t>> counts(context.lengths.size(), std::vector<uint32_t>(n, 0));
    for (size_t start = 0; start < source.size(); start += 50) {
      const size_t end = std::min(start + 50, source.size());
      size_t best = 0;
      int least = INT32_MAX;
      for (size_t t = 0; t < context.lengths.size(); ++t) {
        int cost = 0;
        for (size_t i = start; i < end; ++i) cost += context.lengths[t][source[i]];
        if (cost < least) {
          least = cost;
          best = t;
        }
      }
      context.selectors.push_back(static_cast<int>(best));
      for (size_t i = start; i < end; ++i) ++counts[best][source[i]];
    }
    for (size_t t = 0; t < counts.size(); ++t) {
      for (uint32_t& count : counts[t]) count = std::max(count, 1u);
      context.lengths[t] = ModelLengths(counts[t]);
    }
  }
  return context;
}

BitString ModelDescription(const HuffmanContext& context) {
  BitString out;
  out.Put(static_cast<uint32_t>(context.lengths.size()), 3);
  out.Put(static_cast<uint32_t>(context.selectors.size()), 15);
  std::vector<int> order = {0, 1, 2, 3, 4, 5};
  for (int selector : context.selectors) {
    const auto found = std::find(order.begin(), order.end(), selector);
    out.Put(std::string(static_cast<size_t>(found - order.begin()), '1') + "0");
    order.erase(found);
    order.insert(order.begin(), selector);
  }
  for (const Lengths& lengths : context.lengths) {
    int current = lengths[0];
    out.Put(static_cast<uint32_t>(current), 5);
    for (int length : lengths) {
      for (; current < length; ++current) out.Put("10");
      for (; current > length; --current) out.Put("11");
      out.Put("0");
    }
  }
  return out;
}

BitString ModelCoded(const HuffmanContext& context, const Symbols& source) {
  std::vector<std::vector<std::string>> codes;
  for (const Lengths& lengths : context.lengths) codes.push_back(ModelCodes(lengths));
  BitString out;
  for (size_t i = 0; i < source.size(); ++i) {
    out.Put(codes[static_cast<size_t>(context.selectors[i / 50])][source[i]]);
  }
  return out;
}

// Loads bytes until there are `bits` bits.
void ModelDecoder::Need(int bits) {
  while (code_bits_ < bits) {
    if (at_ == source_->size()) throw ShortOfSource();
    code_ |= uint32_t{(*source_)[at_++]} << (24 - code_bits_);
    code_bits_ += 8;
  }
}

uint32_t ModelDecoder::Take(int bits) {
  const uint32_t value = code_ >> (32 - bits);
  code_ <<= bits;
  code_bits_ -= bits;
  return value;
}

void ModelDecoder::FinishTable() {
  uint64_t filled = 0;
  for (int length : current_) filled += uint64_t{1} << (20 - length);
  if (filled > 1 << 20) throw Malformed();
  std::map<std::string, int> table;
  const std::vector<std::string> codes = ModelCodes(current_);
  for (size_t v = 0; v < codes.size(); ++v) table[codes[v]] = static_cast<int>(v);
  codes_.push_back(table);
  lengths_.push_back(current_);
  current_.clear();
}

void ModelDecoder::UnpackOn() {
  if (stage_ == 0) {
    Need(18);
    num_tables_ = Take(3);
    num_selectors_ = Take(15);
    if (num_tables_ < 2 || num_tables_ > 6 || num_selectors_ == 0) throw Malformed();
    selectors_.clear();
    lengths_.clear();
    codes_.clear();
    current_.clear();
    steps_.clear();
    order_ = {0, 1, 2, 3, 4, 5};
    stage_ = 1;
  }
  while (selectors_.size() < num_selectors_) {
    Need(6);
    size_t ones = 0;
    while (ones < 7 && (code_ >> (31 - ones) & 1) != 0) ++ones;
    if (ones >= num_tables_) throw Malformed();
    Take(static_cast<int>(ones) + 1);
    const int table = order_[ones];
    order_.erase(order_.begin() + static_cast<ptrdiff_t>(ones));
    order_.insert(order_.begin(), table);
    selectors_.push_back(table);
  }
  while (lengths_.size() < num_tables_) {
    if (current_.empty()) {
      Need(6);
      length_ = static_cast<int>(Take(6) >> 1);
      if (length_ < 1 || length_ > 20) throw Malformed();
      current_.push_back(length_);
    }
    while (current_.size() < static_cast<size_t>(alpha_size_)) {
      Need(2);
      if (code_ >> 31 == 0) {
        Take(1);
        current_.push_back(length_);
        steps_.clear();
        continue;
      }
      const char step = Take(2) == 2 ? '+' : '-';
      length_ += step == '+' ? 1 : -1;
      steps_ += step;
      if (length_ < 1 || length_ > 20 || steps_.front() != step) throw Malformed();
    }
    FinishTable();
  }
  stage_ = 0;
}

CallResult ModelDecoder::Unpack(uint32_t code, int32_t code_bits, const Bytes& source) {
  code_ = code;
  code_bits_ = code_bits;
  source_ = &source;
  at_ = 0;
  CallResult result;
  try {
    UnpackOn();
    group_ = 0;
    in_group_ = 0;
  } catch (const ShortOfSource&) {
    result.status = zelWarnSrcShort;
  } catch (const Malformed&) {
    return {zelErrBadData, 0, 0, 0, {}};  // what is left behind means nothing
  }
  result.consumed = at_;
  result.code = code_;
  result.code_bits = code_bits_;
  return result;
}

CallResult ModelDecoder::Decode(uint32_t code, int32_t code_bits, const Bytes& source, size_t room) {
  code_ = code;
  code_bits_ = code_bits;
  source_ = &source;
  at_ = 0;
  CallResult result;
  try {
    while (result.status == zelOk) {
      const int selector = selectors_[std::min(group_, selectors_.size() - 1)];
      const auto& table = codes_[static_cast<size_t>(selector)];
      while (in_group_ < 50 && result.symbols.size() < room) {
        Need(20);
        std::string taken;
        while (table.count(taken) == 0) taken += Take(1) != 0 ? '1' : '0';
        const int symbol = table.at(taken);
        if (symbol == alpha_size_ - 1) {
          group_ = 0;
          in_group_ = 0;
          result.consumed = at_;
          result.code = code_;
          result.code_bits = code_bits_;
          return result;
        }
        result.symbols.push_back(static_cast<uint16_t>(symbol));
        ++in_group_;
      }
      ++group_;
      in_group_ = 0;
      if (result.symbols.size() == room) result.status = at_ == source.size() ? zelWarnSrcShort : zelWarnDstFull;
    }
  } catch (const ShortOfSource&) {
    result.status = zelWarnSrcShort;
  }
  result.consumed = at_;
  result.code = code_;
  result.code_bits = code_bits_;
  return result;
}

}  // namespace zeldc_test
